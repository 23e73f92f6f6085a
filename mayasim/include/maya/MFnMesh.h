// MFnMesh: the function set of polygon meshes.
//
// Made on a transform's path it works on the transform's mesh shape (the
// first shape below it that is not an intermediate object).
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MColor.h>
#include <maya/MColorArray.h>
#include <maya/MFloatArray.h>
#include <maya/MFloatVectorArray.h>
#include <maya/MFnDagNode.h>
#include <maya/MIntArray.h>
#include <maya/MObjectArray.h>
#include <maya/MPointArray.h>
#include <maya/MStringArray.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

#define kMFnMeshInstanceUnspecified -1

class OPENMAYA_EXPORT MFnMesh : public MFnDagNode {
  MAYASIM_MINIMAL_MFN(MFnMesh)

public:
  enum MColorRepresentation { kAlpha = 1, kRGB = 3, kRGBA = 4 };

  MFnMesh();
  MFnMesh(MObject& object, MStatus* ReturnStatus = NULL);
  MFnMesh(const MDagPath& path, MStatus* ret = NULL);
  MFnMesh(const MObject& object, MStatus* ret = NULL);
  ~MFnMesh() override;
  MFn::Type type() const override;

  int numVertices(MStatus* ReturnStatus = NULL) const;
  int numPolygons(MStatus* ReturnStatus = NULL) const;
  int numFaceVertices(MStatus* ReturnStatus = NULL) const;
  int numNormals(MStatus* ReturnStatus = NULL) const;
  int polygonVertexCount(int polygonId, MStatus* ReturnStatus = NULL) const;
  int numUVSets(MStatus* ReturnStatus = NULL) const;
  int numUVs(MStatus* ReturnStatus = NULL) const;
  int numUVs(const MString& uvSet, MStatus* ReturnStatus = NULL) const;
  int numColorSets(MStatus* ReturnStatus = NULL) const;
  int numColors(MStatus* ReturnStatus = NULL) const;
  int numColors(const MString& colorSet, MStatus* ReturnStatus = NULL) const;

  MStatus getPoints(MPointArray& vertexArray, MSpace::Space space = MSpace::kObject) const;
  MStatus getPolygonVertices(int polygonId, MIntArray& vertexList) const;
  MStatus getNormals(MFloatVectorArray& normals, MSpace::Space space = MSpace::kObject) const;
  MStatus getFaceNormalIds(int faceIndex, MIntArray& normals) const;
  MStatus getTangents(MFloatVectorArray& tangents, MSpace::Space space = MSpace::kObject,
                      const MString* uvSet = NULL) const;
  MStatus getBinormals(MFloatVectorArray& binormals, MSpace::Space space = MSpace::kObject,
                       const MString* uvSet = NULL) const;
  // Whether the tangent frame `tangentId` is right-handed (false where the
  // UVs are mirrored). Declared from Maya 2016 on; not called by the plug-in.
  bool isRightHandedTangent(int tangentId, const MString* uvSetName = NULL, MStatus* ReturnStatus = NULL) const;
  MStatus getUVSetNames(MStringArray& setNames) const;
  MStatus getCurrentUVSetName(MString& setName, int instance = kMFnMeshInstanceUnspecified) const;
  MStatus getUVs(MFloatArray& uArray, MFloatArray& vArray, const MString* uvSet = NULL) const;
  MStatus getPolygonUVid(int polygonId, int vertexIndex, int& uvId, const MString* uvSet = NULL) const;
  MStatus getColorSetNames(MStringArray& setNames) const;
  MStatus getCurrentColorSetName(MString& setName, int instance = kMFnMeshInstanceUnspecified) const;
  bool hasColorChannels(const MString& colorSet, MStatus* ReturnStatus = NULL) const;
  bool hasAlphaChannels(const MString& colorSet, MStatus* ReturnStatus = NULL) const;
  MColorRepresentation getColorRepresentation(const MString& colorSet, MStatus* ReturnStatus = NULL) const;
  MStatus getColors(MColorArray& colors, const MString* colorSet = NULL, const MColor* defaultUnsetColor = NULL) const;
  MStatus getColorIndex(int faceIndex, int localVertexIndex, int& colorIndex, const MString* colorSet = NULL);
  MStatus getConnectedShaders(unsigned int instanceNumber, MObjectArray& shaders, MIntArray& indices) const;
};

OPENMAYA_NAMESPACE_CLOSE
