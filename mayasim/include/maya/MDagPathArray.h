// MDagPathArray: an array of MDagPath.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>
#include <maya/MDagPath.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MDagPathArray {
public:
  MDagPathArray();
  MDagPathArray(const MDagPathArray& other);
  MDagPathArray(unsigned int initialSize, const MDagPath& initialValue);
  ~MDagPathArray();
  MDagPathArray& operator=(const MDagPathArray& other);
  const MDagPath& operator[](unsigned int index) const;
  MDagPath& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const MDagPath& element);
  MStatus remove(unsigned int index);
  MStatus insert(const MDagPath& element, unsigned int index);
  MStatus set(const MDagPath& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MDagPathArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MDagPathArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
