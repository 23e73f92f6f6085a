#include "foundation/io/input_buffer.h"

#include "foundation/error/assert.h"

#include <string.h>

namespace foundation {

void InputBuffer::copy_out(void* data, uint32_t bytes) {
  TW_ASSERT(bytes <= available());
  if (bytes > available())
    bytes = available();
  memcpy(data, _cursor, bytes);
  _cursor += bytes;
}

} // namespace foundation
