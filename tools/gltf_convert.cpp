#include "gltf_convert.h"

#include "foundation/memory/memory_globals.h"
#include "scene/scene_check.h"
#include "tool_io.h"

#include <stdarg.h>
#include <stdio.h>

using namespace foundation;

namespace tools {

namespace {

void append_line(std::string& out, const char* format, ...) TW_PRINTF_FORMAT(2, 3);
void append_line(std::string& out, const char* format, ...) {
  char line[2048];
  va_list args;
  va_start(args, format);
  vsnprintf(line, sizeof(line), format, args);
  va_end(args);
  out += terminal_text(line);
  out += '\n';
}

std::string gltf_report(const char* output, const twi::GltfSummary& s, const Vector<String>& notes) {
  std::string r;
  append_line(r, "%s%s: %u nodes, %u meshes (%u primitives, %u vertices), %u materials, %u skins, %u animation "
                 "channels",
              output ? "wrote " : "converted", output ? output : "", s.nodes, s.meshes, s.primitives, s.vertices,
              s.materials, s.skins, s.animation_channels);
  if (s.unweighted)
    append_line(r,
                "skin vertices with weights normalised to sum 1: %u (%u had no positive weight and were bound to "
                "their skin's first joint)",
                s.weights_normalised, s.unweighted);
  else
    append_line(r, "skin vertices with weights normalised to sum 1: %u", s.weights_normalised);
  if (s.colours_clamped)
    append_line(r, "colour components clamped to 0..1: %u", s.colours_clamped);
  if (s.non_finite)
    append_line(r, "non-finite or zero-length vertex values replaced: %u", s.non_finite);
  if (!notes.empty()) {
    append_line(r, "not carried over as it stands (%u):", notes.size());
    for (const String& n : notes)
      append_line(r, "  %s", n.c_str());
  }
  return r;
}

} // namespace

bool convert_to_gltf(const char* name, const twi::SceneDatabase& db, const twi::GltfOptions& options,
                     const char* output, Vector<uint8_t>& out, std::string& report, std::string& problems) {
  Allocator& a = memory_globals::default_allocator();
  Vector<String> found(a);
  if (!twi::check_scene(db, found)) {
    for (const String& p : found)
      append_line(problems, "%s: %s", name, p.c_str());
    append_line(problems, "%s: not converted; twi check names the same problems", name);
    return false;
  }
  Vector<String> notes(a);
  String error(a);
  twi::GltfSummary summary;
  if (!twi::write_gltf(db, options, out, summary, notes, error)) {
    append_line(problems, "%s: cannot convert to glTF: %s", name, error.c_str());
    return false;
  }
  report = gltf_report(output, summary, notes);
  return true;
}

} // namespace tools
