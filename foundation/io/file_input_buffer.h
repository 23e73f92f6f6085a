// FileInputBuffer: buffered reading of a file.
//
// A 32,768-byte buffer is refilled from the file as it is read. Reading past
// the end of the file reports "Reading past end of file".
#pragma once

#include "foundation/collection/string.h"
#include "foundation/io/input_buffer.h"
#include "foundation/io/system_file.h"

namespace foundation {

class Allocator;

class FileInputBuffer : public InputBuffer {
public:
  static const uint32_t CAPACITY = 32768;

  FileInputBuffer(FileHandle handle, uint64_t size, Allocator& allocator, const char* path);
  ~FileInputBuffer() noexcept(false) override;

  // Copies `bytes` bytes out, refilling as needed.
  void read(void* data, uint32_t bytes);
  // Makes at least `bytes` (at most CAPACITY) bytes available in the buffer.
  void ensure(uint32_t bytes);
  // Bytes of the file not yet read, buffered ones included.
  uint64_t remaining() const { return uint64_t(_left_to_read) + available(); }
  uint64_t size() const { return _file.size(); }
  const char* path() const { return _path.c_str(); }
  Allocator& allocator() const { return *_allocator; }

private:
  void refill();

  int64_t _left_to_read; // bytes of the file not yet in the buffer
  SystemFile _file;
  Allocator* _allocator;
  String _path;
};

} // namespace foundation
