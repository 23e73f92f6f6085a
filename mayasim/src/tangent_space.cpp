// A mesh's tangent space per UV set, computed as Maya's documentation
// describes it (see compute_tangent_space in scene.h).
#include "scene.h"

#include <math.h>
#include <unordered_map>

namespace mayasim {

namespace {

struct Vec {
  double x = 0, y = 0, z = 0;
};

Vec operator-(const Vec& a, const Vec& b) { return Vec{a.x - b.x, a.y - b.y, a.z - b.z}; }
Vec operator+(const Vec& a, const Vec& b) { return Vec{a.x + b.x, a.y + b.y, a.z + b.z}; }
Vec operator*(const Vec& a, double s) { return Vec{a.x * s, a.y * s, a.z * s}; }
double dot(const Vec& a, const Vec& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vec cross(const Vec& a, const Vec& b) { return Vec{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
Vec normalized(const Vec& a) {
  double l = sqrt(dot(a, a));
  return l > 0 ? a * (1.0 / l) : a;
}
Vec of(const MPoint& p) { return Vec{p.x, p.y, p.z}; }
Vec of(const MFloatVector& v) { return Vec{v.x, v.y, v.z}; }

// One component of a mapped triangle's tangent: the derivative of the
// position component along U, from the plane through (c, s, t) at the
// three corners, as Maya's documentation computes it.
double tangent_component(const double c[3], const double s[3], const double t[3]) {
  Vec e1{c[1] - c[0], s[1] - s[0], t[1] - t[0]};
  Vec e2{c[2] - c[0], s[2] - s[0], t[2] - t[0]};
  Vec n = normalized(cross(e1, e2));
  if (fabs(n.x) < 1e-6) // degenerate tangent plane
    n.x = 1.0;
  return -n.y / n.x;
}

// Where a corner's tangent is gathered: mapped corners of one vertex, UV
// and normal share one; an unmapped corner has its own.
struct Key {
  int vertex, uv, normal;
  bool operator==(const Key& o) const { return vertex == o.vertex && uv == o.uv && normal == o.normal; }
};
struct KeyHash {
  size_t operator()(const Key& k) const {
    uint64_t h = uint64_t(uint32_t(k.vertex)) * 0x9E3779B97F4A7C15ull;
    h ^= uint64_t(uint32_t(k.uv)) * 0xC2B2AE3D27D4EB4Full + (h << 6) + (h >> 2);
    h ^= uint64_t(uint32_t(k.normal)) * 0x165667B19E3779F9ull + (h << 6) + (h >> 2);
    return size_t(h);
  }
};

struct Gathered {
  Vec tangent;
  double uv_winding = 0; // summed signed UV areas: negative where mirrored
  Vec normal;
};

} // namespace

void compute_tangent_space(const MeshData& m, const UvSet* set, TangentSpace& out) {
  out.tangents.clear();
  out.binormals.clear();
  out.right_handed.clear();
  out.ids.assign(size_t(m.face_vertex_count()), -1);
  std::unordered_map<Key, int, KeyHash> ids;
  std::vector<Gathered> gathered;

  std::vector<int> triangles;
  for (size_t f = 0; f < m.polygons.size(); ++f) {
    const std::vector<int>& vertices = m.polygons[f];
    int offset = m.face_offsets[f];
    // Each corner's tangent id, assigned in face-vertex order.
    for (size_t c = 0; c < vertices.size(); ++c) {
      int fv = offset + int(c);
      int uv = set ? set->face_vertex_ids[size_t(fv)] : -1;
      Key key = uv >= 0 ? Key{vertices[c], uv, m.normal_ids[size_t(fv)]} : Key{-1 - fv, -1, -1};
      auto found = ids.find(key);
      int id;
      if (found == ids.end()) {
        id = int(gathered.size());
        ids.emplace(key, id);
        gathered.push_back(Gathered());
        gathered.back().normal = of(m.normals[size_t(m.normal_ids[size_t(fv)])]);
      } else {
        id = found->second;
      }
      out.ids[size_t(fv)] = id;
    }
    triangulate(m, int(f), triangles);
    for (size_t t = 0; t + 2 < triangles.size(); t += 3) {
      int local[3];
      for (int k = 0; k < 3; ++k) {
        local[k] = 0;
        for (size_t c = 0; c < vertices.size(); ++c)
          if (vertices[c] == triangles[t + size_t(k)]) {
            local[k] = int(c);
            break;
          }
      }
      Vec p[3];
      double s[3], tv[3];
      bool mapped = set != nullptr;
      for (int k = 0; k < 3; ++k) {
        p[k] = of(m.points[size_t(triangles[t + size_t(k)])]);
        int uv = set ? set->face_vertex_ids[size_t(offset + local[k])] : -1;
        if (uv < 0) {
          mapped = false;
          s[k] = tv[k] = 0;
        } else {
          s[k] = set->u[size_t(uv)];
          tv[k] = set->v[size_t(uv)];
        }
      }
      // Degenerate UVs: an edge of zero length in UV space.
      for (int k = 0; mapped && k < 3; ++k) {
        int n = (k + 1) % 3;
        if (s[n] == s[k] && tv[n] == tv[k])
          mapped = false;
      }
      if (mapped) {
        double cx[3] = {p[0].x, p[1].x, p[2].x}, cy[3] = {p[0].y, p[1].y, p[2].y}, cz[3] = {p[0].z, p[1].z, p[2].z};
        Vec tangent{tangent_component(cx, s, tv), tangent_component(cy, s, tv), tangent_component(cz, s, tv)};
        double area = (s[1] - s[0]) * (tv[2] - tv[0]) - (s[2] - s[0]) * (tv[1] - tv[0]);
        for (int k = 0; k < 3; ++k) {
          Gathered& g = gathered[size_t(out.ids[size_t(offset + local[k])])];
          g.tangent = g.tangent + tangent;
          g.uv_winding += area;
        }
      } else {
        for (int k = 0; k < 3; ++k) {
          Gathered& g = gathered[size_t(out.ids[size_t(offset + local[k])])];
          Vec edge = p[(k + 1) % 3] - p[k];
          edge = normalized(edge - g.normal * dot(edge, g.normal));
          g.tangent = g.tangent + edge;
        }
      }
    }
  }

  out.tangents.reserve(gathered.size());
  out.binormals.reserve(gathered.size());
  out.right_handed.reserve(gathered.size());
  for (const Gathered& g : gathered) {
    Vec tangent = normalized(g.tangent);
    bool right = g.uv_winding >= 0;
    Vec binormal = normalized(cross(g.normal, tangent)) * (right ? 1.0 : -1.0);
    out.tangents.push_back(MFloatVector(float(tangent.x), float(tangent.y), float(tangent.z)));
    out.binormals.push_back(MFloatVector(float(binormal.x), float(binormal.y), float(binormal.z)));
    out.right_handed.push_back(right);
  }
}

const TangentSpace& MeshData::tangent_space(int set) const {
  auto found = _tangent_spaces.find(set);
  if (found != _tangent_spaces.end())
    return found->second;
  TangentSpace& space = _tangent_spaces[set];
  const UvSet* uv = set >= 0 && size_t(set) < uv_sets.size() ? &uv_sets[size_t(set)] : nullptr;
  compute_tangent_space(*this, uv, space);
  return space;
}

} // namespace mayasim
