#include "foundation/utility/float_format.h"
#include "support/test_support.h"

#include <limits>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>

using namespace foundation;

namespace {

// What the C library prints, with the exponent widened to three digits.
std::string c_library_g(float value) {
  char buffer[64];
  snprintf(buffer, sizeof(buffer), "%g", double(value));
  std::string s = buffer;
  size_t e = s.find('e');
  if (e != std::string::npos && s.size() - (e + 2) < 3)
    s.insert(e + 2, 3 - (s.size() - (e + 2)), '0');
  return s;
}

std::string ours_g(float value) {
  char buffer[FLOAT_G_MAX_CHARS];
  return std::string(buffer, format_float_g(value, buffer));
}

std::string ours_f(float value) {
  char buffer[FLOAT_F_MAX_CHARS];
  return std::string(buffer, format_float_f(value, buffer));
}

std::string c_library_f(float value) {
  char buffer[128];
  snprintf(buffer, sizeof(buffer), "%f", double(value));
  return buffer;
}

float from_bits(uint32_t bits) {
  float f;
  memcpy(&f, &bits, 4);
  return f;
}

} // namespace

TEST(FloatFormat, NamedCases) {
  EXPECT_EQ(ours_g(0.1f), "0.1");
  EXPECT_EQ(ours_g(1234567.0f), "1.23457e+006");
  EXPECT_EQ(ours_g(100000.0f), "100000");
  EXPECT_EQ(ours_g(1000000.0f), "1e+006");
  EXPECT_EQ(ours_g(1e-7f), "1e-007");
  EXPECT_EQ(ours_g(2.5e10f), "2.5e+010");
  EXPECT_EQ(ours_g(0.0001f), "0.0001");
  EXPECT_EQ(ours_g(0.00001f), "1e-005");
  EXPECT_EQ(ours_g(0.0f), "0");
  EXPECT_EQ(ours_g(-0.0f), "-0");
  EXPECT_EQ(ours_g(1.5f), "1.5");
  EXPECT_EQ(ours_g(-5.0f), "-5");
  // Exact ties round to even.
  EXPECT_EQ(ours_g(1234565.0f), "1.23456e+006");
  EXPECT_EQ(ours_g(1234575.0f), "1.23458e+006");
  EXPECT_EQ(ours_g(0.5f), "0.5");
  // Values that round up into the next power of ten.
  EXPECT_EQ(ours_g(999999.5f), "1e+006");
  EXPECT_EQ(ours_g(9999995.0f), "1e+007");
  EXPECT_EQ(ours_g(999999.4f), "999999");
  // Extremes and subnormals.
  EXPECT_EQ(ours_g(std::numeric_limits<float>::max()), "3.40282e+038");
  EXPECT_EQ(ours_g(std::numeric_limits<float>::denorm_min()), "1.4013e-045");
  EXPECT_EQ(ours_g(std::numeric_limits<float>::min()), "1.17549e-038");
  EXPECT_EQ(ours_g(std::numeric_limits<float>::infinity()), "inf");
  EXPECT_EQ(ours_g(-std::numeric_limits<float>::infinity()), "-inf");
  EXPECT_EQ(ours_g(from_bits(0x7FC00000)), "nan");
  EXPECT_EQ(ours_g(from_bits(0xFFC00000)), "-nan");
  EXPECT_EQ(ours_f(1.5f), "1.500000");
  EXPECT_EQ(ours_f(-0.0f), "-0.000000");
  EXPECT_EQ(ours_f(0.0000005f), "0.000000"); // just under the half: rounds down
  EXPECT_EQ(ours_f(std::numeric_limits<float>::max()), "340282346638528859811704183484516925440.000000");
  for (int p = -38; p <= 38; ++p) {
    float v = strtof(("1e" + std::to_string(p)).c_str(), nullptr);
    ASSERT_EQ(ours_g(v), c_library_g(v)) << "10^" << p;
    ASSERT_EQ(ours_g(-v), c_library_g(-v)) << "-10^" << p;
    ASSERT_EQ(ours_f(v), c_library_f(v)) << "10^" << p;
  }
}

// Equal to the C library on a strided sweep of all finite bit patterns
// (about 20 million in the release build); bench/float_format_sweep checks
// all 2^32.
TEST(FloatFormat, MatchesTheCLibraryOnASweepOfBitPatterns) {
  const uint32_t stride = TW_LONG_SWEEPS ? 211 : 9973;
  uint32_t checked = 0;
  for (uint64_t bits = 0; bits <= 0xFFFFFFFFull; bits += stride) {
    float v = from_bits(uint32_t(bits));
    if (((uint32_t(bits) >> 23) & 0xFF) == 0xFF)
      continue;
    std::string ours = ours_g(v);
    if (ours != c_library_g(v)) {
      ADD_FAILURE() << "bits " << std::hex << bits << ": ours " << ours << ", C " << c_library_g(v);
      return;
    }
    ++checked;
  }
  EXPECT_GT(checked, 400000u);
}

TEST(FloatFormat, FixedFormMatchesTheCLibraryOnASweep) {
  const uint32_t stride = TW_LONG_SWEEPS ? 4099 : 65537;
  for (uint64_t bits = 0; bits <= 0xFFFFFFFFull; bits += stride) {
    float v = from_bits(uint32_t(bits));
    if (((uint32_t(bits) >> 23) & 0xFF) == 0xFF)
      continue;
    std::string ours = ours_f(v);
    if (ours != c_library_f(v)) {
      ADD_FAILURE() << "bits " << std::hex << bits << ": ours " << ours << ", C " << c_library_f(v);
      return;
    }
  }
}
