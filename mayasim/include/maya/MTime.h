// MTime: a time in a unit (frames of a rate, or seconds).
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MTime {
public:
  enum Unit {
    kInvalid = 0,
    kHours = 1,
    kMinutes = 2,
    kSeconds = 3,
    kMilliseconds = 4,
    kGames = 5,
    kFilm = 6,
    kPALFrame = 7,
    kNTSCFrame = 8,
    kShowScan = 9,
    kPALField = 10,
    kNTSCField = 11,
    k2FPS = 12,
    k3FPS,
    k4FPS,
    k5FPS,
    k6FPS,
    k8FPS,
    k10FPS,
    k12FPS,
    k16FPS,
    k20FPS,
    k40FPS,
    k75FPS,
    k80FPS,
    k100FPS,
    k120FPS,
    k125FPS,
    k150FPS,
    k200FPS,
    k240FPS,
    k250FPS,
    k300FPS,
    k375FPS,
    k400FPS,
    k500FPS,
    k600FPS,
    k750FPS,
    k1200FPS,
    k1500FPS,
    k2000FPS,
    k3000FPS,
    k6000FPS = 42,
#if MAYASIM_MODERN_API
    // Rates Maya 2017 and later added before kUserDef, numbered as Maya
    // 2026 numbers them, with the aliases it declares.
    k23_976FPS = 43,
    k29_97FPS = 44,
    k29_97DF = 45,
    k47_952FPS = 46,
    k59_94FPS = 47,
    k44100FPS = 48,
    k48000FPS = 49,
    k90FPS = 50,
    k119_88FPS = 51,
    kUserDef = 52,
    kLast = 53,
    k15FPS = kGames,
    k24FPS = kFilm,
    k25FPS = kPALFrame,
    k30FPS = kNTSCFrame,
    k48FPS = kShowScan,
    k50FPS = kPALField,
    k60FPS = kNTSCField
#else
    kUserDef = 43,
    kLast = 44
#endif
  };

  MTime();
  MTime(double value, Unit unit = kFilm);
  MTime(const MTime& other);
  MTime& operator=(const MTime& other);

  Unit unit() const;
  double value() const;
  MStatus setUnit(Unit newUnit);
  MStatus setValue(double newValue);
  double as(Unit otherUnit) const;
  double asUnits(Unit otherUnit) const;

  static Unit uiUnit();
  static MStatus setUIUnit(Unit newUnit);

  bool operator==(const MTime& other) const;
  bool operator!=(const MTime& other) const;
  bool operator<(const MTime& other) const;
  bool operator>(const MTime& other) const;
  bool operator<=(const MTime& other) const;
  bool operator>=(const MTime& other) const;
  MTime operator+(const MTime& other) const;
  MTime operator-(const MTime& other) const;
  MTime operator+(double frames) const;
  MTime operator-(double frames) const;

private:
  double _value;
  Unit _unit;
};

OPENMAYA_NAMESPACE_CLOSE
