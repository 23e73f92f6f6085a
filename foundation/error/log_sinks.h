// Destinations of log lines and crash reports that other modules install.
//
// The error and log modules sit below files and sockets, so the log file
// (foundation/error/file_logging) and the network console
// (foundation/network/console_server) plug in here while they exist. A null
// sink means the destination is absent; an installed console sink means "a
// console server runs".
#pragma once

namespace foundation {

struct FileLogSink {
  // Appends "%s [%s] %s\n" (timestamp, system, message) to the file's buffer.
  void (*append)(const char* timestamp, const char* system, const char* message);
  void (*flush)();
  // Flushes and closes the file for good (the process is ending).
  void (*finish)();
};

struct ConsoleSink {
  bool (*has_client)();
  void (*wait_for_connection)(float seconds);
  // One polling step of the server.
  void (*update)();
  // Sends the message object {type = "message", level, system, message}.
  void (*send_log)(const char* level, const char* system, const char* message);
};

namespace log_sinks {

void set_file_log(const FileLogSink* sink);
const FileLogSink* file_log();

void set_console(const ConsoleSink* sink);
const ConsoleSink* console();

} // namespace log_sinks
} // namespace foundation
