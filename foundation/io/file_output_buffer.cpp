#include "foundation/io/file_output_buffer.h"

#include "foundation/error/assert.h"
#include "foundation/error/system_error.h"
#include "foundation/io/file_system.h"
#include "foundation/memory/allocator.h"

#include <exception>

namespace foundation {

FileOutputBuffer::FileOutputBuffer(FileHandle handle, Allocator& allocator, const char* path,
                                   const char* temporary_path)
    : _max_size(0x7FFFFFFFFFFFFFFFull), _file_position(0), _file(handle, 0, false), _allocator(&allocator),
      _path(allocator, path), _temporary_path(allocator, temporary_path ? temporary_path : "") {
  _file_position = _file.position();
  _start = static_cast<char*>(allocator.allocate(CAPACITY, 4));
  _cursor = _start;
  _end = _start + CAPACITY;
}

FileOutputBuffer::~FileOutputBuffer() noexcept(false) {
  // Whatever the flush does, the buffer, the handle and a pending
  // replacement's temporary file are released.
  struct Release {
    FileOutputBuffer& file;
    ~Release() { file.abandon(); }
  } release{*this};
  if (std::uncaught_exceptions() == 0 && _file.is_open() && !is_replacement())
    flush();
}

void FileOutputBuffer::release() {
  if (_start) {
    _allocator->deallocate(_start);
    _start = _cursor = _end = nullptr;
  }
  _file.close();
  _file_position = 0;
}

void FileOutputBuffer::abandon() {
  discard();
  release();
  if (is_replacement()) {
    file_system_platform_interface::remove_file(_temporary_path.c_str());
    _temporary_path = "";
  }
}

void FileOutputBuffer::flush() {
  TW_ASSERT_MSG(position() <= size(), "Writing past end of file");
  uint32_t n = buffered();
  if (n == 0)
    return;
  bool written = _file.write(_start, n);
  if (!written) {
    system_error::LastErrorText reason;
    TW_ASSERT_MSG(written, "Cannot write to %s: %s", _path.c_str(), reason.c_str());
    return;
  }
  _file_position += n;
  _cursor = _start;
}

void FileOutputBuffer::write_through(const void* data, uint32_t bytes) {
  TW_ASSERT_TEXT(int64_t(_file_position + bytes) <= size(), "position() <= size()", "Writing past end of file");
  bool written = _file.write(data, bytes);
  if (!written) {
    system_error::LastErrorText reason;
    TW_ASSERT_MSG(written, "Cannot write to %s: %s", _path.c_str(), reason.c_str());
    return;
  }
  _file_position += bytes;
}

void FileOutputBuffer::seek(uint64_t position) {
  flush();
  _file.seek(position);
  _file_position = position;
}

void FileOutputBuffer::finish() {
  if (!_file.is_open())
    return;
  flush();
  if (buffered() > 0) {
    // The flush reported and returned: nothing more is written.
    abandon();
    return;
  }
  bool closed = _file.close();
  if (!closed) {
    system_error::LastErrorText reason;
    abandon();
    TW_ASSERT_MSG(closed, "Cannot write to %s: %s", _path.c_str(), reason.c_str());
    return;
  }
  release();
  if (!is_replacement())
    return;
  bool replaced = file_system_platform_interface::replace_file(_temporary_path.c_str(), _path.c_str());
  if (!replaced) {
    system_error::LastErrorText reason;
    abandon();
    TW_ASSERT_MSG(replaced, "Cannot replace %s: %s", _path.c_str(), reason.c_str());
    return;
  }
  _temporary_path = "";
}

} // namespace foundation
