// MFnSkinCluster: the function set of skin clusters.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MDagPathArray.h>
#include <maya/MDoubleArray.h>
#include <maya/MFnGeometryFilter.h>
#include <maya/MIntArray.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYAANIM_EXPORT MFnSkinCluster : public MFnGeometryFilter {
  MAYASIM_MINIMAL_MFN(MFnSkinCluster)

public:
  MFnSkinCluster();
  MFnSkinCluster(MObject& object, MStatus* ReturnStatus = NULL);
  MFnSkinCluster(const MObject& object, MStatus* ReturnStatus = NULL);
  ~MFnSkinCluster() override;
  MFn::Type type() const override;

  // The influence objects' paths; returns their number.
  unsigned int influenceObjects(MDagPathArray& paths, MStatus* ReturnStatus = NULL) const;
  // The logical index of the matrix array element the influence drives.
  unsigned int indexForInfluenceObject(const MDagPath& influence, MStatus* ReturnStatus = NULL) const;
  // All influences' weights of the components, component after component.
  MStatus getWeights(const MDagPath& path, const MObject& components, MDoubleArray& weights,
                     unsigned int& influenceCount) const;
  // One influence's (by position) weights of the components.
  MStatus getWeights(const MDagPath& path, const MObject& components, unsigned int influenceIndex,
                     MDoubleArray& weights) const;
};

OPENMAYA_NAMESPACE_CLOSE
