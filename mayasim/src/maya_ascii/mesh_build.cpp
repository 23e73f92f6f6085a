#include "mesh_build.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

namespace mayasim {
namespace maya_ascii {

namespace {

struct Vec {
  double x, y, z;
};

Vec cross(const Vec& a, const Vec& b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double dot(const Vec& a, const Vec& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double length(const Vec& a) { return std::sqrt(dot(a, a)); }

// A value at or above this marks a normal the file does not store.
const double NO_NORMAL = 1e19;

int find_root(std::vector<int>& parent, int i) {
  while (parent[size_t(i)] != i) {
    parent[size_t(i)] = parent[size_t(parent[size_t(i)])];
    i = parent[size_t(i)];
  }
  return i;
}

void unite(std::vector<int>& parent, int a, int b) {
  a = find_root(parent, a);
  b = find_root(parent, b);
  if (a != b)
    parent[size_t(std::max(a, b))] = std::min(a, b);
}

// Normals per face corner from edge smoothness (see mesh_build.h), with
// the file's own normals where it stores them.
void compute_normals(const StoredMesh& s, MeshData& m, const std::vector<int>& corner_edges) {
  const std::vector<MPoint>& p = m.points;
  int corners = m.face_vertex_count();
  std::vector<Vec> face_normal(m.polygons.size());
  std::vector<double> face_area(m.polygons.size());
  std::vector<int> face_of(static_cast<size_t>(corners));
  std::vector<double> weight(size_t(corners), 1.0);
  for (size_t f = 0; f < m.polygons.size(); ++f) {
    const std::vector<int>& poly = m.polygons[f];
    size_t n = poly.size();
    Vec sum{0, 0, 0};
    for (size_t i = 0; i < n; ++i) {
      const MPoint& a = p[size_t(poly[i])];
      const MPoint& b = p[size_t(poly[(i + 1) % n])];
      sum.x += (a.y - b.y) * (a.z + b.z);
      sum.y += (a.z - b.z) * (a.x + b.x);
      sum.z += (a.x - b.x) * (a.y + b.y);
    }
    double len = length(sum);
    face_area[f] = 0.5 * len;
    face_normal[f] = len > 0 ? Vec{sum.x / len, sum.y / len, sum.z / len} : Vec{0, 0, 0};
    int offset = m.face_offsets[f];
    for (size_t i = 0; i < n; ++i) {
      face_of[size_t(offset) + i] = int(f);
      if (s.normal_method == 0)
        continue;
      double angle = 1.0;
      if (s.normal_method != 2) {
        const MPoint& c = p[size_t(poly[i])];
        const MPoint& prev = p[size_t(poly[(i + n - 1) % n])];
        const MPoint& next = p[size_t(poly[(i + 1) % n])];
        Vec u{prev.x - c.x, prev.y - c.y, prev.z - c.z};
        Vec v{next.x - c.x, next.y - c.y, next.z - c.z};
        angle = std::atan2(length(cross(u, v)), dot(u, v));
      }
      weight[size_t(offset) + i] = s.normal_method == 1 ? angle : s.normal_method == 2 ? face_area[f] : angle * face_area[f];
    }
  }
  // Corners joined across smooth edges share one normal.
  std::vector<int> parent(static_cast<size_t>(corners));
  std::iota(parent.begin(), parent.end(), 0);
  // The corners each edge leaves, grouped by edge (a counting sort).
  size_t edge_count = s.edges.size() / 3;
  std::vector<int> first_of_edge(edge_count + 1, 0);
  for (int c = 0; c < corners; ++c)
    ++first_of_edge[size_t(corner_edges[size_t(c)]) + 1];
  for (size_t e = 0; e < edge_count; ++e)
    first_of_edge[e + 1] += first_of_edge[e];
  std::vector<int> by_edge(static_cast<size_t>(corners));
  std::vector<int> filled(first_of_edge.begin(), first_of_edge.end() - 1);
  for (int c = 0; c < corners; ++c)
    by_edge[size_t(filled[size_t(corner_edges[size_t(c)])]++)] = c;
  auto next_corner = [&](int c) {
    int f = face_of[size_t(c)];
    int offset = m.face_offsets[size_t(f)];
    int n = int(m.polygons[size_t(f)].size());
    return offset + (c - offset + 1) % n;
  };
  auto point_of = [&](int c) {
    int f = face_of[size_t(c)];
    return m.polygons[size_t(f)][size_t(c - m.face_offsets[size_t(f)])];
  };
  for (size_t edge = 0; edge < edge_count; ++edge) {
    size_t i = size_t(first_of_edge[edge]), j = size_t(first_of_edge[edge + 1]);
    if (j - i > 1 && s.edges[edge * 3 + 2] != 0) {
      int a = by_edge[i];
      for (size_t k = i + 1; k < j; ++k) {
        int b = by_edge[k];
        // The two corners of each face on this edge, matched by point.
        int a_next = next_corner(a), b_next = next_corner(b);
        if (point_of(a) == point_of(b)) {
          unite(parent, a, b);
          unite(parent, a_next, b_next);
        } else {
          unite(parent, a, b_next);
          unite(parent, a_next, b);
        }
      }
    }
  }
  std::vector<Vec> sums(size_t(corners), Vec{0, 0, 0});
  for (int c = 0; c < corners; ++c) {
    int r = find_root(parent, c);
    const Vec& n = face_normal[size_t(face_of[size_t(c)])];
    double w = weight[size_t(c)];
    sums[size_t(r)].x += w * n.x;
    sums[size_t(r)].y += w * n.y;
    sums[size_t(r)].z += w * n.z;
  }
  std::vector<int> id_of_root(size_t(corners), -1);
  m.normals.clear();
  m.normal_ids.assign(size_t(corners), 0);
  for (int c = 0; c < corners; ++c) {
    size_t stored = size_t(c) * 3;
    if (stored + 2 < s.normals.size() && s.normals[stored] < NO_NORMAL && s.normals[stored + 1] < NO_NORMAL &&
        s.normals[stored + 2] < NO_NORMAL) {
      m.normal_ids[size_t(c)] = int(m.normals.size());
      m.normals.push_back(
          MFloatVector(float(s.normals[stored]), float(s.normals[stored + 1]), float(s.normals[stored + 2])));
      continue;
    }
    int r = find_root(parent, c);
    if (id_of_root[size_t(r)] < 0) {
      Vec v = sums[size_t(r)];
      double len = length(v);
      if (len > 0)
        v = Vec{v.x / len, v.y / len, v.z / len};
      else
        v = face_normal[size_t(face_of[size_t(c)])];
      id_of_root[size_t(r)] = int(m.normals.size());
      m.normals.push_back(MFloatVector(float(v.x), float(v.y), float(v.z)));
    }
    m.normal_ids[size_t(c)] = id_of_root[size_t(r)];
  }
}

// The per-corner ids of one set from the faces' maps.
bool corner_ids(const StoredMesh& s, const MeshData& m, const std::vector<StoredMesh::FaceMap>& maps, int set,
                size_t count, const char* what, std::vector<int>& ids, std::string& problem) {
  ids.assign(size_t(m.face_vertex_count()), -1);
  for (const StoredMesh::FaceMap& map : maps) {
    if (map.set != set)
      continue;
    const std::vector<int>& poly = m.polygons[size_t(map.face)];
    if (size_t(map.count) != poly.size()) {
      problem = "face " + std::to_string(map.face) + " has " + std::to_string(poly.size()) + " corners but " +
                std::to_string(map.count) + " " + what + " ids";
      return false;
    }
    for (int i = 0; i < map.count; ++i) {
      int id = s.map_ids[size_t(map.begin + i)];
      if (id >= int(count)) {
        problem = "face " + std::to_string(map.face) + " uses " + what + " " + std::to_string(id) + " of " +
                  std::to_string(count);
        return false;
      }
      ids[size_t(m.face_offsets[size_t(map.face)] + i)] = id;
    }
  }
  return true;
}

} // namespace

bool build_mesh(const StoredMesh& s, MeshData& m, std::string& problem) {
  size_t point_count = s.points.size() / 3;
  m = MeshData();
  m.points.resize(point_count);
  for (size_t i = 0; i < point_count; ++i)
    m.points[i] = MPoint(s.points[3 * i], s.points[3 * i + 1], s.points[3 * i + 2]);
  // Tweaks of points the mesh does not have change nothing (Maya keeps a
  // tweak array longer than the points, and ignores the rest).
  for (size_t i = 0; i < s.tweaks.size() / 3 && i < point_count; ++i) {
    m.points[i].x += s.tweaks[3 * i];
    m.points[i].y += s.tweaks[3 * i + 1];
    m.points[i].z += s.tweaks[3 * i + 2];
  }
  size_t edge_count = s.edges.size() / 3;
  for (size_t e = 0; e < edge_count; ++e) {
    int a = s.edges[3 * e], b = s.edges[3 * e + 1];
    if (a < 0 || b < 0) {
      problem = "edge " + std::to_string(e) + " is not given";
      return false;
    }
    if (size_t(a) >= point_count || size_t(b) >= point_count) {
      problem = "edge " + std::to_string(e) + " joins point " + std::to_string(std::max(a, b)) + " of " +
                std::to_string(point_count);
      return false;
    }
  }
  std::vector<int> corner_edges;
  corner_edges.reserve(s.face_edges.size());
  m.polygons.resize(s.faces.size());
  for (size_t f = 0; f < s.faces.size(); ++f) {
    const StoredMesh::Face& face = s.faces[f];
    std::string name = "face " + std::to_string(f);
    if (!face.given) {
      problem = name + " is not given";
      return false;
    }
    if (face.holes) {
      problem = name + " has holes, which mayasim's meshes cannot hold";
      return false;
    }
    if (face.edge_count < 3) {
      problem = name + " has fewer than three corners";
      return false;
    }
    std::vector<int>& poly = m.polygons[f];
    poly.reserve(size_t(face.edge_count));
    int previous_end = -1;
    for (int k = 0; k < face.edge_count; ++k) {
      int e = s.face_edges[size_t(face.edge_begin + k)];
      size_t edge = e >= 0 ? size_t(e) : size_t(-1 - int64_t(e));
      if (edge >= edge_count) {
        problem = name + " walks edge " + std::to_string(edge) + " of " + std::to_string(edge_count);
        return false;
      }
      int from = s.edges[3 * edge + (e >= 0 ? 0 : 1)];
      int to = s.edges[3 * edge + (e >= 0 ? 1 : 0)];
      if (previous_end >= 0 && from != previous_end) {
        problem = name + "'s edges do not form a loop";
        return false;
      }
      previous_end = to;
      poly.push_back(from);
      corner_edges.push_back(int(edge));
    }
    if (previous_end != poly.front()) {
      problem = name + "'s edges do not form a loop";
      return false;
    }
  }
  m.finish_topology();

  for (const auto& entry : s.uv_sets) {
    UvSet set;
    set.name = entry.second.name.empty() ? "map" + std::to_string(int64_t(entry.first) + 1) : entry.second.name;
    size_t count = entry.second.uvs.size() / 2;
    for (size_t i = 0; i < count; ++i) {
      set.u.push_back(float(entry.second.uvs[2 * i]));
      set.v.push_back(float(entry.second.uvs[2 * i + 1]));
    }
    if (!corner_ids(s, m, s.uv_maps, entry.first, count, "UV", set.face_vertex_ids, problem))
      return false;
    m.uv_sets.push_back(std::move(set));
  }
  for (const StoredMesh::FaceMap& map : s.uv_maps)
    if (!s.uv_sets.count(map.set)) {
      problem = "face " + std::to_string(map.face) + " uses UV set " + std::to_string(map.set) + ", which is not given";
      return false;
    }
  if (m.uv_sets.empty()) {
    UvSet map1;
    map1.name = "map1";
    map1.face_vertex_ids.assign(size_t(m.face_vertex_count()), -1);
    m.uv_sets.push_back(map1);
  }
  for (size_t i = 0; i < m.uv_sets.size(); ++i)
    if (m.uv_sets[i].name == s.current_uv_set)
      m.current_uv_set = int(i);

  for (const auto& entry : s.color_sets) {
    ColorSet set;
    set.name = entry.second.name.empty() ? "colorSet" + std::to_string(int64_t(entry.first) + 1) : entry.second.name;
    set.representation = entry.second.representation == 2 ? 1 : entry.second.representation;
    size_t count = entry.second.colors.size() / 4;
    for (size_t i = 0; i < count; ++i) {
      const double* c = &entry.second.colors[4 * i];
      set.colors.push_back(MColor(float(c[0]), float(c[1]), float(c[2]), float(c[3])));
    }
    if (!corner_ids(s, m, s.color_maps, entry.first, count, "colour", set.face_vertex_ids, problem))
      return false;
    m.color_sets.push_back(std::move(set));
  }
  for (const StoredMesh::FaceMap& map : s.color_maps)
    if (!s.color_sets.count(map.set)) {
      problem = "face " + std::to_string(map.face) + " uses colour set " + std::to_string(map.set) +
                ", which is not given";
      return false;
    }
  for (size_t i = 0; i < m.color_sets.size(); ++i)
    if (m.color_sets[i].name == s.current_color_set)
      m.current_color_set = int(i);

  if (s.normals.size() > size_t(m.face_vertex_count()) * 3) {
    for (size_t i = size_t(m.face_vertex_count()) * 3; i < s.normals.size(); ++i)
      if (s.normals[i] < NO_NORMAL) {
        problem = "it stores normals for more face corners than its faces have";
        return false;
      }
  }
  compute_normals(s, m, corner_edges);
  return true;
}

void mesh_from_polygons(StoredMesh& out, const std::vector<double>& points,
                        const std::vector<std::vector<int>>& polygons, const std::function<bool(int, int)>& smooth) {
  out = StoredMesh();
  out.points = points;
  out.has_geometry = true;
  std::map<std::pair<int, int>, int> edge_ids;
  for (const std::vector<int>& poly : polygons) {
    StoredMesh::Face face;
    face.given = true;
    face.edge_begin = int(out.face_edges.size());
    face.edge_count = int(poly.size());
    for (size_t i = 0; i < poly.size(); ++i) {
      int a = poly[i], b = poly[(i + 1) % poly.size()];
      auto key = std::make_pair(std::min(a, b), std::max(a, b));
      auto it = edge_ids.find(key);
      if (it == edge_ids.end()) {
        int id = int(out.edges.size() / 3);
        edge_ids.emplace(key, id);
        out.edges.push_back(a);
        out.edges.push_back(b);
        out.edges.push_back(smooth(a, b) ? 1 : 0);
        out.face_edges.push_back(id);
      } else {
        bool forward = out.edges[size_t(it->second) * 3] == a;
        out.face_edges.push_back(forward ? it->second : -1 - it->second);
      }
    }
    out.faces.push_back(face);
  }
}

void add_uv_set(StoredMesh& out, const std::string& name, const std::vector<double>& uvs,
                const std::vector<std::vector<int>>& ids) {
  int set = next_set_index(out.uv_sets);
  out.uv_sets[set].name = name;
  out.uv_sets[set].uvs = uvs;
  for (size_t f = 0; f < ids.size(); ++f) {
    StoredMesh::FaceMap map{int(f), set, int(out.map_ids.size()), int(ids[f].size())};
    out.map_ids.insert(out.map_ids.end(), ids[f].begin(), ids[f].end());
    out.uv_maps.push_back(map);
  }
  if (out.current_uv_set.empty())
    out.current_uv_set = name;
}

} // namespace maya_ascii
} // namespace mayasim
