#include "scene/scene_check.h"

#include "foundation/memory/temp_allocator.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

namespace twi {

namespace {

class Checker {
public:
  Checker(const SceneDatabase& db, Vector<String>& problems) : _db(db), _problems(problems) {}

  void problem(const char* place, const char* format, ...) TW_PRINTF_FORMAT(3, 4) {
    char message[512];
    va_list args;
    va_start(args, format);
    vsnprintf(message, sizeof(message), format, args);
    va_end(args);
    char line[1024];
    snprintf(line, sizeof(line), "%s: %s", place, message);
    _problems.push_back_default() = line;
  }

  void check_stream(const char* place, const GeometryStream& s) {
    uint32_t channel_bytes = 0;
    for (const StreamChannel& c : s.channels)
      channel_bytes += channel_type_size(c.type);
    if (channel_bytes != s.stride)
      problem(place, "stride is %u but the channels take %u bytes", s.stride, channel_bytes);
    uint64_t expected = uint64_t(s.size) * s.stride;
    if (s.data.size() != expected)
      problem(place, "data holds %u bytes, not size %u times stride %u", s.data.size(), s.size, s.stride);
  }

  void check_geometry(const char* name, const SceneGeometry& g) {
    char place[512];
    for (uint32_t i = 0; i < g.streams.size(); ++i) {
      snprintf(place, sizeof(place), "geometry %s > stream %u", name, i);
      check_stream(place, g.streams[i]);
    }
    const IndexStreams& indices = g.indices;
    snprintf(place, sizeof(place), "geometry %s > indices", name);
    if (!indices.streams.empty()) {
      if (indices.streams.size() != g.streams.size())
        problem(place, "%u index lists for %u streams", indices.streams.size(), g.streams.size());
      if (indices.size % 3 != 0)
        problem(place, "size %u is not three entries per triangle", indices.size);
      for (uint32_t s = 0; s < indices.streams.size(); ++s) {
        const Vector<uint32_t>& list = indices.streams[s];
        char list_place[600];
        snprintf(list_place, sizeof(list_place), "%s > list %u", place, s);
        if (list.size() != indices.size)
          problem(list_place, "holds %u entries, not size %u", list.size(), indices.size);
        if (s >= g.streams.size())
          continue;
        uint32_t limit = g.streams[s].size;
        for (uint32_t i = 0; i < list.size(); ++i) {
          if (list[i] >= limit) {
            char entry_place[700];
            snprintf(entry_place, sizeof(entry_place), "%s > entry %u", list_place, i);
            problem(entry_place, "index %u is not below the stream size %u", list[i], limit);
            break; // one report per list is enough
          }
        }
      }
    }
    uint32_t triangles = indices.size / 3;
    for (uint32_t m = 0; m < g.materials.size(); ++m) {
      const MaterialGroup& group = g.materials[m];
      for (uint32_t p : group.primitives) {
        if (p >= triangles) {
          snprintf(place, sizeof(place), "geometry %s > material %s", name, group.name.c_str());
          problem(place, "primitive %u is not below the triangle count %u", p, triangles);
          break;
        }
      }
    }
    if (!g.skin.is_empty_text() && !_db.skins.has(g.skin.c_str())) {
      snprintf(place, sizeof(place), "geometry %s > skin", name);
      problem(place, "no skin named %s", g.skin.c_str());
    }
  }

  // Checks a node: reached once, listed under its parent, its geometries
  // known. Returns whether its children are to be walked.
  bool check_node(const char* name, const char* expected_parent) {
    auto it = _db.nodes.find(name);
    if (it == _db.nodes.end())
      return false;
    char place[512];
    snprintf(place, sizeof(place), "node %s", name);
    uint32_t& visits = _visits.get_or_insert(name);
    if (++visits > 1) {
      problem(place, "reached more than once from the roots");
      return false;
    }
    const SceneNode& node = it.value();
    if (strcmp(node.parent.c_str(), expected_parent) != 0)
      problem(place, "parent is \"%s\" but it is listed under \"%s\"", node.parent.c_str(), expected_parent);
    for (const String& g : node.geometries) {
      if (!_db.geometries.has(g.c_str())) {
        snprintf(place, sizeof(place), "node %s > geometries", name);
        problem(place, "no geometry named %s", g.c_str());
      }
    }
    return true;
  }

  // Walks a root's subtree depth first with a list of the nodes to visit
  // (hierarchies can be far deeper than the stack allows); a node reached
  // twice is reported and not walked again, so the walk ends.
  void visit(const char* root) {
    struct Pending {
      const char* name;
      const char* parent;
    };
    Vector<Pending> todo(_scratch);
    todo.push_back(Pending{root, ""});
    while (!todo.empty()) {
      Pending at = todo.back();
      todo.pop_back();
      if (!check_node(at.name, at.parent))
        continue;
      const SceneNode& node = _db.nodes.find(at.name).value();
      for (const String& child : node.children) {
        if (!_db.nodes.has(child.c_str())) {
          char place[512];
          snprintf(place, sizeof(place), "node %s > children", at.name);
          problem(place, "no node named %s", child.c_str());
        }
      }
      for (uint32_t i = node.children.size(); i-- > 0;)
        if (_db.nodes.has(node.children[i].c_str()))
          todo.push_back(Pending{node.children[i].c_str(), at.name});
    }
  }

  void run() {
    for (const String& root : _db.roots) {
      if (!_db.nodes.has(root.c_str()))
        problem("roots", "no node named %s", root.c_str());
      else
        visit(root.c_str());
    }
    for (auto it = _db.nodes.begin(); it != _db.nodes.end(); ++it) {
      if (!_visits.has(it.key().c_str())) {
        char place[512];
        snprintf(place, sizeof(place), "node %s", it.key().c_str());
        problem(place, "not reached from the roots");
      }
      const String& parent = it.value().parent;
      if (!parent.is_empty_text() && !_db.nodes.has(parent.c_str())) {
        char place[512];
        snprintf(place, sizeof(place), "node %s > parent", it.key().c_str());
        problem(place, "no node named %s", parent.c_str());
      }
    }
    for (auto it = _db.geometries.begin(); it != _db.geometries.end(); ++it)
      check_geometry(it.key().c_str(), it.value());
    for (uint32_t i = 0; i < _db.animations.size(); ++i) {
      const SceneAnimation& a = _db.animations[i];
      char place[512];
      snprintf(place, sizeof(place), "animation %u (%s)", i, a.node.c_str());
      if (!_db.nodes.has(a.node.c_str()))
        problem(place, "no node named %s", a.node.c_str());
      if (a.times.size() != a.stream.size)
        problem(place, "%u times for %u samples", a.times.size(), a.stream.size);
      char stream_place[600];
      snprintf(stream_place, sizeof(stream_place), "%s > stream", place);
      check_stream(stream_place, a.stream);
    }
  }

private:
  const SceneDatabase& _db;
  Vector<String>& _problems;
  foundation::ScopedTempAllocator _scratch;
  Map<String, uint32_t> _visits{_scratch, 16};
};

} // namespace

namespace {

// The first of `n` floats that is not finite, or -1.
int64_t first_non_finite(const float* values, uint64_t n) {
  for (uint64_t i = 0; i < n; ++i)
    if (!(values[i] - values[i] == 0.0f))
      return int64_t(i);
  return -1;
}

// The same over a stream's bytes, which need not be aligned for floats: a
// float is not finite when its exponent bits are all ones, tested on the
// bits of blocks of floats at once, then value by value in the block that
// holds one.
int64_t first_non_finite(const Vector<uint8_t>& bytes) {
  uint64_t n = bytes.size() / 4;
  const uint32_t EXPONENT = 0x7F800000u;
  uint64_t i = 0;
  for (; i + 8 <= n; i += 8) {
    uint32_t bits[8];
    memcpy(bits, bytes.data() + 4 * i, 32);
    bool any = false;
    for (uint32_t b : bits)
      any |= (b & EXPONENT) == EXPONENT;
    if (any)
      break;
  }
  for (; i < n; ++i) {
    uint32_t b;
    memcpy(&b, bytes.data() + 4 * i, 4);
    if ((b & EXPONENT) == EXPONENT)
      return int64_t(i);
  }
  return -1;
}

float float_at(const Vector<uint8_t>& bytes, int64_t i) {
  float f;
  memcpy(&f, bytes.data() + 4 * size_t(i), 4);
  return f;
}

// The element a float of a stream belongs to.
uint64_t element_of(const GeometryStream& s, int64_t float_index) {
  return s.stride ? uint64_t(float_index) * 4 / s.stride : 0;
}

const char* stream_name(const GeometryStream& s) { return s.channels.empty() ? "(no channels)" : s.channels[0].name.c_str(); }

} // namespace

bool find_non_finite(const SceneDatabase& database, String& place, float& value) {
  char text[1024];
  for (auto it = database.nodes.begin(); it != database.nodes.end(); ++it) {
    int64_t i = first_non_finite(it.value().local, 16);
    if (i >= 0) {
      snprintf(text, sizeof(text), "node %s: local matrix, value %lld", it.key().c_str(), (long long)i);
      place = text;
      value = it.value().local[i];
      return false;
    }
  }
  for (const SceneAnimation& a : database.animations) {
    int64_t i = first_non_finite(a.stream.data);
    if (i >= 0) {
      uint64_t sample = element_of(a.stream, i);
      snprintf(text, sizeof(text), "node %s: animation of %s, sample %llu (time %g), value %llu", a.node.c_str(),
               a.parameter.c_str(), (unsigned long long)sample,
               sample < a.times.size() ? double(a.times[uint32_t(sample)]) : 0.0,
               (unsigned long long)(uint64_t(i) - sample * a.stream.stride / 4));
      place = text;
      value = float_at(a.stream.data, i);
      return false;
    }
    i = first_non_finite(a.times.data(), a.times.size());
    if (i >= 0) {
      snprintf(text, sizeof(text), "node %s: animation of %s, time of sample %lld", a.node.c_str(),
               a.parameter.c_str(), (long long)i);
      place = text;
      value = a.times[uint32_t(i)];
      return false;
    }
  }
  for (auto it = database.geometries.begin(); it != database.geometries.end(); ++it) {
    for (const GeometryStream& s : it.value().streams) {
      int64_t i = first_non_finite(s.data);
      if (i >= 0) {
        snprintf(text, sizeof(text), "geometry %s: stream %s, element %llu", it.key().c_str(), stream_name(s),
                 (unsigned long long)element_of(s, i));
        place = text;
        value = float_at(s.data, i);
        return false;
      }
    }
  }
  for (auto it = database.skins.begin(); it != database.skins.end(); ++it) {
    const SceneSkin& skin = it.value();
    int64_t i = first_non_finite(skin.bind_matrix, 16);
    if (i >= 0) {
      snprintf(text, sizeof(text), "skin %s: bind matrix", it.key().c_str());
      place = text;
      value = skin.bind_matrix[i];
      return false;
    }
    for (const SkinJoint& j : skin.joints) {
      i = first_non_finite(j.inv_bind_matrix, 16);
      if (i >= 0) {
        snprintf(text, sizeof(text), "skin %s: joint %s's inverse bind matrix", it.key().c_str(), j.name.c_str());
        place = text;
        value = j.inv_bind_matrix[i];
        return false;
      }
    }
  }
  return true;
}

bool check_scene(const SceneDatabase& database, Vector<String>& problems, Vector<String>* warnings) {
  uint32_t before = problems.size();
  Checker checker(database, problems);
  checker.run();
  String place(problems.allocator());
  float value = 0;
  if (!find_non_finite(database, place, value)) {
    char line[1200];
    snprintf(line, sizeof(line), "%s: %g is not a finite number", place.c_str(), double(value));
    problems.push_back_default() = line;
  }
  if (warnings) {
    for (auto it = database.skins.begin(); it != database.skins.end(); ++it) {
      const Vector<SkinJoint>& joints = it.value().joints;
      for (uint32_t j = 0; j < joints.size(); ++j) {
        if (database.nodes.has(joints[j].name.c_str()))
          continue;
        char line[1024];
        snprintf(line, sizeof(line), "skin %s > joint %u: no node named %s (the joint was not exported)",
                 it.key().c_str(), j, joints[j].name.c_str());
        warnings->push_back_default() = line;
      }
    }
  }
  return problems.size() == before;
}

} // namespace twi
