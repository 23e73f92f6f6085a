// Text encoding: UTF-8 to UTF-16.
//
// Paths are UTF-8 everywhere in the system and become UTF-16 only at the
// Win32 calls. Malformed UTF-8 (a stray continuation byte, a truncated or
// overlong sequence) is reported as "Archive not utf-8 encoded %s" with the
// text; a well-formed sequence that UTF-16 cannot hold (a surrogate code
// point, or one above 0x10FFFF) as "Cannot encode character".
#pragma once

#include "foundation/collection/vector.h"

namespace foundation {
namespace encoding {

// Appends the UTF-16 form of the zero-terminated `utf8` to `out`, followed by
// a terminating zero. Returns false after a report that returned.
bool utf8_to_utf16(const char* utf8, Vector<uint16_t>& out);

} // namespace encoding
} // namespace foundation
