// What a Maya ASCII file holds, as the loader gathers it before building
// the scene: one record per node (the mayasim node it made, and the file's
// data the build reads: stored meshes, animation keys, skin weights, the
// creators' settings), and the connections between their attributes.
//
// Lengths and angles of transforms are converted to internal units
// (centimetres, radians) as they are read; meshes, matrices and tangents are
// stored in internal units by Maya already.
#pragma once

#include "../scene.h"
#include "names.h"
#include "references.h"

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace mayasim {
namespace maya_ascii {

// A stored mesh (a mesh node's own data). Arrays are dense by element
// index, since a file may give an array in several statements.
struct StoredMesh {
  std::vector<double> points;  // vt: x y z per vertex
  std::vector<double> tweaks;  // pt: x y z per vertex, added to the points
  std::vector<int> edges;      // ed: start, end, smooth (1) or hard (0)
  // fc: per face its edges (negative: -1 - edge, walked backwards) and holes.
  struct Face {
    bool given = false;
    int edge_begin = 0, edge_count = 0; // in face_edges
    int holes = 0;
  };
  std::vector<Face> faces;
  std::vector<int> face_edges;
  // mu and mc: per face and set, the ids of the face's corners.
  struct FaceMap {
    int face, set;
    int begin, count; // in map_ids
  };
  std::vector<FaceMap> uv_maps, color_maps;
  std::vector<int> map_ids;
  struct UvSet {
    std::string name;
    std::vector<double> uvs; // u v per point
  };
  std::map<int, UvSet> uv_sets; // by the uvst index
  struct ColorSet {
    std::string name;
    int representation = 4; // 2 alpha, 3 RGB, 4 RGBA
    std::vector<double> colors; // r g b a per colour
  };
  std::map<int, ColorSet> color_sets; // by the clst index
  std::vector<double> normals; // n: x y z per face-vertex; 1e20 where none is stored
  std::string current_uv_set, current_color_set;
  int normal_method = 3; // vnm: 0 unweighted, 1 angle, 2 area, 3 angle and area weighted
  bool has_geometry = false; // vt, ed or fc given
};

// The index a set added to `sets` (UV or colour sets by index) takes: one
// past the last, or the lowest free one when the last is the largest index
// a multi-attribute has.
template <typename SetMap>
int next_set_index(const SetMap& sets) {
  if (sets.empty())
    return 0;
  if (int64_t(sets.rbegin()->first) < MAX_INDEX)
    return sets.rbegin()->first + 1;
  int free = 0;
  for (const auto& s : sets) {
    if (s.first != free)
      break;
    ++free;
  }
  return free;
}

struct CurveKeys {
  std::vector<double> times, values; // ktv, in the file's units
  std::vector<int> in_types, out_types; // -1: not given (the curve's tan)
  std::vector<double> in_x, in_y, out_x, out_y; // NaN: not given
  bool weighted = true; // the node's default
  int tangent_type = 4;
  int pre = 0, post = 0;
};

struct SkinWeights {
  // wl[v].w[j]: per vertex, (influence's logical index, weight).
  std::vector<std::vector<std::pair<int, double>>> weights;
  std::map<int, MMatrix> bind_pre_matrices; // pm[j]
  MMatrix geometry_matrix;                  // gm
};

// A polyColorPerVertex node's colours: per vertex, and per vertex and face.
struct VertexColors {
  struct Color {
    double rgb[3] = {0, 0, 0};
    double alpha = 1;
    bool has_rgb = false, has_alpha = false;
  };
  struct Vertex {
    Color color;
    std::map<int, Color> faces; // by face
  };
  std::map<int, Vertex> vertices;
  std::string set_name = "colorSet1";
  int representation = 4; // 2 alpha, 3 RGB, 4 RGBA
};

struct FileNode {
  std::string type_name;
  NodeType type;
  Node* node = nullptr; // the mayasim node
  unsigned line = 0;    // where it was created (0: a node of every new scene)
  std::unique_ptr<StoredMesh> mesh;
  std::unique_ptr<CurveKeys> curve;
  std::unique_ptr<SkinWeights> skin;
  std::unique_ptr<VertexColors> colors;
  // Numbers the build reads from other nodes (a creator's settings, a
  // unit conversion's factor, a tweak's offsets), by short name.
  std::map<std::string, double> numbers;
  std::vector<double> axis;     // a creator's ax
  MMatrix matrix;               // transformGeometry's txf
  std::string text;             // a script's before text
  // componentLists: groupParts' ic, and a mesh's iog[k].og[j].gcl by "k.j".
  std::map<std::string, std::vector<std::string>> components;
  bool tweaked = false; // a tweak node with offsets
};

// One end of a connection: a node and its attribute path with short names
// ("iog[1].og[0]"; an "iog" without an index is given the instance number of
// the DAG path that named the node).
struct Plug {
  int node = -1;
  std::string attr;
};

struct Connection {
  Plug source, destination;
  unsigned line = 0;
  bool removed = false; // disconnectAttr undid it (it is in no node's lists)
};

// The nodes that share a name: nearly always one, kept without a heap
// block of its own; more only for DAG nodes under different parents.
class NodeList {
public:
  size_t size() const { return _first < 0 ? 0 : 1 + _more.size(); }
  int operator[](size_t i) const { return i == 0 ? _first : _more[i - 1]; }
  void push_back(int n) {
    if (_first < 0)
      _first = n;
    else
      _more.push_back(n);
  }
  void remove(int n) {
    if (_first == n) {
      _first = _more.empty() ? -1 : _more.front();
      if (!_more.empty())
        _more.erase(_more.begin());
      return;
    }
    for (size_t i = 0; i < _more.size(); ++i)
      if (_more[i] == n) {
        _more.erase(_more.begin() + long(i));
        return;
      }
  }

private:
  int _first = -1;
  std::vector<int> _more;
};

// Node indices by name, for the lookup nearly every statement makes: open
// addressing over one array, each slot holding its name and hash, so that a
// lookup touches one or two cache lines rather than a chain of blocks.
class NameIndex {
public:
  // The nodes of that name; null when none was ever given it.
  const NodeList* find(std::string_view name) const {
    if (_slots.empty())
      return nullptr;
    uint32_t h = hash(name);
    size_t mask = _slots.size() - 1;
    for (size_t i = h & mask;; i = (i + 1) & mask) {
      const Slot& s = _slots[i];
      if (!s.used)
        return nullptr;
      if (s.hash == h && s.key == name)
        return &s.nodes;
    }
  }
  // The nodes of that name, made empty when there were none.
  NodeList& operator[](std::string_view name) {
    if ((_used + 1) * 2 > _slots.size())
      rehash(_slots.empty() ? 64 : _slots.size() * 2);
    uint32_t h = hash(name);
    size_t mask = _slots.size() - 1;
    for (size_t i = h & mask;; i = (i + 1) & mask) {
      Slot& s = _slots[i];
      if (!s.used) {
        s.used = true;
        s.hash = h;
        s.key.assign(name.data(), name.size());
        ++_used;
        return s.nodes;
      }
      if (s.hash == h && s.key == name)
        return s.nodes;
    }
  }
  void reserve(size_t names) {
    size_t slots = 64;
    while (slots < names * 2)
      slots *= 2;
    if (slots > _slots.size())
      rehash(slots);
  }

private:
  struct Slot {
    std::string key;
    NodeList nodes;
    uint32_t hash = 0;
    bool used = false;
  };
  static uint32_t hash(std::string_view s) {
    uint32_t h = 2166136261u;
    for (char c : s)
      h = (h ^ uint8_t(c)) * 16777619u;
    return h ^ (h >> 15);
  }
  void rehash(size_t slots) {
    std::vector<Slot> old;
    old.swap(_slots);
    _slots.resize(slots);
    size_t mask = slots - 1;
    for (Slot& o : old) {
      if (!o.used)
        continue;
      size_t i = o.hash & mask;
      while (_slots[i].used)
        i = (i + 1) & mask;
      _slots[i] = std::move(o);
    }
  }
  std::vector<Slot> _slots;
  size_t _used = 0;
};

struct FileScene {
  std::string file_name; // for messages
  std::vector<FileNode> nodes;
  std::vector<Connection> connections;
  std::vector<std::vector<int>> incoming, outgoing; // connection indices per node
  NameIndex by_name; // node indices by name
  // The reference edits reference nodes keep, by node index.
  std::map<int, std::vector<ReferenceEdit>> reference_edits;
  std::vector<std::string> warnings;
  // Meshes loaded without geometry, and why (also among the warnings).
  struct MeshProblem {
    Node* shape;
    std::string problem;
  };
  std::vector<MeshProblem> mesh_problems;
  // Units of the file's values.
  double centimetres_per_unit = 1.0; // currentUnit -l
  double radians_per_unit = 0.017453292519943295; // currentUnit -a
  MTime::Unit time_unit = MTime::kFilm;            // currentUnit -t (kUserDef: see units.h)
  double seconds_per_frame = 1.0 / 24;             // of that unit
  MDistance::Unit linear_unit = MDistance::kCentimeters;
  bool has_playback = false;
  double playback[4] = {1, 120, 1, 200}; // -min -max -ast -aet, in frames
  bool has_current_frame = false;
  double current_frame = 1;

  int index_of(const Node* n) const;
};

// The connection whose destination is `attr` of `node`; -1 for none.
int source_of(const FileScene& f, int node, const std::string& attr);

} // namespace maya_ascii
} // namespace mayasim
