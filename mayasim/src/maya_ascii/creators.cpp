#include "creators.h"

#include "mesh_build.h"

#include <algorithm>
#include <cmath>
#include <stdint.h>
#include <stdio.h>

namespace mayasim {
namespace maya_ascii {

namespace {

const double PI = 3.14159265358979323846;

double setting(const FileNode& n, const char* name, double fallback) {
  auto it = n.numbers.find(name);
  return it == n.numbers.end() ? fallback : it->second;
}

// Turns points built around +y so that +y points along `axis`: a rotation
// about y x axis by the angle between them (half a turn about x when the
// axis is -y).
bool orient(std::vector<double>& points, const std::vector<double>& axis, std::string& problem) {
  if (axis.empty())
    return true;
  double ax = axis[0], ay = axis[1], az = axis[2];
  double len = std::sqrt(ax * ax + ay * ay + az * az);
  if (!(len > 0) || !std::isfinite(len)) {
    problem = "its axis has no direction";
    return false;
  }
  ax /= len;
  ay /= len;
  az /= len;
  // Rotation axis k = y x a = (az, 0, -ax); cos = ay.
  double kx = az, kz = -ax;
  double s = std::sqrt(kx * kx + kz * kz);
  double c = ay;
  if (s < 1e-12) {
    if (c > 0)
      return true;
    kx = 1;
    kz = 0;
    s = 0;
    c = -1;
  } else {
    kx /= s;
    kz /= s;
  }
  for (size_t i = 0; i + 2 < points.size(); i += 3) {
    double x = points[i], y = points[i + 1], z = points[i + 2];
    // Rodrigues: v c + (k x v) s + k (k.v)(1 - c), with k = (kx, 0, kz).
    double kdv = kx * x + kz * z;
    double cx = -kz * y, cy = kz * x - kx * z, cz = kx * y;
    points[i] = x * c + cx * s + kx * kdv * (1 - c);
    points[i + 1] = y * c + cy * s;
    points[i + 2] = z * c + cz * s + kz * kdv * (1 - c);
  }
  return true;
}

bool whole(double v, int lo, int hi, const char* what, int& out, std::string& problem) {
  if (!(v >= lo && v <= hi) || v != std::floor(v)) {
    problem = std::string("its ") + what + " is " + std::to_string(v) + " (" + std::to_string(lo) + " to " +
              std::to_string(hi) + " are built)";
    return false;
  }
  out = int(v);
  return true;
}

// A creator's settings are a few bytes of a file, and its mesh can be of
// any size: mayasim builds it only when exporting it would fit in memory.
// An export takes some 460 bytes per face corner, all told (the mesh, the
// exporter's streams, the document tree and its text; bench_export
// measures it per face); a corner is counted as 512. The budget is 8 GB,
// 1 GB in a 32-bit process, whose address space holds little more.
const double EXPORT_BYTES_PER_CORNER = 512;
const double EXPORT_BUDGET_BYTES = sizeof(void*) >= 8 ? 8.0 * (1 << 30) : 1.0 * (1 << 30);

std::string gigabytes(double bytes) {
  char text[32];
  snprintf(text, sizeof(text), "%.1f GB", bytes / double(1 << 30));
  return text;
}

bool within_budget(double corners, std::string& problem) {
  double bytes = corners * EXPORT_BYTES_PER_CORNER;
  if (bytes <= EXPORT_BUDGET_BYTES)
    return true;
  problem = "its subdivisions make " + std::to_string(int64_t(corners)) + " face corners, which would take about " +
            gigabytes(bytes) + " to export; mayasim builds a creator's mesh when its export takes at most " +
            gigabytes(EXPORT_BUDGET_BYTES) + ": lower its subdivisions";
  return false;
}

// The cube: a band of faces wrapped round the x axis (front, top, back and
// bottom, in rows of sw faces), then the +x side and the -x side. The band's
// lines of points run along x; line 0 is the front's bottom edge.
bool cube(const FileNode& n, StoredMesh& out, std::string& problem) {
  double w = setting(n, "w", 1), h = setting(n, "h", 1), d = setting(n, "d", 1);
  int sw, sh, sd, cuv;
  if (!whole(setting(n, "sw", 1), 1, 4096, "width subdivisions", sw, problem) ||
      !whole(setting(n, "sh", 1), 1, 4096, "height subdivisions", sh, problem) ||
      !whole(setting(n, "sd", 1), 1, 4096, "depth subdivisions", sd, problem) ||
      !whole(setting(n, "cuv", 3), 0, 4, "UV setting", cuv, problem))
    return false;
  int lines = 2 * sh + 2 * sd;
  int row = sw + 1;
  if (!within_budget(8.0 * (double(sw) * sh + double(sh) * sd + double(sw) * sd), problem))
    return false;
  // A band line's place: its (y, z) position and its distance along the
  // unfolded band (for UVs).
  auto line_yz = [&](int line, double& y, double& z, double& along) {
    if (line <= sh) {
      y = -h / 2 + h * line / sh;
      z = d / 2;
      along = h * line / sh;
    } else if (line <= sh + sd) {
      y = h / 2;
      z = d / 2 - d * (line - sh) / sd;
      along = h + d * (line - sh) / sd;
    } else if (line <= 2 * sh + sd) {
      y = h / 2 - h * (line - sh - sd) / sh;
      z = -d / 2;
      along = h + d + h * (line - sh - sd) / sh;
    } else {
      y = -h / 2;
      z = -d / 2 + d * (line - 2 * sh - sd) / sd;
      along = 2 * h + d + d * (line - 2 * sh - sd) / sd;
    }
  };
  std::vector<double> points;
  for (int line = 0; line < lines; ++line) {
    double y, z, along;
    line_yz(line, y, z, along);
    for (int i = 0; i <= sw; ++i) {
      points.push_back(-w / 2 + w * i / sw);
      points.push_back(y);
      points.push_back(z);
    }
  }
  // The sides: a grid of sd (along z, from the front) by sh (up). Its edge
  // points are the band's line ends; inner points follow, +x side first.
  int inner_base = lines * row;
  int inner_per_side = (sh - 1) * (sd - 1);
  for (int side = 0; side < 2; ++side)
    for (int b = 1; b < sh; ++b)
      for (int a = 1; a < sd; ++a) {
        points.push_back(side == 0 ? w / 2 : -w / 2);
        points.push_back(-h / 2 + h * b / sh);
        points.push_back(d / 2 - d * a / sd);
      }
  auto side_point = [&](int side, int a, int b) {
    int column = side == 0 ? sw : 0;
    int line;
    if (a == 0)
      line = b;
    else if (b == sh)
      line = sh + a;
    else if (a == sd)
      line = sh + sd + (sh - b);
    else if (b == 0)
      line = (2 * sh + sd + (sd - a)) % lines;
    else
      return inner_base + side * inner_per_side + (b - 1) * (sd - 1) + (a - 1);
    return line * row + column;
  };
  std::vector<std::vector<int>> polygons;
  for (int line = 0; line < lines; ++line) {
    int next = (line + 1) % lines;
    for (int i = 0; i < sw; ++i)
      polygons.push_back({line * row + i, line * row + i + 1, next * row + i + 1, next * row + i});
  }
  for (int side = 0; side < 2; ++side)
    for (int b = 0; b < sh; ++b)
      for (int a = 0; a < sd; ++a) {
        if (side == 0)
          polygons.push_back({side_point(0, a, b), side_point(0, a + 1, b), side_point(0, a + 1, b + 1),
                              side_point(0, a, b + 1)});
        else
          polygons.push_back({side_point(1, a + 1, b), side_point(1, a, b), side_point(1, a, b + 1),
                              side_point(1, a + 1, b + 1)});
      }
  if (!orient(points, n.axis, problem))
    return false;
  mesh_from_polygons(out, points, polygons, [](int, int) { return false; });
  if (cuv == 0)
    return true;

  // UVs: the band unfolded in a column (its last line again at the top),
  // with the sides beside the front face, in units of length; then scaled.
  std::vector<double> uvs;
  for (int line = 0; line <= lines; ++line) {
    double y, z, along;
    line_yz(line == lines ? 0 : line, y, z, along);
    if (line == lines)
      along = 2 * h + 2 * d;
    for (int i = 0; i <= sw; ++i) {
      uvs.push_back(d + w * i / sw);
      uvs.push_back(along);
    }
  }
  int side_base = (lines + 1) * row;
  for (int side = 0; side < 2; ++side)
    for (int b = 0; b <= sh; ++b)
      for (int a = 1; a <= sd; ++a) {
        uvs.push_back(side == 0 ? d + w + d * a / sd : d - d * a / sd);
        uvs.push_back(h * b / sh);
      }
  auto side_uv = [&](int side, int a, int b) {
    if (a == 0)
      return b * row + (side == 0 ? sw : 0);
    return side_base + side * (sh + 1) * sd + b * sd + (a - 1);
  };
  std::vector<std::vector<int>> ids;
  for (int line = 0; line < lines; ++line)
    for (int i = 0; i < sw; ++i)
      ids.push_back({line * row + i, line * row + i + 1, (line + 1) * row + i + 1, (line + 1) * row + i});
  for (int side = 0; side < 2; ++side)
    for (int b = 0; b < sh; ++b)
      for (int a = 0; a < sd; ++a) {
        if (side == 0)
          ids.push_back({side_uv(0, a, b), side_uv(0, a + 1, b), side_uv(0, a + 1, b + 1), side_uv(0, a, b + 1)});
        else
          ids.push_back({side_uv(1, a + 1, b), side_uv(1, a, b), side_uv(1, a, b + 1), side_uv(1, a + 1, b + 1)});
      }
  double width = 2 * d + w, height = 2 * h + 2 * d;
  if (cuv == 2) {
    // Each face on its own, over the whole square.
    std::vector<double> face_uvs;
    std::vector<std::vector<int>> face_ids;
    for (size_t f = 0; f < polygons.size(); ++f) {
      const double corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
      std::vector<int> face;
      for (int c = 0; c < 4; ++c) {
        face.push_back(int(face_uvs.size() / 2));
        face_uvs.push_back(corners[c][0]);
        face_uvs.push_back(corners[c][1]);
      }
      face_ids.push_back(face);
    }
    add_uv_set(out, "map1", face_uvs, face_ids);
    return true;
  }
  double su = 1, sv = 1, ou = 0, ov = 0;
  if (cuv == 3) { // stretched to fill the square
    su = 1 / width;
    sv = 1 / height;
  } else if (cuv == 4) { // one scale for both, centred
    su = sv = 1 / std::max(width, height);
    ou = (1 - width * su) / 2;
    ov = (1 - height * sv) / 2;
  }
  for (size_t i = 0; i < uvs.size(); i += 2) {
    uvs[i] = ou + uvs[i] * su;
    uvs[i + 1] = ov + uvs[i + 1] * sv;
  }
  add_uv_set(out, "map1", uvs, ids);
  return true;
}

// The plane: rows of points along x, from +z to -z.
bool plane(const FileNode& n, StoredMesh& out, std::string& problem) {
  double w = setting(n, "w", 1), h = setting(n, "h", 1);
  int sw, sh, cuv;
  if (!whole(setting(n, "sw", 10), 1, 65536, "width subdivisions", sw, problem) ||
      !whole(setting(n, "sh", 10), 1, 65536, "height subdivisions", sh, problem) ||
      !whole(setting(n, "cuv", 1), 0, 2, "UV setting", cuv, problem))
    return false;
  if (!within_budget(4.0 * sw * sh, problem))
    return false;
  int row = sw + 1;
  std::vector<double> points, uvs;
  for (int j = 0; j <= sh; ++j)
    for (int i = 0; i <= sw; ++i) {
      points.push_back(-w / 2 + w * i / sw);
      points.push_back(0);
      points.push_back(h / 2 - h * j / sh);
      double u = double(i) / sw, v = double(j) / sh;
      if (cuv == 2) { // one scale for both, centred
        double s = 1 / std::max(w, h);
        u = (1 - w * s) / 2 + u * w * s;
        v = (1 - h * s) / 2 + v * h * s;
      }
      uvs.push_back(u);
      uvs.push_back(v);
    }
  std::vector<std::vector<int>> polygons;
  for (int j = 0; j < sh; ++j)
    for (int i = 0; i < sw; ++i)
      polygons.push_back({j * row + i, j * row + i + 1, (j + 1) * row + i + 1, (j + 1) * row + i});
  if (!orient(points, n.axis, problem))
    return false;
  mesh_from_polygons(out, points, polygons, [](int, int) { return true; });
  if (cuv != 0)
    add_uv_set(out, "map1", uvs, polygons);
  return true;
}

// The sphere: rings of points from the bottom up (without the poles), then
// the bottom and top poles; faces: rows of quads from the bottom up, then
// the bottom and the top triangles.
bool sphere(const FileNode& n, StoredMesh& out, std::string& problem) {
  double r = setting(n, "r", 1);
  int sa, sh, cuv;
  if (!whole(setting(n, "sa", 20), 3, 65536, "axis subdivisions", sa, problem) ||
      !whole(setting(n, "sh", 20), 2, 65536, "height subdivisions", sh, problem) ||
      !whole(setting(n, "cuv", 2), 0, 2, "UV setting", cuv, problem))
    return false;
  if (!within_budget(4.0 * sa * sh, problem))
    return false;
  std::vector<double> points;
  // Point i of a ring is a step round from the +x axis, (i + 1) / sa of a
  // turn (as the spheres Maya saved have them: the seam's points are the
  // last of each ring).
  for (int j = 1; j < sh; ++j) {
    double phi = -PI / 2 + PI * j / sh;
    for (int i = 0; i < sa; ++i) {
      double theta = 2 * PI * (i + 1) / sa;
      points.push_back(r * std::cos(phi) * std::cos(theta));
      points.push_back(r * std::sin(phi));
      points.push_back(-r * std::cos(phi) * std::sin(theta));
    }
  }
  int bottom = (sh - 1) * sa, top = bottom + 1;
  points.insert(points.end(), {0, -r, 0, 0, r, 0});
  auto at = [&](int ring, int i) { return (ring - 1) * sa + i % sa; };
  // UVs: a grid of (sa + 1) by the rings, then one per pole triangle.
  auto uv_at = [&](int ring, int i) { return (ring - 1) * (sa + 1) + i; };
  int pole_uvs = (sh - 1) * (sa + 1);
  std::vector<std::vector<int>> polygons, ids;
  for (int j = 1; j < sh - 1; ++j)
    for (int i = 0; i < sa; ++i) {
      polygons.push_back({at(j, i), at(j, i + 1), at(j + 1, i + 1), at(j + 1, i)});
      ids.push_back({uv_at(j, i), uv_at(j, i + 1), uv_at(j + 1, i + 1), uv_at(j + 1, i)});
    }
  for (int i = 0; i < sa; ++i) {
    polygons.push_back({at(1, i + 1), at(1, i), bottom});
    ids.push_back({uv_at(1, i + 1), uv_at(1, i), pole_uvs + i});
  }
  for (int i = 0; i < sa; ++i) {
    polygons.push_back({at(sh - 1, i), at(sh - 1, i + 1), top});
    ids.push_back({uv_at(sh - 1, i), uv_at(sh - 1, i + 1), pole_uvs + sa + i});
  }
  std::vector<double> uvs;
  for (int j = 1; j < sh; ++j)
    for (int i = 0; i <= sa; ++i) {
      uvs.push_back(double(i) / sa);
      uvs.push_back(double(j) / sh);
    }
  for (int pole = 0; pole < 2; ++pole)
    for (int i = 0; i < sa; ++i) {
      uvs.push_back(cuv == 1 ? double(i) / sa : (i + 0.5) / sa);
      uvs.push_back(pole == 0 ? 0.0 : 1.0);
    }
  if (!orient(points, n.axis, problem))
    return false;
  mesh_from_polygons(out, points, polygons, [](int, int) { return true; });
  if (cuv != 0)
    add_uv_set(out, "map1", uvs, ids);
  return true;
}

// The cylinder: rings of points from the bottom up, each starting a step
// round from +x as the sphere's do; faces: rows of side quads, then the
// bottom and top caps (one polygon each, or fans round a centre point with
// one cap subdivision). Side edges are smooth, the caps' rims hard.
bool cylinder(const FileNode& n, StoredMesh& out, std::string& problem) {
  double r = setting(n, "r", 1), h = setting(n, "h", 2);
  int sa, sh, sc, cuv;
  if (!whole(setting(n, "sa", 20), 3, 65536, "axis subdivisions", sa, problem) ||
      !whole(setting(n, "sh", 1), 1, 65536, "height subdivisions", sh, problem) ||
      !whole(setting(n, "sc", 0), 0, 1, "cap subdivisions", sc, problem) ||
      !whole(setting(n, "cuv", 3), 0, 3, "UV setting", cuv, problem))
    return false;
  if (setting(n, "rcp", 0) != 0) {
    problem = "it has round caps, which mayasim does not build";
    return false;
  }
  if (!within_budget(4.0 * sa * sh + 6.0 * sa, problem))
    return false;
  std::vector<double> points;
  auto angle = [&](int i) { return 2 * PI * (i + 1) / sa; };
  for (int j = 0; j <= sh; ++j)
    for (int i = 0; i < sa; ++i) {
      points.push_back(r * std::cos(angle(i)));
      points.push_back(-h / 2 + h * j / sh);
      points.push_back(-r * std::sin(angle(i)));
    }
  int bottom_centre = (sh + 1) * sa, top_centre = bottom_centre + 1;
  if (sc == 1)
    points.insert(points.end(), {0, -h / 2, 0, 0, h / 2, 0});
  auto at = [&](int ring, int i) { return ring * sa + i % sa; };
  std::vector<std::vector<int>> polygons, ids;
  for (int j = 0; j < sh; ++j)
    for (int i = 0; i < sa; ++i)
      polygons.push_back({at(j, i), at(j, i + 1), at(j + 1, i + 1), at(j + 1, i)});
  if (sc == 0) {
    std::vector<int> bottom, top;
    for (int i = sa - 1; i >= 0; --i)
      bottom.push_back(at(0, i));
    for (int i = 0; i < sa; ++i)
      top.push_back(at(sh, i));
    polygons.push_back(bottom);
    polygons.push_back(top);
  } else {
    for (int i = 0; i < sa; ++i)
      polygons.push_back({at(0, i + 1), at(0, i), bottom_centre});
    for (int i = 0; i < sa; ++i)
      polygons.push_back({at(sh, i), at(sh, i + 1), top_centre});
  }
  if (!orient(points, n.axis, problem))
    return false;
  int ring_points = (sh + 1) * sa;
  // A rim edge joins two points of the bottom ring or two of the top ring.
  auto ring_of = [&](int p) { return p < ring_points ? p / sa : -1; };
  mesh_from_polygons(out, points, polygons, [&](int a, int b) {
    int ra = ring_of(a), rb = ring_of(b);
    bool rim = ra == rb && (ra == 0 || ra == sh);
    return !rim;
  });
  if (cuv == 0)
    return true;
  std::vector<double> uvs;
  int side_base = 0, bottom_base = 0, top_base = 0, centre_base = 0;
  if (sc == 1 && cuv == 3) {
    // The layout of the cylinder Maya saved with these settings: the
    // bottom cap's disc, the side unrolled above it, the top cap's disc
    // mirrored above that, then the caps' centres.
    const double R = 0.15625;
    bottom_base = 0;
    for (int i = 0; i < sa; ++i)
      uvs.insert(uvs.end(), {0.5 + R * std::cos(angle(i)), 0.15625 - R * std::sin(angle(i))});
    side_base = sa;
    for (int j = 0; j <= sh; ++j)
      for (int i = 0; i <= sa; ++i)
        uvs.insert(uvs.end(), {0.375 + 0.25 * i / sa, 0.3125 + 0.37593985 * j / sh});
    top_base = side_base + (sa + 1) * (sh + 1);
    for (int k = 0; k < sa; ++k)
      uvs.insert(uvs.end(), {0.5 + R * std::cos(angle(k)), 0.84375 - R * std::sin(angle(k))});
    centre_base = top_base + sa;
    uvs.insert(uvs.end(), {0.5, 0.15, 0.5, 0.8375});
  } else {
    // Other settings (not checked against a cylinder Maya saved): the side
    // unrolled over the top half, the caps as discs below.
    side_base = 0;
    for (int j = 0; j <= sh; ++j)
      for (int i = 0; i <= sa; ++i)
        uvs.insert(uvs.end(), {double(i) / sa, 0.5 + 0.5 * j / sh});
    bottom_base = (sh + 1) * (sa + 1);
    top_base = bottom_base + sa;
    for (int cap = 0; cap < 2; ++cap)
      for (int i = 0; i < sa; ++i)
        uvs.insert(uvs.end(), {(cap == 0 ? 0.25 : 0.75) + 0.24 * std::cos(angle(i)), 0.25 + 0.24 * std::sin(angle(i))});
    centre_base = top_base + sa;
    uvs.insert(uvs.end(), {0.25, 0.25, 0.75, 0.25});
  }
  // The top cap's UV of ring point i: mirrored in the Maya layout.
  bool mirrored_top = sc == 1 && cuv == 3;
  auto top_uv = [&](int i) { return top_base + (mirrored_top ? ((sa - 2 - i) % sa + sa) % sa : i % sa); };
  auto side_uv = [&](int ring, int i) { return side_base + ring * (sa + 1) + i; };
  for (int j = 0; j < sh; ++j)
    for (int i = 0; i < sa; ++i)
      ids.push_back({side_uv(j, i), side_uv(j, i + 1), side_uv(j + 1, i + 1), side_uv(j + 1, i)});
  if (sc == 0) {
    std::vector<int> bottom_ids, top_ids;
    for (int i = sa - 1; i >= 0; --i)
      bottom_ids.push_back(bottom_base + i);
    for (int i = 0; i < sa; ++i)
      top_ids.push_back(top_uv(i));
    ids.push_back(bottom_ids);
    ids.push_back(top_ids);
  } else {
    for (int i = 0; i < sa; ++i)
      ids.push_back({bottom_base + (i + 1) % sa, bottom_base + i, centre_base});
    for (int i = 0; i < sa; ++i)
      ids.push_back({top_uv(i), top_uv(i + 1), centre_base + 1});
  }
  add_uv_set(out, "map1", uvs, ids);
  return true;
}

} // namespace

bool build_creator(const FileNode& node, StoredMesh& out, std::string& problem) {
  for (const auto& entry : node.numbers)
    if (!std::isfinite(entry.second)) {
      problem = "its " + entry.first + " is not a finite number";
      return false;
    }
  for (double a : node.axis)
    if (!std::isfinite(a)) {
      problem = "its axis is not finite";
      return false;
    }
  switch (node.type.kind) {
  case Kind::PolyCube:
    return cube(node, out, problem);
  case Kind::PolyPlane:
    return plane(node, out, problem);
  case Kind::PolySphere:
    return sphere(node, out, problem);
  case Kind::PolyCylinder:
    return cylinder(node, out, problem);
  default:
    problem = "it is not a creator mayasim builds";
    return false;
  }
}

} // namespace maya_ascii
} // namespace mayasim
