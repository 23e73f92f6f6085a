#include "foundation/error/assert.h"
#include "foundation/error/error_context.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/thread/thread.h"
#include "support/test_support.h"

#include <string.h>

using namespace foundation;

namespace {

// Matches a death test's standard error when `text` does not occur in it.
class NotContaining : public ::testing::MatcherInterface<const std::string&> {
public:
  explicit NotContaining(std::string text) : _text(std::move(text)) {}
  bool MatchAndExplain(const std::string& s, ::testing::MatchResultListener*) const override {
    return s.find(_text) == std::string::npos;
  }
  void DescribeTo(std::ostream* os) const override { *os << "does not contain \"" << _text << "\""; }

private:
  std::string _text;
};

::testing::Matcher<const std::string&> not_containing(const std::string& text) {
  return ::testing::MakeMatcher(new NotContaining(text));
}

int count_of(const std::string& haystack, const std::string& needle) {
  int n = 0;
  for (size_t at = haystack.find(needle); at != std::string::npos; at = haystack.find(needle, at + 1))
    ++n;
  return n;
}

void fail_check(int x) { TW_ASSERT(x == 1); }

} // namespace

TEST(ErrorReport, ThrowModeCarriesMessageAndHeaderAndTheProcessGoesOn) {
  test::Report r = test::capture_report([] { fail_check(2); });
  ASSERT_TRUE(r.reported);
  EXPECT_EQ(r.message, "Assertion failed: x == 1\n\n");
  // The header names the file without extension, the real line and the build.
  EXPECT_EQ(r.report.find("Error in tests/foundation/error/error_test:"), 0u) << r.report;
  EXPECT_NE(r.report.find(", build (no build identifier)\n\nAssertion failed: x == 1\n\n"), std::string::npos);
  EXPECT_EQ(error::crash_depth(), 0u);

  // Reporting again works the same: the crash lock was left.
  for (int i = 0; i < 3; ++i)
    EXPECT_REPORT(fail_check(3), "Assertion failed: x == 1");
  EXPECT_EQ(error::crash_depth(), 0u);
}

TEST(ErrorReport, AssertionWithMessageFormatsItsArguments) {
  EXPECT_REPORT(TW_ASSERT_MSG(1 + 1 == 3, "bad sum %d of %s", 2, "ones"), "Assertion failed: 1 + 1 == 3\n\nbad sum 2 of ones");
}

TEST(ErrorReport, TheReasonIsWhatFollowsTheAssertionLine) {
  error::ScopedMode mode(ERROR_MODE_THROW);
  try {
    TW_ASSERT_MSG(false, "Cannot open %s", "x.twi");
    ADD_FAILURE() << "no report";
  } catch (const ErrorException& e) {
    EXPECT_STREQ("Cannot open x.twi", e.reason());
  }
  try {
    TW_ASSERT(2 < 1); // nothing after the blank line: the whole message
    ADD_FAILURE() << "no report";
  } catch (const ErrorException& e) {
    EXPECT_STREQ(e.message(), e.reason());
  }
}

TEST(ErrorReportDeathTest, DefaultModeShowsTheFatalDialogAndExitsWithOne) {
  EXPECT_EXIT(
      {
        error::set_mode(ERROR_MODE_EXIT);
        fail_check(0);
      },
      ::testing::ExitedWithCode(1), "Fatal Error!\n\nError in tests/foundation/error/error_test:[0-9]+, build \\(no build identifier\\)");
}

TEST(ErrorReportDeathTest, SilentExitModeExitsWithOneWithoutTheDialog) {
  EXPECT_EXIT(
      {
        error::set_mode(ERROR_MODE_EXIT_SILENT);
        fail_check(0);
      },
      ::testing::ExitedWithCode(1), not_containing("Fatal Error!"));
}

TEST(ErrorReport, BreakAndOtherModesReturnToTheCaller) {
  for (int mode : {int(ERROR_MODE_BREAK), 3, 7}) {
    error::ScopedMode scoped(mode);
    ::testing::internal::CaptureStderr();
    bool went_on = false;
    fail_check(0);
    went_on = true;
    std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(went_on);
    EXPECT_NE(err.find("[Crash] Error in tests/foundation/error/error_test:"), std::string::npos) << err;
    EXPECT_EQ(error::crash_depth(), 0u);
  }
}

namespace {
int g_cleanup_calls = 0;
char g_cleanup_seen[9];
void recording_cleanup(void* data) {
  ++g_cleanup_calls;
  memcpy(g_cleanup_seen, data, 8);
  g_cleanup_seen[8] = 0;
}
void failing_cleanup(void*) { TW_ASSERT_MSG(false, "cleanup broke"); }
void other_cleanup(void*) {}
} // namespace

TEST(ErrorReport, CleanupFunctionsRunWithTheirDataAndCanBeRemoved) {
  g_cleanup_calls = 0;
  add_crash_cleanup(&recording_cleanup, "abcdefgh", 8);
  EXPECT_REPORT(fail_check(0), "x == 1");
  EXPECT_EQ(g_cleanup_calls, 1);
  EXPECT_STREQ(g_cleanup_seen, "abcdefgh");
  remove_crash_cleanup(&recording_cleanup);
  EXPECT_REPORT(fail_check(0), "x == 1");
  EXPECT_EQ(g_cleanup_calls, 1);
}

TEST(ErrorReport, FifthCleanupIsRefused) {
  for (int i = 0; i < 4; ++i)
    add_crash_cleanup(&other_cleanup);
  EXPECT_REPORT(add_crash_cleanup(&recording_cleanup), "Assertion failed: false\n\nToo many crash cleanup functions.");
  remove_crash_cleanup(&other_cleanup);
  // All four entries held the same function: all are free again.
  for (int i = 0; i < 4; ++i)
    add_crash_cleanup(&other_cleanup);
  remove_crash_cleanup(&other_cleanup);
}

TEST(ErrorReport, FailureInsideACleanupReportsCrashInCrashHandlerOnce) {
  add_crash_cleanup(&failing_cleanup);
  ::testing::internal::CaptureStderr();
  test::Report r = test::capture_report([] { fail_check(5); });
  std::string err = ::testing::internal::GetCapturedStderr();
  remove_crash_cleanup(&failing_cleanup);
  ASSERT_TRUE(r.reported);
  EXPECT_EQ(count_of(err, "Crash in crash handler!"), 1) << err;
  // The nested report is a normal report of the clean-up's own assertion.
  EXPECT_NE(err.find("Assertion failed: false\n\ncleanup broke"), std::string::npos);
  EXPECT_EQ(error::crash_depth(), 0u);
  // And the process carries on reporting normally afterwards.
  EXPECT_REPORT(fail_check(6), "x == 1");
}

TEST(ErrorReportDeathTest, FailureInsideACleanupInDefaultModeStillExitsWithOne) {
  EXPECT_EXIT(
      {
        add_crash_cleanup(&failing_cleanup);
        error::set_mode(ERROR_MODE_EXIT);
        fail_check(0);
      },
      ::testing::ExitedWithCode(1), "Crash in crash handler!");
}

namespace {
std::string g_hook_message;
int g_hook_calls = 0;
void hook(const char* message, void* user) {
  ++g_hook_calls;
  g_hook_message = message;
  EXPECT_EQ(user, nullptr);
}
} // namespace

TEST(ErrorReport, ReportHookIsCalledOnceWithTheMessage) {
  g_hook_calls = 0;
  error::set_report_hook(&hook);
  EXPECT_REPORT(fail_check(0), "x == 1");
  EXPECT_REPORT(fail_check(0), "x == 1");
  EXPECT_EQ(g_hook_calls, 1);
  EXPECT_EQ(g_hook_message, "Assertion failed: x == 1\n\n");
}

TEST(ErrorReport, BuildIdentifierSystemInformationAndThreadNameAreReported) {
  error::set_build_identifier("build-42");
  error::set_system_information("cpu: test");
  ::testing::internal::CaptureStderr();
  test::Report r;
  Thread t;
  t.start([](void* out) { *static_cast<test::Report*>(out) = test::capture_report([] { fail_check(0); }); }, &r,
          "exporter-worker");
  t.join();
  std::string err = ::testing::internal::GetCapturedStderr();
  error::set_build_identifier("(no build identifier)");
  error::set_system_information(nullptr);
  EXPECT_NE(r.report.find(", build build-42\n\n"), std::string::npos) << r.report;
  EXPECT_NE(err.find("[Crash] In thread exporter-worker\n"), std::string::npos) << err;
  EXPECT_NE(err.find("[System information] \ncpu: test\n"), std::string::npos) << err;
}

TEST(ErrorReport, ContextEntriesArePrintedOldestFirstAndPoppedOnEveryExit) {
  ::testing::internal::CaptureStderr();
  {
    ErrorContext outer("node", "pCube1");
    ErrorContext inner("stream", 3);
    EXPECT_EQ(error_context::depth(), 2u);
    EXPECT_REPORT(fail_check(0), "x == 1");
  }
  std::string err = ::testing::internal::GetCapturedStderr();
  size_t node = err.find("[Context] node pCube1\n");
  size_t stream = err.find("[Context] stream 3\n");
  ASSERT_NE(node, std::string::npos) << err;
  ASSERT_NE(stream, std::string::npos) << err;
  EXPECT_LT(node, stream);
  EXPECT_EQ(error_context::depth(), 0u);

  // A guard unwound by the mode-1 exception pops its entry as well.
  test::capture_report([] {
    ErrorContext guard("key", "local");
    fail_check(0);
  });
  EXPECT_EQ(error_context::depth(), 0u);
}

TEST(ErrorReport, ContextStackCreationRules) {
  error_context::create_stack(memory_globals::default_allocator());
  EXPECT_REPORT(error_context::create_stack(memory_globals::default_allocator()),
                "Assertion failed: !_thread_error_context_stack");
  error_context::destroy_stack();
  EXPECT_REPORT(error_context::destroy_stack(), "Assertion failed: _thread_error_context_stack");
}
