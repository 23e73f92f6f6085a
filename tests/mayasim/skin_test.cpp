// Skin clusters as the exporter reads them: output and input shapes by
// logical index, influences with sparse logical indices, weights by vertex
// component, and the matrix plugs.
#include "api_helpers.h"
#include <maya/MDagPath.h>
#include <maya/MDagPathArray.h>
#include <maya/MDoubleArray.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnMatrixData.h>
#include <maya/MFnMesh.h>
#include <maya/MFnSkinCluster.h>
#include <maya/MItDependencyNodes.h>
#include <maya/MItGeometry.h>
#include <maya/MPlug.h>
#include <maya/MPlugArray.h>

#include "mayasim/builder.h"

#include <gtest/gtest.h>

using namespace mayasim::builder;

namespace {

struct Rig {
  MObject body, root, spine, skin;
};

// A 2x1 grid (6 vertices) skinned to two joints with logical indices 0 and 3.
Rig build_rig() {
  new_scene();
  Rig r;
  r.root = joint("root", MObject(), {0, 10, 0});
  r.spine = joint("spine", r.root, {0, 5, 0});
  r.body = transform("body", MObject(), {1, 2, 3});
  mesh(r.body, "bodyShape", grid(2, 1));
  std::vector<std::vector<double>> weights = {{1, 0}, {0.5, 0.5}, {0, 1}, {1, 0}, {0.25, 0.75}, {0, 0}};
  r.skin = skin_cluster("skinCluster1", r.body, {r.root, r.spine}, weights, {0, 3});
  return r;
}

MMatrix matrix_of(const MPlug& plug) {
  MObject data;
  EXPECT_EQ(MS::kSuccess, plug.getValue(data).statusCode());
  MStatus status;
  MFnMatrixData fn(data, &status);
  EXPECT_EQ(MS::kSuccess, status.statusCode());
  return fn.matrix();
}

} // namespace

TEST(MayasimSkin, TheClusterIsFoundAndItsShapesAreByLogicalIndex) {
  Rig r = build_rig();
  int clusters = 0;
  for (MItDependencyNodes it(MFn::kSkinClusterFilter); !it.isDone(); it.next())
    ++clusters;
  EXPECT_EQ(1, clusters);

  MFnSkinCluster fn(r.skin);
  ASSERT_EQ(1u, fn.numOutputConnections());
  unsigned index = fn.indexForOutputConnection(0);
  MObject output = fn.outputShapeAtIndex(index);
  MObject input = fn.inputShapeAtIndex(index);
  EXPECT_STREQ("bodyShape", MFnDagNode(output).name().asChar());
  EXPECT_STREQ("bodyShapeOrig", MFnDagNode(input).name().asChar());
  EXPECT_TRUE(MFnDagNode(input).isIntermediateObject());
  EXPECT_FALSE(MFnDagNode(output).isIntermediateObject());
  EXPECT_EQ(index, fn.indexForOutputShape(output));

  // The transform's function set sees the deformed output, not the input.
  MFnMesh mesh(path_to(r.body));
  EXPECT_STREQ("bodyShape", mesh.name().asChar());
  // A function set retargeted to the input shape sees the original.
  MStatus status;
  mesh.setObject(input);
  EXPECT_STREQ("bodyShapeOrig", mesh.name().asChar());
  EXPECT_EQ(6, mesh.numVertices(&status));
  EXPECT_EQ(MS::kSuccess, status.statusCode());
}

TEST(MayasimSkin, InfluencesKeepTheirSparseLogicalIndices) {
  Rig r = build_rig();
  MFnSkinCluster fn(r.skin);
  MDagPathArray influences;
  MStatus status;
  ASSERT_EQ(2u, fn.influenceObjects(influences, &status));
  ASSERT_EQ(MS::kSuccess, status.statusCode());
  EXPECT_STREQ("|root", influences[0].fullPathName().asChar());
  EXPECT_STREQ("|root|spine", influences[1].fullPathName().asChar());
  EXPECT_EQ(0u, fn.indexForInfluenceObject(influences[0]));
  EXPECT_EQ(3u, fn.indexForInfluenceObject(influences[1]));
  fn.indexForInfluenceObject(path_to(r.body), &status);
  EXPECT_NE(MS::kSuccess, status.statusCode()) << "not an influence";
}

TEST(MayasimSkin, WeightsByVertexComponent) {
  Rig r = build_rig();
  MFnSkinCluster fn(r.skin);
  MObject input = fn.inputShapeAtIndex(fn.indexForOutputConnection(0));
  MDagPath input_path = path_to(input);
  MDagPath output_path = path_to(fn.outputShapeAtIndex(0));

  std::vector<std::vector<double>> expected = {{1, 0}, {0.5, 0.5}, {0, 1}, {1, 0}, {0.25, 0.75}, {0, 0}};
  int v = 0;
  for (MItGeometry it(input_path); !it.isDone(); it.next(), ++v) {
    EXPECT_EQ(v, it.index());
    MObject component = it.currentItem();
    EXPECT_TRUE(component.hasFn(MFn::kMeshVertComponent));
    MDoubleArray weights;
    unsigned count = 0;
    ASSERT_EQ(MS::kSuccess, fn.getWeights(output_path, component, weights, count).statusCode());
    ASSERT_EQ(2u, count);
    ASSERT_EQ(2u, weights.length());
    EXPECT_DOUBLE_EQ(expected[size_t(v)][0], weights[0]) << "vertex " << v;
    EXPECT_DOUBLE_EQ(expected[size_t(v)][1], weights[1]) << "vertex " << v;
    MDoubleArray one;
    ASSERT_EQ(MS::kSuccess, fn.getWeights(output_path, component, 1, one).statusCode());
    ASSERT_EQ(1u, one.length());
    EXPECT_DOUBLE_EQ(expected[size_t(v)][1], one[0]);
  }
  EXPECT_EQ(6, v);
}

TEST(MayasimSkin, MatrixPlugsReadAsMatrixData) {
  Rig r = build_rig();
  MFnDependencyNode fn(r.skin);
  MStatus status;
  MPlug geom = fn.findPlug("geomMatrix", true, &status);
  ASSERT_EQ(MS::kSuccess, status.statusCode());
  MMatrix g = matrix_of(geom);
  EXPECT_DOUBLE_EQ(1, g(3, 0));
  EXPECT_DOUBLE_EQ(2, g(3, 1));
  EXPECT_DOUBLE_EQ(3, g(3, 2));

  MPlug bind = fn.findPlug("bindPreMatrix", true, &status);
  ASSERT_EQ(MS::kSuccess, status.statusCode());
  EXPECT_TRUE(bind.isArray());
  // The spine's world position is (0, 15, 0); its bind pre-matrix undoes it.
  MMatrix spine = matrix_of(bind.elementByLogicalIndex(3));
  EXPECT_DOUBLE_EQ(-15, spine(3, 1));
  EXPECT_DOUBLE_EQ(1, spine(1, 1));
  MMatrix root = matrix_of(bind.elementByLogicalIndex(0));
  EXPECT_DOUBLE_EQ(-10, root(3, 1));

  // An element nobody set reads as the attribute's default, the identity.
  EXPECT_TRUE(matrix_of(bind.elementByLogicalIndex(1)) == MMatrix());
  fn.findPlug("noSuchPlug", true, &status);
  EXPECT_NE(MS::kSuccess, status.statusCode());
}

TEST(MayasimSkin, OutputGeometryIsConnectedToTheShape) {
  Rig r = build_rig();
  MPlug out = MFnDependencyNode(r.skin).findPlug("outputGeometry", true);
  MPlugArray destinations;
  ASSERT_TRUE(out.elementByLogicalIndex(0).connectedTo(destinations, false, true));
  ASSERT_EQ(1u, destinations.length());
  EXPECT_STREQ("bodyShape", MFnDependencyNode(destinations[0].node()).name().asChar());
}
