// Reading SJSON (and plain JSON) text into DynamicConfigValue trees.
//
// The text is a byte range (it need not end in a zero). A leading UTF-8 byte
// order mark is skipped. The root is either one braced object or, as SJSON
// writes it, a list of members without braces. Between tokens the parser
// skips spaces, tabs, line breaks, commas (so commas are optional and may
// repeat) and comments (// to the end of the line, /* to */). Keys may be
// bare; ':' and '=' both separate key and value. Strings take the JSON
// escapes (\u of up to four hex digits, appended as UTF-8 of 1 to 3 bytes);
// """verbatim""" strings take none. Numbers are read in 32 bits: integers
// wrap around, fractions add digit by digit into a 32-bit float, and a
// number whose fraction and exponent are both zero ("1.0", "5e0") is an
// integer.
//
// Entries and what a bad text does:
//   parse           syntax error: a fatal report "Parse error '%s' at line %i:\n\n%s"
//                   naming parse_simplified_json.cpp
//   try_parse       syntax error: logged under "Json Parser", returns false
//   parse_annotated as parse; every value's tag keeps annotate()'s result
//   try_parse_untrusted  for text from outside the process: every failure,
//                   the expectation checks included, is a false return with
//                   the message; a number that is not finite is the syntax
//                   error "Number out of range"; its error state belongs to
//                   the call, so it may run while another thread parses.
// In the first three, a missing brace, bracket, separator or quote, or a
// misspelt literal, fails an expectation check, which is an assertion report
// ("start < end" or "*start == c") even in try_parse.
//
// Decisions this parser makes:
// - The error exit is an exception, so scratch memory and error-context
//   guards unwind properly; the partly built value stays in `out`.
// - The end of the text where a value must start, inside an array or object,
//   or right after a backslash in a string is "Reached end of string while
//   parsing"; a '/' as the last byte is "Bad comment". No byte past the end
//   is ever read.
// - Arrays and objects are read with a list of the open ones, not by
//   recursion, so no text can exhaust the stack. Nesting deeper than
//   MAX_NESTING (about a million) is the syntax error "Nesting too deep",
//   which bounds the list; the exporter never writes deeper documents.
// - Bytes after a braced root object are not read.
//
// An empty text leaves `out` untouched. The three specified entries keep
// their error state in process-wide variables: only one of them may run at a
// time in the process.
#pragma once

#include "foundation/config/dynamic_config_value.h"

namespace foundation {
namespace simplified_json {

typedef uint32_t (*AnnotateFunction)(const char* text_start, const char* value_start, const char* value_end,
                                     void* user);

void parse(const char* text, uint32_t length, DynamicConfigValue& out);
bool try_parse(const char* text, uint32_t length, DynamicConfigValue& out);
void parse_annotated(const char* text, uint32_t length, DynamicConfigValue& out, AnnotateFunction annotate,
                     void* user);

struct ParseError {
  char message[128];  // "Unexpected character", or the expectation text
  int line;           // 1 + newlines before the position
  uint32_t offset;    // byte offset of the position in the text
  char excerpt[81];   // the line holding the position, at most 80 bytes
  // "Parse error '<message>' at line <line>:\n\n<excerpt>"
  void format(char* out, uint32_t size) const;
};

bool try_parse_untrusted(const char* text, uint32_t length, DynamicConfigValue& out, ParseError* error);

const int MAX_NESTING = 1 << 20;

} // namespace simplified_json
} // namespace foundation
