// Scenes Maya saved, loaded into mayasim and exported through the plug-in:
// every file of the shared collection loads; those whose meshes mayasim can
// evaluate export and pass `twi check`; the others fail saying why. Numbers
// are compared with what the files hold: face counts of stored meshes,
// joints, weights, keys, playback ranges.
#include "plugin/plugin_fixture.h"

#include "mayasim/maya_ascii.h"

#include <maya/MDagPath.h>

#include <fstream>
#include <math.h>
#include <sstream>

using test::floats;
using test::info_lines;
using twi::SceneDatabase;
using twi::SceneGeometry;

namespace {

std::string corpus(const char* name) { return std::string(TW_SHARED_TESTDATA) + "/maya-ascii/" + name; }

std::string file_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// Triangles of a mesh the file stores, counted from its text: each "f N"
// of its faces makes N - 2.
size_t stored_triangles(const std::string& text, const std::string& shape) {
  size_t at = text.find("createNode mesh -n \"" + shape + "\"");
  if (at == std::string::npos)
    return 0;
  size_t end = text.find("\ncreateNode ", at + 1);
  std::istringstream words(text.substr(at, end - at));
  std::string w;
  size_t triangles = 0;
  while (words >> w)
    if (w == "f") {
      size_t n = 0;
      words >> n;
      triangles += n - 2;
    }
  return triangles;
}

struct CorpusFile {
  const char* name;
  size_t warnings;      // warnings the load gives
  const char* failure;  // null: the scene exports; else a line the failed export shows
};

const CorpusFile CORPUS[] = {
    {"m2g_AnimatedCubeChildSphere1.ma", 0, nullptr},
    {"m2g_CubePivotTest1.ma", 0, nullptr},
    {"m2g_CubeWithoutUVs.ma", 0, nullptr},
    {"m2g_FiveJointsFourInfluencesAnim.ma", 0, nullptr},
    {"m2g_InstancedCube1.ma", 0, nullptr},
    {"m2g_SegmentScaleCompensationTestAnim1.ma", 0, nullptr},
    {"m2g_SimpleCube1.ma", 0, nullptr},
    {"m2g_SingleJointCubeAnim.ma", 0, nullptr},
    {"m2g_StepScalingTest.ma", 0, nullptr},
    {"mayausd_MultiMaterialTest.ma", 0, nullptr},
    // An instanced transform puts pCube2 in the DAG twice: the exporter
    // refuses a second node of one name, as it does in Maya.
    {"mayausd_UsdExportInstancesTest.ma", 0, "A node with name: pCube2 already found."},
    {"mayausd_UsdExportMeshTest.ma", 0, nullptr},
    {"mayausd_UsdExportSkeleton.ma", 0, nullptr},
    {"mayausd_UsdExportSkeletonWithIdentityBindPose.ma", 0, nullptr},
    // Keys with auto ease tangents, evaluated as auto: one warning per curve
    // with more than one key.
    {"mayausd_anim_connected.ma", 7, nullptr},
};

class MayaAsciiExport : public test::PluginTest {
protected:
  void SetUp() override {
    if (std::string(TW_SHARED_TESTDATA).empty())
      GTEST_SKIP() << "no shared test data";
    test::PluginTest::SetUp();
  }

  void load(const char* name) {
    ASSERT_TRUE(mayasim::load_maya_ascii(corpus(name), result)) << result.error;
  }

  mayasim::MayaAsciiResult result;
};

const SceneGeometry& geometry(SceneDatabase& db, const char* node) {
  auto it = db.geometries.find(node);
  if (it == db.geometries.end())
    throw std::runtime_error(std::string("no geometry for ") + node);
  return it.value();
}

size_t triangles(const SceneGeometry& g) { return g.indices.size / 3; }

} // namespace

TEST_F(MayaAsciiExport, EveryFileLoadsAndExportsOrSaysWhyNot) {
  for (const CorpusFile& f : CORPUS) {
    SCOPED_TRACE(f.name);
    mayasim::MayaAsciiResult r;
    ASSERT_TRUE(mayasim::load_maya_ascii(corpus(f.name), r)) << r.error;
    EXPECT_EQ(f.warnings, r.warnings.size()) << (r.warnings.empty() ? "" : r.warnings[0]);
    EXPECT_GT(r.nodes, 10u);
    host.clear_script_editor();
    if (!f.failure) {
      exported(); // succeeds and passes twi check
      continue;
    }
    EXPECT_EQ(MS::kFailure, export_command("", out()).statusCode());
    std::vector<std::string> lines = info_lines(host);
    bool said = false;
    for (const std::string& l : lines)
      said = said || l.find(f.failure) != std::string::npos;
    EXPECT_TRUE(said) << host.script_editor_text();
  }
}

TEST_F(MayaAsciiExport, TheInstancedScenesNamespacedPartExportsWhenSelected) {
  load("mayausd_UsdExportInstancesTest.ma");
  mayasim::builder::select({mayasim::builder::find("ns:group1"), mayasim::builder::find("ns:group2")});
  SceneDatabase& db = exported("-s");
  EXPECT_EQ(2u, db.roots.size());
  EXPECT_NE(db.nodes.end(), db.nodes.find("ns:group1"));
  // The scene's file, as Maya gives it: a full path without "..".
  std::string source = db.source_path.c_str();
  EXPECT_EQ(std::string::npos, source.find("/../")) << source;
  EXPECT_NE(std::string::npos, source.find("/maya-ascii/mayausd_UsdExportInstancesTest.ma")) << source;
}

TEST_F(MayaAsciiExport, StoredMeshesKeepTheFacesTheFileHolds) {
  load("mayausd_UsdExportMeshTest.ma");
  std::string text = file_text(corpus("mayausd_UsdExportMeshTest.ma"));
  SceneDatabase& db = exported();
  const char* const stored[][2] = {{"poly", "polyShape"},           {"polyNoNormals", "polyNoNormalsShape"},
                                   {"subdiv", "subdivShape"},       {"TestNormalsMesh", "TestNormalsMeshShape"},
                                   {"creased", "creasedShape"}};
  for (const auto& s : stored) {
    size_t expected = stored_triangles(text, s[1]);
    ASSERT_GT(expected, 0u) << s[1];
    EXPECT_EQ(expected, triangles(geometry(db, s[0]))) << s[1];
  }
  EXPECT_EQ(12u, triangles(geometry(db, "unspecified"))) << "a polyCube: six quads";
  // Tweaks move the stored points: TestNormalsMesh's first point is
  // (-0.60149187, -0.51270145, 0.045243949) + (5765.2817, 641.37012,
  // -1464.6793) centimetres.
  const float* p = floats(geometry(db, "TestNormalsMesh").streams[0]);
  EXPECT_NEAR((5765.2817 - 0.60149187) / 100, p[0], 1e-4);
  EXPECT_NEAR((641.37012 - 0.51270145) / 100, p[1], 1e-4);
}

TEST_F(MayaAsciiExport, CreatorsAndPerFaceMaterials) {
  load("m2g_CubePivotTest1.ma");
  SceneDatabase& db = exported();
  EXPECT_EQ(12u, triangles(geometry(db, "pCube1")));
  EXPECT_EQ(760u, triangles(geometry(db, "pSphere1"))) << "20 x 18 quads and 40 triangles";
  const SceneGeometry& plane = geometry(db, "pPlane1");
  EXPECT_EQ(8u, triangles(plane)) << "2 x 2 quads";
  // f[0] and f[3] to lambert4SG, f[1:2] to lambert3SG, through groupParts.
  ASSERT_EQ(2u, plane.materials.size());
  for (uint32_t i = 0; i < 2; ++i) {
    std::string name = plane.materials[i].name.c_str();
    EXPECT_TRUE(name == "lambert3" || name == "lambert4") << name;
    EXPECT_EQ(4u, plane.materials[i].primitives.size()) << name;
  }
  // The sphere's transformGeometry scales it by a tenth and moves it by
  // (-0.5, -0.5, -0.5); the shape's tweaks move every point back by 0.5: its
  // points lie 0.1 cm from the origin.
  const SceneGeometry& sphere = geometry(db, "pSphere1");
  const float* p = floats(sphere.streams[0]);
  for (uint32_t i = 0; i < sphere.streams[0].size; ++i)
    EXPECT_NEAR(0.1, 100 * sqrt(p[3 * i] * p[3 * i] + p[3 * i + 1] * p[3 * i + 1] + p[3 * i + 2] * p[3 * i + 2]), 1e-5)
        << i;

  load("mayausd_MultiMaterialTest.ma");
  SceneDatabase& m = exported();
  const char* const materials[][2] = {
      {"pCube1", "standardSurface2"}, {"pCube2", "lambert2"}, {"pCube3", "usdPreviewSurface1"}};
  for (const auto& e : materials) {
    const SceneGeometry& g = geometry(m, e[0]);
    ASSERT_EQ(1u, g.materials.size()) << e[0];
    EXPECT_STREQ(e[1], g.materials[0].name.c_str());
  }
}

TEST_F(MayaAsciiExport, SkinsKeepTheirJointsAndWeights) {
  load("m2g_FiveJointsFourInfluencesAnim.ma");
  SceneDatabase& db = exported();
  const SceneGeometry& g = geometry(db, "pCube1");
  EXPECT_STREQ("pCube1", g.skin.c_str());
  auto skin = db.skins.find("pCube1");
  ASSERT_TRUE(skin != db.skins.end());
  EXPECT_EQ(5u, skin.value().joints.size());
  // The first point's four weights as the file gives them, in any order.
  const twi::GeometryStream* weights = nullptr;
  for (uint32_t s = 0; s < g.streams.size(); ++s)
    if (std::string(g.streams[s].channels[0].name.c_str()) == "BLENDWEIGHTS")
      weights = &g.streams[s];
  ASSERT_TRUE(weights);
  std::vector<float> first(floats(*weights), floats(*weights) + 4);
  std::sort(first.begin(), first.end());
  std::vector<float> expected = {0.0031739606339501398f, 0.011324378064340626f, 0.068227038090118319f,
                                 0.91727462321159092f};
  for (size_t i = 0; i < 4; ++i)
    EXPECT_NEAR(expected[i], first[i], 1e-6) << i;

  load("mayausd_UsdExportSkeletonWithIdentityBindPose.ma");
  SceneDatabase& one = exported();
  auto single = one.skins.find("pCube1");
  ASSERT_TRUE(single != one.skins.end());
  ASSERT_EQ(1u, single.value().joints.size());
  EXPECT_STREQ("joint1", single.value().joints[0].name.c_str());
  for (int i = 0; i < 16; ++i)
    EXPECT_FLOAT_EQ(i % 5 == 0 ? 1.0f : 0.0f, single.value().joints[0].inv_bind_matrix[i]) << "the identity, as saved";
}

TEST_F(MayaAsciiExport, AnimationFollowsTheFilesKeysAndPlaybackRange) {
  load("mayausd_UsdExportSkeleton.ma");
  SceneDatabase& db = exported();
  const twi::SceneAnimation* skel = nullptr;
  for (uint32_t i = 0; i < db.animations.size(); ++i)
    if (std::string(db.animations[i].node.c_str()) == "SkelChar")
      skel = &db.animations[i];
  ASSERT_TRUE(skel);
  // Playback 1 to 120 at 24 a second (119/24 s), sampled every 1/30 s up to
  // the first sample at or past its end: 150 samples, the last at 149/30 s.
  EXPECT_EQ(150u, skel->stream.size);
  EXPECT_NEAR(149.0 / 30, skel->times[skel->times.size() - 1], 1e-5);
  // Frame 1 is a key: translateX -8.4976140071971855 cm.
  const float* samples = floats(skel->stream);
  EXPECT_NEAR(-0.084976140071971855, samples[12], 1e-7);
  // Frames 1, 2, 3 are auto keys; after frame 3 the value holds (constant
  // infinity): the last sample's translateX is frame 3's.
  EXPECT_NEAR(-0.084976140071971855, samples[16 * (skel->stream.size - 1) + 12], 1e-7);
  // Frame 1.6 (sample 1, 1/30 s): frame 2 is an extreme, frame 1 an end,
  // both flat; the flat Hermite's value at 0.6 of the span.
  double u = (1.0 / 30) * 24;
  double s = 3 * u * u - 2 * u * u * u;
  EXPECT_NEAR((-8.4976140071971855 + s * (-13.180064874791341 + 8.4976140071971855)) / 100, samples[16 + 12], 1e-6);
}

// A deformer deleted in Maya can leave a transform whose only mesh is the
// intermediate ...Orig shape. That is not the transform's shape (it is
// hidden, and extendToShape does not reach it): the node exports as a plain
// transform.
TEST_F(MayaAsciiExport, ATransformWhoseOnlyMeshIsIntermediateExportsAsAPlainNode) {
  std::string text = R"(//Maya ASCII 2020 scene
requires maya "2020";
currentUnit -l centimeter -a degree -t film;
createNode transform -n "leftover";
	setAttr ".t" -type "double3" 0 3 0 ;
createNode mesh -n "leftoverShapeOrig" -p "leftover";
	setAttr -k off ".v";
	setAttr ".io" yes;
	setAttr -s 3 ".vt[0:2]"  0 0 0 1 0 0 0 1 0;
	setAttr -s 3 ".ed[0:2]"  0 1 0 1 2 0 2 0 0;
	setAttr -s 1 -ch 3 ".fc[0]" -type "polyFaces" f 3 0 1 2;
createNode transform -n "kept";
createNode mesh -n "keptShape" -p "kept";
	setAttr -s 3 ".vt[0:2]"  0 0 0 1 0 0 0 1 0;
	setAttr -s 3 ".ed[0:2]"  0 1 0 1 2 0 2 0 0;
	setAttr -s 1 -ch 3 ".fc[0]" -type "polyFaces" f 3 0 1 2;
connectAttr "keptShape.iog" ":initialShadingGroup.dsm" -na;
)";
  ASSERT_TRUE(mayasim::load_maya_ascii_text(text.data(), text.size(), "leftover.ma", result)) << result.error;
  MDagPath path;
  ASSERT_EQ(MS::kSuccess, MDagPath::getAPathTo(mayasim::builder::find("leftover"), path).statusCode());
  EXPECT_FALSE(path.hasFn(MFn::kMesh)) << "its only mesh is an intermediate object";
  EXPECT_NE(MS::kSuccess, path.extendToShape().statusCode());
  SceneDatabase& db = exported();
  auto node = db.nodes.find("leftover");
  ASSERT_NE(db.nodes.end(), node);
  EXPECT_EQ(0u, node.value().geometries.size());
  EXPECT_NEAR(0.03f, node.value().local[13], 1e-7) << "kept as a transform";
  EXPECT_EQ(db.geometries.end(), db.geometries.find("leftover"));
  EXPECT_NE(db.geometries.end(), db.geometries.find("kept"));
}
