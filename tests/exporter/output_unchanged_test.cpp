// The exported text of the benchmark scenes, at a small size, byte for byte
// against the text the exporter wrote before it was tuned for speed and
// memory (tests/data/export/*.twi). Tuning must not change a byte.
//
// After an intended change of the output, regenerate the files with
// TW_UPDATE_GOLDEN=1 and review the difference.
#include "plugin/plugin_fixture.h"

#include "bench_scenes.h"

#include <stdlib.h>

namespace {

class OutputUnchanged : public test::PluginTest {
protected:
  void check(const char* name) {
    ASSERT_EQ(MS::kSuccess,
              host.export_file("TarnwickIntermediate", out(), "", MPxFileTranslator::kExportAccessMode).statusCode())
        << host.script_editor_text();
    std::string text = test::read_file(out());
    std::string golden_path = std::string(TW_SOURCE_DIR) + "/tests/data/export/" + name + ".twi";
    const char* update = getenv("TW_UPDATE_GOLDEN");
    if (update && update[0] == '1') {
      test::write_file(golden_path, text);
      return;
    }
    std::string golden = test::read_file(golden_path);
    ASSERT_FALSE(golden.empty()) << golden_path << " is missing";
    if (text != golden) {
      std::string kept = "/tmp/" + std::string(name) + ".actual.twi";
      test::write_file(kept, text);
      ADD_FAILURE() << name << ": the text differs from " << golden_path << "; the new text is in " << kept;
    }
    twi::SceneDatabase db(foundation::memory_globals::default_allocator());
    read(out(), db); // and it is a valid document
  }
};

} // namespace

TEST_F(OutputUnchanged, StaticMesh) {
  bench_scenes::static_mesh(400);
  check("static_mesh");
}

TEST_F(OutputUnchanged, SkinnedMesh) {
  bench_scenes::skinned_mesh(400);
  check("skinned_mesh");
}

TEST_F(OutputUnchanged, AnimatedJoints) {
  bench_scenes::animated_joints(20, 10);
  check("animated_joints");
}

// Animated scenes with many nodes, odd frame rates and ranges that do not
// fall on the 1/30 s grid: sampling every node in one pass over time must
// give the very text that sampling node by node gave (recorded with the
// node-by-node sampler).
namespace {

// Chains of joints under groups, keyed on several channels; `fps_unit`
// gives the scene's frame rate, the range is in its frames.
void animated_chains(MTime::Unit fps_unit, double first, double last, int chains, int length, unsigned seed) {
  using namespace mayasim::builder;
  new_scene();
  set_scene_file("/projects/tests/animated_chains.mb");
  set_time_unit(fps_unit);
  set_playback_range(first, last);
  set_current_frame(first + 1);
  bench_scenes::Random random(seed);
  for (int c = 0; c < chains; ++c) {
    MObject group = transform("group" + std::to_string(c), MObject(), {double(c) * 40.0, 0, 0});
    key(group, "ty", first, 0);
    key(group, "ty", last, 20.0 * random.next());
    MObject parent = group;
    for (int j = 0; j < length; ++j) {
      std::string name = "c" + std::to_string(c) + "_j" + std::to_string(j);
      parent = joint(name, parent, {0, 7.5, 0}, {0, 0, 10.0 * random.next()});
      key(parent, "rz", first, 0);
      // One draw after the other (arguments are evaluated in no set order):
      // the value first, as the recorded texts have it.
      double value = 120.0 * random.next() - 60.0;
      double at = first + (last - first) * random.next();
      key(parent, "rz", at, value);
      key(parent, "rz", last, 5.0);
      key(parent, "rx", first + 0.5, 30.0 * random.next());
      key(parent, "sy", last - 0.25, 1.0 + random.next());
    }
  }
}

} // namespace

TEST_F(OutputUnchanged, ManyNodesAtPalFrames) {
  animated_chains(MTime::kPALFrame, 3, 47, 5, 10, 11);
  check("chains_pal");
}

TEST_F(OutputUnchanged, FractionalFilmRange) {
  animated_chains(MTime::kFilm, 1.5, 13.25, 3, 9, 12);
  check("chains_film_fraction");
}

TEST_F(OutputUnchanged, ShowScanAndGamesRates) {
  animated_chains(MTime::kShowScan, 10, 11, 2, 5, 13);
  check("chains_showscan");
  animated_chains(MTime::kGames, 0, 40, 3, 6, 14);
  check("chains_games");
}
