// OutputBuffer: a byte buffer written in pieces and emptied by flush().
//
// Subclasses own the storage and say where flushed bytes go
// (FileOutputBuffer writes them to a file).
#pragma once

#include "foundation/platform.h"

namespace foundation {

class OutputBuffer {
public:
  virtual ~OutputBuffer() noexcept(false) {}

  // Copies `bytes` bytes in, flushing whenever the buffer is full. A piece
  // at least as large as the whole buffer goes straight to write_through
  // (after what is buffered), without being copied.
  void write(const void* data, uint32_t bytes);
  void write_text(const char* text);
  virtual void flush() = 0;

  // Forgets the bytes not flushed yet: a stream abandoned after a failed
  // write can then be closed without writing again.
  void discard() { _cursor = _start; }

  uint32_t available() const { return uint32_t(_end - _cursor); }
  uint32_t buffered() const { return uint32_t(_cursor - _start); }

protected:
  OutputBuffer() : _start(nullptr), _cursor(nullptr), _end(nullptr) {}
  // Where a large piece goes when it bypasses the buffer; the buffer is
  // empty then. By default it is copied in and flushed piece by piece.
  virtual void write_through(const void* data, uint32_t bytes);
  // Copies into the buffer; `bytes` must fit.
  void copy_in(const void* data, uint32_t bytes);

  char* _start;
  char* _cursor;
  char* _end;
};

} // namespace foundation
