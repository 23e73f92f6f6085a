// Maya's triangulation of a polygon (MItMeshPolygon::getTriangle and
// numTriangles, and the triangles tangents are computed on).
//
// What Maya-made data shows: in the exports real Maya made of the shared
// truth scenes, every quad (0 1 2 3) becomes the triangles (0 1 3) and
// (3 1 2), whichever diagonal is shorter, and a triangle stays (0 1 2).
// Those are the first triangles of a strip that alternates between the two
// ends of the polygon: corners 0, 1, n-1, 2, n-2, 3, ..., each triangle
// wound as the polygon is. mayasim triangulates every polygon by that strip
// when it lies inside the polygon. A concave polygon whose strip would
// leave it is stripped from its next corner instead (then the next); when
// no strip fits, ears are clipped, each ear wound as the polygon. Only
// triangles and quads are checked against Maya's numbers; larger polygons
// and the concave rules follow the same pattern without Maya-made data to
// confirm them (docs/mayasim.md).
//
// Maya makes n - 2 triangles of every polygon of n corners, also of a
// twisted one or one that covers no area. Its class reference says that a
// polygon without a valid triangulation is bad geometry that "may have
// degenerate points or cover zero area": hasValidTriangulation is false for
// a polygon whose area is zero and for one that passes through the same
// point twice.
#include "scene.h"

#include <algorithm>
#include <cmath>

namespace mayasim {

namespace {

// Polygons up to this many corners try every starting corner for a strip
// that fits; larger ones try the first, then clip ears (so that no polygon
// costs more than a few million steps).
const size_t MAX_STRIP_STARTS = 64;

// A polygon projected onto its own plane: the two coordinates other than
// the largest of its normal's, turned so that the polygon winds counter-
// clockwise there.
class ProjectedPolygon {
public:
  ProjectedPolygon(const MeshData& m, const std::vector<int>& ids) : _ids(ids) {
    size_t n = ids.size();
    double nx = 0, ny = 0, nz = 0;
    double longest = 0;
    for (size_t i = 0; i < n; ++i) {
      const MPoint& a = m.points[size_t(ids[i])];
      const MPoint& b = m.points[size_t(ids[(i + 1) % n])];
      nx += (a.y - b.y) * (a.z + b.z);
      ny += (a.z - b.z) * (a.x + b.x);
      nz += (a.x - b.x) * (a.y + b.y);
      double dx = a.x - b.x, dy = a.y - b.y, dz = a.z - b.z;
      longest = std::max(longest, std::sqrt(dx * dx + dy * dy + dz * dz));
    }
    _area = 0.5 * std::sqrt(nx * nx + ny * ny + nz * nz);
    _scale = longest * longest;
    int drop = std::fabs(nx) > std::fabs(ny) ? (std::fabs(nx) > std::fabs(nz) ? 0 : 2)
                                             : (std::fabs(ny) > std::fabs(nz) ? 1 : 2);
    double sign = (drop == 0 ? nx : drop == 1 ? ny : nz) >= 0 ? 1.0 : -1.0;
    _u.resize(n);
    _v.resize(n);
    for (size_t i = 0; i < n; ++i) {
      const MPoint& p = m.points[size_t(ids[i])];
      double c[3] = {p.x, p.y, p.z};
      _u[i] = c[(drop + 1) % 3];
      _v[i] = sign * c[(drop + 2) % 3];
    }
  }

  size_t size() const { return _u.size(); }
  double area() const { return _area; }
  double scale() const { return _scale; }

  // Twice the signed area of the triangle of corners a, b, c: positive when
  // it winds as the polygon does.
  double orientation(size_t a, size_t b, size_t c) const {
    return (_u[b] - _u[a]) * (_v[c] - _v[a]) - (_v[b] - _v[a]) * (_u[c] - _u[a]);
  }

  // Whether corner p lies strictly inside the triangle a, b, c (which
  // winds as the polygon does). A corner at the same place as one of the
  // triangle's is not inside it.
  bool inside(size_t p, size_t a, size_t b, size_t c) const {
    double eps = 1e-12 * _scale;
    if (same_place(p, a) || same_place(p, b) || same_place(p, c))
      return false;
    return orientation(a, b, p) > eps && orientation(b, c, p) > eps && orientation(c, a, p) > eps;
  }

  int id(size_t corner) const { return _ids[corner]; }

private:
  bool same_place(size_t p, size_t q) const { return _u[p] == _u[q] && _v[p] == _v[q]; }

  const std::vector<int>& _ids;
  std::vector<double> _u, _v;
  double _area = 0, _scale = 0;
};

// The alternating strip from corner `start`: its triangles as corner
// numbers, three each.
void strip(size_t n, size_t start, std::vector<size_t>& out) {
  std::vector<size_t> order;
  order.reserve(n);
  order.push_back(start);
  size_t ahead = (start + 1) % n, behind = (start + n - 1) % n;
  while (order.size() < n) {
    order.push_back(ahead);
    ahead = (ahead + 1) % n;
    if (order.size() < n) {
      order.push_back(behind);
      behind = (behind + n - 1) % n;
    }
  }
  out.clear();
  for (size_t k = 0; k + 2 < n; ++k) {
    if (k % 2 == 0) {
      out.insert(out.end(), {order[k], order[k + 1], order[k + 2]});
    } else {
      out.insert(out.end(), {order[k + 1], order[k], order[k + 2]});
    }
  }
}

// Whether every triangle of `triangles` lies inside the polygon: wound as
// the polygon (or flat) and holding no other corner.
bool fits(const ProjectedPolygon& p, const std::vector<size_t>& triangles) {
  double eps = 1e-12 * p.scale();
  for (size_t t = 0; t < triangles.size(); t += 3) {
    size_t a = triangles[t], b = triangles[t + 1], c = triangles[t + 2];
    if (p.orientation(a, b, c) < -eps)
      return false;
    for (size_t k = 0; k < p.size(); ++k)
      if (k != a && k != b && k != c && p.inside(k, a, b, c))
        return false;
  }
  return true;
}

// Ear clipping; false when the polygon has no ear left to clip (it
// crosses itself).
bool clip_ears(const ProjectedPolygon& p, std::vector<size_t>& out) {
  size_t n = p.size();
  std::vector<size_t> ring(n);
  for (size_t i = 0; i < n; ++i)
    ring[i] = i;
  double eps = 1e-12 * p.scale();
  out.clear();
  size_t at = 0;
  size_t misses = 0;
  while (ring.size() > 3) {
    size_t m = ring.size();
    at %= m;
    size_t prev = ring[(at + m - 1) % m], cur = ring[at], next = ring[(at + 1) % m];
    bool ear = p.orientation(prev, cur, next) > eps;
    for (size_t k = 0; ear && k < m; ++k) {
      size_t other = ring[k];
      if (other != prev && other != cur && other != next && p.inside(other, prev, cur, next))
        ear = false;
    }
    if (!ear) {
      ++at;
      if (++misses > m)
        return false;
      continue;
    }
    out.insert(out.end(), {prev, cur, next});
    ring.erase(ring.begin() + long(at));
    misses = 0;
  }
  out.insert(out.end(), {ring[0], ring[1], ring[2]});
  return true;
}

bool repeats_a_point(const std::vector<int>& ids) {
  std::vector<int> sorted(ids);
  std::sort(sorted.begin(), sorted.end());
  return std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
}

} // namespace

bool triangulate(const MeshData& m, int face, std::vector<int>& triangles) {
  triangles.clear();
  const std::vector<int>& ids = m.polygons[size_t(face)];
  size_t n = ids.size();
  if (n < 3)
    return false;
  ProjectedPolygon polygon(m, ids);
  std::vector<size_t> corners;
  bool found = false;
  size_t starts = n <= MAX_STRIP_STARTS ? n : 1;
  for (size_t start = 0; start < starts && !found; ++start) {
    strip(n, start, corners);
    found = n == 3 || fits(polygon, corners);
  }
  if (!found && !clip_ears(polygon, corners))
    strip(n, 0, corners); // twisted: the strip from the first corner, as it is
  triangles.reserve(corners.size());
  for (size_t c : corners)
    triangles.push_back(polygon.id(c));
  bool covers_area = polygon.area() > 0 && std::isfinite(polygon.area());
  return covers_area && !repeats_a_point(ids);
}

} // namespace mayasim
