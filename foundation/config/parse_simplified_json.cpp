#include "foundation/config/parse_simplified_json.h"

#include "foundation/error/assert.h"
#include "foundation/error/log.h"
#include "foundation/memory/temp_allocator.h"

#include <math.h>
#include <stdio.h>
#include <string.h>

namespace foundation {
namespace simplified_json {

namespace {

typedef DynamicConfigValue DCV;

// The name syntax-error reports give as their file.
const char* const REPORT_FILE = "parse_simplified_json.cpp";

// A syntax error or (in the untrusted entry) a failed expectation: leaves the
// parse from any depth.
struct SyntaxFailure {
  const char* message;
  const char* position;
  int source_line;
};

// An expectation failure whose report returned (error modes 0 and "other"):
// the parse cannot go on and ends without a second report.
struct AbandonedParse {};

// The process-wide error details of the three specified entries.
const char* g_error_message = nullptr;
int g_error_source_line = 0;
const char* g_error_position = nullptr;

// Space, tab, newline, carriage return and comma separate tokens.
struct SpaceTable {
  bool is_space[256];
  SpaceTable() {
    memset(is_space, 0, sizeof(is_space));
    is_space[uint8_t(' ')] = is_space[uint8_t('\t')] = is_space[uint8_t('\n')] = is_space[uint8_t('\r')] = is_space[uint8_t(',')] = true;
  }
};
const SpaceTable SPACES;

// FRACTION[i][d] is d / divisor_i in 32-bit float, divisor_i being 10^(i+1)
// computed as a wrapping 32-bit integer (it reaches 0 at i = 31 and stays).
struct FractionTable {
  float value[33][10];
  FractionTable() {
    int32_t divisor = 10;
    for (int i = 0; i < 33; ++i) {
      volatile float d = float(divisor);
      for (int digit = 0; digit < 10; ++digit) {
        volatile float n = float(digit);
        value[i][digit] = n / d;
      }
      divisor = int32_t(uint32_t(divisor) * 10u);
    }
  }
};
const FractionTable FRACTIONS;

const double POW10[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                        1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

struct Parser {
  const char* start;
  const char* cur;
  const char* end;
  AnnotateFunction annotate;
  void* user;
  bool untrusted;
  int depth;
  Vector<char>* scratch;
  struct Open;
  Vector<Open>* open;
  char expectation[160]; // message of a failed expectation in the untrusted entry

  [[noreturn]] void fail(const char* message, const char* position, int source_line) {
    throw SyntaxFailure{message, position, source_line};
  }

  // Up to 100 bytes of the rest of the text, as a C string for messages.
  void rest_of_text(const char* from, char* out, size_t size) {
    size_t n = size_t(end - from);
    if (n > size - 1)
      n = size - 1;
    memcpy(out, from, n);
    out[n] = 0;
  }

  void expect(char c) {
    char rest[101];
    if (cur >= end) {
      if (untrusted) {
        snprintf(expectation, sizeof(expectation), "Reached end while looking for character %c in ", c);
        fail(expectation, end, __LINE__);
      }
      const char* start = cur; // named for the assertion's text
      rest_of_text(cur, rest, sizeof(rest));
      TW_ASSERT_MSG(start < end, "Reached end while looking for character %c in %s", c, rest);
      throw AbandonedParse();
    }
    if (*cur != c) {
      if (untrusted) {
        snprintf(expectation, sizeof(expectation), "Character %c did not match expectation %c", *cur, c);
        fail(expectation, cur, __LINE__);
      }
      const char* start = cur;
      rest_of_text(cur, rest, sizeof(rest));
      TW_ASSERT_MSG(*start == c, "Character %c did not match expectation %c at %s", *start, c, rest);
      throw AbandonedParse();
    }
    ++cur;
  }

  void skip_space() {
    for (;;) {
      while (cur < end && SPACES.is_space[uint8_t(*cur)])
        ++cur;
      if (cur >= end || *cur != '/')
        return;
      if (cur + 1 >= end)
        fail("Bad comment", cur, __LINE__);
      if (cur[1] == '/') {
        cur += 2;
        while (cur < end && *cur != '\n')
          ++cur;
        if (cur < end)
          ++cur;
      } else if (cur[1] == '*') {
        cur += 2;
        while (cur < end && !(*cur == '*' && cur + 1 < end && cur[1] == '/'))
          ++cur;
        cur = cur < end ? cur + 2 : end;
      } else {
        fail("Bad comment", cur, __LINE__);
      }
    }
  }

  void enter() {
    if (++depth > MAX_NESTING)
      fail("Nesting too deep", cur, __LINE__);
  }

  // A container being read: where it goes and where its text started (for
  // the annotation made when it closes).
  struct Open {
    DCV* value;
    const char* start;
    bool object;
  };

  // Reads one value into `v`. Nested arrays and objects are read with the
  // list of open containers rather than by recursion, so that the depth of
  // a text is bounded by MAX_NESTING and memory, never by the stack. While a
  // container is open only its last element or member is being filled, so
  // the pointers in the list stay valid.
  void parse_value(DCV& v) {
    size_t base = open->size();
    DCV* at = &v;
    for (;;) {
      skip_space();
      if (cur >= end)
        fail("Reached end of string while parsing", end, __LINE__);
      const char* value_start = cur;
      if (*cur == '{' || *cur == '[') {
        bool object = *cur == '{';
        enter();
        if (object)
          at->set_object();
        else
          at->set_array();
        ++cur;
        if (!object) {
          uint32_t numbers = reserve_numbers(*at);
          if (!annotate)
            read_numbers(*at, numbers);
        }
        open->push_back(Open{at, value_start, object});
      } else {
        parse_scalar(*at);
        if (annotate)
          at->set_annotation(annotate(start, value_start, cur, user));
      }
      // The next value to read, closing the containers that end first.
      at = nullptr;
      while (!at) {
        if (open->size() == base)
          return;
        Open& top = open->back();
        skip_space();
        if (cur >= end)
          fail("Reached end of string while parsing", end, __LINE__);
        char c = *cur;
        if (c == (top.object ? '}' : ']')) {
          ++cur;
          --depth;
          if (annotate)
            top.value->set_annotation(annotate(start, top.start, cur, user));
          open->pop_back();
          continue;
        }
        if (top.object) {
          at = &member_slot(*top.value);
        } else {
          DCV& element = top.value->push_back();
          if (!annotate && (c == '-' || (c >= '0' && c <= '9')))
            parse_number(element); // the common case of documents: arrays of numbers
          else
            at = &element;
        }
      }
    }
  }

  // An array of numbers (the bulk of documents) is made at its size at
  // once: its elements are counted first, up to its closing bracket, so
  // that it is not grown and copied element by element. Anything but
  // numbers and separators before the bracket leaves it to grow.
  uint32_t reserve_numbers(DCV& array) {
    const char* p = cur;
    uint32_t count = 0;
    bool in_number = false;
    for (; p < end; ++p) {
      char c = *p;
      if (SPACES.is_space[uint8_t(c)]) {
        in_number = false;
        continue;
      }
      if (c == ']')
        break;
      if (!((c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E'))
        return 0;
      count += in_number ? 0 : 1;
      in_number = true;
    }
    if (p >= end)
      return 0;
    if (count > 0)
      array.reserve(count);
    return count;
  }

  // Reads up to `count` numbers of an array just opened, in a loop of its
  // own: spaces and separators only between them (no comments, which the
  // count has ruled out). It stops at anything that does not start a
  // number and leaves it, and the closing bracket, to the general loop, so
  // that every error is the one that loop gives.
  void read_numbers(DCV& array, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
      while (cur < end && SPACES.is_space[uint8_t(*cur)])
        ++cur;
      if (cur >= end || !(*cur == '-' || (*cur >= '0' && *cur <= '9')))
        return;
      parse_number(array.push_back());
    }
  }

  // A value that is not an array or object.
  void parse_scalar(DCV& v) {
    switch (*cur) {
    case '"':
      if (end - cur >= 3 && cur[1] == '"' && cur[2] == '"') {
        parse_verbatim(v);
      } else {
        const char* text;
        uint32_t length;
        parse_string(text, length);
        v.set_string(text, length);
      }
      break;
    case 't':
      v.set_bool(true);
      expect('t');
      expect('r');
      expect('u');
      expect('e');
      break;
    case 'f':
      v.set_bool(false);
      expect('f');
      expect('a');
      expect('l');
      expect('s');
      expect('e');
      break;
    case 'n':
      v.set_nil();
      expect('n');
      expect('u');
      expect('l');
      expect('l');
      break;
    default:
      if (*cur == '-' || (*cur >= '0' && *cur <= '9'))
        parse_number(v);
      else
        fail("Unexpected character", cur, __LINE__);
    }
  }

  // Reads a member's key and separator; the member, made nil, to read the
  // value into.
  DCV& member_slot(DCV& object) {
    const char* key;
    uint32_t key_length;
    if (*cur == '"') {
      parse_string(key, key_length);
    } else {
      key = cur;
      while (cur < end && *cur != ' ' && *cur != '\t' && *cur != '\n' && *cur != '=' && *cur != ':')
        ++cur;
      if (cur >= end)
        fail("Reached end of string while parsing", end, __LINE__);
      key_length = uint32_t(cur - key);
    }
    // Map keys end at their first zero byte; the key must be a C string.
    if (key != scratch->data()) {
      scratch->clear();
      scratch->push_back_n(key, key_length);
    }
    scratch->push_back(0);
    skip_space();
    if (cur < end && *cur == ':')
      ++cur;
    else
      expect('=');
    // A repeated key replaces the earlier value. A member that holds a
    // scalar has forgotten its allocator, so it is made afresh.
    DCV* member = &object.get(scratch->data());
    if (!member->is_nil()) {
      object.remove(scratch->data());
      member = &object.get(scratch->data());
    }
    return *member;
  }

  void parse_member(DCV& object) { parse_value(member_slot(object)); }

  // Reads a string; the result points into the text or into the scratch buffer.
  void parse_string(const char*& text, uint32_t& length) {
    expect('"');
    const char* p = cur;
    while (p < end && *p != '"' && *p != '\\')
      ++p;
    if (p >= end)
      fail("Reached end of string while parsing", end, __LINE__);
    if (*p == '"') {
      text = cur;
      length = uint32_t(p - cur);
      cur = p + 1;
      return;
    }
    scratch->clear();
    scratch->push_back_n(cur, uint32_t(p - cur));
    cur = p;
    while (true) {
      if (cur >= end)
        fail("Reached end of string while parsing", end, __LINE__);
      char c = *cur;
      if (c == '"')
        break;
      if (c != '\\') {
        const char* run = cur;
        while (cur < end && *cur != '"' && *cur != '\\')
          ++cur;
        scratch->push_back_n(run, uint32_t(cur - run));
        continue;
      }
      if (cur + 1 >= end)
        fail("Reached end of string while parsing", end, __LINE__);
      char e = cur[1];
      cur += 2;
      switch (e) {
      case '"':
        scratch->push_back('"');
        break;
      case '\\':
        scratch->push_back('\\');
        break;
      case '/':
        scratch->push_back('/');
        break;
      case 'b':
        scratch->push_back('\b');
        break;
      case 'f':
        scratch->push_back('\f');
        break;
      case 'n':
        scratch->push_back('\n');
        break;
      case 'r':
        scratch->push_back('\r');
        break;
      case 't':
        scratch->push_back('\t');
        break;
      case 'u':
        append_code_unit();
        break;
      default:
        fail("Unknown escape character", cur - 1, __LINE__);
      }
    }
    ++cur; // the closing quote
    text = scratch->data();
    length = scratch->size();
  }

  // The four bytes after \u read as scanf("%x") reads them (leading blanks,
  // a sign and a 0x prefix allowed, stopping at the first non-hex byte).
  void append_code_unit() {
    if (end - cur < 4)
      fail("Reached end of string while parsing", end, __LINE__);
    const char* p = cur;
    const char* stop = cur + 4;
    cur += 4;
    while (p < stop && (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r' || *p == '\f' || *p == '\v'))
      ++p;
    bool negative = false;
    if (p < stop && (*p == '+' || *p == '-')) {
      negative = *p == '-';
      ++p;
    }
    if (stop - p >= 3 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && hex_value(p[2]) >= 0)
      p += 2;
    uint32_t value = 0;
    for (; p < stop && hex_value(*p) >= 0; ++p)
      value = value * 16 + uint32_t(hex_value(*p));
    if (negative)
      value = 0u - value;
    value &= 0xFFFF;
    if (value == 0)
      return;
    if (value < 0x80) {
      scratch->push_back(char(value));
    } else if (value < 0x800) {
      scratch->push_back(char(0xC0 | (value >> 6)));
      scratch->push_back(char(0x80 | (value & 0x3F)));
    } else {
      scratch->push_back(char(0xE0 | (value >> 12)));
      scratch->push_back(char(0x80 | ((value >> 6) & 0x3F)));
      scratch->push_back(char(0x80 | (value & 0x3F)));
    }
  }

  static int hex_value(char c) {
    if (c >= '0' && c <= '9')
      return c - '0';
    if (c >= 'a' && c <= 'f')
      return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
      return c - 'A' + 10;
    return -1;
  }

  void parse_verbatim(DCV& v) {
    expect('"');
    expect('"');
    expect('"');
    const char* text = cur;
    const char* p = cur;
    while (p + 2 < end && !(p[0] == '"' && p[1] == '"' && p[2] == '"'))
      ++p;
    if (p + 2 >= end)
      fail("Reached end of data while parsing", end, __LINE__);
    cur = p;
    v.set_string(text, uint32_t(p - text));
    expect('"');
    expect('"');
    expect('"');
  }

  static bool is_digit(char c) { return c >= '0' && c <= '9'; }

  void parse_number(DCV& v) {
    if (cur >= end)
      fail("Reached end of string while parsing", end, __LINE__);
    bool negative = false;
    if (*cur == '-') {
      negative = true;
      ++cur;
      if (cur >= end)
        fail("Reached end of string while parsing", end, __LINE__);
    }
    uint32_t whole = 0;
    if (*cur == '0') {
      ++cur;
    } else if (*cur >= '1' && *cur <= '9') {
      while (cur < end && is_digit(*cur))
        whole = whole * 10u + uint32_t(*cur++ - '0');
    } else {
      fail("Expected number between 1 and 9", cur, __LINE__);
    }
    int32_t integer = int32_t(negative ? 0u - whole : whole);

    float fraction = 0.0f;
    if (cur < end && *cur == '.') {
      ++cur;
      if (cur >= end || !is_digit(*cur))
        fail("Expected number between 1 and 9", cur, __LINE__);
      int position = 0;
      while (cur < end && is_digit(*cur)) {
        fraction += FRACTIONS.value[position][*cur++ - '0'];
        position += position < 32;
      }
      if (negative)
        fraction = -fraction;
    }

    int32_t exponent = 0;
    if (cur < end && (*cur == 'e' || *cur == 'E')) {
      ++cur;
      bool negative_exponent = false;
      if (cur < end && (*cur == '-' || *cur == '+')) {
        negative_exponent = *cur == '-';
        ++cur;
      }
      if (cur >= end || !is_digit(*cur))
        fail("Expected number between 1 and 9", cur, __LINE__);
      uint32_t e = 0;
      while (cur < end && is_digit(*cur))
        e = e * 10u + uint32_t(*cur++ - '0');
      exponent = int32_t(negative_exponent ? 0u - e : e);
    }

    if (fraction == 0.0f && exponent == 0) {
      v.set_integer(integer);
      return;
    }
    double scale = exponent >= 0 && exponent <= 22 ? POW10[exponent] : pow(10.0, double(exponent));
    float result = float(scale) * (float(integer) + fraction);
    if (untrusted && !isfinite(result))
      fail("Number out of range", cur, __LINE__);
    v.set_float(result);
  }

  void parse_root(DCV& out) {
    if (end - cur >= 3 && uint8_t(cur[0]) == 0xEF && uint8_t(cur[1]) == 0xBB && uint8_t(cur[2]) == 0xBF)
      cur += 3;
    skip_space();
    if (cur >= end)
      return;
    if (*cur == '{') {
      parse_value(out);
      return;
    }
    out.set_object();
    for (;;) {
      skip_space();
      if (cur >= end)
        return;
      parse_member(out);
    }
  }
};

void fill_error(ParseError& e, const char* text, const char* end, const SyntaxFailure& f) {
  snprintf(e.message, sizeof(e.message), "%s", f.message);
  const char* pos = f.position;
  e.offset = uint32_t(pos - text);
  e.line = 1;
  const char* line_start = text;
  for (const char* p = text; p < pos; ++p) {
    if (*p == '\n') {
      ++e.line;
      line_start = p + 1;
    }
  }
  const char* line_end = pos;
  while (line_end < end && *line_end != 0 && *line_end != '\n')
    ++line_end;
  size_t n = size_t(line_end - line_start);
  if (n > 80)
    n = 80;
  memcpy(e.excerpt, line_start, n);
  e.excerpt[n] = 0;
}

enum class Outcome { OK, SYNTAX_ERROR, ABANDONED };

Outcome run(const char* text, uint32_t length, DCV& out, AnnotateFunction annotate, void* user, bool untrusted,
            ParseError* error) {
  if (length == 0)
    return Outcome::OK;
  ScopedTempAllocator scratch_allocator;
  Vector<char> scratch(scratch_allocator);
  Parser p;
  p.start = text;
  p.cur = text;
  p.end = text + length;
  p.annotate = annotate;
  p.user = user;
  p.untrusted = untrusted;
  p.depth = 0;
  p.scratch = &scratch;
  Vector<Parser::Open> open(scratch_allocator);
  p.open = &open;
  p.expectation[0] = 0;
  try {
    p.parse_root(out);
  } catch (const SyntaxFailure& f) {
    if (!untrusted) {
      g_error_message = f.message;
      g_error_source_line = f.source_line;
      g_error_position = f.position;
    }
    if (error)
      fill_error(*error, text, text + length, f);
    return Outcome::SYNTAX_ERROR;
  } catch (const AbandonedParse&) {
    return Outcome::ABANDONED;
  }
  return Outcome::OK;
}

} // namespace

void ParseError::format(char* out, uint32_t size) const {
  snprintf(out, size, "Parse error '%s' at line %i:\n\n%s", message, line, excerpt);
}

void parse(const char* text, uint32_t length, DynamicConfigValue& out) {
  ParseError e;
  if (run(text, length, out, nullptr, nullptr, false, &e) == Outcome::SYNTAX_ERROR)
    report_error(g_error_source_line, REPORT_FILE, "Parse error '%s' at line %i:\n\n%s", e.message, e.line,
                 e.excerpt);
}

bool try_parse(const char* text, uint32_t length, DynamicConfigValue& out) {
  ParseError e;
  switch (run(text, length, out, nullptr, nullptr, false, &e)) {
  case Outcome::OK:
    return true;
  case Outcome::SYNTAX_ERROR:
    log_error("Json Parser", "Parse error '%s' at line %i:\n\n%s", e.message, e.line, e.excerpt);
    return false;
  default:
    return false;
  }
}

void parse_annotated(const char* text, uint32_t length, DynamicConfigValue& out, AnnotateFunction annotate,
                     void* user) {
  ParseError e;
  if (run(text, length, out, annotate, user, false, &e) == Outcome::SYNTAX_ERROR)
    report_error(g_error_source_line, REPORT_FILE, "Parse error '%s' at line %i:\n\n%s", e.message, e.line,
                 e.excerpt);
}

bool try_parse_untrusted(const char* text, uint32_t length, DynamicConfigValue& out, ParseError* error) {
  ParseError local;
  return run(text, length, out, nullptr, nullptr, true, error ? error : &local) == Outcome::OK;
}

} // namespace simplified_json
} // namespace foundation
