// Paths, the dependency-node and DAG function sets, DAG and node iterators,
// selection lists.
#include "scene.h"

#include <maya/MDagPath.h>
#include <maya/MDagPathArray.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MItDag.h>
#include <maya/MItDependencyNodes.h>
#include <maya/MSelectionList.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <ostream>

using namespace mayasim;

namespace mayasim {

Path& path_of(void* internal) { return *static_cast<Path*>(internal); }

Node* node_of(const MObject& object) {
  ApiObject* o = static_cast<ApiObject*>(object.internal());
  return o ? o->as_node() : nullptr;
}

} // namespace mayasim

namespace {

template <typename T>
void set_status(MStatus* status, T code) {
  if (status)
    *status = code;
}

Node* path_node(const Path& p) { return p.empty() ? scene().world : p.back(); }

} // namespace

// ---------------------------------------------------------------------------
// MDagPath

MDagPath::MDagPath() : _nodes(new Path()) {}
MDagPath::MDagPath(const MDagPath& other) : _nodes(new Path(path_of(other._nodes))) {}
MDagPath::~MDagPath() { delete &path_of(_nodes); }
MDagPath& MDagPath::operator=(const MDagPath& other) {
  path_of(_nodes) = path_of(other._nodes);
  return *this;
}
bool MDagPath::operator==(const MDagPath& other) const { return path_of(_nodes) == path_of(other._nodes); }
MStatus MDagPath::set(const MDagPath& other) {
  *this = other;
  return MS::kSuccess;
}
bool MDagPath::hasFn(MFn::Type type, MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return path_has_fn(path_of(_nodes), type);
}
MFn::Type MDagPath::apiType(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return path_node(path_of(_nodes))->type;
}
bool MDagPath::isValid(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  for (Node* n : path_of(_nodes))
    if (!n)
      return false;
  return true;
}
MObject MDagPath::node(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return MObject(path_node(path_of(_nodes)));
}
MObject MDagPath::transform(MStatus* ReturnStatus) const {
  const Path& p = path_of(_nodes);
  for (auto it = p.rbegin(); it != p.rend(); ++it) {
    if ((*it)->is_transform()) {
      set_status(ReturnStatus, MS::kSuccess);
      return MObject(*it);
    }
  }
  set_status(ReturnStatus, MS::kInvalidParameter);
  return MObject();
}
unsigned int MDagPath::length(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return unsigned(path_of(_nodes).size());
}
MStatus MDagPath::extendToShape() {
  Path& p = path_of(_nodes);
  Node* n = path_node(p);
  if (!n->is_transform())
    return n->dag ? MS::kSuccess : MS::kFailure;
  int shapes = 0;
  Node* shape = nullptr;
  for (Node* c : n->children) {
    if (!c->is_transform() && !c->is_intermediate) {
      ++shapes;
      shape = c;
    }
  }
  if (shapes != 1)
    return MS::kFailure;
  p.push_back(shape);
  return MS::kSuccess;
}
MStatus MDagPath::extendToShapeDirectlyBelow(unsigned int index) {
  Path& p = path_of(_nodes);
  Node* n = path_node(p);
  unsigned found = 0;
  for (Node* c : n->children) {
    if (!c->is_transform()) {
      if (found == index) {
        p.push_back(c);
        return MS::kSuccess;
      }
      ++found;
    }
  }
  return MS::kInvalidParameter;
}
MStatus MDagPath::push(const MObject& child) {
  Node* c = node_of(child);
  Node* n = path_node(path_of(_nodes));
  if (!c || std::find(n->children.begin(), n->children.end(), c) == n->children.end())
    return MS::kInvalidParameter;
  path_of(_nodes).push_back(c);
  return MS::kSuccess;
}
MStatus MDagPath::pop(unsigned int num) {
  Path& p = path_of(_nodes);
  if (num > p.size())
    return MS::kInvalidParameter;
  p.resize(p.size() - num);
  return MS::kSuccess;
}
unsigned int MDagPath::childCount(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return unsigned(path_node(path_of(_nodes))->children.size());
}
MObject MDagPath::child(unsigned int i, MStatus* ReturnStatus) const {
  Node* n = path_node(path_of(_nodes));
  if (i >= n->children.size()) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return MObject();
  }
  set_status(ReturnStatus, MS::kSuccess);
  return MObject(n->children[i]);
}
MMatrix MDagPath::inclusiveMatrix(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  MMatrix m;
  for (Node* n : path_of(_nodes)) {
    scene().evaluate_for_read(n);
    m = n->local_matrix(scene().current_time) * m;
  }
  return m;
}
MMatrix MDagPath::exclusiveMatrix(MStatus* ReturnStatus) const {
  MDagPath parent(*this);
  parent.pop(1);
  return parent.inclusiveMatrix(ReturnStatus);
}
MStatus MDagPath::getPath(MDagPath& path, unsigned int i) const {
  if (i != 0)
    return MS::kInvalidParameter;
  path = *this;
  return MS::kSuccess;
}
MString MDagPath::fullPathName(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return MString(full_path_name(path_of(_nodes)).c_str());
}
MString MDagPath::partialPathName(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  const Path& p = path_of(_nodes);
  if (p.empty())
    return MString();
  int same = 0;
  for (Node* n : scene().nodes)
    if (n->name == p.back()->name)
      ++same;
  return same == 1 ? MString(p.back()->name.c_str()) : fullPathName();
}
unsigned int MDagPath::instanceNumber(MStatus* ReturnStatus) const {
  const Path& p = path_of(_nodes);
  if (p.empty()) {
    set_status(ReturnStatus, MS::kSuccess);
    return 0;
  }
  // The position of this path among all paths to its node: instancing an
  // ancestor makes instances of everything below it too.
  std::vector<Path> all = all_paths_to(p.back());
  for (unsigned i = 0; i < all.size(); ++i)
    if (all[i] == p) {
      set_status(ReturnStatus, MS::kSuccess);
      return i;
    }
  set_status(ReturnStatus, MS::kInvalidParameter);
  return 0;
}
MStatus MDagPath::getAPathTo(const MObject& node, MDagPath& path) {
  Node* n = node_of(node);
  if (!n || !n->dag)
    return MS::kInvalidParameter;
  path_of(path._nodes) = first_path_to(n);
  return MS::kSuccess;
}
MDagPath MDagPath::getAPathTo(const MObject& node, MStatus* ReturnStatus) {
  MDagPath p;
  MStatus s = getAPathTo(node, p);
  set_status(ReturnStatus, s);
  return p;
}
MStatus MDagPath::getAllPathsTo(const MObject& node, MDagPathArray& paths) {
  Node* n = node_of(node);
  if (!n || !n->dag)
    return MS::kInvalidParameter;
  paths.clear();
  for (const Path& r : all_paths_to(n)) {
    MDagPath p;
    path_of(p._nodes) = r;
    paths.append(p);
  }
  return MS::kSuccess;
}
void print_element(std::ostream& os, const MDagPath& path) { os << path.fullPathName(); }

// ---------------------------------------------------------------------------
// MFnBase, MFnDependencyNode, MFnDagNode

MFnBase::MFnBase() : _path(nullptr) {}
MFnBase::~MFnBase() { delete static_cast<Path*>(_path); }
MFn::Type MFnBase::type() const { return MFn::kBase; }
bool MFnBase::hasObj(MFn::Type t) const { return _object.hasFn(t); }
bool MFnBase::hasObj(const MObject& object) const { return object.hasFn(type()); }
MObject MFnBase::object(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, _object.isNull() ? MS::kFailure : MS::kSuccess);
  return _object;
}
MStatus MFnBase::setObject(MObject& object) { return setObject(static_cast<const MObject&>(object)); }
MStatus MFnBase::setObject(const MObject& object) {
  _object = object;
  delete static_cast<Path*>(_path);
  _path = nullptr;
  return MS::kSuccess;
}

namespace {
// Attaches a function set to a node if it is of a compatible kind.
MStatus attach(MObject& target, void*& path, const MObject& object, MFn::Type required) {
  delete static_cast<Path*>(path);
  path = nullptr;
  Node* n = node_of(object);
  // The name is made only when a test asks calls to fail: every function
  // set attached comes here.
  if (!n || !n->has_fn(required) || (!scene().failing_calls.empty() && should_fail("attach " + n->name))) {
    target = MObject();
    return MS::kInvalidParameter;
  }
  target = object;
  return MS::kSuccess;
}
} // namespace

MFnDependencyNode::MFnDependencyNode() {}
MFnDependencyNode::MFnDependencyNode(MObject& object, MStatus* ReturnStatus) {
  set_status(ReturnStatus, attach(_object, _path, object, MFn::kDependencyNode));
}
MFnDependencyNode::MFnDependencyNode(const MObject& object, MStatus* ReturnStatus) {
  set_status(ReturnStatus, attach(_object, _path, object, MFn::kDependencyNode));
}
MFnDependencyNode::~MFnDependencyNode() {}
MFn::Type MFnDependencyNode::type() const { return MFn::kDependencyNode; }

namespace {
Node* attached(const MObject& object, MStatus* ReturnStatus) {
  Node* n = node_of(object);
  set_status(ReturnStatus, n ? MS::kSuccess : MS::kFailure);
  return n;
}

bool node_has_attribute(Node* n, const std::string& name) {
  if (n->bools.count(name) || n->matrices.count(name))
    return true;
  for (const Connection& c : scene().connections)
    if ((c.source.node == n && c.source.attribute == name) || (c.destination.node == n && c.destination.attribute == name))
      return true;
  switch (n->type) {
  case MFn::kShadingEngine:
    return name == "surfaceShader" || name == "displacementShader" || name == "dagSetMembers";
  case MFn::kLambert:
    return name == "outColor" || name == "color";
  case MFn::kSkinClusterFilter:
    return name == "geomMatrix" || name == "bindPreMatrix" || name == "matrix";
  default:
    return false;
  }
}
} // namespace

MString MFnDependencyNode::name(MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n ? MString(n->name.c_str()) : MString();
}
MString MFnDependencyNode::typeName(MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n ? MString(n->type_name.c_str()) : MString();
}
MString MFnDependencyNode::setName(const MString& name, bool, MStatus* ReturnStatus) {
  Node* n = attached(_object, ReturnStatus);
  if (n)
    n->name = name.asChar();
  return name;
}
MPlug MFnDependencyNode::findPlug(const MString& attrName, bool, MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  if (!n)
    return MPlug();
  if (!node_has_attribute(n, attrName.asChar()) ||
      should_fail(std::string("MFnDependencyNode::findPlug ") + attrName.asChar())) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return MPlug();
  }
  return MPlug(_object, attrName.asChar(), -1);
}
MPlug MFnDependencyNode::findPlug(const MObject&, bool, MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kNotImplemented);
  return MPlug();
}
MPlug MFnDependencyNode::findPlug(const MString& attrName, MStatus* ReturnStatus) const {
  return findPlug(attrName, false, ReturnStatus);
}
MPlug MFnDependencyNode::findPlug(const MObject& attr, MStatus* ReturnStatus) const {
  return findPlug(attr, false, ReturnStatus);
}
bool MFnDependencyNode::hasAttribute(const MString& name, MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n && node_has_attribute(n, name.asChar());
}
bool MFnDependencyNode::isDefaultNode(MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n && n->is_default;
}
bool MFnDependencyNode::isShared(MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n && n->is_shared;
}

MFnDagNode::MFnDagNode() {}
MFnDagNode::MFnDagNode(MObject& object, MStatus* ret) { set_status(ret, setObject(object)); }
MFnDagNode::MFnDagNode(const MObject& object, MStatus* ret) { set_status(ret, setObject(object)); }
MFnDagNode::MFnDagNode(const MDagPath& path, MStatus* ret) { set_status(ret, setObject(path)); }
MFnDagNode::~MFnDagNode() {}
MFn::Type MFnDagNode::type() const { return MFn::kDagNode; }

MStatus MFnDagNode::setObject(const MDagPath& path) {
  MStatus s = attach(_object, _path, path.node(), MFn::kDagNode);
  if (s)
    _path = new Path(path_of(path.internal()));
  return s;
}
MStatus MFnDagNode::setObject(MObject& object) { return setObject(static_cast<const MObject&>(object)); }
MStatus MFnDagNode::setObject(const MObject& object) { return attach(_object, _path, object, MFn::kDagNode); }

unsigned int MFnDagNode::parentCount(MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n ? unsigned(n->parents.size()) : 0;
}
MObject MFnDagNode::parent(unsigned int i, MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  if (!n || i >= n->parents.size()) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return MObject();
  }
  return MObject(n->parents[i]);
}
unsigned int MFnDagNode::childCount(MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n ? unsigned(n->children.size()) : 0;
}
MObject MFnDagNode::child(unsigned int i, MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  if (!n || i >= n->children.size()) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return MObject();
  }
  return MObject(n->children[i]);
}
MMatrix MFnDagNode::transformationMatrix(MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  if (!n)
    return MMatrix();
  scene().evaluate_for_read(n);
  return n->local_matrix(scene().current_time);
}
bool MFnDagNode::isIntermediateObject(MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n && n->is_intermediate;
}
MStatus MFnDagNode::getPath(MDagPath& path) const {
  if (_path) {
    path_of(path.internal()) = *static_cast<Path*>(_path);
    return MS::kSuccess;
  }
  Node* n = node_of(_object);
  if (!n)
    return MS::kFailure;
  path_of(path.internal()) = first_path_to(n);
  return MS::kSuccess;
}
MDagPath MFnDagNode::dagPath(MStatus* ReturnStatus) const {
  MDagPath p;
  if (!_path) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return p;
  }
  set_status(ReturnStatus, MS::kSuccess);
  path_of(p.internal()) = *static_cast<Path*>(_path);
  return p;
}
MString MFnDagNode::fullPathName(MStatus* ReturnStatus) const {
  MDagPath p;
  set_status(ReturnStatus, getPath(p));
  return p.fullPathName();
}
MString MFnDagNode::partialPathName(MStatus* ReturnStatus) const {
  MDagPath p;
  set_status(ReturnStatus, getPath(p));
  return p.partialPathName();
}
bool MFnDagNode::isInstanced(bool, MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n && n->parents.size() > 1;
}
unsigned int MFnDagNode::instanceCount(bool, MStatus* ReturnStatus) const {
  Node* n = attached(_object, ReturnStatus);
  return n ? unsigned(n->parents.size()) : 0;
}

// ---------------------------------------------------------------------------
// MItDag

namespace {

// The walk of an MItDag, made as it goes rather than collected up front:
// a deep hierarchy's paths together are quadratic in its depth. Depth
// first, the walk keeps the current path and, per level below the root, the
// index of the child taken; breadth first, the queue of paths still to
// visit. Items that fail the filter are passed over, their children not.
struct DagWalk {
  MFn::Type filter = MFn::kInvalid;
  MItDag::TraversalType type = MItDag::kDepthFirst;
  Path root;
  Path current;
  std::vector<size_t> taken;  // depth first: the child index per level below the root
  std::deque<Path> queue;     // breadth first: current is its front
  bool done = true;
  bool pruned = false; // the next step does not go below the current item
};

DagWalk& walk_of(void* p) { return *static_cast<DagWalk*>(p); }

bool passes(Node* n, MFn::Type filter) { return filter == MFn::kInvalid || n->has_fn(filter); }

// One step to the next path of the walk, whether it passes the filter or not.
void step(DagWalk& w) {
  if (w.done)
    return;
  bool below = !w.pruned;
  w.pruned = false;
  if (w.type == MItDag::kBreadthFirst) {
    Path p = std::move(w.queue.front());
    w.queue.pop_front();
    if (below)
      for (Node* c : path_node(p)->children) {
        w.queue.push_back(p);
        w.queue.back().push_back(c);
      }
    w.done = w.queue.empty();
    if (!w.done)
      w.current = w.queue.front();
    return;
  }
  Node* n = path_node(w.current);
  if (below && !n->children.empty()) {
    w.taken.push_back(0);
    w.current.push_back(n->children[0]);
    return;
  }
  // Up to the nearest level with a next sibling.
  while (!w.taken.empty()) {
    Node* parent = w.current.size() >= 2 ? w.current[w.current.size() - 2] : scene().world;
    size_t next = w.taken.back() + 1;
    if (next < parent->children.size()) {
      w.taken.back() = next;
      w.current.back() = parent->children[next];
      return;
    }
    w.taken.pop_back();
    w.current.pop_back();
  }
  w.done = true;
}

// Steps until the current path passes the filter or the walk ends.
void settle(DagWalk& w) {
  while (!w.done && !passes(path_node(w.current), w.filter))
    step(w);
}

void collect(DagWalk& w) {
  w.current = w.root;
  w.taken.clear();
  w.queue.clear();
  if (w.type == MItDag::kBreadthFirst)
    w.queue.push_back(w.root);
  w.done = false;
  w.pruned = false;
  settle(w);
}

} // namespace

MItDag::MItDag(TraversalType type, MFn::Type filter, MStatus* ReturnStatus) : _state(new DagWalk) {
  DagWalk& w = walk_of(_state);
  w.type = type;
  w.filter = filter;
  if (type == kInvalidType) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return;
  }
  collect(w);
  set_status(ReturnStatus, MS::kSuccess);
}
MItDag::~MItDag() { delete &walk_of(_state); }
bool MItDag::isDone(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return walk_of(_state).done;
}
MStatus MItDag::next() {
  DagWalk& w = walk_of(_state);
  step(w);
  settle(w);
  return MS::kSuccess;
}
MStatus MItDag::prune() {
  DagWalk& w = walk_of(_state);
  if (w.done)
    return MS::kFailure;
  w.pruned = true;
  return MS::kSuccess;
}
MStatus MItDag::reset() {
  collect(walk_of(_state));
  return MS::kSuccess;
}
MStatus MItDag::reset(const MObject& root, TraversalType type, MFn::Type filter) {
  Node* n = node_of(root);
  if (!n || !n->dag)
    return MS::kInvalidParameter;
  DagWalk& w = walk_of(_state);
  w.root = first_path_to(n);
  w.type = type;
  w.filter = filter;
  collect(w);
  return MS::kSuccess;
}
MStatus MItDag::reset(const MDagPath& root, TraversalType type, MFn::Type filter) {
  DagWalk& w = walk_of(_state);
  w.root = path_of(root.internal());
  w.type = type;
  w.filter = filter;
  collect(w);
  return MS::kSuccess;
}
MObject MItDag::currentItem(MStatus* ReturnStatus) {
  DagWalk& w = walk_of(_state);
  if (w.done) {
    set_status(ReturnStatus, MS::kFailure);
    return MObject();
  }
  set_status(ReturnStatus, MS::kSuccess);
  return MObject(path_node(w.current));
}
MObject MItDag::item(MStatus* ReturnStatus) { return currentItem(ReturnStatus); }
MObject MItDag::root(MStatus* ReturnStatus) {
  set_status(ReturnStatus, MS::kSuccess);
  return MObject(path_node(walk_of(_state).root));
}
unsigned int MItDag::depth(MStatus* ReturnStatus) const {
  const DagWalk& w = walk_of(_state);
  set_status(ReturnStatus, !w.done ? MS::kSuccess : MS::kFailure);
  return !w.done ? unsigned(w.current.size()) : 0;
}
MStatus MItDag::getPath(MDagPath& path) const {
  const DagWalk& w = walk_of(_state);
  if (w.done)
    return MS::kFailure;
  path_of(path.internal()) = w.current;
  return MS::kSuccess;
}
MString MItDag::fullPathName(MStatus* ReturnStatus) const {
  MDagPath p;
  set_status(ReturnStatus, getPath(p));
  return p.fullPathName();
}
MString MItDag::partialPathName(MStatus* ReturnStatus) const {
  MDagPath p;
  set_status(ReturnStatus, getPath(p));
  return p.partialPathName();
}

// ---------------------------------------------------------------------------
// MItDependencyNodes

namespace {
struct NodeWalk {
  std::vector<Node*> items;
  size_t at = 0;
};
NodeWalk& node_walk(void* p) { return *static_cast<NodeWalk*>(p); }
} // namespace

MItDependencyNodes::MItDependencyNodes(MFn::Type filter, MStatus* ReturnStatus) : _state(new NodeWalk) {
  set_status(ReturnStatus, reset(filter));
}
MItDependencyNodes::~MItDependencyNodes() { delete &node_walk(_state); }
bool MItDependencyNodes::isDone(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return node_walk(_state).at >= node_walk(_state).items.size();
}
MStatus MItDependencyNodes::next() {
  NodeWalk& w = node_walk(_state);
  if (w.at < w.items.size())
    ++w.at;
  return MS::kSuccess;
}
MObject MItDependencyNodes::thisNode(MStatus* ReturnStatus) const {
  const NodeWalk& w = node_walk(_state);
  if (w.at >= w.items.size()) {
    set_status(ReturnStatus, MS::kFailure);
    return MObject();
  }
  set_status(ReturnStatus, MS::kSuccess);
  return MObject(w.items[w.at]);
}
MObject MItDependencyNodes::item(MStatus* ReturnStatus) const { return thisNode(ReturnStatus); }
MStatus MItDependencyNodes::reset(MFn::Type filter) {
  NodeWalk& w = node_walk(_state);
  w.items.clear();
  w.at = 0;
  for (Node* n : scene().nodes)
    if (n->type != MFn::kWorld && passes(n, filter))
      w.items.push_back(n);
  return MS::kSuccess;
}

// ---------------------------------------------------------------------------
// MSelectionList

namespace {
struct SelectionItem {
  bool dag;
  Path path;
  Node* node;
};
std::vector<SelectionItem>& items_of(void* p) { return *static_cast<std::vector<SelectionItem>*>(p); }
} // namespace

MSelectionList::MSelectionList() : _items(new std::vector<SelectionItem>()) {}
MSelectionList::MSelectionList(const MSelectionList& other) : _items(new std::vector<SelectionItem>(items_of(other._items))) {}
MSelectionList::~MSelectionList() { delete &items_of(_items); }
MSelectionList& MSelectionList::operator=(const MSelectionList& other) {
  items_of(_items) = items_of(other._items);
  return *this;
}
MStatus MSelectionList::clear() {
  items_of(_items).clear();
  return MS::kSuccess;
}
bool MSelectionList::isEmpty(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return items_of(_items).empty();
}
unsigned int MSelectionList::length(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return unsigned(items_of(_items).size());
}
MStatus MSelectionList::getDependNode(unsigned int index, MObject& object) const {
  const auto& items = items_of(_items);
  if (index >= items.size())
    return MS::kInvalidParameter;
  object = MObject(items[index].dag ? path_node(items[index].path) : items[index].node);
  return MS::kSuccess;
}
MStatus MSelectionList::getDagPath(unsigned int index, MDagPath& path, MObject&) const {
  const auto& items = items_of(_items);
  if (index >= items.size() || !items[index].dag)
    return MS::kInvalidParameter;
  path_of(path.internal()) = items[index].path;
  return MS::kSuccess;
}
MStatus MSelectionList::add(const MObject& object, const bool) {
  Node* n = node_of(object);
  if (!n)
    return MS::kInvalidParameter;
  if (n->dag)
    items_of(_items).push_back(SelectionItem{true, first_path_to(n), n});
  else
    items_of(_items).push_back(SelectionItem{false, Path(), n});
  return MS::kSuccess;
}
MStatus MSelectionList::add(const MDagPath& path, const MObject&, const bool) {
  const Path& p = path_of(path.internal());
  items_of(_items).push_back(SelectionItem{true, p, path_node(p)});
  return MS::kSuccess;
}
MStatus MSelectionList::add(const MString& matchString, const bool) {
  bool found = false;
  for (Node* n : scene().nodes) {
    if (n->type != MFn::kWorld && n->name == matchString.asChar()) {
      add(MObject(n));
      found = true;
    }
  }
  return found ? MS::kSuccess : MS::kInvalidParameter;
}
bool MSelectionList::hasItem(const MObject& item, MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  Node* n = node_of(item);
  for (const SelectionItem& i : items_of(_items))
    if (!i.dag && i.node == n)
      return true;
  return false;
}
bool MSelectionList::hasItem(const MDagPath& item, const MObject&, MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  const Path& p = path_of(item.internal());
  for (const SelectionItem& i : items_of(_items))
    if (i.dag && i.path == p)
      return true;
  return false;
}
MStatus MSelectionList::remove(unsigned int index) {
  auto& items = items_of(_items);
  if (index >= items.size())
    return MS::kInvalidParameter;
  items.erase(items.begin() + index);
  return MS::kSuccess;
}
