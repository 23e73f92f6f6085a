// MPlug: an attribute of a node, or one element of an array attribute.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MDGContext.h>
#include <maya/MObject.h>
#include <maya/MString.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class MPlugArray;
class MTime;
class MDistance;

class OPENMAYA_EXPORT MPlug {
public:
  MPlug();
  MPlug(const MPlug& other);
  MPlug(const MObject& node, const MObject& attribute);
  virtual ~MPlug();
  MPlug& operator=(const MPlug& other);
  bool operator==(const MPlug& other) const;
  bool operator!=(const MPlug& other) const;

  bool isNull(MStatus* ReturnStatus = NULL) const;
  MObject node(MStatus* ReturnStatus = NULL) const;
  MString name(MStatus* ReturnStatus = NULL) const;
  MString partialName(bool includeNodeName = false, bool includeNonMandatoryIndices = false,
                      bool includeInstancedIndices = false, bool useAlias = false, bool useFullAttributePath = false,
                      bool useLongNames = false, MStatus* ReturnStatus = NULL) const;
  bool isArray(MStatus* ReturnStatus = NULL) const;
  bool isElement(MStatus* ReturnStatus = NULL) const;
  unsigned int logicalIndex(MStatus* ReturnStatus = NULL) const;
  unsigned int numElements(MStatus* ReturnStatus = NULL) const;
  MPlug elementByLogicalIndex(unsigned int logicalIndex, MStatus* ReturnStatus = NULL) const;
  MPlug elementByPhysicalIndex(unsigned int physicalIndex, MStatus* ReturnStatus = NULL) const;
  MPlug array(MStatus* ReturnStatus = NULL) const;
  bool connectedTo(MPlugArray& array, bool asDst, bool asSrc, MStatus* ReturnStatus = NULL) const;
  bool isConnected(MStatus* ReturnStatus = NULL) const;

  MStatus getValue(bool& value, MDGContext& ctx = MDGContext::fsNormal) const;
  MStatus getValue(MObject& value, MDGContext& ctx = MDGContext::fsNormal) const;
  MStatus getValue(double& value, MDGContext& ctx = MDGContext::fsNormal) const;
  MStatus getValue(float& value, MDGContext& ctx = MDGContext::fsNormal) const;
  MStatus getValue(int& value, MDGContext& ctx = MDGContext::fsNormal) const;
  MStatus getValue(MString& value, MDGContext& ctx = MDGContext::fsNormal) const;
  bool asBool(MDGContext& ctx = MDGContext::fsNormal, MStatus* ReturnStatus = NULL) const;
  MObject asMObject(MDGContext& ctx = MDGContext::fsNormal, MStatus* ReturnStatus = NULL) const;
  double asDouble(MDGContext& ctx = MDGContext::fsNormal, MStatus* ReturnStatus = NULL) const;
  int asInt(MDGContext& ctx = MDGContext::fsNormal, MStatus* ReturnStatus = NULL) const;
  MString asString(MDGContext& ctx = MDGContext::fsNormal, MStatus* ReturnStatus = NULL) const;

  // The stand-in's plug: node, attribute name, logical index (-1: the whole attribute).
  MPlug(const MObject& node, const char* attribute, int logicalIndex);
  const char* attributeName() const { return _attribute.asChar(); }
  int index() const { return _index; }

private:
  MObject _node;
  MString _attribute;
  int _index;
};

OPENMAYA_NAMESPACE_CLOSE
