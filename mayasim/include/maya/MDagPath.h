// MDagPath: a path from the world to a node of the DAG.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MFn.h>
#include <maya/MMatrix.h>
#include <maya/MObject.h>
#include <maya/MString.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class MDagPathArray;

class OPENMAYA_EXPORT MDagPath {
public:
  MDagPath();
  MDagPath(const MDagPath& other);
  virtual ~MDagPath();
  MDagPath& operator=(const MDagPath& other);
  bool operator==(const MDagPath& other) const;
  MStatus set(const MDagPath& other);

  bool hasFn(MFn::Type type, MStatus* ReturnStatus = NULL) const;
  MFn::Type apiType(MStatus* ReturnStatus = NULL) const;
  bool isValid(MStatus* ReturnStatus = NULL) const;
  MObject node(MStatus* ReturnStatus = NULL) const;
  MObject transform(MStatus* ReturnStatus = NULL) const;
  unsigned int length(MStatus* ReturnStatus = NULL) const;
  MStatus extendToShape();
  MStatus extendToShapeDirectlyBelow(unsigned int index);
  MStatus push(const MObject& child);
  MStatus pop(unsigned int num = 1);
  unsigned int childCount(MStatus* ReturnStatus = NULL) const;
  MObject child(unsigned int i, MStatus* ReturnStatus = NULL) const;
  MMatrix inclusiveMatrix(MStatus* ReturnStatus = NULL) const;
  MMatrix exclusiveMatrix(MStatus* ReturnStatus = NULL) const;
  MStatus getPath(MDagPath& path, unsigned int i = 0) const;
  MString fullPathName(MStatus* ReturnStatus = NULL) const;
  MString partialPathName(MStatus* ReturnStatus = NULL) const;
  unsigned int instanceNumber(MStatus* ReturnStatus = NULL) const;

  static MStatus getAPathTo(const MObject& node, MDagPath& path);
  MAYASIM_OBSOLETE("getAPathTo(node, path)")
  static MDagPath getAPathTo(const MObject& node, MStatus* ReturnStatus = NULL);
  static MStatus getAllPathsTo(const MObject& node, MDagPathArray& paths);

  // The stand-in's node list behind the path.
  void* internal() const { return _nodes; }

private:
  void* _nodes;
};

OPENMAYA_NAMESPACE_CLOSE
