#include "foundation/io/system_file.h"

#include "foundation/error/assert.h"

#include <atomic>

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

namespace {
// Writes that still succeed before the injected fault; -1 when none is set.
std::atomic<int64_t> g_writes_before_fault(-1);

bool write_fault_now() {
  int64_t left = g_writes_before_fault.load(std::memory_order_relaxed);
  while (left >= 0) {
    if (left == 0)
      return true;
    if (g_writes_before_fault.compare_exchange_weak(left, left - 1, std::memory_order_relaxed))
      return false;
  }
  return false;
}
} // namespace

void SystemFile::set_write_fault(uint32_t writes_that_succeed) {
  g_writes_before_fault.store(int64_t(writes_that_succeed), std::memory_order_relaxed);
}

void SystemFile::clear_write_fault() { g_writes_before_fault.store(-1, std::memory_order_relaxed); }

bool SystemFile::write(const void* buffer, uint32_t count) {
  if (count > 0 && write_fault_now()) {
    platform_set_no_space_error();
    return false;
  }
  return platform_write(buffer, count);
}

void SystemFile::seek(uint64_t position) { platform_seek(position); }

uint64_t SystemFile::position() { return platform_position(); }

bool SystemFile::close() {
  if (_handle == INVALID_FILE_HANDLE)
    return true;
  bool ok = platform_close();
  _handle = INVALID_FILE_HANDLE;
  return ok;
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
