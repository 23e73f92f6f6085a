// MPoint: a point in homogeneous double coordinates.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class MMatrix;
class MFloatVector;

class OPENMAYA_EXPORT MPoint {
public:
  MPoint();
  MPoint(double xx, double yy, double zz = 0.0, double ww = 1.0);
  MPoint(const double d[4]);
  MPoint(const float f[4]);
  MPoint(const MFloatVector& v);
  MPoint(const MPoint& other);
  MPoint& operator=(const MPoint& other);

  MStatus get(double dest[4]) const;
  MStatus get(float dest[4]) const;
  double operator[](unsigned int i) const;
  double& operator[](unsigned int i);
  MPoint operator*(const MMatrix& m) const;
  MPoint& operator*=(const MMatrix& m);
  MPoint operator+(const MPoint& other) const;
  MPoint operator-(const MPoint& other) const;
  MPoint operator*(double s) const;
  bool operator==(const MPoint& other) const;
  bool operator!=(const MPoint& other) const;
  MPoint& cartesianize();
  MPoint& homogenize();
  double distanceTo(const MPoint& other) const;
  bool isEquivalent(const MPoint& other, double tolerance = 1.0e-10) const;

  static const MPoint origin;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MPoint& p);

  double x;
  double y;
  double z;
  double w;
};

OPENMAYA_NAMESPACE_CLOSE
