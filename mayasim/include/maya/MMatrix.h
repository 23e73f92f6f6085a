// MMatrix: a 4x4 double matrix. Points are row vectors multiplied on the
// left (p' = p * M), so the translation is in row 3.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

#define MMatrix_kTol 1.0e-10

class OPENMAYA_EXPORT MMatrix {
public:
  MMatrix();
  MMatrix(const MMatrix& other);
  MMatrix(const double m[4][4]);
  MMatrix(const float m[4][4]);
  ~MMatrix();
  MMatrix& operator=(const MMatrix& other);

  double operator()(unsigned int row, unsigned int col) const;
  double& operator()(unsigned int row, unsigned int col);
  const double* operator[](unsigned int row) const;
  double* operator[](unsigned int row);
  MStatus get(double dest[4][4]) const;
  MStatus get(float dest[4][4]) const;

  MMatrix transpose() const;
  MMatrix inverse() const;
  MMatrix& setToIdentity();
  MMatrix& setToProduct(const MMatrix& left, const MMatrix& right);
  MMatrix operator*(const MMatrix& right) const;
  MMatrix& operator*=(const MMatrix& right);
  MMatrix operator*(double s) const;
  MMatrix operator+(const MMatrix& right) const;
  MMatrix operator-(const MMatrix& right) const;
  bool operator==(const MMatrix& other) const;
  bool operator!=(const MMatrix& other) const;
  bool isEquivalent(const MMatrix& other, double tolerance = MMatrix_kTol) const;
  double det4x4() const;

  static const MMatrix identity;

  friend OPENMAYA_EXPORT MMatrix operator*(double s, const MMatrix& m);
  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MMatrix& m);

  double matrix[4][4];
};

OPENMAYA_NAMESPACE_CLOSE
