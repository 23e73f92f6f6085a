// MDGContext: the context (time) in which plugs are evaluated.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class MTime;

class OPENMAYA_EXPORT MDGContext {
public:
  MDGContext();
  MDGContext(const MTime& when);
  MDGContext(const MDGContext& other);
  ~MDGContext();
  MDGContext& operator=(const MDGContext& other);

  bool isNormal(MStatus* ReturnStatus = NULL) const;
  MStatus getTime(MTime& time) const;

  // The normal context (the current time). Non-const: defaults bind to it.
  static MDGContext fsNormal;

private:
  bool _normal;
  double _seconds;
};

OPENMAYA_NAMESPACE_CLOSE
