// MFnMatrixData: the function set of matrix data (the value of a matrix plug).
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MFnBase.h>
#include <maya/MMatrix.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MFnMatrixData : public MFnBase {
  MAYASIM_MINIMAL_MFN(MFnMatrixData)

public:
  MFnMatrixData();
  MFnMatrixData(MObject& object, MStatus* ReturnStatus = NULL);
  MFnMatrixData(const MObject& object, MStatus* ReturnStatus = NULL);
  ~MFnMatrixData() override;
  MFn::Type type() const override;

  const MMatrix& matrix(MStatus* ReturnStatus = NULL) const;
  bool isTransformation(MStatus* ReturnStatus = NULL) const;
  MStatus set(const MMatrix& matrix);
  MObject create(const MMatrix& matrix, MStatus* ReturnStatus = NULL);
};

OPENMAYA_NAMESPACE_CLOSE
