#include "foundation/io/file_system.h"

#include <atomic>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace foundation {
namespace file_system_platform_interface {

FileHandle open_input(const char* path, uint64_t* size) {
  int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0)
    return INVALID_FILE_HANDLE;
  struct stat st;
  if (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    close(fd);
    return INVALID_FILE_HANDLE;
  }
  *size = uint64_t(st.st_size);
  return FileHandle(fd);
}

FileHandle open_output(const char* path, bool append) {
  int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (append ? 0 : O_TRUNC);
  int fd = open(path, flags, 0644);
  if (fd < 0)
    return INVALID_FILE_HANDLE;
  if (append)
    lseek(fd, 0, SEEK_END);
  return FileHandle(fd);
}

FileHandle open_async_input(const char* path, uint64_t* size) { return open_input(path, size); }

bool replacement_target(const char* path, String& target) {
  if (!path[0])
    return false; // no file named: opening it says so
  struct stat st;
  if (lstat(path, &st) != 0) {
    target = path; // nothing there yet (or unreadable: opening will say why)
    return true;
  }
  if (S_ISREG(st.st_mode)) {
    target = path;
    return true;
  }
  if (!S_ISLNK(st.st_mode))
    return false;
  char resolved[PATH_MAX];
  if (!realpath(path, resolved) || stat(resolved, &st) != 0 || !S_ISREG(st.st_mode))
    return false; // a dangling link or one to a device: written through
  target = resolved;
  return true;
}

FileHandle open_temporary_beside(const char* target, String& temporary) {
  static std::atomic<uint32_t> counter(0);
  struct stat st;
  bool keep_mode = stat(target, &st) == 0 && S_ISREG(st.st_mode);
  for (int attempt = 0; attempt < 100; ++attempt) {
    char suffix[64];
    snprintf(suffix, sizeof(suffix), ".tmp-%ld-%u-%ld", long(getpid()), unsigned(counter.fetch_add(1)),
             long(time(nullptr) % 100000));
    temporary = target;
    temporary.append(suffix);
    int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
      if (errno == EEXIST)
        continue;
      return INVALID_FILE_HANDLE;
    }
    if (keep_mode)
      (void)fchmod(fd, st.st_mode & 07777);
    return FileHandle(fd);
  }
  errno = EEXIST;
  return INVALID_FILE_HANDLE;
}

bool replace_file(const char* from, const char* to) { return rename(from, to) == 0; }

bool file_size(const char* path, uint64_t* size) {
  struct stat st;
  if (stat(path, &st) != 0)
    return false;
  *size = uint64_t(st.st_size);
  return true;
}

bool last_modified_time(const char* path, uint64_t* seconds) {
  struct stat st;
  if (stat(path, &st) != 0)
    return false;
  *seconds = uint64_t(st.st_mtime);
  return true;
}

int directory_state(const char* path) {
  struct stat st;
  if (stat(path, &st) != 0)
    return -1;
  return S_ISDIR(st.st_mode) ? 1 : 0;
}

bool is_directory(const char* path) { return directory_state(path) == 1; }

bool exists(const char* path) {
  struct stat st;
  return stat(path, &st) == 0;
}

bool make_file(const char* path) {
  int fd = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0)
    return false;
  close(fd);
  return true;
}

bool make_directory(const char* path) { return mkdir(path, 0755) == 0; }

bool remove_directory(const char* path) { return rmdir(path) == 0; }

bool remove_file(const char* path) { return unlink(path) == 0; }

bool list_directory(const char* path, Vector<String>& names) {
  DIR* d = opendir(path);
  if (!d)
    return false;
  while (dirent* e = readdir(d)) {
    if (strcmp(e->d_name, ".") == 0 || strcmp(e->d_name, "..") == 0)
      continue;
    names.push_back_default() = e->d_name;
  }
  closedir(d);
  return true;
}

} // namespace file_system_platform_interface
} // namespace foundation
