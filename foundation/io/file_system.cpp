#include "foundation/io/file_system.h"

#include "foundation/error/assert.h"
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
  TW_ASSERT_TEXT(h != INVALID_FILE_HANDLE, "h != INVALID_HANDLE_VALUE", "Cannot open input %s", full.c_str());
  if (h == INVALID_FILE_HANDLE)
    return nullptr;
  return allocator.make_new<FileInputBuffer>(h, size, allocator, full.c_str());
}

FileOutputBuffer* FileSystem::open_output(const char* path, Allocator& allocator, bool append) {
  FullPath full(*this, path);
  FileHandle h = file_system_platform_interface::open_output(full.c_str(), append);
  TW_ASSERT_TEXT(h != INVALID_FILE_HANDLE, "h != INVALID_HANDLE_VALUE", "Cannot open output %s", full.c_str());
  if (h == INVALID_FILE_HANDLE)
    return nullptr;
  return allocator.make_new<FileOutputBuffer>(h, allocator, full.c_str());
}

// A stream's storage came from the allocator that also holds its buffer.
void FileSystem::close(FileInputBuffer* file) {
  if (file)
    file->allocator().make_delete(file);
}

void FileSystem::close(FileOutputBuffer* file) {
  if (file)
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
  ScopedTempAllocator scratch;
  FileInputBuffer* in = open_input(path, scratch);
  if (!in)
    return;
  uint64_t size = in->size();
  TW_ASSERT_MSG(size < 0x80000000ull, "File size overflow");
  char* p = out.make_room(uint32_t(size));
  in->read(p, uint32_t(size));
  out.set_size(out.size() + uint32_t(size));
  close(in);
}

void FileSystem::write_all(const char* path, const void* data, uint32_t bytes) {
  ScopedTempAllocator scratch;
  FileOutputBuffer* out = open_output(path, scratch, false);
  if (!out)
    return;
  out->write(data, bytes);
  close(out);
}

} // namespace foundation
