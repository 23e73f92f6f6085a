#include "demo_scenes.h"

#include "mayasim/builder.h"

#include <algorithm>
#include <math.h>
#include <string.h>

using namespace mayasim::builder;

namespace tools {

namespace {

void build_empty() { new_scene(); }

void build_rig() {
  new_scene();
  set_scene_file("/projects/demo/rig.mb");
  set_time_unit(MTime::kFilm);
  set_playback_range(1, 24);
  MObject rig = transform("rig", MObject(), {0, 100, 0});
  MObject hip = joint("hip", rig);
  MObject knee = joint("knee", hip, {0, -50, 0});
  joint("ankle", knee, {0, -50, 0});
  key(hip, "rz", 1, 0);
  key(hip, "rz", 24, 90);
  MObject helper = transform("helper", rig, {20, 0, 0});
  set_visible(helper, false);
  set_current_frame(1);
}

void build_clash() {
  new_scene();
  set_scene_file("/projects/demo/clash.mb");
  set_playback_range(1, 1);
  MObject left = transform("left_side", MObject(), {-30, 0, 0});
  MObject right = transform("right_side", MObject(), {30, 0, 0});
  transform("arm", left);
  transform("arm", right);
}

// A character: a capped cylinder 180 cm tall skinned to a spine of four
// joints, animated over two seconds, and a crate beside it.
void build_character() {
  new_scene();
  set_scene_file("/projects/demo/character.mb");
  set_time_unit(MTime::kFilm);
  set_playback_range(1, 48);

  const double height = 180, radius = 25;
  const int segments = 16, rings = 13; // 208 side quads and two caps
  MeshDesc body_mesh = cylinder(radius, height, segments, rings);
  UvSetDesc lightmap;
  lightmap.name = "lightmap";
  ColorSetDesc paint;
  paint.name = "paint";
  paint.kind = ColorKind::RGBA;
  for (const MPoint& p : body_mesh.points) {
    double angle = atan2(p.z, p.x);
    lightmap.u.push_back(float(0.5 + 0.45 * cos(angle) * (0.3 + 0.7 * p.y / height)));
    lightmap.v.push_back(float(0.5 + 0.45 * sin(angle) * (0.3 + 0.7 * p.y / height)));
    paint.colors.push_back(MColor(float(p.y / height), 0.5f, float(1.0 - p.y / height), p.y > 150 ? 0.5f : 1.0f));
  }
  body_mesh.uv_sets.push_back(lightmap);
  body_mesh.color_sets.push_back(paint);

  MObject body = transform("body");
  mesh(body, "bodyShape", body_mesh);
  Material skin = material("skin_mat");
  Material cloth = material("cloth_mat");
  assign(body, cloth.shading_group);
  // The head (the top two rings and the top cap) in skin, the rest in cloth.
  std::vector<int> head;
  for (int r = rings - 2; r < rings; ++r)
    for (int s = 0; s < segments; ++s)
      head.push_back(r * segments + s);
  head.push_back(rings * segments + 1);
  assign(body, skin.shading_group, head);

  // root -> spine -> chest -> head at heights 0, 60, 110 and 160 cm.
  MObject root = joint("root");
  MObject spine = joint("spine", root, {0, 60, 0});
  MObject chest = joint("chest", spine, {0, 50, 0});
  MObject head_joint = joint("head", chest, {0, 50, 0});
  const double joint_heights[4] = {0, 60, 110, 160};
  std::vector<std::vector<double>> weights;
  for (const MPoint& p : body_mesh.points) {
    // Each joint's share falls off over 55 cm: two or three joints per vertex.
    std::vector<double> w(4);
    double sum = 0;
    for (int j = 0; j < 4; ++j) {
      w[size_t(j)] = std::max(0.0, 1.0 - fabs(p.y - joint_heights[j]) / 55.0);
      sum += w[size_t(j)];
    }
    for (double& x : w)
      x /= sum;
    weights.push_back(w);
  }
  skin_cluster("skinCluster1", body, {root, spine, chest, head_joint}, weights);

  // Two seconds of a sway: the bind pose at frame 1.
  key(root, "ty", 1, 0);
  key(root, "ty", 24, 5);
  key(root, "ty", 48, 0);
  key(spine, "rz", 1, 0);
  key(spine, "rz", 24, 10);
  key(spine, "rz", 48, -10);
  key(chest, "ry", 1, 0);
  key(chest, "ry", 48, 30);
  key(head_joint, "rx", 1, 0);
  key(head_joint, "rx", 12, -15);
  key(head_joint, "rx", 36, 15);
  key(head_joint, "rx", 48, 0);

  MObject crate = transform("crate", MObject(), {100, 25, 0});
  mesh(crate, "crateShape", cube(50, Normals::Hard));
  assign(crate, material("crate_mat").shading_group);
  set_current_frame(1);
}

} // namespace

const DemoScene DEMO_SCENES[] = {
    {"empty", "A new scene: Maya's default cameras only, which are never exported. The document has no nodes.",
     build_empty},
    {"rig",
     "A group \"rig\" at (0, 100, 0) cm holding the joint chain hip -> knee -> ankle, each joint 50 cm below the "
     "last; hip turns from 0 to 90 degrees about Z between frames 1 and 24 at 24 fps (playback range 1 to 24). "
     "A hidden transform \"helper\" under \"rig\" is left out unless hidden nodes are exported.",
     build_rig},
    {"clash",
     "Two groups, \"left_side\" and \"right_side\", each with a child named \"arm\": the export fails with the "
     "duplicate-name message and writes nothing.",
     build_clash},
    {"character",
     "A skinned, animated character: a mesh \"body\" (a capped cylinder of 208 quads, 180 cm tall, standing "
     "on the origin) with the UV sets \"map1\" and \"lightmap\", an RGBA colour set and the materials "
     "\"skin_mat\" and \"cloth_mat\", skinned to the joint chain root -> spine -> chest -> head (two or "
     "three weights per vertex) animated over frames 1 to 48 at 24 fps; and a static crate (a cube with hard "
     "normals and the material \"crate_mat\") beside it.",
     build_character},
    {nullptr, nullptr, nullptr},
};

const DemoScene* find_demo_scene(const char* name) {
  for (const DemoScene* s = DEMO_SCENES; s->name; ++s)
    if (strcmp(s->name, name) == 0)
      return s;
  return nullptr;
}

} // namespace tools
