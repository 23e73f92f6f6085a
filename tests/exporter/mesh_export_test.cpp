// Meshes, materials and skins exported through the plug-in module and read
// back: streams and their order, index lists, the slot rule, material
// groups, failures with their messages, and skins.
#include "../mayasim/api_helpers.h"
#include "plugin/plugin_fixture.h"

#include <maya/MDagPath.h>
#include <maya/MItMeshPolygon.h>
#include <maya/MIntArray.h>
#include <maya/MPointArray.h>

#include <math.h>
#include <unistd.h>

using namespace mayasim::builder;
using test::floats;
using test::info_lines;
using twi::GeometryStream;
using twi::SceneDatabase;
using twi::SceneGeometry;

namespace {

class MeshExport : public test::PluginTest {
protected:
  void SetUp() override {
    test::PluginTest::SetUp();
    set_playback_range(1, 1); // no animation in these scenes
  }
  const SceneGeometry& geometry(const SceneDatabase& db, const char* name) {
    EXPECT_TRUE(db.geometries.has(name)) << name;
    return db.geometries.find(name).value();
  }
};

// "POSITION", "TEXCOORD1", ... for each stream.
std::vector<std::string> stream_names(const SceneGeometry& g) {
  std::vector<std::string> names;
  for (uint32_t i = 0; i < g.streams.size(); ++i) {
    const twi::StreamChannel& c = g.streams[i].channels[0];
    names.push_back(std::string(c.name.c_str()) + (c.index ? std::to_string(c.index) : ""));
  }
  return names;
}


std::vector<uint32_t> list(const SceneGeometry& g, uint32_t s) {
  const foundation::Vector<uint32_t>& l = g.indices.streams[s];
  return std::vector<uint32_t>(l.data(), l.data() + l.size());
}

MeshDesc quad_mesh() {
  MeshDesc d;
  d.points = {MPoint(0, 0, 0), MPoint(1, 0, 0), MPoint(1, 1, 0), MPoint(0, 1, 0)};
  d.polygons = {{0, 1, 2, 3}};
  d.tangents = false;
  return d;
}

} // namespace

TEST_F(MeshExport, AQuadGivesTwoTrianglesInMayasOrder) {
  MObject t = transform("quad");
  mesh(t, "quadShape", quad_mesh());
  // Maya's own triangulation of the face, as the exporter must copy it.
  std::vector<uint32_t> expected;
  for (MItMeshPolygon it(path_to(t)); !it.isDone(); it.next()) {
    MPointArray points;
    MIntArray ids;
    it.getTriangles(points, ids);
    for (unsigned i = 0; i < ids.length(); ++i)
      expected.push_back(uint32_t(ids[i]));
  }
  ASSERT_EQ(6u, expected.size());

  SceneDatabase& db = exported();
  const SceneGeometry& g = geometry(db, "quad");
  EXPECT_EQ((std::vector<std::string>{"POSITION", "NORMAL"}), stream_names(g));
  EXPECT_EQ(6u, g.indices.size);
  EXPECT_EQ(expected, list(g, 0));
  ASSERT_EQ(1u, g.materials.size());
  EXPECT_STREQ("lambert1", g.materials[0].name.c_str());
  EXPECT_EQ(2u, g.materials[0].primitives.size());
  EXPECT_EQ(0u, g.smoothing.size());
  // The node names its geometry once.
  ASSERT_EQ(1u, db.nodes.find("quad").value().geometries.size());
  EXPECT_STREQ("quad", db.nodes.find("quad").value().geometries[0].c_str());
  // The progress outline, in order.
  std::vector<std::string> lines = info_lines(host);
  // (The quad has no UVs: Maya's empty map1 brings a warning.)
  std::vector<std::string> expected_lines = {
      "Exporting Node: quad\n", " - Mesh\n", "  - Geometry\n",
      "Warning: mesh quad has no UVs in set map1: no texture coordinates are exported for it.\n  - Topology\n",
      "  - Materials\n"};
  EXPECT_EQ(expected_lines, std::vector<std::string>(lines.begin(), lines.begin() + 5));
}

TEST_F(MeshExport, TenQuadsFillEveryListWithSixtyEntries) {
  mesh(transform("strip"), "stripShape", grid(10, 1));
  const SceneGeometry& g = geometry(exported(), "strip");
  EXPECT_EQ((std::vector<std::string>{"POSITION", "NORMAL", "BINORMAL", "TANGENT", "TEXCOORD"}), stream_names(g));
  EXPECT_EQ(60u, g.indices.size);
  ASSERT_EQ(g.streams.size(), g.indices.streams.size());
  for (uint32_t s = 0; s < g.indices.streams.size(); ++s)
    EXPECT_EQ(60u, g.indices.streams[s].size()) << "list " << s;
  // Binormal and tangent lists hold the same tangent indices.
  EXPECT_EQ(list(g, 2), list(g, 3));
}

TEST_F(MeshExport, AHardCubeIndexesItsTwentyFourNormals) {
  mesh(transform("box"), "boxShape", cube(2, Normals::Hard));
  const SceneGeometry& g = geometry(exported(), "box");
  ASSERT_EQ(24u, g.streams[1].size);
  const float* p = floats(g.streams[0]);
  const float* n = floats(g.streams[1]);
  std::vector<uint32_t> positions = list(g, 0), normals = list(g, 1);
  ASSERT_EQ(36u, normals.size());
  for (size_t t = 0; t < 12; ++t) {
    // The triangle's own normal, from its positions in their winding.
    const float* a = p + 3 * positions[3 * t];
    const float* b = p + 3 * positions[3 * t + 1];
    const float* c = p + 3 * positions[3 * t + 2];
    float e1[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, e2[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    float face[3] = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2], e1[0] * e2[1] - e1[1] * e2[0]};
    float length = sqrtf(face[0] * face[0] + face[1] * face[1] + face[2] * face[2]);
    for (size_t corner = 0; corner < 3; ++corner) {
      const float* m = n + 3 * normals[3 * t + corner];
      EXPECT_NEAR(1.0f, (m[0] * face[0] + m[1] * face[1] + m[2] * face[2]) / length, 1e-5f)
          << "triangle " << t << " corner " << corner;
    }
  }
}

TEST_F(MeshExport, PositionsInMetresNormalsUnscaled) {
  MeshDesc d = quad_mesh();
  for (MPoint& p : d.points)
    p = MPoint(p.x * 100 + 50, p.y * 100, 0);
  mesh(transform("wall"), "wallShape", d);
  const SceneGeometry& g = geometry(exported(), "wall");
  const float* p = floats(g.streams[0]);
  EXPECT_FLOAT_EQ(0.5f, p[0]);
  EXPECT_FLOAT_EQ(1.5f, p[3]);
  EXPECT_FLOAT_EQ(1.0f, p[7]);
  const float* n = floats(g.streams[1]);
  EXPECT_FLOAT_EQ(1.0f, n[2]) << "a unit normal stays a unit normal";
}

TEST_F(MeshExport, ThreeUvSetsComeLastWithTheirPositionsAsIndices) {
  MeshDesc d = grid(2, 1);
  UvSetDesc second = d.uv_sets[0], third = d.uv_sets[0];
  second.name = "lightmap";
  third.name = "detail";
  third.u.resize(3); // u and v of different lengths: the shorter wins
  third.ids = {0, 1, 2, 0, 1, 2, 0, 1};
  d.uv_sets.push_back(second);
  d.uv_sets.push_back(third);
  mesh(transform("plane"), "planeShape", d);
  const SceneGeometry& g = geometry(exported(), "plane");
  EXPECT_EQ((std::vector<std::string>{"POSITION", "NORMAL", "BINORMAL", "TANGENT", "TEXCOORD", "TEXCOORD1",
                                      "TEXCOORD2"}),
            stream_names(g));
  EXPECT_EQ(6u, g.streams[4].size);
  EXPECT_EQ(3u, g.streams[6].size);
  EXPECT_EQ(twi::CT_FLOAT2, g.streams[6].channels[0].type);
  EXPECT_EQ(8u, g.streams[6].stride);
  // v is as Maya gives it, not flipped.
  EXPECT_FLOAT_EQ(d.uv_sets[0].v[4], floats(g.streams[4])[9]);
}

TEST_F(MeshExport, ColourSetsWithAndWithoutAlpha) {
  MeshDesc d = quad_mesh();
  ColorSetDesc rgba{"rgba", ColorKind::RGBA, {MColor(1, 0, 0, 0.5f), MColor(0, 1, 0, 0.25f)}, {0, 1, -1, 1}};
  ColorSetDesc rgb{"rgb", ColorKind::RGB, {MColor(0, 0, 1)}, {}};
  d.color_sets = {rgba, rgb};
  mesh(transform("alpha_first"), "s1", d);
  d.color_sets = {rgb, rgba};
  mesh(transform("rgb_first"), "s2", d);
  SceneDatabase& db = exported();

  const SceneGeometry& a = geometry(db, "alpha_first");
  EXPECT_EQ((std::vector<std::string>{"POSITION", "NORMAL", "COLOR", "ALPHA"}), stream_names(a))
      << "one colour set only, the first";
  EXPECT_EQ(2u, a.streams[2].size);
  EXPECT_EQ(2u, a.streams[3].size);
  EXPECT_FLOAT_EQ(0.25f, floats(a.streams[3])[1]);
  // The corner without colour (vertex 2) uses index 0 in both lists.
  std::vector<uint32_t> colors = list(a, 2);
  EXPECT_EQ(colors, list(a, 3));
  std::vector<uint32_t> positions = list(a, 0);
  for (size_t i = 0; i < positions.size(); ++i)
    EXPECT_EQ(positions[i] == 2 ? 0u : positions[i] == 3 ? 1u : positions[i], colors[i]) << i;

  const SceneGeometry& b = geometry(db, "rgb_first");
  EXPECT_EQ((std::vector<std::string>{"POSITION", "NORMAL", "COLOR"}), stream_names(b));
  EXPECT_EQ(1u, b.streams[2].size);
}

// An alpha-only first colour set makes an ALPHA stream indexed in its own
// list; nothing shifts (a literal reading would put the alpha triple in the
// TEXCOORD slot and fail the mesh with a message about UVs).
TEST_F(MeshExport, AnAlphaOnlySetGetsItsOwnStreamAndList) {
  MeshDesc d = grid(1, 1);
  d.tangents = false;
  d.color_sets = {ColorSetDesc{"mask", ColorKind::Alpha, {MColor(0, 0, 0, 1), MColor(0, 0, 0, 0.25f)}, {}}};
  mesh(transform("masked"), "maskedShape", d);
  const SceneGeometry& g = geometry(exported(), "masked");
  EXPECT_EQ((std::vector<std::string>{"POSITION", "NORMAL", "ALPHA", "TEXCOORD"}), stream_names(g));
  ASSERT_EQ(4u, g.indices.streams.size());
  EXPECT_EQ(twi::CT_FLOAT1, g.streams[2].channels[0].type);
  EXPECT_EQ(0.25f, floats(g.streams[2])[1]);
  // Corners 0 and 1 have alpha ids 0 and 1; the uncoloured corners take 0.
  EXPECT_EQ(list(g, 0), list(g, 3)) << "the UVs follow the vertices, in their own list";
  for (uint32_t i = 0; i < g.indices.size; ++i)
    EXPECT_EQ(list(g, 0)[i] == 1 ? 1u : 0u, list(g, 2)[i]);
}

// A mesh that was never mapped has Maya's empty map1: no TEXCOORD stream,
// one warning naming the mesh and the set, and the mesh exports (a literal
// reading fails it with "Index out of range for uv-channel: map1!").
TEST_F(MeshExport, AMeshWithoutUvsExportsWithAWarning) {
  mesh(transform("plain"), "plainShape", quad_mesh());
  const SceneGeometry& g = geometry(exported(), "plain");
  EXPECT_EQ((std::vector<std::string>{"POSITION", "NORMAL"}), stream_names(g));
  EXPECT_EQ(2u, g.indices.streams.size());
  std::string log;
  for (const std::string& line : info_lines(host))
    log += line;
  EXPECT_NE(std::string::npos, log.find("Warning: mesh plain has no UVs in set map1: no texture coordinates are "
                                        "exported for it.\n"))
      << log;
}

TEST_F(MeshExport, UnmappedCornersUseUvZeroWithOneWarning) {
  MeshDesc d = grid(3, 1);
  d.uv_sets[0].ids = {0, 4, 5, 1}; // only the first quad is mapped
  mesh(transform("patchy"), "patchyShape", d);
  const SceneGeometry& g = geometry(exported(), "patchy");
  std::vector<uint32_t> uvs = list(g, 4);
  ASSERT_EQ(18u, uvs.size());
  for (size_t i = 6; i < uvs.size(); ++i)
    EXPECT_EQ(0u, uvs[i]);
  int warnings = 0;
  for (const std::string& line : info_lines(host))
    if (line.find("lacking uv-mapping") != std::string::npos) {
      ++warnings;
      EXPECT_EQ("Mesh is lacking uv-mapping for some polygons! Forcing uv-index to 0.\n  - Materials\n", line);
    }
  EXPECT_EQ(1, warnings);
}

TEST_F(MeshExport, MaterialGroupsFollowTheShadingGroups) {
  MObject t = transform("box");
  mesh(t, "boxShape", cube(1));
  Material red = material("red");
  Material unused = material("unused");
  assign(t, red.shading_group, {1, 4});
  connect_shading_group(t, unused.shading_group);
  const SceneGeometry& g = geometry(exported(), "box");
  ASSERT_EQ(3u, g.materials.size());
  EXPECT_STREQ("lambert1", g.materials[0].name.c_str());
  EXPECT_STREQ("red", g.materials[1].name.c_str());
  EXPECT_STREQ("unused", g.materials[2].name.c_str());
  EXPECT_EQ(0u, g.materials[2].primitives.size()) << "a group no polygon uses stays, empty";
  const foundation::Vector<uint32_t>& reds = g.materials[1].primitives;
  ASSERT_EQ(4u, reds.size());
  EXPECT_EQ((std::vector<uint32_t>{2, 3, 8, 9}), std::vector<uint32_t>(reds.data(), reds.data() + 4))
      << "ascending: by polygon, then by triangle";
  EXPECT_EQ(8u, g.materials[0].primitives.size());
}

// A shape instanced under two transforms has its own shading per instance;
// each transform's geometry takes its instance's materials, read through the
// shape's path (the transforms' own paths are both instance 0).
TEST_F(MeshExport, EachInstanceOfAShapeKeepsItsOwnMaterials) {
  MObject left = transform("left");
  MObject right = transform("right", MObject(), {300, 0, 0});
  MObject shape = mesh(left, "crateShape", cube(1));
  instance(shape, right);
  assign(shape, material("wood").shading_group, {}, 0);
  assign(shape, material("steel").shading_group, {}, 1);
  SceneDatabase& db = exported();
  ASSERT_EQ(1u, geometry(db, "left").materials.size());
  EXPECT_STREQ("wood", geometry(db, "left").materials[0].name.c_str());
  ASSERT_EQ(1u, geometry(db, "right").materials.size());
  EXPECT_STREQ("steel", geometry(db, "right").materials[0].name.c_str());
}

TEST_F(MeshExport, MeshFailuresNameTheirReason) {
  struct Case {
    const char* failing_call;
    const char* message;
  } cases[] = {
      {"MFnMesh::getPoints", "Failed retrieving points.\n"},
      {"MFnMesh::getNormals", "Failed retrieving normals.\n"},
      {"MItMeshPolygon::numTriangles", "Failed extracting numTriangles from polygon\n"},
      {"MItMeshPolygon::getColorIndex", "Mesh has broken color indices!\n"},
      {"MItMeshPolygon::getUVIndex", "polygon.getUVIndex() Failed for uv-set: map1!\n"},
      {"MFnMesh::getConnectedShaders", "Failed retrieving material mapping\n"},
      {"MFnDependencyNode::findPlug surfaceShader", "Failed retrieving surface shader\n"},
      {"MPlug::connectedTo", "Failed querying connected materials from shader\n"},
      {"attach lambert1", "Unable to construct dependency node from material.\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.failing_call);
    new_scene();
    set_playback_range(1, 1);
    MeshDesc d = grid(1, 1);
    d.color_sets = {ColorSetDesc{"paint", ColorKind::RGB, {MColor(1, 1, 1)}, {}}};
    mesh(transform("broken"), "brokenShape", d);
    fail_call(c.failing_call);
    host.clear_script_editor();
    EXPECT_EQ(std::string(c.message) + "Failed exporting node.\n", failed_export());
    EXPECT_FALSE(access(out().c_str(), F_OK) == 0) << "nothing written";
  }
}

TEST_F(MeshExport, BrokenShadingAndTriangulationDropTheMesh) {
  MObject t = transform("box");
  mesh(t, "boxShape", cube(1));
  assign(t, empty_shading_group("bareSG"), {0});
  EXPECT_EQ("Number of materials in shader not equal to one\nFailed exporting node.\n", failed_export());

  new_scene();
  set_playback_range(1, 1);
  // As in Maya, a mesh without shading has one entry per polygon, all -1:
  // it exports with no material groups. Only a mesh without polygons has an
  // empty per-polygon list.
  remove_shading(mesh(transform("bare"), "bareShape", quad_mesh()));
  EXPECT_EQ(0u, exported().geometries.find("bare").value().materials.size());
  new_scene();
  set_playback_range(1, 1);
  MeshDesc points_only = quad_mesh();
  points_only.polygons.clear();
  mesh(transform("cloud"), "cloudShape", points_only);
  EXPECT_EQ("No materials assigned to mesh\nFailed exporting node.\n", failed_export());

  new_scene();
  set_playback_range(1, 1);
  MeshDesc flat = quad_mesh();
  flat.points = {MPoint(0, 0, 0), MPoint(1, 0, 0), MPoint(2, 0, 0), MPoint(3, 0, 0)};
  mesh(transform("flat"), "flatShape", flat);
  EXPECT_EQ("Polygon does not have valid triangulation!\nFailed exporting node.\n", failed_export());
}
