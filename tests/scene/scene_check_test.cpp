#include "foundation/memory/memory_globals.h"
#include "scene/scene_check.h"
#include "scene_fixtures.h"
#include "support/test_support.h"

#include <string>
#include <vector>

using namespace foundation;
using namespace twi;

namespace {

std::vector<std::string> problems_of(const SceneDatabase& db) {
  Vector<String> problems(memory_globals::default_allocator());
  check_scene(db, problems);
  std::vector<std::string> out;
  for (const String& p : problems)
    out.push_back(p.c_str());
  return out;
}

bool has_problem(const SceneDatabase& db, const std::string& text) {
  for (const std::string& p : problems_of(db))
    if (p == text)
      return true;
  return false;
}

} // namespace

TEST(SceneCheck, ReportsEachBrokenInvariantWithItsPlace) {
  Allocator& a = memory_globals::default_allocator();
  {
    SceneDatabase db(a);
    test::fill_full_database(db);
    db.nodes.get_or_insert("rig").children.push_back_default() = "arm";
    EXPECT_TRUE(has_problem(db, "node rig > children: no node named arm"));
  }
  {
    SceneDatabase db(a);
    test::fill_full_database(db);
    db.geometries.get_or_insert("hip").streams[1].stride = 12;
    EXPECT_TRUE(has_problem(db, "geometry hip > stream 1: stride is 12 but the channels take 8 bytes"));
    EXPECT_TRUE(has_problem(db, "geometry hip > stream 1: data holds 24 bytes, not size 3 times stride 12"));
  }
  {
    SceneDatabase db(a);
    test::fill_full_database(db);
    db.geometries.get_or_insert("hip").indices.streams[0][2] = 3;
    EXPECT_TRUE(has_problem(db, "geometry hip > indices > list 0 > entry 2: index 3 is not below the stream size 3"));
  }
  {
    SceneDatabase db(a);
    test::fill_full_database(db);
    db.geometries.get_or_insert("hip").materials[0].primitives.push_back(1);
    db.geometries.get_or_insert("hip").indices.streams.pop_back();
    EXPECT_TRUE(has_problem(db, "geometry hip > material skin_mat: primitive 1 is not below the triangle count 1"));
    EXPECT_TRUE(has_problem(db, "geometry hip > indices: 1 index lists for 2 streams"));
  }
  {
    SceneDatabase db(a);
    test::fill_full_database(db);
    db.nodes.get_or_insert("lone").children.push_back_default() = "hip"; // hip now has two parents
    db.nodes.get_or_insert("stray");
    db.geometries.get_or_insert("hip").skin = "nothing";
    EXPECT_TRUE(has_problem(db, "node hip: reached more than once from the roots"));
    EXPECT_TRUE(has_problem(db, "node stray: not reached from the roots"));
    EXPECT_TRUE(has_problem(db, "geometry hip > skin: no skin named nothing"));
  }
  {
    SceneDatabase db(a);
    test::fill_full_database(db);
    db.animations[0].times.push_back(2.0f);
    db.animations[0].node = "ghost";
    EXPECT_TRUE(has_problem(db, "animation 0 (ghost): no node named ghost"));
    EXPECT_TRUE(has_problem(db, "animation 0 (ghost): 3 times for 2 samples"));
  }
}
