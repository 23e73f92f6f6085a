// twi-export, run as a user runs it: the built-in scenes through the real
// plug-in, its options, and its exit statuses.
#include "foundation/memory/memory_globals.h"
#include "support/test_support.h"

#include <string>

namespace {

test::ProgramRun run_export(const std::string& arguments) {
  return test::run_program(std::string(TW_TWI_EXPORT_TOOL) + " " + arguments);
}

test::ProgramRun run_twi(const std::string& arguments) {
  return test::run_program(std::string(TW_TWI_TOOL) + " " + arguments);
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

} // namespace

TEST(TwiExportTool, ListsItsScenesAndExplainsItself) {
  test::ProgramRun list = run_export("--list-demos");
  EXPECT_EQ(0, list.status);
  EXPECT_TRUE(contains(list.output, "demo:empty"));
  EXPECT_TRUE(contains(list.output, "demo:rig"));
  EXPECT_TRUE(contains(list.output, "demo:clash"));
  test::ProgramRun help = run_export("--help");
  EXPECT_EQ(0, help.status);
  EXPECT_TRUE(contains(help.output, "--translator")) << help.output;
}

TEST(TwiExportTool, ExportsTheRigThroughThePlugin) {
  test::TempDirectory dir;
  std::string out = dir.file("rig.twi");
  test::ProgramRun run = run_export("demo:rig -o " + out);
  ASSERT_EQ(0, run.status) << run.output;
  EXPECT_TRUE(contains(run.output, "Exporting Node: rig\n")) << run.output;
  EXPECT_TRUE(contains(run.output, " - SJSON -> Disc\n"));
  EXPECT_FALSE(contains(run.output, "helper")) << "hidden";

  test::ProgramRun check = run_twi("check " + out);
  EXPECT_EQ(0, check.status) << check.output;
  test::ProgramRun info = run_twi("info " + out);
  EXPECT_TRUE(contains(info.output, "nodes: 4 (1 root)")) << info.output;
  EXPECT_TRUE(contains(info.output, "hip.matrix: 30 samples")) << info.output;

  // Hidden nodes, and the translator with the same meaning.
  ASSERT_EQ(0, run_export("demo:rig --hidden --quiet -o " + dir.file("h.twi")).status);
  EXPECT_TRUE(contains(run_twi("info " + dir.file("h.twi")).output, "nodes: 5 (1 root)"));
  test::ProgramRun translator =
      run_export("demo:rig --translator --options \"export_hidden=true\" -o " + dir.file("t.twi"));
  ASSERT_EQ(0, translator.status) << translator.output;
  EXPECT_EQ(test::read_file(dir.file("h.twi")), test::read_file(dir.file("t.twi")));

  // A selection and a range of its own.
  ASSERT_EQ(0, run_export("demo:rig --selected --select knee --range 1:2 -o " + dir.file("s.twi")).status);
  std::string summary = run_twi("info " + dir.file("s.twi")).output;
  EXPECT_TRUE(contains(summary, "nodes: 1 (1 root)")) << summary;
  EXPECT_TRUE(contains(summary, "knee.matrix: 2 samples")) << summary;

  // A frame rate keeps the range where it is in seconds.
  ASSERT_EQ(0, run_export("demo:rig --fps 30 --quiet -o " + dir.file("f.twi")).status);
  EXPECT_TRUE(contains(run_twi("info " + dir.file("f.twi")).output, "hip.matrix: 30 samples"));
}

TEST(TwiExportTool, TheCharacterIsAValidSkinnedDocument) {
  test::TempDirectory dir;
  std::string out = dir.file("character.twi");
  test::ProgramRun run = run_export("demo:character --quiet -o " + out);
  ASSERT_EQ(0, run.status) << run.output;
  EXPECT_EQ("", run.output) << "quiet prints errors only";
  test::ProgramRun check = run_twi("check " + out);
  EXPECT_EQ(0, check.status) << check.output;
  std::string info = run_twi("info " + out).output;
  EXPECT_TRUE(contains(info, "body: 224 vertices, 444 triangles, 2 materials, streams: POSITION NORMAL BINORMAL "
                             "TANGENT COLOR ALPHA TEXCOORD TEXCOORD[1] BLENDWEIGHTS BLENDINDICES (skin body)"))
      << info;
  EXPECT_TRUE(contains(info, "crate: 8 vertices, 12 triangles, 1 material")) << info;
  EXPECT_TRUE(contains(info, "body: 4 joints")) << info;
  EXPECT_TRUE(contains(info, "head.matrix: 60 samples")) << info;
}

TEST(TwiExportTool, FailuresExitWithOneAndWriteNothing) {
  test::TempDirectory dir;
  test::ProgramRun clash = run_export("demo:clash -o " + dir.file("c.twi"));
  EXPECT_EQ(1, clash.status);
  EXPECT_TRUE(contains(clash.output, "A node with name: arm already found.\nBoth |")) << clash.output;
  EXPECT_TRUE(contains(clash.output, "are named arm; names must be unique in the export")) << clash.output;
  EXPECT_TRUE(test::read_file(dir.file("c.twi")).empty());

  test::ProgramRun unwritable = run_export("demo:empty -o " + dir.file("missing/folder/x.twi"));
  EXPECT_EQ(1, unwritable.status);
  EXPECT_TRUE(contains(unwritable.output, "// Error: Export failed: Cannot open output ")) << unwritable.output;
}

TEST(TwiExportTool, BadCommandLinesExitWithTwo) {
  EXPECT_EQ(2, run_export("demo:rig").status) << "no output";
  EXPECT_EQ(2, run_export("demo:nothing -o x.twi").status);
  EXPECT_EQ(2, run_export("scene.fbx -o x.twi").status);
  // A Maya Binary scene is the loader's to refuse, naming it.
  test::TempDirectory dir;
  test::write_file(dir.file("rig.mb"), std::string("FOR8\0\0\0\0\0\0\0\x10", 12));
  test::ProgramRun binary = run_export(dir.file("rig.mb") + " -o " + dir.file("x.twi"));
  EXPECT_EQ(1, binary.status);
  EXPECT_TRUE(contains(binary.output, "rig.mb: this is a Maya Binary file")) << binary.output;
  EXPECT_EQ(2, run_export("demo:rig -o x.twi --range 5").status);
  EXPECT_EQ(2, run_export("demo:rig -o x.twi --fps 23").status);
  EXPECT_EQ(2, run_export("demo:rig -o x.twi --select nobody").status);
  EXPECT_EQ(2, run_export("demo:rig -o x.twi --options a=b").status) << "--options without --translator";
  test::ProgramRun unknown = run_export("demo:rig -o x.twi --frobnicate");
  EXPECT_EQ(2, unknown.status);
  EXPECT_TRUE(contains(unknown.output, "unknown option --frobnicate")) << unknown.output;
}

TEST(TwiExportTool, ExportsAndListsMayaAsciiScenes) {
  if (std::string(TW_SHARED_TESTDATA).empty())
    GTEST_SKIP() << "no shared test data";
  std::string folder = std::string(TW_SHARED_TESTDATA) + "/maya-ascii/";
  test::TempDirectory dir;
  std::string out = dir.file("skin.twi");
  test::ProgramRun run = run_export(folder + "m2g_SingleJointCubeAnim.ma -o " + out);
  ASSERT_EQ(0, run.status) << run.output;
  EXPECT_TRUE(contains(run.output, "twi-export: loaded ")) << run.output;
  EXPECT_TRUE(contains(run.output, "Exporting Node: skinned_cube\n")) << run.output;
  EXPECT_EQ(0, run_twi("check " + out).status);

  // --list: the DAG as loaded, then the warnings.
  test::ProgramRun list = run_export(folder + "m2g_SegmentScaleCompensationTestAnim1.ma --list");
  ASSERT_EQ(0, list.status) << list.output;
  EXPECT_TRUE(contains(list.output, "\n  root (transform)\n    rootShape (locator)\n    joint1 (joint; animated:"))
      << list.output;
  EXPECT_TRUE(contains(list.output, "pCubeShape2 (mesh: 8 points, 6 faces, 12 triangles; UV set map1 (14); colour "
                                    "set colorSet1 (24); shaded by initialShadingGroup (6 faces))"))
      << list.output;
  EXPECT_TRUE(contains(list.output, "\n0 warnings\n")) << list.output;

  // A mesh whose history mayasim cannot evaluate: listed without geometry
  // and with its warning; its export fails after the warning.
  auto write = [&](const char* name, const char* text) {
    std::string path = dir.file(name);
    FILE* f = fopen(path.c_str(), "wb");
    fputs(text, f);
    fclose(f);
    return path;
  };
  std::string smooth = write("smooth.ma", "//Maya ASCII 2020 scene\n"
                                          "createNode transform -n \"box\";\n"
                                          "createNode mesh -n \"boxShape\" -p \"box\";\n"
                                          "createNode polyCube -n \"polyCube1\";\n"
                                          "createNode polySmoothFace -n \"polySmoothFace1\";\n"
                                          "connectAttr \"polyCube1.out\" \"polySmoothFace1.ip\";\n"
                                          "connectAttr \"polySmoothFace1.out\" \"boxShape.i\";\n");
  test::ProgramRun smooth_list = run_export(smooth + " --list");
  EXPECT_TRUE(contains(smooth_list.output, "boxShape (mesh: no geometry)")) << smooth_list.output;
  EXPECT_TRUE(contains(smooth_list.output, "1 warning:\n  boxShape: geometry comes from polySmoothFace1 "
                                           "(construction history); delete history in Maya before saving, or "
                                           "export it from Maya.\n"))
      << smooth_list.output;
  test::ProgramRun failed = run_export(smooth + " -o " + dir.file("f.twi"));
  EXPECT_EQ(1, failed.status);
  EXPECT_TRUE(contains(failed.output, "Warning: boxShape: geometry comes from polySmoothFace1")) << failed.output;
  EXPECT_TRUE(contains(failed.output, "Failed attaching MFnMesh to |box|boxShape.")) << failed.output;

  // A file that is not Maya ASCII, and one that is not there.
  std::string fake = write("fake.ma", "FOR4 binary");
  test::ProgramRun binary = run_export(fake + " -o " + dir.file("b.twi"));
  EXPECT_EQ(1, binary.status);
  EXPECT_TRUE(contains(binary.output, "this is a Maya Binary file")) << binary.output;
  EXPECT_EQ(1, run_export(dir.file("missing.ma") + " -o " + dir.file("m.twi")).status);

  // A name two nodes share selects neither.
  std::string legs = write("legs.ma", "//Maya ASCII 2020 scene\n"
                                      "createNode transform -n \"a\";\ncreateNode transform -n \"leg\" -p \"a\";\n"
                                      "createNode transform -n \"b\";\ncreateNode transform -n \"leg\" -p \"b\";\n");
  test::ProgramRun shared = run_export(legs + " --selected --select leg -o " + dir.file("s.twi"));
  EXPECT_EQ(2, shared.status);
  EXPECT_TRUE(contains(shared.output, "2 nodes of ")) << shared.output;
  EXPECT_EQ(0, run_export(legs + " --selected --select a -o " + dir.file("s.twi")).status);
}

// A skin with five influences on a vertex: refused, naming the vertex; with
// --max-influences, kept to the largest weights. A mesh mayasim could not
// evaluate: the failure repeats why, naming the file and the shape.
TEST(TwiExportTool, RefusalsSayWhatToDoAndTheInfluenceLimitIsAnOption) {
  test::TempDirectory dir;
  std::string scene = dir.file("five.ma");
  std::string text = "//Maya ASCII 2020 scene\nrequires maya \"2020\";\ncurrentUnit -l centimeter -a degree -t film;\n";
  for (int j = 0; j < 5; ++j)
    text += "createNode joint -n \"j" + std::to_string(j) + "\";\n";
  text += "createNode transform -n \"tri\";\ncreateNode mesh -n \"triShape\" -p \"tri\";\n"
          "\tsetAttr \".io\" yes;\n\tsetAttr -s 3 \".vt[0:2]\"  0 0 0 1 0 0 0 1 0;\n"
          "\tsetAttr -s 3 \".ed[0:2]\"  0 1 0 1 2 0 2 0 0;\n"
          "\tsetAttr -s 1 -ch 3 \".fc[0]\" -type \"polyFaces\" f 3 0 1 2;\n"
          "createNode mesh -n \"triDeformed\" -p \"tri\";\n"
          "createNode skinCluster -n \"skin\";\n"
          "\tsetAttr -s 3 \".wl\";\n"
          "\tsetAttr \".wl[0:2].w\" 5 0 0.2 1 0.2 2 0.2 3 0.2 4 0.2 1 0 1 1 0 1;\n";
  for (int j = 0; j < 5; ++j)
    text += "connectAttr \"j" + std::to_string(j) + ".wm\" \"skin.ma[" + std::to_string(j) + "]\";\n";
  text += "connectAttr \"triShape.w\" \"skin.ip[0].ig\";\nconnectAttr \"skin.og[0]\" \"triDeformed.i\";\n"
          "connectAttr \"triDeformed.iog\" \":initialShadingGroup.dsm\" -na;\n";
  test::write_file(scene, text);
  test::ProgramRun refused = run_export(scene + " -o " + dir.file("r.twi"));
  EXPECT_EQ(1, refused.status);
  EXPECT_TRUE(contains(refused.output, "Vertex 0 of |tri|triDeformed has 5 influences: j0 0.2, j1 0.2"))
      << refused.output;
  test::ProgramRun limited = run_export(scene + " --max-influences 4 -o " + dir.file("l.twi"));
  ASSERT_EQ(0, limited.status) << limited.output;
  EXPECT_TRUE(contains(limited.output, "1 vertices had more than 4 influences")) << limited.output;
  EXPECT_EQ(0, run_twi("check " + dir.file("l.twi")).status);
  EXPECT_EQ(2, run_export(scene + " --max-influences 5 -o " + dir.file("x.twi")).status);

  // History mayasim does not evaluate: the load's reason after the failure.
  std::string history = dir.file("history.ma");
  test::write_file(history, "//Maya ASCII 2020 scene\nrequires maya \"2020\";\n"
                            "createNode transform -n \"box\";\ncreateNode mesh -n \"boxShape\" -p \"box\";\n"
                            "createNode polyCube -n \"polyCube1\";\ncreateNode polyBevel -n \"polyBevel1\";\n"
                            "connectAttr \"polyCube1.out\" \"polyBevel1.ip\";\n"
                            "connectAttr \"polyBevel1.out\" \"boxShape.i\";\n");
  test::ProgramRun failed = run_export(history + " -o " + dir.file("h.twi"));
  EXPECT_EQ(1, failed.status);
  EXPECT_TRUE(contains(failed.output, history + ": boxShape: geometry comes from polyBevel1")) << failed.output;
  EXPECT_TRUE(contains(failed.output, "delete history")) << failed.output;
}

// The scene's own playback range is held to the limit --range is, with the
// same message and what to do; a document with a float that is not finite
// is named by twi check.
TEST(TwiExportTool, TheScenesPlaybackRangeIsHeldToTheRangeLimit) {
  test::TempDirectory dir;
  std::string scene = dir.file("long.ma");
  test::write_file(scene, "//Maya ASCII 2020 scene\nrequires maya \"2020\";\n"
                          "currentUnit -l centimeter -a degree -t film;\ncreateNode transform -n \"a\";\n"
                          "createNode script -n \"sceneConfigurationScriptNode\";\n"
                          "\tsetAttr \".b\" -type \"string\" \"playbackOptions -min 1 -max 1e9 -ast 1 -aet 1e9 \";\n"
                          "\tsetAttr \".st\" 6;\n");
  test::ProgramRun refused = run_export(scene + " -o " + dir.file("long.twi"));
  EXPECT_EQ(1, refused.status);
  EXPECT_TRUE(contains(refused.output, "long.ma's playback range 1:1e+09 is 4.16667e+07 seconds, 1250000000 samples "
                                       "at 30 a second; the most is 1000000 (9.3 hours)"))
      << refused.output;
  EXPECT_TRUE(contains(refused.output, "give a shorter one with --range START:END")) << refused.output;
  test::ProgramRun ranged = run_export(scene + " --range 1:24 -o " + dir.file("long.twi"));
  EXPECT_EQ(0, ranged.status) << ranged.output;
  test::ProgramRun option = run_export(scene + " --range 1:1e9 -o " + dir.file("long.twi"));
  EXPECT_EQ(2, option.status);
  EXPECT_TRUE(contains(option.output, "--range 1:1e+09 is 4.16667e+07 seconds")) << option.output;

  std::string document = dir.file("inf.twi");
  test::write_file(document, "nodes = { a = { local = [ 1 0 0 0 0 1 0 0 0 0 1 0 1e39 0 0 1 ] } }\n"
                             "source_path = \"\"\n");
  test::ProgramRun check = run_twi("check " + document);
  EXPECT_EQ(1, check.status);
  EXPECT_TRUE(contains(check.output, "Number out of range")) << check.output;
}
