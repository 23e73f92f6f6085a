// MDistance: a length in a unit. The internal unit is centimetres.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MDistance {
public:
  enum Unit { kInvalid, kInches, kFeet, kYards, kMiles, kMillimeters, kCentimeters, kKilometers, kMeters, kLast };

  MDistance();
  MDistance(double value, Unit unitSystem = kCentimeters);
  MDistance(const MDistance& other);
  MDistance& operator=(const MDistance& other);

  Unit unit() const;
  double value() const;
  MStatus setUnit(Unit newUnit);
  MStatus setValue(double newValue);
  double as(Unit otherUnit, MStatus* ReturnStatus = NULL) const;
  double asUnits(Unit otherUnit, MStatus* ReturnStatus = NULL) const;
  double asMeters() const;
  double asCentimeters() const;
  double asMillimeters() const;
  double asInches() const;
  double asFeet() const;

  static Unit uiUnit();
  static MStatus setUIUnit(Unit newUnit);
  static Unit internalUnit();
  static double internalToUI(double internalValue);
  static double uiToInternal(double uiValue);
  // Obsolete: changes the internal unit.
  MAYASIM_OBSOLETE("the internal unit is always centimetres; convert with as()")
  static MStatus setInternalUnit(Unit internalUnit);

private:
  double _value;
  Unit _unit;
};

OPENMAYA_NAMESPACE_CLOSE
