// The node export: one DAG transform and its exportable subtree as
// SceneNode records.
//
// For the node at `path` it records the parent's name, the local matrix at
// the current time (translation in metres), the sampled animation, the mesh
// below it and, depth first, the children that pass the node filter, in
// child index order (walked with a list of the open nodes, not by
// recursion: joint chains can be thousands deep). The log shows "Exporting
// Node: NAME" before the node's work; a node's record is filled only after
// its whole subtree, so children are complete before their parents (an
// empty record holds the node's name from its start, so that a descendant
// of the same name is found as a clash).
//
// A name already taken fails the export with "A node with name: NAME
// already found.\n" (left in the log for the driver). That includes a node
// named like one of its own ancestors: Maya allows |pCube1|pCube1, but the
// document can't hold a node that is its own child.
#pragma once

#include "exporter/exporter_context.h"
#include <maya/MDagPath.h>

namespace twi {

struct SceneDatabase;

bool export_node(ExporterContext& context, SceneDatabase& database, const char* parent, const MDagPath& path);

} // namespace twi
