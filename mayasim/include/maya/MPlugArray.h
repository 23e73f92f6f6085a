// MPlugArray: an array of MPlug.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>
#include <maya/MPlug.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MPlugArray {
public:
  MPlugArray();
  MPlugArray(const MPlugArray& other);
  MPlugArray(unsigned int initialSize, const MPlug& initialValue = MPlug());
  MPlugArray(const MPlug source[], unsigned int count);
  ~MPlugArray();
  MPlugArray& operator=(const MPlugArray& other);
  const MPlug& operator[](unsigned int index) const;
  MPlug& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const MPlug& element);
  MStatus remove(unsigned int index);
  MStatus insert(const MPlug& element, unsigned int index);
  MStatus set(const MPlug& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MPlugArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MPlugArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
