#include "mayasim/maya_ascii.h"

#include "build.h"
#include "loader.h"

#include "../scene.h"

#include <new>

namespace mayasim {

bool load_maya_ascii_text(const char* text, size_t size, const std::string& name, MayaAsciiResult& result) {
  return load_maya_ascii_text(text, size, name, result, ReferenceOptions());
}

bool load_maya_ascii_text(const char* text, size_t size, const std::string& name, MayaAsciiResult& result,
                          const ReferenceOptions& references) {
  result = MayaAsciiResult();
  result.bytes = size;
  new_scene();
  maya_ascii::FileScene file;
  file.file_name = name;
  std::string error;
  maya_ascii::LoadSession session;
  session.options = &references;
  session.scene_file = name;
  // Messages go to terminals: what they quote from the file is printed
  // with its control bytes escaped.
  auto take_warnings = [&] {
    for (const std::string& w : file.warnings)
      result.warnings.push_back(maya_ascii::escape_controls(w));
  };
  try {
    bool ran = maya_ascii::run_statements(text, size, file, error, &session);
    result.references = session.references;
    result.files = session.files;
    if (!ran) {
      result.error = maya_ascii::escape_controls(error);
      take_warnings();
      new_scene();
      return false;
    }
    maya_ascii::build_scene(file);
  } catch (const std::bad_alloc&) {
    // The loader bounds what a file can make it allocate; what is left is
    // a file too large for this machine, refused like any other.
    file = maya_ascii::FileScene();
    new_scene();
    result = MayaAsciiResult();
    result.bytes = size;
    result.error = maya_ascii::escape_controls(name) +
                   ": there is not enough memory to load it (the scene it holds needs more than this machine can "
                   "give); close other programs or load it on a machine with more memory";
    return false;
  }
  take_warnings();
  for (const auto& p : file.mesh_problems) {
    MayaAsciiResult::MeshProblem problem{p.shape->name, {}, p.problem};
    // A heavily instanced shape has thousands of paths: the first few are
    // enough to recognise it in the export's log.
    std::vector<Path> paths = all_paths_to(p.shape);
    for (size_t i = 0; i < paths.size() && i < 64; ++i)
      problem.paths.push_back(full_path_name(paths[i]));
    result.mesh_problems.push_back(problem);
  }
  result.nodes = scene().nodes.size();
  result.connections = file.connections.size();
  return true;
}

bool load_maya_ascii(const std::string& path, MayaAsciiResult& result) {
  return load_maya_ascii(path, result, ReferenceOptions());
}

bool load_maya_ascii(const std::string& path, MayaAsciiResult& result, const ReferenceOptions& references) {
  std::string text, error;
  if (!read_whole_file(path, text, error)) {
    result = MayaAsciiResult();
    result.error = error;
    return false;
  }
  if (!load_maya_ascii_text(text.data(), text.size(), path, result, references))
    return false;
  scene().current_file = absolute_path(path);
  return true;
}

} // namespace mayasim
