#include "scene/document_writer.h"

#include "foundation/memory/temp_allocator.h"

#include <string.h>

namespace twi {

using foundation::DynamicConfigValue;
typedef DynamicConfigValue DCV;

namespace {

void write_floats(DCV& array, const float* values, uint32_t n) {
  array.reserve(n);
  array.append_floats(values, n);
}

void write_integers(DCV& array, const Vector<uint32_t>& values) {
  array.reserve(values.size());
  // The values are written as int32 (a uint32 above 2^31 - 1 wraps).
  array.append_integers(reinterpret_cast<const int32_t*>(values.data()), values.size());
}

void write_stream(const GeometryStream& stream, DCV& out) {
  DCV& channels = out.get("channels");
  uint32_t components = 0;
  for (const StreamChannel& c : stream.channels) {
    DCV& channel = channels.push_back();
    channel.get("name").set_string(c.name.c_str(), c.name.length());
    channel.get("index").set_integer(int32_t(c.index));
    channel.get("type").set_string(channel_type_name(c.type));
    components += channel_type_components(c.type);
  }
  out.get("stride").set_integer(int32_t(stream.stride));
  out.get("size").set_integer(int32_t(stream.size));
  DCV& data = out.get("data");
  if (stream.size == 0)
    return;
  // Walking the bytes by the channels' sizes (the stride is not consulted)
  // reads size * components floats one after the other from the start.
  uint32_t total = stream.size * components;
  data.reserve(total);
  const uint8_t* p = stream.data.data();
  float chunk[256];
  for (uint32_t done = 0; done < total;) {
    uint32_t n = total - done < 256 ? total - done : 256;
    memcpy(chunk, p + 4 * size_t(done), 4 * size_t(n));
    data.append_floats(chunk, n);
    done += n;
  }
}

// A node still to write and the member it goes into.
struct PendingNode {
  const SceneNode* node;
  DCV* out;
  const String* name; // its name among its parent's children
};

// Writes `node` and everything below it. The hierarchy is walked with a
// list of the nodes still to write rather than by recursion, since scenes
// can be thousands of levels deep. A node's children members are all made
// before any is written, so the pointers in the list stay valid.
void write_node(const SceneDatabase& db, const SceneNode& node, DCV& out) {
  foundation::ScopedTempAllocator scratch;
  foundation::Vector<PendingNode> pending(scratch);
  pending.push_back(PendingNode{&node, &out, nullptr});
  // Each node of the database is written once at most: the capture makes
  // a tree, and a broken one must not make the walk endless.
  uint32_t budget = db.nodes.size() + 1;
  while (!pending.empty() && budget-- > 0) {
    PendingNode at = pending.back();
    pending.pop_back();
    const SceneNode& n = *at.node;
    DCV& o = *at.out;
    if (!n.parent.is_empty_text())
      o.get("parent").set_string(n.parent.c_str(), n.parent.length());
    write_floats(o.get("local"), n.local, 16);
    if (!n.geometries.empty()) {
      DCV& geometries = o.get("geometries");
      for (const String& g : n.geometries)
        geometries.push_back().set_string(g.c_str(), g.length());
    }
    if (n.children.empty())
      continue;
    DCV& children = o.get("children");
    uint32_t first = pending.size();
    for (const String& name : n.children) {
      String key(name, scratch); // the lookup uses a copy of the name
      auto it = db.nodes.find(key.c_str());
      if (it != db.nodes.end()) {
        children.get(key.c_str());
        pending.push_back(PendingNode{&it.value(), nullptr, &name});
      }
    }
    // The members exist now; their places are final.
    for (uint32_t i = first; i < pending.size(); ++i)
      pending[i].out = &children.get(pending[i].name->c_str());
  }
}

void write_geometry(const SceneGeometry& g, DCV& out) {
  // A geometry with nothing in it is still an object: null is not one.
  out.set_object();
  if (!g.streams.empty()) {
    DCV& streams = out.get("streams");
    for (const GeometryStream& s : g.streams)
      write_stream(s, streams.push_back());
  }
  if (!g.indices.streams.empty()) {
    DCV& indices = out.get("indices");
    indices.get("size").set_integer(int32_t(g.indices.size));
    indices.get("type").set_string(index_type_name(g.indices.type));
    DCV& lists = indices.get("streams");
    for (const Vector<uint32_t>& list : g.indices.streams) {
      DCV& l = lists.push_back();
      if (list.empty())
        continue; // an empty list is written as null
      write_integers(l, list);
    }
  }
  if (!g.materials.empty()) {
    DCV& materials = out.get("materials");
    for (const MaterialGroup& m : g.materials) {
      DCV& material = materials.push_back();
      material.get("name").set_string(m.name.c_str(), m.name.length());
      DCV& primitives = material.get("primitives");
      if (!m.primitives.empty())
        write_integers(primitives, m.primitives);
    }
  }
  if (!g.smoothing.empty()) {
    DCV& smoothing = out.get("smoothing");
    for (uint32_t v : g.smoothing)
      smoothing.push_back().set_integer(int32_t(v));
  }
  if (!g.skin.is_empty_text())
    out.get("skin").set_string(g.skin.c_str(), g.skin.length());
}

void write_skin(const SceneSkin& skin, DCV& out) {
  write_floats(out.get("bind_matrix"), skin.bind_matrix, 16);
  DCV& joints = out.get("joints");
  for (const SkinJoint& j : skin.joints) {
    DCV& joint = joints.push_back();
    joint.get("name").set_string(j.name.c_str(), j.name.length());
    write_floats(joint.get("inv_bind_matrix"), j.inv_bind_matrix, 16);
  }
}

void write_animation(const SceneAnimation& a, DCV& out) {
  out.get("node").set_string(a.node.c_str(), a.node.length());
  out.get("parameter").set_string(a.parameter.c_str(), a.parameter.length());
  if (!a.times.empty())
    write_floats(out.get("times"), a.times.data(), a.times.size());
  write_stream(a.stream, out.get("stream"));
}

} // namespace

void write_scene_document(const SceneDatabase& db, DCV& root) {
  root.set_object();
  DCV& nodes = root.get("nodes");
  for (const String& name : db.roots) {
    auto it = db.nodes.find(name.c_str());
    if (it != db.nodes.end())
      write_node(db, it.value(), nodes.get(name.c_str()));
  }
  if (!db.geometries.empty()) {
    DCV& geometries = root.get("geometries");
    for (auto it = db.geometries.begin(); it != db.geometries.end(); ++it)
      write_geometry(it.value(), geometries.get(it.key().c_str()));
  }
  if (!db.animations.empty()) {
    DCV& animations = root.get("animations");
    for (uint32_t i = 0; i < db.animations.size(); ++i)
      write_animation(db.animations[i], animations.at(i));
  }
  if (!db.skins.empty()) {
    DCV& skins = root.get("skins");
    for (auto it = db.skins.begin(); it != db.skins.end(); ++it)
      write_skin(it.value(), skins.get(it.key().c_str()));
  }
  root.get("source_path").set_string(db.source_path.c_str(), db.source_path.length());
}

} // namespace twi
