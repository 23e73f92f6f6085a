// MStatus: the result of an API call.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MTypes.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MStatus {
public:
  enum MStatusCode {
    kSuccess = 0,
    kFailure,
    kInsufficientMemory,
    kInvalidParameter,
    kLicenseFailure,
    kUnknownParameter,
    kNotImplemented,
    kNotFound,
    kEndOfFile
  };

  MStatus();
  MStatus(MStatusCode code);
  MStatus(const MStatus& other);
  MStatus& operator=(const MStatus& other);

  bool operator==(const MStatus& other) const;
  bool operator==(const MStatusCode code) const;
  bool operator!=(const MStatus& other) const;
  bool operator!=(const MStatusCode code) const;
  operator bool() const;
  bool error() const;
  void clear();
  MStatusCode statusCode() const;
  MString errorString() const;
  void perror(const char* message) const;
  void perror(const MString& message) const;
  void set(bool status, unsigned char statusCode, unsigned char internalStatusCode);

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, MStatus& status);
  friend OPENMAYA_EXPORT bool operator==(const MStatus::MStatusCode code, const MStatus& status);
  friend OPENMAYA_EXPORT bool operator!=(const MStatus::MStatusCode code, const MStatus& status);

private:
  MStatusCode _code;
};

typedef MStatus MS;

#define MFAIL(status) (MStatus::kSuccess != (status))

#define CHECK_MSTATUS_AND_RETURN(_status, _retVal)                                                        \
  {                                                                                                        \
    MStatus _maya_status = (_status);                                                                      \
    if (MStatus::kSuccess != _maya_status) {                                                               \
      _maya_status.perror(__FILE__);                                                                       \
      return (_retVal);                                                                                    \
    }                                                                                                      \
  }

#define CHECK_MSTATUS_AND_RETURN_IT(_status) CHECK_MSTATUS_AND_RETURN((_status), (_status))

#define CHECK_MSTATUS(_status)                                                                             \
  {                                                                                                        \
    MStatus _maya_status = (_status);                                                                      \
    if (MStatus::kSuccess != _maya_status)                                                                 \
      _maya_status.perror(__FILE__);                                                                       \
  }

OPENMAYA_NAMESPACE_CLOSE
