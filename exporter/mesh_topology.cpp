// The topology and materials phases of the mesh export.
#include "exporter/mesh_capture.h"

#include <maya/MDagPath.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MFnMesh.h>
#include <maya/MIntArray.h>
#include <maya/MItMeshPolygon.h>
#include <maya/MObjectArray.h>
#include <maya/MPlug.h>
#include <maya/MPlugArray.h>
#include <maya/MPointArray.h>
#include <maya/MStatus.h>

using namespace foundation;

namespace twi {

namespace {

// Appends a corner triple to index list `slot`, each value only when it is
// below the size of stream `slot`. A slot past the last stream counts as a
// stream of size 0, so nothing is ever written there.
bool append_triple(SceneGeometry& geometry, uint32_t slot, const int triple[3]) {
  uint32_t size = slot < geometry.streams.size() ? geometry.streams[slot].size : 0;
  for (int i = 0; i < 3; ++i) {
    if (triple[i] < 0 || uint32_t(triple[i]) >= size)
      return false;
    geometry.indices.streams[slot].push_back(uint32_t(triple[i]));
  }
  return true;
}

bool append_or_fail(ExporterContext& context, SceneGeometry& geometry, uint32_t slot, const int triple[3],
                    const char* message) {
  if (append_triple(geometry, slot, triple))
    return true;
  append_log(context, message);
  return false;
}

// The position of each vertex id in the polygon's vertex list, or -1.
void face_relative(const MIntArray& polygon, const int ids[3], int local[3]) {
  for (int c = 0; c < 3; ++c) {
    local[c] = -1;
    for (unsigned i = 0; i < polygon.length(); ++i)
      if (polygon[i] == ids[c]) {
        local[c] = int(i);
        break;
      }
  }
}

} // namespace

bool capture_topology(ExporterContext& context, const MDagPath& path, MeshCapture& capture,
                      PolygonTriangles& triangles) {
  append_log(context, "  - Topology\n");
  show_log(context);

  SceneGeometry& geometry = capture.geometry;
  IndexStreams& indices = geometry.indices;
  // One list per stream. The colour and alpha lists follow the flags, and
  // where a flag names a list that has no stream, that slot is checked
  // against a size of 0; so one more list than streams is never needed:
  // the first write past the streams fails.
  indices.streams.resize(geometry.streams.size());
  indices.type = TRIANGLE_LIST;

  // A mesh of valid polygons has face-vertices - 2 * polygons triangles:
  // the lists are sized for that once instead of growing.
  MStatus status;
  MFnMesh shape(path, &status);
  if (!status) {
    append_log(context, "Failed attaching MFnMesh to the shape for its topology\n");
    return false;
  }
  int polygons = shape.numPolygons();
  int expected = shape.numFaceVertices() - 2 * polygons;
  if (polygons > 0 && expected > 0) {
    for (uint32_t s = 0; s < indices.streams.size(); ++s)
      indices.streams[s].reserve(3 * uint32_t(expected));
    triangles.first.reserve(uint32_t(polygons) + 1);
  }

  bool lacking_uv = false;
  uint32_t triangle_count = 0;
  MIntArray vertices, corner_ids;
  MPointArray points;
  triangles.first.push_back(0);
  MItMeshPolygon it(path, MObject::kNullObj, &status);
  if (!status) {
    append_log(context, "Failed iterating the polygons of the shape\n");
    return false;
  }
  for (; !it.isDone(); it.next()) {
    if (!it.hasValidTriangulation()) {
      append_log(context, "Polygon does not have valid triangulation!\n");
      return false;
    }
    int n = 0;
    if (!it.numTriangles(n)) {
      append_log(context, "Failed extracting numTriangles from polygon\n");
      return false;
    }
    it.getVertices(vertices);
    for (int t = 0; t < n; ++t) {
      it.getTriangle(t, points, corner_ids, MSpace::kObject);
      int ids[3] = {corner_ids[0], corner_ids[1], corner_ids[2]};
      int local[3];
      face_relative(vertices, ids, local);

      if (!append_or_fail(context, geometry, 0, ids, "Index out of range for position-channel!\n"))
        return false;
      int triple[3];
      for (int c = 0; c < 3; ++c)
        triple[c] = int(it.normalIndex(local[c]));
      if (!append_or_fail(context, geometry, 1, triple, "Index out of range for normal-channel!\n"))
        return false;
      uint32_t slot = 2;
      if (capture.has_binormals) {
        for (int c = 0; c < 3; ++c)
          triple[c] = int(it.tangentIndex(local[c]));
        if (!append_or_fail(context, geometry, slot++, triple, "Index out of range for binormal-channel!\n"))
          return false;
      }
      // The tangent list takes the same triple; Maya gives both arrays or neither.
      if (capture.has_tangents &&
          !append_or_fail(context, geometry, slot++, triple, "Index out of range for tangent-channel!\n"))
        return false;
      if (capture.has_rgb || capture.has_alpha) {
        for (int c = 0; c < 3; ++c) {
          if (!it.getColorIndex(local[c], triple[c], &capture.color_set)) {
            append_log(context, "Mesh has broken color indices!\n");
            return false;
          }
          if (triple[c] == -1)
            triple[c] = 0; // a corner without colour
        }
        if (capture.has_rgb &&
            !append_or_fail(context, geometry, slot++, triple, "Index out of range for color-channel!\n"))
          return false;
        if (capture.has_alpha &&
            !append_or_fail(context, geometry, slot++, triple, "Index out of range for alpha-channel!\n"))
          return false;
      }
      for (unsigned k = 0; k < capture.uv_sets.length(); ++k) {
        const MString& set = capture.uv_sets[k];
        for (int c = 0; c < 3; ++c) {
          MStatus uv_status = it.getUVIndex(local[c], triple[c], &set);
          if (uv_status == MS::kInvalidParameter) {
            lacking_uv = true;
            triple[c] = 0;
          } else if (!uv_status) {
            append_log(context, "polygon.getUVIndex() Failed for uv-set: ");
            append_log(context, set.asUTF8());
            append_log(context, "!\n");
            return false;
          }
        }
        if (!append_triple(geometry, slot++, triple)) {
          append_log(context, "Index out of range for uv-channel: ");
          append_log(context, set.asUTF8());
          append_log(context, "!\n");
          return false;
        }
      }
    }
    triangle_count += uint32_t(n);
    triangles.first.push_back(triangle_count);
  }
  indices.size = 3 * triangle_count;

  if (lacking_uv)
    append_log(context, "Mesh is lacking uv-mapping for some polygons! Forcing uv-index to 0.\n");
  append_log(context, "  - Materials\n");
  show_log(context);
  return true;
}

bool capture_materials(ExporterContext& context, const MDagPath& path, MFnMesh& mesh, MeshCapture& capture,
                       const PolygonTriangles& triangles) {
  MStatus status;
  // The shape's instance: an instanced shape has its own shading per path.
  unsigned instance = path.instanceNumber(&status);
  MObjectArray groups;
  MIntArray polygon_groups;
  if (!status) {
    // Reported as a failed shading query below.
  } else if (capture.skinned) {
    // The retargeted set reads the input shape; shading belongs to the shape in the DAG.
    MFnMesh shape(path, &status);
    if (status)
      status = shape.getConnectedShaders(instance, groups, polygon_groups);
  } else {
    status = mesh.getConnectedShaders(instance, groups, polygon_groups);
  }
  if (!status) {
    append_log(context, "Failed retrieving material mapping\n");
    return false;
  }
  if (polygon_groups.length() == 0) {
    append_log(context, "No materials assigned to mesh\n");
    return false;
  }

  Vector<MaterialGroup>& materials = capture.geometry.materials;
  materials.resize(groups.length());
  // Each group's triangle count first, so that its list is sized once.
  Vector<uint32_t> group_triangles(*context.allocator);
  group_triangles.resize(groups.length());
  for (uint32_t g = 0; g < group_triangles.size(); ++g)
    group_triangles[g] = 0;
  uint32_t walked = triangles.polygons();
  for (unsigned p = 0; p < polygon_groups.length() && p < walked; ++p)
    if (polygon_groups[p] >= 0 && unsigned(polygon_groups[p]) < groups.length())
      group_triangles[uint32_t(polygon_groups[p])] += triangles.first[p + 1] - triangles.first[p];
  for (unsigned g = 0; g < groups.length(); ++g) {
    MFnDependencyNode group(groups[g]);
    MPlug shader = group.findPlug("surfaceShader", true, &status);
    if (!status) {
      append_log(context, "Failed retrieving surface shader\n");
      return false;
    }
    MPlugArray connected;
    shader.connectedTo(connected, true, true, &status);
    if (!status) {
      append_log(context, "Failed querying connected materials from shader\n");
      return false;
    }
    if (connected.length() != 1) {
      append_log(context, "Number of materials in shader not equal to one\n");
      return false;
    }
    MFnDependencyNode material(connected[0].node(), &status);
    if (!status) {
      append_log(context, "Unable to construct dependency node from material.\n");
      return false;
    }
    materials[g].name = material.name().asUTF8();
    materials[g].primitives.reserve(group_triangles[g]);
  }
  // One walk over the polygons, in order, gives every group its triangles
  // in ascending order. Polygons the topology walk did not meet have none.
  for (unsigned p = 0; p < polygon_groups.length() && p < walked; ++p) {
    int g = polygon_groups[p];
    if (g < 0 || unsigned(g) >= groups.length())
      continue;
    Vector<uint32_t>& primitives = materials[uint32_t(g)].primitives;
    for (uint32_t t = triangles.first[p]; t < triangles.first[p + 1]; ++t)
      primitives.push_back(t);
  }
  return true;
}

} // namespace twi
