// A read twi document to glTF for the tools: the content check `twi check`
// makes, then the glTF writer, with the report a user reads. Shared by
// `twi gltf` and the viewer's server.
#pragma once

#include "foundation/collection/vector.h"
#include "scene/gltf_writer.h"

#include <string>

namespace tools {

// Checks `db` (read from the document called `name`) and writes it as glTF
// into `out`. On success `report` holds the lines `twi gltf` prints: "wrote
// OUTPUT: ..." (or "converted: ..." when `output` is null), the normalised
// weights, clamped or replaced values, and each note. On failure `problems`
// holds one line per problem, each starting with "NAME: ".
bool convert_to_gltf(const char* name, const twi::SceneDatabase& db, const twi::GltfOptions& options,
                     const char* output, foundation::Vector<uint8_t>& out, std::string& report, std::string& problems);

} // namespace tools
