// MIntArray: an array of int.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MIntArray {
public:
  MIntArray();
  MIntArray(const MIntArray& other);
  MIntArray(unsigned int initialSize, const int& initialValue = 0);
  MIntArray(const int source[], unsigned int count);
  ~MIntArray();
  MIntArray& operator=(const MIntArray& other);
  int operator[](unsigned int index) const;
  int& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const int& element);
  MStatus remove(unsigned int index);
  MStatus insert(const int& element, unsigned int index);
  MStatus set(const int& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MIntArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MIntArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
