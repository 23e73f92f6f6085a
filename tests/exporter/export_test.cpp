// Whole exports through the plug-in module running in mayasim: the command
// and its flags, the translator and its options, the driver's node filter
// and roots, node records, animation sampling, the log and failures.
#include "plugin/plugin_fixture.h"

#include <maya/MAnimControl.h>
#include <maya/MTime.h>

#include <dirent.h>
#include <math.h>
#include <string.h>
#include <unistd.h>

using namespace mayasim::builder;
using test::info_lines;
using test::error_lines;
using twi::SceneDatabase;

namespace {

class Export : public test::PluginTest {
protected:
  std::vector<std::string> roots(const SceneDatabase& db) {
    std::vector<std::string> names;
    for (uint32_t i = 0; i < db.roots.size(); ++i)
      names.push_back(db.roots[i].c_str());
    return names;
  }
  bool has_node(const SceneDatabase& db, const char* name) { return db.nodes.has(name); }
  const twi::SceneNode& node(const SceneDatabase& db, const char* name) { return db.nodes.find(name).value(); }
  bool exists(const std::string& file) { return access(file.c_str(), F_OK) == 0; }
};

// group (hidden) -> visible child; two roots with children.
void build_scene() {
  set_playback_range(1, 1);
  MObject group = transform("group");
  set_visible(group, false);
  transform("visible_child", group);
  MObject parent = transform("parent", MObject(), {100, 0, 0});
  transform("child", parent, {0, 50, 0});
}

} // namespace

TEST_F(Export, CommandFlagsSelectHiddenAndSelectedNodes) {
  build_scene();
  SceneDatabase& all = exported();
  EXPECT_FALSE(has_node(all, "group")) << "hidden";
  EXPECT_TRUE(has_node(all, "visible_child")) << "visibility is not inherited: a root of its own";
  EXPECT_EQ((std::vector<std::string>{"parent", "visible_child"}), roots(all)) << "read back in key order";
  EXPECT_STREQ("", node(all, "visible_child").parent.c_str());

  SceneDatabase& hidden = exported("-h");
  EXPECT_TRUE(has_node(hidden, "group"));
  EXPECT_STREQ("group", node(hidden, "visible_child").parent.c_str());
  EXPECT_EQ((std::vector<std::string>{"group", "parent"}), roots(hidden));
  SceneDatabase& hidden_long = exported("-hidden");
  EXPECT_TRUE(has_node(hidden_long, "group"));

  // Only nodes that are themselves selected; a selected child becomes a root
  // without its parent, and selection does not pull in children.
  select({find("child"), find("group")});
  SceneDatabase& selected = exported("-s");
  EXPECT_EQ((std::vector<std::string>{"child"}), roots(selected)) << "the hidden group fails visibility";
  EXPECT_FALSE(has_node(selected, "parent"));
  SceneDatabase& selected_hidden = exported("-selected -hidden");
  EXPECT_EQ((std::vector<std::string>{"child", "group"}), roots(selected_hidden));
  EXPECT_FALSE(has_node(selected_hidden, "visible_child"));
}

TEST_F(Export, TheAnimationsFlagChangesNothing) {
  build_scene();
  set_playback_range(1, 12);
  key(find("child"), "ty", 1, 0);
  key(find("child"), "ty", 12, 10);
  ASSERT_EQ(MS::kSuccess, export_command("", out("plain.twi")).statusCode());
  ASSERT_EQ(MS::kSuccess, export_command("-a", out("a.twi")).statusCode());
  ASSERT_EQ(MS::kSuccess, export_command("-animations -h", out("ah.twi")).statusCode());
  ASSERT_EQ(MS::kSuccess, export_command("-h", out("h.twi")).statusCode());
  EXPECT_EQ(test::read_file(out("plain.twi")), test::read_file(out("a.twi")));
  EXPECT_EQ(test::read_file(out("h.twi")), test::read_file(out("ah.twi")));
  EXPECT_NE(test::read_file(out("plain.twi")), test::read_file(out("h.twi")));
}

TEST_F(Export, BadFlagsFailBeforeAnythingIsExported) {
  build_scene();
  EXPECT_EQ(MS::kFailure, export_command("-x", out()).statusCode());
  EXPECT_EQ(MS::kFailure, host.execute("twi_export -f").statusCode()) << "the file flag needs its argument";
  EXPECT_FALSE(exists(out()));
  EXPECT_TRUE(info_lines(host).empty()) << host.script_editor_text();
}

TEST_F(Export, MissingFileFlagExportsToAnEmptyPathAndFails) {
  build_scene();
  EXPECT_EQ(MS::kFailure, host.execute("twi_export -h").statusCode());
  ASSERT_EQ(1u, error_lines(host).size());
  EXPECT_EQ("Export failed: Cannot open output : No such file or directory", error_lines(host)[0]);
}

TEST_F(Export, TranslatorOptionsAndAccessModes) {
  build_scene();
  struct Case {
    const char* options;
    bool hidden;
  } cases[] = {
      {"", false},
      {"export_hidden=true;animation_only=false", true},
      {"export_hidden=TRUE", false},
      {"export_hidden", false},
      {"export_hidden=", false},
      {"export_hidden=true;export_hidden=false", false},
      {";;animation_only=true;;export_hidden=true;", true},
      {"unknown=1;export_hidden=true=yes", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.options);
    ASSERT_EQ(MS::kSuccess,
              host.export_file("TarnwickIntermediate", out(), c.options, MPxFileTranslator::kExportAccessMode)
                  .statusCode());
    SceneDatabase db(foundation::memory_globals::default_allocator());
    read(out(), db);
    EXPECT_EQ(c.hidden, has_node(db, "group"));
  }

  // Save As exports everything; Export Selection only the selection.
  select({find("parent")});
  host.export_file("TarnwickIntermediate", out(), "", MPxFileTranslator::kSaveAccessMode);
  SceneDatabase all(foundation::memory_globals::default_allocator());
  read(out(), all);
  EXPECT_EQ(3u, all.nodes.size());
  host.export_file("TarnwickIntermediate", out(), "", MPxFileTranslator::kExportActiveAccessMode);
  SceneDatabase selected(foundation::memory_globals::default_allocator());
  read(out(), selected);
  EXPECT_EQ((std::vector<std::string>{"parent"}), roots(selected));
  EXPECT_EQ(1u, selected.nodes.size());
}

TEST_F(Export, ExportSelectionWithNothingSelectedWritesAnEmptyScene) {
  build_scene();
  ASSERT_EQ(MS::kSuccess,
            host.export_file("TarnwickIntermediate", out(), "", MPxFileTranslator::kExportActiveAccessMode)
                .statusCode());
  std::string text = test::read_file(out());
  EXPECT_NE(std::string::npos, text.find("nodes = null")) << text;
  SceneDatabase db(foundation::memory_globals::default_allocator());
  read(out(), db);
  EXPECT_EQ(0u, db.nodes.size());
}

TEST_F(Export, DefaultCamerasAndEmptyScenesWriteNoNodes) {
  set_scene_file("/projects/empty.mb");
  SceneDatabase& db = exported("-h");
  EXPECT_EQ(0u, db.nodes.size()) << "default cameras are never exported, hidden or not";
  EXPECT_STREQ("/projects/empty.mb", db.source_path.c_str());
}

TEST_F(Export, DuplicateNamesFailWithTheMessageAndWriteNothing) {
  set_playback_range(1, 1);
  MObject left = transform("left");
  MObject right = transform("right");
  transform("arm", left);
  transform("arm", right);
  EXPECT_EQ(MS::kFailure, export_command("", out()).statusCode());
  EXPECT_FALSE(exists(out()));
  std::vector<std::string> lines = info_lines(host);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ("A node with name: arm already found.\nBoth |left|arm and |right|arm are named arm; names must be unique in the export: rename one of them in Maya, or export a selection that holds only one.\n"
            "Failed exporting node.\n",
            lines.back())
      << "the failure is shown once, by the command, after the last progress line";
  EXPECT_EQ("Exporting Node: right\n", lines[lines.size() - 2]);
}

TEST_F(Export, ANodeNamedLikeItsAncestorIsRefused) {
  MObject outer = transform("pCube1");
  MObject middle = transform("middle", outer);
  transform("pCube1", middle);
  EXPECT_EQ(MS::kFailure, export_command("", out()).statusCode());
  EXPECT_FALSE(exists(out()));
  EXPECT_EQ("A node with name: pCube1 already found.\nBoth |pCube1 and |pCube1|middle|pCube1 are named pCube1; names must be unique in the export: rename one of them in Maya, or export a selection that holds only one.\n"
            "Failed exporting node.\n",
            info_lines(host).back());
}

TEST_F(Export, ARejectedChildCutsItsSubtreeWhichComesBackAsARoot) {
  MObject top = transform("top_group");
  MObject hidden = transform("hidden_middle", top);
  set_visible(hidden, false);
  transform("grandchild", hidden);
  SceneDatabase& db = exported();
  EXPECT_EQ((std::vector<std::string>{"grandchild", "top_group"}), roots(db));
  EXPECT_EQ(0u, node(db, "top_group").children.size());
  EXPECT_STREQ("", node(db, "grandchild").parent.c_str());
}

// A node exported without its parent (here: only the knee is selected) stays
// where it is in Maya: its world matrix stands for its local one, in the
// static matrix and in every sample (a literal reading would move the knee
// to its local offset from the world's origin).
// Animation is sampled in one pass over time: the current time is set once
// per sample and once more to put it back, and each animated node is
// evaluated at most once per sample, whatever number of nodes are read.
TEST_F(Export, AnimationSetsTheTimeOncePerSample) {
  set_playback_range(1, 25); // 31 samples
  MObject parent;
  for (int j = 0; j < 20; ++j) {
    parent = joint("j" + std::to_string(j), parent, {0, 10, 0});
    if (j % 2 == 0) {
      key(parent, "rz", 1, 0);
      key(parent, "rz", 25, 45);
    }
  }
  reset_evaluation_counts();
  SceneDatabase& db = exported();
  ASSERT_EQ(20u, db.animations.size());
  ASSERT_EQ(31u, db.animations[0].stream.size);
  EvaluationCounts c = evaluation_counts();
  EXPECT_EQ(10u, c.animated_nodes);
  EXPECT_EQ(31u + 1u, c.time_changes);
  EXPECT_LE(c.node_evaluations, 31u * c.animated_nodes);
  EXPECT_GE(c.node_evaluations, 31u * c.animated_nodes) << "each animated joint read at each sample";
}

TEST_F(Export, ARootCutOffFromItsParentKeepsItsPlaceInTheWorld) {
  set_playback_range(1, 25); // one second: 31 samples, the last on frame 25
  MObject hip = joint("hip", MObject(), {0, 100, 0});
  MObject knee = joint("knee", hip, {0, -50, 0});
  key(hip, "tx", 1, 0);
  key(hip, "tx", 25, 30);
  select({knee});
  SceneDatabase& db = exported("-s");
  ASSERT_EQ((std::vector<std::string>{"knee"}), roots(db));
  const twi::SceneNode& k = node(db, "knee");
  EXPECT_FLOAT_EQ(0.0f, k.local[12]);
  EXPECT_FLOAT_EQ(0.5f, k.local[13]) << "100 cm - 50 cm above the origin";
  ASSERT_EQ(1u, db.animations.size());
  const twi::SceneAnimation& a = db.animations[0];
  const float* samples = reinterpret_cast<const float*>(a.stream.data.data());
  ASSERT_EQ(31u, a.stream.size);
  EXPECT_NEAR(0.0f, samples[12], 1e-6f) << "frame 1";
  const float* last = samples + 16 * 30;
  EXPECT_NEAR(0.3f, last[12], 1e-5f) << "frame 25: the hip has moved 30 cm, and the knee with it";
  EXPECT_FLOAT_EQ(0.5f, last[13]);

  // Exported with its parent, the knee keeps its local matrix.
  SceneDatabase& both = exported();
  EXPECT_FLOAT_EQ(-0.5f, node(both, "knee").local[13]);
}

TEST_F(Export, LocalMatricesInMetresWithChildrenInIndexOrder) {
  set_playback_range(1, 1);
  MObject parent = transform("parent", MObject(), {100, 0, 0}, {0, 0, 90}, {2, 2, 2});
  transform("b_child", parent, {0, 50, 0});
  transform("a_child", parent);
  SceneDatabase& db = exported();
  const twi::SceneNode& p = node(db, "parent");
  EXPECT_FLOAT_EQ(1.0f, p.local[12]);
  EXPECT_FLOAT_EQ(0.0f, p.local[13]);
  EXPECT_FLOAT_EQ(0.0f, p.local[14]);
  EXPECT_NEAR(0.0f, p.local[0], 1e-6f) << "rotation and scale are not scaled by the unit";
  EXPECT_NEAR(2.0f, p.local[1], 1e-6f);
  EXPECT_FLOAT_EQ(0.5f, node(db, "b_child").local[13]);
  EXPECT_STREQ("parent", node(db, "b_child").parent.c_str());
  // The reader gives children in key order; the text keeps the capture
  // order only in the log.
  ASSERT_EQ(2u, p.children.size());

  std::vector<std::string> lines = info_lines(host);
  std::vector<std::string> expected = {"Exporting Node: parent\n", "Exporting Node: b_child\n",
                                       "Exporting Node: a_child\n"};
  EXPECT_EQ(expected, std::vector<std::string>(lines.begin(), lines.begin() + 3));

  set_internal_unit(MDistance::kMeters);
  SceneDatabase& metres = exported();
  EXPECT_FLOAT_EQ(100.0f, node(metres, "parent").local[12]) << "one internal unit is a metre now";
}

TEST_F(Export, TheScriptEditorShowsEachStageOnce) {
  set_playback_range(1, 1);
  transform("only");
  ASSERT_EQ(MS::kSuccess, export_command("", out()).statusCode());
  std::vector<std::string> expected = {
      "Exporting Node: only\n",
      "-------------------------------------------------\nSerializing SceneTree\n"
      " - SceneDatabase -> DynamicConfigValue\n",
      " - DynamicConfigValue -> SJSON\n",
      " - SJSON -> Disc\n",
      "",
  };
  EXPECT_EQ(expected, info_lines(host));
  EXPECT_TRUE(error_lines(host).empty());
}

TEST_F(Export, SamplesAtThirtyPerSecondWithTheHalfStepEndRule) {
  MObject mover = transform("mover");
  key(mover, "tx", 0, 0);
  key(mover, "tx", 24, 240);

  set_playback_range(0, 24); // 0 to 1 s
  SceneDatabase& one_second = exported();
  ASSERT_EQ(1u, one_second.animations.size());
  const twi::SceneAnimation& a = one_second.animations[0];
  EXPECT_STREQ("mover", a.node.c_str());
  EXPECT_STREQ("matrix", a.parameter.c_str());
  EXPECT_EQ(31u, a.stream.size);
  ASSERT_EQ(31u, a.times.size());
  EXPECT_EQ(64u, a.stream.stride);
  ASSERT_EQ(1u, a.stream.channels.size());
  EXPECT_STREQ("local_tm", a.stream.channels[0].name.c_str());
  EXPECT_EQ(twi::CT_MATRIX4x4, a.stream.channels[0].type);
  EXPECT_FLOAT_EQ(1.0f, a.times[30]);
  const float* last = reinterpret_cast<const float*>(a.stream.data.data()) + 30 * 16;
  EXPECT_NEAR(2.4f, last[12], 1e-4f) << "240 cm at the end frame, in metres";
  const float* middle = reinterpret_cast<const float*>(a.stream.data.data()) + 15 * 16;
  EXPECT_NEAR(1.2f, middle[12], 1e-4f);

  set_playback_range(1, 24); // 1/24 s to 1 s
  SceneDatabase& film = exported();
  ASSERT_EQ(1u, film.animations.size());
  EXPECT_EQ(30u, film.animations[0].stream.size);
  EXPECT_FLOAT_EQ(0.0f, film.animations[0].times[0]);
  EXPECT_NEAR(29.0 / 30.0, film.animations[0].times[29], 1e-6);
}

TEST_F(Export, ASingleFrameRangeSamplesNothing) {
  MObject mover = transform("mover");
  key(mover, "tx", 1, 0);
  key(mover, "tx", 10, 10);
  set_playback_range(5, 5);
  SceneDatabase& db = exported();
  EXPECT_EQ(0u, db.animations.size());
  for (const std::string& line : info_lines(host))
    EXPECT_EQ(std::string::npos, line.find("Animations")) << line;
  EXPECT_NEAR(0.0444444f, node(db, "mover").local[12], 1e-6f) << "the static matrix is read at frame 5";
}

TEST_F(Export, TheCurrentTimeIsRestoredAndStaticMatricesUseIt) {
  MObject mover = transform("mover");
  key(mover, "tx", 1, 0);
  key(mover, "tx", 11, 100);
  MObject still = transform("still", mover, {0, 10, 0});
  set_playback_range(1, 11);
  set_current_frame(6);
  SceneDatabase& db = exported();
  EXPECT_DOUBLE_EQ(6.0, MAnimControl::currentTime().as(MTime::kFilm));
  EXPECT_NEAR(0.5f, node(db, "mover").local[12], 1e-5f);
  // A node without animation still gets identical samples.
  ASSERT_EQ(2u, db.animations.size());
  const twi::SceneAnimation& s = db.animations[1];
  EXPECT_STREQ("still", s.node.c_str());
  const float* m = reinterpret_cast<const float*>(s.stream.data.data());
  for (uint32_t i = 1; i < s.stream.size; ++i)
    EXPECT_EQ(0, memcmp(m, m + 16 * i, 64)) << "sample " << i;
  (void)still;
}

TEST_F(Export, AnUnwritableOutputFailsWithoutEndingMaya) {
  transform("box");
  std::string path = dir.path() + "/no/such/folder/out.twi";
  EXPECT_EQ(MS::kFailure, export_command("", path).statusCode());
  ASSERT_EQ(1u, error_lines(host).size());
  EXPECT_EQ("Export failed: Cannot open output " + path + ": No such file or directory", error_lines(host)[0]);
  // The log is shown (empty, as after every run) before the error.
  const std::vector<mayasim::ScriptLine>& editor = host.script_editor();
  ASSERT_GE(editor.size(), 3u);
  EXPECT_EQ(" - SJSON -> Disc\n", editor[editor.size() - 3].text);
  EXPECT_EQ("", editor[editor.size() - 2].text);
  EXPECT_EQ(mayasim::ScriptLine::ERROR, editor.back().kind);

  // The same through the translator; and the host carries on.
  EXPECT_EQ(MS::kFailure,
            host.export_file("TarnwickIntermediate", path, "", MPxFileTranslator::kExportAccessMode).statusCode());
  EXPECT_EQ(2u, error_lines(host).size());
  EXPECT_EQ(MS::kSuccess, export_command("", out()).statusCode());
  EXPECT_TRUE(exists(out()));
}

// A write that fails at the end (a small document, written at the final
// flush) or on the way (a large one) must neither end Maya nor leak: the
// host goes on, and unloading the module finds every allocator empty.
TEST_F(Export, AFullDiskFailsTheExportAndMayaCarriesOn) {
  if (access("/dev/full", W_OK) != 0)
    GTEST_SKIP() << "no /dev/full";
  transform("small");
  MObject big = transform("big");
  mesh(big, "bigShape", grid(120, 120));
  const std::string full = "/dev/full";
  for (const char* selected : {"small", "big"}) {
    select({find(selected)});
    host.clear_script_editor();
    EXPECT_EQ(MS::kFailure, export_command("-s", full).statusCode()) << selected;
    ASSERT_EQ(1u, error_lines(host).size()) << host.script_editor_text();
    EXPECT_EQ("Export failed: Cannot write to /dev/full: No space left on device", error_lines(host)[0]);
    EXPECT_EQ(MS::kFailure, host.export_file("TarnwickIntermediate", full, "",
                                             MPxFileTranslator::kExportActiveAccessMode)
                                .statusCode())
        << selected;
    EXPECT_EQ(2u, error_lines(host).size());
  }
  EXPECT_EQ(MS::kSuccess, export_command("", out()).statusCode()) << host.script_editor_text();
  EXPECT_EQ(MS::kSuccess, host.unload_plugin("twi_exporter").statusCode()) << host.last_error();
}

TEST_F(Export, ARewrittenFileIsReplacedWhole) {
  transform("box");
  test::write_file(out(), "an older export");
  ASSERT_EQ(MS::kSuccess, export_command("", out()).statusCode());
  std::string text = test::read_file(out());
  EXPECT_NE(std::string::npos, text.find("box = {")) << text;
  std::vector<std::string> files;
  DIR* d = opendir(dir.path().c_str());
  while (dirent* e = d ? readdir(d) : nullptr)
    if (e->d_name[0] != '.' || (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0))
      files.push_back(e->d_name);
  if (d)
    closedir(d);
  EXPECT_EQ((std::vector<std::string>{"out.twi"}), files) << "no temporary file left beside it";
}

// Rope, tail and generated rigs make chains thousands of joints long: the
// export walks them without recursion, and the document it writes is one
// the reader takes back whole.
TEST_F(Export, AJointChainTenThousandDeepExportsAndReadsBack) {
  const int DEPTH = 10000;
  set_playback_range(1, 2);
  MObject parent = joint("j0");
  for (int i = 1; i < DEPTH; ++i)
    parent = joint("j" + std::to_string(i), parent, {0, 1, 0});
  SceneDatabase& db = exported();
  ASSERT_EQ(db.nodes.size(), uint32_t(DEPTH));
  EXPECT_EQ(roots(db), std::vector<std::string>{"j0"});
  int depth = 1;
  const twi::SceneNode* at = &node(db, "j0");
  while (!at->children.empty()) {
    std::string child = at->children[0].c_str();
    EXPECT_EQ(child, "j" + std::to_string(depth));
    at = &node(db, child.c_str());
    ++depth;
  }
  EXPECT_EQ(depth, DEPTH);
  EXPECT_STREQ(at->parent.c_str(), ("j" + std::to_string(DEPTH - 2)).c_str());
  EXPECT_EQ(db.animations.size(), size_t(DEPTH));
}
