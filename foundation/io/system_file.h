// SystemFile: a thin wrapper of an operating-system file handle.
//
// Synchronous reads and writes, seeking, and one asynchronous read at a time
// (overlapped I/O on Win32; on POSIX a positioned read that completes at
// once). Reading synchronously from a file opened for asynchronous reads,
// starting a second asynchronous read, or destroying the file with one
// pending are assertions.
//
// Each platform provides the operations marked below (system_file_posix.cpp,
// system_file_win32.cpp).
#pragma once

#include "foundation/platform.h"

namespace foundation {

// A Win32 HANDLE or a POSIX file descriptor.
typedef intptr_t FileHandle;
const FileHandle INVALID_FILE_HANDLE = -1;

class SystemFile {
public:
  SystemFile(FileHandle handle, uint64_t size, bool async);
  ~SystemFile();
  SystemFile(const SystemFile&) = delete;
  SystemFile& operator=(const SystemFile&) = delete;

  FileHandle handle() const { return _handle; }
  uint64_t size() const { return _size; }
  bool is_async() const { return _async; }
  bool is_open() const { return _handle != INVALID_FILE_HANDLE; }

  // Bytes read (fewer at the end of the file).
  uint32_t read(void* buffer, uint32_t count);
  // Whether all bytes were written; on failure the system's last error
  // says why.
  bool write(const void* buffer, uint32_t count);
  // Moves the file pointer to `position` from the start.
  void seek(uint64_t position);
  uint64_t position();
  // Closes the handle (once); false when the system reports that data could
  // not be written at the close.
  bool close();

  static void set_write_fault(uint32_t writes_that_succeed);
  static void clear_write_fault();

  // Starts reading `count` bytes at `offset` into `buffer`.
  void async_read(uint64_t offset, void* buffer, uint32_t count);
  // Waits for the read and returns the bytes read.
  uint32_t wait_for_async_read();
  bool is_async_read_complete();

private:
  // Platform side.
  uint32_t platform_read(void* buffer, uint32_t count);
  bool platform_write(const void* buffer, uint32_t count);
  bool platform_seek(uint64_t position);
  uint64_t platform_position();
  bool platform_close();
  static void platform_set_no_space_error();
  void platform_start_async_read();
  uint32_t platform_wait_async_read();
  bool platform_async_read_done();

  FileHandle _handle;
  uint64_t _size;
  bool _async;
  bool _async_read_pending;
  struct Overlapped {
    uint64_t offset;
    void* buffer;
    uint32_t count;
    uint32_t result;
    alignas(8) unsigned char platform[40]; // an OVERLAPPED on Win32
  } _overlapped;
};

} // namespace foundation
