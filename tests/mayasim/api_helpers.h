// Small conveniences for tests that call the Maya API directly, written with
// the calls that are not obsolete (so that the tests build against the
// modern API's declarations with warnings as errors).
#pragma once

#include <maya/MDagPath.h>
#include <maya/MObject.h>

// The first path from the world to `node` (an empty path for a DG node).
inline MDagPath path_to(const MObject& node) {
  MDagPath path;
  MDagPath::getAPathTo(node, path);
  return path;
}
