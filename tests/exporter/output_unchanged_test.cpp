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
