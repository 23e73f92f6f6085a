// Runs the statements of a Maya ASCII file into a FileScene: creates the
// nodes in mayasim's scene (which the caller has made new), keeps the data
// the build reads and the connections, and loads the files it references,
// each under its namespace and followed by its reference edits.
#pragma once

#include "file_scene.h"
#include "mayasim/maya_ascii.h"

#include <map>
#include <string>
#include <vector>

namespace mayasim {
namespace maya_ascii {

// The deepest chain of references loaded (a scene referencing a set that
// references a prop is 2), and the most referenced files one load reads.
const int MAX_REFERENCE_DEPTH = 16;
const size_t MAX_REFERENCE_FILES = 1000;

// What the loads of a scene and of the files it references share.
struct LoadSession {
  const ReferenceOptions* options = nullptr;
  std::string scene_file;             // the scene's path
  std::vector<std::string> loading;   // the files being loaded, the scene first (see file_identity)
  std::vector<ReferenceRecord> references;
  // The load state the scene recorded for every reference of its tree
  // (file -rdi ... -dr 1: unloaded), by the reference node's full name.
  std::map<std::string, bool> deferred;
  size_t files = 1;                   // files read so far
};

// False, with a message naming the file, the line and the statement, when
// the text is not a Maya ASCII file, is malformed or truncated, or asks for
// something mayasim cannot load (a time unit the API has no value for, a
// reference whose file cannot be found or read). `session` may be null
// for text loaded on its own: its references are then looked for by the
// path they recorded only.
bool run_statements(const char* text, size_t size, FileScene& scene, std::string& error,
                    LoadSession* session = nullptr);

} // namespace maya_ascii
} // namespace mayasim
