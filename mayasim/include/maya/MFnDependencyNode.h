// MFnDependencyNode: the function set of every dependency-graph node.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MFnBase.h>
#include <maya/MPlug.h>
#include <maya/MString.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MFnDependencyNode : public MFnBase {
  MAYASIM_MINIMAL_MFN(MFnDependencyNode)

public:
  MFnDependencyNode();
  MFnDependencyNode(MObject& object, MStatus* ReturnStatus = NULL);
  MFnDependencyNode(const MObject& object, MStatus* ReturnStatus = NULL);
  ~MFnDependencyNode() override;
  MFn::Type type() const override;

  MString name(MStatus* ReturnStatus = NULL) const;
  MString typeName(MStatus* ReturnStatus = NULL) const;
  MString setName(const MString& name, bool createNamespace = false, MStatus* ReturnStatus = NULL);
  MPlug findPlug(const MString& attrName, bool wantNetworkedPlug, MStatus* ReturnStatus = NULL) const;
  MPlug findPlug(const MObject& attr, bool wantNetworkedPlug, MStatus* ReturnStatus = NULL) const;
  // Obsolete since 2013 (still declared through 2020).
  MAYASIM_OBSOLETE("findPlug(attrName, wantNetworkedPlug, ReturnStatus)")
  MPlug findPlug(const MString& attrName, MStatus* ReturnStatus = NULL) const;
  MAYASIM_OBSOLETE("findPlug(attr, wantNetworkedPlug, ReturnStatus)")
  MPlug findPlug(const MObject& attr, MStatus* ReturnStatus = NULL) const;
  bool hasAttribute(const MString& name, MStatus* ReturnStatus = NULL) const;
  bool isDefaultNode(MStatus* ReturnStatus = NULL) const;
  bool isShared(MStatus* ReturnStatus = NULL) const;
};

OPENMAYA_NAMESPACE_CLOSE
