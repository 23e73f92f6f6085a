// Runs the statements of a Maya ASCII file into a FileScene: creates the
// nodes in mayasim's scene (which the caller has made new), keeps the data
// the build reads and the connections.
#pragma once

#include "file_scene.h"

#include <string>

namespace mayasim {
namespace maya_ascii {

// False, with a message naming the file, the line and the statement, when
// the text is not a Maya ASCII file, is malformed or truncated, or asks for
// something mayasim cannot load (file references, a time unit the API has
// no value for).
bool run_statements(const char* text, size_t size, FileScene& scene, std::string& error);

} // namespace maya_ascii
} // namespace mayasim
