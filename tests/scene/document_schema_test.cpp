// The format check on parsed documents: what a written document passes,
// and crafted documents that break the format, each with the problem and
// the place it must name.
#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/memory/memory_globals.h"
#include "scene/document_schema.h"
#include "scene/document_writer.h"
#include "scene_fixtures.h"
#include "support/test_support.h"

#include <string>
#include <vector>

using namespace foundation;
using namespace twi;

namespace {

Allocator& heap() { return memory_globals::default_allocator(); }

std::vector<std::string> problems_of(const std::string& text) {
  DCV root(heap());
  EXPECT_TRUE(simplified_json::try_parse_untrusted(text.data(), uint32_t(text.size()), root, nullptr)) << text;
  Vector<String> problems(heap());
  bool valid = validate_scene_document(root, problems);
  std::vector<std::string> out;
  for (const String& p : problems)
    out.push_back(p.c_str());
  EXPECT_EQ(valid, out.empty());
  return out;
}

const char* const M16 = "[ 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 ]";

std::string doc(const std::string& members) { return "source_path = \"x\"\nnodes = null\n" + members; }

// One geometry with the given stream and (optionally) indices.
std::string geometry(const std::string& body) { return doc("geometries = { g = { " + body + " } }"); }

const std::string FLOAT3_CHANNEL = "channels = [ { index = 0 name = \"POSITION\" type = \"CT_FLOAT3\" } ]";

} // namespace

TEST(DocumentSchema, WhatTheWriterWritesPasses) {
  SceneDatabase db(heap());
  test::fill_full_database(db);
  DCV root(heap());
  write_scene_document(db, root);
  Vector<String> problems(heap());
  EXPECT_TRUE(validate_scene_document(root, problems)) << (problems.empty() ? "" : problems[0].c_str());
  SceneDatabase empty(heap());
  DCV empty_root(heap());
  write_scene_document(empty, empty_root);
  EXPECT_TRUE(validate_scene_document(empty_root, problems));
}

TEST(DocumentSchema, BrokenDocumentsNameEachProblemAndItsPlace) {
  struct Case {
    std::string text;
    const char* problem;
  };
  const std::string stream = "{ " + FLOAT3_CHANNEL + " size = 2 stride = 12 data = [ 1 2 3 4 5 6 ] }";
  const std::vector<Case> cases = {
      // The root.
      {"{ \"a\" : 1 }", "has the key \"a\", which the format does not have"},
      {"{ \"a\" : 1 }", "lacks the key \"nodes\""},
      {"{ \"a\" : 1 }", "lacks the key \"source_path\""},
      {"nodes = null source_path = 3", "source_path: is an integer, not a string"},
      {"nodes = [ ] source_path = \"\"", "nodes: is an array, not an object or null"},
      {doc("animations = { a = 1 }"), "animations: is an object, not an array"},
      {doc("geometries = [ ]"), "geometries: is an array, not an object"},
      {doc("skins = 4"), "skins: is an integer, not an object"},
      // Nodes.
      {"source_path = \"\" nodes = { a = { } }", "nodes > a: lacks the key \"local\""},
      {"source_path = \"\" nodes = { a = 1 }", "nodes > a: is an integer, not an object"},
      {"source_path = \"\" nodes = { a = { local = [ 1 2 ] } }", "nodes > a > local: holds 2 numbers, not 16"},
      {"source_path = \"\" nodes = { a = { local = [ 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 ] } }",
       "nodes > a > local: holds 17 numbers, not 16"},
      {"source_path = \"\" nodes = { a = { local = [ 1 2 3 4 5 6 7 8 9 10 11 12 13 14 \"x\" 16 ] } }",
       "nodes > a > local > 14: is a string, not a number"},
      {"source_path = \"\" nodes = { a = { local = " + std::string(M16) + " parent = \"b\" } }",
       "nodes > a > parent: names \"b\", but the node is a root"},
      {"source_path = \"\" nodes = { a = { local = " + std::string(M16) + " children = { b = { local = " + M16 +
           " } } } }",
       "nodes > a > children > b: lacks the key \"parent\" (it is a child of \"a\")"},
      {"source_path = \"\" nodes = { a = { local = " + std::string(M16) + " children = { b = { local = " + M16 +
           " parent = \"c\" } } } }",
       "nodes > a > children > b > parent: names \"c\", but the node is a child of \"a\""},
      {"source_path = \"\" nodes = { a = { local = " + std::string(M16) + " children = [ ] } }",
       "nodes > a > children: is an array, not an object"},
      {"source_path = \"\" nodes = { a = { local = " + std::string(M16) + " geometries = [ 1 ] } }",
       "nodes > a > geometries > 0: is an integer, not a string"},
      {"source_path = \"\" nodes = { a = { local = " + std::string(M16) + " extra = 1 } }",
       "nodes > a: has the key \"extra\", which the format does not have"},
      // Streams.
      {geometry("streams = [ { size = 2 stride = 12 data = [ 1 2 3 4 5 6 ] } ]"),
       "geometries > g > streams > 0: lacks the key \"channels\""},
      {geometry("streams = [ { " + FLOAT3_CHANNEL + " size = 2 stride = 12 data = [ 1 2 3 4 5 ] } ]"),
       "geometries > g > streams > 0 > data: holds 5 numbers, not size 2 x 3 floats"},
      {geometry("streams = [ { " + FLOAT3_CHANNEL + " size = 2 stride = 12 data = [ 1 2 3 4 5 6 7 ] } ]"),
       "holds 7 numbers, not size 2 x 3 floats"},
      {geometry("streams = [ { " + FLOAT3_CHANNEL + " size = 2 stride = 12 data = null } ]"),
       "data: is null, but size 2 x 3 floats are 6 numbers"},
      {geometry("streams = [ { " + FLOAT3_CHANNEL + " size = 1 stride = 2147483647 data = [ 1 2 3 ] } ]"),
       "geometries > g > streams > 0 > stride: is 2147483647, but the channels take 12 bytes"},
      {geometry("streams = [ { " + FLOAT3_CHANNEL + " size = -1 stride = 12 data = [ ] } ]"),
       "streams > 0 > size: is -1, which is negative"},
      {geometry("streams = [ { channels = null size = 3 stride = 0 data = [ ] } ]"),
       "streams > 0: has 3 elements but no channels to hold them"},
      {geometry("streams = [ { channels = [ { index = 0 name = \"P\" type = \"CT_FLOAT_3\" } ] size = 1 stride = "
                "12 data = [ 1 2 3 ] } ]"),
       "streams > 0 > channels > 0 > type: \"CT_FLOAT_3\" is not a channel type"},
      {geometry("streams = [ { channels = [ { index = -2 name = \"P\" type = \"CT_FLOAT1\" } ] size = 0 stride = 4 "
                "data = null } ]"),
       "channels > 0 > index: is -2, which is negative"},
      {geometry("streams = [ { channels = [ { name = \"P\" type = \"CT_FLOAT1\" } ] size = 0 stride = 4 data = null "
                "} ]"),
       "channels > 0: lacks the key \"index\""},
      {geometry("streams = [ { " + FLOAT3_CHANNEL + " size = 2.5 stride = 12 data = [ ] } ]"),
       "streams > 0 > size: is a float, not an integer"},
      {geometry("streams = { }"), "geometries > g > streams: is an object, not an array"},
      // Indices.
      {geometry("streams = [ " + stream + " ] indices = { size = 3 type = \"TRIANGLE_LIST\" streams = [ ] }"),
       "geometries > g > indices > streams: holds 0 index lists for 1 streams"},
      {geometry("streams = [ " + stream + " ] indices = { size = 3 type = \"TRIANGLE_LIST\" streams = [ [ 0 1 ] ] }"),
       "indices > streams > 0: holds 2 entries, not size 3"},
      {geometry("streams = [ " + stream + " ] indices = { size = 4 type = \"TRIANGLE_LIST\" streams = [ [ 0 1 0 1 ] ] }"),
       "indices > size: is 4, not three entries per triangle"},
      {geometry("streams = [ " + stream + " ] indices = { size = 3 type = \"TRIANGLE_LIST\" streams = [ [ 0 -1 0 ] ] }"),
       "indices > streams > 0 > 1: is negative, not an integer of 0 or more"},
      {geometry("streams = [ " + stream + " ] indices = { size = 3 type = \"STRIP\" streams = [ [ 0 1 0 ] ] }"),
       "indices > type: \"STRIP\" is not an index type (TRIANGLE_LIST)"},
      {geometry("streams = [ " + stream + " ] indices = { size = 3 streams = [ [ 0 1 0 ] ] }"),
       "indices: lacks the key \"type\""},
      {geometry("indices = { size = 3 type = \"TRIANGLE_LIST\" streams = [ [ 0 1 0 ] ] }"),
       "indices > streams: holds 1 index lists for 0 streams"},
      // Materials, smoothing, skin name.
      {geometry("materials = [ { primitives = [ 0 ] } ]"), "materials > 0: lacks the key \"name\""},
      {geometry("materials = [ { name = \"m\" } ]"), "materials > 0: lacks the key \"primitives\""},
      {geometry("materials = [ { name = \"m\" primitives = [ 0.5 ] } ]"),
       "materials > 0 > primitives > 0: is a float, not an integer of 0 or more"},
      {geometry("materials = { }"), "materials: is an object, not an array"},
      {geometry("smoothing = [ \"a\" ]"), "smoothing > 0: is a string, not an integer of 0 or more"},
      {geometry("skin = 1"), "geometries > g > skin: is an integer, not a string"},
      // Skins.
      {doc("skins = { s = { joints = null } }"), "skins > s: lacks the key \"bind_matrix\""},
      {doc("skins = { s = { bind_matrix = " + std::string(M16) + " } }"), "skins > s: lacks the key \"joints\""},
      {doc("skins = { s = { bind_matrix = [ 1 ] joints = null } }"), "skins > s > bind_matrix: holds 1 numbers, not 16"},
      {doc("skins = { s = { bind_matrix = " + std::string(M16) + " joints = [ { name = \"j\" } ] } }"),
       "skins > s > joints > 0: lacks the key \"inv_bind_matrix\""},
      {doc("skins = { s = { bind_matrix = " + std::string(M16) + " joints = [ { name = 1 inv_bind_matrix = " + M16 +
           " } ] } }"),
       "skins > s > joints > 0 > name: is an integer, not a string"},
      // Animations.
      {doc("animations = [ 1 ]"), "animations > 0: is an integer, not an object"},
      {doc("animations = [ { node = \"a\" parameter = \"matrix\" } ]"), "animations > 0: lacks the key \"stream\""},
      // Times beside a stream that is no object: reported, not read through.
      {doc("animations = [ { node = \"a\" parameter = \"matrix\" stream = 12 times = [ 0 ] } ]"),
       "animations > 0 > stream: is an integer, not an object"},
      {doc("animations = [ { node = \"a\" parameter = \"matrix\" stream = " + stream + " times = [ 0 ] } ]"),
       "animations > 0 > times: holds 1 numbers, not one per sample (2)"},
      {doc("animations = [ { node = 1 parameter = \"matrix\" stream = " + stream + " } ]"),
       "animations > 0 > node: is an integer, not a string"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> problems = problems_of(c.text);
    bool found = false;
    std::string all;
    for (const std::string& p : problems) {
      found = found || p.find(c.problem) != std::string::npos;
      all += "  " + p + "\n";
    }
    EXPECT_TRUE(found) << c.text << "\nexpected: " << c.problem << "\nfound:\n" << all;
  }
}

TEST(DocumentSchema, ManyProblemsAreCountedNotAllListed) {
  std::string text = "source_path = \"\" nodes = {";
  for (int i = 0; i < 150; ++i)
    text += " n" + std::to_string(i) + " = { }";
  text += " }";
  std::vector<std::string> problems = problems_of(text);
  ASSERT_EQ(101u, problems.size());
  EXPECT_EQ("... and 50 more problems", problems.back());
}
