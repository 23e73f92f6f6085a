#include "foundation/io/system_file.h"

#include "foundation/error/assert.h"

namespace foundation {

SystemFile::SystemFile(FileHandle handle, uint64_t size, bool async)
    : _handle(handle), _size(size), _async(async), _async_read_pending(false), _overlapped() {}

SystemFile::~SystemFile() {
  close();
  TW_ASSERT(!_async_read_pending);
}

uint32_t SystemFile::read(void* buffer, uint32_t count) {
  TW_ASSERT(!_async);
  return platform_read(buffer, count);
}

bool SystemFile::write(const void* buffer, uint32_t count) { return platform_write(buffer, count); }

void SystemFile::seek(uint64_t position) { platform_seek(position); }

uint64_t SystemFile::position() { return platform_position(); }

void SystemFile::close() {
  if (_handle != INVALID_FILE_HANDLE) {
    platform_close();
    _handle = INVALID_FILE_HANDLE;
  }
}

void SystemFile::async_read(uint64_t offset, void* buffer, uint32_t count) {
  TW_ASSERT(_async && !_async_read_pending);
  _overlapped.offset = offset;
  _overlapped.buffer = buffer;
  _overlapped.count = count;
  _overlapped.result = 0;
  _async_read_pending = true;
  platform_start_async_read();
}

uint32_t SystemFile::wait_for_async_read() {
  TW_ASSERT(_async_read_pending);
  uint32_t n = platform_wait_async_read();
  _async_read_pending = false;
  return n;
}

bool SystemFile::is_async_read_complete() {
  TW_ASSERT(_async_read_pending);
  return platform_async_read_done();
}

} // namespace foundation
