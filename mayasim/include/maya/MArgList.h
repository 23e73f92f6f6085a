// MArgList: the arguments of a command invocation.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MString.h>
#include <maya/MStringArray.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MArgList {
public:
  MArgList();
  MArgList(const MArgList& other);
  ~MArgList();
  MArgList& operator=(const MArgList& other);

  unsigned int length(MStatus* ReturnStatus = NULL) const;
  MString asString(unsigned int index, MStatus* ret = NULL) const;
  bool asBool(unsigned int index, MStatus* ret = NULL) const;
  int asInt(unsigned int index, MStatus* ret = NULL) const;
  double asDouble(unsigned int index, MStatus* ret = NULL) const;
  unsigned int flagIndex(const char* shortFlag, const char* longFlag = NULL) const;
  MStatus addArg(const MString& arg);
  MStatus addArg(int arg);
  MStatus addArg(double arg);

  static const unsigned int kInvalidArgIndex;

private:
  MStringArray _args;
};

OPENMAYA_NAMESPACE_CLOSE
