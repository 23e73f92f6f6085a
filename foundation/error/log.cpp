#include "foundation/error/log.h"

#include "foundation/error/debugger.h"
#include "foundation/error/log_sinks.h"
#include "foundation/thread/critical_section.h"
#include "foundation/utility/timer.h"

#include <atomic>
#include <stdio.h>

namespace foundation {

namespace {

std::atomic<bool> g_standard_streams(true);
std::atomic<const FileLogSink*> g_file_sink(nullptr);
std::atomic<const ConsoleSink*> g_console_sink(nullptr);

CriticalSection& log_lock() {
  static CriticalSection cs(4000);
  return cs;
}

// Asking the platform for a debugger costs a file read on POSIX; once per
// process is enough for log output.
bool debugger_attached() {
  static const bool present = debugger::is_present();
  return present;
}

} // namespace

void log_line(const char* level, const char* system, const char* message) {
  ScopedCriticalSection lock(log_lock());
  if (g_standard_streams.load(std::memory_order_relaxed)) {
    bool is_error = level[0] == 'e' && level[1] == 'r'; // "error"
    FILE* stream = is_error ? stderr : stdout;
    fprintf(stream, "[%s] %s\n", system, message);
    fflush(stream);
  }
  if (debugger_attached()) {
    debugger::output(level);
    debugger::output(" [");
    debugger::output(system);
    debugger::output("] ");
    debugger::output(message);
    debugger::output("\n");
  }
  if (const FileLogSink* file = g_file_sink.load()) {
    char stamp[32];
    timer::format_timestamp(stamp, sizeof(stamp));
    file->append(stamp, system, message);
  }
  if (const ConsoleSink* console = g_console_sink.load())
    console->send_log(level, system, message);
}

void log_line_v(const char* level, const char* system, const char* format, va_list args) {
  char buffer[32768];
  vsnprintf(buffer, sizeof(buffer), format, args);
  log_line(level, system, buffer);
}

#define TW_DEFINE_LOG(function, level)                                                                       \
  void function(const char* system, const char* format, ...) {                                              \
    va_list args;                                                                                            \
    va_start(args, format);                                                                                  \
    log_line_v(level, system, format, args);                                                                 \
    va_end(args);                                                                                            \
  }                                                                                                          \
  void function##_message(const char* system, const char* message) { log_line(level, system, message); }

TW_DEFINE_LOG(log_info, "info")
TW_DEFINE_LOG(log_warning, "warning")
TW_DEFINE_LOG(log_error, "error")

#undef TW_DEFINE_LOG

void log_command(const char* format, ...) {
  va_list args;
  va_start(args, format);
  log_line_v("command", "", format, args);
  va_end(args);
}

void log_command_message(const char* message) { log_line("command", "", message); }

namespace log {
void set_standard_streams_enabled(bool enabled) { g_standard_streams.store(enabled); }
} // namespace log

namespace log_sinks {
void set_file_log(const FileLogSink* sink) { g_file_sink.store(sink); }
const FileLogSink* file_log() { return g_file_sink.load(); }
void set_console(const ConsoleSink* sink) { g_console_sink.store(sink); }
const ConsoleSink* console() { return g_console_sink.load(); }
} // namespace log_sinks

} // namespace foundation
