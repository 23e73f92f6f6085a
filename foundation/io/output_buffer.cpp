#include "foundation/io/output_buffer.h"

#include "foundation/error/assert.h"

#include <string.h>

namespace foundation {

void OutputBuffer::copy_in(const void* data, uint32_t bytes) {
  TW_ASSERT(bytes <= available());
  if (bytes > available())
    bytes = available();
  memcpy(_cursor, data, bytes);
  _cursor += bytes;
}

void OutputBuffer::write(const void* data, uint32_t bytes) {
  const char* p = static_cast<const char*>(data);
  if (bytes >= uint32_t(_end - _start) && _end != _start) {
    flush();
    write_through(p, bytes);
    return;
  }
  while (bytes > 0) {
    if (available() == 0)
      flush();
    uint32_t n = bytes < available() ? bytes : available();
    copy_in(p, n);
    p += n;
    bytes -= n;
  }
}

void OutputBuffer::write_through(const void* data, uint32_t bytes) {
  const char* p = static_cast<const char*>(data);
  while (bytes > 0) {
    uint32_t n = bytes < available() ? bytes : available();
    copy_in(p, n);
    p += n;
    bytes -= n;
    if (available() == 0)
      flush();
  }
}

void OutputBuffer::write_text(const char* text) { write(text, uint32_t(strlen(text))); }

} // namespace foundation
