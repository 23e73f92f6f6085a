// Scenes made to break the loader, or big enough to: instancing cycles,
// hierarchies deeper than any stack, indices and sizes a short file cannot
// fill, and values no reader accepts. Each loads, or is refused with the
// file, line and a reason, without crashing, hanging or taking memory out
// of proportion to the file.
#include "api_helpers.h"

#include <maya/MDagPathArray.h>
#include <maya/MDoubleArray.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MFnMesh.h>
#include <maya/MFnSkinCluster.h>
#include <maya/MIntArray.h>
#include <maya/MMatrix.h>
#include <maya/MObjectArray.h>
#include <maya/MStringArray.h>

#include "mayasim/builder.h"
#include "mayasim/maya_ascii.h"
#include "support/bounded_run.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>


using namespace mayasim::builder;

namespace {

std::string header() {
  return "//Maya ASCII 2020 scene\n//Name: hostile.ma\n//Codeset: UTF-8\nrequires maya \"2020\";\n"
         "currentUnit -l centimeter -a degree -t film;\n";
}

bool load_text(const std::string& text, mayasim::MayaAsciiResult& r) {
  return mayasim::load_maya_ascii_text(text.data(), text.size(), "hostile.ma", r);
}

// Loads the text in a child process held to `megabytes` of address space
// and `seconds`, expecting it to load.
void expect_loads_within(const std::string& text, long megabytes, int seconds) {
  std::string message;
  EXPECT_TRUE(test::within_bounds(
      [&] {
        mayasim::MayaAsciiResult r;
        EXPECT_TRUE(load_text(text, r)) << r.error;
        return r.error.empty();
      },
      megabytes, seconds, message))
      << message;
}

// Loads `body` after the header, expecting a refusal; returns its message.
std::string refusal(const std::string& body) {
  mayasim::MayaAsciiResult r;
  EXPECT_FALSE(load_text(header() + body, r)) << body.substr(0, 200);
  return r.error;
}

} // namespace

// Maya refuses a parent command that would put a node below itself, by any
// of its parents: instancing makes several.
TEST(MayaAsciiHostile, InstancingCyclesAreRefusedNamingTheNodes) {
  const std::string nodes = "createNode transform -n \"A\";\ncreateNode transform -n \"B\";\n"
                            "createNode transform -n \"C\";\n";
  struct Case {
    const char* statements;
    const char* message;
  };
  const Case cases[] = {
      {"parent -add \"B\" \"A\";\nparent -add \"A\" \"B\";\n",
       "hostile.ma:10: parent -add \"A\" \"B\": cannot put \"A\" below \"B\", which is below it"},
      {"parent -add \"B\" \"A\";\nparent \"A\" \"B\";\n",
       "hostile.ma:10: parent \"A\" \"B\": cannot put \"A\" below \"B\", which is below it"},
      // Only the second parent of C leads back to A.
      {"parent -add \"B\" \"A\";\nparent -add \"C\" \"B\";\nparent -add \"A\" \"C\";\n",
       "hostile.ma:11: parent -add \"A\" \"C\": cannot put \"A\" below \"C\", which is below it"},
      {"parent \"A\" \"A\";\n", "hostile.ma:9: parent \"A\" \"A\": cannot put \"A\" below \"A\""},
  };
  for (const Case& c : cases) {
    std::string error = refusal(nodes + c.statements);
    EXPECT_EQ(error.find(c.message), 0u) << error;
  }
}

// --list's outline of a chain far deeper than a recursive walk survives;
// past a fixed depth the level is written instead of more indentation, so
// the text stays proportional to the scene.
TEST(MayaAsciiHostile, TheOutlineOfAHundredThousandDeepChain) {
  new_scene();
  const int DEPTH = 100000;
  MObject parent = joint("j0");
  for (int i = 1; i < DEPTH; ++i)
    parent = joint("j" + std::to_string(i), parent);
  std::string outline = mayasim::outline_scene();
  EXPECT_NE(outline.find("[level 100000] j99999 (joint)\n"), std::string::npos);
  EXPECT_NE(outline.find("\n  j0 (joint)\n    j1 (joint)\n"), std::string::npos);
  EXPECT_LT(outline.size(), size_t(DEPTH) * 120);
  new_scene();
}

// A move takes one instance from its parent and leaves the node's others;
// a path through sixteen levels of two instances each (65,536 paths)
// names the one instance it goes through.
TEST(MayaAsciiHostile, InstancesMoveOneAtATimeAndDeepInstancedPathsResolve) {
  std::ostringstream s;
  s << "createNode transform -n \"N0\";\n";
  const int LEVELS = 16;
  for (int i = 1; i <= LEVELS; ++i)
    s << "createNode transform -n \"N" << i << "\";\ncreateNode transform -n \"A" << i << "\" -p \"N" << i
      << "\";\ncreateNode transform -n \"B" << i << "\" -p \"N" << i << "\";\nparent -add \"|N" << i - 1
      << "\" \"A" << i << "\";\nparent \"|N" << i - 1 << "\" \"B" << i << "\";\n";
  std::string path;
  for (int i = LEVELS; i >= 1; --i)
    path += "|N" + std::to_string(i) + "|A" + std::to_string(i);
  path += "|N0";
  for (int k = 0; k < 3; ++k)
    s << "setAttr \"" << path << ".tx\" " << 2997 + k << ";\n";
  mayasim::MayaAsciiResult r;
  ASSERT_TRUE(load_text(header() + s.str(), r)) << r.error;
  MFnDagNode n0(find("N0"));
  ASSERT_EQ(n0.parentCount(), 2u);
  std::set<std::string> parents{MFnDependencyNode(n0.parent(0)).name().asChar(),
                                MFnDependencyNode(n0.parent(1)).name().asChar()};
  EXPECT_EQ(parents, (std::set<std::string>{"A1", "B1"}));
  MDagPathArray all;
  MDagPath::getAllPathsTo(find("N0"), all);
  EXPECT_EQ(all.length(), 65536u);
  EXPECT_EQ(n0.transformationMatrix()[3][0], 2999.0);

  std::string wrong = path;
  wrong.replace(wrong.find("|A9|"), 4, "|A8|");
  std::string error = refusal(s.str().substr(0, s.str().find("setAttr")) + "setAttr \"" + wrong + ".tx\" 1;\n");
  EXPECT_NE(error.find("no node is at the path"), std::string::npos) << error;
}

namespace {

// A plane of `sw` by `sh` faces made by polyPlane, on a mesh pShape.
std::string plane(int sw, int sh) {
  return "createNode transform -n \"p\";\ncreateNode mesh -n \"pShape\" -p \"p\";\n"
         "createNode polyPlane -n \"polyPlane1\";\n\tsetAttr \".sw\" " +
         std::to_string(sw) + ";\n\tsetAttr \".sh\" " + std::to_string(sh) +
         ";\nconnectAttr \"polyPlane1.out\" \"pShape.i\";\n";
}

} // namespace

// Each array is bounded by the file's size, and all of them together too:
// many short writes far beyond the values given cannot add up to
// gigabytes.
TEST(MayaAsciiHostile, SparseWritesAcrossNodesAreBoundedTogether) {
  TW_SKIP_UNDER_ADDRESS_SANITIZER();
  std::string message;
  for (const char* array : {"vt[1000000]\" 0 0 0", "ktv[1000000]\" 1 0"}) {
    bool curves = array[0] == 'k';
    std::ostringstream s;
    for (int i = 0; i < 300; ++i) {
      if (curves)
        s << "createNode animCurveTL -n \"c" << i << "\";\n";
      else
        s << "createNode transform -n \"t" << i << "\";\ncreateNode mesh -n \"m" << i << "\" -p \"t" << i << "\";\n";
      s << "\tsetAttr \"." << array << ";\n";
    }
    s << "//" << std::string(1100000, 'x') << "\n"; // a file of a megabyte
    std::string text = header() + s.str();
    EXPECT_TRUE(test::within_bounds(
        [&] {
          mayasim::MayaAsciiResult r;
          if (load_text(text, r))
            return false;
          EXPECT_NE(r.error.find("MB together, more than the 81 MB allowed for a file of"), std::string::npos)
              << r.error;
          return true;
        },
        1024, 60, message))
        << array << ": " << message;
  }
}

// Resolving a path of many levels walks its names; one setAttr after
// another naming the deepest node of sixteen levels of instancing loads in
// a moment, not in minutes.
TEST(MayaAsciiHostile, PathsAreResolvedWithoutListingEveryPath) {
  TW_SKIP_UNDER_ADDRESS_SANITIZER();
  std::ostringstream s;
  s << "createNode transform -n \"N0\";\n";
  for (int i = 1; i <= 16; ++i)
    s << "createNode transform -n \"N" << i << "\";\ncreateNode transform -n \"A" << i << "\" -p \"N" << i
      << "\";\ncreateNode transform -n \"B" << i << "\" -p \"N" << i << "\";\nparent -add \"|N" << i - 1 << "\" \"A"
      << i << "\";\nparent \"|N" << i - 1 << "\" \"B" << i << "\";\n";
  std::string path;
  for (int i = 16; i >= 1; --i)
    path += "|N" + std::to_string(i) + "|B" + std::to_string(i);
  for (int k = 0; k < 20000; ++k)
    s << "setAttr \"" << path << "|N0.ty\" " << k << ";\n";
  expect_loads_within(header() + s.str(), 1024, 20);
}

// A component list naming every face hundreds of times names each once.
TEST(MayaAsciiHostile, RepeatedComponentsCountEachFaceOnce) {
  TW_SKIP_UNDER_ADDRESS_SANITIZER();
  std::string list = "setAttr \".iog[0].og[0].gcl\" -type \"componentList\" 4000";
  for (int i = 0; i < 4000; ++i)
    list += i % 2 ? " \"f[*]\"" : " \"f[0:249999]\"";
  std::string text = header() + plane(500, 500) + "select -ne \"pShape\";\n\t" + list +
                     ";\ncreateNode shadingEngine -n \"sg\";\ncreateNode lambert -n \"m\";\n"
                     "connectAttr \"m.oc\" \"sg.ss\";\nconnectAttr \"pShape.iog.og[0]\" \"sg.dsm\" -na;\n";
  std::string message;
  EXPECT_TRUE(test::within_bounds(
      [&] {
        mayasim::MayaAsciiResult r;
        EXPECT_TRUE(load_text(text, r)) << r.error;
        MObjectArray shaders;
        MIntArray per_face;
        MFnMesh(path_to(find("pShape"))).getConnectedShaders(0, shaders, per_face);
        EXPECT_EQ(shaders.length(), 1u);
        EXPECT_EQ(per_face.length(), 250000u);
        return r.error.empty();
      },
      1024, 30, message))
      << message;
}

namespace {

// A quad skinned by skinCluster1, whose weights and influences `skin`
// gives; joints j0 and j1 are connected at logical indices 0 and
// `logical`.
std::string skinned_quad(const std::string& skin, long long logical) {
  return "createNode joint -n \"j0\";\ncreateNode joint -n \"j1\";\n\tsetAttr \".t\" -type \"double3\" 2 0 0 ;\n"
         "createNode transform -n \"q\";\ncreateNode mesh -n \"qShape\" -p \"q\";\n"
         "\tsetAttr -s 4 \".vt[0:3]\" 0 0 0 1 0 0 1 1 0 0 1 0;\n\tsetAttr -s 4 \".ed[0:3]\" 0 1 0 1 2 0 2 3 0 3 0 0;\n"
         "\tsetAttr -s 1 \".fc[0]\" -type \"polyFaces\" f 4 0 1 2 3;\n"
         "createNode mesh -n \"qShapeOrig\" -p \"q\";\n\tsetAttr \".io\" yes;\n"
         "\tsetAttr -s 4 \".vt[0:3]\" 0 0 0 1 0 0 1 1 0 0 1 0;\n\tsetAttr -s 4 \".ed[0:3]\" 0 1 0 1 2 0 2 3 0 3 0 0;\n"
         "\tsetAttr -s 1 \".fc[0]\" -type \"polyFaces\" f 4 0 1 2 3;\n"
         "createNode skinCluster -n \"skinCluster1\";\n" +
         skin +
         "connectAttr \"j0.wm\" \"skinCluster1.ma[0]\";\nconnectAttr \"j1.wm\" \"skinCluster1.ma[" +
         std::to_string(logical) +
         "]\";\nconnectAttr \"qShapeOrig.w\" \"skinCluster1.ip[0].ig\";\nconnectAttr \"skinCluster1.og[0]\" "
         "\"qShape.i\";\n";
}

// The weights of vertex `v` of qShape, per influence.
std::vector<double> weights_of(int v) {
  MFnSkinCluster skin(find("skinCluster1"));
  MDoubleArray weights; // every vertex's, for a null component
  unsigned count = 0;
  skin.getWeights(path_to(find("qShape")), MObject(), weights, count);
  std::vector<double> out;
  for (unsigned i = 0; i < count && unsigned(v) * count + i < weights.length(); ++i)
    out.push_back(weights[unsigned(v) * count + i]);
  return out;
}

} // namespace

// Influence indices are logical: any up to 2^31 - 1, kept sparse. A vertex
// given a weight again keeps the last one, and hundreds of thousands of
// weights on one vertex are read in one pass.
TEST(MayaAsciiHostile, SkinWeightsAreSparseAndLinear) {
  TW_SKIP_UNDER_ADDRESS_SANITIZER();
  std::string message;
  EXPECT_TRUE(test::within_bounds(
      [&] {
        mayasim::MayaAsciiResult r;
        std::string skin = "\tsetAttr \".wl[0].w[0]\" 1;\n\tsetAttr \".wl[1].w[2147483647]\" 1;\n"
                           "\tsetAttr \".wl[2].w[0]\" 0.5;\n\tsetAttr \".wl[2].w[2147483647]\" 0.5;\n"
                           "\tsetAttr \".wl[3].w[0]\" 0.75;\n\tsetAttr \".wl[3].w[0]\" 0.25;\n";
        // Vertex 2: 400,000 more influences, none with a joint, weighing
        // nothing; vertex 3: its first influence given 100,000 times over
        // in the list form (count, then index and weight, replacing what
        // the vertex had): the last value counts.
        skin += "\tsetAttr \".wl[2].w[1:400000]\"";
        for (int i = 0; i < 400000; ++i)
          skin += " 0";
        skin += ";\n\tsetAttr \".wl[3].w\" 100000";
        for (int i = 0; i < 99999; ++i)
          skin += " 0 0.3";
        skin += " 0 0.4;\n";
        EXPECT_TRUE(load_text(header() + skinned_quad(skin, 2147483647), r)) << r.error;
        EXPECT_EQ(weights_of(0), (std::vector<double>{1, 0}));
        EXPECT_EQ(weights_of(1), (std::vector<double>{0, 1}));
        EXPECT_EQ(weights_of(2), (std::vector<double>{0.5, 0.5}));
        EXPECT_EQ(weights_of(3), (std::vector<double>{0.4, 0}));
        MFnSkinCluster fn(find("skinCluster1"));
        EXPECT_EQ(fn.indexForInfluenceObject(path_to(find("j1"))), 2147483647u);
        // The influences without a joint are named in one warning.
        size_t about_influences = 0;
        for (const std::string& w : r.warnings)
          if (w.find("which no joint is connected to") != std::string::npos) {
            ++about_influences;
            EXPECT_NE(w.find("influences 1, 2, 3, 4, 5 and 399995 more"), std::string::npos) << w;
          }
        EXPECT_EQ(about_influences, 1u);
        return r.error.empty();
      },
      1024, 20, message))
      << message;
}

// Set indices go up to 2^31 - 1; the default name and the next set's index
// are worked out without overflowing.
TEST(MayaAsciiHostile, SetIndicesAtTheLargestIndex) {
  mayasim::MayaAsciiResult r;
  std::string text = header() +
                     "createNode transform -n \"p\";\ncreateNode mesh -n \"pShape\" -p \"p\";\n"
                     "createNode polyPlane -n \"polyPlane1\";\n\tsetAttr \".sw\" 1;\n\tsetAttr \".sh\" 1;\n"
                     "createNode polyColorPerVertex -n \"paint\";\n\tsetAttr \".cn\" -type \"string\" \"painted\";\n"
                     "\tsetAttr \".vclr[0].vrgb\" -type \"float3\" 1 0 0;\n"
                     "connectAttr \"polyPlane1.out\" \"paint.ip\";\nconnectAttr \"paint.out\" \"pShape.i\";\n"
                     "createNode transform -n \"s\";\ncreateNode mesh -n \"sShape\" -p \"s\";\n"
                     "\tsetAttr \".uvst[2147483647].uvsp[0:3]\" -type \"float2\" 0 0 1 0 1 1 0 1;\n"
                     "\tsetAttr \".clst[2147483647].clsp[0:3]\" 1 0 0 1 0 1 0 1 0 0 1 1 1 1 1 1;\n"
                     "\tsetAttr -s 4 \".vt[0:3]\" 0 0 0 1 0 0 1 1 0 0 1 0;\n"
                     "\tsetAttr -s 4 \".ed[0:3]\" 0 1 0 1 2 0 2 3 0 3 0 0;\n"
                     "\tsetAttr -s 1 \".fc[0]\" -type \"polyFaces\" f 4 0 1 2 3 mu 2147483647 4 0 1 2 3 "
                     "mc 2147483647 4 0 1 2 3;\n";
  ASSERT_TRUE(load_text(text, r)) << r.error;
  MFnMesh s(path_to(find("sShape")));
  MStringArray uv_sets, color_sets;
  s.getUVSetNames(uv_sets);
  s.getColorSetNames(color_sets);
  ASSERT_EQ(uv_sets.length(), 1u);
  EXPECT_STREQ(uv_sets[0].asChar(), "map2147483648");
  ASSERT_EQ(color_sets.length(), 1u);
  EXPECT_STREQ(color_sets[0].asChar(), "colorSet2147483648");
  MFnMesh p(path_to(find("pShape")));
  p.getColorSetNames(color_sets);
  ASSERT_EQ(color_sets.length(), 1u);
  EXPECT_STREQ(color_sets[0].asChar(), "painted");
}

// Maya files hold finite numbers: what from_chars also reads ("nan",
// "inf", "infinity", "nan(123)"), what overflows a double, and what
// overflows once in centimetres, are refused at the line that holds them.
TEST(MayaAsciiHostile, NumbersThatAreNotFiniteAreRefused) {
  struct Case {
    const char* units;
    const char* value;
    const char* message;
  };
  const Case cases[] = {
      {"centimeter", "nan", "expected a finite number, found \"nan\""},
      {"centimeter", "inf", "expected a finite number, found \"inf\""},
      {"centimeter", "-infinity", "expected a finite number, found \"-infinity\""},
      {"centimeter", "nan(123)", "expected a finite number, found \"nan(123)\""},
      {"centimeter", "1e999", "the number \"1e999\" is beyond the range of a double"},
      {"mile", "1e308", "the value 1e+308 is too large to hold in centimetres"},
  };
  for (const Case& c : cases) {
    std::string text = "//Maya ASCII 2020 scene\nrequires maya \"2020\";\ncurrentUnit -l " + std::string(c.units) +
                       " -a degree -t film;\ncreateNode transform -n \"A\";\n\tsetAttr \".t\" -type \"double3\"\n\t\t0 " +
                       c.value + " 0 ;\n";
    mayasim::MayaAsciiResult r;
    EXPECT_FALSE(load_text(text, r)) << c.value;
    EXPECT_EQ(r.error.find("hostile.ma:6: "), 0u) << r.error; // the value's line; the statement starts on 5
    EXPECT_NE(r.error.find("(a statement from line 5): " + std::string(c.message)), std::string::npos) << r.error;
  }
  // Keys as well.
  std::string keys = header() + "createNode animCurveTL -n \"c\";\n\tsetAttr -s 2 \".ktv[0:1]\" 1 0 10 inf;\n";
  mayasim::MayaAsciiResult r;
  EXPECT_FALSE(load_text(keys, r));
  EXPECT_NE(r.error.find("expected a finite number, found \"inf\""), std::string::npos) << r.error;
}

// rename takes the names createNode does; messages show a name's control
// bytes escaped, never raw to the terminal; a file of comments only is not
// an empty scene.
TEST(MayaAsciiHostile, NamesMessagesAndFilesWithoutStatements) {
  const std::string node = "createNode transform -n \"A\";\n";
  for (const char* name : {"", "x|y", "x.y", "x[0]", "a b", ":", "tab\there"}) {
    std::string error = refusal(node + "rename \"A\" \"" + name + "\";\n");
    EXPECT_NE(error.find("a node cannot be named"), std::string::npos) << name << ": " << error;
    EXPECT_EQ(error.find('\t'), std::string::npos) << error;
  }
  mayasim::MayaAsciiResult r;
  ASSERT_TRUE(load_text(header() + node + "rename \"A\" \":B\";\n", r)) << r.error;
  EXPECT_FALSE(find("B").isNull());

  std::string error = refusal("createNode transform -n \"red\x1b[31mtext\";\n");
  EXPECT_EQ(error.find('\x1b'), std::string::npos) << error;
  EXPECT_NE(error.find("\"red\\x1b[31mtext\""), std::string::npos) << error;
  error = refusal("setAttr \"clear\x1b[2J.tx\" 1;\n");
  EXPECT_EQ(error.find('\x1b'), std::string::npos) << error;
  EXPECT_NE(error.find("no node is named \"clear\\x1b[2J\""), std::string::npos) << error;

  for (std::string text : {std::string("//Maya ASCII 2020 scene\n//Name: x.ma\n// nothing else\n"),
                           std::string("//Maya ASCII 2020 scene\rrequires maya \"2020\";\rcreateNode transform;\r")
                               .replace(0, 0, "// a comment\n")}) {
    mayasim::MayaAsciiResult result;
    bool loaded = load_text(text, result);
    if (text.find('\r') != std::string::npos) {
      // Carriage returns end lines like line feeds: the statements are read.
      EXPECT_TRUE(loaded) << result.error;
      EXPECT_FALSE(find("transform1").isNull());
    } else {
      EXPECT_FALSE(loaded);
      EXPECT_NE(result.error.find("no statement was read from it"), std::string::npos) << result.error;
    }
  }
}

// A file too large for the memory there is, within every bound the loader
// sets (a creator's mesh that fits the export budget of a larger machine),
// is refused with a message, never ended by std::bad_alloc.
TEST(MayaAsciiHostile, RunningOutOfMemoryIsARefusal) {
  TW_SKIP_UNDER_ADDRESS_SANITIZER();
  if (sizeof(void*) < 8)
    GTEST_SKIP() << "in a 32-bit process the creators' budget (1 GB) refuses this plane before memory runs out";
  std::string message;
  EXPECT_TRUE(test::within_bounds(
      [&] {
        mayasim::MayaAsciiResult r;
        EXPECT_FALSE(load_text(header() + plane(1400, 1400), r));
        EXPECT_NE(r.error.find("hostile.ma: there is not enough memory to load it"), std::string::npos) << r.error;
        return !r.error.empty();
      },
      192, 60, message))
      << message;
  new_scene();
}

// An array's "-s" size only reserves room while the arrays' budget allows:
// thousands of statements each claiming two billion elements, in a file of
// kilobytes, do not ask for gigabytes.
TEST(MayaAsciiHostile, SizesClaimedBeyondTheValuesReserveNothing) {
  TW_SKIP_UNDER_ADDRESS_SANITIZER();
  std::ostringstream s;
  s << "createNode transform -n \"t\";\ncreateNode mesh -n \"tShape\" -p \"t\";\n";
  for (int k = 0; k < 3000; ++k)
    s << "\tsetAttr -s 2000000000 \".clst[" << k << "].clsp[0]\" 1 0 0 1;\n";
  expect_loads_within(header() + s.str(), 1024, 30);
}
