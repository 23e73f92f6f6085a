// Logging: one line at a time, tagged with a level and a system name.
//
// Each line goes, under one re-entrant lock, to standard error (level
// "error") or standard output (every other level) as "[%s] %s\n" (system,
// message); to an attached debugger; to the log file when file logging is
// active; and to the network console when a console server runs. The
// formatting variants format into a 32,768-byte buffer and cut longer text.
#pragma once

#include "foundation/platform.h"

#include <stdarg.h>

namespace foundation {

void log_info(const char* system, const char* format, ...) TW_PRINTF_FORMAT(2, 3);
void log_warning(const char* system, const char* format, ...) TW_PRINTF_FORMAT(2, 3);
void log_error(const char* system, const char* format, ...) TW_PRINTF_FORMAT(2, 3);
// Level "command", empty system.
void log_command(const char* format, ...) TW_PRINTF_FORMAT(1, 2);

// The same without formatting: the message is used as it is.
void log_info_message(const char* system, const char* message);
void log_warning_message(const char* system, const char* message);
void log_error_message(const char* system, const char* message);
void log_command_message(const char* message);

// The core: sends one line to every destination.
void log_line(const char* level, const char* system, const char* message);
void log_line_v(const char* level, const char* system, const char* format, va_list args);

namespace log {

// Whether lines are also written to the standard streams (on by default).
// Tools that print their own output may turn this off.
void set_standard_streams_enabled(bool enabled);

} // namespace log
} // namespace foundation
