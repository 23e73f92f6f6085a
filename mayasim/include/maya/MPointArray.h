// MPointArray: an array of MPoint.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>
#include <maya/MPoint.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MPointArray {
public:
  MPointArray();
  MPointArray(const MPointArray& other);
  MPointArray(unsigned int initialSize, const MPoint& initialValue = MPoint::origin);
  MPointArray(const MPoint source[], unsigned int count);
  ~MPointArray();
  MPointArray& operator=(const MPointArray& other);
  const MPoint& operator[](unsigned int index) const;
  MPoint& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const MPoint& element);
  MStatus append(double x, double y, double z = 0, double w = 1);
  MStatus remove(unsigned int index);
  MStatus insert(const MPoint& element, unsigned int index);
  MStatus set(const MPoint& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MPointArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MPointArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
