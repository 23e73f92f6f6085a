#include "foundation/io/file_system.h"

#include "foundation/memory/temp_allocator.h"
#include "foundation/utility/encoding.h"

#include <stdio.h>
#include <string.h>
#include <windows.h>

namespace foundation {
namespace file_system_platform_interface {

namespace {

// The path in UTF-16, in scratch memory for the duration of one call.
struct WidePath {
  ScopedTempAllocator scratch;
  Vector<uint16_t> text;
  explicit WidePath(const char* path) : scratch(), text(scratch) {
    uint32_t n = uint32_t(strlen(path)) + 1;
    text.reserve(n > 10 ? n : 10);
    encoding::utf8_to_utf16(path, text);
  }
  const wchar_t* c_str() const { return reinterpret_cast<const wchar_t*>(text.data()); }
};

FileHandle to_handle(HANDLE h) {
  return h == INVALID_HANDLE_VALUE ? INVALID_FILE_HANDLE : reinterpret_cast<FileHandle>(h);
}

bool find_data(const char* path, WIN32_FIND_DATAW& fd) {
  WidePath wide(path);
  HANDLE h = FindFirstFileW(wide.c_str(), &fd);
  if (h == INVALID_HANDLE_VALUE)
    return false;
  FindClose(h);
  return true;
}

void to_utf8(const wchar_t* wide, char* out, int size) {
  int n = WideCharToMultiByte(CP_UTF8, 0, wide, -1, out, size, nullptr, nullptr);
  if (n <= 0)
    out[0] = 0;
}

} // namespace

FileHandle open_input(const char* path, uint64_t* size) {
  WidePath wide(path);
  HANDLE h = CreateFileW(wide.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                         nullptr);
  if (h == INVALID_HANDLE_VALUE)
    return INVALID_FILE_HANDLE;
  LARGE_INTEGER s;
  GetFileSizeEx(h, &s);
  *size = uint64_t(s.QuadPart);
  return to_handle(h);
}

FileHandle open_output(const char* path, bool append) {
  WidePath wide(path);
  HANDLE h = CreateFileW(wide.c_str(), GENERIC_WRITE, 0, nullptr, append ? OPEN_ALWAYS : CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h != INVALID_HANDLE_VALUE && append) {
    LARGE_INTEGER zero;
    zero.QuadPart = 0;
    SetFilePointerEx(h, zero, nullptr, FILE_END);
  }
  return to_handle(h);
}

bool replacement_target(const char* path, String& target) {
  if (!path[0])
    return false; // no file named: opening it says so
  WidePath wide(path);
  HANDLE h = CreateFileW(wide.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                         OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  target = path;
  if (h == INVALID_HANDLE_VALUE)
    return true; // nothing there yet (or unreadable: opening will say why)
  // Only a file on a disk is replaced; devices (NUL, CON), pipes and
  // folders are written directly, which reports what they refuse.
  BY_HANDLE_FILE_INFORMATION info;
  bool is_file = GetFileType(h) == FILE_TYPE_DISK && GetFileInformationByHandle(h, &info) &&
                 !(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
  CloseHandle(h);
  return is_file;
}

FileHandle open_temporary_beside(const char* target, String& temporary) {
  static LONG counter = 0;
  for (int attempt = 0; attempt < 100; ++attempt) {
    char suffix[64];
    snprintf(suffix, sizeof(suffix), ".tmp-%lu-%ld", (unsigned long)GetCurrentProcessId(),
             long(InterlockedIncrement(&counter)));
    temporary = target;
    temporary.append(suffix);
    WidePath wide(temporary.c_str());
    HANDLE h = CreateFileW(wide.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h != INVALID_HANDLE_VALUE)
      return to_handle(h);
    if (GetLastError() != ERROR_FILE_EXISTS)
      return INVALID_FILE_HANDLE;
  }
  return INVALID_FILE_HANDLE;
}

bool replace_file(const char* from, const char* to) {
  WidePath wide_from(from);
  WidePath wide_to(to);
  return MoveFileExW(wide_from.c_str(), wide_to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

FileHandle open_async_input(const char* path, uint64_t* size) {
  WidePath wide(path);
  HANDLE h = CreateFileW(wide.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED, nullptr);
  if (h == INVALID_HANDLE_VALUE)
    return INVALID_FILE_HANDLE;
  LARGE_INTEGER s;
  GetFileSizeEx(h, &s);
  *size = uint64_t(s.QuadPart);
  return to_handle(h);
}

bool file_size(const char* path, uint64_t* size) {
  WIN32_FIND_DATAW fd;
  if (!find_data(path, fd))
    return false;
  *size = (uint64_t(fd.nFileSizeHigh) << 32) | fd.nFileSizeLow;
  return true;
}

bool last_modified_time(const char* path, uint64_t* seconds) {
  WIN32_FIND_DATAW fd;
  if (!find_data(path, fd))
    return false;
  uint64_t ticks = (uint64_t(fd.ftLastWriteTime.dwHighDateTime) << 32) | fd.ftLastWriteTime.dwLowDateTime;
  *seconds = ticks / 10000000ull - 11644473600ull; // from 1601 in 100 ns to 1970 in seconds
  return true;
}

int directory_state(const char* path) {
  WidePath wide(path);
  DWORD attributes = GetFileAttributesW(wide.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES)
    return -1;
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) ? 1 : 0;
}

bool is_directory(const char* path) { return directory_state(path) == 1; }

bool exists(const char* path) { return directory_state(path) >= 0; }

bool make_file(const char* path) {
  WidePath wide(path);
  HANDLE h = CreateFileW(wide.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE)
    return false;
  CloseHandle(h);
  return true;
}

bool make_directory(const char* path) {
  WidePath wide(path);
  return CreateDirectoryW(wide.c_str(), nullptr) != 0;
}

bool remove_directory(const char* path) {
  WidePath wide(path);
  return RemoveDirectoryW(wide.c_str()) != 0;
}

bool remove_file(const char* path) {
  WidePath wide(path);
  return DeleteFileW(wide.c_str()) != 0;
}

bool list_directory(const char* path, Vector<String>& names) {
  ScopedTempAllocator scratch;
  String pattern(scratch, path);
  pattern.append("/*");
  WidePath wide(pattern.c_str());
  WIN32_FIND_DATAW fd;
  HANDLE h = FindFirstFileW(wide.c_str(), &fd);
  if (h == INVALID_HANDLE_VALUE)
    return false;
  do {
    char name[MAX_PATH * 4];
    to_utf8(fd.cFileName, name, sizeof(name));
    if (strcmp(name, ".") != 0 && strcmp(name, "..") != 0)
      names.push_back_default() = name;
  } while (FindNextFileW(h, &fd));
  FindClose(h);
  return true;
}

} // namespace file_system_platform_interface
} // namespace foundation
