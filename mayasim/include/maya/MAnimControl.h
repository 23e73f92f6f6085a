// MAnimControl: the time slider (playback range and current time).
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MTime.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYAANIM_EXPORT MAnimControl {
public:
  static MTime minTime();
  static MTime maxTime();
  static MTime animationStartTime();
  static MTime animationEndTime();
  static MTime currentTime();
  // Sets the current time; animated values follow.
  static MStatus setCurrentTime(const MTime& time);
  static MStatus setMinMaxTime(MTime min, MTime max);
  static double playbackBy();
};

OPENMAYA_NAMESPACE_CLOSE
