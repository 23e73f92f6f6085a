// MItDag: walks the DAG from the world, depth first or breadth first.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MDagPath.h>
#include <maya/MFn.h>
#include <maya/MObject.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MItDag {
public:
  enum TraversalType { kInvalidType = 0, kDepthFirst, kBreadthFirst };

  MItDag(TraversalType type = kDepthFirst, MFn::Type filter = MFn::kInvalid, MStatus* ReturnStatus = NULL);
  virtual ~MItDag();

  bool isDone(MStatus* ReturnStatus = NULL) const;
  MStatus next();
  MStatus prune();
  MStatus reset();
  MStatus reset(const MObject& root, TraversalType type = kDepthFirst, MFn::Type filter = MFn::kInvalid);
  MStatus reset(const MDagPath& root, TraversalType type = kDepthFirst, MFn::Type filter = MFn::kInvalid);
  MObject currentItem(MStatus* ReturnStatus = NULL);
  MAYASIM_OBSOLETE("currentItem()") MObject item(MStatus* ReturnStatus = NULL);
  MObject root(MStatus* ReturnStatus = NULL);
  unsigned int depth(MStatus* ReturnStatus = NULL) const;
  MStatus getPath(MDagPath& path) const;
  MString fullPathName(MStatus* ReturnStatus = NULL) const;
  MString partialPathName(MStatus* ReturnStatus = NULL) const;

private:
  MItDag(const MItDag&);
  MItDag& operator=(const MItDag&);
  void* _state;
};

OPENMAYA_NAMESPACE_CLOSE
