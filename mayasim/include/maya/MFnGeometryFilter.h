// MFnGeometryFilter: the function set of deformers (input and output shapes).
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MDagPath.h>
#include <maya/MFnDependencyNode.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYAANIM_EXPORT MFnGeometryFilter : public MFnDependencyNode {
  MAYASIM_MINIMAL_MFN(MFnGeometryFilter)

public:
  MFnGeometryFilter();
  MFnGeometryFilter(MObject& object, MStatus* ReturnStatus = NULL);
  MFnGeometryFilter(const MObject& object, MStatus* ReturnStatus = NULL);
  ~MFnGeometryFilter() override;
  MFn::Type type() const override;

  unsigned int numOutputConnections(MStatus* ReturnStatus = NULL) const;
  // The logical plug index of the connectionIndex-th output connection.
  unsigned int indexForOutputConnection(unsigned int connectionIndex, MStatus* ReturnStatus = NULL) const;
  MObject outputShapeAtIndex(unsigned int plugIndex, MStatus* ReturnStatus = NULL) const;
  MObject inputShapeAtIndex(unsigned int plugIndex, MStatus* ReturnStatus = NULL) const;
  MStatus getPathAtIndex(unsigned int plugIndex, MDagPath& path) const;
  unsigned int indexForOutputShape(const MObject& shape, MStatus* ReturnStatus = NULL) const;
};

OPENMAYA_NAMESPACE_CLOSE
