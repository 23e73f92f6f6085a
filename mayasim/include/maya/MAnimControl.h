// MAnimControl: the time slider (playback range and current time).
#pragma once

#include <maya/MTime.h>

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
