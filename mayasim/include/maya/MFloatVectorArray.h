// MFloatVectorArray: an array of MFloatVector.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>
#include <maya/MFloatVector.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MFloatVectorArray {
public:
  MFloatVectorArray();
  MFloatVectorArray(const MFloatVectorArray& other);
  MFloatVectorArray(unsigned int initialSize, const MFloatVector& initialValue = MFloatVector::zero);
  MFloatVectorArray(const MFloatVector source[], unsigned int count);
  ~MFloatVectorArray();
  MFloatVectorArray& operator=(const MFloatVectorArray& other);
  const MFloatVector& operator[](unsigned int index) const;
  MFloatVector& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const MFloatVector& element);
  MStatus remove(unsigned int index);
  MStatus insert(const MFloatVector& element, unsigned int index);
  MStatus set(const MFloatVector& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MFloatVectorArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MFloatVectorArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
