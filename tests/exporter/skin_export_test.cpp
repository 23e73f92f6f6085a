// Skinned meshes through the plug-in module: the input shape is exported,
// the joints and matrices, the weight streams and their channel type, and
// the skin's failures.
#include "plugin/plugin_fixture.h"

#include <math.h>

using namespace mayasim::builder;
using test::floats;
using test::info_lines;
using twi::GeometryStream;
using twi::SceneDatabase;
using twi::SceneGeometry;

namespace {

class SkinExport : public test::PluginTest {
protected:
  void SetUp() override {
    test::PluginTest::SetUp();
    set_playback_range(1, 1);
  }
};


// A strip of `columns` quads (2 * (columns + 1) vertices) along X, bound to
// `joint_count` joints one metre apart along X, with these weights.
MObject skinned_strip(int columns, int joint_count, const std::vector<std::vector<double>>& weights) {
  MObject rig = transform("rig", MObject(), {0, 0, 0});
  std::vector<MObject> joints;
  MObject parent = rig;
  for (int j = 0; j < joint_count; ++j) {
    parent = joint("j" + std::to_string(j), parent, {j == 0 ? 0.0 : 100.0, 0, 0});
    joints.push_back(parent);
  }
  MObject body = transform("strip", MObject(), {0, 0, 10});
  MeshDesc d = grid(columns, 1, 100);
  mesh(body, "stripShape", d);
  skin_cluster("skinCluster1", body, joints, weights);
  return body;
}

std::vector<std::vector<double>> weights_for(size_t vertices, size_t joints,
                                             const std::vector<std::vector<double>>& first) {
  std::vector<std::vector<double>> w(vertices, std::vector<double>(joints, 0.0));
  for (size_t v = 0; v < vertices; ++v)
    w[v][0] = 1.0;
  for (size_t v = 0; v < first.size(); ++v)
    w[v] = first[v];
  return w;
}

} // namespace

TEST_F(SkinExport, TheMeshComesFromTheInputShapeWithItsSkin) {
  MObject body = skinned_strip(2, 2, weights_for(6, 2, {{0.5, 0.5}, {0.25, 0.75}}));
  // The deformed output differs from the bind pose; the export must not see it.
  MeshDesc bind = grid(2, 1, 100);
  std::vector<MPoint> deformed;
  for (const MPoint& p : bind.points)
    deformed.push_back(MPoint(p.x - 500, p.y - 500, p.z - 500));
  set_points(find("stripShape"), deformed);
  SceneDatabase& db = exported();
  auto g_entry = db.geometries.find("strip");
  const SceneGeometry& g = g_entry.value();
  EXPECT_FLOAT_EQ(0.0f, floats(g.streams[0])[0]) << "positions of the input shape";
  EXPECT_STREQ("strip", g.skin.c_str());
  ASSERT_EQ(7u, g.streams.size());
  EXPECT_STREQ("BLENDWEIGHTS", g.streams[5].channels[0].name.c_str());
  EXPECT_STREQ("BLENDINDICES", g.streams[6].channels[0].name.c_str());
  EXPECT_EQ(6u, g.streams[5].size) << "as many as POSITION";
  for (uint32_t s = 5; s < 7; ++s)
    EXPECT_EQ(std::vector<uint32_t>(g.indices.streams[0].data(), g.indices.streams[0].data() + g.indices.size),
              std::vector<uint32_t>(g.indices.streams[s].data(), g.indices.streams[s].data() + g.indices.size));
  // Materials still come from the shape in the DAG.
  ASSERT_EQ(1u, g.materials.size());
  EXPECT_STREQ("lambert1", g.materials[0].name.c_str());

  std::vector<std::string> lines = info_lines(host);
  bool saw_skin = false;
  for (const std::string& l : lines)
    saw_skin = saw_skin || l == "  - Skin\r\n";
  EXPECT_TRUE(saw_skin) << "the skin heading ends in a carriage return and a line feed";
  (void)body;
}

TEST_F(SkinExport, JointsAndMatricesInMetres) {
  skinned_strip(1, 3, weights_for(4, 3, {}));
  SceneDatabase& db = exported();
  ASSERT_TRUE(db.skins.has("strip"));
  auto skin_entry = db.skins.find("strip");
  const twi::SceneSkin& skin = skin_entry.value();
  EXPECT_FLOAT_EQ(0.1f, skin.bind_matrix[14]) << "the mesh's transform at z = 10 cm";
  EXPECT_FLOAT_EQ(1.0f, skin.bind_matrix[0]);
  ASSERT_EQ(3u, skin.joints.size());
  const char* names[] = {"j0", "j1", "j2"};
  for (uint32_t j = 0; j < 3; ++j) {
    EXPECT_STREQ(names[j], skin.joints[j].name.c_str());
    EXPECT_FLOAT_EQ(-1.0f * float(j), skin.joints[j].inv_bind_matrix[12]) << "joint " << j << " at x = " << j << " m";
    EXPECT_FLOAT_EQ(1.0f, skin.joints[j].inv_bind_matrix[15]);
  }
}

TEST_F(SkinExport, TheLargestKeptCountChoosesTheChannelType) {
  // Eight joints, but no vertex with more than two non-zero weights.
  std::vector<std::vector<double>> w = weights_for(6, 8, {{0, 0, 0, 0, 0, 0, 0.5, 0.5}, {0, 0.9, 0, 0, 0, 0, 0, 0}});
  skinned_strip(2, 8, w);
  auto g_entry = exported().geometries.find("strip");
  const SceneGeometry& g = g_entry.value();
  const GeometryStream& weights = g.streams[5];
  const GeometryStream& joints = g.streams[6];
  EXPECT_EQ(twi::CT_FLOAT2, weights.channels[0].type);
  EXPECT_EQ(8u, weights.stride);
  EXPECT_EQ(twi::CT_FLOAT2, joints.channels[0].type);
  EXPECT_EQ(8u, joints.stride);
  // Vertex 0: joints 6 and 7; vertex 1: one weight of 0.9, kept as it is, padded with 0.
  EXPECT_EQ((std::vector<float>{0.5f, 0.5f, 0.9f, 0.0f}), std::vector<float>(floats(weights), floats(weights) + 4));
  EXPECT_EQ((std::vector<float>{6.0f, 7.0f, 1.0f, 0.0f}), std::vector<float>(floats(joints), floats(joints) + 4));
}

TEST_F(SkinExport, OneWeightOnTheThirdJointInASkinOfThree) {
  std::vector<std::vector<double>> w = weights_for(4, 3, {{0, 0, 1}, {0.2, 0.3, 0.5}});
  skinned_strip(1, 3, w);
  auto g_entry = exported().geometries.find("strip");
  const SceneGeometry& g = g_entry.value();
  EXPECT_EQ(twi::CT_FLOAT3, g.streams[5].channels[0].type);
  EXPECT_EQ(12u, g.streams[5].stride);
  const float* weights = floats(g.streams[5]);
  const float* joints = floats(g.streams[6]);
  EXPECT_EQ((std::vector<float>{2.0f, 0.0f, 0.0f}), std::vector<float>(joints, joints + 3));
  EXPECT_EQ((std::vector<float>{1.0f, 0.0f, 0.0f}), std::vector<float>(weights, weights + 3));
  EXPECT_EQ((std::vector<float>{0.0f, 1.0f, 2.0f}), std::vector<float>(joints + 3, joints + 6));
  EXPECT_FLOAT_EQ(0.3f, weights[4]);
}

TEST_F(SkinExport, FiveWeightsOnAVertexFailTheMeshNamingTheWorstVertex) {
  // Vertex 1 has five influences, vertex 2 six: the six are named.
  skinned_strip(1, 6,
                weights_for(4, 6, {{1, 0, 0, 0, 0, 0}, {0.2, 0.2, 0.2, 0.2, 0.2, 0}, {0.5, 0.1, 0.1, 0.1, 0.1, 0.1}}));
  EXPECT_EQ("Exporter does not support skins with more than four influencing bones per vertex.\n"
            "Vertex 2 of |strip|stripShape has 6 influences: j0 0.5, j1 0.1, j2 0.1, j3 0.1, j4 0.1, j5 0.1. Prune "
            "the skin to four influences in Maya (Skin > Prune Weights, or the skin cluster's Max Influences), or "
            "export with max_influences=4 to keep each vertex's four largest weights.\n"
            "Failed exporting skin\nFailed exporting node.\n",
            failed_export());
}

// With max_influences=N (translator option), each vertex keeps its N
// largest weights, scaled to sum 1, and the export says how many changed.
TEST_F(SkinExport, AnInfluenceLimitKeepsTheLargestWeightsRenormalised) {
  skinned_strip(1, 6,
                weights_for(4, 6, {{0.05, 0.3, 0.05, 0.3, 0.2, 0.1}, {0.6, 0.4, 0, 0, 0, 0}, {0.25, 0.25, 0.25, 0.25, 0, 0}}));
  auto run = [&](const char* options) {
    host.clear_script_editor();
    EXPECT_EQ(MS::kSuccess,
              host.export_file("TarnwickIntermediate", out(), options, MPxFileTranslator::kExportAccessMode)
                  .statusCode())
        << host.script_editor_text();
    _database.reset(new SceneDatabase(foundation::memory_globals::default_allocator()));
    read(out(), *_database);
    return &_database->geometries.find("strip").value();
  };
  const SceneGeometry* g = run("max_influences=4");
  const float* weights = floats(g->streams[5]);
  const float* joints = floats(g->streams[6]);
  EXPECT_EQ(twi::CT_FLOAT4, g->streams[5].channels[0].type);
  // Vertex 0: 0.3, 0.3, 0.2, 0.1 kept (0.9), in influence order, over 0.9.
  EXPECT_EQ((std::vector<float>{1, 3, 4, 5}), std::vector<float>(joints, joints + 4));
  EXPECT_NEAR(0.3 / 0.9, weights[0], 1e-6);
  EXPECT_NEAR(0.1 / 0.9, weights[3], 1e-6);
  // Vertex 2 has four: unchanged.
  EXPECT_EQ((std::vector<float>{0.25f, 0.25f, 0.25f, 0.25f}), std::vector<float>(weights + 8, weights + 12));
  EXPECT_NE(std::string::npos,
            host.script_editor_text().find("1 vertices had more than 4 influences: each kept its 4 largest weights"))
      << host.script_editor_text();
  // Two: vertices 0 and 2 change; equal weights keep the earlier joints.
  g = run("max_influences=2");
  weights = floats(g->streams[5]);
  joints = floats(g->streams[6]);
  EXPECT_EQ(twi::CT_FLOAT2, g->streams[5].channels[0].type);
  EXPECT_EQ((std::vector<float>{1, 3, 0, 1, 0, 1}), std::vector<float>(joints, joints + 6));
  EXPECT_EQ((std::vector<float>{0.5f, 0.5f, 0.6f, 0.4f, 0.5f, 0.5f}), std::vector<float>(weights, weights + 6));
  EXPECT_NE(std::string::npos, host.script_editor_text().find("2 vertices had more than 2 influences"));
  // An unusable value leaves the refusal.
  host.clear_script_editor();
  EXPECT_EQ(MS::kFailure,
            host.export_file("TarnwickIntermediate", out(), "max_influences=9", MPxFileTranslator::kExportAccessMode)
                .statusCode());
}

TEST_F(SkinExport, SkinFailuresNameTheirReason) {
  struct Case {
    const char* failing_call;
    const char* message;
    unsigned after;
  } cases[] = {
      // The search for the mesh's skin cluster makes the first one.
      {"MFnSkinCluster::MFnSkinCluster", "Failed constructing MFnSkinCluster from MObject\n", 1},
      {"MFnSkinCluster::influenceObjects", "Failed getting influence objects from skin cluster\n", 0},
      {"MFnDependencyNode::findPlug geomMatrix", "Failed looking up geomMatrix plug from skin cluster\n", 0},
      {"MFnDependencyNode::findPlug bindPreMatrix", "Failed looking up bindPreMatrix plug\n", 0},
      {"MFnSkinCluster::indexForInfluenceObject", "Failed looking up indexForInfleunceObject\n", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.failing_call);
    new_scene();
    set_playback_range(1, 1);
    skinned_strip(1, 2, weights_for(4, 2, {}));
    fail_call(c.failing_call, c.after);
    EXPECT_EQ(std::string(c.message) + "Failed exporting skin\nFailed exporting node.\n", failed_export());
  }

  new_scene();
  set_playback_range(1, 1);
  skinned_strip(1, 2, std::vector<std::vector<double>>(4, std::vector<double>{0, 0}));
  EXPECT_EQ("Skin has no vertex with a positive weight.\nFailed exporting skin\nFailed exporting node.\n",
            failed_export());
}

// UVs edited on the deformed shape after binding: the shape's UV ids reach
// past what the input shape holds. The mesh fails naming both shapes (read
// literally, the ids would index the input's arrays, wrongly or past the end).
TEST_F(SkinExport, ShapesThatDisagreeAfterBindingFailNamingBoth) {
  MObject body = skinned_strip(2, 2, weights_for(6, 2, {}));
  UvSetDesc edited;
  edited.name = "map1";
  for (int i = 0; i < 12; ++i) {
    edited.u.push_back(float(i) / 12.0f);
    edited.v.push_back(0.5f);
  }
  edited.ids = {0, 2, 4, 6, 8, 10, 11, 9}; // two quads, every corner its own UV
  set_uv_set(find("stripShape"), edited);
  EXPECT_EQ("Skinned mesh stripShape and its skin cluster's input shape stripShapeOrig disagree: the mesh has 8 "
            "tangents, the input 6; 12 UVs in map1, the input 6. Edits made after binding the skin (UVs, colours) must be made on the input "
            "shape, or the skin bound again.\nFailed exporting node.\n",
            failed_export());
  // The same edit on the input shape too: they agree again.
  set_uv_set(find("stripShapeOrig"), edited);
  EXPECT_EQ(12u, exported().geometries.find("strip").value().streams[4].size);
  (void)body;
}

// Exporting a skinned mesh without its joints (only the mesh selected): the
// skin names joints the document lacks, and the log says so.
TEST_F(SkinExport, ASkinWhoseJointsAreNotExportedIsReported) {
  skinned_strip(2, 2, weights_for(6, 2, {}));
  select({find("strip")});
  SceneDatabase& db = exported("-s");
  EXPECT_FALSE(db.nodes.has("j0"));
  ASSERT_TRUE(db.skins.has("strip"));
  std::string log;
  for (const std::string& line : info_lines(host))
    log += line;
  EXPECT_NE(std::string::npos, log.find("Warning: skin strip uses joints that are not exported: j0, j1. The document "
                                        "names them but holds no nodes for them.\n"))
      << log;
  // With the joints selected too, no warning.
  host.clear_script_editor();
  select({find("strip"), find("j0"), find("j1")});
  exported("-s");
  log.clear();
  for (const std::string& line : info_lines(host))
    log += line;
  EXPECT_EQ(std::string::npos, log.find("Warning: skin")) << log;
}
