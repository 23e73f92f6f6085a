#include "foundation/io/file_system.h"

#include "foundation/error/assert.h"
#include "foundation/error/system_error.h"
#include "foundation/io/path.h"
#include "foundation/memory/temp_allocator.h"

#include <algorithm>
#include <string.h>

namespace foundation {

namespace {
// A scratch copy of the joined path for one operation.
struct FullPath {
  ScopedTempAllocator scratch;
  String text;
  FullPath(const FileSystem& fs, const char* path) : scratch(), text(scratch) { fs.full_path(path, text); }
  const char* c_str() const { return text.c_str(); }
};
} // namespace

FileSystem::FileSystem(Allocator& allocator, const char* root) : _root(allocator, root) {
  if (_root.length() == 0)
    return;
  String built_path(allocator, root);
  TW_ASSERT_MSG(file_system_platform_interface::is_directory(built_path.c_str()), "Not a directory %s", root);
}

void FileSystem::full_path(const char* path, String& out) const { path::join(_root.c_str(), path, out); }

FileInputBuffer* FileSystem::open_input(const char* path, Allocator& allocator) {
  FullPath full(*this, path);
  uint64_t size = 0;
  FileHandle h = file_system_platform_interface::open_input(full.c_str(), &size);
  if (h == INVALID_FILE_HANDLE) {
    system_error::LastErrorText reason;
    TW_ASSERT_TEXT(h != INVALID_FILE_HANDLE, "h != INVALID_HANDLE_VALUE", "Cannot open input %s: %s", full.c_str(),
                   reason.c_str());
    return nullptr;
  }
  return allocator.make_new<FileInputBuffer>(h, size, allocator, full.c_str());
}

FileOutputBuffer* FileSystem::open_output(const char* path, Allocator& allocator, bool append) {
  FullPath full(*this, path);
  FileHandle h = file_system_platform_interface::open_output(full.c_str(), append);
  if (h == INVALID_FILE_HANDLE) {
    system_error::LastErrorText reason;
    TW_ASSERT_TEXT(h != INVALID_FILE_HANDLE, "h != INVALID_HANDLE_VALUE", "Cannot open output %s: %s", full.c_str(),
                   reason.c_str());
    return nullptr;
  }
  return allocator.make_new<FileOutputBuffer>(h, allocator, full.c_str());
}

FileOutputBuffer* FileSystem::open_replacement(const char* path, Allocator& allocator) {
  FullPath full(*this, path);
  ScopedTempAllocator scratch;
  String target(scratch);
  if (!file_system_platform_interface::replacement_target(full.c_str(), target))
    return open_output(path, allocator, false);
  String temporary(scratch);
  FileHandle h = file_system_platform_interface::open_temporary_beside(target.c_str(), temporary);
  if (h == INVALID_FILE_HANDLE) {
    system_error::LastErrorText reason;
    TW_ASSERT_TEXT(h != INVALID_FILE_HANDLE, "h != INVALID_HANDLE_VALUE", "Cannot open output %s: %s", full.c_str(),
                   reason.c_str());
    return nullptr;
  }
  return allocator.make_new<FileOutputBuffer>(h, allocator, target.c_str(), temporary.c_str());
}

// A stream's storage came from the allocator that also holds its buffer.
void FileSystem::close(FileInputBuffer* file) {
  if (file)
    file->allocator().make_delete(file);
}

void FileSystem::close(FileOutputBuffer* file) {
  if (!file)
    return;
  // Released also when finishing reports by throwing.
  struct Release {
    FileOutputBuffer* file;
    ~Release() { file->allocator().make_delete(file); }
  } release{file};
  file->finish();
}

void FileSystem::abandon(FileOutputBuffer* file) {
  if (!file)
    return;
  file->abandon();
  file->allocator().make_delete(file);
}

uint32_t FileSystem::size(const char* path) {
  FullPath full(*this, path);
  TW_ASSERT_TEXT(file_system_platform_interface::exists(full.c_str()), "exists(file)", "File does not exist %s",
           full.c_str());
  uint64_t size = 0;
  bool ok = file_system_platform_interface::file_size(full.c_str(), &size);
  TW_ASSERT_TEXT(ok, "h != INVALID_HANDLE_VALUE", "Cannot check size of file %s", full.c_str());
  TW_ASSERT_TEXT(size < 0x100000000ull, "fd.nFileSizeHigh == 0", "File size overflow");
  return uint32_t(size);
}

uint64_t FileSystem::last_modified_time(const char* path) {
  FullPath full(*this, path);
  TW_ASSERT_TEXT(file_system_platform_interface::exists(full.c_str()), "exists(file)", "File does not exist %s",
           full.c_str());
  uint64_t seconds = 0;
  bool ok = file_system_platform_interface::last_modified_time(full.c_str(), &seconds);
  TW_ASSERT_TEXT(ok, "h != INVALID_HANDLE_VALUE", "Cannot check last modified time %s", full.c_str());
  return seconds;
}

bool FileSystem::is_directory(const char* path) {
  FullPath full(*this, path);
  int state = file_system_platform_interface::directory_state(full.c_str());
  TW_ASSERT_TEXT(state >= 0, "h != INVALID_HANDLE_VALUE", "Cannot check if path is directory %s", full.c_str());
  return state == 1;
}

bool FileSystem::exists(const char* path) {
  FullPath full(*this, path);
  return file_system_platform_interface::exists(full.c_str());
}

void FileSystem::make_file(const char* path) {
  FullPath full(*this, path);
  bool ok = file_system_platform_interface::make_file(full.c_str());
  TW_ASSERT_TEXT(ok, "h != INVALID_HANDLE_VALUE", "Cannot make file %s", full.c_str());
}

void FileSystem::make_directory(const char* path) {
  FullPath full(*this, path);
  bool ok = file_system_platform_interface::make_directory(full.c_str());
  TW_ASSERT_TEXT(ok, "result", "Cannot make directory %s", full.c_str());
}

void FileSystem::remove_directory(const char* path) {
  FullPath full(*this, path);
  bool ok = file_system_platform_interface::remove_directory(full.c_str());
  TW_ASSERT_TEXT(ok, "result", "Cannot remove directory %s", full.c_str());
}

void FileSystem::remove_file(const char* path) {
  FullPath full(*this, path);
  TW_ASSERT_TEXT(file_system_platform_interface::exists(full.c_str()), "exists(file)", "File does not exist %s",
           full.c_str());
  file_system_platform_interface::remove_file(full.c_str());
}

void FileSystem::list_directory(const char* path, Vector<String>& names) {
  FullPath full(*this, path);
  uint32_t first = names.size();
  bool ok = file_system_platform_interface::list_directory(full.c_str(), names);
  TW_ASSERT_TEXT(ok, "h != INVALID_HANDLE_VALUE", "Cannot list dir %s", full.c_str());
  std::sort(names.begin() + first, names.end(), [](const String& a, const String& b) { return a < b; });
}

void FileSystem::read_all(const char* path, Vector<char>& out) {
  FullPath full(*this, path);
  uint64_t size = 0;
  FileHandle h = file_system_platform_interface::open_input(full.c_str(), &size);
  if (h == INVALID_FILE_HANDLE) {
    system_error::LastErrorText reason;
    TW_ASSERT_TEXT(h != INVALID_FILE_HANDLE, "h != INVALID_HANDLE_VALUE", "Cannot open input %s: %s", full.c_str(),
                   reason.c_str());
    return;
  }
  SystemFile file(h, size, false);
  // The size the system gave is a first guess only: a pipe or a /proc file
  // says 0, and a file may grow while it is read. Reading goes on to the end.
  const uint64_t limit = 0x7FFFFFFFull;
  uint64_t first = size < limit ? size : limit;
  if (uint64_t(out.size()) + first + 1 <= limit)
    out.reserve(out.size() + uint32_t(first) + 1);
  for (;;) {
    uint64_t room = out.capacity() - out.size();
    if (room == 0)
      room = 65536;
    if (uint64_t(out.size()) + room > limit)
      room = limit - out.size();
    if (room == 0) {
      char probe;
      bool more = file.read(&probe, 1) > 0;
      TW_ASSERT_MSG(!more, "File too large %s (2 GiB or more)", full.c_str());
      return;
    }
    char* p = out.make_room(uint32_t(room));
    if (!p)
      return;
    uint32_t got = file.read(p, uint32_t(room));
    out.set_size(out.size() + got);
    if (got < room)
      return;
  }
}

void FileSystem::write_all(const char* path, const void* data, uint32_t bytes) {
  ScopedTempAllocator scratch;
  FileOutputBuffer* out = open_replacement(path, scratch);
  if (!out)
    return;
  struct Abandon {
    FileSystem& fs;
    FileOutputBuffer* out;
    ~Abandon() {
      if (out)
        fs.abandon(out);
    }
  } guard{*this, out};
  out->write(data, bytes);
  guard.out = nullptr;
  close(out);
}

} // namespace foundation
