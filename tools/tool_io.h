// Reading and writing whole files for the command-line tools.
#pragma once

#include "foundation/collection/vector.h"

#include <string>

namespace tools {

// Reads `path` ("-" for standard input) whole into `out`. On failure prints
// "twi: cannot read PATH: REASON" and returns false.
bool read_all(const char* path, foundation::Vector<char>& out);

// Writes `text` to `path` ("-" or null for standard output). On failure
// prints the reason and returns false.
bool write_all(const char* path, const foundation::Vector<char>& text);
bool write_all(const char* path, const void* bytes, uint32_t size);

// `text` with its control bytes (and DEL) written as \xHH: names and
// values from a document are printed to a terminal, and must not move its
// cursor or change its colours.
std::string terminal_text(const char* text);

} // namespace tools
