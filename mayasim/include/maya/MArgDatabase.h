// MArgDatabase: MArgParser with selection-list results.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MArgParser.h>
#include <maya/MSelectionList.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MArgDatabase : public MArgParser {
public:
  MArgDatabase();
  MArgDatabase(const MSyntax& syntax, const MArgList& argList, MStatus* ReturnStatus = NULL);
  ~MArgDatabase() override;

  MStatus getObjects(MSelectionList& result) const;
};

OPENMAYA_NAMESPACE_CLOSE
