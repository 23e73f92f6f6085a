#include "scene/gltf_writer.h"

#include "foundation/config/dynamic_config_value.h"
#include "foundation/config/sjson_writer.h"

#include "foundation/memory/temp_allocator.h"
#include "foundation/platform.h"

#include <math.h>
#include <new>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

namespace twi {

using foundation::DynamicConfigValue;

namespace {

// glTF's numbers for component types and buffer view targets.
const int32_t GL_UNSIGNED_BYTE = 5121;
const int32_t GL_UNSIGNED_SHORT = 5123;
const int32_t GL_UNSIGNED_INT = 5125;
const int32_t GL_FLOAT = 5126;
const int32_t ARRAY_BUFFER = 34962;
const int32_t ELEMENT_ARRAY_BUFFER = 34963;

// The binary chunk and the JSON length are 32-bit in GLB; keep well inside.
const uint64_t MAX_BUFFER_BYTES = 0x7ff00000u;

// Rows 0..2 of a twi matrix are the images of the x, y and z axes; their
// dot products tell how far the matrix is from a rotation times a scale.
const double SHEAR_TOLERANCE = 1e-5;
const double PROJECTION_TOLERANCE = 1e-6;

double dot3(const double* a, const double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

void cross3(const double* a, const double* b, double* out) {
  out[0] = a[1] * b[2] - a[2] * b[1];
  out[1] = a[2] * b[0] - a[0] * b[2];
  out[2] = a[0] * b[1] - a[1] * b[0];
}

bool normalise3(double* v) {
  double length = sqrt(dot3(v, v));
  if (!(length > 1e-30))
    return false;
  v[0] /= length;
  v[1] /= length;
  v[2] /= length;
  return true;
}

// Any unit vector perpendicular to the unit vector `a`.
void perpendicular(const double* a, double* out) {
  double axis[3] = {0, 0, 0};
  axis[fabs(a[0]) < 0.9 ? 0 : 1] = 1;
  cross3(a, axis, out);
  normalise3(out);
}

// Row-vector product c = a * b of two twi matrices.
void multiply(const float* a, const float* b, float* c) {
  for (int r = 0; r < 4; ++r)
    for (int k = 0; k < 4; ++k) {
      double sum = 0;
      for (int i = 0; i < 4; ++i)
        sum += double(a[4 * r + i]) * double(b[4 * i + k]);
      c[4 * r + k] = float(sum);
    }
}

// A located channel: which stream holds it and where in the element.
struct Channel {
  const GeometryStream* stream = nullptr;
  uint32_t stream_number = 0;
  uint32_t offset = 0;     // bytes into the element
  uint32_t components = 0; // floats
  bool found() const { return stream != nullptr; }
  float read(uint32_t element, uint32_t component) const {
    float v;
    memcpy(&v, stream->data.data() + size_t(element) * stream->stride + offset + 4 * component, 4);
    return v;
  }
};

class Writer {
public:
  Writer(const SceneDatabase& db, GltfSummary& summary, Vector<String>& notes, String& error)
      : _db(db), _a(db.allocator()), _summary(summary), _notes(notes), _error(error), _pool(_a, 4u << 20, 0),
        _json(_pool), _root(*new (_json.allocate(sizeof(DynamicConfigValue), alignof(DynamicConfigValue)))
                                DynamicConfigValue(_json)),
        _bin(_a),
        _node_index(_a, 16), _node_order(_a), _skin_index(_a, 16), _material_index(_a, 16), _placed(_a, 16),
        _animated(_a), _root_of(_a), _group_of_root(_a), _group_node(_a) {}

  bool run(const GltfOptions& options, Vector<uint8_t>& out);

private:
  void note(const char* format, ...) TW_PRINTF_FORMAT(2, 3);
  bool fail(const char* format, ...) TW_PRINTF_FORMAT(2, 3);

  // Appends bytes as a new buffer view (4-byte aligned) and returns its number.
  bool add_view(const void* bytes, size_t size, int32_t target, uint32_t& view);
  // An accessor over a fresh view of `count` elements of `type` ("VEC3"...).
  bool add_accessor(const void* bytes, uint32_t count, int32_t component_type, uint32_t components, const char* type,
                    int32_t target, uint32_t& accessor, DynamicConfigValue** made = nullptr);
  bool add_float_accessor(const Vector<float>& values, uint32_t components, const char* type, int32_t target,
                          bool with_bounds, uint32_t& accessor);

  bool order_nodes();
  void group_skeleton_roots();
  int32_t group_of_joints(const SceneSkin& skin) const;
  bool write_nodes();
  bool write_mesh(const char* name, const SceneGeometry& g, int32_t& mesh, int32_t& skin);
  bool skin_for(const char* name, const char* mesh_name, int32_t& skin);
  int32_t material_for(const char* name);
  bool write_animations();
  void set_trs(DynamicConfigValue& node, const Trs& trs);

  const SceneDatabase& _db;
  Allocator& _a;
  GltfSummary& _summary;
  Vector<String>& _notes;
  String& _error;
  // The glTF document's tree, on a pool of its own that takes it all back
  // at once: hundreds of thousands of small objects (an accessor, a buffer
  // view, a sampler and a channel per animated path) are not freed one by
  // one. The root is therefore never destroyed.
  foundation::TempAllocator _pool;
  foundation::ScopedTempAllocator _json;
  DynamicConfigValue& _root;
  Vector<uint8_t> _bin;
  Map<String, uint32_t> _node_index; // twi node name -> glTF node number
  Vector<const char*> _node_order;   // twi node names by glTF node number
  Map<String, int32_t> _skin_index;  // skin name -> glTF skin, -1 when it could not be written
  Map<String, int32_t> _material_index;
  Map<String, uint8_t> _placed; // geometries some node names
  Vector<uint8_t> _animated; // per glTF node: the target of an animation
  // Skins whose joints lie under several roots of the document: glTF wants
  // one root above a skin's joints. Such roots are grouped under an added
  // node of identity transform (so nothing moves).
  Vector<uint32_t> _root_of;       // per glTF node of the document: its root's number
  Vector<int32_t> _group_of_root;  // per glTF node: its group when it is a grouped root, else -1
  Vector<uint32_t> _group_node;    // per group: the glTF node made for it
  // The top-level members, made once: a reference into the root object is
  // good only while no member is added to it.
  struct Top {
    DynamicConfigValue *accessors, *animations, *buffer_views, *materials, *meshes, *nodes, *skins;
  } _top = {};
  uint32_t _view_count = 0;
  uint32_t _accessor_count = 0;
};

void Writer::note(const char* format, ...) {
  char line[1024];
  va_list args;
  va_start(args, format);
  vsnprintf(line, sizeof(line), format, args);
  va_end(args);
  _notes.push_back(String(_notes.allocator(), line));
}

bool Writer::fail(const char* format, ...) {
  char line[1024];
  va_list args;
  va_start(args, format);
  vsnprintf(line, sizeof(line), format, args);
  va_end(args);
  _error = line;
  return false;
}

bool Writer::add_view(const void* bytes, size_t size, int32_t target, uint32_t& view) {
  while (_bin.size() % 4)
    _bin.push_back(0);
  if (uint64_t(_bin.size()) + size > MAX_BUFFER_BYTES)
    return fail("the binary data would exceed %u bytes, more than this writer puts in one buffer",
                unsigned(MAX_BUFFER_BYTES));
  uint32_t offset = _bin.size();
  _bin.resize(offset + uint32_t(size));
  if (size)
    memcpy(_bin.data() + offset, bytes, size);
  DynamicConfigValue& v = _top.buffer_views->push_back();
  v.get("buffer").set_integer(0);
  v.get("byteOffset").set_integer(int32_t(offset));
  v.get("byteLength").set_integer(int32_t(size));
  if (target)
    v.get("target").set_integer(target);
  view = _view_count++;
  return true;
}

bool Writer::add_accessor(const void* bytes, uint32_t count, int32_t component_type, uint32_t components,
                          const char* type, int32_t target, uint32_t& accessor, DynamicConfigValue** made) {
  uint32_t component_size = component_type == GL_UNSIGNED_BYTE ? 1 : component_type == GL_UNSIGNED_SHORT ? 2 : 4;
  uint32_t view = 0;
  if (!add_view(bytes, size_t(count) * components * component_size, target, view))
    return false;
  DynamicConfigValue& a = _top.accessors->push_back();
  a.get("bufferView").set_integer(int32_t(view));
  a.get("componentType").set_integer(component_type);
  a.get("count").set_integer(int32_t(count));
  a.get("type").set_string(type);
  if (made)
    *made = &a;
  accessor = _accessor_count++;
  return true;
}

bool Writer::add_float_accessor(const Vector<float>& values, uint32_t components, const char* type, int32_t target,
                                bool with_bounds, uint32_t& accessor) {
  uint32_t count = values.size() / components;
  DynamicConfigValue* a = nullptr;
  if (!add_accessor(values.data(), count, GL_FLOAT, components, type, target, accessor, &a))
    return false;
  if (with_bounds && count) {
    float lo[16], hi[16];
    for (uint32_t c = 0; c < components; ++c)
      lo[c] = hi[c] = values[c];
    for (uint32_t i = 1; i < count; ++i)
      for (uint32_t c = 0; c < components; ++c) {
        float v = values[i * components + c];
        lo[c] = v < lo[c] ? v : lo[c];
        hi[c] = v > hi[c] ? v : hi[c];
      }
    a->get("min").append_floats(lo, components);
    a->get("max").append_floats(hi, components);
  }
  return true;
}

// Nodes are numbered depth first from the roots, so that parents come
// before their children. A name reached twice or never is an error: glTF
// nodes have one parent and every node must be placed.
bool Writer::order_nodes() {
  Vector<const char*> stack(_a);
  for (uint32_t i = _db.roots.size(); i-- > 0;)
    stack.push_back(_db.roots[i].c_str());
  while (!stack.empty()) {
    const char* name = stack.back();
    stack.pop_back();
    auto it = _db.nodes.find(name);
    if (it == _db.nodes.end())
      return fail("node \"%s\" is named as a root or child but is not a node of the document", name);
    if (_node_index.has(name))
      return fail("node \"%s\" is reached twice from the roots", name);
    _node_index.get_or_insert(name) = _node_order.size();
    _node_order.push_back(it.key().c_str());
    const SceneNode& node = it.value();
    for (uint32_t i = node.children.size(); i-- > 0;)
      stack.push_back(node.children[i].c_str());
  }
  if (_node_order.size() != _db.nodes.size()) {
    for (auto it = _db.nodes.begin(); it != _db.nodes.end(); ++it)
      if (!_node_index.has(it.key().c_str()))
        return fail("node \"%s\" is not reached from the roots", it.key().c_str());
  }
  return true;
}

// Finds the skins whose joints do not share a root and groups the roots
// they span (a root may join several such skins: groups merge).
void Writer::group_skeleton_roots() {
  uint32_t count = _node_order.size();
  _root_of.resize(count);
  _group_of_root.resize(count);
  for (uint32_t i = 0; i < count; ++i)
    _group_of_root[i] = -1;
  // Roots come first in their own subtree's numbering: a node's root is the
  // last root met at or before it in depth-first order.
  uint32_t root = 0;
  for (uint32_t i = 0; i < count; ++i) {
    auto n = _db.nodes.find(_node_order[i]);
    if (n.value().parent.length() == 0)
      root = i;
    _root_of[i] = root;
  }
  // Union of the roots each skin spans (parent links among root numbers).
  Vector<uint32_t> leader(_a);
  leader.resize(count);
  for (uint32_t i = 0; i < count; ++i)
    leader[i] = i;
  auto find = [&](uint32_t x) {
    while (leader[x] != x)
      x = leader[x] = leader[leader[x]];
    return x;
  };
  Vector<uint8_t> spans(_a);
  spans.resize(count);
  for (uint8_t& s : spans)
    s = 0;
  for (auto it = _db.skins.begin(); it != _db.skins.end(); ++it) {
    int64_t first = -1;
    for (const SkinJoint& j : it.value().joints) {
      auto n = _node_index.find(j.name.c_str());
      if (n == _node_index.end())
        continue;
      uint32_t r = _root_of[n.value()];
      if (first < 0) {
        first = r;
        continue;
      }
      uint32_t a = find(uint32_t(first)), b = find(r);
      if (a != b) {
        leader[b] = a;
        spans[uint32_t(first)] = spans[r] = 1;
      }
    }
  }
  // One group, and one node, per set of roots joined.
  Vector<int32_t> group_of_leader(_a);
  group_of_leader.resize(count);
  for (int32_t& g : group_of_leader)
    g = -1;
  for (uint32_t i = 0; i < count; ++i) {
    if (!spans[i])
      continue;
    uint32_t l = find(i);
    if (group_of_leader[l] < 0) {
      group_of_leader[l] = int32_t(_group_node.size());
      _group_node.push_back(0); // numbered when the nodes are written
    }
    _group_of_root[i] = group_of_leader[l];
  }
}

// The group above a skin's joints, or -1 when they share a root already.
int32_t Writer::group_of_joints(const SceneSkin& skin) const {
  for (const SkinJoint& j : skin.joints) {
    auto n = _node_index.find(j.name.c_str());
    if (n != _node_index.end() && _group_of_root[_root_of[n.value()]] >= 0)
      return _group_of_root[_root_of[n.value()]];
  }
  return -1;
}

void Writer::set_trs(DynamicConfigValue& node, const Trs& trs) {
  if (trs.translation[0] != 0 || trs.translation[1] != 0 || trs.translation[2] != 0)
    node.get("translation").append_floats(trs.translation, 3);
  if (trs.rotation[0] != 0 || trs.rotation[1] != 0 || trs.rotation[2] != 0 || trs.rotation[3] != 1)
    node.get("rotation").append_floats(trs.rotation, 4);
  if (trs.scale[0] != 1 || trs.scale[1] != 1 || trs.scale[2] != 1)
    node.get("scale").append_floats(trs.scale, 3);
}

bool matrix_is_finite(const float* m) {
  for (int i = 0; i < 16; ++i)
    if (!isfinite(m[i]))
      return false;
  return true;
}

bool Writer::write_nodes() {
  DynamicConfigValue& nodes = *_top.nodes;
  uint32_t count = _node_order.size();
  for (uint32_t i = 0; i < count; ++i) {
    const char* name = _node_order[i];
    auto node_entry = _db.nodes.find(name);
    const SceneNode& node = node_entry.value();
    DynamicConfigValue& n = nodes.push_back();
    n.get("name").set_string(name);
    if (!matrix_is_finite(node.local))
      return fail("node \"%s\": its local matrix holds a number that is not finite", name);
    Trs trs;
    bool is_trs = decompose_matrix(node.local, trs);
    if (_animated[i]) {
      if (!is_trs)
        note("node \"%s\": its local matrix has shear or projection, which an animated glTF node cannot hold; "
             "written as the nearest translation, rotation and scale",
             name);
      set_trs(n, trs);
    } else if (is_trs) {
      set_trs(n, trs);
    } else {
      note("node \"%s\": its local matrix has shear or projection; written as \"matrix\", which glTF asks to be a "
           "translation, rotation and scale",
           name);
      n.get("matrix").append_floats(node.local, 16);
    }
    if (!node.children.empty()) {
      DynamicConfigValue& children = n.get("children");
      for (const String& c : node.children)
        children.push_back().set_integer(int32_t(_node_index.find(c.c_str()).value()));
    }
  }
  // The nodes grouping roots that skins span: identity transforms, named
  // after the first root they hold.
  for (uint32_t g = 0; g < _group_node.size(); ++g) {
    _group_node[g] = nodes.size();
    DynamicConfigValue& group = nodes.push_back();
    DynamicConfigValue& children = group.get("children");
    const char* first = nullptr;
    for (uint32_t i = 0; i < count; ++i)
      if (_group_of_root[i] == int32_t(g)) {
        children.push_back().set_integer(int32_t(i));
        first = first ? first : _node_order[i];
      }
    String name(_a, first);
    name.append("_skeleton");
    group.get("name").set_string(name.c_str());
    note("nodes \"%s\" and others hold the joints of one skin but have no common parent; they are written under "
         "an added node \"%s\" (an identity transform: nothing moves), as glTF wants one root above a skin's "
         "joints",
         first, name.c_str());
  }
  // Meshes after the hierarchy: a geometry beyond a node's first becomes a
  // child node of its own, numbered after all document nodes.
  for (uint32_t i = 0; i < count; ++i) {
    const char* name = _node_order[i];
    auto node_entry = _db.nodes.find(name);
    const SceneNode& node = node_entry.value();
    for (uint32_t k = 0; k < node.geometries.size(); ++k) {
      const char* geometry_name = node.geometries[k].c_str();
      _placed.get_or_insert(geometry_name) = 1;
      auto g = _db.geometries.find(geometry_name);
      if (g == _db.geometries.end())
        return fail("node \"%s\": geometry \"%s\" is not a geometry of the document", name, geometry_name);
      int32_t mesh = -1, skin = -1;
      if (!write_mesh(geometry_name, g.value(), mesh, skin))
        return false;
      if (mesh < 0)
        continue;
      uint32_t target = i;
      if (nodes.at(i).has("mesh")) {
        note("node \"%s\": geometry \"%s\" is its second; written on a child node of that name, as a glTF node "
             "holds one mesh",
             name, geometry_name);
        target = nodes.size();
        DynamicConfigValue& extra = nodes.push_back();
        extra.get("name").set_string(geometry_name);
        nodes.at(i).get("children").push_back().set_integer(int32_t(target));
      }
      nodes.at(target).get("mesh").set_integer(mesh);
      if (skin >= 0) {
        nodes.at(target).get("skin").set_integer(skin);
        if (target == i && _animated[i])
          note("node \"%s\": its skinned geometry does not follow the node's own animation in glTF, which places "
               "a skinned mesh by its joints alone",
               name);
      }
    }
  }
  _summary.nodes = nodes.size();
  return true;
}

int32_t Writer::material_for(const char* name) {
  auto it = _material_index.find(name);
  if (it != _material_index.end())
    return it.value();
  // A plain PBR material: mid grey, not metallic, so that lighting shows
  // the shape. The document names materials only.
  DynamicConfigValue& m = _top.materials->push_back();
  m.get("name").set_string(name);
  DynamicConfigValue& pbr = m.get("pbrMetallicRoughness");
  const float base[4] = {0.8f, 0.8f, 0.8f, 1.0f};
  pbr.get("baseColorFactor").append_floats(base, 4);
  pbr.get("metallicFactor").set_float(0.0f);
  pbr.get("roughnessFactor").set_float(0.6f);
  int32_t index = int32_t(_summary.materials++);
  _material_index.get_or_insert(name) = index;
  return index;
}

// The glTF skin for the twi skin `name`, written on first use. The inverse
// bind matrix of joint j is the skin's bind matrix times the joint's: the
// twi positions are in the shape's space, glTF's skinning starts from it.
bool Writer::skin_for(const char* name, const char* mesh_name, int32_t& skin) {
  auto known = _skin_index.find(name);
  if (known != _skin_index.end()) {
    skin = known.value();
    return true;
  }
  skin = -1;
  auto it = _db.skins.find(name);
  if (it == _db.skins.end())
    return fail("geometry \"%s\": skin \"%s\" is not a skin of the document", mesh_name, name);
  const SceneSkin& s = it.value();
  Vector<int32_t> joints(_a);
  for (const SkinJoint& j : s.joints) {
    auto n = _node_index.find(j.name.c_str());
    if (n == _node_index.end()) {
      note("skin \"%s\": joint \"%s\" is not a node of the document; geometry \"%s\" is written without its skin",
           name, j.name.c_str(), mesh_name);
      _skin_index.get_or_insert(name) = -1;
      return true;
    }
    joints.push_back(int32_t(n.value()));
  }
  if (joints.empty()) {
    note("skin \"%s\" has no joints; geometry \"%s\" is written without its skin", name, mesh_name);
    _skin_index.get_or_insert(name) = -1;
    return true;
  }
  if (!matrix_is_finite(s.bind_matrix))
    return fail("skin \"%s\": its bind matrix holds a number that is not finite", name);
  Vector<float> matrices(_a);
  matrices.resize(joints.size() * 16);
  for (uint32_t j = 0; j < joints.size(); ++j) {
    if (!matrix_is_finite(s.joints[j].inv_bind_matrix))
      return fail("skin \"%s\": the inverse bind matrix of joint \"%s\" holds a number that is not finite", name,
                  s.joints[j].name.c_str());
    multiply(s.bind_matrix, s.joints[j].inv_bind_matrix, matrices.data() + 16 * j);
  }
  uint32_t accessor;
  if (!add_float_accessor(matrices, 16, "MAT4", 0, false, accessor))
    return false;
  DynamicConfigValue& k = _top.skins->push_back();
  k.get("name").set_string(name);
  k.get("inverseBindMatrices").set_integer(int32_t(accessor));
  k.get("joints").append_integers(joints.data(), joints.size());
  int32_t group = group_of_joints(s);
  if (group >= 0)
    k.get("skeleton").set_integer(int32_t(_group_node[uint32_t(group)]));
  skin = int32_t(_summary.skins++);
  _skin_index.get_or_insert(name) = skin;
  return true;
}

// Hashes a tuple of stream indices (FNV-1a over the words).
uint32_t hash_tuple(const uint32_t* t, uint32_t n) {
  uint32_t h = 2166136261u;
  for (uint32_t i = 0; i < n; ++i) {
    h ^= t[i];
    h *= 16777619u;
  }
  return h ^ (h >> 15);
}

bool Writer::write_mesh(const char* name, const SceneGeometry& g, int32_t& mesh_out, int32_t& skin_out) {
  mesh_out = -1;
  skin_out = -1;
  const IndexStreams& ix = g.indices;
  if (ix.streams.size() != g.streams.size())
    return fail("geometry \"%s\": %u index lists for %u streams", name, ix.streams.size(), g.streams.size());
  for (uint32_t s = 0; s < g.streams.size(); ++s) {
    const GeometryStream& st = g.streams[s];
    if (uint64_t(st.size) * st.stride > st.data.size())
      return fail("geometry \"%s\": stream %u holds %u bytes, less than its %u elements of %u bytes", name, s,
                  st.data.size(), st.size, st.stride);
    if (ix.streams[s].size() < ix.size)
      return fail("geometry \"%s\": index list %u has %u entries, fewer than %u", name, s, ix.streams[s].size(),
                  ix.size);
  }

  // Find each channel's role. Texture coordinate sets keep their numbers.
  Channel position, normal, binormal, tangent, colour, alpha, weights, joints;
  Vector<Channel> texcoords(_a);
  Vector<uint32_t> texcoord_sets(_a);
  for (uint32_t s = 0; s < g.streams.size(); ++s) {
    const GeometryStream& st = g.streams[s];
    uint32_t offset = 0;
    for (const StreamChannel& c : st.channels) {
      Channel ch;
      ch.stream = &st;
      ch.stream_number = s;
      ch.offset = offset;
      ch.components = channel_type_components(c.type);
      offset += channel_type_size(c.type);
      if (offset > st.stride)
        return fail("geometry \"%s\": the channels of stream %u need more than its stride of %u bytes", name, s,
                    st.stride);
      const char* n = c.name.c_str();
      Channel* role = nullptr;
      ChannelType want = CT_FLOAT3;
      bool any_float = false; // skin channels: 1 to 4 floats
      if (c.index == 0 && strcmp(n, "POSITION") == 0)
        role = &position;
      else if (c.index == 0 && strcmp(n, "NORMAL") == 0)
        role = &normal;
      else if (c.index == 0 && strcmp(n, "BINORMAL") == 0)
        role = &binormal;
      else if (c.index == 0 && strcmp(n, "TANGENT") == 0)
        role = &tangent;
      else if (c.index == 0 && strcmp(n, "COLOR") == 0)
        role = &colour;
      else if (c.index == 0 && strcmp(n, "ALPHA") == 0)
        role = &alpha, want = CT_FLOAT1;
      else if (c.index == 0 && strcmp(n, "BLENDWEIGHTS") == 0)
        role = &weights, any_float = true;
      else if (c.index == 0 && strcmp(n, "BLENDINDICES") == 0)
        role = &joints, any_float = true;
      else if (strcmp(n, "TEXCOORD") == 0) {
        bool duplicate = false;
        for (uint32_t k : texcoord_sets)
          duplicate = duplicate || k == c.index;
        if (c.type != CT_FLOAT2 || duplicate) {
          note("geometry \"%s\": channel TEXCOORD[%u] (%s)%s is not written", name, c.index,
               channel_type_name(c.type), duplicate ? ", a second one of that set," : "");
        } else {
          texcoords.push_back(ch);
          texcoord_sets.push_back(c.index);
        }
        continue;
      }
      if (!role) {
        note("geometry \"%s\": channel %s[%u] has no glTF attribute and is not written", name, n, c.index);
        continue;
      }
      bool type_ok = any_float ? c.type <= CT_FLOAT4 : c.type == want;
      if (!type_ok || role->found()) {
        note("geometry \"%s\": channel %s[%u] (%s)%s is not written", name, n, c.index, channel_type_name(c.type),
             role->found() ? ", a second one," : ", of a type glTF has no attribute for,");
        continue;
      }
      *role = ch;
    }
  }
  if (!position.found()) {
    note("geometry \"%s\" has no POSITION channel of three floats; not written", name);
    return true;
  }
  uint32_t triangles = ix.size / 3;
  if (ix.size % 3)
    note("geometry \"%s\": %u index entries are not a whole number of triangles; the last %u are not written", name,
         ix.size, ix.size % 3);
  if (triangles == 0) {
    note("geometry \"%s\" has no triangles; not written, as a glTF mesh needs at least one", name);
    return true;
  }
  if (!g.smoothing.empty())
    note("geometry \"%s\": its %u smoothing group entries have no place in glTF and are not written", name,
         g.smoothing.size());
  if (tangent.found() && (!binormal.found() || !normal.found()))
    note("geometry \"%s\": TANGENT without BINORMAL and NORMAL; the tangents' handedness is taken as +1", name);
  if (binormal.found() && !tangent.found())
    note("geometry \"%s\": BINORMAL without TANGENT is not written (glTF keeps only a tangent's handedness)", name);
  if (alpha.found() && !colour.found())
    note("geometry \"%s\": ALPHA without COLOR is not written", name);

  // The skin: both channels, the same width, and a skin whose joints are
  // all nodes here. Otherwise the mesh is written unskinned, with a note.
  bool skinned = false;
  const SceneSkin* skin = nullptr;
  if (!g.skin.is_empty_text()) {
    if (!weights.found() || !joints.found() || weights.components != joints.components) {
      note("geometry \"%s\": skin \"%s\" without matching BLENDWEIGHTS and BLENDINDICES channels; written unskinned",
           name, g.skin.c_str());
    } else {
      if (!skin_for(g.skin.c_str(), name, skin_out))
        return false;
      if (skin_out >= 0) {
        skinned = true;
        skin = &_db.skins.find(g.skin.c_str()).value();
      }
    }
  } else if (weights.found() || joints.found()) {
    note("geometry \"%s\": skin channels without a skin are not written", name);
  }

  // The streams whose indices make a glTF vertex.
  Vector<uint32_t> used(_a);
  auto use = [&](const Channel& c) {
    if (!c.found())
      return;
    for (uint32_t s : used)
      if (s == c.stream_number)
        return;
    used.push_back(c.stream_number);
  };
  use(position);
  use(normal);
  if (tangent.found()) {
    use(tangent);
    use(binormal);
  }
  use(colour);
  if (colour.found())
    use(alpha);
  for (const Channel& t : texcoords)
    use(t);
  if (skinned) {
    use(weights);
    use(joints);
  }
  uint32_t width = used.size();
  uint32_t corners = triangles * 3;
  for (uint32_t s : used) {
    const Vector<uint32_t>& list = ix.streams[s];
    uint32_t limit = g.streams[s].size;
    for (uint32_t c = 0; c < corners; ++c)
      if (list[c] >= limit)
        return fail("geometry \"%s\": index %u of list %u is %u, beyond the stream's %u elements", name, c, s,
                    list[c], limit);
  }

  // Distinct tuples, numbered in the order of first use.
  uint32_t table_size = 16;
  while (table_size < corners * 2u && table_size < (1u << 31))
    table_size *= 2;
  Vector<uint32_t> table(_a);
  table.resize(table_size);
  for (uint32_t& t : table)
    t = ~0u;
  Vector<uint32_t> first_corner(_a); // per glTF vertex
  Vector<uint32_t> vertex_of(_a);    // per corner
  vertex_of.resize(corners);
  uint32_t tuple[64], other[64];
  if (width > 64)
    return fail("geometry \"%s\": more than 64 streams", name);
  for (uint32_t c = 0; c < corners; ++c) {
    for (uint32_t k = 0; k < width; ++k)
      tuple[k] = ix.streams[used[k]][c];
    uint32_t slot = hash_tuple(tuple, width) & (table_size - 1);
    while (true) {
      uint32_t v = table[slot];
      if (v == ~0u) {
        v = first_corner.size();
        first_corner.push_back(c);
        table[slot] = v;
        vertex_of[c] = v;
        break;
      }
      uint32_t fc = first_corner[v];
      for (uint32_t k = 0; k < width; ++k)
        other[k] = ix.streams[used[k]][fc];
      if (memcmp(tuple, other, width * 4) == 0) {
        vertex_of[c] = v;
        break;
      }
      slot = (slot + 1) & (table_size - 1);
    }
  }
  table = Vector<uint32_t>(_a);
  uint32_t vertex_count = first_corner.size();

  auto finite = [&](float v) {
    if (isfinite(v))
      return v;
    ++_summary.non_finite;
    return 0.0f;
  };
  auto element = [&](const Channel& ch, uint32_t v) { return ix.streams[ch.stream_number][first_corner[v]]; };

  DynamicConfigValue mesh(_json);
  mesh.get("name").set_string(name);
  DynamicConfigValue attributes(_json);
  Vector<float> values(_a);
  uint32_t accessor;

  values.resize(vertex_count * 3);
  for (uint32_t v = 0; v < vertex_count; ++v) {
    uint32_t e = element(position, v);
    for (uint32_t k = 0; k < 3; ++k)
      values[3 * v + k] = finite(position.read(e, k));
  }
  if (!add_float_accessor(values, 3, "VEC3", ARRAY_BUFFER, true, accessor))
    return false;
  attributes.get("POSITION").set_integer(int32_t(accessor));

  // Normals and tangents must be unit vectors in glTF; a zero one becomes
  // an arbitrary unit vector (counted as non-finite data would be).
  Vector<double> unit_normals(_a);
  if (normal.found()) {
    unit_normals.resize(vertex_count * 3);
    for (uint32_t v = 0; v < vertex_count; ++v) {
      uint32_t e = element(normal, v);
      double* n = unit_normals.data() + 3 * v;
      for (uint32_t k = 0; k < 3; ++k)
        n[k] = finite(normal.read(e, k));
      if (!normalise3(n)) {
        n[0] = 0, n[1] = 1, n[2] = 0;
        ++_summary.non_finite;
      }
      for (uint32_t k = 0; k < 3; ++k)
        values[3 * v + k] = float(n[k]);
    }
    if (!add_float_accessor(values, 3, "VEC3", ARRAY_BUFFER, false, accessor))
      return false;
    attributes.get("NORMAL").set_integer(int32_t(accessor));
  }
  if (tangent.found()) {
    values.resize(vertex_count * 4);
    bool handed = binormal.found() && normal.found();
    for (uint32_t v = 0; v < vertex_count; ++v) {
      uint32_t e = element(tangent, v);
      double t[3];
      for (uint32_t k = 0; k < 3; ++k)
        t[k] = finite(tangent.read(e, k));
      const double* n = normal.found() ? unit_normals.data() + 3 * v : nullptr;
      if (n) { // tangents lie in the surface: drop any part along the normal
        double along = dot3(t, n);
        for (uint32_t k = 0; k < 3; ++k)
          t[k] -= along * n[k];
      }
      if (!normalise3(t)) {
        if (n)
          perpendicular(n, t);
        else
          t[0] = 1, t[1] = 0, t[2] = 0;
        ++_summary.non_finite;
      }
      double w = 1.0;
      if (handed) {
        uint32_t eb = element(binormal, v);
        double b[3] = {binormal.read(eb, 0), binormal.read(eb, 1), binormal.read(eb, 2)}, nt[3];
        cross3(n, t, nt);
        w = dot3(nt, b) < 0 ? -1.0 : 1.0;
      }
      for (uint32_t k = 0; k < 3; ++k)
        values[4 * v + k] = float(t[k]);
      values[4 * v + 3] = float(w);
    }
    if (!add_float_accessor(values, 4, "VEC4", ARRAY_BUFFER, false, accessor))
      return false;
    attributes.get("TANGENT").set_integer(int32_t(accessor));
  }
  if (colour.found()) {
    uint32_t width_c = alpha.found() ? 4 : 3;
    values.resize(vertex_count * width_c);
    // Clamping is counted once per document colour, not per glTF vertex.
    Vector<uint8_t> counted(_a);
    counted.resize(colour.stream->size + (alpha.found() ? alpha.stream->size : 0));
    for (uint8_t& b : counted)
      b = 0;
    for (uint32_t v = 0; v < vertex_count; ++v) {
      uint32_t e = element(colour, v);
      uint32_t ea = alpha.found() ? element(alpha, v) : 0;
      for (uint32_t k = 0; k < width_c; ++k) {
        float x = finite(k < 3 ? colour.read(e, k) : alpha.read(ea, 0));
        if (x < 0 || x > 1) {
          uint8_t& seen = k < 3 ? counted[e] : counted[colour.stream->size + ea];
          if (!(seen & (1u << k))) {
            seen = uint8_t(seen | (1u << k));
            ++_summary.colours_clamped;
          }
          x = x < 0 ? 0.0f : 1.0f;
        }
        values[width_c * v + k] = x;
      }
    }
    if (!add_float_accessor(values, width_c, width_c == 4 ? "VEC4" : "VEC3", ARRAY_BUFFER, false, accessor))
      return false;
    attributes.get("COLOR_0").set_integer(int32_t(accessor));
  }
  // glTF's texture origin is the top left corner, Maya's the bottom left.
  for (uint32_t t = 0; t < texcoords.size(); ++t) {
    values.resize(vertex_count * 2);
    for (uint32_t v = 0; v < vertex_count; ++v) {
      uint32_t e = element(texcoords[t], v);
      values[2 * v] = finite(texcoords[t].read(e, 0));
      values[2 * v + 1] = 1.0f - finite(texcoords[t].read(e, 1));
    }
    if (!add_float_accessor(values, 2, "VEC2", ARRAY_BUFFER, false, accessor))
      return false;
    char key[32];
    snprintf(key, sizeof(key), "TEXCOORD_%u", texcoord_sets[t]);
    attributes.get(key).set_integer(int32_t(accessor));
  }
  if (skinned) {
    // Weights are made whole per skin element (the twi vertex), once.
    uint32_t m = weights.components;
    uint32_t joint_count = skin->joints.size();
    uint32_t elements = weights.stream->size < joints.stream->size ? weights.stream->size : joints.stream->size;
    Vector<float> w4(_a);
    Vector<uint16_t> j4(_a);
    w4.resize(elements * 4);
    j4.resize(elements * 4);
    for (uint32_t e = 0; e < elements; ++e) {
      double w[4] = {0, 0, 0, 0}, sum = 0;
      uint16_t j[4] = {0, 0, 0, 0};
      for (uint32_t k = 0; k < m; ++k) {
        float jf = joints.read(e, k);
        float wf = weights.read(e, k);
        if (!(wf > 0) || !isfinite(wf)) // padding, or nothing glTF can weigh
          continue;
        if (!(jf >= 0) || jf != floorf(jf) || jf >= float(joint_count))
          return fail("geometry \"%s\": skin element %u names joint number %g, but skin \"%s\" has %u joints", name,
                      e, double(jf), g.skin.c_str(), joint_count);
        w[k] = wf;
        j[k] = uint16_t(jf);
        sum += wf;
      }
      if (sum <= 0) {
        w[0] = 1;
        j[0] = 0;
        ++_summary.unweighted;
        ++_summary.weights_normalised;
      } else if (fabs(sum - 1.0) > 1e-6) {
        ++_summary.weights_normalised;
        for (double& x : w)
          x /= sum;
      }
      // Rounded to float, the sum may be off by an ulp or two: the largest
      // weight takes up the difference.
      float f[4];
      uint32_t largest = 0;
      for (uint32_t k = 0; k < 4; ++k) {
        f[k] = float(w[k]);
        largest = w[k] > w[largest] ? k : largest;
      }
      float rest = 0;
      for (uint32_t k = 0; k < 4; ++k)
        rest += k == largest ? 0.0f : f[k];
      f[largest] = 1.0f - rest;
      for (uint32_t k = 0; k < 4; ++k) {
        w4[4 * e + k] = f[k];
        j4[4 * e + k] = f[k] > 0 ? j[k] : 0;
      }
    }
    values.resize(vertex_count * 4);
    Vector<uint16_t> jv(_a);
    jv.resize(vertex_count * 4);
    for (uint32_t v = 0; v < vertex_count; ++v) {
      uint32_t ew = element(weights, v), ej = element(joints, v);
      if (ew >= elements || ej >= elements)
        return fail("geometry \"%s\": skin element %u beyond the %u the skin streams share", name,
                    ew > ej ? ew : ej, elements);
      for (uint32_t k = 0; k < 4; ++k) {
        values[4 * v + k] = w4[4 * ew + k];
        jv[4 * v + k] = j4[4 * ej + k];
      }
    }
    if (!add_accessor(jv.data(), vertex_count, GL_UNSIGNED_SHORT, 4, "VEC4", ARRAY_BUFFER, accessor))
      return false;
    attributes.get("JOINTS_0").set_integer(int32_t(accessor));
    if (!add_float_accessor(values, 4, "VEC4", ARRAY_BUFFER, false, accessor))
      return false;
    attributes.get("WEIGHTS_0").set_integer(int32_t(accessor));
  }

  // One primitive per material group, and one without a material for the
  // triangles that no group lists.
  Vector<uint8_t> grouped(_a);
  grouped.resize(triangles);
  for (uint8_t& b : grouped)
    b = 0;
  bool wide = vertex_count > 65535;
  Vector<uint32_t> indices(_a);
  DynamicConfigValue& primitives = mesh.get("primitives");
  auto add_primitive = [&](int32_t material) {
    if (indices.empty())
      return true;
    uint32_t index_accessor;
    if (wide) {
      if (!add_accessor(indices.data(), indices.size(), GL_UNSIGNED_INT, 1, "SCALAR", ELEMENT_ARRAY_BUFFER,
                        index_accessor))
        return false;
    } else {
      Vector<uint16_t> narrow(_a);
      narrow.resize(indices.size());
      for (uint32_t i = 0; i < indices.size(); ++i)
        narrow[i] = uint16_t(indices[i]);
      if (!add_accessor(narrow.data(), narrow.size(), GL_UNSIGNED_SHORT, 1, "SCALAR", ELEMENT_ARRAY_BUFFER,
                        index_accessor))
        return false;
    }
    DynamicConfigValue& p = primitives.push_back();
    p.get("attributes") = attributes;
    p.get("indices").set_integer(int32_t(index_accessor));
    if (material >= 0)
      p.get("material").set_integer(material);
    ++_summary.primitives;
    return true;
  };
  for (const MaterialGroup& group : g.materials) {
    indices.clear();
    for (uint32_t t : group.primitives) {
      if (t >= triangles)
        return fail("geometry \"%s\": material \"%s\" lists triangle %u of %u", name, group.name.c_str(), t,
                    triangles);
      grouped[t] = 1;
      for (uint32_t k = 0; k < 3; ++k)
        indices.push_back(vertex_of[3 * t + k]);
    }
    if (indices.empty()) {
      note("geometry \"%s\": material \"%s\" has no triangles; no primitive is written for it", name,
           group.name.c_str());
      continue;
    }
    if (!add_primitive(material_for(group.name.c_str())))
      return false;
  }
  indices.clear();
  for (uint32_t t = 0; t < triangles; ++t)
    if (!grouped[t])
      for (uint32_t k = 0; k < 3; ++k)
        indices.push_back(vertex_of[3 * t + k]);
  if (!indices.empty() && !g.materials.empty())
    note("geometry \"%s\": %u triangles have no material; written in a primitive without one", name,
         indices.size() / 3);
  if (!add_primitive(-1))
    return false;

  _top.meshes->push_back() = std::move(mesh);
  mesh_out = int32_t(_summary.meshes++);
  _summary.vertices += vertex_count;
  return true;
}

bool Writer::write_animations() {
  DynamicConfigValue animation(_json);
  DynamicConfigValue& channels = animation.get("channels");
  DynamicConfigValue& samplers = animation.get("samplers");
  const SceneAnimation* previous = nullptr;
  uint32_t input = 0;
  uint32_t odd_samples = 0;
  Vector<float> t(_a), r(_a), s(_a);
  for (const SceneAnimation& anim : _db.animations) {
    const char* node = anim.node.c_str();
    auto target = _node_index.find(node);
    if (target == _node_index.end()) {
      note("animation of \"%s\".%s: no node of that name; not written", node, anim.parameter.c_str());
      continue;
    }
    const GeometryStream& st = anim.stream;
    if (strcmp(anim.parameter.c_str(), "matrix") != 0 || st.channels.empty() ||
        st.channels[0].type != CT_MATRIX4x4) {
      note("animation of \"%s\".%s: only matrix animations have glTF channels; not written", node,
           anim.parameter.c_str());
      continue;
    }
    if (st.channels.size() > 1)
      note("animation of \"%s\": only the first channel of its stream is written", node);
    uint32_t samples = st.size < anim.times.size() ? st.size : anim.times.size();
    if (uint64_t(samples) * st.stride > st.data.size() || st.stride < 64)
      return fail("animation of \"%s\": its stream holds fewer bytes than its samples need", node);
    if (st.size != anim.times.size())
      note("animation of \"%s\": %u matrices for %u times; the first %u of each are written", node, st.size,
           anim.times.size(), samples);
    bool increasing = samples > 0;
    for (uint32_t i = 0; i < samples && increasing; ++i)
      increasing = isfinite(anim.times[i]) && (i == 0 || anim.times[i] > anim.times[i - 1]);
    if (!increasing) {
      note("animation of \"%s\": its times are empty, not finite or not increasing; not written", node);
      continue;
    }
    // Samples of all nodes usually share their times: one input accessor.
    bool same_times = previous && previous->times.size() == samples && anim.times.size() == samples &&
                      memcmp(previous->times.data(), anim.times.data(), samples * 4) == 0;
    if (!same_times) {
      Vector<float> times(_a);
      times.resize(samples);
      memcpy(times.data(), anim.times.data(), samples * 4);
      if (!add_float_accessor(times, 1, "SCALAR", 0, true, input))
        return false;
      previous = &anim;
    }
    t.resize(samples * 3);
    r.resize(samples * 4);
    s.resize(samples * 3);
    float last[16];
    Trs decomposed;
    bool last_odd = false;
    for (uint32_t i = 0; i < samples; ++i) {
      float m[16];
      memcpy(m, st.data.data() + size_t(i) * st.stride, 64);
      if (!matrix_is_finite(m))
        return fail("animation of \"%s\": sample %u holds a number that is not finite", node, i);
      // A node at rest repeats its matrix sample after sample: it is taken
      // apart once.
      if (i == 0 || memcmp(m, last, 64) != 0) {
        memcpy(last, m, 64);
        last_odd = !decompose_matrix(m, decomposed);
      }
      if (last_odd)
        ++odd_samples;
      Trs trs = decomposed;
      // Neighbouring quaternions in one hemisphere, so that LINEAR
      // interpolation takes the short way round.
      if (i > 0) {
        const float* q = r.data() + 4 * (i - 1);
        if (q[0] * trs.rotation[0] + q[1] * trs.rotation[1] + q[2] * trs.rotation[2] + q[3] * trs.rotation[3] < 0)
          for (float& c : trs.rotation)
            c = -c;
      }
      memcpy(t.data() + 3 * i, trs.translation, 12);
      memcpy(r.data() + 4 * i, trs.rotation, 16);
      memcpy(s.data() + 3 * i, trs.scale, 12);
    }
    if (odd_samples) {
      note("animation of \"%s\": %u samples have shear or projection; written as their nearest translation, "
           "rotation and scale",
           node, odd_samples);
      odd_samples = 0;
    }
    const char* paths[3] = {"translation", "rotation", "scale"};
    const Vector<float>* outputs[3] = {&t, &r, &s};
    for (int k = 0; k < 3; ++k) {
      uint32_t output;
      if (!add_float_accessor(*outputs[k], k == 1 ? 4 : 3, k == 1 ? "VEC4" : "VEC3", 0, false, output))
        return false;
      DynamicConfigValue& sampler = samplers.push_back();
      sampler.get("input").set_integer(int32_t(input));
      sampler.get("output").set_integer(int32_t(output));
      sampler.get("interpolation").set_string("LINEAR");
      DynamicConfigValue& channel = channels.push_back();
      channel.get("sampler").set_integer(int32_t(samplers.size() - 1));
      DynamicConfigValue& tgt = channel.get("target");
      tgt.get("node").set_integer(int32_t(target.value()));
      tgt.get("path").set_string(paths[k]);
      ++_summary.animation_channels;
    }
  }
  if (channels.size() > 0) {
    animation.get("name").set_string("sampled");
    _top.animations->push_back() = std::move(animation);
  }
  return true;
}

void append_text(Vector<uint8_t>& out, const char* text, size_t n) {
  uint32_t at = out.size();
  out.resize(at + uint32_t(n));
  memcpy(out.data() + at, text, n);
}

void append_u32(Vector<uint8_t>& out, uint32_t v) {
  uint8_t b[4] = {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
  append_text(out, reinterpret_cast<const char*>(b), 4);
}

// Appends the base64 text of `in` to `out`.
void append_base64(const Vector<uint8_t>& in, Vector<char>& out) {
  static const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  out.reserve(out.size() + (in.size() + 2) / 3 * 4);
  for (uint32_t i = 0; i < in.size(); i += 3) {
    uint32_t n = in.size() - i;
    uint32_t v = uint32_t(in[i]) << 16 | (n > 1 ? uint32_t(in[i + 1]) << 8 : 0) | (n > 2 ? in[i + 2] : 0);
    out.push_back(digits[v >> 18]);
    out.push_back(digits[(v >> 12) & 63]);
    out.push_back(n > 1 ? digits[(v >> 6) & 63] : '=');
    out.push_back(n > 2 ? digits[v & 63] : '=');
  }
}

bool Writer::run(const GltfOptions& options, Vector<uint8_t>& out) {
  _root.set_object();
  DynamicConfigValue& asset = _root.get("asset");
  asset.get("version").set_string("2.0");
  asset.get("generator").set_string("twi gltf");
  // The one fact of the document with no glTF field of its own.
  if (!_db.source_path.is_empty_text())
    asset.get("extras").get("source_path").set_string(_db.source_path.c_str());

  const char* members[] = {"accessors", "animations", "bufferViews", "buffers", "materials",
                           "meshes",    "nodes",      "scene",       "scenes",  "skins"};
  for (const char* m : members)
    _root.get(m);
  _top.accessors = &_root.get("accessors");
  _top.animations = &_root.get("animations");
  _top.buffer_views = &_root.get("bufferViews");
  _top.materials = &_root.get("materials");
  _top.meshes = &_root.get("meshes");
  _top.nodes = &_root.get("nodes");
  _top.skins = &_root.get("skins");

  if (!order_nodes())
    return false;
  group_skeleton_roots();
  _animated.resize(_node_order.size());
  for (uint8_t& a : _animated)
    a = 0;
  for (const SceneAnimation& anim : _db.animations) {
    auto it = _node_index.find(anim.node.c_str());
    if (it != _node_index.end() && strcmp(anim.parameter.c_str(), "matrix") == 0)
      _animated[it.value()] = 1;
  }
  if (!write_nodes())
    return false;
  for (auto it = _db.geometries.begin(); it != _db.geometries.end(); ++it) {
    if (!_placed.has(it.key().c_str()))
      note("geometry \"%s\" is on no node; not written, as a glTF mesh is shown only through a node",
           it.key().c_str());
  }
  for (auto it = _db.skins.begin(); it != _db.skins.end(); ++it)
    if (!_skin_index.has(it.key().c_str()))
      note("skin \"%s\" deforms no written geometry; not written", it.key().c_str());
  if (!write_animations())
    return false;

  DynamicConfigValue& scene = _root.get("scenes").push_back();
  if (!_db.roots.empty()) {
    DynamicConfigValue& roots = scene.get("nodes");
    Vector<uint8_t> group_written(_a);
    group_written.resize(_group_node.size());
    for (uint8_t& w : group_written)
      w = 0;
    for (const String& r : _db.roots) {
      uint32_t index = _node_index.find(r.c_str()).value();
      int32_t group = _group_of_root[index];
      if (group < 0) {
        roots.push_back().set_integer(int32_t(index));
      } else if (!group_written[uint32_t(group)]) {
        group_written[uint32_t(group)] = 1;
        roots.push_back().set_integer(int32_t(_group_node[uint32_t(group)]));
      }
    }
  } else {
    scene.set_object();
  }
  _root.get("scene").set_integer(0);

  while (_bin.size() % 4)
    _bin.push_back(0);
  if (!_bin.empty()) {
    DynamicConfigValue& buffer = _root.get("buffers").push_back();
    if (!options.binary) {
      static const char prefix[] = "data:application/octet-stream;base64,";
      Vector<char> uri(_a);
      uri.push_back_n(prefix, sizeof(prefix) - 1);
      append_base64(_bin, uri);
      buffer.get("uri").set_string(uri.data(), uri.size());
    }
    buffer.get("byteLength").set_integer(int32_t(_bin.size()));
  }

  // glTF forbids empty arrays: members with nothing in them go.
  for (const char* m : members)
    if (_root.get(m).is_nil())
      _root.remove(m);

  Vector<char> json(_a);
  foundation::JsonWriteOptions write;
  write.single_line = true;
  write.exact = true;
  foundation::write_json(_root, json, write);
  out.clear();
  if (!options.binary) {
    append_text(out, json.data(), json.size());
    append_text(out, "\n", 1);
    return true;
  }
  while (json.size() % 4)
    json.push_back(' ');
  uint64_t total = 12 + 8 + uint64_t(json.size()) + (_bin.empty() ? 0 : 8 + uint64_t(_bin.size()));
  if (total > 0xffffffffu)
    return fail("the asset would take %llu bytes, more than a GLB file can hold", (unsigned long long)total);
  append_text(out, "glTF", 4);
  append_u32(out, 2);
  append_u32(out, uint32_t(total));
  append_u32(out, json.size());
  append_text(out, "JSON", 4);
  append_text(out, json.data(), json.size());
  if (!_bin.empty()) {
    append_u32(out, _bin.size());
    append_text(out, "BIN\0", 4);
    uint32_t at = out.size();
    out.resize(at + _bin.size());
    memcpy(out.data() + at, _bin.data(), _bin.size());
  }
  return true;
}

} // namespace

bool decompose_matrix(const float m[16], Trs& out) {
  for (int k = 0; k < 3; ++k)
    out.translation[k] = m[12 + k];
  double rows[3][3], scale[3];
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c)
      rows[r][c] = m[4 * r + c];
    scale[r] = sqrt(dot3(rows[r], rows[r]));
  }
  double c12[3];
  cross3(rows[1], rows[2], c12);
  double det = dot3(rows[0], c12);
  // A mirror is a negative scale; put it on x.
  if (det < 0) {
    scale[0] = -scale[0];
    for (double& v : rows[0])
      v = -v;
  }
  bool zero[3];
  int zeros = 0;
  for (int r = 0; r < 3; ++r) {
    zero[r] = !normalise3(rows[r]);
    zeros += zero[r];
  }
  bool exact = true;
  // Shear: the axes' images are not perpendicular.
  for (int r = 0; r < 3; ++r)
    for (int q = r + 1; q < 3; ++q)
      if (!zero[r] && !zero[q] && fabs(dot3(rows[r], rows[q])) > SHEAR_TOLERANCE)
        exact = false;
  double largest = fabs(scale[0]) > fabs(scale[1]) ? fabs(scale[0]) : fabs(scale[1]);
  largest = largest > fabs(scale[2]) ? largest : fabs(scale[2]);
  double p = fabs(m[3]) + fabs(m[7]) + fabs(m[11]) + fabs(m[15] - 1.0);
  if (p > PROJECTION_TOLERANCE * (largest > 1 ? largest : 1))
    exact = false;
  // A rotation from what is left: complete missing axes, then make the
  // three orthonormal (Gram-Schmidt from x), right-handed.
  double basis[3][3];
  if (zeros == 3) {
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c)
        basis[r][c] = r == c;
  } else {
    int first = zero[0] ? (zero[1] ? 2 : 1) : 0;
    memcpy(basis[0], rows[first], sizeof(basis[0]));
    int second = -1;
    for (int r = first + 1; r < 3 && second < 0; ++r)
      if (!zero[r])
        second = r;
    double b[3];
    bool have_second = false;
    if (second >= 0) {
      memcpy(b, rows[second], sizeof(b));
      double along = dot3(b, basis[0]);
      for (int k = 0; k < 3; ++k)
        b[k] -= along * basis[0][k];
      have_second = normalise3(b);
    }
    if (!have_second)
      perpendicular(basis[0], b);
    memcpy(basis[1], b, sizeof(b));
    cross3(basis[0], basis[1], basis[2]);
    // basis holds the images of axis `first`, then `second`, then their
    // cross product; map them back to x, y, z keeping a right hand.
    double axes[3][3];
    int sec = second >= 0 ? second : (first == 0 ? 1 : first == 1 ? 2 : 0);
    int third = 3 - first - sec;
    memcpy(axes[first], basis[0], sizeof(axes[0]));
    memcpy(axes[sec], basis[1], sizeof(axes[0]));
    memcpy(axes[third], basis[2], sizeof(axes[0]));
    // (first, sec, third) is an even or odd permutation of (0, 1, 2).
    bool even = (sec - first + 3) % 3 == 1;
    if (!even)
      for (double& v : axes[third])
        v = -v;
    memcpy(basis, axes, sizeof(basis));
  }
  // The column-vector rotation matrix has the axes' images as columns:
  // R[i][j] = basis[j][i].
  double R[3][3];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      R[i][j] = basis[j][i];
  double x, y, z, w;
  double trace = R[0][0] + R[1][1] + R[2][2];
  if (trace > 0) {
    double s = sqrt(trace + 1.0) * 2;
    w = 0.25 * s;
    x = (R[2][1] - R[1][2]) / s;
    y = (R[0][2] - R[2][0]) / s;
    z = (R[1][0] - R[0][1]) / s;
  } else if (R[0][0] > R[1][1] && R[0][0] > R[2][2]) {
    double s = sqrt(1.0 + R[0][0] - R[1][1] - R[2][2]) * 2;
    w = (R[2][1] - R[1][2]) / s;
    x = 0.25 * s;
    y = (R[0][1] + R[1][0]) / s;
    z = (R[0][2] + R[2][0]) / s;
  } else if (R[1][1] > R[2][2]) {
    double s = sqrt(1.0 + R[1][1] - R[0][0] - R[2][2]) * 2;
    w = (R[0][2] - R[2][0]) / s;
    x = (R[0][1] + R[1][0]) / s;
    y = 0.25 * s;
    z = (R[1][2] + R[2][1]) / s;
  } else {
    double s = sqrt(1.0 + R[2][2] - R[0][0] - R[1][1]) * 2;
    w = (R[1][0] - R[0][1]) / s;
    x = (R[0][2] + R[2][0]) / s;
    y = (R[1][2] + R[2][1]) / s;
    z = 0.25 * s;
  }
  double n = sqrt(x * x + y * y + z * z + w * w);
  if (w < 0) // one of the two equal quaternions, chosen the same way always
    n = -n;
  out.rotation[0] = float(x / n);
  out.rotation[1] = float(y / n);
  out.rotation[2] = float(z / n);
  out.rotation[3] = float(w / n);
  for (int k = 0; k < 3; ++k)
    out.scale[k] = float(scale[k]);
  return exact;
}

void compose_matrix(const Trs& trs, float m[16]) {
  double x = trs.rotation[0], y = trs.rotation[1], z = trs.rotation[2], w = trs.rotation[3];
  // Column-vector rotation matrix of the quaternion.
  double R[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)},
                    {2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)},
                    {2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)}};
  // Row r of the twi matrix is the image of axis r: column r of R, scaled.
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c)
      m[4 * r + c] = float(R[c][r] * trs.scale[r]);
    m[4 * r + 3] = 0;
  }
  for (int c = 0; c < 3; ++c)
    m[12 + c] = trs.translation[c];
  m[15] = 1;
}

bool write_gltf(const SceneDatabase& database, const GltfOptions& options, Vector<uint8_t>& out,
                GltfSummary& summary, Vector<String>& notes, String& error) {
  summary = GltfSummary();
  Writer writer(database, summary, notes, error);
  return writer.run(options, out);
}

} // namespace twi
