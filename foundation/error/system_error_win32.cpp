#include "foundation/error/system_error.h"

#include <string.h>
#include <windows.h>

namespace foundation {
namespace system_error {

int last_code() { return int(GetLastError()); }

void describe(int code, char* out, unsigned size) {
  if (size == 0)
    return;
  out[0] = 0;
  if (code == 0)
    return;
  DWORD n = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, DWORD(code),
                           MAKELANGID(LANG_ENGLISH, SUBLANG_DEFAULT), out, DWORD(size), nullptr);
  if (n == 0) {
    const char* unknown = "unknown error";
    size_t length = strlen(unknown) < size - 1 ? strlen(unknown) : size - 1;
    memcpy(out, unknown, length);
    out[length] = 0;
    return;
  }
  // The system's text ends in ".\r\n"; reports add their own punctuation.
  while (n > 0 && (out[n - 1] == '\n' || out[n - 1] == '\r' || out[n - 1] == ' ' || out[n - 1] == '.'))
    out[--n] = 0;
}

} // namespace system_error
} // namespace foundation
