// The skin export: the skin cluster deforming a mesh as a SceneSkin, and
// the mesh's blend weights and joint numbers as two more streams.
//
// The SceneSkin (under the mesh's name) holds the skin cluster's
// "geomMatrix" as the bind matrix and, per influence in influenceObjects
// order, the joint's name and its "bindPreMatrix" element at the influence's
// logical index (translations in metres). Per vertex of the input shape the
// weights above 0 are kept in influence order, unsorted and not
// renormalised; BLENDWEIGHTS and BLENDINDICES (joint numbers as floats)
// hold as many values per vertex as the vertex with the most kept weights,
// padded with 0. More than four kept weights on a vertex, or no positive
// weight anywhere, fail the skin; a skin entry made before the failure
// stays in the database as far as it was filled.
#pragma once

#include "exporter/exporter_context.h"
#include <maya/MDagPath.h>
#include <maya/MObject.h>

namespace twi {

struct SceneDatabase;
struct SceneGeometry;

bool export_skin(ExporterContext& context, SceneDatabase& database, const char* name, SceneGeometry& geometry,
                 const MDagPath& path, const MObject& skin_cluster, const MObject& input_shape);

} // namespace twi
