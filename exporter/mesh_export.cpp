#include "exporter/mesh_export.h"

#include "exporter/mesh_capture.h"
#include "exporter/skin_export.h"
#include "foundation/memory/temp_allocator.h"

#include <maya/MColorArray.h>
#include <maya/MDagPath.h>
#include <maya/MFloatArray.h>
#include <maya/MFloatVectorArray.h>
#include <maya/MFn.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MFnMesh.h>
#include <maya/MFnSkinCluster.h>
#include <maya/MItDependencyNodes.h>
#include <maya/MPointArray.h>

#include <stdio.h>

using namespace foundation;

namespace twi {

namespace {

// Finds the skin cluster whose output is `shape`: the first match over
// every skin cluster's output connections.
bool find_skin_cluster(const MObject& shape, MObject& skin_cluster, MObject& input_shape) {
  for (MItDependencyNodes it(MFn::kSkinClusterFilter); !it.isDone(); it.next()) {
    MObject node = it.thisNode();
    MFnSkinCluster skin(node);
    unsigned connections = skin.numOutputConnections();
    for (unsigned c = 0; c < connections; ++c) {
      unsigned index = skin.indexForOutputConnection(c);
      if (skin.outputShapeAtIndex(index) == shape) {
        skin_cluster = node;
        input_shape = skin.inputShapeAtIndex(index);
        return true;
      }
    }
  }
  return false;
}

void copy_vectors(Vector<GeometryStream>& streams, const char* name, const MFloatVectorArray& vectors) {
  unsigned n = vectors.length();
  float* out = reinterpret_cast<float*>(add_stream(streams, name, 0, CT_FLOAT3, n));
  for (unsigned i = 0; i < n; ++i) {
    out[3 * i + 0] = vectors[i].x;
    out[3 * i + 1] = vectors[i].y;
    out[3 * i + 2] = vectors[i].z;
  }
}

// Appends "  - <what>: the mesh needs N, its input holds M" when the shape
// in the DAG needs more values than the skin cluster's input shape holds.
// (No std::string in the module: libstdc++ grows one with the process's
// operator new, while the module's inline code frees with its own.)
void compare_count(const char* what, unsigned needed, unsigned held, String& differences) {
  if (needed <= held)
    return;
  char line[512];
  snprintf(line, sizeof(line), "%s %u %s, the input %u", differences.is_empty_text() ? "" : ";", needed, what, held);
  differences.append(line);
}

// A skinned mesh is read from the skin cluster's input shape, but its
// triangles and their ids come from the shape in the DAG: the ids index the
// input's arrays, which must hold every value they reach. Edits made after
// binding (UVs, colours) make the two disagree.
bool shapes_agree(ExporterContext& context, const MDagPath& shape_path, MeshCapture& capture) {
  MFnMesh deformed(shape_path);
  const Vector<GeometryStream>& streams = capture.geometry.streams;
  String differences(*context.allocator, "");
  uint32_t s = 0;
  compare_count("vertices", unsigned(deformed.numVertices()), streams[s++].size, differences);
  compare_count("normals", unsigned(deformed.numNormals()), streams[s++].size, differences);
  if (capture.has_binormals || capture.has_tangents) {
    MFloatVectorArray tangents;
    deformed.getTangents(tangents, MSpace::kObject);
    uint32_t held = streams[s].size;
    s += (capture.has_binormals ? 1 : 0) + (capture.has_tangents ? 1 : 0);
    compare_count("tangents", tangents.length(), held, differences);
  }
  if ((capture.has_rgb || capture.has_alpha) && s < streams.size() &&
      (streams[s].channels[0].name == "COLOR" || streams[s].channels[0].name == "ALPHA")) {
    compare_count("colours", unsigned(deformed.numColors(capture.color_set)), streams[s].size, differences);
    s += (capture.has_rgb ? 1 : 0) + (capture.has_alpha ? 1 : 0);
  }
  for (unsigned k = 0; k < capture.uv_sets.length() && s < streams.size(); ++k, ++s) {
    String what(*context.allocator, "UVs in ");
    what.append(capture.uv_sets[k].asUTF8());
    compare_count(what.c_str(), unsigned(deformed.numUVs(capture.uv_sets[k])), streams[s].size, differences);
  }
  if (differences.is_empty_text())
    return true;
  append_log(context, "Skinned mesh ");
  append_log(context, MFnDagNode(shape_path).name().asUTF8());
  append_log(context, " and its skin cluster's input shape ");
  append_log(context, MFnDependencyNode(capture.input_shape).name().asUTF8());
  append_log(context, " disagree: the mesh has");
  append_log(context, differences.c_str());
  append_log(context, ". Edits made after binding the skin (UVs, colours) must be made on the input shape, "
                      "or the skin bound again.\n");
  return false;
}

} // namespace

bool capture_streams(ExporterContext& context, MFnMesh& mesh, MeshCapture& capture) {
  Vector<GeometryStream>& streams = capture.geometry.streams;

  MPointArray points;
  if (!mesh.getPoints(points, MSpace::kObject)) {
    append_log(context, "Failed retrieving points.\n");
    return false;
  }
  unsigned n = points.length();
  float* positions = reinterpret_cast<float*>(add_stream(streams, "POSITION", 0, CT_FLOAT3, n));
  for (unsigned i = 0; i < n; ++i) {
    positions[3 * i + 0] = float(points[i].x) * context.unit_scale;
    positions[3 * i + 1] = float(points[i].y) * context.unit_scale;
    positions[3 * i + 2] = float(points[i].z) * context.unit_scale;
  }

  MFloatVectorArray normals;
  if (!mesh.getNormals(normals, MSpace::kObject)) {
    append_log(context, "Failed retrieving normals.\n");
    return false;
  }
  copy_vectors(streams, "NORMAL", normals);

  MFloatVectorArray binormals, tangents;
  mesh.getBinormals(binormals, MSpace::kObject);
  capture.has_binormals = binormals.length() > 0;
  if (capture.has_binormals)
    copy_vectors(streams, "BINORMAL", binormals);
  mesh.getTangents(tangents, MSpace::kObject);
  capture.has_tangents = tangents.length() > 0;
  if (capture.has_tangents)
    copy_vectors(streams, "TANGENT", tangents);

  // Only the first colour set, whichever is current in Maya.
  MStringArray color_sets;
  mesh.getColorSetNames(color_sets);
  capture.color_set = color_sets.length() > 0 ? color_sets[0] : MString("");
  if (capture.color_set.length() > 0) {
    capture.has_rgb = mesh.hasColorChannels(capture.color_set);
    capture.has_alpha = mesh.hasAlphaChannels(capture.color_set);
  }
  // An alpha-only set gets its ALPHA stream alone, so that the index list
  // the topology writes for it lands on that stream.
  if (capture.has_rgb || capture.has_alpha) {
    MColorArray colors;
    mesh.getColors(colors, &capture.color_set);
    unsigned count = colors.length();
    if (count > 0) {
      float* rgb =
          capture.has_rgb ? reinterpret_cast<float*>(add_stream(streams, "COLOR", 0, CT_FLOAT3, count)) : nullptr;
      float* alpha =
          capture.has_alpha ? reinterpret_cast<float*>(add_stream(streams, "ALPHA", 0, CT_FLOAT1, count)) : nullptr;
      for (unsigned i = 0; i < count; ++i) {
        if (rgb) {
          rgb[3 * i + 0] = colors[i].r;
          rgb[3 * i + 1] = colors[i].g;
          rgb[3 * i + 2] = colors[i].b;
        }
        if (alpha)
          alpha[i] = colors[i].a;
      }
    }
  }

  // One TEXCOORD stream per UV set that holds UVs; its channel index is the
  // set's position in Maya's list. An empty set (Maya keeps map1 on a mesh
  // that was never mapped) gets no stream, and a warning.
  MStringArray uv_set_names;
  mesh.getUVSetNames(uv_set_names);
  for (unsigned k = 0; k < uv_set_names.length(); ++k) {
    MFloatArray u, v;
    mesh.getUVs(u, v, &uv_set_names[k]);
    unsigned count = u.length() < v.length() ? u.length() : v.length();
    if (count == 0) {
      append_log(context, "Warning: mesh ");
      append_log(context, capture.name);
      append_log(context, " has no UVs in set ");
      append_log(context, uv_set_names[k].asUTF8());
      append_log(context, ": no texture coordinates are exported for it.\n");
      continue;
    }
    capture.uv_sets.append(uv_set_names[k]);
    float* uv = reinterpret_cast<float*>(add_stream(streams, "TEXCOORD", k, CT_FLOAT2, count));
    for (unsigned i = 0; i < count; ++i) {
      uv[2 * i + 0] = u[i];
      uv[2 * i + 1] = v[i];
    }
  }
  return true;
}

// Extends a transform's path to the mesh shape below it that is not an
// intermediate object (a skinned mesh's ...Orig input shape is one): the
// path Maya's mesh function sets, iterators, shading and skin weights mean.
bool extend_to_mesh_shape(const MDagPath& transform, MDagPath& shape) {
  unsigned count = transform.childCount();
  for (unsigned i = 0; i < count; ++i) {
    MObject child = transform.child(i);
    if (!child.hasFn(MFn::kMesh))
      continue;
    MStatus status;
    MFnDagNode node(child, &status);
    if (!status || node.isIntermediateObject())
      continue;
    shape = transform;
    return shape.push(child) == MS::kSuccess;
  }
  return false;
}

bool export_mesh(ExporterContext& context, SceneDatabase& database, const char* name, const MDagPath& path) {
  Allocator& allocator = *context.allocator;
  MDagPath shape_path;
  if (!extend_to_mesh_shape(path, shape_path)) {
    append_log(context, "Failed finding a mesh shape below ");
    append_log(context, name);
    append_log(context, " that is not an intermediate object.\n");
    return false;
  }
  MStatus status;
  MFnMesh mesh(shape_path, &status);
  if (!status) {
    append_log(context, "Failed attaching MFnMesh to ");
    append_log(context, shape_path.fullPathName().asUTF8());
    append_log(context, ".\n");
    return false;
  }
  MeshCapture capture(allocator);
  capture.name = name;
  // A skinned mesh is read from the geometry that enters its skin cluster.
  capture.skinned = find_skin_cluster(mesh.object(), capture.skin_cluster, capture.input_shape);
  if (capture.skinned)
    mesh.setObject(capture.input_shape);

  append_log(context, " - Mesh\n");
  show_log(context);
  append_log(context, "  - Geometry\n");
  show_log(context);
  if (!capture_streams(context, mesh, capture))
    return false;
  if (capture.skinned && !shapes_agree(context, shape_path, capture))
    return false;

  // Scratch for the topology: given back in one piece when the mesh is done.
  ScopedTempAllocator scratch;
  PolygonTriangles triangles(scratch);
  if (!capture_topology(context, shape_path, capture, triangles))
    return false;
  if (!capture_materials(context, shape_path, mesh, capture, triangles))
    return false;
  if (capture.skinned && !export_skin(context, database, name, capture.geometry, shape_path, capture.skin_cluster,
                                      capture.input_shape)) {
    append_log(context, "Failed exporting skin\n");
    return false;
  }
  database.geometries.get_or_insert(name) = capture.geometry;
  return true;
}

} // namespace twi
