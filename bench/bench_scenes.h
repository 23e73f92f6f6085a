// The scenes of the export benchmark, made with mayasim's builder from a
// fixed seed, at any size: the benchmark builds them large, the tests small
// (to check that the exported text does not change).
//
//   static_mesh(n):  one mesh of about n vertices (positions, smooth normals,
//                    one UV set, two materials), no animation;
//   skinned_mesh(n): one mesh of about n vertices skinned to 8 joints with 4
//                    non-zero weights per vertex, no animation;
//   animated_joints(joints, frames): a joint hierarchy keyed over the frames.
#pragma once

#include "mayasim/builder.h"

#include <math.h>
#include <stdint.h>
#include <string>
#include <vector>

namespace bench_scenes {

// A small linear congruential generator: the same numbers on every platform.
struct Random {
  uint64_t state;
  explicit Random(uint64_t seed) : state(seed) {}
  double next() {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    return double(state >> 11) / double(1ull << 53);
  }
};

// A grid of about `vertices` vertices, side by side in X and Z, with a
// gentle random relief; one UV set ("map1").
inline mayasim::builder::MeshDesc relief_grid(uint32_t vertices, Random& random) {
  int side = int(sqrt(double(vertices))) - 1;
  if (side < 1)
    side = 1;
  mayasim::builder::MeshDesc d = mayasim::builder::grid(side, side, 10.0);
  for (MPoint& p : d.points)
    p.y = 20.0 * random.next();
  d.tangents = false;
  return d;
}

inline void static_mesh(uint32_t vertices) {
  using namespace mayasim::builder;
  new_scene();
  set_scene_file("/projects/bench/static_mesh.mb");
  set_playback_range(1, 1);
  Random random(1);
  MeshDesc d = relief_grid(vertices, random);
  MObject ground = transform("ground");
  mesh(ground, "groundShape", d);
  // Two materials: alternate rows of quads.
  Material grass = material("grass_mat");
  Material rock = material("rock_mat");
  assign(ground, grass.shading_group);
  int side = int(sqrt(double(d.polygons.size())));
  std::vector<int> rows;
  for (int r = 0; r < side; r += 2)
    for (int c = 0; c < side; ++c)
      rows.push_back(r * side + c);
  assign(ground, rock.shading_group, rows);
}

inline void skinned_mesh(uint32_t vertices) {
  using namespace mayasim::builder;
  new_scene();
  set_scene_file("/projects/bench/skinned_mesh.mb");
  set_playback_range(1, 1);
  Random random(2);
  MeshDesc d = relief_grid(vertices, random);
  MObject body = transform("body");
  mesh(body, "bodyShape", d);
  std::vector<MObject> joints;
  MObject parent;
  for (int j = 0; j < 8; ++j) {
    parent = joint("bone" + std::to_string(j), parent, {j == 0 ? 0.0 : 40.0, 0, 0});
    joints.push_back(parent);
  }
  // Four influences per vertex: four consecutive joints, random shares.
  std::vector<std::vector<double>> weights;
  for (size_t v = 0; v < d.points.size(); ++v) {
    std::vector<double> w(8, 0.0);
    size_t first = size_t(random.next() * 5);
    double sum = 0;
    for (size_t k = 0; k < 4; ++k) {
      w[first + k] = 0.05 + random.next();
      sum += w[first + k];
    }
    for (double& x : w)
      x /= sum;
    weights.push_back(w);
  }
  skin_cluster("skinCluster1", body, joints, weights);
}

inline void animated_joints(int joints, int frames) {
  using namespace mayasim::builder;
  new_scene();
  set_scene_file("/projects/bench/animated_joints.mb");
  set_time_unit(MTime::kFilm);
  set_playback_range(1, frames);
  Random random(3);
  // Chains of ten joints side by side.
  MObject parent;
  for (int j = 0; j < joints; ++j) {
    if (j % 10 == 0)
      parent = transform("chain" + std::to_string(j / 10), MObject(), {double(j / 10) * 50.0, 0, 0});
    parent = joint("joint" + std::to_string(j), parent, {0, 10, 0});
    key(parent, "rz", 1, 0);
    key(parent, "rz", 1 + (frames - 1) / 2.0, 90.0 * random.next() - 45.0);
    key(parent, "rz", frames, 0);
    key(parent, "tx", 1, 0);
    key(parent, "tx", frames, 5.0 * random.next());
  }
}

} // namespace bench_scenes
