// Transforms and joints as Maya composes their matrices, and the paths Maya
// refuses: values worked out by hand.
#include "api_helpers.h"

#include <maya/MAnimControl.h>
#include <maya/MDagPath.h>
#include <maya/MTime.h>
#include <maya/MDagPathArray.h>
#include <maya/MDoubleArray.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnMesh.h>
#include <maya/MFnSkinCluster.h>
#include <maya/MIntArray.h>
#include <maya/MItGeometry.h>
#include <maya/MObjectArray.h>
#include <maya/MPoint.h>

#include "mayasim/builder.h"

#include <gtest/gtest.h>

using namespace mayasim::builder;

namespace {

MPoint moved(const MObject& node, const MPoint& p) { return p * MFnDagNode(node).transformationMatrix(); }

void expect_point(const MPoint& expected, const MPoint& got, const char* what) {
  EXPECT_NEAR(expected.x, got.x, 1e-9) << what;
  EXPECT_NEAR(expected.y, got.y, 1e-9) << what;
  EXPECT_NEAR(expected.z, got.z, 1e-9) << what;
}

} // namespace

TEST(MayasimTransform, PivotsShearAndRotateAxisComposeAsMayaDoes) {
  new_scene();
  // A quarter turn about z around the rotate pivot (1, 0, 0).
  MObject t = transform("t", MObject(), {0, 0, 0}, {0, 0, 90});
  Pivots pivots;
  pivots.rotate_pivot = {1, 0, 0};
  set_pivots(t, pivots);
  expect_point(MPoint(1, 1, 0), moved(t, MPoint(2, 0, 0)), "turned about the pivot");
  expect_point(MPoint(1, -1, 0), moved(t, MPoint(0, 0, 0)), "the origin swings round the pivot");

  // Scaling by 2 about the scale pivot (1, 0, 0), then both pivot translates.
  MObject s = transform("s", MObject(), {0, 0, 0}, {0, 0, 0}, {2, 2, 2});
  pivots = Pivots();
  pivots.scale_pivot = {1, 0, 0};
  pivots.scale_pivot_translate = {0, 5, 0};
  pivots.rotate_pivot_translate = {0, 0, 7};
  set_pivots(s, pivots);
  expect_point(MPoint(3, 5, 7), moved(s, MPoint(2, 0, 0)), "scaled about the pivot, then moved");

  // Shear xy: y feeds x.
  MObject h = transform("h");
  set_shear(h, {0.5, 0, 0});
  expect_point(MPoint(0.5, 1, 0), moved(h, MPoint(0, 1, 0)), "sheared");

  // The rotate axis turns before the rotation.
  MObject a = transform("a", MObject(), {0, 0, 0}, {90, 0, 0});
  set_rotate_axis(a, {0, 0, 90});
  // (1,0,0) -> axis z 90 -> (0,1,0) -> rotate x 90 -> (0,0,1)
  expect_point(MPoint(0, 0, 1), moved(a, MPoint(1, 0, 0)), "rotate axis first");
}

TEST(MayasimTransform, RotateOrdersApplyTheAxesInTurn) {
  new_scene();
  MObject xyz = transform("xyz", MObject(), {0, 0, 0}, {90, 90, 0});
  MObject yxz = transform("yxz", MObject(), {0, 0, 0}, {90, 90, 0});
  set_rotate_order(yxz, RotateOrder::YXZ);
  MObject zyx = transform("zyx", MObject(), {0, 0, 0}, {0, 90, 90});
  set_rotate_order(zyx, RotateOrder::ZYX);
  // (0,1,0): x then y gives (1,0,0); y (no change) then x gives (0,0,1).
  expect_point(MPoint(1, 0, 0), moved(xyz, MPoint(0, 1, 0)), "xyz");
  expect_point(MPoint(0, 0, 1), moved(yxz, MPoint(0, 1, 0)), "yxz");
  // (1,0,0): z 90 -> (0,1,0), then y 90 leaves it.
  expect_point(MPoint(0, 1, 0), moved(zyx, MPoint(1, 0, 0)), "zyx");
}

TEST(MayasimTransform, JointsOrientAndCompensateTheirParentsScale) {
  new_scene();
  MObject hip = joint("hip");
  MObject knee = joint("knee", hip, {10, 0, 0});
  set_joint_orient(knee, {0, 0, 90});
  // Scale the parent by 2 (through the builder's transform attributes).
  MObject scaled = joint("scaled", MObject(), {0, 0, 0});
  MObject child = joint("child", scaled, {10, 0, 0});
  key(scaled, "sx", 1, 2);
  key(scaled, "sy", 1, 2);
  key(scaled, "sz", 1, 2);

  // The joint orient turns the joint's axes: its x axis points along y.
  MMatrix knee_local = MFnDagNode(knee).transformationMatrix();
  EXPECT_NEAR(1.0, knee_local[0][1], 1e-12);
  EXPECT_NEAR(10.0, knee_local[3][0], 1e-12) << "the translation is not turned";

  // Segment scale compensation: the child's axes keep unit length in the
  // world although its parent is scaled; its position is scaled.
  MMatrix world = path_to(child).inclusiveMatrix();
  EXPECT_NEAR(1.0, world[0][0], 1e-12);
  EXPECT_NEAR(20.0, world[3][0], 1e-12);
  set_segment_scale_compensate(child, false);
  world = path_to(child).inclusiveMatrix();
  EXPECT_NEAR(2.0, world[0][0], 1e-12) << "without compensation the parent's scale passes down";
  (void)knee;
}

// Maya gives a function set a transform's path only when one shape is
// below it; an intermediate shape does not count.
TEST(MayasimStrictness, ATransformWithSeveralShapesIsAmbiguous) {
  new_scene();
  MObject t = transform("t");
  mesh(t, "first", cube(1));
  MStatus status;
  MFnMesh one(path_to(t), &status);
  EXPECT_EQ(MS::kSuccess, status.statusCode());
  MObject second = mesh(t, "second", cube(2));
  MFnMesh two(path_to(t), &status);
  EXPECT_EQ(MS::kInvalidParameter, status.statusCode()) << "two shapes below: ambiguous";
  MFnMesh direct(path_to(second), &status);
  EXPECT_EQ(MS::kSuccess, status.statusCode()) << "the shape's own path is fine";
  set_intermediate(second, true);
  MFnMesh again(path_to(t), &status);
  EXPECT_EQ(MS::kSuccess, status.statusCode()) << "an intermediate shape does not count";
}

TEST(MayasimStrictness, SkinWeightsAreAskedOfTheDeformedShapesPath) {
  new_scene();
  MObject root = joint("root");
  MObject body = transform("body");
  MObject shape = mesh(body, "bodyShape", grid(1, 1));
  MObject skin = skin_cluster("skin", body, {root}, std::vector<std::vector<double>>(4, {1.0}));
  MFnSkinCluster fn(skin);
  MObject input = fn.inputShapeAtIndex(0);
  MItGeometry it(input);
  MObject vertex = it.currentItem();
  MDoubleArray weights;
  unsigned count = 0;
  EXPECT_EQ(MS::kInvalidParameter, fn.getWeights(path_to(body), vertex, weights, count).statusCode())
      << "a transform's path is not a deformed shape";
  EXPECT_EQ(MS::kInvalidParameter, fn.getWeights(path_to(input), vertex, weights, count).statusCode())
      << "nor is the input shape";
  ASSERT_EQ(MS::kSuccess, fn.getWeights(path_to(shape), vertex, weights, count).statusCode());
  EXPECT_EQ(1u, count);
  EXPECT_EQ(1.0, weights[0]);
}

TEST(MayasimStrictness, InstanceNumbersCountEveryPathAndShadingIsPerPolygon) {
  new_scene();
  MObject a = transform("a");
  MObject b = transform("b");
  MObject group = transform("group", a);
  MObject shape = mesh(group, "shape", grid(2, 1));
  instance(group, b); // the group, and so its shape, has two paths
  MDagPathArray paths;
  ASSERT_EQ(MS::kSuccess, MDagPath::getAllPathsTo(shape, paths).statusCode());
  ASSERT_EQ(2u, paths.length());
  EXPECT_EQ(0u, paths[0].instanceNumber());
  EXPECT_EQ(1u, paths[1].instanceNumber()) << "instanced through its parent";
  EXPECT_EQ("|b|group|shape", std::string(paths[1].fullPathName().asChar()));

  // The second instance has no shading: one -1 per polygon, never empty.
  MFnMesh fn(shape);
  MObjectArray groups;
  MIntArray per_polygon;
  ASSERT_EQ(MS::kSuccess, fn.getConnectedShaders(1, groups, per_polygon).statusCode());
  EXPECT_EQ(0u, groups.length());
  ASSERT_EQ(2u, per_polygon.length());
  EXPECT_EQ(-1, per_polygon[0]);
  EXPECT_EQ(-1, per_polygon[1]);
}

TEST(MayasimTransform, TimeChangesAndEvaluationsAreCountedAsMayaWouldEvaluate) {
  new_scene();
  set_playback_range(1, 10);
  MObject root = transform("root");
  MObject arm = joint("arm", root);
  MObject hand = joint("hand", arm);
  key(arm, "rz", 1, 0);
  key(arm, "rz", 10, 90);
  key(hand, "tx", 1, 0);
  key(hand, "tx", 10, 5);
  reset_evaluation_counts();
  EvaluationCounts c = evaluation_counts();
  EXPECT_EQ(0u, c.time_changes);
  EXPECT_EQ(2u, c.animated_nodes);

  MAnimControl::setCurrentTime(MTime(2.0, MTime::kFilm));
  // The hand's world matrix evaluates the animated nodes on its path (arm,
  // hand) once; its local matrix and the arm's, read at the same time, are
  // cached; the root is not animated.
  path_to(hand).inclusiveMatrix();
  MFnDagNode(hand).transformationMatrix();
  MFnDagNode(arm).transformationMatrix();
  MFnDagNode(root).transformationMatrix();
  c = evaluation_counts();
  EXPECT_EQ(1u, c.time_changes);
  EXPECT_EQ(2u, c.node_evaluations);
  // A new time evaluates again, even at the same frame.
  MAnimControl::setCurrentTime(MTime(2.0, MTime::kFilm));
  MFnDagNode(hand).transformationMatrix();
  c = evaluation_counts();
  EXPECT_EQ(2u, c.time_changes);
  EXPECT_EQ(3u, c.node_evaluations);
  // A joint reading its parent's scale (segment scale compensation) needs
  // the parent evaluated too.
  key(arm, "sx", 1, 1);
  MAnimControl::setCurrentTime(MTime(3.0, MTime::kFilm));
  MFnDagNode(hand).transformationMatrix();
  EXPECT_EQ(5u, evaluation_counts().node_evaluations);
}
