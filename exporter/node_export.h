// The node export: one DAG transform and its exportable subtree as
// SceneNode records.
//
// For the node at `path` it records the parent's name, the local matrix at
// the current time (translation in metres), the sampled animation, the mesh
// below it and, recursively, the children that pass the node filter, in
// child index order. The log shows "Exporting Node: NAME" before the node's
// work; a record is inserted into the database only after its whole
// subtree, so children are in the database before their parents.
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
