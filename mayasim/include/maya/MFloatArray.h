// MFloatArray: an array of float.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MFloatArray {
public:
  MFloatArray();
  MFloatArray(const MFloatArray& other);
  MFloatArray(unsigned int initialSize, const float& initialValue = 0);
  MFloatArray(const float source[], unsigned int count);
  ~MFloatArray();
  MFloatArray& operator=(const MFloatArray& other);
  float operator[](unsigned int index) const;
  float& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const float& element);
  MStatus remove(unsigned int index);
  MStatus insert(const float& element, unsigned int index);
  MStatus set(const float& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MFloatArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MFloatArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
