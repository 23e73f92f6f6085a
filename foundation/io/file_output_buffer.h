// FileOutputBuffer: buffered writing to a file.
//
// Bytes gather in a 32,768-byte buffer taken from the allocator given at
// construction and go to the file when it is full, on flush and when the
// buffer is destroyed (which also closes the file). A flush that would take
// the file past its maximum size reports "Writing past end of file"; a write
// that the system refuses (a full disk) reports "Cannot write to %s" with
// the path: nothing is lost silently.
#pragma once

#include "foundation/collection/string.h"
#include "foundation/io/output_buffer.h"
#include "foundation/io/system_file.h"

namespace foundation {

class Allocator;

class FileOutputBuffer : public OutputBuffer {
public:
  static const uint32_t CAPACITY = 32768;

  FileOutputBuffer(FileHandle handle, Allocator& allocator, const char* path);
  ~FileOutputBuffer() noexcept(false) override;

  void flush() override;
  // Large pieces go to the file directly, without the copy into the buffer.
  void write_through(const void* data, uint32_t bytes) override;
  // Flushes, moves the file pointer to `position` and continues from there.
  void seek(uint64_t position);
  // File position plus buffered bytes (compared with size() as signed).
  int64_t position() const { return int64_t(_file_position + buffered()); }
  // The maximum size (unlimited at first).
  int64_t size() const { return int64_t(_max_size); }
  void set_max_size(uint64_t size) { _max_size = size; }
  const char* path() const { return _path.c_str(); }
  Allocator& allocator() const { return *_allocator; }

private:
  uint64_t _max_size;
  uint64_t _file_position;
  SystemFile _file;
  Allocator* _allocator;
  String _path;
};

} // namespace foundation
