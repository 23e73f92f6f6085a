// MColor: a colour of four floats.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MColor {
public:
  enum MColorType { kRGB, kHSV, kCMY, kCMYK };

  MColor();
  MColor(float rr, float gg, float bb = 0.0, float aa = 1.0);
  MColor(const float rgb[3]);
  MColor(float alpha);
  MColor(const MColor& other);
  MColor& operator=(const MColor& other);

  bool get(float dest[3]) const;
  float operator[](unsigned int i) const;
  float& operator[](unsigned int i);
  bool operator==(const MColor& other) const;
  bool operator!=(const MColor& other) const;

  static const MColor kOpaqueBlack;

  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MColor& c);

  float r;
  float g;
  float b;
  float a;
};

OPENMAYA_NAMESPACE_CLOSE
