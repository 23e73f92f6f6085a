// The statement forms Maya writes into Maya ASCII files, each loaded as
// Maya reads it: arrays continued over several statements with the data
// type on the first only, every time and linear unit currentUnit takes,
// text in the codeset the header names, point tweaks past the points,
// setAttr flags after the attribute, disconnectAttr, line ends of every
// platform, and files without the header comment.
#include "api_helpers.h"

#include <maya/MAnimControl.h>
#include <maya/MDistance.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MFnMesh.h>
#include <maya/MFloatArray.h>
#include <maya/MIntArray.h>
#include <maya/MPointArray.h>
#include <maya/MString.h>
#include <maya/MTime.h>

#include "mayasim/builder.h"
#include "mayasim/maya_ascii.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace mayasim::builder;

namespace {

// The name of the node called `name`, or "(none)" when no node is.
std::string find_name(const std::string& name) {
  MObject node = find(name);
  if (node.isNull())
    return "(none)";
  return MFnDependencyNode(node).name().asChar();
}

bool load_text(const std::string& text, mayasim::MayaAsciiResult& r) {
  return mayasim::load_maya_ascii_text(text.data(), text.size(), "forms.ma", r);
}

std::string header(const char* units = "-l centimeter -a degree -t film") {
  return std::string("//Maya ASCII 2020 scene\n//Name: forms.ma\n//Codeset: UTF-8\nrequires maya \"2020\";\n"
                     "currentUnit ") +
         units + ";\n";
}

// A strip of `count` quads along x (points in two rows), its faces given in
// statements of `chunk` faces with -type on the first only, as Maya writes
// long face lists (in pieces of 500).
std::string quad_strip(int count, int chunk) {
  std::ostringstream s;
  int points = 2 * (count + 1);
  s << "createNode transform -n \"strip\";\ncreateNode mesh -n \"stripShape\" -p \"strip\";\n";
  s << "\tsetAttr \".uvst[0].uvsn\" -type \"string\" \"map1\";\n";
  // UVs in two pieces as well.
  int half = points / 2;
  s << "\tsetAttr -s " << points << " \".uvst[0].uvsp[0:" << half - 1 << "]\" -type \"float2\"";
  for (int i = 0; i < half; ++i)
    s << " " << (i % (count + 1)) << " " << (i / (count + 1));
  s << ";\n\tsetAttr \".uvst[0].uvsp[" << half << ":" << points - 1 << "]\"";
  for (int i = half; i < points; ++i)
    s << " " << (i % (count + 1)) << " " << (i / (count + 1));
  s << ";\n\tsetAttr -s " << points << " \".vt\";\n\tsetAttr \".vt[0:" << points - 1 << "]\"";
  for (int i = 0; i < points; ++i)
    s << " " << (i % (count + 1)) << " " << (i / (count + 1)) << " 0";
  // Edges: bottom row, top row, then the rungs.
  int edges = 2 * count + (count + 1);
  s << ";\n\tsetAttr -s " << edges << " \".ed\";\n\tsetAttr \".ed[0:" << count - 1 << "]\"";
  for (int i = 0; i < count; ++i)
    s << " " << i << " " << i + 1 << " 0";
  s << ";\n\tsetAttr \".ed[" << count << ":" << edges - 1 << "]\"";
  for (int i = 0; i < count; ++i)
    s << " " << count + 1 + i << " " << count + 2 + i << " 0";
  for (int i = 0; i <= count; ++i)
    s << " " << i << " " << count + 1 + i << " 1";
  s << ";\n";
  for (int first = 0; first < count; first += chunk) {
    int last = std::min(count, first + chunk) - 1;
    s << "\tsetAttr " << (first == 0 ? "-s " + std::to_string(count) + " -ch " + std::to_string(4 * count) + " " : "")
      << "\".fc[" << first << ":" << last << "]\"" << (first == 0 ? " -type \"polyFaces\"" : "");
    for (int f = first; f <= last; ++f) {
      // bottom edge f forward, rung f+1 forward, top edge f backwards, rung f backwards
      int rung = 2 * count;
      s << "\n\t\tf 4 " << f << " " << rung + f + 1 << " " << -1 - (count + f) << " " << -1 - (rung + f);
      s << "\n\t\tmu 0 4 " << f << " " << f + 1 << " " << count + 2 + f << " " << count + 1 + f;
    }
    s << ";\n";
  }
  return s.str();
}

} // namespace

TEST(MayaAsciiForms, ArraysGivenInPiecesWithTheTypeOnTheFirstOnly) {
  mayasim::MayaAsciiResult r;
  ASSERT_TRUE(load_text(header() + quad_strip(1203, 500), r)) << r.error;
  MFnMesh mesh(find("stripShape"));
  EXPECT_EQ(1203, mesh.numPolygons()) << "three face statements, -type on the first";
  EXPECT_EQ(2 * 1204, mesh.numVertices());
  MIntArray corners;
  mesh.getPolygonVertices(1202, corners);
  ASSERT_EQ(4u, corners.length());
  EXPECT_EQ(1202, corners[0]);
  EXPECT_EQ(1203, corners[1]);
  EXPECT_EQ(1204 + 1203, corners[2]);
  int uv = -1;
  EXPECT_TRUE(mesh.getPolygonUVid(1202, 2, uv)) << "UVs of the last face, from the second UV statement";
  EXPECT_EQ(1204 + 1203, uv);
  // A face statement that names another type is not faces.
  std::string wrong = header() + quad_strip(3, 2);
  size_t second = wrong.find("\".fc[2:2]\"");
  ASSERT_NE(std::string::npos, second);
  wrong.insert(second + 10, " -type \"string\"");
  EXPECT_FALSE(load_text(wrong, r));
  EXPECT_NE(std::string::npos, r.error.find("\"polyFaces\"")) << r.error;
}

TEST(MayaAsciiForms, LongFaceListsOfSharedScenesLoadWhole) {
  if (std::string(TW_SHARED_TESTDATA).empty())
    GTEST_SKIP() << "no shared test data";
  // The bottle's 4,510 triangles are written in ten statements.
  mayasim::MayaAsciiResult r;
  ASSERT_TRUE(mayasim::load_maya_ascii(std::string(TW_SHARED_TESTDATA) + "/maya-truth/WaterBottle.ma", r)) << r.error;
  MFnMesh bottle(find("WaterBottleShape"));
  EXPECT_EQ(4510, bottle.numPolygons());
  EXPECT_EQ(2385, bottle.numVertices());
}

TEST(MayaAsciiForms, EveryTimeUnitCurrentUnitTakes) {
  struct Case {
    const char* name;
    double frames_per_second;
  };
  const Case cases[] = {
      {"game", 15},        {"film", 24},          {"pal", 25},           {"ntsc", 30},          {"show", 48},
      {"palf", 50},        {"ntscf", 60},         {"2fps", 2},           {"16fps", 16},         {"240fps", 240},
      {"6000fps", 6000},   {"23.976fps", 24000.0 / 1001}, {"29.97fps", 30000.0 / 1001}, {"29.97df", 30000.0 / 1001},
      {"47.952fps", 48000.0 / 1001}, {"59.94fps", 60000.0 / 1001}, {"44100fps", 44100}, {"48000fps", 48000},
      {"90fps", 90},       {"119.88fps", 120000.0 / 1001}, {"sec", 1},      {"millisec", 1000},
  };
  for (const Case& c : cases) {
    mayasim::MayaAsciiResult r;
    std::string text = header((std::string("-l cm -a deg -t ") + c.name).c_str()) +
                       "createNode script -n \"sceneConfigurationScriptNode\";\n"
                       "\tsetAttr \".b\" -type \"string\" \"playbackOptions -min 12 -max 240 \";\n";
    ASSERT_TRUE(load_text(text, r)) << c.name << ": " << r.error;
    EXPECT_NEAR(12.0 / c.frames_per_second, MAnimControl::minTime().as(MTime::kSeconds), 1e-12) << c.name;
    EXPECT_NEAR(240.0 / c.frames_per_second, MAnimControl::maxTime().as(MTime::kSeconds), 1e-12) << c.name;
    // A frame of the scene's unit, as a plug-in steps the time slider.
    EXPECT_NEAR(1.0 / c.frames_per_second, MTime(1.0, MTime::uiUnit()).as(MTime::kSeconds), 1e-15) << c.name;
  }
  mayasim::MayaAsciiResult r;
  ASSERT_TRUE(load_text(header("-t 23.976fps"), r));
#if MAYASIM_MODERN_API
  EXPECT_EQ(MTime::k23_976FPS, MTime::uiUnit()) << "Maya 2017 and later have a unit for it";
  EXPECT_EQ(MTime::k24FPS, MTime::kFilm);
#else
  EXPECT_EQ(MTime::kUserDef, MTime::uiUnit()) << "the 2013 API has no unit for it";
#endif
  EXPECT_FALSE(load_text(header("-t 23.98fps"), r));
  EXPECT_NE(std::string::npos, r.error.find("unknown time unit \"23.98fps\"")) << r.error;
}

TEST(MayaAsciiForms, EveryLinearUnitShortAndLong) {
  struct Case {
    const char* short_name;
    const char* long_name;
    double centimetres;
  };
  const Case cases[] = {{"mm", "millimeter", 0.1}, {"cm", "centimeter", 1},   {"m", "meter", 100},
                        {"km", "kilometer", 1e5}, {"in", "inch", 2.54},      {"ft", "foot", 30.48},
                        {"yd", "yard", 91.44},    {"mi", "mile", 160934.4}};
  for (const Case& c : cases)
    for (const char* name : {c.short_name, c.long_name}) {
      mayasim::MayaAsciiResult r;
      std::string text = header((std::string("-l ") + name + " -a degree -t film").c_str()) +
                         "createNode transform -n \"t\";\n\tsetAttr \".t\" -type \"double3\" 2 0 0 ;\n";
      ASSERT_TRUE(load_text(text, r)) << name << ": " << r.error;
      EXPECT_NEAR(2 * c.centimetres, MFnDagNode(find("t")).transformationMatrix()[3][0], 1e-9 * c.centimetres)
          << name;
      EXPECT_DOUBLE_EQ(2 * c.centimetres, MDistance(2, MDistance::uiUnit()).asCentimeters()) << name;
    }
}

TEST(MayaAsciiForms, TextIsReadInTheCodesetTheHeaderNames) {
  mayasim::MayaAsciiResult r;
  // Code page 1251: "\xC0\xED\xFF" is "Аня"; 1252: "\xE9" is "é".
  std::string cp1251 = "//Maya ASCII 2019 scene\n//Codeset: 1251\nrequires maya \"2019\";\n"
                       "createNode transform -n \"\xC0\xED\xFF\";\n"
                       "createNode lambert -n \"mat\";\n\tsetAttr \".notes\" -type \"string\" \"\xC0\";\n";
  ASSERT_TRUE(load_text(cp1251, r)) << r.error;
  EXPECT_EQ(std::string("\xD0\x90\xD0\xBD\xD1\x8F"), find_name("\xD0\x90\xD0\xBD\xD1\x8F")) << "UTF-8 inside";
  EXPECT_TRUE(r.warnings.empty());
  // fileInfo "codeset" names it too, for what follows.
  std::string info = "//Maya ASCII 2019 scene\nrequires maya \"2019\";\nfileInfo \"codeset\" \"1252\";\n"
                     "createNode transform -n \"caf\xE9\";\n";
  ASSERT_TRUE(load_text(info, r)) << r.error;
  EXPECT_EQ(std::string("caf\xC3\xA9"), find_name("caf\xC3\xA9"));
  // Bytes that are not UTF-8 in a UTF-8 file: never passed on as they are.
  std::string broken = header() + "createNode transform -n \"a\xFF\";\n";
  ASSERT_TRUE(load_text(broken, r)) << r.error;
  EXPECT_EQ(std::string("a\xEF\xBF\xBD"), find_name("a\xEF\xBF\xBD"));
  ASSERT_EQ(1u, r.warnings.size());
  EXPECT_NE(std::string::npos, r.warnings[0].find("forms.ma:6: text that is not valid")) << r.warnings[0];
  // A codeset this machine cannot read: a warning, and UTF-8 with
  // replacements.
  std::string unknown = "//Maya ASCII 2019 scene\n//Codeset: NO-SUCH-CODESET\ncreateNode transform -n \"b\xE9\";\n";
  ASSERT_TRUE(load_text(unknown, r)) << r.error;
  EXPECT_EQ(std::string("b\xEF\xBF\xBD"), find_name("b\xEF\xBF\xBD"));
  EXPECT_NE(std::string::npos, r.warnings[0].find("\"NO-SUCH-CODESET\"")) << r.warnings[0];
}

TEST(MayaAsciiForms, PointTweaksPastThePointsChangeNothing) {
  mayasim::MayaAsciiResult r;
  std::string text = header() + quad_strip(2, 500) +
                     "\tsetAttr -s 9 \".pt\";\n\tsetAttr \".pt[1]\" -type \"float3\" 0 0 5;\n"
                     "\tsetAttr \".pt[8]\" -type \"float3\" 1 1 1;\n";
  ASSERT_TRUE(load_text(text, r)) << r.error;
  MPointArray points;
  MFnMesh(find("stripShape")).getPoints(points);
  ASSERT_EQ(6u, points.length());
  EXPECT_DOUBLE_EQ(5.0, points[1].z) << "a tweak of a point the mesh has";
  EXPECT_DOUBLE_EQ(0.0, points[5].z);
}

TEST(MayaAsciiForms, SetAttrFlagsAfterTheAttributeAndDisconnections) {
  mayasim::MayaAsciiResult r;
  std::string text = header() +
                     "createNode transform -n \"a\";\n\tsetAttr -k off \".v\" -cb true -ca false;\n"
                     "\tsetAttr \".t\" -type \"double3\" 1 2 3;\n"
                     "createNode animCurveTL -n \"curve\";\n\tsetAttr -s 2 \".ktv[0:1]\"  1 10 24 20;\n"
                     "connectAttr \"curve.o\" \"a.tx\";\n"
                     "disconnectAttr \"curve.o\" \"a.tx\";\n"
                     "disconnectAttr \"curve.o\" \"a.ty\";\n";
  ASSERT_TRUE(load_text(text, r)) << r.error;
  MAnimControl::setCurrentTime(MTime(24.0, MTime::kFilm));
  EXPECT_DOUBLE_EQ(1.0, MFnDagNode(find("a")).transformationMatrix()[3][0]) << "the curve no longer drives tx";
  ASSERT_EQ(1u, r.warnings.size());
  EXPECT_NE(std::string::npos, r.warnings[0].find("curve.o is not connected to a.ty")) << r.warnings[0];
}

TEST(MayaAsciiForms, LineEndsOfEveryPlatformAndFilesWithoutTheHeader) {
  std::string body = "requires maya \"7.0\";\ncurrentUnit -l centimeter -a degree -t film;\n"
                     "createNode transform -n \"x\";\n// a comment\n\tsetAttr \".t\" -type \"double3\" 4 0 0 ;\n";
  for (const char* eol : {"\n", "\r\n", "\r"}) {
    std::string text;
    for (char c : body)
      text += c == '\n' ? std::string(eol) : std::string(1, c);
    mayasim::MayaAsciiResult r;
    ASSERT_TRUE(load_text(text, r)) << r.error;
    EXPECT_DOUBLE_EQ(4.0, MFnDagNode(find("x")).transformationMatrix()[3][0])
        << "line ends " << (eol[0] == '\r' ? (eol[1] ? "CR LF" : "CR") : "LF");
  }
  // A bad statement on the fourth line is named as there, whatever the
  // line ends.
  mayasim::MayaAsciiResult r;
  EXPECT_FALSE(load_text("requires maya \"7.0\";\rcreateNode transform -n \"x\";\r\r\tsetAttr \".t\" 1 2 q;\r", r));
  EXPECT_NE(std::string::npos, r.error.find("forms.ma:4:")) << r.error;
  // Text that is not a scene at all.
  EXPECT_FALSE(load_text("hello world;\n", r));
  EXPECT_NE(std::string::npos, r.error.find("not a Maya ASCII file")) << r.error;
}
