// write_scene_document: a SceneDatabase as the twi document tree.
//
// The tree defined here is the file format (docs/twi-format.md). The root
// becomes an object with "nodes" (root nodes, children nested under their
// parents; nil when there are no roots), "geometries", "animations" and
// "skins" (each only when there are any) and "source_path". Matrix, time and
// stream data values are floats; sizes, strides, indices, primitives and
// smoothing values integers. Members print in key order, so the capture
// order of roots and children is not in the text.
//
// `root` must carry an allocator (a nil value with one); the whole tree is
// made from it. The database is only read. The writer does not validate: a
// database must keep the invariants of scene/scene_database.
#pragma once

#include "foundation/config/dynamic_config_value.h"
#include "scene/scene_database.h"

namespace twi {

void write_scene_document(const SceneDatabase& database, foundation::DynamicConfigValue& root);

} // namespace twi
