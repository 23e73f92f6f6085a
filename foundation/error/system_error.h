// The operating system's own words for why a call failed.
//
// Reports about files and sockets name the path and then the system's
// reason ("Cannot open output /x/a.twi: Permission denied"), so that a user
// can act on them. describe_last_system_error reads the calling thread's
// last error (errno on POSIX, GetLastError on Win32) right after the failed
// call, before anything else can change it.
//
// Each platform provides both functions (system_error_posix.cpp,
// system_error_win32.cpp).
#pragma once

#include "foundation/platform.h"

namespace foundation {
namespace system_error {

// The calling thread's last system error code.
int last_code();

// Writes the text of `code` into `out` (always NUL-terminated, "" for 0),
// without a trailing newline or period.
void describe(int code, char* out, unsigned size);

// The text of the last error, in a buffer that lives as long as the object.
class LastErrorText {
public:
  LastErrorText() { describe(last_code(), _text, sizeof(_text)); }
  const char* c_str() const { return _text; }

private:
  char _text[256];
};

} // namespace system_error
} // namespace foundation
