// MFnDagNode: the function set of DAG nodes.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MDagPath.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MMatrix.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MFnDagNode : public MFnDependencyNode {
  MAYASIM_MINIMAL_MFN(MFnDagNode)

public:
  enum { kNextPos = 0xff };

  MFnDagNode();
  MFnDagNode(MObject& object, MStatus* ret = NULL);
  MFnDagNode(const MDagPath& path, MStatus* ret = NULL);
  MFnDagNode(const MObject& object, MStatus* ret = NULL);
  ~MFnDagNode() override;
  MFn::Type type() const override;

  unsigned int parentCount(MStatus* ReturnStatus = NULL) const;
  MObject parent(unsigned int i, MStatus* ReturnStatus = NULL) const;
  unsigned int childCount(MStatus* ReturnStatus = NULL) const;
  MObject child(unsigned int i, MStatus* ReturnStatus = NULL) const;
  // The node's transform relative to its parent at the current time.
  MMatrix transformationMatrix(MStatus* ReturnStatus = NULL) const;
  bool isIntermediateObject(MStatus* ReturnStatus = NULL) const;
  MStatus getPath(MDagPath& path) const;
  MDagPath dagPath(MStatus* ReturnStatus = NULL) const;
  MString fullPathName(MStatus* ReturnStatus = NULL) const;
  MString partialPathName(MStatus* ReturnStatus = NULL) const;
  bool isInstanced(bool indirect = true, MStatus* ReturnStatus = NULL) const;
  unsigned int instanceCount(bool total, MStatus* ReturnStatus = NULL) const;

  virtual MStatus setObject(const MDagPath& path);
  MStatus setObject(MObject& object) override;
  MStatus setObject(const MObject& object) override;
};

OPENMAYA_NAMESPACE_CLOSE
