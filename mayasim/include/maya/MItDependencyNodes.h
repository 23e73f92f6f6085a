// MItDependencyNodes: visits every dependency node, optionally of one type.
#pragma once

#include <maya/MFn.h>
#include <maya/MObject.h>

class OPENMAYA_EXPORT MItDependencyNodes {
public:
  MItDependencyNodes(MFn::Type filter = MFn::kInvalid, MStatus* ReturnStatus = NULL);
  virtual ~MItDependencyNodes();

  bool isDone(MStatus* ReturnStatus = NULL) const;
  MStatus next();
  MObject thisNode(MStatus* ReturnStatus = NULL) const;
  MObject item(MStatus* ReturnStatus = NULL) const;
  MStatus reset(MFn::Type filter = MFn::kInvalid);

private:
  MItDependencyNodes(const MItDependencyNodes&);
  MItDependencyNodes& operator=(const MItDependencyNodes&);
  void* _state;
};
