#include "foundation/error/log.h"
#include "foundation/utility/timer.h"
#include "support/test_support.h"

#include <regex>

using namespace foundation;

TEST(Log, ErrorsGoToStandardErrorEverythingElseToStandardOutput) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  log_info("Exporter", "%d nodes", 3);
  log_warning("Exporter", "careful");
  log_error("Exporter", "broke %s", "down");
  log_command("twi_export -f %s", "a.twi");
  log_info_message("Raw", "100% literal");
  std::string err = ::testing::internal::GetCapturedStderr();
  std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(out, "[Exporter] 3 nodes\n[Exporter] careful\n[] twi_export -f a.twi\n[Raw] 100% literal\n");
  EXPECT_EQ(err, "[Exporter] broke down\n");
}

TEST(Log, LongLinesAreCutAtTheFormattingBuffer) {
  std::string big(40000, 'x');
  ::testing::internal::CaptureStdout();
  log_info("Big", "%s", big.c_str());
  std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.size(), strlen("[Big] ") + 32767 + 1);
}

TEST(Log, TimestampHasHoursMinutesSecondsAndMilliseconds) {
  char stamp[32];
  timer::format_timestamp(stamp, sizeof(stamp));
  EXPECT_TRUE(std::regex_match(std::string(stamp), std::regex("[0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{3}"))) << stamp;
}

TEST(Log, StandardStreamsCanBeSilenced) {
  log::set_standard_streams_enabled(false);
  ::testing::internal::CaptureStdout();
  log_info("Quiet", "nothing");
  std::string out = ::testing::internal::GetCapturedStdout();
  log::set_standard_streams_enabled(true);
  EXPECT_EQ(out, "");
}
