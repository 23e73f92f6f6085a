// MFnMesh, MItMeshPolygon and the triangulation of polygons.
#include "scene.h"

#include <maya/MDagPath.h>
#include <maya/MFnMesh.h>
#include <maya/MItMeshPolygon.h>

#include <math.h>

using namespace mayasim;

namespace {

template <typename T>
void set_status(MStatus* status, T code) {
  if (status)
    *status = code;
}

// The mesh shape a path names: the path's node, or the sole shape below a
// transform (none when several are there: ambiguous, as in Maya).
Node* mesh_node_of_path(const Path& p) {
  Node* n = function_set_node(p);
  return n && n->type == MFn::kMesh && n->mesh ? n : nullptr;
}

// A UV or colour set by name; the current one for a null name.
template <typename Set>
const Set* find_set(const std::vector<Set>& sets, int current, const MString* name) {
  if (!name)
    return sets.empty() ? nullptr : &sets[size_t(current)];
  for (const Set& s : sets)
    if (s.name == name->asChar())
      return &s;
  return nullptr;
}

const UvSet* find_uv_set(const MeshData& m, const MString* name) { return find_set(m.uv_sets, m.current_uv_set, name); }

const ColorSet* find_color_set(const MeshData& m, const MString* name) {
  return find_set(m.color_sets, m.current_color_set, name);
}

template <typename Set>
MStatus set_names(const MeshData* m, std::vector<Set> MeshData::*sets, MStringArray& names) {
  if (!m)
    return MS::kFailure;
  names.clear();
  for (const Set& s : m->*sets)
    names.append(MString(s.name.c_str()));
  return MS::kSuccess;
}

} // namespace

// ---------------------------------------------------------------------------
// MFnMesh

namespace {
MeshData* mesh_of(const MObject& o) {
  Node* n = node_of(o);
  return n && n->mesh ? n->mesh.get() : nullptr;
}
} // namespace

MFnMesh::MFnMesh() {}
MFnMesh::MFnMesh(MObject& object, MStatus* ReturnStatus) : MFnMesh(static_cast<const MObject&>(object), ReturnStatus) {}
MFnMesh::MFnMesh(const MObject& object, MStatus* ret) {
  Node* n = node_of(object);
  if (!n || n->type != MFn::kMesh) {
    set_status(ret, MS::kInvalidParameter);
    return;
  }
  set_status(ret, MFnDagNode::setObject(object));
}
MFnMesh::MFnMesh(const MDagPath& path, MStatus* ret) {
  const Path& p = path_of(path.internal());
  Node* shape = mesh_node_of_path(p);
  if (!shape) {
    set_status(ret, MS::kInvalidParameter);
    return;
  }
  Path full = p;
  if (full.back() != shape)
    full.push_back(shape);
  MDagPath shape_path;
  path_of(shape_path.internal()) = full;
  set_status(ret, MFnDagNode::setObject(shape_path));
}
MFnMesh::~MFnMesh() {}
MFn::Type MFnMesh::type() const { return MFn::kMesh; }

#define MESH_OR(ret, fallback)                                                                             \
  MeshData* m = mesh_of(_object);                                                                          \
  if (!m) {                                                                                                \
    set_status(ret, MS::kFailure);                                                                         \
    return fallback;                                                                                       \
  }                                                                                                        \
  set_status(ret, MS::kSuccess)

int MFnMesh::numVertices(MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  return int(m->points.size());
}
int MFnMesh::numPolygons(MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  return int(m->polygons.size());
}
int MFnMesh::numFaceVertices(MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  return m->face_vertex_count();
}
int MFnMesh::numNormals(MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  return int(m->normals.size());
}
int MFnMesh::polygonVertexCount(int polygonId, MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  if (polygonId < 0 || polygonId >= int(m->polygons.size())) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return 0;
  }
  return int(m->polygons[size_t(polygonId)].size());
}
int MFnMesh::numUVSets(MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  return int(m->uv_sets.size());
}
int MFnMesh::numUVs(MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  const UvSet* s = find_uv_set(*m, nullptr);
  return s ? int(s->u.size()) : 0;
}
int MFnMesh::numUVs(const MString& uvSet, MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  const UvSet* s = find_uv_set(*m, &uvSet);
  if (!s)
    set_status(ReturnStatus, MS::kInvalidParameter);
  return s ? int(s->u.size()) : 0;
}
int MFnMesh::numColorSets(MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  return int(m->color_sets.size());
}
int MFnMesh::numColors(MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  const ColorSet* s = find_color_set(*m, nullptr);
  return s ? int(s->colors.size()) : 0;
}
int MFnMesh::numColors(const MString& colorSet, MStatus* ReturnStatus) const {
  MESH_OR(ReturnStatus, 0);
  const ColorSet* s = find_color_set(*m, &colorSet);
  if (!s)
    set_status(ReturnStatus, MS::kInvalidParameter);
  return s ? int(s->colors.size()) : 0;
}

MStatus MFnMesh::getPoints(MPointArray& vertexArray, MSpace::Space space) const {
  MeshData* m = mesh_of(_object);
  if (!m || should_fail("MFnMesh::getPoints"))
    return MS::kFailure;
  MMatrix to_world;
  if (space == MSpace::kWorld) {
    if (!_path)
      return MS::kInvalidParameter; // a world-space query needs a path
    MDagPath p;
    path_of(p.internal()) = *static_cast<Path*>(_path);
    to_world = p.inclusiveMatrix();
  }
  vertexArray.setLength(unsigned(m->points.size()));
  for (size_t i = 0; i < m->points.size(); ++i)
    vertexArray[unsigned(i)] = space == MSpace::kWorld ? m->points[i] * to_world : m->points[i];
  return MS::kSuccess;
}
MStatus MFnMesh::getPolygonVertices(int polygonId, MIntArray& vertexList) const {
  MeshData* m = mesh_of(_object);
  if (!m || polygonId < 0 || polygonId >= int(m->polygons.size()))
    return MS::kInvalidParameter;
  vertexList.clear();
  for (int id : m->polygons[size_t(polygonId)])
    vertexList.append(id);
  return MS::kSuccess;
}
MStatus MFnMesh::getNormals(MFloatVectorArray& normals, MSpace::Space) const {
  MeshData* m = mesh_of(_object);
  if (!m || should_fail("MFnMesh::getNormals"))
    return MS::kFailure;
  normals.setLength(unsigned(m->normals.size()));
  for (size_t i = 0; i < m->normals.size(); ++i)
    normals[unsigned(i)] = m->normals[i];
  return MS::kSuccess;
}
MStatus MFnMesh::getFaceNormalIds(int faceIndex, MIntArray& normals) const {
  MeshData* m = mesh_of(_object);
  if (!m || faceIndex < 0 || faceIndex >= int(m->polygons.size()))
    return MS::kInvalidParameter;
  normals.clear();
  int offset = m->face_offsets[size_t(faceIndex)];
  for (size_t i = 0; i < m->polygons[size_t(faceIndex)].size(); ++i)
    normals.append(m->normal_ids[size_t(offset) + i]);
  return MS::kSuccess;
}

namespace {
// The index of a UV set by name (the current one for null), or -1.
int uv_set_index(const MeshData& m, const MString* name) {
  if (!name)
    return m.uv_sets.empty() ? -1 : m.current_uv_set;
  for (size_t i = 0; i < m.uv_sets.size(); ++i)
    if (m.uv_sets[i].name == name->asChar())
      return int(i);
  return -1;
}

MStatus tangent_space(const MObject& object, MFloatVectorArray& out, const MString* uvSet, bool binormals) {
  MeshData* m = mesh_of(object);
  out.clear();
  if (!m)
    return MS::kFailure;
  int set = uv_set_index(*m, uvSet);
  if (set < 0)
    return MS::kInvalidParameter; // no such UV set
  if (!m->has_tangent_space)
    return MS::kSuccess;
  const TangentSpace& space = m->tangent_space(set);
  const std::vector<MFloatVector>& source = binormals ? space.binormals : space.tangents;
  out.setLength(unsigned(source.size()));
  for (size_t i = 0; i < source.size(); ++i)
    out[unsigned(i)] = source[i];
  return MS::kSuccess;
}
} // namespace

bool MFnMesh::isRightHandedTangent(int tangentId, const MString* uvSetName, MStatus* ReturnStatus) const {
  MeshData* m = mesh_of(_object);
  int set = m ? uv_set_index(*m, uvSetName) : -1;
  if (set < 0 || !m->has_tangent_space) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return true;
  }
  const TangentSpace& space = m->tangent_space(set);
  if (tangentId < 0 || size_t(tangentId) >= space.right_handed.size()) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return true;
  }
  set_status(ReturnStatus, MS::kSuccess);
  return space.right_handed[size_t(tangentId)];
}

MStatus MFnMesh::getTangents(MFloatVectorArray& tangents, MSpace::Space, const MString* uvSet) const {
  return tangent_space(_object, tangents, uvSet, false);
}
MStatus MFnMesh::getBinormals(MFloatVectorArray& binormals, MSpace::Space, const MString* uvSet) const {
  return tangent_space(_object, binormals, uvSet, true);
}
MStatus MFnMesh::getUVSetNames(MStringArray& setNames) const {
  return set_names(mesh_of(_object), &MeshData::uv_sets, setNames);
}
MStatus MFnMesh::getCurrentUVSetName(MString& setName, int) const {
  MeshData* m = mesh_of(_object);
  const UvSet* s = m ? find_uv_set(*m, nullptr) : nullptr;
  if (!s)
    return MS::kFailure;
  setName = s->name.c_str();
  return MS::kSuccess;
}
MStatus MFnMesh::getUVs(MFloatArray& uArray, MFloatArray& vArray, const MString* uvSet) const {
  MeshData* m = mesh_of(_object);
  uArray.clear();
  vArray.clear();
  const UvSet* s = m ? find_uv_set(*m, uvSet) : nullptr;
  if (!s)
    return MS::kInvalidParameter;
  for (float u : s->u)
    uArray.append(u);
  for (float v : s->v)
    vArray.append(v);
  return MS::kSuccess;
}
MStatus MFnMesh::getPolygonUVid(int polygonId, int vertexIndex, int& uvId, const MString* uvSet) const {
  MeshData* m = mesh_of(_object);
  const UvSet* s = m ? find_uv_set(*m, uvSet) : nullptr;
  if (!s || polygonId < 0 || polygonId >= int(m->polygons.size()) || vertexIndex < 0 ||
      vertexIndex >= int(m->polygons[size_t(polygonId)].size()))
    return MS::kInvalidParameter;
  uvId = s->face_vertex_ids[size_t(m->face_offsets[size_t(polygonId)] + vertexIndex)];
  return uvId < 0 ? MS::kInvalidParameter : MS::kSuccess;
}
MStatus MFnMesh::getColorSetNames(MStringArray& setNames) const {
  return set_names(mesh_of(_object), &MeshData::color_sets, setNames);
}
MStatus MFnMesh::getCurrentColorSetName(MString& setName, int) const {
  MeshData* m = mesh_of(_object);
  const ColorSet* s = m ? find_color_set(*m, nullptr) : nullptr;
  if (!s)
    return MS::kFailure;
  setName = s->name.c_str();
  return MS::kSuccess;
}
bool MFnMesh::hasColorChannels(const MString& colorSet, MStatus* ReturnStatus) const {
  MeshData* m = mesh_of(_object);
  const ColorSet* s = m ? find_color_set(*m, &colorSet) : nullptr;
  set_status(ReturnStatus, s ? MS::kSuccess : MS::kInvalidParameter);
  return s && (s->representation == kRGB || s->representation == kRGBA);
}
bool MFnMesh::hasAlphaChannels(const MString& colorSet, MStatus* ReturnStatus) const {
  MeshData* m = mesh_of(_object);
  const ColorSet* s = m ? find_color_set(*m, &colorSet) : nullptr;
  set_status(ReturnStatus, s ? MS::kSuccess : MS::kInvalidParameter);
  return s && (s->representation == kAlpha || s->representation == kRGBA);
}
MFnMesh::MColorRepresentation MFnMesh::getColorRepresentation(const MString& colorSet, MStatus* ReturnStatus) const {
  MeshData* m = mesh_of(_object);
  const ColorSet* s = m ? find_color_set(*m, &colorSet) : nullptr;
  set_status(ReturnStatus, s ? MS::kSuccess : MS::kInvalidParameter);
  return s ? MColorRepresentation(s->representation) : kRGBA;
}
MStatus MFnMesh::getColors(MColorArray& colors, const MString* colorSet, const MColor*) const {
  MeshData* m = mesh_of(_object);
  colors.clear();
  const ColorSet* s = m ? find_color_set(*m, colorSet) : nullptr;
  if (!s)
    return MS::kInvalidParameter;
  for (const MColor& c : s->colors)
    colors.append(c);
  return MS::kSuccess;
}
MStatus MFnMesh::getColorIndex(int faceIndex, int localVertexIndex, int& colorIndex, const MString* colorSet) {
  MeshData* m = mesh_of(_object);
  const ColorSet* s = m ? find_color_set(*m, colorSet) : nullptr;
  if (!s || faceIndex < 0 || faceIndex >= int(m->polygons.size()) || localVertexIndex < 0 ||
      localVertexIndex >= int(m->polygons[size_t(faceIndex)].size()))
    return MS::kInvalidParameter;
  colorIndex = s->face_vertex_ids[size_t(m->face_offsets[size_t(faceIndex)] + localVertexIndex)];
  return MS::kSuccess;
}
MStatus MFnMesh::getConnectedShaders(unsigned int instanceNumber, MObjectArray& shaders, MIntArray& indices) const {
  MeshData* m = mesh_of(_object);
  if (!m || should_fail("MFnMesh::getConnectedShaders"))
    return MS::kFailure;
  shaders.clear();
  indices.clear();
  // One entry per polygon, -1 where no shading group holds it; an instance
  // without shading has no groups and every polygon at -1.
  const MeshData::Shading* s = instanceNumber < m->shading.size() ? &m->shading[instanceNumber] : nullptr;
  if (s)
    for (Node* g : s->groups)
      shaders.append(MObject(g));
  for (size_t p = 0; p < m->polygons.size(); ++p)
    indices.append(s && p < s->polygon_groups.size() ? s->polygon_groups[p] : -1);
  return MS::kSuccess;
}

// ---------------------------------------------------------------------------
// MItMeshPolygon

namespace {
struct PolygonWalk {
  MObject shape;
  MeshData* mesh = nullptr;
  std::vector<int> faces; // the faces walked (all of them here)
  size_t at = 0;
  int triangulated_face = -1;
  bool valid = false;
  std::vector<int> triangles;
  int face() const { return faces[at]; }
  const std::vector<int>& vertices() const { return mesh->polygons[size_t(face())]; }
  int offset() const { return mesh->face_offsets[size_t(face())]; }
  void triangulate_current() {
    if (triangulated_face != face()) {
      valid = mayasim::triangulate(*mesh, face(), triangles);
      triangulated_face = face();
    }
  }
};
PolygonWalk& walk(void* p) { return *static_cast<PolygonWalk*>(p); }

MStatus start(void* state, Node* shape) {
  PolygonWalk& w = walk(state);
  if (!shape || !shape->mesh)
    return MS::kInvalidParameter;
  w.shape = MObject(shape);
  w.mesh = shape->mesh.get();
  w.faces.clear();
  for (size_t i = 0; i < w.mesh->polygons.size(); ++i)
    w.faces.push_back(int(i));
  w.at = 0;
  w.triangulated_face = -1;
  return MS::kSuccess;
}

bool in_face(const PolygonWalk& w, int local) { return w.at < w.faces.size() && local >= 0 && local < int(w.vertices().size()); }
} // namespace

MItMeshPolygon::MItMeshPolygon(const MObject& polyObject, MStatus* ReturnStatus) : _state(new PolygonWalk) {
  Node* n = node_of(polyObject);
  set_status(ReturnStatus, start(_state, n && n->type == MFn::kMesh ? n : nullptr));
}
MItMeshPolygon::MItMeshPolygon(const MDagPath& polyObject, MObject&, MStatus* ReturnStatus) : _state(new PolygonWalk) {
  set_status(ReturnStatus, start(_state, mesh_node_of_path(path_of(polyObject.internal()))));
}
MItMeshPolygon::~MItMeshPolygon() { delete &walk(_state); }
bool MItMeshPolygon::isDone(MStatus* ReturnStatus) {
  set_status(ReturnStatus, MS::kSuccess);
  return walk(_state).at >= walk(_state).faces.size();
}
MStatus MItMeshPolygon::next() {
  PolygonWalk& w = walk(_state);
  if (w.at < w.faces.size())
    ++w.at;
  return MS::kSuccess;
}
MStatus MItMeshPolygon::reset() {
  walk(_state).at = 0;
  return MS::kSuccess;
}
unsigned int MItMeshPolygon::count(MStatus* ReturnStatus) {
  set_status(ReturnStatus, MS::kSuccess);
  return unsigned(walk(_state).faces.size());
}
unsigned int MItMeshPolygon::polygonVertexCount(MStatus* ReturnStatus) {
  PolygonWalk& w = walk(_state);
  set_status(ReturnStatus, w.at < w.faces.size() ? MS::kSuccess : MS::kFailure);
  return w.at < w.faces.size() ? unsigned(w.vertices().size()) : 0;
}
unsigned int MItMeshPolygon::index(MStatus* ReturnStatus) {
  PolygonWalk& w = walk(_state);
  set_status(ReturnStatus, w.at < w.faces.size() ? MS::kSuccess : MS::kFailure);
  return w.at < w.faces.size() ? unsigned(w.face()) : 0;
}
MStatus MItMeshPolygon::setIndex(int index, int& prevIndex) {
  PolygonWalk& w = walk(_state);
  if (index < 0 || index >= int(w.faces.size()))
    return MS::kInvalidParameter;
  prevIndex = w.at < w.faces.size() ? w.face() : -1;
  w.at = size_t(index);
  return MS::kSuccess;
}
unsigned int MItMeshPolygon::vertexIndex(int localIndex, MStatus* ReturnStatus) {
  PolygonWalk& w = walk(_state);
  if (!in_face(w, localIndex)) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return 0;
  }
  set_status(ReturnStatus, MS::kSuccess);
  return unsigned(w.vertices()[size_t(localIndex)]);
}
MStatus MItMeshPolygon::getVertices(MIntArray& vertices) {
  PolygonWalk& w = walk(_state);
  if (w.at >= w.faces.size())
    return MS::kFailure;
  vertices.clear();
  for (int id : w.vertices())
    vertices.append(id);
  return MS::kSuccess;
}
MPoint MItMeshPolygon::point(int localIndex, MSpace::Space, MStatus* ReturnStatus) {
  PolygonWalk& w = walk(_state);
  if (!in_face(w, localIndex)) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return MPoint();
  }
  set_status(ReturnStatus, MS::kSuccess);
  return w.mesh->points[size_t(w.vertices()[size_t(localIndex)])];
}
bool MItMeshPolygon::hasValidTriangulation(MStatus* ReturnStatus) const {
  PolygonWalk& w = walk(_state);
  if (w.at >= w.faces.size()) {
    set_status(ReturnStatus, MS::kFailure);
    return false;
  }
  set_status(ReturnStatus, MS::kSuccess);
  w.triangulate_current();
  return w.valid;
}
MStatus MItMeshPolygon::numTriangles(int& count) const {
  PolygonWalk& w = walk(_state);
  if (w.at >= w.faces.size() || should_fail("MItMeshPolygon::numTriangles"))
    return MS::kFailure;
  // Maya triangulates every face, also one it reports as invalid.
  w.triangulate_current();
  count = int(w.triangles.size() / 3);
  return MS::kSuccess;
}
MStatus MItMeshPolygon::getTriangle(int localTriIndex, MPointArray& points, MIntArray& vertexList,
                                    MSpace::Space) const {
  PolygonWalk& w = walk(_state);
  if (w.at >= w.faces.size())
    return MS::kFailure;
  w.triangulate_current();
  if (localTriIndex < 0 || size_t(localTriIndex) * 3 >= w.triangles.size())
    return MS::kInvalidParameter;
  points.clear();
  vertexList.clear();
  for (int c = 0; c < 3; ++c) {
    int id = w.triangles[size_t(localTriIndex) * 3 + size_t(c)];
    vertexList.append(id);
    points.append(w.mesh->points[size_t(id)]);
  }
  return MS::kSuccess;
}
MStatus MItMeshPolygon::getTriangles(MPointArray& points, MIntArray& vertexList, MSpace::Space space) const {
  int n = 0;
  MStatus s = numTriangles(n);
  if (!s)
    return s;
  MPointArray p;
  MIntArray v;
  points.clear();
  vertexList.clear();
  for (int t = 0; t < n; ++t) {
    getTriangle(t, p, v, space);
    for (unsigned c = 0; c < 3; ++c) {
      points.append(p[c]);
      vertexList.append(v[c]);
    }
  }
  return MS::kSuccess;
}
unsigned int MItMeshPolygon::normalIndex(int localVertexIndex, MStatus* ReturnStatus) {
  PolygonWalk& w = walk(_state);
  if (!in_face(w, localVertexIndex)) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return 0;
  }
  set_status(ReturnStatus, MS::kSuccess);
  return unsigned(w.mesh->normal_ids[size_t(w.offset() + localVertexIndex)]);
}
unsigned int MItMeshPolygon::tangentIndex(int localVertexIndex, MStatus* ReturnStatus) {
  PolygonWalk& w = walk(_state);
  // The current UV set's tangent space, as Maya uses.
  int set = uv_set_index(*w.mesh, nullptr);
  if (!in_face(w, localVertexIndex) || set < 0 || !w.mesh->has_tangent_space) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return 0;
  }
  set_status(ReturnStatus, MS::kSuccess);
  return unsigned(w.mesh->tangent_space(set).ids[size_t(w.offset() + localVertexIndex)]);
}
bool MItMeshPolygon::hasUVs(MStatus* ReturnStatus) const {
  PolygonWalk& w = walk(_state);
  set_status(ReturnStatus, MS::kSuccess);
  const UvSet* s = find_uv_set(*w.mesh, nullptr);
  if (!s || w.at >= w.faces.size())
    return false;
  for (size_t i = 0; i < w.vertices().size(); ++i)
    if (s->face_vertex_ids[size_t(w.offset()) + i] < 0)
      return false;
  return true;
}
bool MItMeshPolygon::hasUVs(const MString& uvSet, MStatus* ReturnStatus) const {
  PolygonWalk& w = walk(_state);
  const UvSet* s = find_uv_set(*w.mesh, &uvSet);
  set_status(ReturnStatus, s ? MS::kSuccess : MS::kInvalidParameter);
  if (!s || w.at >= w.faces.size())
    return false;
  for (size_t i = 0; i < w.vertices().size(); ++i)
    if (s->face_vertex_ids[size_t(w.offset()) + i] < 0)
      return false;
  return true;
}
MStatus MItMeshPolygon::getUVIndex(int localVertex, int& index, const MString* uvSet) {
  PolygonWalk& w = walk(_state);
  const UvSet* s = find_uv_set(*w.mesh, uvSet);
  if (!s || should_fail("MItMeshPolygon::getUVIndex"))
    return MS::kFailure;
  if (!in_face(w, localVertex))
    return MS::kInvalidParameter;
  int id = s->face_vertex_ids[size_t(w.offset() + localVertex)];
  if (id < 0)
    return MS::kInvalidParameter; // this corner is not mapped in the set
  index = id;
  return MS::kSuccess;
}
MStatus MItMeshPolygon::getUVIndex(int localVertex, int& index, float& u, float& v, const MString* uvSet) {
  MStatus s = getUVIndex(localVertex, index, uvSet);
  if (s) {
    const UvSet* set = find_uv_set(*walk(_state).mesh, uvSet);
    u = set->u[size_t(index)];
    v = set->v[size_t(index)];
  }
  return s;
}
bool MItMeshPolygon::hasColor(MStatus* ReturnStatus) const {
  PolygonWalk& w = walk(_state);
  set_status(ReturnStatus, MS::kSuccess);
  const ColorSet* s = find_color_set(*w.mesh, nullptr);
  if (!s || w.at >= w.faces.size())
    return false;
  for (size_t i = 0; i < w.vertices().size(); ++i)
    if (s->face_vertex_ids[size_t(w.offset()) + i] >= 0)
      return true;
  return false;
}
MStatus MItMeshPolygon::getColorIndex(int localVertexIndex, int& colorIndex, const MString* colorSetName) {
  PolygonWalk& w = walk(_state);
  const ColorSet* s = find_color_set(*w.mesh, colorSetName);
  if (should_fail("MItMeshPolygon::getColorIndex"))
    return MS::kFailure;
  if (!s || !in_face(w, localVertexIndex))
    return MS::kInvalidParameter;
  colorIndex = s->face_vertex_ids[size_t(w.offset() + localVertexIndex)];
  return MS::kSuccess;
}
