// Any bytes as a twi document, through what `twi check` runs: the untrusted
// parser, the format check, the reader and the content check. Nothing may
// crash or leak, whatever the text. A document the format check passes must
// read without a report (the check stands between hostile text and the
// reader), and what is read must write a document that passes again and
// reads back to the same text (a fixed point after one round). A document
// the content check passes goes on to the glTF writer, which may refuse it
// with a message but must otherwise give a GLB whose JSON parses.
#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/error/error.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"
#include "scene/document_reader.h"
#include "scene/document_schema.h"
#include "scene/document_writer.h"
#include "scene/gltf_writer.h"
#include "scene/scene_check.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>

using namespace foundation;

namespace {

[[noreturn]] void fail(const char* what, const std::string& detail = "") {
  fprintf(stderr, "fuzz_document: %s %s\n", what, detail.c_str());
  abort();
}

bool start() {
  memory_globals::init();
  // Reports throw; the reader's reports on unchecked documents are expected
  // and caught, and stay off the terminal.
  error::set_mode(ERROR_MODE_THROW);
  log::set_standard_streams_enabled(false);
  DCV warm(memory_globals::default_allocator());
  const char text[] = "a = \"x\\n\"";
  simplified_json::try_parse_untrusted(text, sizeof(text) - 1, warm, nullptr);
  return true;
}

std::string print(const twi::SceneDatabase& db) {
  Allocator& a = memory_globals::default_allocator();
  DCV root(a);
  twi::write_scene_document(db, root);
  Vector<char> text(a);
  write_sjson(root, text, SjsonWriteOptions());
  return std::string(text.data(), text.size());
}

// Parses, checks and reads `text`; false when it is not a valid document.
bool load(const char* text, uint32_t size, twi::SceneDatabase& db, bool must_be_valid) {
  Allocator& a = memory_globals::default_allocator();
  DCV root(a);
  if (!simplified_json::try_parse_untrusted(text, size, root, nullptr)) {
    if (must_be_valid)
      fail("a written document does not parse");
    return false;
  }
  Vector<String> problems(a);
  bool valid = twi::validate_scene_document(root, problems);
  if (must_be_valid && !valid)
    fail("a written document fails the format check:", problems.empty() ? "" : problems[0].c_str());
  try {
    twi::read_scene_document(db, root);
  } catch (const ErrorException& e) {
    if (valid)
      fail("a document that passed the format check made the reader report:", e.message());
    return false;
  }
  return valid;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool inited = start();
  (void)inited;
  Allocator& a = memory_globals::default_allocator();
  uint32_t before = a.total_allocated();
  {
    twi::SceneDatabase db(a);
    if (load(reinterpret_cast<const char*>(data), uint32_t(size), db, false)) {
      Vector<String> problems(a);
      if (twi::check_scene(db, problems)) {
        Vector<uint8_t> glb(a);
        Vector<String> notes(a);
        String error(a);
        twi::GltfSummary summary;
        if (twi::write_gltf(db, twi::GltfOptions(), glb, summary, notes, error)) {
          uint32_t json_length = 0;
          if (glb.size() < 20 || memcmp(glb.data(), "glTF", 4) != 0)
            fail("the glTF writer gave no GLB header");
          memcpy(&json_length, glb.data() + 12, 4);
          DCV json(a);
          if (json_length > glb.size() - 20 ||
              !simplified_json::try_parse_untrusted(reinterpret_cast<const char*>(glb.data()) + 20, json_length,
                                                    json, nullptr))
            fail("the glTF writer's JSON does not parse");
        }
      }
      std::string first = print(db);
      twi::SceneDatabase again(a);
      load(first.data(), uint32_t(first.size()), again, true);
      std::string second = print(again);
      if (first != second)
        fail("reading and writing again changed the text");
    }
  }
  if (a.total_allocated() != before)
    fail("memory was not given back", std::to_string(before) + " -> " + std::to_string(a.total_allocated()));
  return 0;
}
