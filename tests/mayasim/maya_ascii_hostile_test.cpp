// Scenes made to break the loader, or big enough to: instancing cycles,
// hierarchies deeper than any stack, indices and sizes a short file cannot
// fill, and values no reader accepts. Each loads, or is refused with the
// file, line and a reason, without crashing, hanging or taking memory out
// of proportion to the file.
#include "api_helpers.h"

#include <maya/MFnDependencyNode.h>

#include "mayasim/builder.h"
#include "mayasim/maya_ascii.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using namespace mayasim::builder;

namespace {

std::string header() {
  return "//Maya ASCII 2020 scene\n//Name: hostile.ma\n//Codeset: UTF-8\nrequires maya \"2020\";\n"
         "currentUnit -l centimeter -a degree -t film;\n";
}

bool load_text(const std::string& text, mayasim::MayaAsciiResult& r) {
  return mayasim::load_maya_ascii_text(text.data(), text.size(), "hostile.ma", r);
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
