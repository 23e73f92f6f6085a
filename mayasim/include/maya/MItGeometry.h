// MItGeometry: visits the points (vertices) of a shape.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MDagPath.h>
#include <maya/MObject.h>
#include <maya/MPoint.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MItGeometry {
public:
  MItGeometry(const MDagPath& dagPath, MStatus* ReturnStatus = NULL);
  MItGeometry(const MDagPath& dagPath, MObject& component, MStatus* ReturnStatus = NULL);
  MItGeometry(MObject& dagObject, MStatus* ReturnStatus = NULL);
  virtual ~MItGeometry();

  bool isDone(MStatus* ReturnStatus = NULL) const;
  MStatus next();
  MStatus reset();
  int index(MStatus* ReturnStatus = NULL) const;
  MObject currentItem(MStatus* ReturnStatus = NULL) const;
  // Obsolete alias of currentItem, still used by older code.
  MAYASIM_OBSOLETE("currentItem()") MObject component(MStatus* ReturnStatus = NULL) const;
  MPoint position(MSpace::Space space = MSpace::kObject, MStatus* ReturnStatus = NULL) const;
  int count(MStatus* ReturnStatus = NULL) const;

private:
  MItGeometry(const MItGeometry&);
  MItGeometry& operator=(const MItGeometry&);
  void* _state;
};

OPENMAYA_NAMESPACE_CLOSE
