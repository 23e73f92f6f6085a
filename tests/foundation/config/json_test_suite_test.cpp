// The public JSON parsing test collection (../shared/testdata/JSONTestSuite)
// through the untrusted entry: every file as it is and as the value of one
// member ("v = <file>"). y_ files must be accepted, n_ files rejected unless
// an SJSON extension makes them valid, and nothing may crash, hang or leak.
#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/memory/memory_globals.h"
#include "support/config_compare.h"
#include "support/test_support.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

using namespace foundation;

namespace {

const std::string SUITE = std::string(TW_SHARED_TESTDATA) + "/JSONTestSuite/test_parsing";

// y_ files we reject: numbers beyond the range of a 32-bit float. The
// untrusted entry calls a number that is not finite "Number out of range";
// 123e65, 123e45 and 123.456e78 overflow, and 1e-78 written as 78 fraction
// digits divides by the fraction divisor after it wrapped to zero.
const std::set<std::string> ACCEPTED_REJECTIONS = {
    "y_number.json",
    "y_number_double_close_to_zero.json",
    "y_number_real_exponent.json",
    "y_number_real_fraction_exponent.json",
};

// n_ files our extensions accept as a member's value.
const std::set<std::string> ACCEPTED_BY_EXTENSION = {
    // Commas are whitespace: missing, doubled, leading and trailing commas.
    "n_array_1_true_without_comma.json",
    "n_array_comma_after_close.json",
    "n_array_comma_and_number.json",
    "n_array_double_comma.json",
    "n_array_double_extra_comma.json",
    "n_array_extra_comma.json",
    "n_array_inner_array_no_comma.json",
    "n_array_just_comma.json",
    "n_array_missing_value.json",
    "n_array_number_and_comma.json",
    "n_array_number_and_several_commas.json",
    "n_object_several_trailing_commas.json",
    "n_object_trailing_comma.json",
    "n_object_two_commas_in_a_row.json",
    // A leading zero ends a number; the digits after it start the next one.
    "n_number_-01.json",
    "n_number_1_000.json",
    "n_number_neg_int_starting_with_zero.json",
    "n_number_with_leading_zero.json",
    // Bare keys: anything up to a blank, '=' or ':' (also '[', quotes, empty).
    "n_object_bracket_key.json",
    "n_object_lone_continuation_byte_in_key_and_trailing_comma.json",
    "n_object_missing_key.json",
    "n_object_non_string_key.json",
    "n_object_non_string_key_but_huge_number_instead.json",
    "n_object_repeated_null_null.json",
    "n_object_single_quote.json",
    "n_object_unquoted_key.json",
    // Comments.
    "n_object_trailing_comment.json",
    "n_object_trailing_comment_slash_open.json",
    "n_structure_object_with_comment.json",
    // Strings take raw control bytes; \u reads as scanf("%x"), so "\uqqqq" is 0 and appends nothing.
    "n_string_invalid_unicode_escape.json",
    "n_string_unescaped_ctrl_char.json",
    "n_string_unescaped_newline.json",
    "n_string_unescaped_tab.json",
};

std::vector<std::filesystem::path> suite_files() {
  std::vector<std::filesystem::path> files;
  std::error_code ec;
  for (auto& e : std::filesystem::directory_iterator(SUITE, ec))
    files.push_back(e.path());
  std::sort(files.begin(), files.end());
  return files;
}

bool parse_text(const std::string& text, DCV& out) {
  return simplified_json::try_parse_untrusted(text.data(), uint32_t(text.size()), out, nullptr);
}

} // namespace

TEST(JsonTestSuite, EveryFileAsItIsAndAsAMembersValue) {
  std::vector<std::filesystem::path> files = suite_files();
  if (files.empty())
    GTEST_SKIP() << "no test collection at " << SUITE;
  ASSERT_GE(files.size(), 318u);

  std::set<std::string> rejected_y, accepted_n;
  int round_trips = 0;
  for (const auto& path : files) {
    std::string name = path.filename().string();
    std::string text = test::read_file(path.string());
    Allocator& a = memory_globals::default_allocator();

    DCV as_is(a);
    parse_text(text, as_is); // must finish; either answer is fine

    DCV wrapped(a);
    bool ok = parse_text("v = " + text, wrapped);
    if (name[0] == 'y' && !ok)
      rejected_y.insert(name);
    if (name[0] == 'n' && ok)
      accepted_n.insert(name);
    if (!ok)
      continue;

    // What parses prints and parses again unchanged.
    Vector<char> printed(a);
    write_sjson(wrapped, printed, SjsonWriteOptions());
    DCV again(a);
    ASSERT_TRUE(parse_text(std::string(printed.data(), printed.size()), again)) << name;
    EXPECT_EQ(test::first_difference(wrapped, again), "") << name;
    ++round_trips;
  }
  EXPECT_EQ(rejected_y, ACCEPTED_REJECTIONS);
  EXPECT_EQ(accepted_n, ACCEPTED_BY_EXTENSION);
  EXPECT_GT(round_trips, 120);
}

TEST(JsonTestSuite, ByteOrderMarkOnlyCountsAtTheStart) {
  std::string path = SUITE + "/i_structure_UTF-8_BOM_empty_object.json";
  std::string text = test::read_file(path);
  if (text.empty())
    GTEST_SKIP() << "no test collection at " << SUITE;
  DCV as_is(memory_globals::default_allocator());
  EXPECT_TRUE(parse_text(text, as_is));
  EXPECT_TRUE(as_is.is_object());
  DCV wrapped(memory_globals::default_allocator());
  EXPECT_FALSE(parse_text("v = " + text, wrapped));
}
