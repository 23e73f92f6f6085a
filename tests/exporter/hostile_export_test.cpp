// Exports of scenes whose values no document can hold, or whose size no
// export can: they fail with the place and what to do, and never write a
// document that the reader refuses.
#include "plugin/plugin_fixture.h"
#include "support/bounded_run.h"

#include "mayasim/maya_ascii.h"

#include <math.h>
#include <unistd.h>

using namespace mayasim::builder;
using test::info_lines;

namespace {

class HostileExport : public test::PluginTest {
protected:
  bool exists(const std::string& file) { return access(file.c_str(), F_OK) == 0; }
  // The export's last lines, joined.
  std::string failure_lines() {
    std::string all;
    for (const std::string& line : info_lines(host))
      all += line + "\n";
    return all;
  }
};

} // namespace

// A float beyond 3.4e38, or a NaN, has no text in the format: the export
// stops before the document is written, naming the node or geometry and
// the value's place in it.
TEST_F(HostileExport, NonFiniteFloatsFailTheExportNamingThePlace) {
  set_playback_range(1, 1);
  transform("far", MObject(), {1e39, 0, 0});
  EXPECT_EQ(MS::kFailure, export_command("", out()).statusCode());
  EXPECT_NE(failure_lines().find("Cannot write node far: local matrix, value 12: it is inf"), std::string::npos)
      << failure_lines();
  EXPECT_FALSE(exists(out()));

  new_scene();
  set_playback_range(1, 1);
  MObject t = transform("shape_holder");
  MeshDesc quad;
  quad.points = {MPoint(0, 0, 0), MPoint(1, 0, 0), MPoint(1, 1, 0), MPoint(0, 1e39, 0)};
  quad.polygons = {{0, 1, 2, 3}};
  mesh(t, "shape_holderShape", quad);
  host.clear_script_editor();
  EXPECT_EQ(MS::kFailure, export_command("", out()).statusCode());
  EXPECT_NE(failure_lines().find("Cannot write geometry shape_holder: stream POSITION, element"), std::string::npos)
      << failure_lines();
}

// A playback range of a billion frames (or of +-1e30, where a step of time
// no longer changes the time) is refused before sampling starts, with the
// same limit twi-export holds --range to.
TEST_F(HostileExport, PlaybackRangesBeyondAMillionSamplesAreRefused) {
  TW_SKIP_UNDER_ADDRESS_SANITIZER();
  transform("a");
  for (double end : {1e9, 1e30}) {
    set_playback_range(end > 1e20 ? -end : 1, end);
    host.clear_script_editor();
    std::string message;
    EXPECT_TRUE(test::within_bounds(
        [&] {
          bool failed = export_command("", out()).statusCode() == MS::kFailure;
          EXPECT_NE(failure_lines().find("samples at 30 a second; the most an export takes is 1000000 (9.3 hours). "
                                         "Set a shorter playback range."),
                    std::string::npos)
              << failure_lines();
          return failed;
        },
        2048, 30, message))
        << end << ": " << message;
  }
  // A day of animation is within it.
  set_playback_range(1, 24 * 3600 * 24 / 100);
  host.clear_script_editor();
  EXPECT_EQ(MS::kSuccess, export_command("", out()).statusCode()) << failure_lines();
}

// The creators build a mesh when its export fits the memory budget, and
// say what it would take when it does not.
TEST_F(HostileExport, CreatorsAreBudgetedByTheMemoryTheirExportTakes) {
  std::string text = "//Maya ASCII 2020 scene\nrequires maya \"2020\";\ncurrentUnit -l centimeter -a degree -t film;\n"
                     "createNode transform -n \"p\";\ncreateNode mesh -n \"pShape\" -p \"p\";\n"
                     "createNode polyPlane -n \"big\";\n\tsetAttr \".sw\" 3999;\n\tsetAttr \".sh\" 3999;\n"
                     "connectAttr \"big.out\" \"pShape.i\";\n";
  mayasim::MayaAsciiResult r;
  ASSERT_TRUE(mayasim::load_maya_ascii_text(text.data(), text.size(), "big.ma", r)) << r.error;
  ASSERT_EQ(r.warnings.size(), 1u);
  EXPECT_NE(r.warnings[0].find("its subdivisions make 63968004 face corners, which would take about 30.5 GB to "
                               "export; mayasim builds a creator's mesh when its export takes at most"),
            std::string::npos)
      << r.warnings[0];
}

// A skin of a hundred thousand joints (a crowd rig, or a generated one)
// exports in time linear in its joints: influences are looked up by joint,
// and weights kept per vertex only where they are not zero.
TEST_F(HostileExport, ASkinOfAHundredThousandJointsExports) {
  TW_SKIP_UNDER_ADDRESS_SANITIZER();
  const int JOINTS = 100000;
  set_playback_range(1, 1);
  std::vector<MObject> joints;
  joints.reserve(JOINTS);
  for (int i = 0; i < JOINTS; ++i)
    joints.push_back(joint("j" + std::to_string(i)));
  MObject t = transform("quad");
  MeshDesc quad;
  quad.points = {MPoint(0, 0, 0), MPoint(1, 0, 0), MPoint(1, 1, 0), MPoint(0, 1, 0)};
  quad.polygons = {{0, 1, 2, 3}};
  mesh(t, "quadShape", quad);
  std::vector<std::vector<double>> weights(4, std::vector<double>(JOINTS, 0.0));
  weights[0][0] = 1;
  weights[1][1] = 1;
  weights[2][JOINTS - 2] = 0.5;
  weights[2][JOINTS - 1] = 0.5;
  weights[3][JOINTS - 1] = 1;
  skin_cluster("crowd", t, joints, weights);
  std::string message;
  EXPECT_TRUE(test::within_bounds(
      [&] {
        twi::SceneDatabase& db = exported();
        EXPECT_EQ(db.skins.size(), 1u);
        EXPECT_EQ(db.skins.begin().value().joints.size(), uint32_t(JOINTS));
        return db.skins.size() == 1;
      },
      2048, 30, message))
      << message;
}
