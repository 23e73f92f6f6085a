// File logging: every log line also goes to a file, with a timestamp.
//
// A process-wide singleton, made with a local file name and destroyed when
// logging to the file ends. Lines are formatted as "%s [%s] %s\n"
// (timestamp, system, message), gathered in a growing text buffer, and
// written to the file when flushed; crash reports flush and finish it. Its
// memory is counted by a TraceAllocator named "filelog".
//
//   FileLogging::create("exporter.log");
//   ...                      // log_info etc. now also write the file
//   FileLogging::destroy();
#pragma once

#include "foundation/collection/vector.h"
#include "foundation/memory/trace_allocator.h"
#include "foundation/thread/critical_section.h"

namespace foundation {

class FileSystem;
class FileOutputBuffer;

class FileLogging {
public:
  // "Logging filename is required" without a name; "Singleton already exists."
  // when one exists.
  static void create(const char* local_filename);
  static void destroy();
  static bool exists();
  // "Singleton does not exist." when there is none.
  static FileLogging& instance();

  void append(const char* timestamp, const char* system, const char* message);
  // Writes what is gathered to the file and flushes it.
  void flush();
  // Flushes and closes the file; later lines are dropped.
  void finish();

  // The text gathered and not yet written. For tests.
  uint32_t pending_bytes() const { return _text.size(); }

private:
  friend class Allocator; // made and destroyed through make_new / make_delete
  explicit FileLogging(const char* local_filename);
  ~FileLogging() noexcept(false);

  TraceAllocator _allocator;
  CriticalSection _lock;
  Vector<char> _text;
  FileSystem* _file_system;
  FileOutputBuffer* _file;
};

} // namespace foundation
