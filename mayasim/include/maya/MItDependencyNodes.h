// MItDependencyNodes: visits every dependency node, optionally of one type.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MFn.h>
#include <maya/MObject.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MItDependencyNodes {
public:
  MItDependencyNodes(MFn::Type filter = MFn::kInvalid, MStatus* ReturnStatus = NULL);
  virtual ~MItDependencyNodes();

  bool isDone(MStatus* ReturnStatus = NULL) const;
  MStatus next();
  MObject thisNode(MStatus* ReturnStatus = NULL) const;
  MAYASIM_OBSOLETE("thisNode()") MObject item(MStatus* ReturnStatus = NULL) const;
  MStatus reset(MFn::Type filter = MFn::kInvalid);

private:
  MItDependencyNodes(const MItDependencyNodes&);
  MItDependencyNodes& operator=(const MItDependencyNodes&);
  void* _state;
};

OPENMAYA_NAMESPACE_CLOSE
