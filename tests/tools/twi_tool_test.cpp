// The twi command-line tool, run as a user runs it.
#include "foundation/config/sjson_writer.h"
#include "foundation/memory/memory_globals.h"
#include "scene/document_writer.h"
#include "scene_fixtures.h"
#include "support/test_support.h"

#include <stdio.h>
#include <string>

using namespace foundation;

namespace {

typedef test::ProgramRun ToolRun;

ToolRun run_twi(const std::string& arguments) { return test::run_program(std::string(TW_TWI_TOOL) + " " + arguments); }

std::string document_text(const twi::SceneDatabase& db) {
  DCV root(memory_globals::default_allocator());
  twi::write_scene_document(db, root);
  Vector<char> text(memory_globals::default_allocator());
  write_sjson(root, text, SjsonWriteOptions());
  return std::string(text.data(), text.size());
}

} // namespace

TEST(TwiTool, CheckAcceptsWhatTheWriterProducesAndInfoSummarisesIt) {
  test::TempDirectory dir;
  twi::SceneDatabase db(memory_globals::default_allocator());
  test::fill_full_database(db);
  test::write_file(dir.file("full.twi"), document_text(db));
  ToolRun check = run_twi("check " + dir.file("full.twi"));
  EXPECT_EQ(check.status, 0) << check.output;
  EXPECT_EQ(check.output, "ok\n");
  ToolRun info = run_twi("info " + dir.file("full.twi"));
  EXPECT_EQ(info.status, 0);
  EXPECT_NE(info.output.find("source path: C:/scenes/rig.mb\n"), std::string::npos) << info.output;
  EXPECT_NE(info.output.find("nodes: 4 (2 roots)\n"), std::string::npos) << info.output;
  EXPECT_NE(info.output.find("  hip: 3 vertices, 1 triangles, 2 materials, streams: POSITION TEXCOORD[1] (skin hip)\n"),
            std::string::npos)
      << info.output;
  EXPECT_NE(info.output.find("  hip: 1 joint\n"), std::string::npos);
  EXPECT_NE(info.output.find("  rig.matrix: 2 samples over 0.03125 s\n"), std::string::npos);
}

TEST(TwiTool, CheckNamesThePlaceOfWhatIsWrong) {
  test::TempDirectory dir;
  test::write_file(dir.file("short.twi"), "nodes = { pCube1 = { local = [ 1 2 3 ] } }\nsource_path = \"\"\n");
  ToolRun r = run_twi("check " + dir.file("short.twi"));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.output, dir.file("short.twi") + ": nodes > pCube1 > local: holds 3 numbers, not 16\n" +
                          dir.file("short.twi") + ": not a valid twi document\n");

  twi::SceneDatabase db(memory_globals::default_allocator());
  test::fill_full_database(db);
  db.geometries.get_or_insert("hip").indices.streams[0][2] = 3;
  db.nodes.get_or_insert("rig").children.push_back_default() = "arm";
  test::write_file(dir.file("broken.twi"), document_text(db));
  r = run_twi("check " + dir.file("broken.twi"));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.output.find(": geometry hip > indices > list 0 > entry 2: index 3 is not below the stream size 3\n"),
            std::string::npos)
      << r.output;

  test::write_file(dir.file("syntax.twi"), "a = 1\nb = [ 1 2 \n");
  r = run_twi("check " + dir.file("syntax.twi"));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.output, dir.file("syntax.twi") + ":3: Reached end of string while parsing\n\n");

  r = run_twi("check " + dir.file("missing.twi"));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.output.find("cannot read"), std::string::npos);
}

TEST(TwiTool, IdFmtJsonAndHelp) {
  ToolRun id = run_twi("id hello \"\"");
  EXPECT_EQ(id.output, "hello #ID[1e68d17c457bf117] #ID[1e68d17c]\n #ID[0000000000000000] #ID[00000000]\n");
  test::TempDirectory dir;
  test::write_file(dir.file("in.json"), "{\"b\": [1, 2.5], \"a\": {\"c\": \"x\"}}");
  ToolRun fmt = run_twi("fmt " + dir.file("in.json"));
  EXPECT_EQ(fmt.output, "\na = {\n\tc = \"x\"\n}\nb = [ 1 2.5 ]\n");
  ToolRun json = run_twi("fmt " + dir.file("in.json") + " -o " + dir.file("out.sjson") + " && " + TW_TWI_TOOL + " json " +
                 dir.file("out.sjson"));
  EXPECT_EQ(json.output, "{ \"a\" : { \"c\" : \"x\"}, \"b\" : [ 1, 2.5]}\n");
  for (const char* command : {"fmt", "json", "check", "info", "id"}) {
    ToolRun help = run_twi(std::string(command) + " --help");
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_EQ(help.output.find("usage: twi "), 0u) << command;
  }
  EXPECT_EQ(run_twi("frobnicate").status, 2);
}

// Documents crafted to break the format: each is refused with its place,
// at once, and nothing is allocated for what the text can't fill.
TEST(TwiTool, CheckRefusesCraftedDocumentsQuickly) {
  test::TempDirectory dir;
  const std::string channel = "channels = [ { index = 0 name = \"P\" type = \"CT_FLOAT1\" } ]";
  struct Case {
    std::string text;
    std::string problem;
  } cases[] = {
      {"nodes = null\nsource_path = \"\"\ngeometries = { g = { streams = [ { " + channel +
           " size = 1 stride = 2147483647 data = [ 1 ] } ] } }\n",
       "geometries > g > streams > 0 > stride: is 2147483647, but the channels take 4 bytes"},
      {"nodes = null\nsource_path = \"\"\ngeometries = { g = { streams = [ { channels = null size = -1 stride = 0 "
       "data = null } ] } }\n",
       "geometries > g > streams > 0 > size: is -1, which is negative"},
      {"nodes = null\nsource_path = \"\"\nanimations = { a = 1 }\n", "animations: is an object, not an array"},
      {"{ \"meshes\" : [] }", ": lacks the key \"nodes\""},
  };
  for (const Case& c : cases) {
    test::write_file(dir.file("crafted.twi"), c.text);
    ToolRun r = run_twi("check " + dir.file("crafted.twi"));
    EXPECT_EQ(1, r.status) << c.text;
    EXPECT_NE(std::string::npos, r.output.find(c.problem)) << r.output;
  }
}

TEST(TwiTool, PipesAreReadToTheirEndAndOutputsReplaceTheirInput) {
  test::TempDirectory dir;
  twi::SceneDatabase db(memory_globals::default_allocator());
  test::fill_full_database(db);
  const std::string text = document_text(db);
  test::write_file(dir.file("doc.twi"), text);
  // A pipe given as a file name (as `<(cat doc.twi)` does) is not empty.
  ToolRun piped = run_twi("fmt /dev/stdin < /dev/null; cat " + dir.file("doc.twi") + " | " + TW_TWI_TOOL +
                          " fmt /dev/stdin");
  EXPECT_EQ(0, piped.status) << piped.output;
  EXPECT_NE(std::string::npos, piped.output.find(text)) << piped.output;
  // Writing over its own input: the input was read whole before.
  ToolRun same = run_twi("fmt " + dir.file("doc.twi") + " -o " + dir.file("doc.twi"));
  EXPECT_EQ(0, same.status) << same.output;
  EXPECT_EQ(text, test::read_file(dir.file("doc.twi")));
  EXPECT_EQ(1u, test::directory_size(dir.path()));
#if !defined(_WIN32)
  // A full disk leaves the previous text.
  ToolRun full = run_twi("fmt " + dir.file("doc.twi") + " -o /dev/full");
  EXPECT_EQ(1, full.status);
  EXPECT_NE(std::string::npos, full.output.find("No space left on device")) << full.output;
#endif
}

TEST(TwiTool, JsonLosesNoValue) {
  test::TempDirectory dir;
  test::write_file(dir.file("in.sjson"), "a = [ 1.5e-7 0.1 16777216 -3.4e38 1e-40 ]\ns = \"tab\there\"\n");
  ToolRun json = run_twi("json " + dir.file("in.sjson"));
  EXPECT_EQ(0, json.status) << json.output;
  EXPECT_EQ("{ \"a\" : [ 1.5e-07, 0.1, 16777216, -3.4e+38, 1e-40], \"s\" : \"tab\\u0009here\"}\n", json.output);
}

// A skin naming joints that are not nodes of the document is allowed (the
// joints were not exported) but worth a warning; the document is still ok.
TEST(TwiTool, CheckWarnsAboutSkinJointsThatAreNotNodes) {
  test::TempDirectory dir;
  twi::SceneDatabase db(memory_globals::default_allocator());
  test::fill_full_database(db);
  db.skins.get_or_insert("hip").joints.push_back_default().name = "ghost";
  test::write_file(dir.file("ghost.twi"), document_text(db));
  ToolRun r = run_twi("check " + dir.file("ghost.twi"));
  EXPECT_EQ(0, r.status) << r.output;
  EXPECT_NE(std::string::npos,
            r.output.find(dir.file("ghost.twi") + ": warning: skin hip > joint 1: no node named ghost (the joint was "
                                                  "not exported)\n"))
      << r.output;
  EXPECT_NE(std::string::npos, r.output.find("ok\n"));
}

TEST(TwiTool, GltfWritesEitherFormAndSaysWhatItLeftOut) {
  test::TempDirectory dir;
  twi::SceneDatabase db(memory_globals::default_allocator());
  test::fill_full_database(db);
  test::write_file(dir.file("full.twi"), document_text(db));
  ToolRun glb = run_twi("gltf " + dir.file("full.twi") + " -o " + dir.file("full.glb"));
  EXPECT_EQ(glb.status, 0) << glb.output;
  EXPECT_NE(glb.output.find("wrote " + dir.file("full.glb") + ": 4 nodes, 1 meshes (1 primitives, 3 vertices), "
                            "1 materials, 0 skins, 3 animation channels\n"),
            std::string::npos)
      << glb.output;
  EXPECT_NE(glb.output.find("skin vertices with weights normalised to sum 1: 0\n"), std::string::npos);
  // The fixture's mesh has smoothing groups, a material without triangles,
  // a skin without weights and matrices that are not rotations.
  EXPECT_NE(glb.output.find("  geometry \"hip\": its 2 smoothing group entries have no place in glTF"),
            std::string::npos)
      << glb.output;
  EXPECT_NE(glb.output.find("  geometry \"hip\": material \"unused_mat\" has no triangles"), std::string::npos);
  EXPECT_NE(glb.output.find("  node \"lone\": its local matrix has shear or projection; written as \"matrix\""),
            std::string::npos);
  EXPECT_EQ(test::read_file(dir.file("full.glb")).compare(0, 4, "glTF"), 0);
  ToolRun gltf = run_twi("gltf " + dir.file("full.twi") + " -o " + dir.file("full.gltf"));
  EXPECT_EQ(gltf.status, 0);
  EXPECT_EQ(test::read_file(dir.file("full.gltf")).compare(0, 1, "{"), 0);

  ToolRun wrong_name = run_twi("gltf " + dir.file("full.twi") + " -o " + dir.file("full.obj"));
  EXPECT_EQ(wrong_name.status, 2);
  EXPECT_NE(wrong_name.output.find("name the output OUT.glb"), std::string::npos);
  EXPECT_EQ(run_twi("gltf " + dir.file("full.twi")).status, 2);
  // An invalid document is refused with twi check's words, and nothing written.
  db.geometries.get_or_insert("hip").indices.streams[0][2] = 3;
  test::write_file(dir.file("broken.twi"), document_text(db));
  ToolRun broken = run_twi("gltf " + dir.file("broken.twi") + " -o " + dir.file("broken.glb"));
  EXPECT_EQ(broken.status, 1);
  EXPECT_NE(broken.output.find("geometry hip > indices > list 0 > entry 2: index 3 is not below the stream size 3"),
            std::string::npos)
      << broken.output;
  EXPECT_FALSE(fopen(dir.file("broken.glb").c_str(), "rb"));
}
