// MObject: a handle to something in Maya's scene (a node, a component, data).
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MFn.h>
#include <maya/MStatus.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MObject {
public:
  MObject();
  MObject(const MObject& other);
  ~MObject();
  MObject& operator=(const MObject& other);

  bool hasFn(MFn::Type type) const;
  bool isNull() const;
  MFn::Type apiType() const;
  const char* apiTypeStr() const;
  bool operator==(const MObject& other) const;
  bool operator!=(const MObject& other) const;

  // Non-const: Maya's defaults bind it to non-const references.
  static MObject kNullObj;

  // The stand-in's object behind the handle.
  void* internal() const { return _ptr; }
  explicit MObject(void* internal_object);

private:
  void* _ptr;
};

OPENMAYA_NAMESPACE_CLOSE
