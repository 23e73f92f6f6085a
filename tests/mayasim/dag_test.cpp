// The stand-in's scene as the exporter walks it: DAG order and filters,
// instancing, default nodes, function sets on transform paths, animated
// transforms over time, units, selection and the scene file.
#include "api_helpers.h"
#include <maya/MAnimControl.h>
#include <maya/MDagPath.h>
#include <maya/MDagPathArray.h>
#include <maya/MDistance.h>
#include <maya/MFileIO.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnMesh.h>
#include <maya/MGlobal.h>
#include <maya/MItDag.h>
#include <maya/MItDependencyNodes.h>
#include <maya/MSelectionList.h>
#include <maya/MTime.h>

#include "mayasim/builder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace mayasim::builder;

namespace {

std::vector<std::string> walk(MFn::Type filter, MItDag::TraversalType type = MItDag::kDepthFirst) {
  std::vector<std::string> names;
  MStatus status;
  for (MItDag it(type, filter, &status); !it.isDone(); it.next()) {
    MDagPath path;
    it.getPath(path);
    names.push_back(path.fullPathName().asChar());
  }
  EXPECT_EQ(MS::kSuccess, status.statusCode());
  return names;
}

// a
// |- b (mesh bShape)
// |  `- d
// `- c (joint)
// e
void build_tree() {
  new_scene();
  MObject a = transform("a");
  MObject b = transform("b", a);
  mesh(b, "bShape", cube(2));
  transform("d", b);
  joint("c", a);
  transform("e");
}

} // namespace

TEST(MayasimDag, DepthFirstVisitsTheWorldThenChildrenInCreationOrder) {
  build_tree();
  std::vector<std::string> all = walk(MFn::kInvalid);
  ASSERT_FALSE(all.empty());
  EXPECT_EQ("", all[0]) << "the world comes first, with an empty path name";
  std::vector<std::string> transforms = walk(MFn::kTransform);
  std::vector<std::string> expected = {"|persp", "|top", "|front", "|side", "|a", "|a|b", "|a|b|d", "|a|c", "|e"};
  EXPECT_EQ(expected, transforms) << "joints are transforms; shapes and the world are filtered out";
  EXPECT_EQ((std::vector<std::string>{"|a|c"}), walk(MFn::kJoint));
  EXPECT_EQ((std::vector<std::string>{"|a|b|bShape"}), walk(MFn::kMesh));
  EXPECT_EQ(4u, walk(MFn::kCamera).size());
}

TEST(MayasimDag, BreadthFirstAndPrune) {
  build_tree();
  std::vector<std::string> bf = walk(MFn::kTransform, MItDag::kBreadthFirst);
  std::vector<std::string> expected = {"|persp", "|top", "|front", "|side", "|a", "|e", "|a|b", "|a|c", "|a|b|d"};
  EXPECT_EQ(expected, bf);

  std::vector<std::string> pruned;
  for (MItDag it(MItDag::kDepthFirst, MFn::kTransform); !it.isDone(); it.next()) {
    pruned.push_back(it.fullPathName().asChar());
    if (pruned.back() == "|a|b")
      it.prune();
  }
  EXPECT_EQ((std::vector<std::string>{"|persp", "|top", "|front", "|side", "|a", "|a|b", "|a|c", "|e"}), pruned);
}

TEST(MayasimDag, InstancedNodesHaveOnePathPerParent) {
  new_scene();
  MObject left = transform("left");
  MObject right = transform("right");
  MObject wheel = transform("wheel", left);
  instance(wheel, right);

  std::vector<std::string> transforms = walk(MFn::kTransform);
  EXPECT_EQ((std::vector<std::string>{"|persp", "|top", "|front", "|side", "|left", "|left|wheel", "|right",
                                      "|right|wheel"}),
            transforms);

  MDagPathArray paths;
  ASSERT_EQ(MS::kSuccess, MDagPath::getAllPathsTo(wheel, paths).statusCode());
  ASSERT_EQ(2u, paths.length());
  EXPECT_STREQ("|left|wheel", paths[0].fullPathName().asChar());
  EXPECT_STREQ("|right|wheel", paths[1].fullPathName().asChar());
  EXPECT_EQ(0u, paths[0].instanceNumber());
  EXPECT_EQ(1u, paths[1].instanceNumber());

  MDagPath first;
  ASSERT_EQ(MS::kSuccess, MDagPath::getAPathTo(wheel, first).statusCode());
  EXPECT_TRUE(first == paths[0]) << "getAPathTo answers the first instance";
  MFnDagNode fn(wheel);
  EXPECT_TRUE(fn.isInstanced());
  EXPECT_EQ(2u, fn.parentCount());
  EXPECT_EQ(2u, fn.instanceCount(true));
}

TEST(MayasimDag, DefaultCamerasAreDefaultNodesAndUserNodesAreNot) {
  build_tree();
  int defaults = 0;
  for (MItDag it(MItDag::kDepthFirst, MFn::kTransform); !it.isDone(); it.next()) {
    MFnDagNode fn(it.currentItem());
    std::string name = fn.name().asChar();
    bool is_camera = name == "persp" || name == "top" || name == "front" || name == "side";
    EXPECT_EQ(is_camera, fn.isDefaultNode()) << name;
    defaults += fn.isDefaultNode() ? 1 : 0;
  }
  EXPECT_EQ(4, defaults);
  // The default material and its group are default nodes too.
  MFnDependencyNode lambert(find("lambert1"));
  EXPECT_TRUE(lambert.isDefaultNode());
  EXPECT_STREQ("lambert", lambert.typeName().asChar());
}

TEST(MayasimDag, HasFnOnATransformPathAnswersForTheShapeDirectlyBelow) {
  build_tree();
  MDagPath b = path_to(find("b"));
  MDagPath a = path_to(find("a"));
  EXPECT_TRUE(b.hasFn(MFn::kTransform));
  EXPECT_TRUE(b.hasFn(MFn::kMesh));
  EXPECT_EQ(MFn::kTransform, b.apiType());
  EXPECT_FALSE(a.hasFn(MFn::kMesh)) << "a mesh two levels down does not count";
  EXPECT_FALSE(path_to(find("c")).hasFn(MFn::kMesh));
  EXPECT_TRUE(path_to(find("c")).hasFn(MFn::kTransform));

  // A function set made on the transform's path works on its shape.
  MStatus status;
  MFnMesh mesh(b, &status);
  ASSERT_EQ(MS::kSuccess, status.statusCode());
  EXPECT_EQ(8, mesh.numVertices());
  EXPECT_STREQ("bShape", mesh.name().asChar());
  MFnMesh wrong(a, &status);
  EXPECT_NE(MS::kSuccess, status.statusCode());
}

TEST(MayasimDag, FunctionSetsOnATransformSkipIntermediateShapes) {
  new_scene();
  MObject t = transform("t");
  MObject orig = mesh(t, "tShapeOrig", cube(1));
  set_intermediate(orig, true);
  mesh(t, "tShape", grid(2, 2));
  MFnMesh fn(path_to(t));
  EXPECT_STREQ("tShape", fn.name().asChar());
  EXPECT_EQ(9, fn.numVertices());
  EXPECT_TRUE(MFnDagNode(orig).isIntermediateObject());
}

TEST(MayasimDag, TransformationMatrixFollowsTheCurrentTime) {
  new_scene();
  set_playback_range(1, 25);
  MObject box = transform("box", MObject(), {10, 0, 0});
  key(box, "tx", 1, 0);
  key(box, "tx", 25, 48);
  key(box, "ry", 1, 0);
  key(box, "ry", 25, 90);

  EXPECT_DOUBLE_EQ(1.0, MAnimControl::minTime().value());
  EXPECT_DOUBLE_EQ(25.0, MAnimControl::maxTime().value());
  EXPECT_EQ(MTime::kFilm, MAnimControl::minTime().unit());

  MFnDagNode fn(box);
  ASSERT_EQ(MS::kSuccess, MAnimControl::setCurrentTime(MTime(1.0)).statusCode());
  MMatrix m = fn.transformationMatrix();
  EXPECT_NEAR(0.0, m(3, 0), 1e-9) << "the key overrides the static translation";
  EXPECT_NEAR(1.0, m(0, 0), 1e-9);

  MAnimControl::setCurrentTime(MTime(13.0));
  m = fn.transformationMatrix();
  EXPECT_NEAR(24.0, m(3, 0), 1e-9) << "linear between keys";
  EXPECT_NEAR(0.70710678, m(0, 0), 1e-6) << "45 degrees about y";
  EXPECT_NEAR(-0.70710678, m(0, 2), 1e-6) << "row-vector convention: x axis rotates towards -z";

  MAnimControl::setCurrentTime(MTime(100.0));
  EXPECT_NEAR(48.0, fn.transformationMatrix()(3, 0), 1e-9) << "held after the last key";
  EXPECT_DOUBLE_EQ(100.0, MAnimControl::currentTime().value());

  // World matrices compose child under parent.
  MObject lid = transform("lid", box, {0, 5, 0});
  MAnimControl::setCurrentTime(MTime(1.0));
  MMatrix world = path_to(lid).inclusiveMatrix();
  EXPECT_NEAR(0.0, world(3, 0), 1e-9);
  EXPECT_NEAR(5.0, world(3, 1), 1e-9);
}

TEST(MayasimDag, TimeUnitsConvert) {
  new_scene();
  MTime t(48.0, MTime::kFilm);
  EXPECT_DOUBLE_EQ(2.0, t.as(MTime::kSeconds));
  EXPECT_DOUBLE_EQ(60.0, t.as(MTime::kNTSCFrame));
  EXPECT_DOUBLE_EQ(50.0, t.as(MTime::kPALFrame));
  set_time_unit(MTime::kPALFrame);
  set_playback_range(0, 50);
  EXPECT_EQ(MTime::kPALFrame, MAnimControl::maxTime().unit());
  EXPECT_DOUBLE_EQ(2.0, MAnimControl::maxTime().as(MTime::kSeconds));
}

TEST(MayasimDag, LinearUnits) {
  new_scene();
  EXPECT_EQ(MDistance::kCentimeters, MDistance::internalUnit());
  EXPECT_DOUBLE_EQ(0.01, MDistance(1.0, MDistance::internalUnit()).as(MDistance::kMeters));
  EXPECT_DOUBLE_EQ(2.54, MDistance(1.0, MDistance::kInches).as(MDistance::kCentimeters));
  EXPECT_DOUBLE_EQ(0.3048, MDistance(1.0, MDistance::kFeet).asMeters());
  set_internal_unit(MDistance::kMeters);
  EXPECT_EQ(MDistance::kMeters, MDistance::internalUnit());
  EXPECT_DOUBLE_EQ(1.0, MDistance(1.0, MDistance::internalUnit()).as(MDistance::kMeters));
  new_scene();
  EXPECT_EQ(MDistance::kCentimeters, MDistance::internalUnit()) << "a new scene starts in centimetres";
}

TEST(MayasimDag, SelectionAndSceneFile) {
  build_tree();
  MSelectionList list;
  MGlobal::getActiveSelectionList(list);
  EXPECT_TRUE(list.isEmpty());

  select({find("b"), find("e")});
  MGlobal::getActiveSelectionList(list);
  ASSERT_EQ(2u, list.length());
  MDagPath path;
  ASSERT_EQ(MS::kSuccess, list.getDagPath(0, path).statusCode());
  EXPECT_STREQ("|a|b", path.fullPathName().asChar());
  EXPECT_TRUE(list.hasItem(path_to(find("e"))));
  EXPECT_FALSE(list.hasItem(path_to(find("a"))));

  std::string untitled = MFileIO::currentFile().asChar();
  EXPECT_EQ('/', untitled[0]) << "always a full path";
  EXPECT_EQ("/untitled", untitled.substr(untitled.size() - 9)) << "an unsaved scene";
  set_scene_file("relative/hero.mb");
  std::string relative = MFileIO::currentFile().asChar();
  EXPECT_EQ('/', relative[0]);
  EXPECT_EQ("/relative/hero.mb", relative.substr(relative.size() - 17));
  set_scene_file("/scenes/hero.mb");
  EXPECT_STREQ("/scenes/hero.mb", MFileIO::currentFile().asChar());
}

TEST(MayasimDag, DependencyNodesWalkInCreationOrderWithAFilter) {
  new_scene();
  material("red");
  material("blue");
  std::vector<std::string> groups;
  for (MItDependencyNodes it(MFn::kShadingEngine); !it.isDone(); it.next())
    groups.push_back(MFnDependencyNode(it.thisNode()).name().asChar());
  EXPECT_EQ((std::vector<std::string>{"initialShadingGroup", "redSG", "blueSG"}), groups);
}
