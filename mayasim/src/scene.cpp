#include "scene.h"

#include <ctype.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <math.h>
#include <string.h>
#include <unistd.h>
#include <unordered_map>

namespace mayasim {

void retain(ApiObject* o) {
  if (o)
    ++o->references;
}

void release(ApiObject* o) {
  if (o && --o->references == 0)
    delete o;
}

void MeshData::finish_topology() {
  face_offsets.clear();
  int offset = 0;
  for (const auto& p : polygons) {
    face_offsets.push_back(offset);
    offset += int(p.size());
  }
}

namespace {

// The function-set families each node type answers for, the most derived
// first: a short list by value, since every function set attached asks.
struct Families {
  MFn::Type types[8];
  int count;
  Families(std::initializer_list<MFn::Type> list) : types(), count(0) {
    for (MFn::Type f : list)
      types[count++] = f;
  }
  const MFn::Type* begin() const { return types; }
  const MFn::Type* end() const { return types + count; }
};

Families families(MFn::Type t) {
  switch (t) {
  case MFn::kTransform:
    return {MFn::kTransform, MFn::kDagNode, MFn::kDependencyNode};
  case MFn::kJoint:
    return {MFn::kJoint, MFn::kTransform, MFn::kDagNode, MFn::kDependencyNode};
  case MFn::kMesh:
    return {MFn::kMesh, MFn::kSurface, MFn::kGeometric, MFn::kShape, MFn::kDagNode, MFn::kDependencyNode};
  case MFn::kCamera:
    return {MFn::kCamera, MFn::kShape, MFn::kDagNode, MFn::kDependencyNode};
  case MFn::kWorld:
    return {MFn::kWorld, MFn::kDagNode, MFn::kDependencyNode};
  case MFn::kManipulator3D:
    return {MFn::kManipulator3D, MFn::kTransform, MFn::kDagNode, MFn::kDependencyNode};
  case MFn::kSkinClusterFilter:
    return {MFn::kSkinClusterFilter, MFn::kGeometryFilt, MFn::kDependencyNode};
  case MFn::kShadingEngine:
    return {MFn::kShadingEngine, MFn::kSet, MFn::kDependencyNode};
  default:
    return {t, MFn::kDependencyNode};
  }
}

Scene* g_scene = nullptr;

} // namespace

bool Node::has_fn(MFn::Type t) const {
  if (t == MFn::kBase || t == MFn::kNamedObject)
    return true;
  for (MFn::Type f : families(type))
    if (f == t)
      return true;
  return false;
}

double Node::channel(char kind, int axis, double seconds) const {
  static const char* const AXES = "xyz";
  if (!curves.empty()) {
    char key[3] = {kind, AXES[axis], 0};
    auto it = curves.find(key);
    if (it != curves.end())
      return it->second.evaluate(seconds);
  }
  switch (kind) {
  case 't':
    return xform.translate[axis];
  case 'r':
    return xform.rotate[axis];
  default:
    return xform.scale[axis];
  }
}

namespace {

MMatrix translation(const double t[3], double sign = 1.0) {
  MMatrix m;
  m[3][0] = sign * t[0];
  m[3][1] = sign * t[1];
  m[3][2] = sign * t[2];
  return m;
}

MMatrix scaling(const double s[3]) {
  MMatrix m;
  m[0][0] = s[0];
  m[1][1] = s[1];
  m[2][2] = s[2];
  return m;
}

MMatrix axis_rotation(int axis, double angle) {
  MMatrix m;
  double c = cos(angle), s = sin(angle);
  int a = (axis + 1) % 3, b = (axis + 2) % 3;
  // Row vectors: p' = p * M rotates counter-clockwise about the axis.
  m[a][a] = c;
  m[a][b] = s;
  m[b][a] = -s;
  m[b][b] = c;
  return m;
}

} // namespace

MMatrix rotation_matrix(const double angles[3], int order) {
  static const int ORDERS[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 2, 1}, {1, 0, 2}, {2, 1, 0}};
  const int* o = ORDERS[order >= 0 && order < 6 ? order : 0];
  return axis_rotation(o[0], angles[o[0]]) * axis_rotation(o[1], angles[o[1]]) * axis_rotation(o[2], angles[o[2]]);
}

MMatrix Node::local_matrix(double seconds) const {
  if (!is_transform())
    return MMatrix();
  double t[3], r[3], s[3];
  if (curves.empty()) {
    // At rest (the common case): the attributes as they are.
    memcpy(t, xform.translate, sizeof(t));
    memcpy(r, xform.rotate, sizeof(r));
    memcpy(s, xform.scale, sizeof(s));
  } else {
    for (int a = 0; a < 3; ++a) {
      t[a] = channel('t', a, seconds);
      r[a] = channel('r', a, seconds);
      s[a] = channel('s', a, seconds);
    }
  }
  const TransformAttributes& x = xform;
  bool joint = type == MFn::kJoint;
  double parent_scale[3] = {1, 1, 1};
  bool compensates = joint && x.segment_scale_compensate && inverse_scale_source;
  if (compensates)
    for (int a = 0; a < 3; ++a)
      parent_scale[a] = inverse_scale_source->channel('s', a, seconds);

  // Everything the matrix is made from; the same as last time, the same
  // matrix.
  double inputs[LocalMatrixCache::INPUTS];
  double* in = inputs;
  const double* const vectors[] = {t, r, s, parent_scale, x.shear, x.rotate_pivot, x.rotate_pivot_translate,
                                   x.scale_pivot, x.scale_pivot_translate, x.rotate_axis, x.joint_orient};
  for (const double* v : vectors)
    for (int a = 0; a < 3; ++a)
      *in++ = v[a];
  *in++ = double(x.rotate_order);
  *in++ = compensates ? 1.0 : 0.0;
  LocalMatrixCache& cache = local_cache;
  if (cache.valid && memcmp(cache.inputs, inputs, sizeof(inputs)) == 0)
    return cache.matrix;

  MMatrix m;
  if (joint) {
    MMatrix inverse_scale;
    if (compensates)
      for (int a = 0; a < 3; ++a)
        inverse_scale[a][a] = parent_scale[a] != 0.0 ? 1.0 / parent_scale[a] : 1.0;
    m = scaling(s) * rotation_matrix(x.rotate_axis, 0) * rotation_matrix(r, x.rotate_order) *
        rotation_matrix(x.joint_orient, 0) * inverse_scale * translation(t);
  } else {
    MMatrix shear;
    shear[1][0] = x.shear[0];
    shear[2][0] = x.shear[1];
    shear[2][1] = x.shear[2];
    m = translation(x.scale_pivot, -1.0) * scaling(s) * shear * translation(x.scale_pivot) *
        translation(x.scale_pivot_translate) * translation(x.rotate_pivot, -1.0) * rotation_matrix(x.rotate_axis, 0) *
        rotation_matrix(r, x.rotate_order) * translation(x.rotate_pivot) * translation(x.rotate_pivot_translate) *
        translation(t);
  }
  memcpy(cache.inputs, inputs, sizeof(inputs));
  cache.matrix = m;
  cache.valid = true;
  return m;
}

Scene::~Scene() {
  for (Node* n : nodes) {
    n->parents.clear();
    n->children.clear();
    release(n);
  }
}

Node* Scene::create(MFn::Type type, const char* type_name, const std::string& name, Node* parent) {
  Node* n = new Node;
  n->type = type;
  n->type_name = type_name;
  n->name = name;
  n->dag = parent != nullptr || type == MFn::kWorld;
  retain(n);
  nodes.push_back(n);
  if (parent) {
    n->parents.push_back(parent);
    parent->children.push_back(n);
  }
  if (n->dag && type != MFn::kWorld)
    n->bools["visibility"] = true;
  return n;
}

Node* Scene::find(const std::string& name) const {
  for (Node* n : nodes)
    if (n->name == name)
      return n;
  return nullptr;
}

void Scene::connect(const PlugRef& source, const PlugRef& destination) {
  connections.push_back(Connection{source, destination});
}

void Scene::evaluate_for_read(const Node* node) {
  // A joint's inverse scale reads its source's scale: that source is
  // evaluated when its scale is animated.
  const Node* source = node ? node->inverse_scale_source : nullptr;
  if (source && !source->curves.count("sx") && !source->curves.count("sy") && !source->curves.count("sz"))
    source = nullptr;
  const Node* depends[2] = {node, source};
  for (const Node* n : depends) {
    if (!n || n->curves.empty() || n->evaluated_generation == generation)
      continue;
    n->evaluated_generation = generation;
    ++node_evaluations;
  }
}

Scene& scene() {
  if (!g_scene)
    new_scene();
  return *g_scene;
}

void new_scene() {
  delete g_scene;
  g_scene = new Scene;
  Scene& s = *g_scene;
  s.world = s.create(MFn::kWorld, "world", "world", nullptr);
  s.world->is_default = true;
  const char* cameras[4] = {"persp", "top", "front", "side"};
  for (int i = 0; i < 4; ++i) {
    Node* t = s.create(MFn::kTransform, "transform", cameras[i], s.world);
    t->is_default = true;
    t->bools["visibility"] = i == 0; // only the perspective camera is shown
    Node* shape = s.create(MFn::kCamera, "camera", std::string(cameras[i]) + "Shape", t);
    shape->is_default = true;
  }
  Node* lambert = s.create(MFn::kLambert, "lambert", "lambert1", nullptr);
  lambert->is_default = true;
  Node* initial = s.create(MFn::kShadingEngine, "shadingEngine", "initialShadingGroup", nullptr);
  initial->is_default = true;
  s.connect(PlugRef{lambert, "outColor", -1}, PlugRef{initial, "surfaceShader", -1});
  Node* time = s.create(MFn::kTime, "time", "time1", nullptr);
  time->is_default = true;
  s.current_time = s.min_time;
  // Maya names an unsaved scene "untitled" in the current folder (its
  // workspace's scenes folder), always as a full path.
  s.current_file = absolute_path("untitled");
}

std::string expand_environment(const std::string& s, bool keep_unset) {
  std::string out;
  size_t i = 0;
  while (i < s.size()) {
    if (s[i] != '$') {
      out += s[i++];
      continue;
    }
    size_t start = i + 1, end;
    bool braced = start < s.size() && s[start] == '{';
    if (braced) {
      end = s.find('}', start);
      if (end == std::string::npos) {
        out += s.substr(i);
        break;
      }
      ++start;
    } else {
      end = start;
      while (end < s.size() && (isalnum(static_cast<unsigned char>(s[end])) || s[end] == '_'))
        ++end;
    }
    size_t next = braced ? end + 1 : end;
    if (end == start && !braced) {
      out += s[i++];
      continue;
    }
    const char* value = getenv(s.substr(start, end - start).c_str());
    if (value)
      out += value;
    else if (keep_unset)
      out += s.substr(i, next - i);
    i = next;
  }
  return out;
}

bool read_whole_file(const std::string& path, std::string& text, std::string& error) {
  FILE* f = fopen(path.c_str(), "rb");
  if (!f) {
    error = "Cannot open " + path + ": " + strerror(errno);
    return false;
  }
  // Sized from the file when it says its size (a pipe does not), then read
  // to its end whatever it said.
  text.clear();
  struct stat info;
  if (fstat(fileno(f), &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0)
    text.reserve(size_t(info.st_size) + 1);
  char buffer[1 << 16];
  size_t got;
  while ((got = fread(buffer, 1, sizeof(buffer), f)) > 0)
    text.append(buffer, got);
  bool failed = ferror(f) != 0;
  int saved = errno;
  fclose(f);
  if (failed) {
    error = "Cannot read " + path + ": " + strerror(saved);
    return false;
  }
  return true;
}

std::string absolute_path(const std::string& path) {
  std::string full = path;
  if (full.empty() || full[0] != '/') {
    char folder[4096];
    full = getcwd(folder, sizeof(folder)) ? std::string(folder) + "/" + path : "/" + path;
  }
  // Without "." and ".." parts, as Maya names its scene file.
  std::vector<std::string> parts;
  size_t at = 1;
  while (at <= full.size()) {
    size_t slash = full.find('/', at);
    if (slash == std::string::npos)
      slash = full.size();
    std::string part = full.substr(at, slash - at);
    if (part == "..") {
      if (!parts.empty())
        parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    at = slash + 1;
  }
  std::string out;
  for (const std::string& p : parts)
    out += "/" + p;
  return out.empty() ? "/" : out;
}

bool should_fail(const std::string& call) {
  for (Scene::FailingCall& c : scene().failing_calls) {
    if (c.call != call)
      continue;
    if (c.successes_left == 0)
      return true;
    --c.successes_left;
  }
  return false;
}

Node* shape_below(Node* transform) {
  if (!transform)
    return nullptr;
  for (Node* c : transform->children)
    if (!c->is_transform() && !c->is_intermediate)
      return c;
  return nullptr;
}

Node* sole_shape_below(Node* transform) {
  Node* found = nullptr;
  for (Node* c : transform->children) {
    if (c->is_transform() || c->is_intermediate)
      continue;
    if (found)
      return nullptr;
    found = c;
  }
  return found;
}

Node* function_set_node(const Path& path) {
  Node* n = path.empty() ? nullptr : path.back();
  if (n && n->is_transform())
    return sole_shape_below(n);
  return n;
}

// Every path, in the order of the parents at each level (a path through a
// node's first parent comes before one through its second). Walked upwards
// from the node with a list of the nodes passed, not by recursion: scenes
// can be many thousands of levels deep.
std::vector<Path> all_paths_to(Node* node) {
  if (!node || node->type == MFn::kWorld)
    return {Path()};
  std::vector<Path> out;
  struct Step {
    Node* node;
    size_t next_parent;
  };
  std::vector<Step> up{{node, 0}};
  auto emit = [&] {
    Path p;
    p.reserve(up.size());
    for (size_t i = up.size(); i-- > 0;)
      p.push_back(up[i].node);
    out.push_back(std::move(p));
  };
  while (!up.empty()) {
    Step& s = up.back();
    const std::vector<Node*>& parents = s.node->parents;
    if (parents.empty() && s.next_parent == 0) {
      s.next_parent = 1; // a node outside the world's hierarchy is a path of its own
      emit();
      continue;
    }
    if (s.next_parent >= parents.size()) {
      up.pop_back();
      continue;
    }
    Node* parent = parents[s.next_parent++];
    if (!parent || parent->type == MFn::kWorld)
      emit();
    else
      up.push_back({parent, 0});
  }
  return out;
}

size_t count_paths_to(Node* node) {
  std::unordered_map<const Node*, double> counts;
  return size_t(count_paths_to(node, counts));
}

double count_paths_to(const Node* node, std::unordered_map<const Node*, double>& known) {
  if (!node || node->parents.empty())
    return 1;
  auto found = known.find(node);
  if (found != known.end())
    return found->second;
  // Each node's count is worked out once its parents' are known.
  std::vector<const Node*> todo{node};
  while (!todo.empty()) {
    const Node* n = todo.back();
    if (known.count(n)) {
      todo.pop_back();
      continue;
    }
    double total = 0;
    bool ready = true;
    for (const Node* p : n->parents) {
      if (!p || p->parents.empty()) {
        total += 1;
        continue;
      }
      auto c = known.find(p);
      if (c == known.end()) {
        ready = false;
        todo.push_back(p);
      } else {
        total += c->second;
      }
    }
    if (ready) {
      known[n] = total;
      todo.pop_back();
    }
  }
  return known[node];
}

bool path_has_fn(const Path& path, MFn::Type type) {
  if (path.empty())
    return scene().world->has_fn(type);
  Node* n = path.back();
  if (n->has_fn(type))
    return true;
  // A transform answers for the shapes below it that extendToShape would
  // reach: intermediate objects (a deformer's leftover ...Orig input) are
  // not its shape.
  if (n->is_transform())
    for (Node* c : n->children)
      if (!c->is_transform() && !c->is_intermediate && c->has_fn(type))
        return true;
  return false;
}

std::string full_path_name(const Path& path) {
  std::string s;
  for (Node* n : path)
    s += "|" + n->name;
  return s;
}

Path first_path_to(Node* node) {
  Path p;
  while (node && node->type != MFn::kWorld) {
    p.push_back(node);
    node = node->parents.empty() ? nullptr : node->parents[0];
  }
  std::reverse(p.begin(), p.end());
  return p;
}

} // namespace mayasim
