// MFloatVector: a vector of three floats.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class MPoint;

class OPENMAYA_EXPORT MFloatVector {
public:
  MFloatVector();
  MFloatVector(float xx, float yy, float zz = 0.0);
  MFloatVector(const float f[3]);
  MFloatVector(const double d[3]);
  MFloatVector(const MFloatVector& other);
  MFloatVector& operator=(const MFloatVector& other);

  MStatus get(float dest[3]) const;
  float operator[](unsigned int i) const;
  float& operator[](unsigned int i);
  MFloatVector operator+(const MFloatVector& other) const;
  MFloatVector operator-(const MFloatVector& other) const;
  MFloatVector operator-() const;
  MFloatVector operator*(float s) const;
  // Cross product.
  MFloatVector operator^(const MFloatVector& other) const;
  // Dot product.
  float operator*(const MFloatVector& other) const;
  bool operator==(const MFloatVector& other) const;
  bool operator!=(const MFloatVector& other) const;
  float length() const;
  MFloatVector normal() const;
  MStatus normalize();
  bool isEquivalent(const MFloatVector& other, float tolerance = 1.0e-5f) const;

  static const MFloatVector zero;
  static const MFloatVector one;
  static const MFloatVector xAxis;
  static const MFloatVector yAxis;
  static const MFloatVector zAxis;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MFloatVector& v);

  float x;
  float y;
  float z;
};

OPENMAYA_NAMESPACE_CLOSE
