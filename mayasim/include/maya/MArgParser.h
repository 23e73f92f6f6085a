// MArgParser: an argument list parsed against a syntax.
//
// Flags are found by their short or long name, with or without the leading
// dash. An absent flag's argument is the empty text with a failure status.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MArgList.h>
#include <maya/MSyntax.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MArgParser {
public:
  MArgParser();
  MArgParser(const MSyntax& syntax, const MArgList& argList, MStatus* ReturnStatus = NULL);
  virtual ~MArgParser();

  bool isFlagSet(const char* flag, MStatus* ReturnStatus = NULL) const;
  MString flagArgumentString(const char* flag, unsigned int index, MStatus* ReturnStatus = NULL) const;
  bool flagArgumentBool(const char* flag, unsigned int index, MStatus* ReturnStatus = NULL) const;
  int flagArgumentInt(const char* flag, unsigned int index, MStatus* ReturnStatus = NULL) const;
  double flagArgumentDouble(const char* flag, unsigned int index, MStatus* ReturnStatus = NULL) const;
  MStatus getFlagArgument(const char* flag, unsigned int index, bool& result) const;
  MStatus getFlagArgument(const char* flag, unsigned int index, int& result) const;
  MStatus getFlagArgument(const char* flag, unsigned int index, double& result) const;
  MStatus getFlagArgument(const char* flag, unsigned int index, MString& result) const;
  unsigned int numberOfFlagUses(const char* flag) const;
  bool isQuery(MStatus* ReturnStatus = NULL) const;
  bool isEdit(MStatus* ReturnStatus = NULL) const;

protected:
  MStatus parse(const MSyntax& syntax, const MArgList& argList);

private:
  MArgParser(const MArgParser&);
  MArgParser& operator=(const MArgParser&);
  void* _parsed;
};

OPENMAYA_NAMESPACE_CLOSE
