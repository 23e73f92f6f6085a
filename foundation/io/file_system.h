// FileSystem: file and directory operations under one root directory.
//
// Paths are UTF-8 and relative to the root, which is joined to them with
// exactly one '/'. An empty root takes every path as given (absolute, or
// relative to the process's current folder); a non-empty root must be a
// directory ("Not a directory %s"). Every failure of the operating system
// is an assertion naming the path: "Cannot open input %s", "Cannot open
// output %s", "Cannot check size of file %s", "File size overflow" (4 GiB
// or more), "Cannot check last modified time %s", "Cannot check if path is
// directory %s", "Cannot make file %s", "Cannot make directory %s",
// "Cannot remove directory %s", "File does not exist %s", "Cannot list dir %s".
// Opening, writing and replacing add the system's reason after the path
// ("Cannot open output /x/a.twi: Permission denied"), so that a user knows
// what to do about it.
//
// Opened files are buffered streams made in storage from the caller's
// allocator; close them with close() (which flushes an output). An output
// opened with open_replacement leaves an existing file as it was until
// close() has written every byte, and then takes its place in one step;
// when anything fails, the existing file stays and no other file is left
// behind. close() releases the stream whatever happens, also when it
// reports.
#pragma once

#include "foundation/collection/string.h"
#include "foundation/collection/vector.h"
#include "foundation/io/file_input_buffer.h"
#include "foundation/io/file_output_buffer.h"

namespace foundation {

class FileSystem {
public:
  FileSystem(Allocator& allocator, const char* root);
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;

  const char* root() const { return _root.c_str(); }

  FileInputBuffer* open_input(const char* path, Allocator& allocator);
  // Truncates an existing file unless `append`, which continues at its end.
  FileOutputBuffer* open_output(const char* path, Allocator& allocator, bool append = false);
  // Writes to a temporary file beside `path` (its folder must be writable),
  // which close() renames over `path`. A path that names something other
  // than a regular file (a device such as /dev/null, a pipe) is opened and
  // written directly instead; a symbolic link is followed and the file it
  // names is replaced. An existing file's permissions are kept.
  FileOutputBuffer* open_replacement(const char* path, Allocator& allocator);
  void close(FileInputBuffer* file);
  // Flushes and closes (and for a replacement, renames); reports a failure
  // after releasing the stream.
  void close(FileOutputBuffer* file);
  // Closes without writing what is still buffered; a replacement's target
  // is left untouched. Never reports.
  void abandon(FileOutputBuffer* file);

  // Size in bytes of an existing file (below 4 GiB).
  uint32_t size(const char* path);
  // Seconds since 1970 of the last change of an existing file.
  uint64_t last_modified_time(const char* path);
  bool is_directory(const char* path);
  bool exists(const char* path);
  void make_file(const char* path);
  void make_directory(const char* path);
  void remove_directory(const char* path);
  void remove_file(const char* path);
  // Names of the entries of a directory (without "." and ".."), sorted by bytes.
  void list_directory(const char* path, Vector<String>& names);

  // Reads a file into `out` (appending) until its end: pipes, devices and
  // files whose size the system does not know (/proc) included. Reports
  // "File too large" at 2 GiB.
  void read_all(const char* path, Vector<char>& out);
  // Writes `bytes` bytes as the whole content of `path`, as a replacement.
  void write_all(const char* path, const void* data, uint32_t bytes);

  // The root joined with `path`.
  void full_path(const char* path, String& out) const;

private:
  String _root; // holds the file system's allocator too
};

// What each platform provides (file_system_posix.cpp, file_system_win32.cpp).
// Paths here are complete (already joined to the root).
namespace file_system_platform_interface {

FileHandle open_input(const char* path, uint64_t* size);
FileHandle open_output(const char* path, bool append);
// Where a replacement of `path` is written: `target` receives the file to
// replace (`path`, or the file a symbolic link names); false when `path`
// exists and is not a regular file, which is then written directly.
bool replacement_target(const char* path, String& target);
// Creates a new, empty file beside `target` under a name no other file
// has, with the permissions of `target` when it exists; its name goes to
// `temporary`.
FileHandle open_temporary_beside(const char* target, String& temporary);
// Renames `from` over `to` in one step, replacing `to` if it exists.
bool replace_file(const char* from, const char* to);
// For a SystemFile's asynchronous reads.
FileHandle open_async_input(const char* path, uint64_t* size);
// False when the path can't be queried.
bool file_size(const char* path, uint64_t* size);
bool last_modified_time(const char* path, uint64_t* seconds);
// 1: a directory, 0: something else, -1: nothing there.
int directory_state(const char* path);
bool is_directory(const char* path);
bool exists(const char* path);
bool make_file(const char* path);
bool make_directory(const char* path);
bool remove_directory(const char* path);
bool remove_file(const char* path);
bool list_directory(const char* path, Vector<String>& names);

} // namespace file_system_platform_interface
} // namespace foundation
