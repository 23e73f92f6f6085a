#include "gltf_convert.h"

#include "foundation/config/parse_simplified_json.h"
#include "foundation/error/error.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"
#include "scene/document_reader.h"
#include "scene/document_schema.h"
#include "scene/scene_check.h"

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
  out += line;
  out += '\n';
}

} // namespace

std::string gltf_report(const char* output, const twi::GltfSummary& s, const Vector<String>& notes) {
  std::string r;
  append_line(r, "%s%s: %u nodes, %u meshes (%u primitives, %u vertices), %u materials, %u skins, %u animation "
                 "channels",
              output ? "wrote " : "converted", output ? output : "", s.nodes, s.meshes, s.primitives, s.vertices, s.materials, s.skins, s.animation_channels);
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

bool convert_twi_text(const char* name, const char* text, uint32_t size, Vector<uint8_t>& glb, std::string& report,
                      std::string& error) {
  Allocator& a = memory_globals::default_allocator();
  DynamicConfigValue doc(a);
  simplified_json::ParseError parse_error;
  if (!simplified_json::try_parse_untrusted(text, size, doc, &parse_error)) {
    append_line(error, "%s:%d: %s", name, parse_error.line, parse_error.message);
    return false;
  }
  if (!doc.is_object()) {
    append_line(error, "%s: not a twi document (the root is not an object)", name);
    return false;
  }
  Vector<String> problems(a);
  if (!twi::validate_scene_document(doc, problems)) {
    for (const String& p : problems)
      append_line(error, "%s: %s", name, p.c_str());
    append_line(error, "%s: not a valid twi document", name);
    return false;
  }
  twi::SceneDatabase db(a);
  {
    // The format check stands between the text and the reader; should the
    // reader still report, the report becomes this call's error.
    error::ScopedMode mode(ERROR_MODE_THROW);
    log::set_standard_streams_enabled(false);
    bool read = true;
    try {
      twi::read_scene_document(db, doc);
    } catch (const ErrorException& e) {
      append_line(error, "%s: %s", name, e.message());
      read = false;
    }
    log::set_standard_streams_enabled(true);
    if (!read)
      return false;
  }
  if (!twi::check_scene(db, problems)) {
    for (const String& p : problems)
      append_line(error, "%s: %s", name, p.c_str());
    return false;
  }
  Vector<String> notes(a);
  String writer_error(a);
  twi::GltfSummary summary;
  if (!twi::write_gltf(db, twi::GltfOptions(), glb, summary, notes, writer_error)) {
    append_line(error, "%s: cannot convert to glTF: %s", name, writer_error.c_str());
    return false;
  }
  report = gltf_report(nullptr, summary, notes);
  return true;
}

} // namespace tools
