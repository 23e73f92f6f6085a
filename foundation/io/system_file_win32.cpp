#include "foundation/io/system_file.h"

#include <string.h>
#include <windows.h>

namespace foundation {

static_assert(sizeof(OVERLAPPED) <= 40, "overlapped record too small");

namespace {
HANDLE handle_of(FileHandle h) { return reinterpret_cast<HANDLE>(h); }
} // namespace

uint32_t SystemFile::platform_read(void* buffer, uint32_t count) {
  DWORD n = 0;
  if (!ReadFile(handle_of(_handle), buffer, count, &n, nullptr))
    return 0;
  return n;
}

bool SystemFile::platform_write(const void* buffer, uint32_t count) {
  DWORD n = 0;
  return WriteFile(handle_of(_handle), buffer, count, &n, nullptr) && n == count;
}

bool SystemFile::platform_seek(uint64_t position) {
  LARGE_INTEGER to;
  to.QuadPart = LONGLONG(position);
  return SetFilePointerEx(handle_of(_handle), to, nullptr, FILE_BEGIN) != 0;
}

uint64_t SystemFile::platform_position() {
  LARGE_INTEGER zero, now;
  zero.QuadPart = 0;
  if (!SetFilePointerEx(handle_of(_handle), zero, &now, FILE_CURRENT))
    return 0;
  return uint64_t(now.QuadPart);
}

bool SystemFile::platform_close() { return CloseHandle(handle_of(_handle)) != 0; }

void SystemFile::platform_set_no_space_error() { SetLastError(ERROR_DISK_FULL); }

void SystemFile::platform_start_async_read() {
  OVERLAPPED* o = reinterpret_cast<OVERLAPPED*>(_overlapped.platform);
  memset(o, 0, sizeof(OVERLAPPED));
  o->Offset = DWORD(_overlapped.offset);
  o->OffsetHigh = DWORD(_overlapped.offset >> 32);
  ReadFile(handle_of(_handle), _overlapped.buffer, _overlapped.count, nullptr, o);
}

uint32_t SystemFile::platform_wait_async_read() {
  DWORD n = 0;
  GetOverlappedResult(handle_of(_handle), reinterpret_cast<OVERLAPPED*>(_overlapped.platform), &n, TRUE);
  return n;
}

bool SystemFile::platform_async_read_done() {
  return HasOverlappedIoCompleted(reinterpret_cast<OVERLAPPED*>(_overlapped.platform));
}

} // namespace foundation
