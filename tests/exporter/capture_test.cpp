// The scene capture called directly (linked in, not through the module), to
// see what a failed mesh or skin leaves in the database: no geometry, and
// the skin entry as far as it was filled.
#include "../mayasim/api_helpers.h"
#include "exporter/export_driver.h"
#include "exporter/exporter_context.h"
#include "exporter/mesh_export.h"
#include "foundation/io/system_file.h"
#include "foundation/memory/memory_globals.h"
#include "scene/scene_database.h"
#include "support/test_support.h"

#include "mayasim/builder.h"

#include <maya/MDagPath.h>

#include <gtest/gtest.h>

#include <string>

using namespace mayasim::builder;
using foundation::memory_globals::default_allocator;

namespace {

struct Capture {
  twi::ExportSettings settings;
  twi::ExporterContext context{default_allocator(), settings};
  twi::SceneDatabase database{default_allocator()};

  bool export_mesh(const char* name) {
    return twi::export_mesh(context, database, name, path_to(find(name)));
  }
  std::string log() { return twi::log_text(context); }
};

// A quad bound to three joints with these weights per vertex.
void skinned_quad(const std::vector<std::vector<double>>& weights) {
  new_scene();
  std::vector<MObject> joints = {joint("a", MObject(), {0, 0, 0}), joint("b", MObject(), {100, 0, 0}),
                                 joint("c", MObject(), {0, 100, 0})};
  MObject body = transform("body");
  mesh(body, "bodyShape", grid(1, 1));
  skin_cluster("skin", body, joints, weights);
}

} // namespace

TEST(Capture, TooManyWeightsLeaveTheSkinWithItsJointsButNoGeometry) {
  skinned_quad({{0.2, 0.2, 0.6}, {1, 0, 0}, {1, 0, 0}, {1, 0, 0}});
  {
    // Three weights are fine.
    Capture c;
    EXPECT_TRUE(c.export_mesh("body")) << c.log();
    EXPECT_TRUE(c.database.geometries.has("body"));
  }
  // Five influences on one vertex.
  new_scene();
  std::vector<MObject> joints;
  for (int j = 0; j < 5; ++j)
    joints.push_back(joint("j" + std::to_string(j)));
  MObject body = transform("body");
  mesh(body, "bodyShape", grid(1, 1));
  std::vector<std::vector<double>> weights(4, std::vector<double>(5, 0.0));
  weights[2] = {0.2, 0.2, 0.2, 0.2, 0.2};
  weights[0][0] = weights[1][0] = weights[3][0] = 1;
  skin_cluster("skin", body, joints, weights);

  Capture c;
  EXPECT_FALSE(c.export_mesh("body"));
  EXPECT_EQ("Exporter does not support skins with more than four influencing bones per vertex.\n"
            "Vertex 2 of |body|bodyShape has 5 influences: j0 0.2, j1 0.2, j2 0.2, j3 0.2, j4 0.2. Prune the skin "
            "to four influences in Maya (Skin > Prune Weights, or the skin cluster's Max Influences), or export "
            "with max_influences=4 to keep each vertex's four largest weights.\n"
            "Failed exporting skin\n",
            c.log());
  EXPECT_FALSE(c.database.geometries.has("body")) << "the mesh is dropped";
  ASSERT_TRUE(c.database.skins.has("body")) << "the skin entry stays";
  EXPECT_EQ(5u, c.database.skins.find("body").value().joints.size());
  EXPECT_STREQ("j4", c.database.skins.find("body").value().joints[4].name.c_str());
}

TEST(Capture, EarlySkinFailuresLeaveWhatWasFilled) {
  std::vector<std::vector<double>> weights(4, std::vector<double>{1, 0, 0});
  skinned_quad(weights);
  fail_call("MFnDependencyNode::findPlug geomMatrix");
  {
    Capture c;
    EXPECT_FALSE(c.export_mesh("body"));
    ASSERT_TRUE(c.database.skins.has("body")) << "an empty entry";
    EXPECT_EQ(0u, c.database.skins.find("body").value().joints.size());
  }
  skinned_quad(weights);
  fail_call("MFnSkinCluster::influenceObjects");
  {
    Capture c;
    EXPECT_FALSE(c.export_mesh("body"));
    EXPECT_FALSE(c.database.skins.has("body")) << "nothing made before the influences are known";
  }
  skinned_quad(weights);
  fail_call("MFnSkinCluster::indexForInfluenceObject", 1);
  {
    Capture c;
    EXPECT_FALSE(c.export_mesh("body"));
    ASSERT_TRUE(c.database.skins.has("body"));
    auto skin_entry = c.database.skins.find("body");
    const twi::SceneSkin& skin = skin_entry.value();
    ASSERT_EQ(3u, skin.joints.size()) << "sized to the influences";
    EXPECT_STREQ("b", skin.joints[1].name.c_str()) << "named before its index was asked";
    EXPECT_EQ(0u, skin.joints[2].name.length()) << "never reached";
  }
}

TEST(Capture, ALaterMeshOfTheSameNameReplacesTheEarlierOne) {
  new_scene();
  mesh(transform("thing"), "thingShape", cube(1));
  Capture c;
  ASSERT_TRUE(c.export_mesh("thing"));
  EXPECT_EQ(8u, c.database.geometries.find("thing").value().streams[0].size);
  new_scene();
  mesh(transform("thing"), "thingShape", grid(1, 1));
  ASSERT_TRUE(c.export_mesh("thing"));
  EXPECT_EQ(1u, c.database.geometries.size());
  EXPECT_EQ(4u, c.database.geometries.find("thing").value().streams[0].size);
}

// The whole driver with the file layer made to fail its n-th write: the
// export stops with the report, the file that was there stays as it was,
// no other file is left, and everything the export took is given back.
TEST(Capture, AnExportWhoseWriteFailsLeavesTheExistingFileAlone) {
  new_scene();
  set_playback_range(1, 1);
  mesh(transform("thing"), "thingShape", grid(60, 60)); // a text of several buffers
  test::TempDirectory dir;
  const std::string path = dir.file("scene.twi");
  test::write_file(path, "the previous export");
  for (uint32_t succeed : {0u, 1u, 2u}) {
    twi::ExportSettings settings;
    settings.file = path.c_str();
    twi::ExporterContext context(default_allocator(), settings);
    foundation::SystemFile::set_write_fault(succeed);
    test::Report report = test::capture_report([&] { twi::export_scene(context); });
    foundation::SystemFile::clear_write_fault();
    EXPECT_TRUE(report.reported) << succeed;
    EXPECT_NE(std::string::npos, report.message.find("Cannot write to " + path + ": No space left on device"))
        << report.message;
    EXPECT_EQ("the previous export", test::read_file(path)) << succeed;
    EXPECT_EQ(1u, test::directory_size(dir.path())) << "no temporary file left behind";
  }
  twi::ExportSettings settings;
  settings.file = path.c_str();
  twi::ExporterContext context(default_allocator(), settings);
  ASSERT_TRUE(twi::export_scene(context));
  EXPECT_NE(std::string::npos, test::read_file(path).find("thing = {"));
  EXPECT_EQ(1u, test::directory_size(dir.path()));
}
