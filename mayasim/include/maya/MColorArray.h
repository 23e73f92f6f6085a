// MColorArray: an array of MColor.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>
#include <maya/MColor.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MColorArray {
public:
  MColorArray();
  MColorArray(const MColorArray& other);
  MColorArray(unsigned int initialSize, const MColor& initialValue = MColor::kOpaqueBlack);
  MColorArray(const MColor source[], unsigned int count);
  ~MColorArray();
  MColorArray& operator=(const MColorArray& other);
  const MColor& operator[](unsigned int index) const;
  MColor& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const MColor& element);
  MStatus append(float r, float g, float b, float a = 1);
  MStatus remove(unsigned int index);
  MStatus insert(const MColor& element, unsigned int index);
  MStatus set(const MColor& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MColorArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MColorArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
