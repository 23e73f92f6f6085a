#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/memory/memory_globals.h"
#include "support/test_support.h"

#include <limits>
#include <string>
#include <vector>

using namespace foundation;

namespace {

Allocator& heap() { return memory_globals::default_allocator(); }

std::string sjson(const DCV& root, bool multiline = false) {
  Vector<char> out(heap());
  SjsonWriteOptions options;
  options.multiline_arrays = multiline;
  write_sjson(root, out, options);
  // Every document printed here is printed in blocks too, to the same text.
  TextChunks chunks(heap());
  write_sjson(root, chunks, options);
  std::string joined;
  for (uint32_t i = 0; i < chunks.block_count(); ++i)
    joined.append(chunks.block(i).data, chunks.block(i).used);
  EXPECT_EQ(std::string(out.data(), out.size()), joined);
  EXPECT_EQ(uint64_t(out.size()), chunks.size());
  return std::string(out.data(), out.size());
}

std::string json(const DCV& v, bool single_line) {
  Vector<char> out(heap());
  write_json(v, out, single_line);
  return std::string(out.data(), out.size());
}

} // namespace

TEST(SjsonWriter, TheSevenLineExample) {
  DCV root(heap());
  root.get("a").set_integer(1);
  root.get("b").push_back().set_float(1.5f);
  root.get("b").push_back().set_string("x");
  root.get("c").get("d").set_bool(true);
  root.get("my key");
  EXPECT_EQ(sjson(root), "\na = 1\nb = [ 1.5 \"x\" ]\nc = {\n\td = true\n}\n\"my key\" = null\n");
}

TEST(SjsonWriter, IntegersOfEveryLengthAsPrintfWritesThem) {
  // In arrays (the fast path) and as members (the general one).
  std::vector<int32_t> values = {0, 7, -7, 10, -10, 99, 100, 101, -999, 1000, 65535, 123456789, 2147483647,
                                 -2147483647 - 1};
  for (int32_t v = 1, sign = 1; v < 1000000000; v *= 10, sign = -sign) {
    values.push_back(sign * v);
    values.push_back(sign * (v - 1));
    values.push_back(sign * (v + 1));
  }
  DCV root(heap());
  DCV& list = root.get("l");
  std::string expected_list = "[";
  for (int32_t v : values) {
    list.push_back().set_integer(v);
    expected_list += " " + std::to_string(v);
  }
  root.get("m").set_integer(-2147483647 - 1);
  EXPECT_EQ(sjson(root), "\nl = " + expected_list + " ]\nm = -2147483648\n");
}

TEST(SjsonWriter, RootForms) {
  DCV root(heap());
  EXPECT_EQ(sjson(root), "\n"); // nil
  root.set_object();
  EXPECT_EQ(sjson(root), "\n");
  root.get("x").set_integer(-5);
  EXPECT_EQ(sjson(root), "\nx = -5\n");
  DCV list(heap());
  list.push_back();
  EXPECT_REPORT(sjson(list), "Assertion failed: is_object() || is_nil()");
}

TEST(SjsonWriter, KeysAreBareOnlyWhenTheyAreIdentifiers) {
  DCV root(heap());
  root.get("3d").set_integer(1);
  root.get("a-b").set_integer(2);
  root.get("a b").set_integer(3);
  root.get("").set_integer(4);
  root.get("q\"k").set_integer(5);
  EXPECT_EQ(sjson(root), "\n = 4\n3d = 1\n\"a b\" = 3\n\"a-b\" = 2\n\"q\\\"k\" = 5\n");
  EXPECT_TRUE(is_identifier(""));
  EXPECT_TRUE(is_identifier("abc_09"));
  EXPECT_FALSE(is_identifier("\xC3\xA9"));
}

TEST(SjsonWriter, StringsEscapeOnlyQuoteAndBackslash) {
  DCV root(heap());
  root.get("s").set_string("line\nnext\t\"q\" \\ \x01\xC3\xA9");
  EXPECT_EQ(sjson(root), "\ns = \"line\nnext\t\\\"q\\\" \\\\ \x01\xC3\xA9\"\n");
  DCV msg(heap());
  msg.get("m").set_string("a\nb\rc");
  EXPECT_EQ(json(msg, true), "{ \"m\" : \"a\\nb\\rc\"}");
  EXPECT_EQ(json(msg, false), "{\n\t\"m\" : \"a\nb\rc\"\n}");
}

TEST(SjsonWriter, DataIsWrittenWholeLikeAString) {
  DCV root(heap());
  root.get("d").set_data("a\0\"", 3);
  EXPECT_EQ(sjson(root), std::string("\nd = \"a\0\\\"\"\n", 12));
}

TEST(SjsonWriter, FloatsPrintAsPercentGWithThreeDigitExponents) {
  DCV root(heap());
  root.get("a").set_float(0.1f);
  root.get("b").set_float(1234567.0f);
  root.get("c").set_float(100000.0f);
  root.get("d").set_float(1e-7f);
  root.get("e").set_float(2.5e10f);
  root.get("f").set_float(-0.0f);
  EXPECT_EQ(sjson(root), "\na = 0.1\nb = 1.23457e+006\nc = 100000\nd = 1e-007\ne = 2.5e+010\nf = -0\n");
}

TEST(SjsonWriter, NestedContainersAndMultilineArrays) {
  DCV root(heap());
  root.get("empty").set_object();
  root.get("none").set_array();
  DCV& list = root.get("l");
  list.push_back().get("k").set_integer(1);
  list.push_back().get("k").set_integer(2);
  EXPECT_EQ(sjson(root), "\nempty = {\n}\nl = [ {\n\t\tk = 1\n\t} {\n\t\tk = 2\n\t} ]\nnone = [ ]\n");
  DCV flat(heap());
  flat.get("n").push_back().set_integer(1);
  flat.get("n").push_back().set_integer(2);
  EXPECT_EQ(sjson(flat, true), "\nn = [\n\t1\n\t2\n]\n");
}

TEST(SjsonWriter, ArrayOfObjectsAtLevelOne) {
  DCV root(heap());
  DCV& list = root.get("o").get("l");
  list.push_back().get("a").set_integer(1);
  list.push_back().get("b").set_integer(2);
  EXPECT_EQ(sjson(root), "\no = {\n\tl = [ {\n\t\t\ta = 1\n\t\t} {\n\t\t\tb = 2\n\t\t} ]\n}\n");
}

TEST(JsonWriter, TheTwoFormsOfTheExample) {
  DCV v(heap());
  v.get("a").set_integer(1);
  v.get("b").set_string("x");
  EXPECT_EQ(json(v, true), "{ \"a\" : 1, \"b\" : \"x\"}");
  EXPECT_EQ(json(v, false), "{\n\t\"a\" : 1,\n\t\"b\" : \"x\"\n}");
  DCV list(heap());
  for (int i = 1; i <= 3; ++i)
    list.push_back().set_integer(i);
  EXPECT_EQ(json(list, true), "[ 1, 2, 3]");
  DCV floats(heap());
  floats.push_back().set_float(1.5f);
  floats.push_back().set_float(std::numeric_limits<float>::max());
  EXPECT_EQ(json(floats, true), "[ 1.500000, 340282346638528859811704183484516925440.000000]");
}

TEST(SjsonRoundTrip, WriteThenParseGivesTheSameTree) {
  DCV root(heap());
  root.get("name").set_string("a \"quoted\" \\ name\nwith lines");
  root.get("count").set_integer(-2147483647 - 1);
  root.get("flag").set_bool(false);
  root.get("nothing");
  root.get("weird key").get("3d").push_back().set_integer(7);
  root.get("list").push_back().set_string("");
  root.get("list").push_back().set_array();
  Vector<char> text(heap());
  write_sjson(root, text, SjsonWriteOptions());
  DCV back(heap());
  ASSERT_TRUE(simplified_json::try_parse_untrusted(text.data(), text.size(), back, nullptr));
  Vector<char> again(heap());
  write_sjson(back, again, SjsonWriteOptions());
  EXPECT_EQ(std::string(text.data(), text.size()), std::string(again.data(), again.size()));
  EXPECT_EQ(back.get("count").to_integer(), -2147483647 - 1);
  EXPECT_STREQ(back.get("name").to_string(), "a \"quoted\" \\ name\nwith lines");
}

// A deep document prints without recursion, its indentation stops growing
// past a fixed depth so that the text stays proportional to the tree, and
// the parser reads it back.
TEST(SjsonRoundTrip, DeepDocumentsStayLinearInSizeAndReadBack) {
  const int DEPTH = 100000;
  DCV root(heap());
  DCV* at = &root.get("nodes");
  for (int i = 0; i < DEPTH; ++i) {
    at->get("local").push_back().set_float(1.5f);
    at = &at->get("children").get("j");
  }
  Vector<char> text(heap());
  write_sjson(root, text, SjsonWriteOptions());
  // Per level: the member lines, their closing braces and at most the
  // capped indentation on each of them.
  EXPECT_LT(text.size(), uint32_t(DEPTH) * 4 * (40 + 2 * 64));
  DCV back(heap());
  simplified_json::ParseError e;
  ASSERT_TRUE(simplified_json::try_parse_untrusted(text.data(), text.size(), back, &e)) << e.message;
  Vector<char> again(heap());
  write_sjson(back, again, SjsonWriteOptions());
  EXPECT_TRUE(std::string(text.data(), text.size()) == std::string(again.data(), again.size()));
  const DCV* b = &back.get("nodes");
  int depth = 0;
  while (b->has("children")) {
    ASSERT_EQ(b->get("local").at(0).to_float(), 1.5f);
    b = &b->get("children").get("j");
    ++depth;
  }
  EXPECT_EQ(depth, DEPTH);
  // JSON prints the same way.
  Vector<char> json_text(heap());
  write_json(root, json_text, false);
  DCV from_json(heap());
  ASSERT_TRUE(simplified_json::try_parse_untrusted(json_text.data(), json_text.size(), from_json, &e)) << e.message;
  EXPECT_LT(json_text.size(), uint32_t(DEPTH) * 4 * (40 + 2 * 64));
}
