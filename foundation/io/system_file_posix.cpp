#include "foundation/io/system_file.h"

#include <errno.h>
#include <unistd.h>

namespace foundation {

uint32_t SystemFile::platform_read(void* buffer, uint32_t count) {
  uint32_t total = 0;
  while (total < count) {
    ssize_t n = ::read(int(_handle), static_cast<char*>(buffer) + total, count - total);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      break;
    total += uint32_t(n);
  }
  return total;
}

bool SystemFile::platform_write(const void* buffer, uint32_t count) {
  uint32_t total = 0;
  while (total < count) {
    ssize_t n = ::write(int(_handle), static_cast<const char*>(buffer) + total, count - total);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      return false;
    total += uint32_t(n);
  }
  return true;
}

bool SystemFile::platform_seek(uint64_t position) { return lseek(int(_handle), off_t(position), SEEK_SET) >= 0; }

uint64_t SystemFile::platform_position() {
  off_t p = lseek(int(_handle), 0, SEEK_CUR);
  return p < 0 ? 0 : uint64_t(p);
}

// A failed close is not retried: the descriptor is gone either way (POSIX
// leaves its state unspecified after EINTR, and Linux has freed it).
bool SystemFile::platform_close() { return ::close(int(_handle)) == 0 || errno == EINTR; }

void SystemFile::platform_set_no_space_error() { errno = ENOSPC; }

// A positioned read that is done by the time it returns.
void SystemFile::platform_start_async_read() {
  uint32_t total = 0;
  while (total < _overlapped.count) {
    ssize_t n = pread(int(_handle), static_cast<char*>(_overlapped.buffer) + total, _overlapped.count - total,
                      off_t(_overlapped.offset + total));
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      break;
    total += uint32_t(n);
  }
  _overlapped.result = total;
}

uint32_t SystemFile::platform_wait_async_read() { return _overlapped.result; }

bool SystemFile::platform_async_read_done() { return true; }

} // namespace foundation
