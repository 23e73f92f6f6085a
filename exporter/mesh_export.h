// The mesh export: the mesh below a transform as a SceneGeometry stored
// under the transform's name.
//
// Not captured yet: the export shows that it skipped the mesh and stores
// nothing, so the node keeps an empty geometries list and the document
// stays valid. Returns false only when the mesh can't be exported at all.
#pragma once

#include "exporter/exporter_context.h"

class MDagPath;

namespace twi {

struct SceneDatabase;

bool export_mesh(ExporterContext& context, SceneDatabase& database, const char* name, const MDagPath& path);

} // namespace twi
