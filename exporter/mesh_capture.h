// What the phases of one mesh export share (internal to the exporter).
//
// The stream phase decides which streams exist and records the flags that
// decided them; the topology phase advances its index lists by the very
// same flags, so that list s belongs to stream s (see capture_topology for
// the one deliberate exception).
#pragma once

#include "exporter/exporter_context.h"
#include "foundation/collection/vector.h"
#include "scene/scene_database.h"

#include <maya/MObject.h>
#include <maya/MString.h>
#include <maya/MStringArray.h>
#include <maya/MDagPath.h>
#include <maya/MFnMesh.h>

namespace twi {

struct MeshCapture {
  SceneGeometry geometry;
  bool has_binormals; // Maya gave binormals
  bool has_tangents;  // Maya gave tangents
  bool has_rgb;       // the first colour set has colour channels
  bool has_alpha;     // ... and alpha channels
  MString color_set;  // the first colour set ("" for none)
  // The UV sets that have streams, in Maya's order (a set without UVs has
  // none: Maya keeps map1 even when nothing is mapped).
  MStringArray uv_sets;
  const char* name; // the geometry's name, for messages
  bool skinned;
  MObject skin_cluster;
  MObject input_shape;

  explicit MeshCapture(Allocator& a)
      : geometry(a), has_binormals(false), has_tangents(false), has_rgb(false), has_alpha(false), name(""),
        skinned(false) {}
};

// Which triangles each polygon became. The polygons are walked in order and
// each one's triangles are numbered on from the last, so polygon p made the
// triangles first[p] .. first[p + 1] - 1: a table of P + 1 numbers does the
// work of a map from polygon to its list of triangle numbers.
struct PolygonTriangles {
  foundation::Vector<uint32_t> first;
  explicit PolygonTriangles(Allocator& a) : first(a) {}
  uint32_t polygons() const { return first.empty() ? 0 : first.size() - 1; }
};

bool capture_streams(ExporterContext& context, MFnMesh& mesh, MeshCapture& capture);
bool capture_topology(ExporterContext& context, const MDagPath& path, MeshCapture& capture,
                      PolygonTriangles& triangles);
bool capture_materials(ExporterContext& context, const MDagPath& path, MFnMesh& mesh, MeshCapture& capture,
                       const PolygonTriangles& triangles);

} // namespace twi
