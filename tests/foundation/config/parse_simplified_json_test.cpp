#include "foundation/config/parse_simplified_json.h"
#include "foundation/memory/memory_globals.h"
#include "support/test_support.h"

#include <math.h>
#include <string>

using namespace foundation;
using namespace foundation::simplified_json;

namespace {

Allocator& heap() { return memory_globals::default_allocator(); }

bool parse_text(const std::string& text, DCV& out, ParseError* error = nullptr) {
  return try_parse_untrusted(text.data(), uint32_t(text.size()), out, error);
}

ParseError error_of(const std::string& text) {
  DCV out(heap());
  ParseError e;
  EXPECT_FALSE(parse_text(text, out, &e)) << text;
  return e;
}

} // namespace

TEST(Parser, EmptyOrBlankTextLeavesTheValueUntouched) {
  for (std::string text : {"", "   \n\t,,", "// only a comment\n", "/* block */ , /* another", "\xEF\xBB\xBF"}) {
    DCV out(heap());
    EXPECT_TRUE(parse_text(text, out)) << text;
    EXPECT_TRUE(out.is_nil()) << text; // not even an empty object
    EXPECT_TRUE(try_parse(text.data(), uint32_t(text.size()), out));
    EXPECT_TRUE(out.is_nil());
  }
}

TEST(Parser, TheThreeRootFormsGiveTheSameObject) {
  for (std::string text : {"a = 1 b = 2", "a: 1, b: 2,", "{\"a\": 1, \"b\": 2}", "\xEF\xBB\xBF{a=1,,b=2}"}) {
    DCV out(heap());
    ASSERT_TRUE(parse_text(text, out)) << text;
    EXPECT_EQ(out.get("a").to_integer(), 1) << text;
    EXPECT_EQ(out.get("b").to_integer(), 2) << text;
  }
}

TEST(Parser, CommasAreWhitespace) {
  for (std::string text : {"v = [1,,2,]", "v = [1 2]", "v = [,1 , 2,,,]"}) {
    DCV out(heap());
    ASSERT_TRUE(parse_text(text, out)) << text;
    ASSERT_EQ(out.get("v").size(), 2u) << text;
    EXPECT_EQ(out.get("v").at(1).to_integer(), 2);
  }
}

TEST(Parser, NumbersInThirtyTwoBits) {
  DCV out(heap());
  ASSERT_TRUE(parse_text("a = 1.5 b = 2.0 c = -0.25 d = 1e2 e = 5e0 f = 0.00 g = -0 h = 4294967297 "
                         "i = 2147483648 j = 1E-2 k = -12 l = 0",
                         out));
  EXPECT_TRUE(out.get("a").is_float());
  EXPECT_EQ(out.get("a").to_float(), 1.5f);
  EXPECT_TRUE(out.get("b").is_integer()); // "2.0" has a zero fraction
  EXPECT_EQ(out.get("b").to_integer(), 2);
  EXPECT_EQ(out.get("c").to_float(), -0.25f);
  EXPECT_TRUE(out.get("d").is_float());
  EXPECT_EQ(out.get("d").to_float(), 100.0f);
  EXPECT_TRUE(out.get("e").is_integer());
  EXPECT_TRUE(out.get("f").is_integer());
  EXPECT_EQ(out.get("g").to_integer(), 0);
  EXPECT_EQ(out.get("h").to_integer(), 1); // wraps around
  EXPECT_EQ(out.get("i").to_integer(), -2147483647 - 1);
  EXPECT_FLOAT_EQ(out.get("j").to_float(), 0.01f);
  EXPECT_EQ(out.get("k").to_integer(), -12);
  EXPECT_EQ(out.get("l").to_integer(), 0);
}

TEST(Parser, NumberSyntaxErrors) {
  EXPECT_STREQ(error_of("x = 0123").message, "Reached end of string while parsing"); // 123 is a bare key
  EXPECT_STREQ(error_of("x = -a").message, "Expected number between 1 and 9");
  EXPECT_STREQ(error_of("x = 1.").message, "Expected number between 1 and 9");
  EXPECT_STREQ(error_of("x = 1.e5").message, "Expected number between 1 and 9");
  EXPECT_STREQ(error_of("x = 2e+").message, "Expected number between 1 and 9");
  EXPECT_STREQ(error_of("x = +5").message, "Unexpected character");
  EXPECT_STREQ(error_of("x = .5").message, "Unexpected character");
  EXPECT_STREQ(error_of("x = 1e99").message, "Number out of range");
  // Fraction digits past the 31st divide by zero: not a finite number.
  EXPECT_STREQ(error_of("x = 0." + std::string(40, '1')).message, "Number out of range");
}

TEST(Parser, TrustedEntryKeepsNonFiniteNumbers) {
  DCV out(heap());
  std::string text = "x = 1e99";
  ASSERT_TRUE(try_parse(text.data(), uint32_t(text.size()), out));
  EXPECT_TRUE(isinf(out.get("x").to_float()));
}

TEST(Parser, StringsAndEscapes) {
  DCV out(heap());
  ASSERT_TRUE(parse_text("a = \"\\u00e9\" b = \"x\\u0000y\" c = \"\\\"\\\\\\/\\b\\f\\n\\r\\t\" "
                         "d = \"raw\nline\" e = \"\"\"verbatim \"quotes\" \\n\"\"\" f = \"\\u20ac\" g = \"\\u41zz\"",
                         out));
  EXPECT_EQ(std::string(out.get("a").to_string()), "\xC3\xA9");
  EXPECT_EQ(std::string(out.get("b").to_string()), "xy"); // \u0000 appends nothing
  EXPECT_EQ(std::string(out.get("c").to_string()), "\"\\/\b\f\n\r\t");
  EXPECT_EQ(std::string(out.get("d").to_string()), "raw\nline");
  EXPECT_EQ(std::string(out.get("e").to_string()), "verbatim \"quotes\" \\n");
  EXPECT_EQ(std::string(out.get("f").to_string()), "\xE2\x82\xAC");
  EXPECT_EQ(std::string(out.get("g").to_string()), "A"); // "41zz": %x stops at z; four bytes consumed
  EXPECT_STREQ(error_of("a = \"\\q\"").message, "Unknown escape character");
  EXPECT_STREQ(error_of("a = \"open").message, "Reached end of string while parsing");
  EXPECT_STREQ(error_of("a = \"ends with \\").message, "Reached end of string while parsing");
  EXPECT_STREQ(error_of("a = \"\"\"never closed\"\"").message, "Reached end of data while parsing");
}

TEST(Parser, BareKeysTakeEverythingUpToSpaceOrSeparator) {
  DCV out(heap());
  ASSERT_TRUE(parse_text("k{a}[\"b\"=1 c,d\r:2 e = 3 e = 4", out));
  EXPECT_EQ(out.get("k{a}[\"b\"").to_integer(), 1);
  EXPECT_EQ(out.get("c,d\r").to_integer(), 2);
  EXPECT_EQ(out.get("e").to_integer(), 4); // a repeated key replaces the value
}

TEST(Parser, CommentsAndTheBadCommentLine) {
  DCV out(heap());
  ASSERT_TRUE(parse_text("// c\na = 1 /* b = 2 */ c = [ 1 // x\n 2 ]", out));
  EXPECT_FALSE(out.has("b"));
  EXPECT_EQ(out.get("c").size(), 2u);
  ParseError e = error_of("a = 1\nb = 2\n/ c = 3");
  EXPECT_STREQ(e.message, "Bad comment");
  EXPECT_EQ(e.line, 3);
  EXPECT_STREQ(e.excerpt, "/ c = 3");
  EXPECT_STREQ(error_of("a = 1 /").message, "Bad comment");
}

TEST(Parser, ExcerptIsTheErrorLineCutTo80Bytes) {
  std::string long_line = "x = [" + std::string(100, '1') + " @ ]";
  ParseError e = error_of("a = 1\n" + long_line + "\nb = 2");
  EXPECT_STREQ(e.message, "Unexpected character");
  EXPECT_EQ(e.line, 2);
  EXPECT_EQ(std::string(e.excerpt), long_line.substr(0, 80));
  char text[512];
  e.format(text, sizeof(text));
  EXPECT_EQ(std::string(text), "Parse error 'Unexpected character' at line 2:\n\n" + long_line.substr(0, 80));
}

TEST(Parser, LiteralsAndTheirExpectationChecks) {
  DCV out(heap());
  ASSERT_TRUE(parse_text("t = true f = false n = null x = [true,false]", out));
  EXPECT_TRUE(out.get("t").to_bool());
  EXPECT_FALSE(out.get("f").to_bool());
  EXPECT_TRUE(out.has("n"));
  // Untrusted: the failed expectation is a plain error.
  EXPECT_STREQ(error_of("t = trux").message, "Character x did not match expectation e");
  EXPECT_STREQ(error_of("t = tru").message, "Reached end while looking for character e in ");
  // Trusted entries report it as an assertion, even try_parse.
  DCV v(heap());
  std::string bad = "t = trux";
  EXPECT_REPORT(try_parse(bad.data(), uint32_t(bad.size()), v),
                "Assertion failed: *start == c\n\nCharacter x did not match expectation e at x");
  std::string cut = "t = tru";
  EXPECT_REPORT(parse(cut.data(), uint32_t(cut.size()), v),
                "Assertion failed: start < end\n\nReached end while looking for character e in ");
  std::string no_separator = "{\"a\" 1}";
  EXPECT_REPORT(parse(no_separator.data(), uint32_t(no_separator.size()), v), "Assertion failed: *start == c");
}

TEST(Parser, SyntaxErrorsByEntry) {
  std::string text = "a = 1\nb = @";
  DCV out(heap());
  test::Report r = test::capture_report([&] { parse(text.data(), uint32_t(text.size()), out); });
  ASSERT_TRUE(r.reported);
  EXPECT_EQ(r.message, "Parse error 'Unexpected character' at line 2:\n\nb = @");
  EXPECT_EQ(r.report.find("Error in parse_simplified_json.cpp:"), 0u) << r.report;
  EXPECT_EQ(out.get("a").to_integer(), 1); // the partly built value stays

  DCV again(heap());
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(try_parse(text.data(), uint32_t(text.size()), again));
  std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, "[Json Parser] Parse error 'Unexpected character' at line 2:\n\nb = @\n");
}

// Nesting is bounded by memory, not by the stack: the parser keeps its own
// list of open containers, so documents as deep as a long joint chain read.
TEST(Parser, NestingIsLimitedByALimitFarBeyondTheStack) {
  size_t limit = size_t(MAX_NESTING);
  std::string deep = "v = " + std::string(limit + 1, '[') + std::string(limit + 1, ']');
  EXPECT_STREQ(error_of(deep).message, "Nesting too deep");
  std::string ok = "v = " + std::string(limit, '[') + std::string(limit, ']');
  DCV out(heap());
  EXPECT_TRUE(parse_text(ok, out));
  int depth = 0;
  for (const DCV* at = &out.get("v"); at->is_array(); at = &at->at(0))
    ++depth;
  EXPECT_EQ(depth, MAX_NESTING);
  std::string objects = "v = ";
  for (int i = 0; i < 100000; ++i)
    objects += "{a = 1 b = ";
  objects += "[1 2]" + std::string(100000, '}');
  DCV nested(heap());
  ASSERT_TRUE(parse_text(objects, nested));
  const DCV* at = &nested.get("v");
  for (int i = 0; i < 100000; ++i) {
    ASSERT_EQ(at->get("a").to_integer(), 1);
    at = &at->get("b");
  }
  EXPECT_EQ(at->at(1).to_integer(), 2);
  EXPECT_STREQ(error_of("v = [1 2").message, "Reached end of string while parsing");
  EXPECT_STREQ(error_of("v = {a = 1").message, "Reached end of string while parsing");
  EXPECT_STREQ(error_of("v =").message, "Reached end of string while parsing");
}

namespace {
uint32_t length_annotation(const char* text_start, const char* value_start, const char* value_end, void*) {
  return uint32_t(value_start - text_start) * 1000 + uint32_t(value_end - value_start);
}
} // namespace

TEST(Parser, AnnotationsRecordEachValuesPlace) {
  std::string text = "a = 12 b = [ \"xy\" ]";
  DCV out(heap());
  parse_annotated(text.data(), uint32_t(text.size()), out, &length_annotation, nullptr);
  EXPECT_EQ(out.get("a").annotation(), 4u * 1000 + 2);
  EXPECT_EQ(out.get("b").annotation(), 11u * 1000 + 8);
  EXPECT_EQ(out.get("b").at(0).annotation(), 13u * 1000 + 4);
  EXPECT_EQ(out.get("a").to_integer(), 12); // the kind bits are kept
}

TEST(Parser, OutMustCarryAnAllocator) {
  DCV no_allocator;
  std::string text = "a = 1";
  EXPECT_REPORT(try_parse(text.data(), uint32_t(text.size()), no_allocator), "Assertion failed: _allocator");
}

// Found by fuzzing: a repeated key whose first value was a scalar (which has
// forgotten its allocator) must still take a string or container, and the
// B-tree's moves of members must keep each value's allocator.
TEST(Parser, RepeatedKeysReplaceScalarsWithAnyKind) {
  DCV out(heap());
  ASSERT_TRUE(parse_text("a = 1 b = 2 a = \"x\" c = 3.5 b = {k = [1]} c = [\"y\"] d = 4 e = 5 f = 6", out));
  EXPECT_STREQ(out.get("a").to_string(), "x");
  EXPECT_EQ(out.get("b").get("k").at(0).to_integer(), 1);
  EXPECT_STREQ(out.get("c").at(0).to_string(), "y");
  std::string many;
  for (int i = 0; i < 200; ++i)
    many += "k" + std::to_string(i % 37) + " = " + (i % 2 ? "\"s\" " : "7 ");
  DCV again(heap());
  ASSERT_TRUE(parse_text(many, again));
  for (DCV::Iterator it = again.begin(); it != again.end(); ++it)
    EXPECT_NE(it.value().kind(), DCV::NIL);
}
