// MSyntax: the flags and arguments a command takes.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MSyntax {
public:
  enum MArgType {
    kInvalidArgType = 0,
    kNoArg = 1,
    kBoolean = 2,
    kLong = 3,
    kDouble = 4,
    kString = 5,
    kUnsigned = 6,
    kDistance = 7,
    kAngle = 8,
    kTime = 9,
    kSelectionItem = 10,
    kLastArgType = 11
  };
  enum MObjectFormat { kInvalidObjectFormat, kNone, kStringObjects, kSelectionList, kLastObjectFormat };

  MSyntax();
  MSyntax(const MSyntax& other);
  ~MSyntax();
  MSyntax& operator=(const MSyntax& other);

  // Short names are under four characters, long names over three.
  MStatus addFlag(const char* shortName, const char* longName, MArgType argType1 = kNoArg,
                  MArgType argType2 = kNoArg, MArgType argType3 = kNoArg, MArgType argType4 = kNoArg,
                  MArgType argType5 = kNoArg, MArgType argType6 = kNoArg);
  MStatus makeFlagMultiUse(const char* flag);
  MStatus addArg(MArgType arg);
  void useSelectionAsDefault(bool useSelection = false);
  MStatus setObjectType(MObjectFormat format, unsigned int minimumObjects = 0);
  void enableQuery(bool supportsQuery = true);
  void enableEdit(bool supportsEdit = true);

  void* internal() const { return _flags; }

private:
  void* _flags;
};

OPENMAYA_NAMESPACE_CLOSE
