// Scenes that reference other scenes: the shared collection (references
// nested three deep, one file referenced under several namespaces), each
// kind of reference edit, and each rule for finding a file whose recorded
// path leads nowhere. Most cases keep their files in memory, at made-up
// absolute paths, so that the rules are tested without a disk layout.
#include "api_helpers.h"

#include <maya/MFnDagNode.h>
#include <maya/MMatrix.h>

#include "mayasim/builder.h"
#include "mayasim/maya_ascii.h"

#include <gtest/gtest.h>

#include <map>
#include <stdlib.h>
#include <string>

namespace {

const std::string HEADER = "//Maya ASCII 2020 scene\n//Codeset: UTF-8\nrequires maya \"2020\";\n"
                           "currentUnit -l centimeter -a degree -t film;\n";

std::string reference(const std::string& ns, const std::string& node, const std::string& path) {
  return "file -rdi 1 -ns \"" + ns + "\" -rfn \"" + node + "\" \"" + path + "\";\nfile -r -ns \"" + ns +
         "\" -dr 1 -rfn \"" + node + "\" \"" + path + "\";\n";
}

// A prop: a transform with a child, and a transform with an animated tx.
const std::string PROP = HEADER +
                         "createNode transform -n \"a\";\n"
                         "createNode transform -n \"b\" -p \"a\";\n"
                         "\tsetAttr \".t\" -type \"double3\" 5 0 0 ;\n"
                         "createNode transform -n \"c\";\n"
                         "createNode animCurveTL -n \"cx\";\n"
                         "\tsetAttr -s 2 \".ktv[0:1]\"  1 0 24 5;\n"
                         "connectAttr \"cx.o\" \"c.tx\";\n";

struct Files {
  std::map<std::string, std::string> files;
  mayasim::ReferenceOptions options;
  mayasim::MayaAsciiResult result;
  Files() { options.files = &files; }
  bool load(const std::string& scene) {
    const std::string& text = files.at(scene);
    return mayasim::load_maya_ascii_text(text.data(), text.size(), scene, result, options);
  }
  std::string warnings() const {
    std::string all;
    for (const std::string& w : result.warnings)
      all += w + "\n";
    return all;
  }
};

bool exists(const char* name) { return !mayasim::builder::find(name).isNull(); }

std::string parent_of(const char* name) {
  MFnDagNode node(path_to(mayasim::builder::find(name)));
  return MFnDagNode(node.parent(0)).name().asChar();
}

// The translation of a transform without rotation or pivots.
double translate(const char* node, int axis) {
  return MFnDagNode(path_to(mayasim::builder::find(node))).transformationMatrix()(3, axis);
}

// The outline's line for a node ("name (type; animated: tx (2 keys))").
std::string outline_line(const std::string& name) {
  std::string outline = mayasim::outline_scene();
  size_t at = outline.find(" " + name + " (");
  if (at == std::string::npos)
    return std::string();
  return outline.substr(at + 1, outline.find('\n', at) - at - 1);
}

bool animated(const std::string& name, const std::string& channel) {
  return outline_line(name).find("animated:") != std::string::npos &&
         outline_line(name).find(" " + channel + " (") != std::string::npos;
}

} // namespace

TEST(MayaAsciiReferences, TheSharedNestedSetLoadsEveryFileUnderItsNamespaces) {
  const std::string dir = std::string(TW_SHARED_TESTDATA) + "/maya-references/";
  mayasim::MayaAsciiResult r;
  // The paths recorded are $MAYAFILEBASE/ma/NAME.ma on the author's
  // machine: each file is found next to the scene by its name.
  ASSERT_TRUE(mayasim::load_maya_ascii(dir + "refbase.ma", r)) << r.error;
  // refbase references cube, cylinder, sphere and subrefbase; subrefbase
  // the same three and subsubrefbase; subsubrefbase the three again.
  EXPECT_EQ(r.files, 12u);
  ASSERT_EQ(r.references.size(), 11u);
  for (const auto& ref : r.references) {
    EXPECT_EQ(ref.state, "loaded") << ref.node;
    EXPECT_EQ(ref.rule, "next to the referencing file") << ref.node;
  }
  EXPECT_EQ(r.references[4].node, "subrefbase:cubeRN");
  EXPECT_EQ(r.references[4].depth, 2);
  EXPECT_EQ(r.references[7].node, "subrefbase:subsubrefbaseRN");
  EXPECT_EQ(r.references[8].ns, "subrefbase:subsubrefbase:cube");
  EXPECT_EQ(r.references[8].depth, 3);
  for (const char* name : {"pCube1", "cube:pCube1", "subrefbase:pSphere1", "subrefbase:cube:pCubeShape1",
                           "subrefbase:subsubrefbase:pCylinder1", "subrefbase:subsubrefbase:sphere:pSphereShape1"})
    EXPECT_TRUE(exists(name)) << name;
}

TEST(MayaAsciiReferences, OneFileReferencedTwiceGetsTheEditsOfEachReferenceNode) {
  const std::string dir = std::string(TW_SHARED_TESTDATA) + "/maya-references/";
  mayasim::MayaAsciiResult r;
  ASSERT_TRUE(mayasim::load_maya_ascii(dir + "ref2re.ma", r)) << r.error;
  EXPECT_TRUE(r.warnings.empty()) << r.warnings.front();
  // The scene's initial shading group says it holds 44 shapes: two copies
  // of 4 cylinders, 10 cubes and 8 spheres.
  int meshes = 0;
  for (const char* ns : {"ref4m2r", "ref4m2r1"}) {
    for (int i = 1; i <= 4; ++i)
      meshes += exists((std::string(ns) + ":pCylinderShape" + std::to_string(i)).c_str());
    for (int i = 1; i <= 10; ++i)
      meshes += exists((std::string(ns) + ":ref10m:pCubeShape" + std::to_string(i)).c_str());
    for (int i = 1; i <= 8; ++i)
      meshes += exists((std::string(ns) + ":ref8m:pSphereShape" + std::to_string(i)).c_str());
  }
  EXPECT_EQ(meshes, 44);
  // Edits of a nested reference kept by the scene's reference node.
  // (its own file says 9 9 0)
  EXPECT_NEAR(translate("ref4m2r1:ref10m:pCube10", 0), 13.149239, 1e-9);
  EXPECT_NEAR(translate("ref4m2r1:ref10m:pCube10", 1), 8.348277, 1e-9);
  EXPECT_NEAR(translate("ref4m2r1:ref10m:pCube10", 2), -13.937374, 1e-9);
  EXPECT_EQ(translate("ref4m2r:ref10m:pCube10", 0), 9.0);
}

TEST(MayaAsciiReferences, EachKindOfEditIsAppliedAfterTheFileLoadsOrWarnedAbout) {
  Files f;
  f.files["/show/prop.ma"] = PROP;
  f.files["/show/shot.ma"] =
      HEADER + reference("prop", "propRN", "/show/prop.ma") +
      "createNode fosterParent -n \"propRNfosterParent1\";\n"
      "createNode transform -n \"extra\" -p \"propRNfosterParent1\";\n"
      "createNode animCurveTL -n \"drive\";\n"
      "\tsetAttr -s 2 \".ktv[0:1]\"  1 0 24 10;\n"
      "createNode animCurveTL -n \"lift\";\n"
      "\tsetAttr -s 2 \".ktv[0:1]\"  1 0 24 3;\n"
      "createNode reference -n \"propRN\";\n"
      "\tsetAttr \".phl[1]\" 0;\n"
      "\tsetAttr \".ed\" -type \"dataReferenceEdits\" \n"
      "\t\t\"propRN\"\n\t\t\"propRN\" 8\n"
      "\t\t0 \"|propRNfosterParent1|extra\" \"|prop:a\" \"-s -r \"\n"
      "\t\t2 \"|prop:a\" \"translate\" \" -type \\\"double3\\\" 1 2 3\"\n"
      "\t\t1 |prop:a \"note\" \"nt\" \" -dt \\\"string\\\"\"\n"
      "\t\t4 \"prop:cx.output\" \"prop:c.translateX\"\n"
      "\t\t3 \"lift.o\" \"prop:b.ty\" \"\"\n"
      "\t\t2 \"|prop:gone\" \"translate\" \" -type \\\"double3\\\" 1 2 3\"\n"
      "\t\t9 \"|prop:a\" \"something\"\n"
      "\t\t5 4 \"propRN\" \"|prop:a.translateZ\" \"propRN.placeHolderList[1]\" \"\";\n"
      "connectAttr \"drive.o\" \"propRN.phl[1]\";\n";
  ASSERT_TRUE(f.load("/show/shot.ma")) << f.result.error;
  ASSERT_EQ(f.result.references.size(), 1u);
  EXPECT_EQ(f.result.references[0].edits, 6u);
  // An edit whose node is gone is a warning, as Maya reports it; so is a
  // kind mayasim does not read.
  EXPECT_EQ(f.result.references[0].failed_edits, 1u);
  EXPECT_EQ(f.warnings(), "/show/shot.ma:15: a reference edit of \"propRN\" was not applied: setAttr "
                          "\"|prop:gone.translate\" -type \"double3\" 1 2 3: no node is named \"|prop:gone\".\n"
                          "/show/shot.ma: reference edits of kind 9 on \"propRN\" are not read by mayasim; skipped.\n");
  EXPECT_EQ(parent_of("extra"), "prop:a");               // parent
  EXPECT_EQ(translate("prop:a", 1), 2.0); // setAttr
  EXPECT_FALSE(animated("prop:c", "tx")) << outline_line("prop:c"); // disconnectAttr
  EXPECT_TRUE(animated("prop:b", "ty")) << outline_line("prop:b");   // connectAttr
  EXPECT_TRUE(animated("prop:a", "tz")) << outline_line("prop:a");   // through the placeholder
  EXPECT_EQ(outline_line("prop:a"), "prop:a (transform; animated: tz (2 keys))");
}

TEST(MayaAsciiReferences, NamespacesNestAndOneFileTwiceDoesNotClash) {
  Files f;
  f.files["/lib/prop.ma"] = PROP;
  f.files["/lib/set.ma"] = HEADER + reference("chair", "chairRN", "/lib/prop.ma") +
                           "createNode transform -n \"floor\";\n";
  f.files["/lib/shot.ma"] = HEADER + reference("left", "leftRN", "/lib/set.ma") +
                            reference("right", "rightRN", "/lib/set.ma") +
                            "file -rdi 1 -ns \":\" -rfn \"rootRN\" \"/lib/prop.ma\";\n"
                            "file -r -ns \":\" -dr 1 -rfn \"rootRN\" \"/lib/prop.ma\";\n";
  ASSERT_TRUE(f.load("/lib/shot.ma")) << f.result.error;
  for (const char* name : {"left:floor", "right:floor", "left:chair:a", "right:chair:b", "a", "c"})
    EXPECT_TRUE(exists(name)) << name;
  EXPECT_EQ(parent_of("left:chair:b"), "left:chair:a");
  EXPECT_TRUE(animated("right:chair:c", "tx"));
  EXPECT_EQ(f.result.references[1].node, "left:chairRN");
  EXPECT_EQ(f.result.references[1].ns, "left:chair");
}

TEST(MayaAsciiReferences, UnloadedReferencesAreLeftOutWithOneWarning) {
  Files f;
  f.files["/lib/prop.ma"] = PROP;
  f.files["/lib/set.ma"] = HEADER + reference("chair", "chairRN", "/lib/prop.ma") +
                           "createNode transform -n \"floor\";\n";
  // The scene recorded its set loaded and the set's chair unloaded, and a
  // second prop unloaded.
  f.files["/lib/shot.ma"] = HEADER +
                            "file -rdi 1 -ns \"set\" -rfn \"setRN\" \"/lib/set.ma\";\n"
                            "file -rdi 2 -ns \"chair\" -dr 1 -rfn \"set:chairRN\" \"/lib/prop.ma\";\n"
                            "file -rdi 1 -ns \"lamp\" -dr 1 -rfn \"lampRN\" \"/lib/missing.ma\";\n"
                            "file -r -ns \"set\" -dr 1 -rfn \"setRN\" \"/lib/set.ma\";\n"
                            "file -r -ns \"lamp\" -dr 1 -rfn \"lampRN\" \"/lib/missing.ma\";\n";
  ASSERT_TRUE(f.load("/lib/shot.ma")) << f.result.error;
  EXPECT_TRUE(exists("set:floor"));
  EXPECT_FALSE(exists("set:chair:a"));
  ASSERT_EQ(f.result.references.size(), 3u);
  EXPECT_EQ(f.result.references[1].state, "deferred");
  EXPECT_EQ(f.result.references[2].state, "deferred");
  ASSERT_EQ(f.result.warnings.size(), 2u);
  EXPECT_NE(f.result.warnings[1].find("the reference \"lampRN\" to \"/lib/missing.ma\" was unloaded when the "
                                      "scene was saved; it is left out, as Maya leaves it"),
            std::string::npos);
}

TEST(MayaAsciiReferences, RecordedPathsAreFoundByEachRuleInOrder) {
  struct Case {
    const char* written;
    const char* file; // where the file really is
    const char* rule;
  } cases[] = {
      {"/studio/show/assets/prop.ma", "/studio/show/assets/prop.ma", "as written"},
      {"$TW_TEST_SHOW/assets/prop.ma", "/studio/show/assets/prop.ma", "as written"},
      {"${TW_TEST_SHOW}/assets/prop.ma", "/studio/show/assets/prop.ma", "as written"},
      // Saved on Windows: found next to the scene by its trailing folders.
      {"C:/Users/artist/show/scenes/shots/props/prop.ma", "/studio/show/scenes/shots/props/prop.ma",
       "next to the referencing file"},
      {"C:\\\\Users\\\\artist\\\\show\\\\scenes\\\\shots\\\\prop.ma", "/studio/show/scenes/shots/prop.ma",
       "next to the referencing file"},
      // In the project (the folder with workspace.mel above the scene).
      {"D:/work/show/assets/chars/hero.ma", "/studio/show/assets/chars/hero.ma", "in the Maya project /studio/show"},
      {"assets/chars/hero.ma", "/studio/show/assets/chars/hero.ma", "in the Maya project /studio/show"},
      // Under a root, by trailing folders, then by name anywhere below.
      {"//server/lib/trees/oak.ma", "/mnt/library/trees/oak.ma", "under the reference root /mnt/library"},
      {"P:/old/layout/oak2.ma", "/mnt/library/nature/big/oak2.ma",
       "by its name under the reference root /mnt/library"},
      // Mapped first, even where another rule would find a copy.
      {"P:/assets/prop.ma", "/mnt/assets/prop.ma", "mapped by --map-path P:/assets=/mnt/assets"},
  };
  setenv("TW_TEST_SHOW", "/studio/show", 1);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.written);
    Files f;
    f.options.roots.push_back("/mnt/library");
    f.options.path_maps.emplace_back("P:/assets", "/mnt/assets");
    f.files["/studio/show/workspace.mel"] = "//Maya 2020 Project Definition\n";
    f.files["/studio/show/scenes/shots/shot.ma"] = HEADER + reference("p", "pRN", c.written);
    f.files[c.file] = PROP;
    f.files["/studio/show/scenes/shots/assets/prop.ma"] = "not a scene: the map must win";
    ASSERT_TRUE(f.load("/studio/show/scenes/shots/shot.ma")) << f.result.error;
    ASSERT_EQ(f.result.references.size(), 1u);
    EXPECT_EQ(f.result.references[0].file, c.file);
    EXPECT_EQ(f.result.references[0].rule, c.rule);
    EXPECT_TRUE(exists("p:a"));
  }
  unsetenv("TW_TEST_SHOW");
}

TEST(MayaAsciiReferences, AMissingFileNamesTheReferenceAndEveryPlaceTried) {
  Files f;
  f.options.roots.push_back("/mnt/library");
  f.files["/mnt/library/other.ma"] = PROP;
  f.files["/show/shot.ma"] = HEADER + reference("car", "carRN", "C:/Users/a/scenes/Car_MDL.ma") +
                             "createNode transform -n \"ground\";\n";
  ASSERT_FALSE(f.load("/show/shot.ma"));
  EXPECT_NE(f.result.error.find("/show/shot.ma:6: the reference \"carRN\" to \"C:/Users/a/scenes/Car_MDL.ma\" was "
                                "not found; tried 10 places: C:/Users/a/scenes/Car_MDL.ma, /show/Users/a/scenes/Car_MDL.ma, "
                                "/show/a/scenes/Car_MDL.ma, /show/scenes/Car_MDL.ma, /show/Car_MDL.ma, "),
            std::string::npos)
      << f.result.error;
  EXPECT_NE(f.result.error.find("/mnt/library/Car_MDL.ma, /mnt/library/**/Car_MDL.ma. Give the folder"),
            std::string::npos)
      << f.result.error;
  EXPECT_NE(f.result.error.find("--missing-references skip"), std::string::npos);

  f.options.skip_missing = true;
  ASSERT_TRUE(f.load("/show/shot.ma")) << f.result.error;
  EXPECT_TRUE(exists("ground"));
  EXPECT_EQ(f.result.references[0].state, "missing");
  ASSERT_EQ(f.result.warnings.size(), 1u);
  EXPECT_NE(f.result.warnings[0].find("skipped (--missing-references skip)"), std::string::npos);
}

TEST(MayaAsciiReferences, FilesMayasimCannotReadAreRefusedByName) {
  Files f;
  f.files["/show/cache.abc"] = "binary";
  f.files["/show/rig.mb"] = std::string("FOR8\0\0\0\0", 8);
  f.files["/show/a.ma"] = HEADER + "file -r -ns \"c\" -rfn \"cRN\" -typ \"Alembic\" \"/show/cache.abc\";\n";
  f.files["/show/b.ma"] = HEADER + "file -r -ns \"r\" -rfn \"rRN\" -typ \"mayaBinary\" \"/show/rig.mb\";\n";
  ASSERT_FALSE(f.load("/show/a.ma"));
  EXPECT_NE(f.result.error.find("the reference \"cRN\" to \"/show/cache.abc\" is a \"Alembic\" file, which mayasim "
                                "cannot load"),
            std::string::npos)
      << f.result.error;
  ASSERT_FALSE(f.load("/show/b.ma"));
  EXPECT_NE(f.result.error.find("/show/rig.mb: this is a Maya Binary file"), std::string::npos) << f.result.error;
  f.options.skip_missing = true;
  EXPECT_TRUE(f.load("/show/a.ma")) << f.result.error;
  EXPECT_TRUE(f.load("/show/b.ma")) << f.result.error;
}

TEST(MayaAsciiReferences, CyclesAndRunawayNestingAreRefused) {
  Files f;
  f.files["/show/self.ma"] = HEADER + reference("me", "meRN", "/show/self.ma");
  f.files["/show/a.ma"] = HEADER + reference("b", "bRN", "/show/b.ma");
  f.files["/show/b.ma"] = HEADER + reference("a", "aRN", "/show/a.ma");
  ASSERT_FALSE(f.load("/show/self.ma"));
  EXPECT_NE(f.result.error.find("leads back to a file that is being loaded: /show/self.ma -> /show/self.ma"),
            std::string::npos)
      << f.result.error;
  ASSERT_FALSE(f.load("/show/a.ma"));
  EXPECT_NE(f.result.error.find("/show/a.ma -> /show/b.ma -> /show/a.ma. A file cannot reference itself"),
            std::string::npos)
      << f.result.error;
  // A chain of distinct files deeper than the bound.
  for (int i = 0; i < 40; ++i)
    f.files["/chain/" + std::to_string(i) + ".ma"] =
        HEADER + reference("n", "nRN", "/chain/" + std::to_string(i + 1) + ".ma");
  ASSERT_FALSE(f.load("/chain/0.ma"));
  EXPECT_NE(f.result.error.find("is nested 17 references deep; the most is 16"), std::string::npos)
      << f.result.error;
  // Each file referencing the next one twice: 2^n loads, bounded.
  for (int i = 0; i < 14; ++i)
    f.files["/fan/" + std::to_string(i) + ".ma"] =
        HEADER + reference("x", "xRN", "/fan/" + std::to_string(i + 1) + ".ma") +
        reference("y", "yRN", "/fan/" + std::to_string(i + 1) + ".ma");
  f.files["/fan/14.ma"] = HEADER;
  ASSERT_FALSE(f.load("/fan/0.ma"));
  EXPECT_NE(f.result.error.find("the scene has read 1000 files already"), std::string::npos) << f.result.error;
}
