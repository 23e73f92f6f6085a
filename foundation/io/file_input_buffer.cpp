#include "foundation/io/file_input_buffer.h"

#include "foundation/error/assert.h"
#include "foundation/memory/allocator.h"

#include <string.h>

namespace foundation {

FileInputBuffer::FileInputBuffer(FileHandle handle, uint64_t size, Allocator& allocator, const char* path)
    : _left_to_read(int64_t(size)), _file(handle, size, false), _allocator(&allocator), _path(allocator, path) {
  _start = static_cast<char*>(allocator.allocate(CAPACITY, 4));
  _cursor = _start;
  _end = _start;
}

FileInputBuffer::~FileInputBuffer() noexcept(false) {
  _allocator->deallocate(_start);
  _start = _cursor = _end = nullptr;
  _file.close();
}

// Keeps the unread bytes, moves them to the front and reads behind them.
void FileInputBuffer::refill() {
  uint32_t keep = available();
  memmove(_start, _cursor, keep);
  _cursor = _start;
  _end = _start + keep;
  uint32_t room = CAPACITY - keep;
  uint32_t want = int64_t(room) < _left_to_read ? room : uint32_t(_left_to_read);
  uint32_t got = want ? _file.read(_end, want) : 0;
  _end += got;
  _left_to_read -= got;
  if (got < want)
    _left_to_read = 0; // the file is shorter than it was when opened
}

void FileInputBuffer::ensure(uint32_t bytes) {
  if (available() < bytes) {
    int64_t left_to_read = _left_to_read - int64_t(bytes - available());
    TW_ASSERT_MSG(left_to_read >= 0, "Reading past end of file");
    refill();
  }
  uint32_t ensure = bytes;
  TW_ASSERT(available() >= ensure);
}

void FileInputBuffer::read(void* data, uint32_t bytes) {
  char* out = static_cast<char*>(data);
  while (bytes > 0) {
    if (available() == 0) {
      int64_t left_to_read = _left_to_read - int64_t(bytes);
      TW_ASSERT_MSG(left_to_read >= 0, "Reading past end of file");
      if (_left_to_read <= 0)
        return;
      refill();
    }
    uint32_t n = bytes < available() ? bytes : available();
    copy_out(out, n);
    out += n;
    bytes -= n;
  }
}

} // namespace foundation
