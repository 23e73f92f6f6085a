#include "foundation/error/system_error.h"

#include <errno.h>
#include <string.h>

namespace foundation {
namespace system_error {

int last_code() { return errno; }

namespace {
// strerror_r comes in two shapes; each overload takes the one it is given.
[[maybe_unused]] const char* message_of(int result, const char* buffer) { return result == 0 ? buffer : "unknown error"; }
[[maybe_unused]] const char* message_of(const char* result, const char*) { return result ? result : "unknown error"; }
} // namespace

void describe(int code, char* out, unsigned size) {
  if (size == 0)
    return;
  out[0] = 0;
  if (code == 0)
    return;
  char buffer[256];
  buffer[0] = 0;
  const char* text = message_of(strerror_r(code, buffer, sizeof(buffer)), buffer);
  size_t n = strlen(text);
  if (n >= size)
    n = size - 1;
  memcpy(out, text, n);
  out[n] = 0;
}

} // namespace system_error
} // namespace foundation
