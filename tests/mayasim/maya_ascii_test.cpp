// Maya ASCII files loaded into mayasim: units, stored meshes and their
// normals, shading, instancing, animation through the connections Maya
// saves, the creators against a mesh Maya saved, and the messages for what
// cannot be loaded.
#include "api_helpers.h"

#include <maya/MAnimControl.h>
#include <maya/MColorArray.h>
#include <maya/MDagPath.h>
#include <maya/MDoubleArray.h>
#include <maya/MFloatArray.h>
#include <maya/MFloatVectorArray.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnMesh.h>
#include <maya/MFnSkinCluster.h>
#include <maya/MIntArray.h>
#include <maya/MItGeometry.h>
#include <maya/MObjectArray.h>
#include <maya/MPointArray.h>
#include <maya/MTime.h>

#include "mayasim/builder.h"
#include "mayasim/maya_ascii.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <math.h>
#include <string.h>
#include <string>
#include <vector>

using namespace mayasim::builder;

namespace {

const char* const HEADER = "//Maya ASCII 2020 scene\nrequires maya \"2020\";\ncurrentUnit -l centimeter -a degree -t film;\n";

bool load(const std::string& body, mayasim::MayaAsciiResult& result, bool header = true) {
  std::string text = header ? HEADER + body : body;
  return mayasim::load_maya_ascii_text(text.data(), text.size(), "scene.ma", result);
}

void load_ok(const std::string& body, mayasim::MayaAsciiResult& result) {
  ASSERT_TRUE(load(body, result)) << result.error;
}

std::string corpus(const char* name) { return std::string(TW_SHARED_TESTDATA) + "/maya-ascii/" + name; }

bool have_corpus() { return std::string(TW_SHARED_TESTDATA) != ""; }

// A cube as Maya stores one: eight points, twelve edges (hard or smooth),
// six faces walking them.
std::string stored_cube(const char* name, int smooth, const std::string& extra = "") {
  std::string s = std::to_string(smooth);
  return std::string("createNode transform -n \"") + name + "\";\n" + "createNode mesh -n \"" + name +
         "Shape\" -p \"" + name +
         "\";\n"
         "\tsetAttr \".uvst[0].uvsn\" -type \"string\" \"map1\";\n"
         "\tsetAttr -s 4 \".uvst[0].uvsp[0:3]\" -type \"float2\" 0 0 1 0 1 1 0 1;\n"
         "\tsetAttr -s 8 \".vt[0:7]\"  -0.5 -0.5 0.5 0.5 -0.5 0.5 -0.5 0.5 0.5 0.5 0.5 0.5\n"
         "\t\t -0.5 0.5 -0.5 0.5 0.5 -0.5 -0.5 -0.5 -0.5 0.5 -0.5 -0.5;\n"
         "\tsetAttr -s 12 \".ed[0:11]\"  0 1 " +
         s + " 2 3 " + s + " 4 5 " + s + " 6 7 " + s + " 0 2 " + s + " 1 3 " + s + " 2 4 " + s + " 3 5 " + s +
         " 4 6 " + s + " 5 7 " + s + " 6 0 " + s + " 7 1 " + s +
         ";\n"
         "\tsetAttr -s 6 -ch 24 \".fc[0:5]\" -type \"polyFaces\" \n"
         "\t\tf 4 0 5 -2 -5\n\t\tmu 0 4 0 1 2 3\n"
         "\t\tf 4 1 7 -3 -7\n"
         "\t\tf 4 2 9 -4 -9\n"
         "\t\tf 4 3 11 -1 -11\n"
         "\t\tf 4 -12 -10 -8 -6\n"
         "\t\tf 4 10 4 6 8;\n" +
         extra;
}

MFloatVectorArray normals_of(const char* shape) {
  MFloatVectorArray normals;
  MFnMesh(find(shape)).getNormals(normals);
  return normals;
}

double angle_z(const MMatrix& m) { return atan2(m[0][1], m[0][0]); }

} // namespace

TEST(MayaAscii, TransformsTimesAndUnitsAreReadInTheFilesUnits) {
  mayasim::MayaAsciiResult r;
  std::string text = "//Maya ASCII 2020 scene\n"
                     "requires maya \"2020\"; currentUnit -l meter -a radian -t pal;\n"
                     "createNode transform -n \"grp\";\n"
                     "\tsetAttr \".t\" -type \"double3\" 1 2 3 ;\n"
                     "\tsetAttr \".r\" -type \"double3\" 0 0 1.5707963267948966 ;\n"
                     "createNode joint -n \"j\" -p \"grp\";\n"
                     "\tsetAttr \".tx\" 0.5;\n"
                     "\tsetAttr \".jo\" -type \"double3\" 0 0 1.5707963267948966 ;\n"
                     "createNode script -n \"sceneConfigurationScriptNode\";\n"
                     "\tsetAttr \".b\" -type \"string\" (\"playbackOptions -min 10 -max 35\" + \" -ast 5 -aet 50 \");\n"
                     "select -ne :time1;\n"
                     "\tsetAttr \".o\" 12;\n";
  ASSERT_TRUE(mayasim::load_maya_ascii_text(text.data(), text.size(), "units.ma", r)) << r.error;
  EXPECT_TRUE(r.warnings.empty());
  MMatrix grp = MFnDagNode(find("grp")).transformationMatrix();
  EXPECT_NEAR(100.0, grp[3][0], 1e-9) << "metres in the file, centimetres inside";
  EXPECT_NEAR(300.0, grp[3][2], 1e-9);
  EXPECT_NEAR(M_PI / 2, angle_z(grp), 1e-9) << "radians in the file";
  MMatrix j = MFnDagNode(find("j")).transformationMatrix();
  EXPECT_NEAR(50.0, j[3][0], 1e-9);
  EXPECT_NEAR(M_PI / 2, angle_z(j), 1e-9) << "the joint orient";
  EXPECT_EQ(MTime::kPALFrame, MTime::uiUnit());
  EXPECT_DOUBLE_EQ(10.0, MAnimControl::minTime().as(MTime::kPALFrame));
  EXPECT_DOUBLE_EQ(35.0, MAnimControl::maxTime().as(MTime::kPALFrame));
  EXPECT_DOUBLE_EQ(5.0, MAnimControl::animationStartTime().as(MTime::kPALFrame));
  EXPECT_DOUBLE_EQ(50.0, MAnimControl::animationEndTime().as(MTime::kPALFrame));
  EXPECT_DOUBLE_EQ(12.0, MAnimControl::currentTime().as(MTime::kPALFrame));
}

TEST(MayaAscii, NormalsFollowEdgeSmoothnessWhereTheFileStoresNone) {
  mayasim::MayaAsciiResult r;
  // Two statements on one line, long flags, a statement's ';' on the next
  // line, as Maya writes them.
  load_ok(stored_cube("hard", 0) + stored_cube("soft", 1) +
              stored_cube("locked", 0, "\tsetAttr \".n[0]\" -type \"float3\" 0 0 -1;\n\tsetAttr \".n[1]\" "
                                       "-type \"float3\" 1e+20 1e+20 1e+20\n\t\t;\n"),
          r);
  MFnMesh hard(find("hardShape"));
  EXPECT_EQ(8, hard.numVertices());
  EXPECT_EQ(6, hard.numPolygons());
  MIntArray corners;
  hard.getPolygonVertices(0, corners);
  ASSERT_EQ(4u, corners.length());
  EXPECT_EQ((std::vector<int>{0, 1, 3, 2}), (std::vector<int>{corners[0], corners[1], corners[2], corners[3]}))
      << "edge 0 forward, 5 forward, 1 backwards, 4 backwards";
  // Hard edges: each face's corners have their own normals, the face's.
  MFloatVectorArray n = normals_of("hardShape");
  ASSERT_EQ(24u, n.length());
  for (unsigned i = 0; i < 4; ++i)
    EXPECT_NEAR(1.0, n[i].z, 1e-6) << "the front face";
  // Smooth edges: one normal per point, the mean of its three faces.
  n = normals_of("softShape");
  ASSERT_EQ(8u, n.length());
  for (unsigned i = 0; i < n.length(); ++i)
    for (float c : {n[i].x, n[i].y, n[i].z})
      EXPECT_NEAR(1.0 / sqrt(3.0), fabs(c), 1e-6) << i;
  // A stored normal replaces the computed one for its corner only; 1e20
  // marks none stored.
  n = normals_of("lockedShape");
  ASSERT_EQ(24u, n.length());
  MIntArray ids;
  MFnMesh(find("lockedShape")).getFaceNormalIds(0, ids);
  EXPECT_NEAR(-1.0, n[unsigned(ids[0])].z, 1e-6);
  EXPECT_NEAR(1.0, n[unsigned(ids[1])].z, 1e-6);
  // UVs: set map1 with the first face's corners mapped, the rest unmapped.
  MFloatArray u, v;
  hard.getUVs(u, v);
  EXPECT_EQ(4u, u.length());
  int uv = -2;
  EXPECT_TRUE(hard.getPolygonUVid(0, 2, uv));
  EXPECT_EQ(2, uv);
  EXPECT_FALSE(hard.getPolygonUVid(1, 0, uv)) << "an unmapped corner";
}

TEST(MayaAscii, ShadingInstancesAndNamespacesFollowTheConnections) {
  mayasim::MayaAsciiResult r;
  load_ok(stored_cube("ns:box", 0, "\tsetAttr \".iog[0].og[0].gcl\" -type \"componentList\" 2 \"f[0]\" \"f[2:3]\";\n") +
              "createNode transform -n \"other\";\n"
              "parent -s -nc -r -add \"|ns:box|ns:boxShape\" \"other\" ;\n"
              "createNode lambert -n \"red\";\n"
              "createNode shadingEngine -n \"redSG\";\n"
              "connectAttr \"red.oc\" \"redSG.ss\";\n"
              "connectAttr \"|ns:box|ns:boxShape.iog.og[0]\" \"redSG.dsm\" -na;\n"
              "connectAttr \"|other|ns:boxShape.iog\" \":initialShadingGroup.dsm\" -na;\n"
              "connectAttr \":defaultLightSet.msg\" \":lightLinker1.lnk[0].llnk\";\n",
          r);
  MObject shape = find("ns:boxShape");
  ASSERT_FALSE(shape.isNull());
  EXPECT_EQ(2u, MFnDagNode(shape).instanceCount(false)) << "parent -add makes an instance";
  MFnMesh mesh(shape);
  MObjectArray groups;
  MIntArray faces;
  ASSERT_TRUE(mesh.getConnectedShaders(0, groups, faces));
  ASSERT_EQ(1u, groups.length());
  EXPECT_STREQ("redSG", MFnDependencyNode(groups[0]).name().asChar());
  EXPECT_EQ((std::vector<int>{0, -1, 0, 0, -1, -1}), (std::vector<int>(&faces[0], &faces[0] + faces.length())))
      << "f[0] and f[2:3] of instance 0";
  ASSERT_TRUE(mesh.getConnectedShaders(1, groups, faces));
  ASSERT_EQ(1u, groups.length());
  EXPECT_STREQ("initialShadingGroup", MFnDependencyNode(groups[0]).name().asChar()) << "the second path's instance";
  EXPECT_EQ(0, faces[5]);
}

TEST(MayaAscii, AnimationReachesChannelsThroughCharacterSetsAndConnections) {
  mayasim::MayaAsciiResult r;
  load_ok("currentUnit -l meter;\n"
          "createNode joint -n \"a\";\n"
          "createNode joint -n \"b\" -p \"a\";\n"
          "createNode character -n \"character1\";\n"
          // Linear keys: 0 m at frame 0, 1 m at frame 24 (one second).
          "createNode animCurveTL -n \"a_translateX\";\n"
          "\tsetAttr \".tan\" 2;\n\tsetAttr \".wgt\" no;\n"
          "\tsetAttr -s 2 \".ktv[0:1]\"  0 0 24 1;\n"
          // A fixed out tangent of one radian a second, flat in.
          "createNode animCurveTA -n \"a_rotateZ\";\n"
          "\tsetAttr \".tan\" 1;\n\tsetAttr \".wgt\" no;\n"
          "\tsetAttr -s 2 \".ktv[0:1]\"  0 0 24 0;\n"
          "\tsetAttr -s 2 \".kox[0:1]\"  1 1;\n\tsetAttr -s 2 \".koy[0:1]\"  1 0;\n"
          "\tsetAttr -s 2 \".kix[0:1]\"  1 1;\n\tsetAttr -s 2 \".kiy[0:1]\"  0 0;\n"
          "createNode animCurveTU -n \"b_visibility\";\n"
          "\tsetAttr \".tan\" 9;\n\tsetAttr -s 2 \".ktv[0:1]\"  0 0 10 1;\n\tsetAttr -s 2 \".kot[0:1]\"  5 5;\n"
          "connectAttr \"a_translateX.o\" \"character1.lv[1]\";\n"
          "connectAttr \"character1.lv[1]\" \"a.tx\";\n"
          "connectAttr \"a_rotateZ.o\" \"a.rz\";\n"
          "connectAttr \"a.rz\" \"b.rz\";\n"
          "connectAttr \"b_visibility.o\" \"b.v\";\n"
          "connectAttr \"a.s\" \"b.is\";\n"
          "select -ne :time1;\n\tsetAttr \".o\" 12;\n",
          r);
  EXPECT_TRUE(r.warnings.empty()) << r.warnings[0];
  MAnimControl::setCurrentTime(MTime(12.0, MTime::kFilm));
  MMatrix a = MFnDagNode(find("a")).transformationMatrix();
  EXPECT_NEAR(50.0, a[3][0], 1e-9) << "half way, in centimetres";
  // Hermite with slopes 1 and 0 over one second, at its middle: 1/8 rad.
  EXPECT_NEAR(0.125, angle_z(a), 1e-9);
  EXPECT_NEAR(0.125, angle_z(MFnDagNode(find("b")).transformationMatrix()), 1e-9) << "b.rz follows a.rz";
  // Visibility is read at the file's current time (frame 12): the step
  // curve is at 1 from frame 10.
  bool visible = false;
  MFnDependencyNode(find("b")).findPlug("visibility", true).getValue(visible);
  EXPECT_TRUE(visible);
}

TEST(MayaAscii, WhatCannotBeEvaluatedIsReportedByName) {
  mayasim::MayaAsciiResult r;
  load_ok("createNode transform -n \"pCube1\";\n"
          "createNode mesh -n \"pCubeShape1\" -p \"pCube1\";\n"
          "createNode polyCube -n \"polyCube1\";\n\tsetAttr \".cuv\" 4;\n"
          "createNode polySmoothFace -n \"polySmoothFace1\";\n"
          "createNode expression -n \"expression1\";\n"
          "createNode someonesPluginNode -n \"custom1\";\n"
          "connectAttr \"polyCube1.out\" \"polySmoothFace1.ip\";\n"
          "connectAttr \"polySmoothFace1.out\" \"pCubeShape1.i\";\n"
          "connectAttr \"expression1.out[0]\" \"pCube1.ty\";\n"
          "applyMetadata -fmt raw \"x\";\n",
          r);
  ASSERT_EQ(3u, r.warnings.size());
  EXPECT_EQ("scene.ma:14: applyMetadata statements are not read by mayasim; skipped.", r.warnings[0]);
  EXPECT_EQ("pCube1.ty is driven by expression1.out[0] (expression), which mayasim does not evaluate; the value "
            "saved in the file is used.",
            r.warnings[1]);
  EXPECT_EQ("pCubeShape1: geometry comes from polySmoothFace1 (construction history); delete history in Maya "
            "before saving, or export it from Maya.",
            r.warnings[2]);
  MStatus status;
  MFnMesh mesh(path_to(find("pCubeShape1")), &status);
  EXPECT_FALSE(status) << "a mesh loaded without geometry";
  MFnMesh by_node(find("pCubeShape1"));
  EXPECT_EQ(0, by_node.numVertices(&status));
  EXPECT_FALSE(status);
  EXPECT_STREQ("someonesPluginNode", MFnDependencyNode(find("custom1")).typeName().asChar())
      << "unknown types are kept";
}

TEST(MayaAscii, MalformedFilesFailWithTheFileLineAndStatement) {
  struct Case {
    const char* text;
    bool header;
    const char* message;
  } cases[] = {
      {"hello\n", false, "scene.ma:1: not a Maya ASCII file"},
      {"FOR4\x00\x00\x01\x00", false, "Maya Binary"},
      {"createNode transform -n \"a\"", true,
       "scene.ma:4: createNode transform -n \"a\": the file ends inside this statement"},
      {"createNode transform -n \"a;\n", true, "a string starting on line 4 is not closed"},
      {"createNode transform -n \"a\";\n\tsetAttr \".t\" -type \"double3\" 1 2 3 4;\n", true,
       "scene.ma:5: setAttr \".t\" -type \"double3\" 1 2 3 4: more values than the attribute takes"},
      {"createNode mesh -n \"m\";\n\tsetAttr -s 2 \".vt[0:1]\" 1 2 3 4 5;\n", true,
       "expected a value before the end of the statement"},
      {"createNode mesh -n \"m\";\n\tsetAttr \".vt[0]\" 1 2 x;\n", true, "expected a number, found \"x\""},
      {"createNode mesh -n \"m\";\n\tsetAttr \".vt[90000000]\" 1 2 3;\n", true, "larger than a file of"},
      {"createNode mesh -n \"m\";\n\tsetAttr \".fc[0]\" -type \"polyFaces\" f 3 0 1 2 zz 1;\n", true,
       "unknown word \"zz\" in the faces"},
      {"createNode mesh -n \"m\";\n\tsetAttr \".fc[0:1]\" -type \"polyFaces\" f 3 0 1 2;\n", true,
       "expected 2 faces, found 1"},
      {"connectAttr \"nobody.t\" \"somebody.t\";\n", true, "no node is named \"nobody\""},
      {"file -r -ns \"rig\" -rfn \"rigRN\" \"/nowhere/rig.ma\";\n", true,
       "the reference \"rigRN\" to \"/nowhere/rig.ma\" was not found; tried"},
      {"file -r -ns \"rig\" -rfn \"rigRN\";\n", true, "the flag -rfn has no value"},
      {"currentUnit -t 23.98fps;\n", true, "unknown time unit \"23.98fps\""},
      {"createNode transform -n \"a\";\ncreateNode transform -n \"a\";\n", true,
       "scene.ma:5: createNode transform -n \"a\": a node named \"a\" already exists there"},
      {"createNode transform -n \"a\";\n\tsetAttr \".t[\" 1;\n", true, "an index with no ']'"},
  };
  for (const Case& c : cases) {
    mayasim::MayaAsciiResult r;
    std::string text = c.header ? std::string(HEADER) + c.text : std::string(c.text, c.text[0] == 'F' ? 8 : strlen(c.text));
    EXPECT_FALSE(mayasim::load_maya_ascii_text(text.data(), text.size(), "scene.ma", r)) << c.text;
    EXPECT_NE(std::string::npos, r.error.find(c.message)) << c.text << "\n" << r.error;
    EXPECT_TRUE(find("a").isNull() && find("m").isNull()) << "a failed load leaves a new scene";
  }
  // Two chains each instanced under the other at every level: the paths
  // double per level, and the load stops before they reach 65536.
  std::string chains;
  for (int i = 0; i < 40; ++i) {
    std::string up = std::to_string(i - 1), at = std::to_string(i);
    chains += "createNode transform -n \"a" + at + "\"" + (i ? " -p \"a" + up + "\"" : "") + ";\n";
    chains += "createNode transform -n \"b" + at + "\"" + (i ? " -p \"b" + up + "\"" : "") + ";\n";
    if (i)
      chains += "parent -add \"a" + at + "\" \"b" + up + "\";\nparent -add \"b" + at + "\" \"a" + up + "\";\n";
  }
  mayasim::MayaAsciiResult r;
  EXPECT_FALSE(load(chains, r));
  EXPECT_NE(std::string::npos, r.error.find("would give a node more than 65536 paths from the world")) << r.error;
  EXPECT_FALSE(mayasim::load_maya_ascii("/nonexistent/scene.ma", r));
  EXPECT_EQ("Cannot open /nonexistent/scene.ma: No such file or directory", r.error);
}

namespace {

// What a mesh holds, taken out of the scene so that meshes of two scenes
// can be compared.
struct MeshSnapshot {
  std::vector<MPoint> points;
  std::vector<std::vector<int>> polygons, uv_ids;
  std::vector<float> u, v;
  unsigned normals = 0;
};

MeshSnapshot snapshot(const char* shape) {
  MeshSnapshot s;
  MFnMesh mesh(find(shape));
  MPointArray points;
  mesh.getPoints(points);
  for (unsigned i = 0; i < points.length(); ++i)
    s.points.push_back(points[i]);
  for (int f = 0; f < mesh.numPolygons(); ++f) {
    MIntArray corners;
    mesh.getPolygonVertices(f, corners);
    s.polygons.emplace_back();
    s.uv_ids.emplace_back();
    for (unsigned k = 0; k < corners.length(); ++k) {
      s.polygons.back().push_back(corners[k]);
      int uv = -1;
      mesh.getPolygonUVid(f, int(k), uv);
      s.uv_ids.back().push_back(uv);
    }
  }
  MFloatArray u, v;
  mesh.getUVs(u, v);
  for (unsigned i = 0; i < u.length(); ++i) {
    s.u.push_back(u[i]);
    s.v.push_back(v[i]);
  }
  MFloatVectorArray normals;
  mesh.getNormals(normals);
  s.normals = normals.length();
  return s;
}

// Point for point, face for face, UV for UV. Maya computes its creators in
// single precision, so points agree to a few units in the seventh digit.
void expect_same_mesh(const MeshSnapshot& saved, const MeshSnapshot& built, double tolerance) {
  ASSERT_EQ(saved.points.size(), built.points.size());
  for (size_t i = 0; i < saved.points.size(); ++i)
    EXPECT_TRUE(saved.points[i].isEquivalent(built.points[i], tolerance)) << "point " << i;
  ASSERT_EQ(saved.polygons.size(), built.polygons.size());
  for (size_t f = 0; f < saved.polygons.size(); ++f) {
    EXPECT_EQ(saved.polygons[f], built.polygons[f]) << "face " << f;
    EXPECT_EQ(saved.uv_ids[f], built.uv_ids[f]) << "UVs of face " << f;
  }
  ASSERT_EQ(saved.u.size(), built.u.size());
  for (size_t i = 0; i < saved.u.size(); ++i) {
    EXPECT_NEAR(saved.u[i], built.u[i], 1e-6) << "u " << i;
    EXPECT_NEAR(saved.v[i], built.v[i], 1e-6) << "v " << i;
  }
  EXPECT_EQ(saved.normals, built.normals) << "same smoothing";
}

// The statements of one node of a shared file (from its createNode to the
// next), loaded as a scene of their own: a mesh Maya saved, out of a file
// whose other parts mayasim does not need.
bool load_node_of(const std::string& path, const std::string& create, mayasim::MayaAsciiResult& r) {
  std::ifstream in(path, std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  size_t start = text.find(create);
  if (start == std::string::npos)
    return false;
  size_t end = text.find("\ncreateNode ", start + 1);
  std::string scene = HEADER + std::string("createNode transform -n \"saved\";\n") +
                      text.substr(start, end == std::string::npos ? std::string::npos : end + 1 - start);
  size_t parent = scene.find(" -p \"", scene.find(create));
  if (parent != std::string::npos)
    scene.replace(parent, scene.find(';', parent) - parent, " -p \"saved\"");
  return mayasim::load_maya_ascii_text(scene.data(), scene.size(), path, r);
}

} // namespace

TEST(MayaAscii, ThePolyCubeMatchesTheCubeMayaSaved) {
  if (!have_corpus())
    GTEST_SKIP() << "no shared test data";
  // polyShape holds the data Maya saved for a polyCube made along +z;
  // unspecifiedShape is evaluated from polyCube1, made the same way.
  mayasim::MayaAsciiResult r;
  ASSERT_TRUE(mayasim::load_maya_ascii(corpus("mayausd_UsdExportMeshTest.ma"), r)) << r.error;
  expect_same_mesh(snapshot("polyShape"), snapshot("unspecifiedShape"), 1e-9);
}

TEST(MayaAscii, ThePolySphereAndPolyCylinderMatchTheOnesMayaSaved) {
  if (!have_corpus())
    GTEST_SKIP() << "no shared test data";
  // A default sphere (20 by 20) whose history was deleted, as Maya 2016
  // saved it, against a default polySphere.
  mayasim::MayaAsciiResult r;
  std::string emily = std::string(TW_SHARED_TESTDATA) + "/maya-artists/hpddigitalemily_Emily_2_1_Materials_pbrt.ma";
  ASSERT_TRUE(load_node_of(emily, "createNode mesh -n \"Emily_head_transShape\"", r)) << r.error;
  MeshSnapshot saved = snapshot("Emily_head_transShape");
  ASSERT_TRUE(load(R"(createNode transform -n "s";
createNode mesh -n "sShape" -p "s";
createNode polySphere -n "polySphere1";
connectAttr "polySphere1.out" "sShape.i";
)", r)) << r.error;
  expect_same_mesh(saved, snapshot("sShape"), 2e-6);
  // A cylinder with a capped fan (one cap subdivision) and its UVs
  // normalised together, as Maya 8.5 saved it.
  std::string refs = std::string(TW_SHARED_TESTDATA) + "/maya-references/ref4m2r.ma";
  ASSERT_TRUE(load_node_of(refs, "createNode mesh -n \"pCylinderShape2\"", r)) << r.error;
  saved = snapshot("pCylinderShape2");
  ASSERT_TRUE(load(R"(createNode transform -n "c";
createNode mesh -n "cShape" -p "c";
createNode polyCylinder -n "polyCylinder1";
	setAttr ".sc" 1;
	setAttr ".cuv" 3;
connectAttr "polyCylinder1.out" "cShape.i";
)", r)) << r.error;
  expect_same_mesh(saved, snapshot("cShape"), 2e-6);
}

TEST(MayaAscii, ASubdividedCubesPointsAreInTheOrderItsSkinWeightsExpect) {
  if (!have_corpus())
    GTEST_SKIP() << "no shared test data";
  // polyCube -w 5 -sw 5 bound to five joints along x: Maya saved one weight
  // list per point. Points go in rows of six along x, four rows round the
  // cube, so the weights repeat every six points and fall off along x.
  mayasim::MayaAsciiResult r;
  ASSERT_TRUE(mayasim::load_maya_ascii(corpus("m2g_FiveJointsFourInfluencesAnim.ma"), r)) << r.error;
  MObject shape = find("pCubeShape1Orig");
  MPointArray points;
  MFnMesh(shape).getPoints(points);
  ASSERT_EQ(24u, points.length());
  MFnSkinCluster skin(find("skinCluster1"));
  std::vector<double> weights;
  for (MItGeometry it(path_to(shape)); !it.isDone(); it.next()) {
    MDoubleArray w;
    unsigned influences = 0;
    ASSERT_TRUE(skin.getWeights(path_to(find("pCubeShape1")), it.currentItem(), w, influences));
    ASSERT_EQ(5u, influences);
    for (unsigned j = 0; j < w.length(); ++j)
      weights.push_back(w[j]);
  }
  ASSERT_EQ(24u * 5u, weights.size());
  for (unsigned v = 0; v < 24; ++v) {
    EXPECT_NEAR(-2.5 + double(v % 6), points[v].x, 1e-9) << v;
    for (unsigned j = 0; j < 5; ++j)
      EXPECT_DOUBLE_EQ(weights[(v % 6) * 5 + j], weights[v * 5 + j]) << "point " << v << " joint " << j;
    if (v % 6 > 0) {
      EXPECT_LE(weights[v * 5], weights[(v - 1) * 5]) << "joint1's weight falls along x, point " << v;
    }
  }
  EXPECT_NEAR(0.91727462321159092, weights[0], 1e-15);
  EXPECT_NEAR(0.47921963622139641, weights[5 * 5 + 4], 1e-15) << "the last point's weight on joint5";
}

TEST(MayaAscii, PaintedVertexColoursGoToTheirCorners) {
  mayasim::MayaAsciiResult r;
  // A plane of one quad (points 0 1 3 2); point 0 painted on face 0, point
  // 3 for every face; point 1 only has an alpha, which paints nothing.
  load_ok("createNode transform -n \"p\";\ncreateNode mesh -n \"pShape\" -p \"p\";\n"
          "createNode polyPlane -n \"polyPlane1\";\n\tsetAttr \".sw\" 1;\n\tsetAttr \".sh\" 1;\n"
          "createNode polyColorPerVertex -n \"polyColorPerVertex1\";\n"
          "\tsetAttr \".vclr[0].vfcl[0].frgb\" -type \"float3\" 0 1 0 ;\n"
          "\tsetAttr \".vclr[0].vfcl[0].vfal\" 0.5;\n"
          "\tsetAttr \".vclr[3].vrgb\" -type \"float3\" 1 0 0 ;\n"
          "\tsetAttr \".vclr[1].vxal\" 1;\n"
          "\tsetAttr \".cn\" -type \"string\" \"paint\";\n"
          "connectAttr \"polyPlane1.out\" \"polyColorPerVertex1.ip\";\n"
          "connectAttr \"polyColorPerVertex1.out\" \"pShape.i\";\n",
          r);
  ASSERT_TRUE(r.warnings.empty()) << r.warnings[0];
  MFnMesh mesh(find("pShape"));
  MColorArray colors;
  MString set("paint");
  ASSERT_TRUE(mesh.getColors(colors, &set));
  ASSERT_EQ(2u, colors.length());
  int id = -2;
  ASSERT_TRUE(mesh.getColorIndex(0, 0, id, &set));
  EXPECT_EQ(MColor(0, 1, 0, 0.5f), colors[unsigned(id)]);
  mesh.getColorIndex(0, 2, id, &set); // the third corner is point 3
  EXPECT_EQ(MColor(1, 0, 0, 1), colors[unsigned(id)]);
  ASSERT_TRUE(mesh.getColorIndex(0, 1, id, &set));
  EXPECT_EQ(-1, id) << "point 1: no colour";
}

TEST(MayaAscii, CreatorsBuildClosedMeshesFacingOutwards) {
  mayasim::MayaAsciiResult r;
  load_ok("createNode transform -n \"s\";\ncreateNode mesh -n \"sShape\" -p \"s\";\n"
          "createNode transform -n \"c\";\ncreateNode mesh -n \"cShape\" -p \"c\";\n"
          "createNode transform -n \"b\";\ncreateNode mesh -n \"bShape\" -p \"b\";\n"
          "createNode transform -n \"p\";\ncreateNode mesh -n \"pShape\" -p \"p\";\n"
          "createNode polySphere -n \"polySphere1\";\n\tsetAttr \".r\" 2;\n"
          "createNode polyCylinder -n \"polyCylinder1\";\n\tsetAttr \".sh\" 3;\n"
          "createNode polyCube -n \"polyCube1\";\n\tsetAttr \".sw\" 2;\n\tsetAttr \".sh\" 3;\n\tsetAttr \".sd\" 4;\n"
          "createNode polyPlane -n \"polyPlane1\";\n\tsetAttr \".ax\" -type \"double3\" 1 0 0 ;\n"
          "connectAttr \"polySphere1.out\" \"sShape.i\";\n"
          "connectAttr \"polyCylinder1.out\" \"cShape.i\";\n"
          "connectAttr \"polyCube1.out\" \"bShape.i\";\n"
          "connectAttr \"polyPlane1.out\" \"pShape.i\";\n",
          r);
  ASSERT_TRUE(r.warnings.empty()) << r.warnings[0];
  // The cube: 2 x (3 + 4) rows of 3 points round it, (3 - 1) x (4 - 1)
  // inside each side; 2 x 14 faces round it and 3 x 4 on each side.
  struct Expect {
    const char* shape;
    int points, faces;
  } expect[] = {{"sShape", 382, 400}, {"cShape", 80, 62}, {"bShape", 14 * 3 + 2 * 6, 28 + 24}, {"pShape", 121, 100}};
  for (const Expect& e : expect) {
    MFnMesh mesh(find(e.shape));
    EXPECT_EQ(e.points, mesh.numVertices()) << e.shape;
    EXPECT_EQ(e.faces, mesh.numPolygons()) << e.shape;
    if (std::string(e.shape) == "pShape")
      continue;
    // Closed and facing outwards: each face's normal points away from the
    // centre, and every edge is walked once each way.
    MPointArray points;
    mesh.getPoints(points);
    std::map<std::pair<int, int>, int> edges;
    for (int f = 0; f < mesh.numPolygons(); ++f) {
      MIntArray v;
      mesh.getPolygonVertices(f, v);
      double normal[3] = {0, 0, 0}, centre[3] = {0, 0, 0};
      for (unsigned k = 0; k < v.length(); ++k) {
        const MPoint& a = points[unsigned(v[k])];
        const MPoint& b = points[unsigned(v[(k + 1) % v.length()])];
        normal[0] += (a.y - b.y) * (a.z + b.z);
        normal[1] += (a.z - b.z) * (a.x + b.x);
        normal[2] += (a.x - b.x) * (a.y + b.y);
        centre[0] += a.x;
        centre[1] += a.y;
        centre[2] += a.z;
        ++edges[std::make_pair(v[k], v[(k + 1) % v.length()])];
      }
      EXPECT_GT(normal[0] * centre[0] + normal[1] * centre[1] + normal[2] * centre[2], 0.0)
          << e.shape << " face " << f;
    }
    for (const auto& edge : edges) {
      EXPECT_EQ(1, edge.second) << e.shape;
      EXPECT_EQ(1u, edges.count(std::make_pair(edge.first.second, edge.first.first))) << e.shape;
    }
  }
  // The sphere is smooth: one normal per point; the cylinder's rims are
  // hard: its caps' corners have their own normals.
  EXPECT_EQ(382, MFnMesh(find("sShape")).numNormals());
  EXPECT_EQ(80 + 40, MFnMesh(find("cShape")).numNormals());
  // The plane turned to face +x.
  MFloatVectorArray n = normals_of("pShape");
  EXPECT_NEAR(1.0, n[0].x, 1e-6);
}
