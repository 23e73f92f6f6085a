// The mesh export: the mesh below a transform as one SceneGeometry, stored
// under the transform's name.
//
// Three phases, each announced in the log: the streams (Maya's own value
// arrays copied in Maya's order: POSITION in metres, NORMAL, BINORMAL and
// TANGENT when Maya has them, COLOR and ALPHA from the first colour set,
// one TEXCOORD per UV set), the topology (Maya's triangulation, one index
// list per stream) and the materials (triangles grouped by shading group,
// named after the material). A mesh deformed by a skin cluster is read from
// the skin cluster's input shape, in its bind pose, and gets its skin last.
//
// Returns false, with the reason in the log, when the mesh can't be
// exported; nothing is stored then (a skin entry already made stays).
#pragma once

#include "exporter/exporter_context.h"
#include <maya/MDagPath.h>

namespace twi {

struct SceneDatabase;

bool export_mesh(ExporterContext& context, SceneDatabase& database, const char* name, const MDagPath& path);

} // namespace twi
