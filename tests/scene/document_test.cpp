#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/memory/memory_globals.h"
#include "scene/document_reader.h"
#include "scene/document_writer.h"
#include "scene/scene_check.h"
#include "scene_fixtures.h"
#include "support/test_support.h"

#include <string>

using namespace foundation;
using namespace twi;

namespace {

Allocator& heap() { return memory_globals::default_allocator(); }

std::string to_text(const SceneDatabase& db) {
  DCV root(heap());
  write_scene_document(db, root);
  Vector<char> text(heap());
  write_sjson(root, text, SjsonWriteOptions());
  return std::string(text.data(), text.size());
}

void read_text(const std::string& text, SceneDatabase& db) {
  DCV root(heap());
  ASSERT_TRUE(simplified_json::try_parse_untrusted(text.data(), uint32_t(text.size()), root, nullptr)) << text;
  read_scene_document(db, root);
}

} // namespace

TEST(SceneTypes, ChannelAndIndexTypeTablesAreLenient) {
  EXPECT_EQ(channel_type_size(CT_FLOAT3), 12u);
  EXPECT_EQ(channel_type_size(CT_MATRIX4x4), 64u);
  EXPECT_EQ(channel_type_size(CT_QUATERNION), 16u);
  EXPECT_STREQ(channel_type_name(CT_FLOAT4), "CT_FLOAT4");
  EXPECT_EQ(channel_type_from_name("CT_QUATERNION"), CT_QUATERNION);
  EXPECT_EQ(channel_type_from_name("CT_FLOAT"), CT_FLOAT1); // misspelt: no error, by design
  EXPECT_EQ(channel_type_from_name("ct_float3"), CT_FLOAT1);
  EXPECT_EQ(index_type_from_name("TRIANGLE_STRIP"), TRIANGLE_LIST);
  EXPECT_STREQ(index_type_name(TRIANGLE_LIST), "TRIANGLE_LIST");
}

TEST(SceneDocument, EmptyDatabaseGivesExactlyTwoMembers) {
  SceneDatabase db(heap());
  EXPECT_EQ(to_text(db), "\nnodes = null\nsource_path = \"\"\n");
  DCV no_allocator;
  EXPECT_REPORT(write_scene_document(db, no_allocator), "Assertion failed: _allocator");
}

TEST(SceneDocument, OmittedAndNullKeys) {
  SceneDatabase db(heap());
  SceneNode& n = db.nodes.get_or_insert("only_local");
  db.roots.push_back_default() = "only_local";
  SceneGeometry& g = db.geometries.get_or_insert("g");
  g.streams.push_back_default(); // no channels, size 0
  MaterialGroup& m = g.materials.push_back_default();
  m.name = "empty";
  g.indices.size = 0;
  g.indices.streams.resize(1); // one empty list
  SceneSkin& skin = db.skins.get_or_insert("s");
  db.geometries.get_or_insert("bare"); // nothing in it
  (void)n;
  (void)skin;
  std::string text = to_text(db);
  // A node without parent, children or geometries writes only "local".
  EXPECT_NE(text.find("only_local = {\n\t\tlocal = [ 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 ]\n\t}"), std::string::npos) << text;
  EXPECT_NE(text.find("channels = null"), std::string::npos);
  EXPECT_NE(text.find("data = null"), std::string::npos);
  EXPECT_NE(text.find("primitives = null"), std::string::npos);
  EXPECT_NE(text.find("streams = [ null ]"), std::string::npos); // the empty index list
  EXPECT_NE(text.find("joints = null"), std::string::npos);
  EXPECT_NE(text.find("\tbare = {\n\t}\n"), std::string::npos) << text; // an object, never null
  EXPECT_EQ(text.find("skin ="), std::string::npos);
  EXPECT_EQ(text.find("smoothing"), std::string::npos);
  EXPECT_EQ(text.find("animations"), std::string::npos);
  EXPECT_EQ(text.find("parent"), std::string::npos);
}

TEST(SceneDocument, GeometriesAndRootsPrintInKeyOrder) {
  SceneDatabase db(heap());
  for (const char* name : {"b", "a"}) {
    db.geometries.get_or_insert(name);
    db.nodes.get_or_insert(name);
    db.roots.push_back_default() = name;
  }
  std::string text = to_text(db);
  size_t nodes = text.find("nodes = {");
  EXPECT_LT(text.find("\ta = {", nodes), text.find("\tb = {", nodes));
  size_t geometries = text.find("geometries = {");
  EXPECT_LT(text.find("\ta = {", geometries), text.find("\tb = {", geometries));
}

TEST(SceneDocument, StreamDataIsWalkedByChannelSizes) {
  SceneDatabase db(heap());
  GeometryStream& s = db.geometries.get_or_insert("g").streams.push_back_default();
  for (ChannelType t : {CT_FLOAT3, CT_FLOAT2}) {
    StreamChannel& c = s.channels.push_back_default();
    c.name = "X";
    c.type = t;
  }
  s.size = 2;
  s.stride = 20;
  float values[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  s.data.resize(40);
  memcpy(s.data.data(), values, 40);
  DCV root(heap());
  write_scene_document(db, root);
  const DCV& stream = static_cast<const DCV&>(root).get("geometries").get("g").get("streams").at(0);
  EXPECT_EQ(stream.get("stride").to_integer(), 20);
  EXPECT_EQ(stream.get("size").to_integer(), 2);
  ASSERT_EQ(stream.get("data").size(), 10u);
  for (uint32_t i = 0; i < 10; ++i) {
    EXPECT_TRUE(stream.get("data").at(i).is_float());
    EXPECT_EQ(stream.get("data").at(i).to_float(), float(i + 1));
  }
}

TEST(SceneDocument, WriteParseReadWriteGivesTheSameText) {
  SceneDatabase db(heap());
  test::fill_full_database(db);
  std::string first = to_text(db);
  SceneDatabase back(heap());
  read_text(first, back);
  EXPECT_EQ(to_text(back), first);
  // What the reader restores, and what it cannot.
  EXPECT_EQ(back.roots.size(), 2u);
  EXPECT_STREQ(back.roots[0].c_str(), "lone"); // key order, not capture order
  EXPECT_STREQ(back.nodes.find("hip").value().parent.c_str(), "rig");
  EXPECT_EQ(back.geometries.find("hip").value().streams[1].channels[0].index, 1u);
  EXPECT_EQ(back.animations[0].times.size(), 2u);
  Vector<String> problems(heap());
  EXPECT_TRUE(check_scene(back, problems)) << (problems.empty() ? "" : problems[0].c_str());
  EXPECT_TRUE(check_scene(db, problems));
}

TEST(SceneDocument, ReaderFailuresNameThePlace) {
  struct Case {
    const char* text;
    const char* assertion;
    const char* place; // context lines logged by the report, oldest first
  };
  const Case cases[] = {
      {"nodes = { pCube1 = { local = [ 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 ] } }", "is_integer()",
       "[Context] node pCube1\n[Context] parent (none: a root)\n[Context] key local\n"},
      {"nodes = { a = { local = [0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0] children = { b = { local = \"x\" } } } }",
       "is_array() || is_nil()", "[Context] node b\n[Context] parent a\n[Context] key local\n"},
      {"geometries = { pCubeShape1 = { streams = [ { size = 1 stride = 4 channels = [ { index = 0 type = "
       "\"CT_FLOAT1\" name = \"X\" } ] data = [ ] } { size = \"one\" } ] } }",
       "is_integer()", "[Context] geometry pCubeShape1\n[Context] stream 0\n[Context] key data\n"},
      {"geometries = { g = { streams = [ { size = 2 stride = 4 channels = [ { index = 0 type = \"CT_FLOAT3\" "
       "name = \"P\" } ] data = [ 1 2 3 4 5 6 ] } ] } }",
       "stride smaller than the channels", "[Context] geometry g\n[Context] stream 0\n"},
      {"skins = { s = { bind_matrix = [0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0] joints = [ { name = 7 } ] } }",
       "is_string()", "[Context] skin s\n[Context] joint 0\n"},
      {"source_path = 5", "is_string()", "[Context] key source_path\n"},
  };
  for (const Case& c : cases) {
    SceneDatabase db(heap());
    DCV root(heap());
    std::string text = c.text;
    ASSERT_TRUE(simplified_json::try_parse_untrusted(text.data(), uint32_t(text.size()), root, nullptr)) << text;
    ::testing::internal::CaptureStderr();
    test::Report r = test::capture_report([&] { read_scene_document(db, root); });
    std::string err = ::testing::internal::GetCapturedStderr();
    ASSERT_TRUE(r.reported) << text;
    EXPECT_NE(r.message.find(c.assertion), std::string::npos) << r.message;
    EXPECT_NE(err.find(c.place), std::string::npos) << text << "\n" << err;
  }
}

TEST(SceneDocument, ReaderLeniencyAndEmptyDocuments) {
  SceneDatabase empty(heap());
  read_text("", empty);
  read_text("nodes = null", empty);
  EXPECT_TRUE(empty.nodes.empty());
  EXPECT_TRUE(empty.roots.empty());
  // An unknown channel type reads as CT_FLOAT1 and takes one value per element.
  SceneDatabase db(heap());
  read_text("geometries = { g = { streams = [ { size = 2 stride = 4 channels = [ { index = 0 type = \"CT_FLOATX\" "
            "name = \"P\" } ] data = [ 1.5 2 ] } ] materials = 3 } }",
            db);
  auto s_entry = db.geometries.find("g");
  const GeometryStream& s = s_entry.value().streams[0];
  EXPECT_EQ(s.channels[0].type, CT_FLOAT1);
  float second;
  memcpy(&second, s.data.data() + 4, 4);
  EXPECT_EQ(second, 2.0f);
  EXPECT_TRUE(db.geometries.find("g").value().materials.empty()); // not an array: empty
}

// Values are packed one after another, whatever the stride: reading and
// writing again keeps every number, also when the stride leaves padding and
// when a misspelt channel type reads as one float per element.
TEST(SceneDocument, StreamsWithPaddingOrAMisspeltTypeRoundTrip) {
  const std::string text =
      "\ngeometries = {\n\tg = {\n\t\tstreams = [ {\n"
      "\t\t\t\tchannels = [ {\n\t\t\t\t\t\tindex = 0\n\t\t\t\t\t\tname = \"P\"\n\t\t\t\t\t\ttype = \"CT_FLOAT3\"\n"
      "\t\t\t\t\t} {\n\t\t\t\t\t\tindex = 1\n\t\t\t\t\t\tname = \"UV\"\n\t\t\t\t\t\ttype = \"CT_FLOAT2\"\n\t\t\t\t\t} ]\n"
      "\t\t\t\tdata = [ 1 2 3 4 5 6 7 8 9 10 ]\n\t\t\t\tsize = 2\n\t\t\t\tstride = 28\n"
      "\t\t\t} {\n\t\t\t\tchannels = [ {\n\t\t\t\t\t\tindex = 0\n\t\t\t\t\t\tname = \"N\"\n"
      "\t\t\t\t\t\ttype = \"CT_FLOAT_3\"\n\t\t\t\t\t} ]\n"
      "\t\t\t\tdata = [ 0.5 1.5 2.5 ]\n\t\t\t\tsize = 3\n\t\t\t\tstride = 12\n\t\t\t} ]\n\t}\n}\n"
      "nodes = null\nsource_path = \"\"\n";
  SceneDatabase db(heap());
  read_text(text, db);
  auto padded_entry = db.geometries.find("g");
  const GeometryStream& padded = padded_entry.value().streams[0];
  ASSERT_EQ(56u, padded.data.size()) << "size x stride bytes";
  const float* f = reinterpret_cast<const float*>(padded.data.data());
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(float(i + 1), f[i]) << "packed, element after element";
  EXPECT_EQ(0.0f, f[10]) << "the padding is zeros at the end";
  // The misspelt type became CT_FLOAT1 (one value per element) on purpose;
  // the text written back differs only in the type's name.
  std::string back = to_text(db);
  std::string expected = text;
  expected.replace(expected.find("CT_FLOAT_3"), 10, "CT_FLOAT1");
  EXPECT_EQ(expected, back);
}

// What a hostile document asks for is refused before it is allocated or
// looped over: each case finishes at once with its report.
TEST(SceneDocument, StreamsTheTextCannotFillAreRefused) {
  const std::string channel = "channels = [ { index = 0 type = \"CT_FLOAT3\" name = \"P\" } ]";
  struct Case {
    std::string stream;
    const char* report;
  } cases[] = {
      {channel + " size = 1 stride = 2147483647 data = [ 1 2 3 ]", "exceeds the channels' 12 bytes by more than 64"},
      {"size = -1 stride = 0", "negative size -1 or stride 0"},
      {"channels = null size = 4000000000 stride = 0", "negative size"},
      {"channels = null size = 100000000 stride = 0", "a stream of 100000000 elements has no channels"},
      {channel + " size = 100000000 stride = 12 data = [ 1 2 3 ]", "is_integer()"},
      {channel + " size = 200000000 stride = 12 data = [ 1 2 3 ]", "stream too large"},
  };
  for (const Case& c : cases) {
    std::string text = "geometries = { g = { streams = [ { " + c.stream + " } ] } }";
    DCV root(heap());
    ASSERT_TRUE(simplified_json::try_parse_untrusted(text.data(), uint32_t(text.size()), root, nullptr)) << text;
    SceneDatabase db(heap());
    ::testing::internal::CaptureStderr();
    test::Report r = test::capture_report([&] { read_scene_document(db, root); });
    ::testing::internal::GetCapturedStderr();
    ASSERT_TRUE(r.reported) << c.stream;
    EXPECT_NE(std::string::npos, r.message.find(c.report)) << c.stream << "\n" << r.message;
  }
}

// The text has no way to write an infinity or NaN: the check names the
// first one and where it is, in nodes, animations, streams and skins.
TEST(SceneCheck, FloatsThatAreNotFiniteAreNamedWithTheirPlace) {
  const float inf = 1e30f * 1e30f;
  const float nan = inf - inf;
  struct Case {
    void (*spoil)(SceneDatabase&, float);
    const char* place;
  };
  const Case cases[] = {
      {[](SceneDatabase& db, float v) { db.nodes.find("hip").value().local[13] = v; },
       "node hip: local matrix, value 13"},
      {[](SceneDatabase& db, float v) {
         SceneAnimation& a = db.animations[0];
         memcpy(a.stream.data.data() + a.stream.stride + 8, &v, 4);
       },
       "animation of matrix, sample 1 (time "},
      {[](SceneDatabase& db, float v) {
         GeometryStream& s = db.geometries.find("hip").value().streams[0];
         memcpy(s.data.data() + s.stride, &v, 4);
       },
       "geometry hip: stream POSITION, element 1"},
      {[](SceneDatabase& db, float v) { db.skins.begin().value().joints[0].inv_bind_matrix[0] = v; },
       "'s inverse bind matrix"},
  };
  for (const Case& c : cases) {
    for (float bad : {inf, -inf, nan}) {
      SceneDatabase db(heap());
      test::fill_full_database(db);
      String place(heap());
      float value = 0;
      ASSERT_TRUE(find_non_finite(db, place, value));
      c.spoil(db, bad);
      EXPECT_FALSE(find_non_finite(db, place, value));
      EXPECT_NE(std::string(place.c_str()).find(c.place), std::string::npos) << place.c_str();
      EXPECT_FALSE(value - value == 0.0f);
      Vector<String> problems(heap());
      EXPECT_FALSE(check_scene(db, problems));
      EXPECT_NE(std::string(problems.back().c_str()).find("is not a finite number"), std::string::npos);
    }
  }
}
