// MDoubleArray: an array of double.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MDoubleArray {
public:
  MDoubleArray();
  MDoubleArray(const MDoubleArray& other);
  MDoubleArray(unsigned int initialSize, const double& initialValue = 0);
  MDoubleArray(const double source[], unsigned int count);
  ~MDoubleArray();
  MDoubleArray& operator=(const MDoubleArray& other);
  double operator[](unsigned int index) const;
  double& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const double& element);
  MStatus remove(unsigned int index);
  MStatus insert(const double& element, unsigned int index);
  MStatus set(const double& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MDoubleArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MDoubleArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
