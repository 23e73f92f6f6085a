#include "foundation/io/file_output_buffer.h"

#include "foundation/error/assert.h"
#include "foundation/memory/allocator.h"

namespace foundation {

FileOutputBuffer::FileOutputBuffer(FileHandle handle, Allocator& allocator, const char* path)
    : _max_size(0x7FFFFFFFFFFFFFFFull), _file_position(0), _file(handle, 0, false), _allocator(&allocator),
      _path(allocator, path) {
  _file_position = _file.position();
  _start = static_cast<char*>(allocator.allocate(CAPACITY, 4));
  _cursor = _start;
  _end = _start + CAPACITY;
}

FileOutputBuffer::~FileOutputBuffer() noexcept(false) {
  flush();
  _file_position = 0;
  _max_size = 0;
  _allocator->deallocate(_start);
  _start = _cursor = _end = nullptr;
  _file.close();
}

void FileOutputBuffer::flush() {
  TW_ASSERT_MSG(position() <= size(), "Writing past end of file");
  uint32_t n = buffered();
  if (n == 0)
    return;
  bool written = _file.write(_start, n);
  TW_ASSERT_MSG(written, "Cannot write to %s", _path.c_str());
  _file_position += n;
  _cursor = _start;
}

void FileOutputBuffer::write_through(const void* data, uint32_t bytes) {
  TW_ASSERT_TEXT(int64_t(_file_position + bytes) <= size(), "position() <= size()", "Writing past end of file");
  bool written = _file.write(data, bytes);
  TW_ASSERT_MSG(written, "Cannot write to %s", _path.c_str());
  _file_position += bytes;
}

void FileOutputBuffer::seek(uint64_t position) {
  flush();
  _file.seek(position);
  _file_position = position;
}

} // namespace foundation
