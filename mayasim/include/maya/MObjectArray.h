// MObjectArray: an array of MObject.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>
#include <maya/MObject.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MObjectArray {
public:
  MObjectArray();
  MObjectArray(const MObjectArray& other);
  MObjectArray(unsigned int initialSize, const MObject& initialValue = MObject::kNullObj);
  MObjectArray(const MObject source[], unsigned int count);
  ~MObjectArray();
  MObjectArray& operator=(const MObjectArray& other);
  const MObject& operator[](unsigned int index) const;
  MObject& operator[](unsigned int index);
  unsigned int length() const;
  MStatus setLength(unsigned int length);
  MStatus append(const MObject& element);
  MStatus remove(unsigned int index);
  MStatus insert(const MObject& element, unsigned int index);
  MStatus set(const MObject& element, unsigned int index);
  MStatus clear();
  MStatus copy(const MObjectArray& source);
  void setSizeIncrement(unsigned int increment);
  unsigned int sizeIncrement() const;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MObjectArray& array);

private:
  void* _array;
};

OPENMAYA_NAMESPACE_CLOSE
