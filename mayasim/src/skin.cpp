// Plugs and matrix data, deformers and skin clusters, the geometry iterator.
#include "scene.h"

#include <maya/MDagPath.h>
#include <maya/MFnGeometryFilter.h>
#include <maya/MFnMatrixData.h>
#include <maya/MFnSkinCluster.h>
#include <maya/MItGeometry.h>
#include <maya/MPlug.h>
#include <maya/MPlugArray.h>

#include <ostream>

using namespace mayasim;

namespace {
template <typename T>
void set_status(MStatus* status, T code) {
  if (status)
    *status = code;
}
} // namespace

// ---------------------------------------------------------------------------
// MPlug

MPlug::MPlug() : _index(-1) {}
MPlug::MPlug(const MPlug& other) : _node(other._node), _attribute(other._attribute), _index(other._index) {}
MPlug::MPlug(const MObject& node, const MObject&) : _node(node), _index(-1) {}
MPlug::MPlug(const MObject& node, const char* attribute, int logicalIndex)
    : _node(node), _attribute(attribute), _index(logicalIndex) {}
MPlug::~MPlug() {}
MPlug& MPlug::operator=(const MPlug& other) {
  _node = other._node;
  _attribute = other._attribute;
  _index = other._index;
  return *this;
}
bool MPlug::operator==(const MPlug& other) const {
  return _node == other._node && _attribute == other._attribute && _index == other._index;
}
bool MPlug::operator!=(const MPlug& other) const { return !(*this == other); }

namespace {
PlugRef ref_of(const MObject& node, const MString& attribute, int index) {
  return PlugRef{node_of(node), attribute.asChar(), index};
}
MPlug plug_of(const PlugRef& r) { return MPlug(MObject(r.node), r.attribute.c_str(), r.index); }
} // namespace

bool MPlug::isNull(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return _node.isNull() || _attribute.length() == 0;
}
MObject MPlug::node(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, isNull() ? MS::kFailure : MS::kSuccess);
  return _node;
}
MString MPlug::name(MStatus* ReturnStatus) const {
  Node* n = node_of(_node);
  set_status(ReturnStatus, n ? MS::kSuccess : MS::kFailure);
  if (!n)
    return MString();
  std::string s = n->name + "." + _attribute.asChar();
  if (_index >= 0)
    s += "[" + std::to_string(_index) + "]";
  return MString(s.c_str());
}
MString MPlug::partialName(bool includeNodeName, bool, bool, bool, bool, bool, MStatus* ReturnStatus) const {
  MString full = name(ReturnStatus);
  if (includeNodeName)
    return full;
  std::string s = _attribute.asChar();
  if (_index >= 0)
    s += "[" + std::to_string(_index) + "]";
  return MString(s.c_str());
}
bool MPlug::isArray(MStatus* ReturnStatus) const {
  Node* n = node_of(_node);
  set_status(ReturnStatus, n ? MS::kSuccess : MS::kFailure);
  if (!n || _index >= 0)
    return false;
  std::string a = _attribute.asChar();
  return a == "bindPreMatrix" || a == "matrix" ||
         (n->matrices.count(a) && !n->matrices.at(a).empty() && n->matrices.at(a).begin()->first >= 0);
}
bool MPlug::isElement(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return _index >= 0;
}
unsigned int MPlug::logicalIndex(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, _index >= 0 ? MS::kSuccess : MS::kFailure);
  return _index >= 0 ? unsigned(_index) : 0;
}
unsigned int MPlug::numElements(MStatus* ReturnStatus) const {
  Node* n = node_of(_node);
  set_status(ReturnStatus, n ? MS::kSuccess : MS::kFailure);
  if (!n || !n->matrices.count(_attribute.asChar()))
    return 0;
  unsigned count = 0;
  for (const auto& kv : n->matrices.at(_attribute.asChar()))
    if (kv.first >= 0)
      ++count;
  return count;
}
MPlug MPlug::elementByLogicalIndex(unsigned int logicalIndex, MStatus* ReturnStatus) const {
  set_status(ReturnStatus, isNull() ? MS::kFailure : MS::kSuccess);
  return MPlug(_node, _attribute.asChar(), int(logicalIndex));
}
MPlug MPlug::elementByPhysicalIndex(unsigned int physicalIndex, MStatus* ReturnStatus) const {
  Node* n = node_of(_node);
  if (n && n->matrices.count(_attribute.asChar())) {
    unsigned i = 0;
    for (const auto& kv : n->matrices.at(_attribute.asChar())) {
      if (kv.first < 0)
        continue;
      if (i++ == physicalIndex) {
        set_status(ReturnStatus, MS::kSuccess);
        return MPlug(_node, _attribute.asChar(), kv.first);
      }
    }
  }
  set_status(ReturnStatus, MS::kInvalidParameter);
  return MPlug();
}
MPlug MPlug::array(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, _index >= 0 ? MS::kSuccess : MS::kFailure);
  return MPlug(_node, _attribute.asChar(), -1);
}
bool MPlug::connectedTo(MPlugArray& array, bool asDst, bool asSrc, MStatus* ReturnStatus) const {
  set_status(ReturnStatus, isNull() || should_fail("MPlug::connectedTo") ? MS::kFailure : MS::kSuccess);
  array.clear();
  PlugRef me = ref_of(_node, _attribute, _index);
  bool connected = false;
  for (const Connection& c : scene().connections) {
    // Only connections in the asked directions count.
    if (asDst && c.destination == me) {
      connected = true;
      array.append(plug_of(c.source));
    }
    if (asSrc && c.source == me) {
      connected = true;
      array.append(plug_of(c.destination));
    }
  }
  return connected;
}
bool MPlug::isConnected(MStatus* ReturnStatus) const {
  MPlugArray unused;
  return connectedTo(unused, true, true, ReturnStatus);
}
MStatus MPlug::getValue(bool& value, MDGContext&) const {
  Node* n = node_of(_node);
  if (!n || !n->bools.count(_attribute.asChar()))
    return MS::kInvalidParameter;
  value = n->bools.at(_attribute.asChar());
  return MS::kSuccess;
}
MStatus MPlug::getValue(MObject& value, MDGContext&) const {
  Node* n = node_of(_node);
  if (!n)
    return MS::kInvalidParameter;
  std::string a = _attribute.asChar();
  auto it = n->matrices.find(a);
  bool matrix_attribute = it != n->matrices.end() || a == "bindPreMatrix" || a == "matrix" || a == "geomMatrix";
  if (!matrix_attribute)
    return MS::kInvalidParameter;
  MatrixData* data = new MatrixData;
  if (it != n->matrices.end() && it->second.count(_index))
    data->matrix = it->second.at(_index); // a missing element reads as the identity
  value = MObject(data);
  return MS::kSuccess;
}
MStatus MPlug::getValue(double& value, MDGContext& ctx) const {
  bool b = false;
  MStatus s = getValue(b, ctx);
  if (s)
    value = b ? 1.0 : 0.0;
  return s;
}
MStatus MPlug::getValue(float& value, MDGContext& ctx) const {
  double d = 0;
  MStatus s = getValue(d, ctx);
  if (s)
    value = float(d);
  return s;
}
MStatus MPlug::getValue(int& value, MDGContext& ctx) const {
  double d = 0;
  MStatus s = getValue(d, ctx);
  if (s)
    value = int(d);
  return s;
}
MStatus MPlug::getValue(MString& value, MDGContext&) const {
  value = MString();
  return MS::kInvalidParameter;
}
bool MPlug::asBool(MDGContext& ctx, MStatus* ReturnStatus) const {
  bool b = false;
  set_status(ReturnStatus, getValue(b, ctx));
  return b;
}
MObject MPlug::asMObject(MDGContext& ctx, MStatus* ReturnStatus) const {
  MObject o;
  set_status(ReturnStatus, getValue(o, ctx));
  return o;
}
double MPlug::asDouble(MDGContext& ctx, MStatus* ReturnStatus) const {
  double d = 0;
  set_status(ReturnStatus, getValue(d, ctx));
  return d;
}
int MPlug::asInt(MDGContext& ctx, MStatus* ReturnStatus) const {
  int i = 0;
  set_status(ReturnStatus, getValue(i, ctx));
  return i;
}
MString MPlug::asString(MDGContext& ctx, MStatus* ReturnStatus) const {
  MString s;
  set_status(ReturnStatus, getValue(s, ctx));
  return s;
}
void print_element(std::ostream& os, const MPlug& plug) { os << plug.name(); }

// ---------------------------------------------------------------------------
// MFnMatrixData

namespace {
MatrixData* matrix_data_of(const MObject& o) { return dynamic_cast<MatrixData*>(static_cast<ApiObject*>(o.internal())); }
} // namespace

MFnMatrixData::MFnMatrixData() {}
MFnMatrixData::MFnMatrixData(MObject& object, MStatus* ReturnStatus)
    : MFnMatrixData(static_cast<const MObject&>(object), ReturnStatus) {}
MFnMatrixData::MFnMatrixData(const MObject& object, MStatus* ReturnStatus) {
  if (!matrix_data_of(object)) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return;
  }
  _object = object;
  set_status(ReturnStatus, MS::kSuccess);
}
MFnMatrixData::~MFnMatrixData() {}
MFn::Type MFnMatrixData::type() const { return MFn::kMatrixData; }
const MMatrix& MFnMatrixData::matrix(MStatus* ReturnStatus) const {
  MatrixData* d = matrix_data_of(_object);
  set_status(ReturnStatus, d ? MS::kSuccess : MS::kFailure);
  return d ? d->matrix : MMatrix::identity;
}
bool MFnMatrixData::isTransformation(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, matrix_data_of(_object) ? MS::kSuccess : MS::kFailure);
  return false;
}
MStatus MFnMatrixData::set(const MMatrix& matrix) {
  MatrixData* d = matrix_data_of(_object);
  if (!d)
    return MS::kFailure;
  d->matrix = matrix;
  return MS::kSuccess;
}
MObject MFnMatrixData::create(const MMatrix& matrix, MStatus* ReturnStatus) {
  MatrixData* d = new MatrixData;
  d->matrix = matrix;
  _object = MObject(d);
  set_status(ReturnStatus, MS::kSuccess);
  return _object;
}

// ---------------------------------------------------------------------------
// MFnGeometryFilter and MFnSkinCluster

namespace {
SkinData* skin_of(const MObject& o) {
  Node* n = node_of(o);
  return n && n->skin ? n->skin.get() : nullptr;
}
const SkinData::Geometry* geometry_at(const SkinData* s, unsigned int plugIndex) {
  if (!s)
    return nullptr;
  for (const SkinData::Geometry& g : s->geometries)
    if (g.logical_index == plugIndex)
      return &g;
  return nullptr;
}
} // namespace

MFnGeometryFilter::MFnGeometryFilter() {}
MFnGeometryFilter::MFnGeometryFilter(MObject& object, MStatus* ReturnStatus)
    : MFnGeometryFilter(static_cast<const MObject&>(object), ReturnStatus) {}
MFnGeometryFilter::MFnGeometryFilter(const MObject& object, MStatus* ReturnStatus) {
  Node* n = node_of(object);
  if (!n || !n->has_fn(MFn::kGeometryFilt)) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return;
  }
  _object = object;
  set_status(ReturnStatus, MS::kSuccess);
}
MFnGeometryFilter::~MFnGeometryFilter() {}
MFn::Type MFnGeometryFilter::type() const { return MFn::kGeometryFilt; }
unsigned int MFnGeometryFilter::numOutputConnections(MStatus* ReturnStatus) const {
  SkinData* s = skin_of(_object);
  set_status(ReturnStatus, s ? MS::kSuccess : MS::kFailure);
  return s ? unsigned(s->geometries.size()) : 0;
}
unsigned int MFnGeometryFilter::indexForOutputConnection(unsigned int connectionIndex, MStatus* ReturnStatus) const {
  SkinData* s = skin_of(_object);
  if (!s || connectionIndex >= s->geometries.size()) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return 0;
  }
  set_status(ReturnStatus, MS::kSuccess);
  return s->geometries[connectionIndex].logical_index;
}
MObject MFnGeometryFilter::outputShapeAtIndex(unsigned int plugIndex, MStatus* ReturnStatus) const {
  const SkinData::Geometry* g = geometry_at(skin_of(_object), plugIndex);
  set_status(ReturnStatus, g ? MS::kSuccess : MS::kInvalidParameter);
  return g ? MObject(g->output_shape) : MObject();
}
MObject MFnGeometryFilter::inputShapeAtIndex(unsigned int plugIndex, MStatus* ReturnStatus) const {
  const SkinData::Geometry* g = geometry_at(skin_of(_object), plugIndex);
  set_status(ReturnStatus, g ? MS::kSuccess : MS::kInvalidParameter);
  return g ? MObject(g->input_shape) : MObject();
}
MStatus MFnGeometryFilter::getPathAtIndex(unsigned int plugIndex, MDagPath& path) const {
  const SkinData::Geometry* g = geometry_at(skin_of(_object), plugIndex);
  if (!g)
    return MS::kInvalidParameter;
  path_of(path.internal()) = first_path_to(g->output_shape);
  return MS::kSuccess;
}
unsigned int MFnGeometryFilter::indexForOutputShape(const MObject& shape, MStatus* ReturnStatus) const {
  SkinData* s = skin_of(_object);
  Node* n = node_of(shape);
  if (s)
    for (const SkinData::Geometry& g : s->geometries)
      if (g.output_shape == n) {
        set_status(ReturnStatus, MS::kSuccess);
        return g.logical_index;
      }
  set_status(ReturnStatus, MS::kInvalidParameter);
  return 0;
}

MFnSkinCluster::MFnSkinCluster() {}
MFnSkinCluster::MFnSkinCluster(MObject& object, MStatus* ReturnStatus)
    : MFnSkinCluster(static_cast<const MObject&>(object), ReturnStatus) {}
MFnSkinCluster::MFnSkinCluster(const MObject& object, MStatus* ReturnStatus) {
  Node* n = node_of(object);
  if (!n || n->type != MFn::kSkinClusterFilter || !n->skin || should_fail("MFnSkinCluster::MFnSkinCluster")) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return;
  }
  _object = object;
  set_status(ReturnStatus, MS::kSuccess);
}
MFnSkinCluster::~MFnSkinCluster() {}
MFn::Type MFnSkinCluster::type() const { return MFn::kSkinClusterFilter; }
unsigned int MFnSkinCluster::influenceObjects(MDagPathArray& paths, MStatus* ReturnStatus) const {
  SkinData* s = skin_of(_object);
  paths.clear();
  if (!s || should_fail("MFnSkinCluster::influenceObjects")) {
    set_status(ReturnStatus, MS::kFailure);
    return 0;
  }
  for (const SkinData::Influence& i : s->influences) {
    MDagPath p;
    path_of(p.internal()) = first_path_to(i.joint);
    paths.append(p);
  }
  set_status(ReturnStatus, MS::kSuccess);
  return paths.length();
}
unsigned int MFnSkinCluster::indexForInfluenceObject(const MDagPath& influence, MStatus* ReturnStatus) const {
  SkinData* s = skin_of(_object);
  const Path& p = path_of(influence.internal());
  if (s && !p.empty() && !should_fail("MFnSkinCluster::indexForInfluenceObject")) {
    // A lookup per influence: by joint, not by a walk of the list.
    if (s->positions_made_for != s->influences.size()) {
      s->position_of_joint.clear();
      for (size_t i = s->influences.size(); i-- > 0;)
        s->position_of_joint[s->influences[i].joint] = i; // the first of a joint listed twice
      s->positions_made_for = s->influences.size();
    }
    auto found = s->position_of_joint.find(p.back());
    if (found != s->position_of_joint.end()) {
      set_status(ReturnStatus, MS::kSuccess);
      return s->influences[found->second].logical_index;
    }
  }
  set_status(ReturnStatus, MS::kInvalidParameter);
  return 0;
}

namespace {
// The vertices a weights query names: the component's indices, or every
// vertex for a null component. Null when the path's shape is not deformed
// by this skin cluster.
// Maya asks for the deformed shape's own path: a transform's path, or a
// shape this skin cluster does not deform, is refused.
bool weight_vertices(const SkinData* s, const MDagPath& path, const MObject& components, std::vector<int>& out) {
  const Path& p = path_of(path.internal());
  Node* shape = p.empty() ? nullptr : p.back();
  if (!shape || shape->is_transform())
    return false;
  bool ours = false;
  for (const SkinData::Geometry& g : s->geometries)
    ours = ours || g.output_shape == shape;
  if (!ours)
    return false;
  out.clear();
  Component* c = dynamic_cast<Component*>(static_cast<ApiObject*>(components.internal()));
  if (c) {
    out = c->indices;
  } else {
    for (size_t v = 0; v < s->weights.size(); ++v)
      out.push_back(int(v));
  }
  for (int v : out)
    if (v < 0 || size_t(v) >= s->weights.size())
      return false;
  return true;
}
} // namespace

MStatus MFnSkinCluster::getWeights(const MDagPath& path, const MObject& components, MDoubleArray& weights,
                                   unsigned int& influenceCount) const {
  SkinData* s = skin_of(_object);
  std::vector<int> vertices;
  if (!s)
    return MS::kFailure;
  if (!weight_vertices(s, path, components, vertices))
    return MS::kInvalidParameter;
  influenceCount = unsigned(s->influences.size());
  weights.setLength(unsigned(vertices.size() * s->influences.size()));
  for (unsigned i = 0; i < weights.length(); ++i)
    weights[i] = 0.0;
  for (size_t k = 0; k < vertices.size(); ++k)
    for (const SkinData::Weight& w : s->weights[size_t(vertices[k])])
      if (w.influence < influenceCount)
        weights[unsigned(k * influenceCount + w.influence)] = w.value;
  return MS::kSuccess;
}
MStatus MFnSkinCluster::getWeights(const MDagPath& path, const MObject& components, unsigned int influenceIndex,
                                   MDoubleArray& weights) const {
  SkinData* s = skin_of(_object);
  std::vector<int> vertices;
  if (!s)
    return MS::kFailure;
  if (influenceIndex >= s->influences.size() || !weight_vertices(s, path, components, vertices))
    return MS::kInvalidParameter;
  weights.clear();
  for (int v : vertices) {
    double value = 0.0;
    for (const SkinData::Weight& w : s->weights[size_t(v)])
      if (w.influence == influenceIndex)
        value = w.value;
    weights.append(value);
  }
  return MS::kSuccess;
}

// ---------------------------------------------------------------------------
// MItGeometry

namespace {
struct GeometryWalk {
  Node* shape = nullptr;
  std::vector<int> vertices;
  size_t at = 0;
};
GeometryWalk& gwalk(void* p) { return *static_cast<GeometryWalk*>(p); }

MStatus start_geometry(void* state, Node* shape, const MObject* component) {
  GeometryWalk& w = gwalk(state);
  if (shape && shape->is_transform())
    shape = sole_shape_below(shape);
  if (!shape || !shape->mesh)
    return MS::kInvalidParameter;
  w.shape = shape;
  w.at = 0;
  w.vertices.clear();
  Component* c = component ? dynamic_cast<Component*>(static_cast<ApiObject*>(component->internal())) : nullptr;
  if (c) {
    w.vertices = c->indices;
  } else {
    for (size_t v = 0; v < shape->mesh->points.size(); ++v)
      w.vertices.push_back(int(v));
  }
  return MS::kSuccess;
}
} // namespace

MItGeometry::MItGeometry(const MDagPath& dagPath, MStatus* ReturnStatus) : _state(new GeometryWalk) {
  const Path& p = path_of(dagPath.internal());
  set_status(ReturnStatus, start_geometry(_state, p.empty() ? nullptr : p.back(), nullptr));
}
MItGeometry::MItGeometry(const MDagPath& dagPath, MObject& component, MStatus* ReturnStatus) : _state(new GeometryWalk) {
  const Path& p = path_of(dagPath.internal());
  set_status(ReturnStatus, start_geometry(_state, p.empty() ? nullptr : p.back(), &component));
}
MItGeometry::MItGeometry(MObject& dagObject, MStatus* ReturnStatus) : _state(new GeometryWalk) {
  set_status(ReturnStatus, start_geometry(_state, node_of(dagObject), nullptr));
}
MItGeometry::~MItGeometry() { delete &gwalk(_state); }
bool MItGeometry::isDone(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return gwalk(_state).at >= gwalk(_state).vertices.size();
}
MStatus MItGeometry::next() {
  GeometryWalk& w = gwalk(_state);
  if (w.at < w.vertices.size())
    ++w.at;
  return MS::kSuccess;
}
MStatus MItGeometry::reset() {
  gwalk(_state).at = 0;
  return MS::kSuccess;
}
int MItGeometry::index(MStatus* ReturnStatus) const {
  const GeometryWalk& w = gwalk(_state);
  set_status(ReturnStatus, w.at < w.vertices.size() ? MS::kSuccess : MS::kFailure);
  return w.at < w.vertices.size() ? w.vertices[w.at] : -1;
}
MObject MItGeometry::currentItem(MStatus* ReturnStatus) const {
  const GeometryWalk& w = gwalk(_state);
  if (w.at >= w.vertices.size()) {
    set_status(ReturnStatus, MS::kFailure);
    return MObject();
  }
  Component* c = new Component;
  c->indices.push_back(w.vertices[w.at]);
  set_status(ReturnStatus, MS::kSuccess);
  return MObject(c);
}
MObject MItGeometry::component(MStatus* ReturnStatus) const { return currentItem(ReturnStatus); }
MPoint MItGeometry::position(MSpace::Space, MStatus* ReturnStatus) const {
  const GeometryWalk& w = gwalk(_state);
  if (w.at >= w.vertices.size()) {
    set_status(ReturnStatus, MS::kFailure);
    return MPoint();
  }
  set_status(ReturnStatus, MS::kSuccess);
  return w.shape->mesh->points[size_t(w.vertices[w.at])];
}
int MItGeometry::count(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return int(gwalk(_state).vertices.size());
}
