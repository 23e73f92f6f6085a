// Printing DynamicConfigValue trees as SJSON and JSON text.
//
// write_sjson prints a document: the root object's members without braces,
// each on its own line as `key = value`, the text starting with an empty line
// and ending with a newline; arrays without commas ([ 1 2 3 ] on one line, or
// one element per line with multiline_arrays); nested objects with one member
// per line indented by tabs, one per level up to 64 (deeper levels keep 64,
// so that a deep document's text stays proportional to its values). Nested
// values are walked with a list, not by recursion: a document can be as
// deep as the parser reads. Keys are written bare when is_identifier holds,
// quoted otherwise. Strings escape only the double quote and the backslash;
// every other byte is written as it is. Floats print as printf("%g") with a
// three-digit exponent (foundation/utility/float_format).
//
// write_json prints any value as JSON (" : " between key and value, commas
// between elements), on one line or indented by tabs; on one line the
// newline and carriage return inside strings become \n and \r. Floats print
// as printf("%f"): the console's message form. With JsonWriteOptions::exact
// the text loses nothing instead: floats in the shortest form that reads back
// to the same float ("1.5e-07", not "0.000000"), non-finite floats as null
// (JSON has no other way to write them), and every control character in a
// string escaped, so that any JSON parser reads it.
//
// Both append to `out` (growing it by the container rule) and add no
// terminating zero.
#pragma once

#include "foundation/collection/text_chunks.h"
#include "foundation/collection/vector.h"
#include "foundation/config/dynamic_config_value.h"

namespace foundation {

struct SjsonWriteOptions {
  bool multiline_arrays = false;
};

void write_sjson(const DynamicConfigValue& root, Vector<char>& out, const SjsonWriteOptions& options);
// The same text appended to a list of blocks: a large document is printed
// without growing and copying one buffer.
void write_sjson(const DynamicConfigValue& root, TextChunks& out, const SjsonWriteOptions& options);
void write_json(const DynamicConfigValue& value, Vector<char>& out, bool single_line);

struct JsonWriteOptions {
  bool single_line = true;
  bool exact = false;
};
void write_json(const DynamicConfigValue& value, Vector<char>& out, const JsonWriteOptions& options);

// True when every byte of `key` is an ASCII letter, digit or '_' (and for "").
bool is_identifier(const char* key);

} // namespace foundation
