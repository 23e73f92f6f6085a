#include "demo_scenes.h"

#include "mayasim/builder.h"

#include <string.h>

using namespace mayasim::builder;

namespace tools {

namespace {

void build_empty() { new_scene(); }

void build_rig() {
  new_scene();
  set_scene_file("demo/rig.mb");
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
  set_scene_file("demo/clash.mb");
  set_playback_range(1, 1);
  MObject left = transform("left_side", MObject(), {-30, 0, 0});
  MObject right = transform("right_side", MObject(), {30, 0, 0});
  transform("arm", left);
  transform("arm", right);
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
    {nullptr, nullptr, nullptr},
};

const DemoScene* find_demo_scene(const char* name) {
  for (const DemoScene* s = DEMO_SCENES; s->name; ++s)
    if (strcmp(s->name, name) == 0)
      return s;
  return nullptr;
}

} // namespace tools
