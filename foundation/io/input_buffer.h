// InputBuffer: a byte buffer read in pieces and refilled by its owner.
#pragma once

#include "foundation/platform.h"

namespace foundation {

class InputBuffer {
public:
  virtual ~InputBuffer() noexcept(false) {}

  uint32_t available() const { return uint32_t(_end - _cursor); }
  // The buffered bytes, without consuming them.
  const char* peek() const { return _cursor; }

protected:
  InputBuffer() : _start(nullptr), _cursor(nullptr), _end(nullptr) {}
  // Copies `bytes` buffered bytes out; they must be there.
  void copy_out(void* data, uint32_t bytes);

  char* _start;
  char* _cursor;
  char* _end;
};

} // namespace foundation
