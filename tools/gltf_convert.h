// twi text to glTF for the tools: the checks `twi check` makes, then the
// glTF writer, with the report a user reads. Shared by `twi gltf` and the
// viewer's server, which converts what a page sends it.
#pragma once

#include "foundation/collection/vector.h"
#include "scene/gltf_writer.h"

#include <string>

namespace tools {

// The lines `twi gltf` prints after writing: counts, normalised weights,
// clamped or replaced values, and each note. `output` names the file
// written; null says "converted" instead.
std::string gltf_report(const char* output, const twi::GltfSummary& summary,
                        const foundation::Vector<foundation::String>& notes);

// Parses `text` as untrusted input, checks it as a twi document and writes
// it as a .glb. On failure `error` holds every problem, one per line, each
// starting with `name`.
bool convert_twi_text(const char* name, const char* text, uint32_t size, foundation::Vector<uint8_t>& glb,
                      std::string& report, std::string& error);

} // namespace tools
