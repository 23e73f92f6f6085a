// Path helpers. Paths are UTF-8 with '/' (Win32 accepts it too).
#pragma once

#include "foundation/collection/string.h"

namespace foundation {
namespace path {

// Whether the last component of `path` has an extension ("a/b.twi": yes,
// "a.d/b": no, ".profile": no).
bool has_extension(const char* path);

// The extension of the last component without its dot; asserts
// "has_extension(path)".
const char* extension(const char* path);

// root + "/" + relative with exactly one '/' between them; an empty root
// gives `relative` unchanged.
void join(const char* root, const char* relative, String& out);

} // namespace path
} // namespace foundation
