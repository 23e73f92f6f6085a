// FileOutputBuffer: buffered writing to a file.
//
// Bytes gather in a 32,768-byte buffer taken from the allocator given at
// construction and go to the file when it is full and on flush. A flush
// that would take the file past its maximum size reports "Writing past end
// of file"; a write that the system refuses (a full disk) reports "Cannot
// write to PATH: REASON" with the system's reason: nothing is lost silently.
//
// A buffer can write a replacement: its bytes go to a temporary file beside
// the target, and finish() renames that over the target only once every
// byte is written and the file is closed. Until then the target is left as
// it was; a replacement that is abandoned (a failed write, a destruction
// without finish) removes its temporary file. FileSystem::open_replacement
// makes one and FileSystem::close finishes it.
//
// Destruction flushes what is buffered (unless the stack is being unwound by
// a thrown report, when the bytes are dropped instead), and always gives the
// buffer back and closes the file, even when that flush fails.
#pragma once

#include "foundation/collection/string.h"
#include "foundation/io/output_buffer.h"
#include "foundation/io/system_file.h"

namespace foundation {

class Allocator;

class FileOutputBuffer : public OutputBuffer {
public:
  static const uint32_t CAPACITY = 32768;

  // Writes to the open file `path`. With `temporary_path`, `handle` is that
  // temporary file and `path` the target it replaces at finish().
  FileOutputBuffer(FileHandle handle, Allocator& allocator, const char* path, const char* temporary_path = nullptr);
  ~FileOutputBuffer() noexcept(false) override;

  void flush() override;
  // Large pieces go to the file directly, without the copy into the buffer.
  void write_through(const void* data, uint32_t bytes) override;
  // Flushes, moves the file pointer to `position` and continues from there.
  void seek(uint64_t position);
  // File position plus buffered bytes (compared with size() as signed).
  int64_t position() const { return int64_t(_file_position + buffered()); }
  // The maximum size (unlimited at first).
  int64_t size() const { return int64_t(_max_size); }
  void set_max_size(uint64_t size) { _max_size = size; }
  // The file the user named (for a replacement, the target).
  const char* path() const { return _path.c_str(); }
  bool is_replacement() const { return _temporary_path.length() > 0; }
  Allocator& allocator() const { return *_allocator; }

  // Flushes, closes the file and, for a replacement, renames the temporary
  // file over the target. A failure at any step reports with the system's
  // reason after the temporary file is removed.
  void finish();
  // Drops what is buffered, closes the file and removes a replacement's
  // temporary file; the target is untouched. Never reports.
  void abandon();

private:
  // Gives the buffer back and closes the file (idempotent, never reports).
  void release();

  uint64_t _max_size;
  uint64_t _file_position;
  SystemFile _file;
  Allocator* _allocator;
  String _path;
  String _temporary_path; // empty unless this is a replacement still pending
};

} // namespace foundation
