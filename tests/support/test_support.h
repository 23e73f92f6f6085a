// Helpers shared by the test programs.
//
// capture_report runs a statement with the error mode set to throw and
// returns what a report said (or that there was none), so a test can check
// which assertion fired and with what text:
//
//   EXPECT_REPORT(vector.front(), "Assertion failed: _size > 0");
#pragma once

#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace test {

struct Report {
  bool reported = false;
  std::string message; // "Assertion failed: ..." and what follows
  std::string report;  // the header "Error in FILE:LINE, build ...\n\n" and the message
};

Report capture_report(const std::function<void()>& statement);

// The same in the "return" error mode: the report goes back to the code that
// failed, which carries on (for checks in destructors that must finish).
// Only `message` is filled.
Report capture_report_returning(const std::function<void()>& statement);

::testing::AssertionResult reports_with(const std::function<void()>& statement, const std::string& expected);

// A fresh directory under the system's temporary folder, removed with its
// contents when the object goes.
class TempDirectory {
public:
  TempDirectory();
  ~TempDirectory();
  const std::string& path() const { return _path; }
  std::string file(const std::string& name) const { return _path + "/" + name; }

private:
  std::string _path;
};

std::string read_file(const std::string& path);
// Entries in a directory, "." and ".." not counted.
unsigned directory_size(const std::string& path);

// How many times longer the stress tests run: TW_STRESS_SCALE (1 when unset).
unsigned stress_scale();

// Runs a shell command; its exit status (-1 when it did not exit) and its
// standard output and standard error together.
struct ProgramRun {
  int status;
  std::string output;
};
ProgramRun run_program(const std::string& command);
void write_file(const std::string& path, const std::string& text);

} // namespace test

#define EXPECT_REPORT(statement, expected) EXPECT_TRUE(::test::reports_with([&]() { statement; }, expected))
#define ASSERT_REPORT(statement, expected) ASSERT_TRUE(::test::reports_with([&]() { statement; }, expected))
