// Any bytes as a Maya ASCII file: the loader must finish (no crash, no hang,
// no leak) and either load the scene or say why not, naming the file. A
// loaded scene is then read as the exporter reads it (the outline, every
// mesh's data and every transform's matrix at a few times) and exported
// whole, over a short playback range, into a file that must parse back
// when the export reports success.
#include "exporter/export_driver.h"
#include "exporter/exporter_context.h"
#include "foundation/config/dynamic_config_value.h"
#include "foundation/config/parse_simplified_json.h"
#include "foundation/error/error.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/temp_allocator.h"
#include "mayasim/builder.h"
#include "mayasim/host.h"
#include "mayasim/maya_ascii.h"

#include <maya/MAnimControl.h>
#include <maya/MDagPath.h>
#include <maya/MFloatVectorArray.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnMesh.h>
#include <maya/MItDag.h>
#include <maya/MPointArray.h>
#include <maya/MTime.h>

#include <fstream>
#include <sstream>
#include <stdio.h>
#include <stdlib.h>
#include <map>
#include <string>
#include <unistd.h>

namespace {

// The export, as the plug-in runs it: assertions are reports that throw,
// and a report ends this export, not the process.
void export_scene(const std::string& path) {
  using namespace foundation;
  error::ScopedMode mode(ERROR_MODE_THROW);
  log::set_standard_streams_enabled(false);
  bool ok = false;
  try {
    ScopedTempAllocator allocator;
    twi::ExportSettings settings;
    settings.file = path.c_str();
    twi::ExporterContext context(allocator, settings);
    ok = twi::export_scene(context);
  } catch (const ErrorException&) {
    ok = false;
  }
  log::set_standard_streams_enabled(true);
  if (!ok)
    return;
  // What the export wrote is a document the parser reads.
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  std::string document = text.str();
  DynamicConfigValue root(memory_globals::default_allocator());
  simplified_json::ParseError e;
  if (!simplified_json::try_parse_untrusted(document.data(), uint32_t(document.size()), root, &e)) {
    fprintf(stderr, "the export wrote a document the parser refuses: %s at line %d\n", e.message, e.line);
    abort();
  }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  foundation::memory_globals::init();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // An input may hold a second file after a "//@@ref" line: the file the
  // scene's references name as /fuzz/ref.ma (or anything ending in ref.ma,
  // found by the lookup rules), so that references, their edits and the
  // referenced file's statements are fuzzed together.
  std::string input(reinterpret_cast<const char*>(data), size);
  std::map<std::string, std::string> files;
  static const char SEPARATOR[] = "\n//@@ref\n";
  size_t split = input.find(SEPARATOR);
  files["/fuzz/scene.ma"] = input.substr(0, split);
  if (split != std::string::npos)
    files["/fuzz/ref.ma"] = input.substr(split + sizeof(SEPARATOR) - 1);
  mayasim::ReferenceOptions references;
  references.files = &files;
  references.skip_missing = size % 2 == 1;
  const std::string& scene = files["/fuzz/scene.ma"];
  mayasim::MayaAsciiResult result;
  bool loaded = mayasim::load_maya_ascii_text(scene.data(), scene.size(), "/fuzz/scene.ma", result, references);
  if (!loaded) {
    if (result.error.compare(0, 6, "/fuzz/") != 0) {
      fprintf(stderr, "an error that does not name the file: %s\n", result.error.c_str());
      abort();
    }
    return 0;
  }
  static mayasim::Host host; // gathers the script editor's lines
  static const std::string out = "/tmp/fuzz_maya_ascii_" + std::to_string(getpid()) + ".twi";
  std::string outline = mayasim::outline_scene();
  for (double frame : {-3.0, 1.0, 2.5, 1000.0}) {
    MAnimControl::setCurrentTime(MTime(frame, MTime::uiUnit()));
    for (MItDag it; !it.isDone(); it.next()) {
      MDagPath path;
      it.getPath(path);
      MFnDagNode node(path);
      MMatrix m = node.transformationMatrix();
      (void)m;
      MStatus status;
      MFnMesh mesh(path, &status);
      if (!status)
        continue;
      MPointArray points;
      MFloatVectorArray normals;
      mesh.getPoints(points);
      mesh.getNormals(normals);
    }
  }
  // A few frames: the file's own range may be long, and the export of a
  // long range is measured elsewhere.
  mayasim::builder::set_playback_range(1, 3);
  export_scene(out);
  host.clear_script_editor();
  return 0;
}
