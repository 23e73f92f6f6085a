// MStringArray: an array of MString.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>
#include <maya/MString.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MStringArray {
public:
  MStringArray();
  MStringArray(const MStringArray& other);
  MStringArray(unsigned int initialSize, const MString& initialValue = MString());
  MStringArray(const MString source[], unsigned int count);
  MStringArray(const char* source[], unsigned int count);
  ~MStringArray();
  MStringArray& operator=(const MStringArray& other);
  MString operator[](unsigned int index) const;
  MString& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const MString& element);
  MStatus remove(unsigned int index);
  MStatus insert(const MString& element, unsigned int index);
  MStatus set(const MString& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MStringArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MStringArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
