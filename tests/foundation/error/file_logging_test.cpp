#include "foundation/error/file_logging.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"
#include "support/test_support.h"

#include <regex>

using namespace foundation;

TEST(FileLogging, SingletonRules) {
  EXPECT_REPORT(FileLogging::create(nullptr), "Assertion failed: local_filename && local_filename[0] != 0\n\nLogging filename is required");
  EXPECT_REPORT(FileLogging::create(""), "Logging filename is required");
  EXPECT_REPORT(FileLogging::instance(), "Assertion failed: __instance\n\nSingleton does not exist.");
  test::TempDirectory dir;
  std::string path = dir.file("one.log");
  FileLogging::create(path.c_str());
  EXPECT_REPORT(FileLogging::create(path.c_str()), "Assertion failed: __instance == 0\n\nSingleton already exists.");
  EXPECT_NE(memory_globals::find("filelog"), nullptr); // its memory is counted by name
  FileLogging::destroy();
  EXPECT_FALSE(FileLogging::exists());
}

TEST(FileLogging, LinesAreTimestampedAndReachTheFileWhenFlushed) {
  test::TempDirectory dir;
  std::string path = dir.file("exporter.log");
  FileLogging::create(path.c_str());
  log::set_standard_streams_enabled(false);
  log_info("Exporter", "%d nodes", 3);
  log_error("Crash", "broken");
  log::set_standard_streams_enabled(true);
  EXPECT_GT(FileLogging::instance().pending_bytes(), 0u);
  EXPECT_EQ(test::read_file(path), ""); // gathered, not yet written
  FileLogging::instance().flush();
  EXPECT_EQ(FileLogging::instance().pending_bytes(), 0u);
  std::string text = test::read_file(path);
  EXPECT_TRUE(std::regex_match(text, std::regex("[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} \\[Exporter\\] 3 nodes\n"
                                                "[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} \\[Crash\\] broken\n")))
      << text;
  log::set_standard_streams_enabled(false);
  log_info("After", "the end");
  log::set_standard_streams_enabled(true);
  FileLogging::destroy(); // flushes and closes
  EXPECT_NE(test::read_file(path).find("[After] the end\n"), std::string::npos);
}

TEST(FileLogging, ACrashReportFlushesTheLog) {
  test::TempDirectory dir;
  std::string path = dir.file("crash.log");
  FileLogging::create(path.c_str());
  log::set_standard_streams_enabled(false);
  test::Report r = test::capture_report([] { TW_ASSERT_MSG(false, "exporter broke"); });
  log::set_standard_streams_enabled(true);
  // The report finished the log file: it is complete on disk.
  std::string text = test::read_file(path);
  EXPECT_NE(text.find("[Crash] Error in tests/foundation/error/file_logging_test:"), std::string::npos) << text;
  EXPECT_NE(text.find("exporter broke"), std::string::npos);
  FileLogging::destroy();
}
