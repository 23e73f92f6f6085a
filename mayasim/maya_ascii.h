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
// truncated, with file references) is an error naming the file, the line
// and the statement, and leaves a new empty scene.
#pragma once

#include <maya/MTypes.h>

#include <stddef.h>
#include <string>
#include <vector>

namespace mayasim {

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
};

// Replaces the scene with the one in the file at `path`; false (and
// result.error) when it cannot be loaded. The scene's file becomes `path`.
OPENMAYA_EXPORT bool load_maya_ascii(const std::string& path, MayaAsciiResult& result);

// The same for text in memory; `name` stands for the file in messages.
OPENMAYA_EXPORT bool load_maya_ascii_text(const char* text, size_t size, const std::string& name,
                                          MayaAsciiResult& result);

// The scene as an outline for people: units and times, the DAG (each node
// with its type, and for meshes their counts, shading and skin, for
// transforms their animated channels), skin clusters and materials. Maya's
// default nodes are left out.
OPENMAYA_EXPORT std::string outline_scene();

} // namespace mayasim
