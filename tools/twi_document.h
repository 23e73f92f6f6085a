// Reading a twi document's text for the tools, as `twi check` does: parse
// it as untrusted text, check its shape against the format, then read it.
// The format check stands between the text and the reader, so the reader
// only ever sees documents of the right shape; should it still report, the
// report becomes a problem line like the others. Used by every twi command
// that reads a document and by the viewer's server.
#pragma once

#include "scene/scene_database.h"

#include <string>

namespace tools {

// Fills `db` from `text`. On failure returns false and appends to
// `problems` one line per problem, each starting with "NAME: " (a syntax
// error as "NAME:LINE: MESSAGE" and the line), and "NAME: not a valid twi
// document" after the problems of the format check.
bool read_twi_text(const char* name, const char* text, uint32_t size, twi::SceneDatabase& db, std::string& problems);

} // namespace tools
