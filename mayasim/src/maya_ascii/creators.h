// The mesh a polygon creator node makes: polyCube, polyPlane, polySphere and
// polyCylinder, from their settings (or the node's defaults), turned so that
// their up axis points along the node's axis.
//
// Point, face and UV order follow Maya's where a Maya-saved mesh shows them
// (the cube; see docs/mayasim.md for which settings were checked); the rest
// follow the same pattern.
#pragma once

#include "file_scene.h"

namespace mayasim {
namespace maya_ascii {

// False, with the problem, for settings the creator cannot build.
bool build_creator(const FileNode& node, StoredMesh& out, std::string& problem);

} // namespace maya_ascii
} // namespace mayasim
