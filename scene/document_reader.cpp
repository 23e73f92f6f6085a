#include "scene/document_reader.h"

#include "foundation/error/assert.h"
#include "foundation/error/error_context.h"
#include "foundation/memory/temp_allocator.h"

#include <string.h>

namespace twi {

using foundation::DynamicConfigValue;
using foundation::ErrorContext;
typedef DynamicConfigValue DCV;

namespace {

// A float as it is; an integer converted; anything else "is_integer()".
inline float number(const DCV& v) { return v.to_float(); }

void read_matrix(const DCV& array, float* out) {
  for (uint32_t i = 0; i < 16; ++i)
    out[i] = number(array.at(i));
}

// Padding a stream's elements may carry beyond their channels: stride can
// exceed the channels' bytes by this much. It bounds what a document can
// make the reader allocate to a small multiple of the numbers it holds.
const uint32_t MAX_STRIDE_PADDING = 64;

void read_stream(const DCV& v, GeometryStream& s) {
  int32_t size, stride;
  {
    ErrorContext key("key", "size");
    size = v.get("size").to_integer();
  }
  {
    ErrorContext key("key", "stride");
    stride = v.get("stride").to_integer();
  }
  TW_ASSERT_MSG(size >= 0 && stride >= 0, "negative size %d or stride %d", size, stride);
  if (size < 0 || stride < 0)
    return;
  s.size = uint32_t(size);
  s.stride = uint32_t(stride);
  const DCV& channels = v.get("channels");
  uint32_t channel_bytes = 0;
  uint32_t components = 0;
  s.channels.clear();
  for (uint32_t i = 0; i < channels.size(); ++i) {
    ErrorContext channel("channel", i);
    const DCV& c = channels.at(i);
    StreamChannel& out = s.channels.push_back_default();
    out.index = uint32_t(c.get("index").to_integer());
    out.type = channel_type_from_name(c.get("type").to_string());
    out.name = c.get("name").to_string();
    channel_bytes += channel_type_size(out.type);
    components += channel_type_components(out.type);
  }
  if (s.size == 0)
    return;
  // What the text can't fill is refused before anything is made for it.
  TW_ASSERT_MSG(components > 0, "a stream of %u elements has no channels", s.size);
  TW_ASSERT_MSG(channel_bytes <= s.stride, "stride smaller than the channels (%u bytes, stride %u)", channel_bytes,
                s.stride);
  TW_ASSERT_MSG(s.stride - channel_bytes <= MAX_STRIDE_PADDING || channel_bytes > s.stride,
                "stride %u exceeds the channels' %u bytes by more than %u", s.stride, channel_bytes,
                MAX_STRIDE_PADDING);
  uint64_t bytes = uint64_t(s.size) * s.stride;
  TW_ASSERT_MSG(bytes < 0x80000000ull, "stream too large (%u elements of %u bytes)", s.size, s.stride);
  if (components == 0 || channel_bytes > s.stride || s.stride - channel_bytes > MAX_STRIDE_PADDING ||
      bytes >= 0x80000000ull)
    return;

  ErrorContext key("key", "data");
  const DCV& data = v.get("data");
  // A data array too short fails on its first missing number, before the
  // buffer for the whole stream is made.
  uint64_t needed = uint64_t(s.size) * components;
  if (needed > data.size())
    number(data.at(data.size()));
  if (needed > data.size())
    return;
  // The values lie one after another, channel by channel and element by
  // element; a stride beyond the channels leaves zeros at the end.
  s.data.resize(uint32_t(bytes));
  uint8_t* p = s.data.data();
  const DCV* values = data.array_record()->data();
  uint32_t n = 0;
  for (uint32_t e = 0; e < s.size; ++e) {
    for (const StreamChannel& c : s.channels) {
      uint32_t count = channel_type_components(c.type);
      for (uint32_t i = 0; i < count; ++i) {
        float f = number(values[n++]);
        memcpy(p, &f, 4);
        p += 4;
      }
    }
  }
}

// A node being read: its record, filled before its children are read and
// stored after them, and the next child to read.
struct OpenNode {
  const char* name;
  SceneNode* node;
  DCV::Iterator next;
  DCV::Iterator end;
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

// Reads a node's own keys (not its children) into a new record.
void begin_node(const char* name, const char* parent, const DCV& v, SceneNode* node) {
  ErrorContext context("node", name);
  ErrorContext under("parent", parent[0] ? parent : "(none: a root)");
  node->parent = parent;
  {
    ErrorContext key("key", "local");
    read_matrix(v.get("local"), node->local);
  }
  if (v.has("geometries")) {
    ErrorContext key("key", "geometries");
    const DCV& geometries = v.get("geometries");
    for (uint32_t i = 0; i < geometries.size(); ++i)
      node->geometries.push_back_default() = geometries.at(i).to_string();
  }
  if (v.has("children")) {
    ErrorContext key("key", "children");
    TW_ASSERT(v.get("children").is_object() || v.get("children").is_nil());
  }
}

// The open nodes' records, given back however the walk ends (a failed
// assertion may leave it by an exception).
struct OpenNodes {
  SceneDatabase& db;
  foundation::Vector<OpenNode> list;
  OpenNodes(SceneDatabase& d, foundation::Allocator& a) : db(d), list(a) {}
  ~OpenNodes() {
    for (OpenNode& o : list)
      db.allocator().make_delete(o.node);
  }
};

// Reads the node `name` and everything below it. Each node is stored after
// its children, as a recursive reader would; the hierarchy is walked with a
// list of the open nodes instead, since documents are as deep as scenes.
void read_node(SceneDatabase& db, const char* name, const char* parent, const DCV& v) {
  foundation::ScopedTempAllocator scratch;
  OpenNodes nodes(db, scratch);
  foundation::Vector<OpenNode>& open = nodes.list;
  auto enter = [&](const char* node_name, const char* parent_name, const DCV& value) {
    OpenNode o{node_name, db.allocator().make_new<SceneNode>(db.allocator()), DCV::Iterator(), DCV::Iterator()};
    open.push_back(o);
    begin_node(node_name, parent_name, value, o.node);
    const DCV& children = value.get("children");
    if (children.is_object()) {
      open.back().next = children.begin();
      open.back().end = children.end();
    }
  };
  enter(name, parent, v);
  while (!open.empty()) {
    OpenNode& top = open.back();
    if (top.next != top.end) {
      DCV::Iterator child = top.next;
      ++top.next;
      top.node->children.push_back_default() = child.key().c_str();
      enter(child.key().c_str(), top.name, child.value()); // `top` is not used after this
      continue;
    }
    SceneNode* node = top.node;
    db.nodes.get_or_insert(top.name) = *node;
    db.allocator().make_delete(node);
    open.pop_back();
  }
}

void read_geometry(const DCV& v, SceneGeometry& g) {
  if (v.has("streams")) {
    const DCV& streams = v.get("streams");
    g.streams.clear();
    for (uint32_t i = 0; i < streams.size(); ++i) {
      ErrorContext stream("stream", i);
      read_stream(streams.at(i), g.streams.push_back_default());
    }
  }
  if (v.has("indices")) {
    ErrorContext key("key", "indices");
    const DCV& indices = v.get("indices");
    g.indices.size = uint32_t(indices.get("size").to_integer());
    indices.get("type").to_string(); // must be a text, otherwise ignored
    g.indices.type = TRIANGLE_LIST;
    const DCV& lists = indices.get("streams");
    g.indices.streams.clear();
    g.indices.streams.resize(lists.size());
    for (uint32_t s = 0; s < lists.size(); ++s) {
      ErrorContext list("list", s);
      const DCV& l = lists.at(s);
      Vector<uint32_t>& out = g.indices.streams[s];
      out.resize(l.size());
      for (uint32_t i = 0; i < l.size(); ++i)
        out[i] = uint32_t(l.at(i).to_integer());
    }
  }
  if (v.has("materials")) {
    const DCV& materials = v.get("materials");
    g.materials.clear();
    for (uint32_t i = 0; i < materials.size(); ++i) {
      ErrorContext material("material", i);
      const DCV& m = materials.at(i);
      MaterialGroup& out = g.materials.push_back_default();
      out.name = m.get("name").to_string();
      const DCV& primitives = m.get("primitives");
      for (uint32_t p = 0; p < primitives.size(); ++p)
        out.primitives.push_back(uint32_t(primitives.at(p).to_integer()));
    }
  }
  if (v.has("smoothing")) {
    ErrorContext key("key", "smoothing");
    const DCV& smoothing = v.get("smoothing");
    for (uint32_t i = 0; i < smoothing.size(); ++i)
      g.smoothing.push_back(uint32_t(smoothing.at(i).to_integer()));
  }
  if (v.has("skin")) {
    ErrorContext key("key", "skin");
    g.skin = v.get("skin").to_string();
  }
}

void read_skin(const DCV& v, SceneSkin& skin) {
  {
    ErrorContext key("key", "bind_matrix");
    read_matrix(v.get("bind_matrix"), skin.bind_matrix);
  }
  const DCV& joints = v.get("joints");
  skin.joints.clear();
  for (uint32_t i = 0; i < joints.size(); ++i) {
    ErrorContext joint("joint", i);
    const DCV& j = joints.at(i);
    SkinJoint& out = skin.joints.push_back_default();
    out.name = j.get("name").to_string();
    ErrorContext key("key", "inv_bind_matrix");
    read_matrix(j.get("inv_bind_matrix"), out.inv_bind_matrix);
  }
}

void read_animation(const DCV& v, SceneAnimation& a) {
  {
    ErrorContext key("key", "node");
    a.node = v.get("node").to_string();
  }
  {
    ErrorContext key("key", "parameter");
    a.parameter = v.get("parameter").to_string();
  }
  {
    ErrorContext key("key", "times");
    const DCV& times = v.get("times");
    for (uint32_t i = 0; i < times.size(); ++i)
      a.times.push_back(number(times.at(i)));
  }
  ErrorContext key("key", "stream");
  read_stream(v.get("stream"), a.stream);
}

} // namespace

void read_scene_document(SceneDatabase& db, const DCV& root) {
  if (!root.is_object())
    return;
  if (root.has("nodes")) {
    const DCV& nodes = root.get("nodes");
    for (DCV::Iterator it = nodes.begin(); it != nodes.end(); ++it) {
      db.roots.push_back_default() = it.key().c_str();
      read_node(db, it.key().c_str(), "", it.value());
    }
  }
  if (root.has("geometries")) {
    const DCV& geometries = root.get("geometries");
    for (DCV::Iterator it = geometries.begin(); it != geometries.end(); ++it) {
      ErrorContext context("geometry", it.key().c_str());
      read_geometry(it.value(), db.geometries.get_or_insert(it.key().c_str()));
    }
  }
  if (root.has("animations")) {
    const DCV& animations = root.get("animations");
    db.animations.resize(animations.size());
    for (uint32_t i = 0; i < animations.size(); ++i) {
      ErrorContext context("animation", i);
      read_animation(animations.at(i), db.animations[i]);
    }
  }
  if (root.has("skins")) {
    const DCV& skins = root.get("skins");
    for (DCV::Iterator it = skins.begin(); it != skins.end(); ++it) {
      ErrorContext context("skin", it.key().c_str());
      read_skin(it.value(), db.skins.get_or_insert(it.key().c_str()));
    }
  }
  if (root.has("source_path")) {
    ErrorContext key("key", "source_path");
    db.source_path = root.get("source_path").to_string();
  }
}

} // namespace twi
