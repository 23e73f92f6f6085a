// mayasim's Maya ASCII loader: opens a .ma file saved by Maya as mayasim's
// scene, as File > Open would.
//
//   mayasim::MayaAsciiResult result;
//   if (!mayasim::load_maya_ascii("scenes/walk.ma", result))
//     fprintf(stderr, "%s\n", result.error.c_str());
//   for (const std::string& w : result.warnings) ...
//
// It reads what the exporter reads: the DAG (transforms, joints, instances,
// namespaces), stored meshes and the common creators (polyCube, polyPlane,
// polySphere, polyCylinder) with the pass-through nodes Maya puts after them,
// skin clusters, shading groups and their materials, animation curves on
// translate, rotate, scale and visibility, the units, the playback range and
// the current time. Other nodes are kept as plain nodes. What it cannot
// evaluate is a warning naming the node (a mesh whose history it cannot
// evaluate is loaded without geometry); a file it cannot read (malformed,
// truncated) is an error naming the file, the line and the statement, and
// leaves a new empty scene.
//
// File references (`file -r`) are loaded as Maya loads them: after the
// referencing file's own statements, under their namespace, each followed
// by the reference edits its reference node keeps. Where a recorded path
// does not lead to the file, it is looked for by the rules ReferenceOptions
// describes (see find_reference_file in the loader's references module).
#pragma once

#include <maya/MTypes.h>

#include <map>
#include <stddef.h>
#include <string>
#include <utility>
#include <vector>

namespace mayasim {

// Where referenced files are looked for when the path a scene recorded
// does not lead to them, and what a reference that cannot be found does.
struct ReferenceOptions {
  // FROM=TO: a recorded path that starts with FROM is tried with TO in its
  // place first (a pipeline's mounts).
  std::vector<std::pair<std::string, std::string>> path_maps;
  // Folders searched by the path's trailing components, then by its file
  // name anywhere below them.
  std::vector<std::string> roots;
  // Load the rest of the scene, with a warning, when a reference's file
  // cannot be found or read; otherwise the load fails.
  bool skip_missing = false;
  // Files by path, used instead of the disk when set (tests, fuzzing).
  const std::map<std::string, std::string>* files = nullptr;
};

// A file reference met while loading, and what became of it.
struct ReferenceRecord {
  std::string node;      // the reference node ("charRN", "set:propRN")
  std::string ns;        // the namespace its nodes are in ("set:prop"; empty: the parent's)
  std::string written;   // the path as the referencing file recorded it
  std::string file;      // the file loaded; empty when none was
  std::string rule;      // which rule found it ("as written", "next to the referencing file", ...)
  std::string state;     // "loaded", "deferred" (unloaded in the scene), "missing" (skipped)
  int depth = 1;         // 1: referenced by the scene itself
  size_t edits = 0;      // reference edits applied
  size_t failed_edits = 0; // edits whose nodes or attributes are gone (warnings)
};

struct MayaAsciiResult {
  std::string error;                 // why the file was not loaded; empty when it was
  std::vector<std::string> warnings; // what was loaded without being evaluated, one sentence each
  size_t bytes = 0;                  // the text read
  size_t nodes = 0;                  // nodes in the scene afterwards
  size_t connections = 0;            // connectAttr statements
  // Mesh shapes loaded without geometry (their function sets fail, so an
  // export that reaches them fails), each with the reason in a sentence.
  struct MeshProblem {
    std::string shape;               // its name
    std::vector<std::string> paths;  // its full DAG paths ("|group|shape"), one per instance
    std::string problem;
  };
  std::vector<MeshProblem> mesh_problems;
  std::vector<ReferenceRecord> references; // in the order they were met
  size_t files = 0;                        // files read: the scene and its references
};

// Replaces the scene with the one in the file at `path`; false (and
// result.error) when it cannot be loaded. The scene's file becomes `path`.
OPENMAYA_EXPORT bool load_maya_ascii(const std::string& path, MayaAsciiResult& result);
OPENMAYA_EXPORT bool load_maya_ascii(const std::string& path, MayaAsciiResult& result,
                                     const ReferenceOptions& references);

// The same for text in memory; `name` stands for the file in messages.
OPENMAYA_EXPORT bool load_maya_ascii_text(const char* text, size_t size, const std::string& name,
                                          MayaAsciiResult& result);
OPENMAYA_EXPORT bool load_maya_ascii_text(const char* text, size_t size, const std::string& name,
                                          MayaAsciiResult& result, const ReferenceOptions& references);

// The scene as an outline for people: units and times, the DAG (each node
// with its type, and for meshes their counts, shading and skin, for
// transforms their animated channels), skin clusters and materials. Maya's
// default nodes are left out.
OPENMAYA_EXPORT std::string outline_scene();

} // namespace mayasim
