// MItMeshPolygon: visits the polygons of a mesh.
//
// Vertex ids from getVertices and getTriangle are object-relative; the
// normal, tangent, UV and colour queries take face-relative vertex numbers.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MDagPath.h>
#include <maya/MIntArray.h>
#include <maya/MObject.h>
#include <maya/MPointArray.h>
#include <maya/MString.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MItMeshPolygon {
public:
  MItMeshPolygon(const MObject& polyObject, MStatus* ReturnStatus = NULL);
  MItMeshPolygon(const MDagPath& polyObject, MObject& component = MObject::kNullObj, MStatus* ReturnStatus = NULL);
  virtual ~MItMeshPolygon();

  bool isDone(MStatus* ReturnStatus = NULL);
  MStatus next();
  MStatus reset();
  unsigned int count(MStatus* ReturnStatus = NULL);
  unsigned int polygonVertexCount(MStatus* ReturnStatus = NULL);
  unsigned int index(MStatus* ReturnStatus = NULL);
  MStatus setIndex(int index, int& prevIndex);
  unsigned int vertexIndex(int localIndex, MStatus* ReturnStatus = NULL);
  MStatus getVertices(MIntArray& vertices);
  MPoint point(int localIndex, MSpace::Space space = MSpace::kObject, MStatus* ReturnStatus = NULL);
  bool hasValidTriangulation(MStatus* ReturnStatus = NULL) const;
  MStatus numTriangles(int& count) const;
  MStatus getTriangle(int localTriIndex, MPointArray& points, MIntArray& vertexList,
                      MSpace::Space space = MSpace::kObject) const;
  MStatus getTriangles(MPointArray& points, MIntArray& vertexList, MSpace::Space space = MSpace::kObject) const;
  unsigned int normalIndex(int localVertexIndex, MStatus* ReturnStatus = NULL);
  unsigned int tangentIndex(int localVertexIndex, MStatus* ReturnStatus = NULL);
  bool hasUVs(MStatus* ReturnStatus = NULL) const;
  bool hasUVs(const MString& uvSet, MStatus* ReturnStatus = NULL) const;
  MStatus getUVIndex(int localVertex, int& index, const MString* uvSet = NULL);
  MStatus getUVIndex(int localVertex, int& index, float& u, float& v, const MString* uvSet = NULL);
  bool hasColor(MStatus* ReturnStatus = NULL) const;
  MStatus getColorIndex(int localVertexIndex, int& colorIndex, const MString* colorSetName = NULL);

private:
  MItMeshPolygon(const MItMeshPolygon&);
  MItMeshPolygon& operator=(const MItMeshPolygon&);
  void* _state;
};

OPENMAYA_NAMESPACE_CLOSE
