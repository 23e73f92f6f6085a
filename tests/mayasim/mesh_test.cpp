// Meshes as the exporter reads them: the id tables of normals, tangents,
// UVs and colours, triangulation, and per-instance shading.
#include "api_helpers.h"
#include <maya/MDagPath.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MFnMesh.h>
#include <maya/MFloatVectorArray.h>
#include <maya/MStringArray.h>
#include <maya/MItMeshPolygon.h>
#include <maya/MPlug.h>
#include <maya/MPlugArray.h>

#include "mayasim/builder.h"

#include <gtest/gtest.h>

#include <math.h>
#include <set>

using namespace mayasim::builder;

namespace {

MDagPath path_to(const char* name) { return ::path_to(find(name)); }

// Twice the signed area of triangle abc in the XY plane.
double signed_area2(const MPoint& a, const MPoint& b, const MPoint& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

double polygon_area2(const std::vector<MPoint>& points, const std::vector<int>& polygon) {
  double sum = 0;
  for (size_t i = 0; i < polygon.size(); ++i) {
    const MPoint& a = points[size_t(polygon[i])];
    const MPoint& b = points[size_t(polygon[(i + 1) % polygon.size()])];
    sum += a.x * b.y - b.x * a.y;
  }
  return sum;
}

// Triangulates polygon 0 of a flat mesh in the XY plane and checks that the
// triangles keep its winding, use only its corners and cover its area.
void expect_triangulation(const std::vector<MPoint>& points, const std::vector<int>& polygon) {
  new_scene();
  MObject t = transform("flat");
  MeshDesc d;
  d.points = points;
  d.polygons = {polygon};
  d.tangents = false;
  mesh(t, "flatShape", d);

  MItMeshPolygon it(path_to("flat"));
  ASSERT_FALSE(it.isDone());
  EXPECT_TRUE(it.hasValidTriangulation());
  int count = 0;
  ASSERT_EQ(MS::kSuccess, it.numTriangles(count).statusCode());
  EXPECT_EQ(int(polygon.size()) - 2, count);
  double area = 0;
  for (int i = 0; i < count; ++i) {
    MPointArray corners;
    MIntArray ids;
    ASSERT_EQ(MS::kSuccess, it.getTriangle(i, corners, ids).statusCode());
    ASSERT_EQ(3u, ids.length());
    for (unsigned c = 0; c < 3; ++c) {
      EXPECT_NE(polygon.end(), std::find(polygon.begin(), polygon.end(), ids[c])) << "object-relative vertex ids";
      EXPECT_TRUE(corners[c] == points[size_t(ids[c])]);
    }
    double a = signed_area2(corners[0], corners[1], corners[2]);
    EXPECT_GT(a, 0) << "triangle " << i << " keeps the polygon's counter-clockwise winding";
    area += a;
  }
  EXPECT_NEAR(polygon_area2(points, polygon), area, 1e-9);
}

} // namespace

TEST(MayasimMesh, HardCubeHasOneNormalPerFaceVertex) {
  new_scene();
  mesh(transform("box"), "boxShape", cube(2, Normals::Hard));
  MFnMesh fn(path_to("box"));
  EXPECT_EQ(8, fn.numVertices());
  EXPECT_EQ(6, fn.numPolygons());
  EXPECT_EQ(24, fn.numFaceVertices());
  EXPECT_EQ(24, fn.numNormals());

  MFloatVectorArray normals;
  fn.getNormals(normals);
  MPointArray points;
  fn.getPoints(points);
  std::set<int> seen;
  for (int f = 0; f < 6; ++f) {
    MIntArray normal_ids, vertices;
    fn.getFaceNormalIds(f, normal_ids);
    fn.getPolygonVertices(f, vertices);
    ASSERT_EQ(4u, normal_ids.length());
    for (unsigned i = 0; i < 4; ++i) {
      EXPECT_TRUE(seen.insert(normal_ids[i]).second) << "normal ids are not shared between faces";
      // Hard normals point straight out of the face: one axis, +-1, along the corner's side.
      MFloatVector n = normals[unsigned(normal_ids[i])];
      EXPECT_NEAR(1.0, fabs(n.x) + fabs(n.y) + fabs(n.z), 1e-6);
      MPoint p = points[unsigned(vertices[i])];
      EXPECT_GT(n.x * p.x + n.y * p.y + n.z * p.z, 0.5) << "outward";
    }
  }
  // The default cube's map has 14 UVs, seams included.
  EXPECT_EQ(14, fn.numUVs());
  EXPECT_EQ(1, fn.numUVSets());
}

TEST(MayasimMesh, SmoothSphereSharesOneNormalPerVertex) {
  new_scene();
  const int segments = 8, rings = 6;
  mesh(transform("ball"), "ballShape", sphere(3, segments, rings));
  MFnMesh fn(path_to("ball"));
  int vertices = segments * (rings - 1) + 2;
  EXPECT_EQ(vertices, fn.numVertices());
  EXPECT_EQ(vertices, fn.numNormals());
  MFloatVectorArray normals;
  fn.getNormals(normals);
  MPointArray points;
  fn.getPoints(points);
  for (int f = 0; f < fn.numPolygons(); ++f) {
    MIntArray normal_ids, ids;
    fn.getFaceNormalIds(f, normal_ids);
    fn.getPolygonVertices(f, ids);
    ASSERT_EQ(ids.length(), normal_ids.length());
    for (unsigned i = 0; i < ids.length(); ++i)
      EXPECT_EQ(ids[i], normal_ids[i]) << "face " << f;
  }
  // A smooth normal of a sphere points along the vertex's radius.
  for (unsigned v = 0; v < points.length(); ++v) {
    MFloatVector n = normals[v];
    double r = sqrt(points[v].x * points[v].x + points[v].y * points[v].y + points[v].z * points[v].z);
    EXPECT_NEAR(1.0, (n.x * points[v].x + n.y * points[v].y + n.z * points[v].z) / r, 0.05) << "vertex " << v;
  }

  // Tangent frames: per face-vertex ids into tangents and binormals of one
  // length; with one UV and one normal per vertex, one frame per vertex.
  MFloatVectorArray tangents, binormals;
  fn.getTangents(tangents);
  fn.getBinormals(binormals);
  EXPECT_EQ(tangents.length(), binormals.length());
  EXPECT_EQ(unsigned(fn.numVertices()), tangents.length());
  MItMeshPolygon it(path_to("ball"));
  for (; !it.isDone(); it.next())
    for (unsigned i = 0; i < it.polygonVertexCount(); ++i)
      EXPECT_LT(it.tangentIndex(int(i)), tangents.length());
}

TEST(MayasimMesh, UvIdsAndUnmappedCorners) {
  new_scene();
  MeshDesc d = grid(2, 1);
  UvSetDesc partial;
  partial.name = "lightmap";
  partial.u = {0, 1, 1, 0};
  partial.v = {0, 0, 1, 1};
  partial.ids = {0, 1, 2, 3}; // the second quad is unmapped
  d.uv_sets.push_back(partial);
  mesh(transform("plane"), "planeShape", d);

  MFnMesh fn(path_to("plane"));
  MStringArray sets;
  fn.getUVSetNames(sets);
  ASSERT_EQ(2u, sets.length());
  EXPECT_STREQ("map1", sets[0].asChar());
  EXPECT_STREQ("lightmap", sets[1].asChar());
  MString current;
  fn.getCurrentUVSetName(current);
  EXPECT_STREQ("map1", current.asChar());
  EXPECT_EQ(4, fn.numUVs(MString("lightmap")));

  int id = -7;
  EXPECT_EQ(MS::kSuccess, fn.getPolygonUVid(0, 2, id, &sets[1]).statusCode());
  EXPECT_EQ(2, id);
  EXPECT_EQ(MS::kInvalidParameter, fn.getPolygonUVid(0, 4, id, &sets[1]).statusCode()) << "past the corners";
  EXPECT_EQ(MS::kInvalidParameter, fn.getPolygonUVid(1, 0, id, &sets[1]).statusCode());
  EXPECT_EQ(MS::kSuccess, fn.getPolygonUVid(1, 0, id).statusCode()) << "the current set maps every corner";

  MItMeshPolygon it(path_to("plane"));
  EXPECT_TRUE(it.hasUVs(sets[1]));
  EXPECT_EQ(MS::kSuccess, it.getUVIndex(3, id, &sets[1]).statusCode());
  EXPECT_EQ(3, id);
  it.next();
  EXPECT_EQ(MS::kInvalidParameter, it.getUVIndex(0, id, &sets[1]).statusCode());
  EXPECT_FALSE(it.hasUVs(sets[1])) << "no corner of the second quad is mapped";
  EXPECT_EQ(MS::kSuccess, it.getUVIndex(0, id, &sets[0]).statusCode());
}

TEST(MayasimMesh, ColourSetsKeepTheirRepresentationAndMissingIds) {
  new_scene();
  MeshDesc d = grid(1, 1);
  ColorSetDesc rgb{"paint", ColorKind::RGB, {MColor(1, 0, 0), MColor(0, 1, 0)}, {0, 1, -1, 1}};
  ColorSetDesc alpha{"mask", ColorKind::Alpha, {MColor(0, 0, 0, 0.25f)}, {}};
  d.color_sets = {rgb, alpha};
  mesh(transform("quad"), "quadShape", d);
  MFnMesh fn(path_to("quad"));

  MStringArray names;
  fn.getColorSetNames(names);
  ASSERT_EQ(2u, names.length());
  MString current;
  fn.getCurrentColorSetName(current);
  EXPECT_STREQ("paint", current.asChar());
  EXPECT_EQ(MFnMesh::kRGB, fn.getColorRepresentation(names[0]));
  EXPECT_TRUE(fn.hasColorChannels(names[0]));
  EXPECT_FALSE(fn.hasAlphaChannels(names[0]));
  EXPECT_EQ(MFnMesh::kAlpha, fn.getColorRepresentation(names[1]));
  EXPECT_FALSE(fn.hasColorChannels(names[1]));
  EXPECT_TRUE(fn.hasAlphaChannels(names[1]));
  EXPECT_EQ(2, fn.numColors(names[0]));

  int id = 0;
  ASSERT_EQ(MS::kSuccess, fn.getColorIndex(0, 2, id, &names[0]).statusCode());
  EXPECT_EQ(-1, id) << "a corner without a colour";
  MItMeshPolygon it(path_to("quad"));
  it.getColorIndex(1, id, &names[0]);
  EXPECT_EQ(1, id);
  it.getColorIndex(1, id, &names[1]);
  EXPECT_EQ(-1, id) << "the mask set only colours vertex 0";
  it.getColorIndex(0, id, &names[1]);
  EXPECT_EQ(0, id);
}

TEST(MayasimMesh, TriangulationOfConvexAndConcavePolygons) {
  // A concave quad (an arrowhead): the reflex corner is vertex 3.
  expect_triangulation({MPoint(0, 0, 0), MPoint(4, 0, 0), MPoint(2, 4, 0), MPoint(2, 1, 0)}, {0, 1, 2, 3});
  // The same arrowhead starting at its reflex corner.
  expect_triangulation({MPoint(0, 0, 0), MPoint(4, 0, 0), MPoint(2, 4, 0), MPoint(2, 1, 0)}, {3, 0, 1, 2});
  // A convex pentagon and a concave one (a house with a notch).
  expect_triangulation({MPoint(0, 0, 0), MPoint(2, 0, 0), MPoint(3, 2, 0), MPoint(1, 3, 0), MPoint(-1, 2, 0)},
                       {0, 1, 2, 3, 4});
  expect_triangulation({MPoint(0, 0, 0), MPoint(4, 0, 0), MPoint(4, 4, 0), MPoint(2, 1, 0), MPoint(0, 4, 0)},
                       {0, 1, 2, 3, 4});
}

namespace {

// The triangles of polygon 0 of a mesh of `points` and `polygon`, as vertex
// ids, three a triangle; *valid gets hasValidTriangulation.
std::vector<int> triangles_of(const std::vector<MPoint>& points, const std::vector<int>& polygon, bool* valid) {
  new_scene();
  MeshDesc d;
  d.points = points;
  d.polygons = {polygon};
  d.tangents = false;
  mesh(transform("p"), "pShape", d);
  MItMeshPolygon it(path_to("p"));
  *valid = it.hasValidTriangulation();
  MIntArray all;
  MPointArray corners;
  EXPECT_EQ(MS::kSuccess, it.getTriangles(corners, all).statusCode());
  int count = 0;
  it.numTriangles(count);
  EXPECT_EQ(int(all.length()), 3 * count);
  return std::vector<int>(&all[0], &all[0] + all.length());
}

} // namespace

// Maya splits a quad (0 1 2 3) into (0 1 3) and (3 1 2) whichever diagonal
// is shorter (the quads of the shared truth scenes, exported by Maya).
TEST(MayasimMesh, QuadsSplitAsMayaSplitsThem) {
  bool valid = false;
  // The diagonal 0-2 is the shorter here; Maya still takes 1-3.
  std::vector<MPoint> kite = {MPoint(0, 0, 0), MPoint(3, -1, 0), MPoint(4, 0, 0), MPoint(3, 1, 0)};
  EXPECT_EQ((std::vector<int>{0, 1, 3, 3, 1, 2}), triangles_of(kite, {0, 1, 2, 3}, &valid));
  EXPECT_TRUE(valid);
  EXPECT_EQ((std::vector<int>{2, 3, 1, 1, 3, 0}), triangles_of(kite, {2, 3, 0, 1}, &valid))
      << "by corner order, not by vertex id";
  // Reflex at corner 0: the diagonal 1-3 leaves the quad, 0-2 is taken.
  std::vector<MPoint> dart = {MPoint(2, 1, 0), MPoint(4, 0, 0), MPoint(2, 4, 0), MPoint(0, 0, 0)};
  std::vector<int> t = triangles_of(dart, {0, 1, 2, 3}, &valid);
  EXPECT_EQ((std::vector<int>{1, 2, 0, 0, 2, 3}), t) << "the strip from the next corner";
  // Larger convex polygons: the same alternating strip.
  std::vector<MPoint> hexagon;
  for (int i = 0; i < 6; ++i)
    hexagon.push_back(MPoint(cos(i * M_PI / 3), sin(i * M_PI / 3), 0));
  EXPECT_EQ((std::vector<int>{0, 1, 5, 5, 1, 2, 5, 2, 4, 4, 2, 3}), triangles_of(hexagon, {0, 1, 2, 3, 4, 5}, &valid));
}

TEST(MayasimMesh, EveryPolygonHasTrianglesAndDegenerateOnesAreReported) {
  bool valid = true;
  // Three points on a line: a triangle of no area, reported as invalid.
  std::vector<MPoint> line = {MPoint(0, 0, 0), MPoint(1, 0, 0), MPoint(2, 0, 0), MPoint(3, 0, 0)};
  EXPECT_EQ(3u, triangles_of(line, {0, 1, 2}, &valid).size());
  EXPECT_FALSE(valid);
  EXPECT_EQ(6u, triangles_of(line, {0, 1, 2, 3}, &valid).size()) << "n - 2 triangles all the same";
  EXPECT_FALSE(valid);
  // A point twice: invalid, though it covers area.
  std::vector<MPoint> square = {MPoint(0, 0, 0), MPoint(1, 0, 0), MPoint(1, 1, 0), MPoint(0, 1, 0)};
  EXPECT_EQ(9u, triangles_of(square, {0, 1, 2, 1, 3}, &valid).size());
  EXPECT_FALSE(valid);
  // A twisted quad (a bow tie): triangulated, and valid, since it covers
  // area and passes no point twice.
  std::vector<MPoint> bow = {MPoint(0, 0, 0), MPoint(1, 1, 0), MPoint(1, 0, 0), MPoint(0, 1, 0.5)};
  EXPECT_EQ(6u, triangles_of(bow, {0, 1, 2, 3}, &valid).size());
  EXPECT_TRUE(valid);
  // A non-planar quad.
  std::vector<MPoint> bent = {MPoint(0, 0, 0), MPoint(1, 0, 0), MPoint(1, 1, 1), MPoint(0, 1, 0)};
  EXPECT_EQ((std::vector<int>{0, 1, 3, 3, 1, 2}), triangles_of(bent, {0, 1, 2, 3}, &valid));
  EXPECT_TRUE(valid);
  // A large polygon (a 1,000-point star) still comes out whole and fast.
  std::vector<MPoint> star;
  std::vector<int> ids;
  for (int i = 0; i < 1000; ++i) {
    double r = i % 2 ? 1.0 : 0.4, a = 2 * M_PI * i / 1000;
    star.push_back(MPoint(r * cos(a), r * sin(a), 0));
    ids.push_back(i);
  }
  EXPECT_EQ(3u * 998u, triangles_of(star, ids, &valid).size());
  EXPECT_TRUE(valid);
}

TEST(MayasimMesh, ShadingGroupsPerInstanceAndPolygon) {
  new_scene();
  MObject t = transform("box");
  MObject shape = mesh(t, "boxShape", cube(1));
  Material red = material("red");
  Material blue = material("blue");
  MObject bare = empty_shading_group("bareSG");
  assign(t, red.shading_group, {0, 1, 2});
  assign(t, blue.shading_group, {4});
  assign(t, bare, {5});

  // A second instance, all red except polygon 3 left unassigned.
  MObject other = transform("other");
  instance(shape, other);
  assign(shape, red.shading_group, {0, 1, 2, 4, 5}, 1);

  MFnMesh fn(path_to("box"));
  MObjectArray groups;
  MIntArray indices;
  ASSERT_EQ(MS::kSuccess, fn.getConnectedShaders(0, groups, indices).statusCode());
  ASSERT_EQ(4u, groups.length());
  EXPECT_STREQ("initialShadingGroup", MFnDependencyNode(groups[0]).name().asChar());
  EXPECT_STREQ("redSG", MFnDependencyNode(groups[1]).name().asChar());
  EXPECT_STREQ("blueSG", MFnDependencyNode(groups[2]).name().asChar());
  ASSERT_EQ(6u, indices.length());
  EXPECT_EQ(1, indices[0]);
  EXPECT_EQ(0, indices[3]) << "polygon 3 stays in the initial group";
  EXPECT_EQ(2, indices[4]);
  EXPECT_EQ(3, indices[5]);

  ASSERT_EQ(MS::kSuccess, fn.getConnectedShaders(1, groups, indices).statusCode());
  ASSERT_EQ(1u, groups.length());
  EXPECT_EQ(-1, indices[3]) << "unassigned in this instance";
  EXPECT_EQ(0, indices[5]);

  // The surfaceShader plug leads to the material; the empty group's leads nowhere.
  MPlugArray sources;
  MPlug plug = MFnDependencyNode(red.shading_group).findPlug("surfaceShader", true);
  ASSERT_TRUE(plug.connectedTo(sources, true, false));
  ASSERT_EQ(1u, sources.length());
  EXPECT_STREQ("red", MFnDependencyNode(sources[0].node()).name().asChar());
  MStatus status;
  MPlug empty = MFnDependencyNode(bare).findPlug("surfaceShader", true, &status);
  EXPECT_EQ(MS::kSuccess, status.statusCode());
  EXPECT_FALSE(empty.connectedTo(sources, true, false));
  EXPECT_EQ(0u, sources.length());
}

TEST(MayasimMesh, ConnectedGroupsWithoutPolygonsStayListed) {
  new_scene();
  MObject t = transform("box");
  mesh(t, "boxShape", cube(1));
  Material red = material("red");
  Material spare = material("spare");
  connect_shading_group(t, spare.shading_group);
  assign(t, red.shading_group); // every polygon moves to red
  MObjectArray groups;
  MIntArray indices;
  MFnMesh(path_to("box")).getConnectedShaders(0, groups, indices);
  ASSERT_EQ(2u, groups.length()) << "initialShadingGroup lost its polygons and left; spare stays";
  EXPECT_STREQ("spareSG", MFnDependencyNode(groups[0]).name().asChar());
  EXPECT_STREQ("redSG", MFnDependencyNode(groups[1]).name().asChar());
  EXPECT_EQ(1, indices[0]);
}

TEST(MayasimMesh, InjectedFailuresStartAfterTheGivenCalls) {
  new_scene();
  mesh(transform("box"), "boxShape", cube(1));
  fail_call("MFnMesh::getPoints", 1);
  MFnMesh fn(path_to("box"));
  MPointArray points;
  EXPECT_EQ(MS::kSuccess, fn.getPoints(points).statusCode());
  EXPECT_EQ(MS::kFailure, fn.getPoints(points).statusCode());
  EXPECT_EQ(MS::kFailure, fn.getPoints(points).statusCode());
  new_scene();
  mesh(transform("box"), "boxShape", cube(1));
  EXPECT_EQ(MS::kSuccess, MFnMesh(path_to("box")).getPoints(points).statusCode()) << "a new scene forgets them";
}

namespace {
// A unit quad in the XY plane facing +z, with the UVs given per vertex.
MObject uv_quad(const std::string& name, std::vector<float> u, std::vector<float> v) {
  MeshDesc d;
  d.points = {MPoint(0, 0, 0), MPoint(1, 0, 0), MPoint(1, 1, 0), MPoint(0, 1, 0)};
  d.polygons = {{0, 1, 2, 3}};
  d.normals = Normals::Hard;
  d.uv_sets = {UvSetDesc{"map1", u, v, {}}};
  return mesh(transform(name), name + "Shape", d);
}

void expect_vector(float x, float y, float z, const MFloatVector& got, const char* what) {
  EXPECT_NEAR(x, got.x, 1e-6) << what;
  EXPECT_NEAR(y, got.y, 1e-6) << what;
  EXPECT_NEAR(z, got.z, 1e-6) << what;
}
} // namespace

// Tangents as Maya's documentation computes them: along U, shared by the
// corners of one vertex, UV and normal, binormals along V, and a
// left-handed frame where the UVs are mirrored.
TEST(MayasimMesh, TangentFramesFollowTheUvs) {
  new_scene();
  MFnMesh plain(uv_quad("plain", {0, 1, 1, 0}, {0, 0, 1, 1}));
  MFloatVectorArray tangents, binormals;
  ASSERT_EQ(MS::kSuccess, plain.getTangents(tangents).statusCode());
  plain.getBinormals(binormals);
  ASSERT_EQ(4u, tangents.length()) << "four corners with their own UV";
  for (unsigned i = 0; i < 4; ++i) {
    expect_vector(1, 0, 0, tangents[i], "U runs along x");
    expect_vector(0, 1, 0, binormals[i], "V runs along y");
    EXPECT_TRUE(plain.isRightHandedTangent(int(i)));
  }

  // U mirrored: the tangent turns round, the binormal still follows V, and
  // the frame is left-handed.
  MFnMesh mirrored(uv_quad("mirrored", {1, 0, 0, 1}, {0, 0, 1, 1}));
  mirrored.getTangents(tangents);
  mirrored.getBinormals(binormals);
  expect_vector(-1, 0, 0, tangents[0], "mirrored U");
  expect_vector(0, 1, 0, binormals[0], "V still along y");
  EXPECT_FALSE(mirrored.isRightHandedTangent(0));

  // No UVs (Maya's empty map1): each corner's tangent is its next edge.
  MeshDesc bare;
  bare.points = {MPoint(0, 0, 0), MPoint(2, 0, 0), MPoint(2, 2, 0), MPoint(0, 2, 0)};
  bare.polygons = {{0, 1, 2, 3}};
  MFnMesh unmapped(mesh(transform("bare"), "bareShape", bare));
  MStringArray sets;
  unmapped.getUVSetNames(sets);
  ASSERT_EQ(1u, sets.length());
  EXPECT_STREQ("map1", sets[0].asChar()) << "every mesh has map1";
  EXPECT_EQ(0, unmapped.numUVs(sets[0]));
  unmapped.getTangents(tangents);
  ASSERT_EQ(4u, tangents.length()) << "one per corner, none shared";
  // Corners 0 and 2 lie in one triangle each of the quad, (0 1 3) and
  // (3 1 2); a corner's tangent is its next edge in its triangle.
  MItMeshPolygon it(path_to("bare"));
  expect_vector(1, 0, 0, tangents[it.tangentIndex(0)], "corner 0 takes the edge to corner 1");
  expect_vector(-1, 0, 0, tangents[it.tangentIndex(2)], "corner 2 takes the edge to corner 3");
}

// A hard cube with Maya's UV layout: corners share a frame only where the
// vertex, the UV and the normal are the same, so faces never share.
TEST(MayasimMesh, TangentFramesAreSharedOnlyWithinOneVertexUvAndNormal) {
  new_scene();
  MFnMesh cube_fn(mesh(transform("box"), "boxShape", cube(2, Normals::Hard)));
  MFloatVectorArray tangents;
  cube_fn.getTangents(tangents);
  EXPECT_EQ(24u, tangents.length()) << "24 distinct vertex, UV and normal triples";
  MFnMesh smooth_fn(mesh(transform("soft"), "softShape", cube(2, Normals::Smooth)));
  smooth_fn.getTangents(tangents);
  EXPECT_EQ(14u, tangents.length()) << "smooth: the 14 UVs of the layout, each on one vertex";
}
