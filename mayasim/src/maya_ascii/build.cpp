#include "build.h"

#include "creators.h"
#include "mesh_build.h"
#include "../units.h"
#include "mayasim/builder.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <cmath>
#include <set>
#include <unordered_map>
#include <sstream>

namespace mayasim {
namespace maya_ascii {

int FileScene::index_of(const Node* n) const {
  for (size_t i = 0; i < nodes.size(); ++i)
    if (nodes[i].node == n)
      return int(i);
  return -1;
}

int source_of(const FileScene& f, int node, const std::string& attr) {
  for (int c : f.incoming[size_t(node)])
    if (f.connections[size_t(c)].destination.attr == attr)
      return c;
  return -1;
}

namespace {

// How far upstream construction history is followed before it is taken to
// loop.
const int MAX_DEPTH = 256;

const char* const CHANNELS[] = {"tx", "ty", "tz", "rx", "ry", "rz", "sx", "sy", "sz"};

// Transform attributes the loader reads from the file: driven by something
// it does not evaluate, their saved value is what it has.
const char* const READ_ATTRIBUTES[] = {"t",   "r",   "s",   "ro",  "rp",   "rpx",  "rpy",  "rpz",  "sp",  "spx",
                                       "spy", "spz", "rpt", "spt", "ra",   "rax",  "ray",  "raz",  "sh",  "shxy",
                                       "shxz", "shyz", "jo", "jox", "joy", "joz", "ssc"};

// "og[3]" -> 3 when `attr` is `name` with one index.
bool indexed(const std::string& attr, const char* name, int& index) {
  size_t n = strlen(name);
  if (attr.compare(0, n, name) != 0 || attr.size() < n + 3 || attr[n] != '[' || attr.back() != ']')
    return false;
  std::string_view digits(attr.data() + n + 1, attr.size() - n - 2);
  auto r = std::from_chars(digits.data(), digits.data() + digits.size(), index);
  return r.ec == std::errc() && r.ptr == digits.data() + digits.size();
}

// Adds a mesh's point tweaks to its points. Tweaks of points it does not
// have change nothing, as in Maya (a tweak array may run past the points).
void bake_tweaks(StoredMesh& m) {
  size_t n = std::min(m.tweaks.size(), m.points.size());
  for (size_t i = 0; i < n; ++i)
    m.points[i] += m.tweaks[i];
  m.tweaks.clear();
}

// A node's world matrix at a time: its local matrix times its (first)
// parents', in that order. Local matrices are kept in `locals` so that the
// joints of a skin, which share their chain, each compute theirs once.
MMatrix world_matrix(Node* n, double seconds, std::map<const Node*, MMatrix>& locals) {
  MMatrix m;
  for (Node* at = n; at && at->type != MFn::kWorld; at = at->parents.empty() ? nullptr : at->parents[0]) {
    auto known = locals.find(at);
    if (known == locals.end())
      known = locals.emplace(at, at->local_matrix(seconds)).first;
    m = m * known->second;
  }
  return m;
}

// A polyColorPerVertex node's colours on a mesh: each face corner takes the
// colour given for its point and face, or else the one given for its point;
// a corner with neither keeps what the set had there (none, for a new set).
bool paint(const VertexColors& colors, StoredMesh& m, std::string& problem) {
  int set = -1;
  for (const auto& s : m.color_sets)
    if (s.second.name == colors.set_name)
      set = s.first;
  if (set < 0) {
    set = next_set_index(m.color_sets);
    m.color_sets[set].name = colors.set_name;
  }
  StoredMesh::ColorSet& target = m.color_sets[set];
  target.representation = colors.representation;
  if (m.current_color_set.empty())
    m.current_color_set = colors.set_name;
  // The set's ids per face as they are, then painted over.
  std::vector<std::vector<int>> ids(m.faces.size());
  for (size_t f = 0; f < m.faces.size(); ++f)
    ids[f].assign(size_t(m.faces[f].edge_count), -1);
  std::vector<StoredMesh::FaceMap> others;
  for (const StoredMesh::FaceMap& map : m.color_maps) {
    if (map.set != set) {
      others.push_back(map);
      continue;
    }
    if (size_t(map.face) < ids.size() && size_t(map.count) == ids[size_t(map.face)].size())
      for (int k = 0; k < map.count; ++k)
        ids[size_t(map.face)][size_t(k)] = m.map_ids[size_t(map.begin + k)];
  }
  size_t points = m.points.size() / 3, edges = m.edges.size() / 3;
  for (size_t f = 0; f < m.faces.size(); ++f) {
    const StoredMesh::Face& face = m.faces[f];
    for (int k = 0; k < face.edge_count; ++k) {
      int e = m.face_edges[size_t(face.edge_begin + k)];
      size_t edge = e >= 0 ? size_t(e) : size_t(-1 - int64_t(e));
      if (edge >= edges) {
        problem = "face " + std::to_string(f) + " walks edge " + std::to_string(edge) + " of " + std::to_string(edges);
        return false;
      }
      int point = m.edges[3 * edge + (e >= 0 ? 0 : 1)];
      if (point < 0 || size_t(point) >= points)
        continue;
      auto vertex = colors.vertices.find(point);
      if (vertex == colors.vertices.end())
        continue;
      auto at_face = vertex->second.faces.find(int(f));
      const VertexColors::Color* c = nullptr;
      if (at_face != vertex->second.faces.end() && (at_face->second.has_rgb || at_face->second.has_alpha))
        c = &at_face->second;
      else if (vertex->second.color.has_rgb)
        c = &vertex->second.color;
      if (!c)
        continue;
      ids[f][size_t(k)] = int(target.colors.size() / 4);
      target.colors.insert(target.colors.end(), {c->rgb[0], c->rgb[1], c->rgb[2], c->alpha});
    }
  }
  m.color_maps = others;
  for (size_t f = 0; f < ids.size(); ++f) {
    m.color_maps.push_back(StoredMesh::FaceMap{int(f), set, int(m.map_ids.size()), int(ids[f].size())});
    m.map_ids.insert(m.map_ids.end(), ids[f].begin(), ids[f].end());
  }
  return true;
}

class Build {
public:
  explicit Build(FileScene& f)
      : _f(f), _state(f.nodes.size(), 0), _results(f.nodes.size()), _problems(f.nodes.size()),
        _origin(f.nodes.size(), -1) {}

  void run();

private:
  void settings();
  void animation();
  void meshes();
  void skins();
  void shading();

  const std::string& name(int i) const { return _f.nodes[size_t(i)].node->name; }
  int upstream(int node, const std::string& attr, std::string* source_attr = nullptr) const;
  bool geometry(int node, const std::string& attr, StoredMesh& out, std::string& problem, int depth);
  bool mesh_geometry(int node, StoredMesh& out, std::string& problem, int depth);
  bool driver(const Plug& plug, double factor, AnimationCurve& out, std::string& why, int depth);
  bool curve(int node, double factor, AnimationCurve& out, std::string& why);
  int input_shape(int skin, int index);
  void history_group_parts(int shape, std::vector<int>& out);
  bool faces_of(int shape, int instance, int group, std::vector<int>& faces);
  void warn(const std::string& s) { _f.warnings.push_back(s); }

  FileScene& _f;
  std::vector<int> _state; // per node: 0 not evaluated, 1 evaluating, 2 done
  std::vector<std::unique_ptr<StoredMesh>> _results;
  std::vector<std::string> _problems;
  std::set<int> _tweak_warned;
  // Per mesh node evaluated from history: the stored mesh whose data its
  // geometry is, unchanged (skin clusters and group parts pass geometry
  // through), or -1; the built mesh is then copied, not computed again.
  // _flow_origin carries it along the history being evaluated.
  std::vector<int> _origin;
  int _flow_origin = -1;
};

int Build::upstream(int node, const std::string& attr, std::string* source_attr) const {
  int c = source_of(_f, node, attr);
  if (c < 0)
    return -1;
  if (source_attr)
    *source_attr = _f.connections[size_t(c)].source.attr;
  return _f.connections[size_t(c)].source.node;
}

void Build::run() {
  settings();
  animation();
  meshes();
  skins();
  shading();
}

void Build::settings() {
  Scene& s = scene();
  s.time_unit = _f.time_unit;
  s.user_seconds_per_frame = _f.seconds_per_frame;
  s.ui_unit = _f.linear_unit;
  s.internal_unit = MDistance::kCentimeters;
  for (const FileNode& n : _f.nodes) {
    if (n.type.kind != Kind::Script || n.node->name != "sceneConfigurationScriptNode")
      continue;
    // "playbackOptions -min 1 -max 120 -ast 1 -aet 200 ": the flags this
    // script sets, in frames of the file's time unit.
    std::istringstream words(n.text);
    std::string w, command;
    while (words >> w) {
      if (w == "playbackOptions") {
        command = w;
        continue;
      }
      if (command.empty() || w.empty() || w[0] != '-')
        continue;
      int slot = w == "-min" || w == "-minTime"                  ? 0
                 : w == "-max" || w == "-maxTime"                ? 1
                 : w == "-ast" || w == "-animationStartTime"     ? 2
                 : w == "-aet" || w == "-animationEndTime"       ? 3
                                                                 : -1;
      std::string value;
      if (slot < 0 || !(words >> value))
        continue;
      double v;
      auto r = std::from_chars(value.data(), value.data() + value.size(), v);
      if (r.ec != std::errc() || !std::isfinite(v)) {
        warn("sceneConfigurationScriptNode: playbackOptions " + w + " " + value + " is not a number; ignored.");
        continue;
      }
      _f.playback[slot] = v;
      _f.has_playback = true;
    }
  }
  double per = _f.seconds_per_frame;
  s.min_time = _f.playback[0] * per;
  s.max_time = _f.playback[1] * per;
  s.start_time = _f.playback[2] * per;
  s.end_time = _f.playback[3] * per;
  if (s.max_time < s.min_time) {
    warn("The playback range ends (" + std::to_string(_f.playback[1]) + ") before it starts (" +
         std::to_string(_f.playback[0]) + "); its end is taken as its start.");
    s.max_time = s.min_time;
  }
  s.current_time = _f.has_current_frame && std::isfinite(_f.current_frame) ? _f.current_frame * per : s.min_time;
}

bool Build::curve(int node, double factor, AnimationCurve& out, std::string& why) {
  const FileNode& n = _f.nodes[size_t(node)];
  const CurveKeys& k = *n.curve;
  double scale = n.type.kind == Kind::AnimCurveTL   ? _f.centimetres_per_unit
                 : n.type.kind == Kind::AnimCurveTA ? _f.radians_per_unit
                                                    : 1.0;
  double per = _f.seconds_per_frame;
  out = AnimationCurve();
  out.weighted = k.weighted;
  out.pre_infinity = k.pre;
  out.post_infinity = k.post;
  auto given = [](const std::vector<double>& v, size_t i) { return i < v.size() && !std::isnan(v[i]); };
  for (size_t i = 0; i < k.times.size(); ++i) {
    if (!given(k.times, i) || !given(k.values, i) || !std::isfinite(k.times[i]) || !std::isfinite(k.values[i])) {
      why = name(node) + ": key " + std::to_string(i) + " is not given (or not finite); the curve is not used.";
      return false;
    }
    AnimKey key;
    key.time = k.times[i] * per;
    key.value = k.values[i] * scale * factor;
    key.in_type = i < k.in_types.size() && k.in_types[i] >= 0 ? k.in_types[i] : k.tangent_type;
    key.out_type = i < k.out_types.size() && k.out_types[i] >= 0 ? k.out_types[i] : k.tangent_type;
    // Stored tangents: x in seconds, y in internal units.
    key.in_x = given(k.in_x, i) ? k.in_x[i] : 1.0;
    key.in_y = given(k.in_y, i) ? k.in_y[i] * factor : 0.0;
    key.out_x = given(k.out_x, i) ? k.out_x[i] : 1.0;
    key.out_y = given(k.out_y, i) ? k.out_y[i] * factor : 0.0;
    out.keys.push_back(key);
  }
  for (size_t i = 1; i < out.keys.size(); ++i)
    if (!(out.keys[i].time > out.keys[i - 1].time)) {
      why = name(node) + ": its keys are not in time order (key " + std::to_string(i) +
            "); the curve is not used.";
      return false;
    }
  out.prepare();
  if (out.has_approximated_types())
    warn(name(node) + ": some keys use tangent types mayasim evaluates by the rules of others (slow and fast as "
                      "spline; auto mix, ease and custom as auto).");
  return true;
}

bool Build::driver(const Plug& plug, double factor, AnimationCurve& out, std::string& why, int depth) {
  const FileNode& n = _f.nodes[size_t(plug.node)];
  if (depth > MAX_DEPTH) {
    why = "the connections into it loop";
    return false;
  }
  switch (n.type.kind) {
  case Kind::AnimCurveTL:
  case Kind::AnimCurveTA:
  case Kind::AnimCurveTU:
    if (source_of(_f, plug.node, "i") >= 0) {
      why = "is driven by " + n.node->name + ", a curve whose input is connected (driven keys are not evaluated)";
      return false;
    }
    if (!curve(plug.node, factor, out, why)) {
      warn(why);
      why = "is driven by " + n.node->name + ", which could not be read";
      return false;
    }
    return true;
  case Kind::UnitConversion: {
    int c = source_of(_f, plug.node, "i");
    if (c < 0) {
      why = "is driven by " + n.node->name + ", whose input nothing drives";
      return false;
    }
    auto cf = n.numbers.find("cf");
    return driver(_f.connections[size_t(c)].source, factor * (cf == n.numbers.end() ? 1.0 : cf->second), out, why,
                  depth + 1);
  }
  default: {
    // An attribute connected from another has its value (character sets
    // pass their members' values through this way).
    int c = source_of(_f, plug.node, plug.attr);
    if (c >= 0)
      return driver(_f.connections[size_t(c)].source, factor, out, why, depth + 1);
    // Nothing drives it: its own value, constant.
    bool channel = false;
    for (const char* ch : CHANNELS)
      channel = channel || plug.attr == ch;
    double value;
    if (channel && n.node->is_transform()) {
      value = n.node->channel(plug.attr[0], plug.attr[1] - 'x', 0.0);
    } else if (plug.attr == "v" && n.node->dag) {
      auto v = n.node->bools.find("visibility");
      value = v == n.node->bools.end() || v->second ? 1.0 : 0.0;
    } else {
      why = "is driven by " + n.node->name + "." + plug.attr + " (" + n.type_name +
            "), which mayasim does not evaluate";
      return false;
    }
    out = AnimationCurve();
    AnimKey key;
    key.value = value * factor;
    out.keys.push_back(key);
    out.prepare();
    return true;
  }
  }
}

void Build::animation() {
  for (const Connection& c : _f.connections) {
    if (c.removed)
      continue;
    FileNode& target = _f.nodes[size_t(c.destination.node)];
    if (!target.node->dag)
      continue;
    const std::string& attr = c.destination.attr;
    // Every attribute read here has a short name of one to four letters:
    // rigs hold thousands of other connections.
    if (attr.size() > 4 || attr.find('[') != std::string::npos)
      continue;
    std::string where = target.node->name + "." + attr;
    if (attr == "is") {
      const FileNode& source = _f.nodes[size_t(c.source.node)];
      if (c.source.attr == "s" && source.node->is_transform())
        target.node->inverse_scale_source = source.node;
      continue;
    }
    bool channel = false;
    for (const char* ch : CHANNELS)
      channel = channel || attr == ch;
    AnimationCurve curve;
    std::string why;
    if (channel && target.node->is_transform()) {
      if (driver(c.source, 1.0, curve, why, 0))
        target.node->curves[attr] = curve;
      else
        warn(where + " " + why + "; the value saved in the file is used.");
      continue;
    }
    if (attr == "v") {
      // Visibility is read once, at the scene's current time.
      if (driver(c.source, 1.0, curve, why, 0))
        target.node->bools["visibility"] = curve.evaluate(scene().current_time) != 0.0;
      else
        warn(where + " " + why + "; the value saved in the file is used.");
      continue;
    }
    for (const char* read : READ_ATTRIBUTES)
      if (attr == read && target.node->is_transform()) {
        warn(where + " is driven by " + _f.nodes[size_t(c.source.node)].node->name +
             "; mayasim evaluates animation on translate, rotate, scale and visibility only, so the value saved in "
             "the file is used.");
        break;
      }
  }
}

bool Build::geometry(int node, const std::string& attr, StoredMesh& out, std::string& problem, int depth) {
  const FileNode& n = _f.nodes[size_t(node)];
  if (depth > MAX_DEPTH) {
    problem = "its construction history is deeper than " + std::to_string(MAX_DEPTH) + " nodes or loops";
    return false;
  }
  auto through = [&](const std::string& input) {
    int up = upstream(node, input);
    if (up < 0) {
      problem = "geometry comes from " + n.node->name + ", whose input is not connected";
      return false;
    }
    std::string up_attr = _f.connections[size_t(source_of(_f, node, input))].source.attr;
    return geometry(up, up_attr, out, problem, depth + 1);
  };
  int index = 0;
  switch (n.type.kind) {
  case Kind::Mesh:
    return mesh_geometry(node, out, problem, depth + 1);
  case Kind::PolyCube:
  case Kind::PolySphere:
  case Kind::PolyPlane:
  case Kind::PolyCylinder: {
    std::string why;
    _flow_origin = -1;
    if (build_creator(n, out, why))
      return true;
    problem = "geometry comes from " + n.node->name + " (" + n.type_name + "), but " + why;
    return false;
  }
  case Kind::GroupParts:
    return through("ig");
  case Kind::Tweak:
    if (!indexed(attr, "og", index))
      index = 0;
    if (n.tweaked && _tweak_warned.insert(node).second)
      warn(n.node->name + ": its point offsets are not applied (mayasim passes geometry through tweak nodes "
                          "unchanged).");
    return through("ip[" + std::to_string(index) + "].ig");
  case Kind::SkinCluster:
    // A skin's output before deformation: its input geometry.
    if (!indexed(attr, "og", index))
      index = 0;
    return through("ip[" + std::to_string(index) + "].ig");
  case Kind::PolyColorPerVertex:
    if (!through("ip"))
      return false;
    _flow_origin = -1;
    return paint(*n.colors, out, problem);
  case Kind::TransformGeometry: {
    if (!through("ig"))
      return false;
    _flow_origin = -1;
    bake_tweaks(out);
    auto itf = n.numbers.find("itf");
    MMatrix m = itf != n.numbers.end() && itf->second != 0 ? n.matrix.inverse() : n.matrix;
    for (size_t i = 0; i + 2 < out.points.size(); i += 3) {
      MPoint p(out.points[i], out.points[i + 1], out.points[i + 2]);
      p = p * m;
      out.points[i] = p.x;
      out.points[i + 1] = p.y;
      out.points[i + 2] = p.z;
    }
    // Stored normals turn with the inverse transpose.
    MMatrix nm = m.inverse().transpose();
    for (size_t i = 0; i + 2 < out.normals.size(); i += 3) {
      if (out.normals[i] >= 1e19)
        continue;
      double x = out.normals[i], y = out.normals[i + 1], z = out.normals[i + 2];
      double nx = x * nm[0][0] + y * nm[1][0] + z * nm[2][0];
      double ny = x * nm[0][1] + y * nm[1][1] + z * nm[2][1];
      double nz = x * nm[0][2] + y * nm[1][2] + z * nm[2][2];
      double len = std::sqrt(nx * nx + ny * ny + nz * nz);
      if (len > 0) {
        out.normals[i] = nx / len;
        out.normals[i + 1] = ny / len;
        out.normals[i + 2] = nz / len;
      }
    }
    return true;
  }
  default:
    problem = "geometry comes from " + n.node->name +
              " (construction history); delete history in Maya before saving, or export it from Maya";
    return false;
  }
}

bool Build::mesh_geometry(int node, StoredMesh& out, std::string& problem, int depth) {
  const FileNode& n = _f.nodes[size_t(node)];
  if (_state[size_t(node)] == 1) {
    problem = "its construction history loops through " + n.node->name;
    return false;
  }
  if (_state[size_t(node)] == 2) {
    if (!_results[size_t(node)]) {
      problem = _problems[size_t(node)];
      return false;
    }
    out = *_results[size_t(node)];
    _flow_origin = _origin[size_t(node)];
    return true;
  }
  const StoredMesh& own = *n.mesh;
  if (upstream(node, "i") < 0 && own.has_geometry) {
    // Stored data: read where it is, not kept a second time.
    out = own;
    bake_tweaks(out);
    _flow_origin = node;
    return true;
  }
  _state[size_t(node)] = 1;
  bool ok;
  if (upstream(node, "i") >= 0) {
    std::string up_attr;
    int up = upstream(node, "i", &up_attr);
    _flow_origin = -1;
    ok = geometry(up, up_attr, out, problem, depth + 1);
    if (ok) {
      // The shape's own settings and point tweaks apply to what its history
      // makes.
      int origin = _flow_origin;
      bool tweaked = false;
      for (double t : own.tweaks)
        tweaked = tweaked || t != 0.0;
      if (origin >= 0 && (tweaked || own.normal_method != _f.nodes[size_t(origin)].mesh->normal_method))
        origin = -1;
      _origin[size_t(node)] = origin;
      _flow_origin = origin;
      bake_tweaks(out);
      out.tweaks = own.tweaks;
      out.normal_method = own.normal_method;
      if (!own.current_uv_set.empty())
        out.current_uv_set = own.current_uv_set;
    }
  } else {
    problem = "it has no geometry: the file stores none for it and nothing is connected to its inMesh";
    ok = false;
  }
  if (ok)
    bake_tweaks(out);
  _state[size_t(node)] = 2;
  if (ok)
    _results[size_t(node)].reset(new StoredMesh(out));
  else
    _problems[size_t(node)] = problem;
  return ok;
}

void Build::meshes() {
  // Stored meshes first, so that a mesh whose history passes one through
  // unchanged (a skinned shape and its ...Orig input) can take a copy.
  for (int pass = 0; pass < 2; ++pass)
    for (size_t i = 0; i < _f.nodes.size(); ++i) {
      FileNode& n = _f.nodes[i];
      if (n.type.kind != Kind::Mesh)
        continue;
      bool stored = upstream(int(i), "i") < 0 && n.mesh->has_geometry;
      if (stored != (pass == 0))
        continue;
      StoredMesh evaluated;
      std::string problem;
      if (!stored && !mesh_geometry(int(i), evaluated, problem, 0)) {
        warn(n.node->name + ": " + problem + ".");
        _f.mesh_problems.push_back({n.node, problem});
        continue;
      }
      std::unique_ptr<MeshData> data(new MeshData);
      int origin = stored ? -1 : _origin[i];
      if (origin >= 0 && _f.nodes[size_t(origin)].node->mesh) {
        *data = *_f.nodes[size_t(origin)].node->mesh;
        // Its own current sets, by name.
        for (size_t s = 0; s < data->uv_sets.size(); ++s)
          if (data->uv_sets[s].name == evaluated.current_uv_set)
            data->current_uv_set = int(s);
      } else if (!build_mesh(stored ? *n.mesh : evaluated, *data, problem)) {
        warn(n.node->name + ": its geometry cannot be read: " + problem + ".");
        _f.mesh_problems.push_back({n.node, "its geometry cannot be read: " + problem});
        continue;
      }
      n.node->mesh = std::move(data);
    }
  // The evaluated geometry is in the meshes now.
  _results.clear();
}

// The mesh whose geometry enters a skin cluster's input `index`, through
// the groupParts and tweak nodes Maya puts between them.
int Build::input_shape(int skin, int index) {
  std::string attr;
  int node = upstream(skin, "ip[" + std::to_string(index) + "].ig", &attr);
  for (int depth = 0; node >= 0 && depth < MAX_DEPTH; ++depth) {
    const FileNode& n = _f.nodes[size_t(node)];
    int k = 0;
    switch (n.type.kind) {
    case Kind::Mesh:
      return node;
    case Kind::GroupParts:
    case Kind::TransformGeometry:
      node = upstream(node, "ig", &attr);
      break;
    case Kind::Tweak:
      if (!indexed(attr, "og", k))
        k = 0;
      node = upstream(node, "ip[" + std::to_string(k) + "].ig", &attr);
      break;
    default:
      return -1;
    }
  }
  return -1;
}

void Build::skins() {
  double now = scene().current_time;
  std::map<const Node*, MMatrix> locals;
  for (size_t i = 0; i < _f.nodes.size(); ++i) {
    FileNode& n = _f.nodes[i];
    if (n.type.kind != Kind::SkinCluster)
      continue;
    std::unique_ptr<SkinData> data(new SkinData);
    for (int c : _f.incoming[i]) {
      const Connection& con = _f.connections[size_t(c)];
      int logical;
      if (!indexed(con.destination.attr, "ma", logical))
        continue;
      Node* joint = _f.nodes[size_t(con.source.node)].node;
      if (!joint->is_transform()) {
        warn(n.node->name + ": influence " + std::to_string(logical) + " is " + joint->name +
             ", which is not a transform or joint; it is left out.");
        continue;
      }
      data->influences.push_back(SkinData::Influence{joint, unsigned(logical)});
    }
    std::sort(data->influences.begin(), data->influences.end(),
              [](const SkinData::Influence& a, const SkinData::Influence& b) { return a.logical_index < b.logical_index; });
    for (int c : _f.outgoing[i]) {
      const Connection& con = _f.connections[size_t(c)];
      int index;
      FileNode& out = _f.nodes[size_t(con.destination.node)];
      if (!indexed(con.source.attr, "og", index) || out.type.kind != Kind::Mesh || con.destination.attr != "i")
        continue;
      int input = input_shape(int(i), index);
      if (input < 0) {
        warn(n.node->name + ": the geometry entering input " + std::to_string(index) +
             " does not come from a mesh shape; " + out.node->name + " is not bound to it.");
        continue;
      }
      data->geometries.push_back(SkinData::Geometry{unsigned(index), out.node, _f.nodes[size_t(input)].node});
    }
    // Weights per vertex of the (first) deformed shape, in influence order.
    size_t vertices = 0;
    for (const SkinData::Geometry& g : data->geometries)
      if (g.input_shape->mesh)
        vertices = std::max(vertices, g.input_shape->mesh->points.size());
    // Logical indices are sparse (any up to 2^31 - 1): looked up, never
    // used to size an array.
    std::unordered_map<int, unsigned> position_of;
    for (size_t k = 0; k < data->influences.size(); ++k)
      position_of[int(data->influences[k].logical_index)] = unsigned(k);
    std::set<int> unknown;
    data->weights.assign(vertices, {});
    const auto& file_weights = n.skin->weights;
    if (file_weights.size() > vertices && vertices > 0)
      warn(n.node->name + ": it has weights for " + std::to_string(file_weights.size()) + " vertices, its mesh " +
           std::to_string(vertices) + "; the rest are ignored.");
    // A weight as given: its influence's position and its place in the
    // file, so that of one given twice the last counts.
    struct Given {
      unsigned influence;
      size_t order;
      double value;
    };
    std::vector<Given> given;
    for (size_t v = 0; v < file_weights.size() && v < vertices; ++v) {
      given.clear();
      for (const auto& w : file_weights[v]) {
        auto p = position_of.find(w.first);
        if (p == position_of.end()) {
          unknown.insert(w.first);
          continue;
        }
        given.push_back(Given{p->second, given.size(), w.second});
      }
      // In influence order; zeros are no weights.
      std::sort(given.begin(), given.end(), [](const Given& a, const Given& b) {
        return a.influence != b.influence ? a.influence < b.influence : a.order < b.order;
      });
      std::vector<SkinData::Weight>& out = data->weights[v];
      for (size_t k = 0; k < given.size(); ++k) {
        if (k + 1 < given.size() && given[k + 1].influence == given[k].influence)
          continue;
        if (given[k].value != 0.0)
          out.push_back(SkinData::Weight{given[k].influence, given[k].value});
      }
    }
    if (!unknown.empty()) {
      // One warning, however many: a few of the indices, and how many more.
      std::string which;
      size_t shown = 0;
      for (int u : unknown) {
        if (shown == 5)
          break;
        which += (shown ? ", " : "") + std::to_string(u);
        ++shown;
      }
      if (unknown.size() > shown)
        which += " and " + std::to_string(unknown.size() - shown) + " more";
      warn(n.node->name + ": weights for influence" + (unknown.size() > 1 ? "s " : " ") + which +
           ", which no joint is connected to, are ignored.");
    }
    // Influences without a bind pre-matrix: one warning per skin, however
    // many, naming a few.
    std::string without;
    size_t missing = 0;
    for (const SkinData::Influence& inf : data->influences) {
      int logical = int(inf.logical_index);
      auto pm = n.skin->bind_pre_matrices.find(logical);
      MMatrix world = world_matrix(inf.joint, now, locals);
      if (pm != n.skin->bind_pre_matrices.end()) {
        n.node->matrices["bindPreMatrix"][logical] = pm->second;
      } else {
        if (++missing <= 5)
          without += (missing > 1 ? ", " : "") + std::to_string(logical) + " (" + inf.joint->name + ")";
        n.node->matrices["bindPreMatrix"][logical] = world.inverse();
      }
      n.node->matrices["matrix"][logical] = world;
    }
    if (missing > 5)
      without += " and " + std::to_string(missing - 5) + " more";
    if (missing)
      warn(n.node->name + ": influence" + (missing > 1 ? "s " : " ") + without + (missing > 1 ? " have" : " has") +
           " no bind pre-matrix; the inverse of " + (missing > 1 ? "their" : "its") + " world matrix now is used.");
    n.node->matrices["geomMatrix"][-1] = n.skin->geometry_matrix;
    for (const SkinData::Geometry& g : data->geometries) {
      scene().connect(PlugRef{g.input_shape, "worldMesh", 0}, PlugRef{n.node, "input", int(g.logical_index)});
      scene().connect(PlugRef{n.node, "outputGeometry", int(g.logical_index)}, PlugRef{g.output_shape, "inMesh", -1});
    }
    n.node->skin = std::move(data);
  }
}

// The groupParts nodes in a shape's construction history.
void Build::history_group_parts(int shape, std::vector<int>& out) {
  std::vector<std::pair<int, std::string>> todo{{shape, "i"}};
  std::set<int> seen;
  while (!todo.empty() && seen.size() < size_t(MAX_DEPTH) * 4) {
    auto at = todo.back();
    todo.pop_back();
    std::string attr;
    int up = upstream(at.first, at.second, &attr);
    if (up < 0 || !seen.insert(up).second)
      continue;
    const FileNode& n = _f.nodes[size_t(up)];
    int k = 0;
    switch (n.type.kind) {
    case Kind::GroupParts:
      out.push_back(up);
      todo.emplace_back(up, "ig");
      break;
    case Kind::TransformGeometry:
      todo.emplace_back(up, "ig");
      break;
    case Kind::Tweak:
    case Kind::SkinCluster:
      if (!indexed(attr, "og", k))
        k = 0;
      todo.emplace_back(up, "ip[" + std::to_string(k) + "].ig");
      break;
    case Kind::Mesh:
      todo.emplace_back(up, "i");
      break;
    default:
      break;
    }
  }
}

// The faces of a per-face shading assignment iog[instance].og[group]: the
// shape's own component list, or the components its group id tags in the
// construction history.
bool Build::faces_of(int shape, int instance, int group, std::vector<int>& faces) {
  const FileNode& n = _f.nodes[size_t(shape)];
  std::vector<std::string> components;
  auto own = n.components.find(std::to_string(instance) + "." + std::to_string(group));
  if (own != n.components.end()) {
    components = own->second;
  } else {
    int id = upstream(shape, "iog[" + std::to_string(instance) + "].og[" + std::to_string(group) + "].gid");
    if (id >= 0) {
      std::vector<int> parts;
      history_group_parts(shape, parts);
      for (int p : parts)
        if (upstream(p, "gi") == id) {
          auto ic = _f.nodes[size_t(p)].components.find("ic");
          if (ic != _f.nodes[size_t(p)].components.end())
            components.insert(components.end(), ic->second.begin(), ic->second.end());
        }
    }
  }
  int count = int(n.node->mesh->polygons.size());
  // Each face once, however often the list names it ("f[*]" given a
  // hundred times is every face, once): the ranges are merged first.
  std::vector<std::pair<int, int>> ranges;
  for (const std::string& c : components) {
    if (c.size() < 4 || c.compare(0, 2, "f[") != 0 || c.back() != ']')
      continue;
    std::string_view range(c.data() + 2, c.size() - 3);
    int first = 0, last = count - 1;
    if (range != "*") {
      size_t colon = range.find(':');
      std::string_view a = range.substr(0, colon);
      auto r1 = std::from_chars(a.data(), a.data() + a.size(), first);
      last = first;
      bool ok = r1.ec == std::errc() && r1.ptr == a.data() + a.size();
      if (colon != std::string_view::npos) {
        std::string_view b = range.substr(colon + 1);
        auto r2 = std::from_chars(b.data(), b.data() + b.size(), last);
        ok = ok && r2.ec == std::errc() && r2.ptr == b.data() + b.size();
      }
      if (!ok || first < 0 || last < first || last >= count) {
        warn(n.node->name + ": the component " + c + " names faces it does not have; it is ignored.");
        continue;
      }
    }
    ranges.emplace_back(first, last);
  }
  std::sort(ranges.begin(), ranges.end());
  int next = 0; // the first face not yet taken
  for (const auto& r : ranges) {
    for (int f = std::max(r.first, next); f <= r.second; ++f)
      faces.push_back(f);
    next = std::max(next, r.second + 1);
  }
  return true;
}

void Build::shading() {
  // Materials: whatever is connected to a shading group's surfaceShader.
  for (size_t i = 0; i < _f.nodes.size(); ++i) {
    FileNode& sg = _f.nodes[i];
    if (sg.type.kind != Kind::ShadingEngine)
      continue;
    int material = upstream(int(i), "ss");
    if (material < 0)
      continue;
    PlugRef source{_f.nodes[size_t(material)].node, "outColor", -1};
    PlugRef destination{sg.node, "surfaceShader", -1};
    bool connected = false;
    for (const mayasim::Connection& c : scene().connections)
      connected = connected || (c.source == source && c.destination == destination);
    if (!connected)
      scene().connect(source, destination);
  }
  for (size_t i = 0; i < _f.nodes.size(); ++i) {
    FileNode& shape = _f.nodes[i];
    if (shape.type.kind != Kind::Mesh || !shape.node->mesh)
      continue;
    size_t instances = count_paths_to(shape.node);
    for (int c : _f.outgoing[i]) {
      const Connection& con = _f.connections[size_t(c)];
      const FileNode& group = _f.nodes[size_t(con.destination.node)];
      if (group.type.kind != Kind::ShadingEngine || con.destination.attr.compare(0, 3, "dsm") != 0)
        continue;
      const std::string& attr = con.source.attr;
      int instance, og = -1;
      size_t dot = attr.find('.');
      if (!indexed(attr.substr(0, dot), "iog", instance))
        continue;
      if (dot != std::string::npos && !indexed(attr.substr(dot + 1), "og", og))
        continue;
      if (size_t(instance) >= instances) {
        warn(_f.file_name + ":" + std::to_string(con.line) + ": " + shape.node->name + " has no instance " +
             std::to_string(instance) + "; its assignment to " + group.node->name + " is ignored.");
        continue;
      }
      if (og < 0) {
        builder::assign(MObject(shape.node), MObject(group.node), {}, unsigned(instance));
        continue;
      }
      std::vector<int> faces;
      faces_of(int(i), instance, og, faces);
      if (faces.empty())
        builder::connect_shading_group(MObject(shape.node), MObject(group.node), unsigned(instance));
      else
        builder::assign(MObject(shape.node), MObject(group.node), faces, unsigned(instance));
    }
  }
}

} // namespace

void build_scene(FileScene& file) {
  Build b(file);
  b.run();
}

} // namespace maya_ascii
} // namespace mayasim
