// The fast path estimates the six digits in double precision, which is exact
// to far better than the half-unit that decides rounding; only when the
// estimate lies within 1e-7 of a rounding boundary is the value compared
// exactly with the boundary, in integer arithmetic.
#include "foundation/utility/float_format.h"

#include <charconv>

#include <math.h>
#include <string.h>

namespace foundation {

namespace {

// ---------------------------------------------------------------------------
// A small fixed-width unsigned integer for the exact comparisons.

struct Big {
  static const int LIMBS = 12; // 384 bits: enough for 2^24 * 5^51 shifted by 150
  uint32_t limb[LIMBS];
  int used;

  explicit Big(uint64_t v) : used(0) {
    memset(limb, 0, sizeof(limb));
    limb[0] = uint32_t(v);
    limb[1] = uint32_t(v >> 32);
    used = limb[1] ? 2 : (limb[0] ? 1 : 0);
  }

  void multiply(uint32_t m) {
    uint64_t carry = 0;
    for (int i = 0; i < used; ++i) {
      uint64_t t = uint64_t(limb[i]) * m + carry;
      limb[i] = uint32_t(t);
      carry = t >> 32;
    }
    if (carry)
      limb[used++] = uint32_t(carry);
  }

  void multiply_pow5(int n) {
    while (n >= 13) {
      multiply(1220703125u); // 5^13
      n -= 13;
    }
    static const uint32_t small[13] = {1, 5, 25, 125, 625, 3125, 15625, 78125, 390625, 1953125, 9765625, 48828125,
                                       244140625};
    if (n > 0)
      multiply(small[n]);
  }

  void shift_left(int bits) {
    if (bits <= 0 || used == 0)
      return;
    int words = bits / 32, rest = bits % 32;
    for (int i = used - 1; i >= 0; --i) {
      uint64_t v = uint64_t(limb[i]) << rest;
      if (i + words + 1 < LIMBS)
        limb[i + words + 1] |= uint32_t(v >> 32);
      limb[i + words] = uint32_t(v);
    }
    for (int i = 0; i < words; ++i)
      limb[i] = 0;
    used += words + 1;
    if (used > LIMBS)
      used = LIMBS;
    while (used > 0 && limb[used - 1] == 0)
      --used;
  }

  // Divides by m and returns the remainder.
  uint32_t divide(uint32_t m) {
    uint64_t rem = 0;
    for (int i = used - 1; i >= 0; --i) {
      uint64_t cur = (rem << 32) | limb[i];
      limb[i] = uint32_t(cur / m);
      rem = cur % m;
    }
    while (used > 0 && limb[used - 1] == 0)
      --used;
    return uint32_t(rem);
  }

  static int compare(const Big& a, const Big& b) {
    if (a.used != b.used)
      return a.used < b.used ? -1 : 1;
    for (int i = a.used - 1; i >= 0; --i)
      if (a.limb[i] != b.limb[i])
        return a.limb[i] < b.limb[i] ? -1 : 1;
    return 0;
  }
};

// Powers of ten as doubles, 10^-50 .. 10^60 (the literals are correctly rounded).
const int POW10_MIN = -50;
const double POW10[] = {
    1e-50, 1e-49, 1e-48, 1e-47, 1e-46, 1e-45, 1e-44, 1e-43, 1e-42, 1e-41, 1e-40, 1e-39, 1e-38, 1e-37, 1e-36, 1e-35, 1e-34, 1e-33, 1e-32, 1e-31, 1e-30, 1e-29, 1e-28, 1e-27, 1e-26,
    1e-25, 1e-24, 1e-23, 1e-22, 1e-21, 1e-20, 1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11,
    1e-10, 1e-9,  1e-8,  1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,   1e2,   1e3,   1e4,
    1e5,   1e6,   1e7,   1e8,   1e9,   1e10,  1e11,  1e12,  1e13,  1e14,  1e15,  1e16,  1e17,  1e18,  1e19,
    1e20,  1e21,  1e22,  1e23,  1e24,  1e25,  1e26,  1e27,  1e28,  1e29,  1e30,  1e31,  1e32,  1e33,  1e34,
    1e35,  1e36,  1e37,  1e38,  1e39,  1e40,  1e41,  1e42,  1e43,  1e44,  1e45,  1e46,  1e47,  1e48,  1e49,
    1e50,  1e51,  1e52,  1e53,  1e54,  1e55,  1e56,  1e57,  1e58,  1e59,  1e60};

inline double pow10(int q) { return POW10[q - POW10_MIN]; }

// For each exponent field of a normal float: the estimate floor(log10(2^b))
// of the decimal exponent (b = field - 127) and 2^(field - 150) * 10^(5 - k).
struct ScaleTable {
  int8_t estimate[256];
  double factor[256];
  ScaleTable() {
    for (int field = 1; field < 255; ++field) {
      int b = field - 127;
      int k = (b * 78913) >> 18;
      estimate[field] = int8_t(k);
      factor[field] = ldexp(pow10(5 - k), field - 150);
    }
    estimate[0] = estimate[255] = 0;
    factor[0] = factor[255] = 0.0;
  }
};
const ScaleTable SCALES;

// Compares m * 2^e * 10^q with (2 * f + 1) / 2: negative, zero or positive.
int compare_with_half(uint32_t m, int e, int q, uint64_t f) {
  uint64_t twice_plus_one = 2 * f + 1;
  if (q >= 0) {
    // 2 * m * 5^q * 2^(e + q + 1)  vs  2f + 1
    Big left(m);
    left.multiply_pow5(q);
    Big right(twice_plus_one);
    int shift = e + q + 1;
    if (shift >= 0)
      left.shift_left(shift);
    else
      right.shift_left(-shift);
    return Big::compare(left, right);
  }
  // m * 2^(e + 1 - r)  vs  (2f + 1) * 5^r
  int r = -q;
  Big left(m);
  Big right(twice_plus_one);
  right.multiply_pow5(r);
  int shift = e + 1 - r;
  if (shift >= 0)
    left.shift_left(shift);
  else
    right.shift_left(-shift);
  return Big::compare(left, right);
}

inline char* write_special(char* p, bool negative, bool is_nan) {
  if (negative)
    *p++ = '-';
  memcpy(p, is_nan ? "nan" : "inf", 3);
  return p + 3;
}

} // namespace

// Three decimal digits of 0..999 in the low three bytes (in memory order on
// a little-endian machine) and the number of trailing zeros in the top byte.
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
  #error "format_float_g builds its digits in little-endian words"
#endif
struct DigitTriples {
  uint32_t word[1000];
  DigitTriples() {
    for (uint32_t i = 0; i < 1000; ++i) {
      uint32_t zeros = i == 0 ? 3 : (i % 100 == 0 ? 2 : (i % 10 == 0 ? 1 : 0));
      word[i] = ('0' + i / 100) | (('0' + (i / 10) % 10) << 8) | (('0' + i % 10) << 16) | (zeros << 24);
    }
  }
};
const DigitTriples TRIPLES;

uint32_t format_float_g(float value, char* out) {
  uint32_t bits;
  memcpy(&bits, &value, 4);
  bool negative = (bits >> 31) != 0;
  uint32_t exponent_field = (bits >> 23) & 0xFF;
  uint32_t fraction_field = bits & 0x7FFFFF;
  char* p = out;
  if (TW_UNLIKELY(exponent_field == 0xFF))
    return uint32_t(write_special(p, negative, fraction_field != 0) - out);
  *p = '-';
  p += negative;
  if (TW_UNLIKELY((bits & 0x7FFFFFFF) == 0)) {
    *p++ = '0';
    return uint32_t(p - out);
  }

  // The value is m * 2^e exactly. x = v * 10^q is its scaled form with six
  // digits before the point; q = 5 - k, k being the decimal exponent of the
  // first digit. Normal numbers take k's estimate and the factor 2^e * 10^q
  // from a table by exponent; the estimate is at most one too small, which
  // shows as x >= 10^6 and costs one more multiplication.
  uint32_t m, e_field = exponent_field;
  int e, k;
  double x;
  if (TW_LIKELY(exponent_field != 0)) {
    m = fraction_field | 0x800000;
    e = int(exponent_field) - 150;
    k = SCALES.estimate[e_field];
    x = double(m) * SCALES.factor[e_field];
  } else {
    m = fraction_field;
    e = -149;
    int binary_exponent = (31 - __builtin_clz(m)) + e;
    k = (binary_exponent * 78913) >> 18;
    x = double(m) * ldexp(1.0, e) * pow10(5 - k);
  }
  bool too_big = x >= 1000000.0;
  x = too_big ? x * 0.1 : x;
  k += too_big;
  int q = 5 - k;

  // Round x to an integer of six digits. Adding 2^52 + 2^51 leaves the
  // rounded integer in the low bits of the sum (the machine rounds to
  // nearest). x carries a tiny error, so when it lies within 1e-7 of a half
  // the value itself is compared with the half, exactly.
  const double ROUNDER = 6755399441055744.0;
  double rounded = x + ROUNDER;
  uint64_t rounded_bits;
  memcpy(&rounded_bits, &rounded, 8);
  uint32_t digits = uint32_t(rounded_bits);
  double off = x - (rounded - ROUNDER); // in [-0.5, 0.5]
  if (TW_UNLIKELY(fabs(off) > 0.5 - 1e-7)) {
    uint32_t f = off > 0 ? digits : digits - 1; // floor(x)
    int c = compare_with_half(m, e, q, f);
    digits = c > 0 ? f + 1 : (c < 0 ? f : f + (f & 1));
  }
  if (TW_UNLIKELY(digits >= 1000000)) {
    digits /= 10;
    ++k;
  }

  // The six digits as the bytes of one 64-bit word (first digit lowest),
  // padded with '0': built in a register and stored whole, so that no load
  // has to wait for a half-finished store.
  uint32_t high = digits / 1000, low = digits - high * 1000;
  uint64_t d = uint64_t(TRIPLES.word[high] & 0xFFFFFF) | (uint64_t(TRIPLES.word[low] & 0xFFFFFF) << 24) |
               (uint64_t(0x3030) << 48);
  int last = low ? 5 - int(TRIPLES.word[low] >> 24) : 2 - int(TRIPLES.word[high] >> 24); // last significant digit

  if (TW_LIKELY(k >= -4 && k < 6)) {
    // Fixed form without branches on k: "0.000" before the digits when k < 0,
    // then k + 1 integer digits, then '.' and the fraction digits if any.
    int leading = k < 0 ? 1 - k : 0;      // "0." and -k-1 zeros
    int whole = k < 0 ? 0 : k + 1;        // integer digits taken from d
    int fraction_digits = last + 1 - whole;
    memcpy(p, "0.0000", 6);
    p += leading;
    memcpy(p, &d, 8);
    p += whole;
    *p = '.';
    p += (k >= 0) & (fraction_digits > 0);
    uint64_t rest = d >> (8 * whole);
    memcpy(p, &rest, 8);
    p += fraction_digits > 0 ? fraction_digits : 0;
    return uint32_t(p - out);
  }

  uint64_t rest = d >> 8;
  p[0] = char(d);
  p[1] = '.';
  memcpy(p + 2, &rest, 8);
  p += last > 0 ? 2 + last : 1;
  p[0] = 'e';
  p[1] = k < 0 ? '-' : '+';
  uint32_t exponent_digits = TRIPLES.word[k < 0 ? -k : k];
  memcpy(p + 2, &exponent_digits, 4);
  return uint32_t(p + 5 - out);
}

uint32_t format_float_f(float value, char* out) {
  uint32_t bits;
  memcpy(&bits, &value, 4);
  bool negative = (bits >> 31) != 0;
  uint32_t exponent_field = (bits >> 23) & 0xFF;
  uint32_t fraction_field = bits & 0x7FFFFF;
  char* p = out;
  if (exponent_field == 0xFF)
    return uint32_t(write_special(p, negative, fraction_field != 0) - out);
  if (negative)
    *p++ = '-';

  // value * 10^6 is exact in double: 24 significant bits times 10^6 (20 bits).
  double x = fabs(double(value)) * 1000000.0;
  char digits[48];
  int n = 0;
  if (x < 9007199254740992.0) {
    // Round half to even, exactly.
    uint64_t whole = uint64_t(x);
    double rest = x - double(whole);
    if (rest > 0.5 || (rest == 0.5 && (whole & 1)))
      ++whole;
    do {
      digits[n++] = char('0' + whole % 10);
      whole /= 10;
    } while (whole);
  } else {
    // Already an integer: m * 2^e * 10^6 with e >= 0, in full.
    uint32_t m = fraction_field | 0x800000;
    int e = int(exponent_field) - 150;
    Big big(m);
    big.shift_left(e);
    big.multiply(1000000);
    while (big.used > 0) {
      uint32_t chunk = big.divide(1000000000u);
      for (int i = 0; i < 9; ++i) {
        digits[n++] = char('0' + chunk % 10);
        chunk /= 10;
      }
    }
    while (n > 1 && digits[n - 1] == '0')
      --n;
  }
  while (n < 7)
    digits[n++] = '0'; // at least "0.000000"
  for (int i = n - 1; i >= 6; --i)
    *p++ = digits[i];
  *p++ = '.';
  for (int i = 5; i >= 0; --i)
    *p++ = digits[i];
  return uint32_t(p - out);
}

uint32_t format_float_shortest(float value, char* out) {
  std::to_chars_result r = std::to_chars(out, out + FLOAT_SHORTEST_MAX_CHARS, value);
  return uint32_t(r.ptr - out);
}

} // namespace foundation
