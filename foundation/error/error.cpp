#include "foundation/error/error.h"

#include "foundation/error/assert.h"
#include "foundation/error/debugger.h"
#include "foundation/error/error_context.h"
#include "foundation/error/log.h"
#include "foundation/error/log_sinks.h"
#include "foundation/memory/override_new.h"
#include "foundation/thread/critical_section.h"
#include "foundation/thread/thread.h"
#include "foundation/utility/timer.h"

#include <atomic>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace foundation {

namespace {

std::atomic<int> g_mode(ERROR_MODE_EXIT);
std::atomic<const char*> g_build_identifier("(no build identifier)");
std::atomic<const char*> g_system_information(nullptr);
std::atomic<error::ReportHook> g_report_hook(nullptr);
std::atomic<float> g_connection_wait(2.0f);
std::atomic<float> g_drain_time(2.0f);
unsigned g_crash_depth = 0; // guarded by the crash lock

struct CleanupEntry {
  CrashCleanupFunction function;
  alignas(8) unsigned char data[8];
};
CleanupEntry g_cleanups[4];

CriticalSection& crash_lock() {
  static CriticalSection cs(4000);
  return cs;
}

CriticalSection& cleanup_lock() {
  static CriticalSection cs(4000);
  return cs;
}

void flush_file_log() {
  if (const FileLogSink* sink = log_sinks::file_log())
    sink->flush();
}

void finish_file_log() {
  if (const FileLogSink* sink = log_sinks::file_log())
    sink->finish();
}

void run_cleanups() {
  ScopedCriticalSection lock(cleanup_lock());
  for (CleanupEntry& e : g_cleanups) {
    if (e.function)
      e.function(e.data);
  }
}

[[noreturn]] void exit_process() {
  fflush(nullptr);
  _Exit(1);
}

// Holds the crash lock and one level of crash depth for a report that may
// return or throw; a report that ends the process never gets here.
struct CrashScope {
  CrashScope() {
    crash_lock().enter();
    ++g_crash_depth;
  }
  ~CrashScope() {
    --g_crash_depth;
    crash_lock().leave();
  }
  CrashScope(const CrashScope&) = delete;
  CrashScope& operator=(const CrashScope&) = delete;
};

// Acts by the error mode at the end of a report.
void end_by_mode(const char* message, const char* report) {
  switch (error::mode()) {
  case ERROR_MODE_BREAK:
    return; // the break already happened when a debugger is attached
  case ERROR_MODE_THROW:
    throw ErrorException(message, report);
  case ERROR_MODE_EXIT:
  case ERROR_MODE_EXIT_SILENT:
    exit_process();
  default:
    return;
  }
}

void copy_text(char* dst, size_t size, const char* src) {
  size_t n = strlen(src);
  if (n >= size)
    n = size - 1;
  memcpy(dst, src, n);
  dst[n] = 0;
}

} // namespace

const char* ErrorException::reason() const noexcept {
  const char* blank = strstr(_message, "\n\n");
  return blank && blank[2] ? blank + 2 : _message;
}

ErrorException::ErrorException(const char* message, const char* report) {
  copy_text(_message, sizeof(_message), message);
  copy_text(_report, sizeof(_report), report);
}

void report_error(int line, const char* file, const char* format, ...) {
  CrashScope scope;

  if (g_crash_depth > 2) {
    finish_file_log();
    debugger::debug_break();
    memory_globals::set_forbid_new_delete(false);
    end_by_mode("Crash in crash handler", "Crash in crash handler");
    return;
  }
  if (g_crash_depth == 2)
    log_error_message("Crash", "Crash in crash handler!\n\n");

  char message[2048];
  va_list args;
  va_start(args, format);
  vsnprintf(message, sizeof(message), format, args);
  va_end(args);

  if (error::ReportHook hook = g_report_hook.exchange(nullptr))
    hook(message, nullptr);

  const ConsoleSink* console = log_sinks::console();
  if (console && !console->has_client())
    console->wait_for_connection(error::console_connection_wait());

  error_context::log_entries();
  flush_file_log();

  char header[1024];
  snprintf(header, sizeof(header), "Error in %s:%i, build %s\n\n", file, line, error::build_identifier());
  log_error("Crash", "%s%s\n\n", header, message);
  flush_file_log();

  if (const char* name = thread::name())
    log_error("Crash", "In thread %s", name);
  flush_file_log();

  if (!log_sinks::console() && error::mode() == ERROR_MODE_EXIT) {
    char dialog[4096];
    snprintf(dialog, sizeof(dialog), "%s%s", header, message);
    debugger::show_fatal_dialog(dialog);
    // The dialog's own end: clean up, close the log, leave.
    run_cleanups();
    finish_file_log();
    exit_process();
  }

  run_cleanups();
  flush_file_log();

  if (const char* info = error::system_information())
    log_error("System information", "\n%s", info);
  flush_file_log();

  // Keep the console serviced so the report reaches a connected tool.
  if (const ConsoleSink* sink = log_sinks::console()) {
    uint64_t start = timer::ticks();
    float drain = error::console_drain_time();
    while (timer::seconds_since(start) < drain) {
      sink->update();
      thread::sleep_ms(100);
    }
  }
  finish_file_log();
  debugger::debug_break();
  memory_globals::set_forbid_new_delete(false);

  char report[1024 + 2048];
  snprintf(report, sizeof(report), "%s%s", header, message);
  end_by_mode(message, report);
}

void add_crash_cleanup(CrashCleanupFunction function, const void* data, unsigned size) {
  TW_ASSERT(size <= 8);
  ScopedCriticalSection lock(cleanup_lock());
  for (CleanupEntry& e : g_cleanups) {
    if (!e.function) {
      e.function = function;
      memset(e.data, 0, sizeof(e.data));
      if (data && size)
        memcpy(e.data, data, size);
      return;
    }
  }
  TW_ASSERT_MSG(false, "Too many crash cleanup functions.");
}

void remove_crash_cleanup(CrashCleanupFunction function) {
  ScopedCriticalSection lock(cleanup_lock());
  for (CleanupEntry& e : g_cleanups) {
    if (e.function == function) {
      e.function = nullptr;
      memset(e.data, 0, sizeof(e.data));
    }
  }
}

namespace error {

int mode() { return g_mode.load(); }
void set_mode(int m) { g_mode.store(m); }

const char* build_identifier() { return g_build_identifier.load(); }
void set_build_identifier(const char* text) { g_build_identifier.store(text); }

const char* system_information() { return g_system_information.load(); }
void set_system_information(const char* text) { g_system_information.store(text); }

void set_report_hook(ReportHook hook) { g_report_hook.store(hook); }

float console_connection_wait() { return g_connection_wait.load(); }
void set_console_connection_wait(float seconds) { g_connection_wait.store(seconds); }
float console_drain_time() { return g_drain_time.load(); }
void set_console_drain_time(float seconds) { g_drain_time.store(seconds); }

unsigned crash_depth() {
  ScopedCriticalSection lock(crash_lock());
  return g_crash_depth;
}

} // namespace error
} // namespace foundation
