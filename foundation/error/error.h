// The error reporter: one entry for every assertion and fatal error.
//
// report_error formats the message, writes a crash report through the log
// (context entries, "Error in %s:%i, build %s\n\n" and the message, the
// thread's name, system information), runs the registered clean-up
// functions, and then acts by the process-wide error mode:
//
//   0  break into an attached debugger and return to the caller
//   1  throw ErrorException carrying the message and the report text
//   2  show the "Fatal Error!" dialog and exit with code 1 (the default)
//   4  exit with code 1 without the dialog
//   other values: return to the caller and carry on
//
// A report that returns or throws leaves the crash lock and lowers the crash
// depth again, so a process in modes 0, 1 or "other" survives any number of
// reports; only a report that ends the process keeps them. A failure while
// reporting (depth 2) logs "Crash in crash handler!" and reports once more;
// a third nested failure ends at once. The first thread to fail holds the
// crash lock, so other failing threads wait.
#pragma once

#include "foundation/platform.h"

#include <exception>

namespace foundation {

enum ErrorMode {
  ERROR_MODE_BREAK = 0,
  ERROR_MODE_THROW = 1,
  ERROR_MODE_EXIT = 2,
  ERROR_MODE_EXIT_SILENT = 4,
};

// What mode 1 throws: the formatted message and the whole report text
// (header and message).
class ErrorException : public std::exception {
public:
  ErrorException(const char* message, const char* report);
  const char* what() const noexcept override { return _message; }
  const char* message() const noexcept { return _message; }
  const char* report() const noexcept { return _report; }
  // The message without its "Assertion failed: ..." line: what follows the
  // first blank line when something does, else the whole message. What a
  // tool shows its user.
  const char* reason() const noexcept;

private:
  char _message[2048];
  char _report[1024 + 2048];
};

void report_error(int line, const char* file, const char* format, ...) TW_PRINTF_FORMAT(3, 4);

typedef void (*CrashCleanupFunction)(void* data);

// Registers `function` to run during crash reports with a pointer to a copy
// of `size` (at most 8) bytes of `data`. At most four functions can be
// registered ("Too many crash cleanup functions.").
void add_crash_cleanup(CrashCleanupFunction function, const void* data = nullptr, unsigned size = 0);

// Clears every entry that holds `function`.
void remove_crash_cleanup(CrashCleanupFunction function);

namespace error {

int mode();
void set_mode(int mode);

// Sets the error mode for the lifetime of the scope and restores the old one.
class ScopedMode {
public:
  explicit ScopedMode(int mode) : _previous(error::mode()) { set_mode(mode); }
  ~ScopedMode() { set_mode(_previous); }
  ScopedMode(const ScopedMode&) = delete;
  ScopedMode& operator=(const ScopedMode&) = delete;

private:
  int _previous;
};

// "(no build identifier)" until set. The text is not copied.
const char* build_identifier();
void set_build_identifier(const char* text);

// Printed at the end of a crash report when set. The text is not copied.
const char* system_information();
void set_system_information(const char* text);

// A function called once, with the formatted message and 0, by the next report.
typedef void (*ReportHook)(const char* message, void* user);
void set_report_hook(ReportHook hook);

// Seconds a crash waits for a console client, and keeps the console serviced
// at the end of a report (both 2.0 by default).
float console_connection_wait();
void set_console_connection_wait(float seconds);
float console_drain_time();
void set_console_drain_time(float seconds);

// Number of reports currently running on the crash path (0 when none).
unsigned crash_depth();

} // namespace error
} // namespace foundation
