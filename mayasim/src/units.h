// Maya's units of time and length: what each unit is worth, and the names
// currentUnit takes for them (the names a Maya ASCII file writes).
//
// Time units are frames of a rate (or hours, minutes, seconds,
// milliseconds). Maya 2017 and later add rates the Maya 2013 API has no
// MTime::Unit for (23.976, 29.97 with and without drop frame, 47.952,
// 59.94, 44100 and 48000 fps; 90 and 119.88 fps later). Built with the
// modern API declarations, MTime has units for them as Maya 2026 declares
// them; built as Maya 2013, a scene in one of those rates has the unit
// kUserDef and its rate is kept beside it (Scene::user_seconds_per_frame),
// so that MTime conversions stay exact either way.
#pragma once

#include <maya/MDistance.h>
#include <maya/MTime.h>

#include <string_view>

namespace mayasim {

struct TimeUnitName {
  const char* name;      // as currentUnit -t takes it: "film", "ntsc", "23.976fps", "250fps"
  double seconds;        // per frame (per hour, minute ...)
  MTime::Unit unit;      // kUserDef where this build's MTime has no unit for it
};

// The time unit currentUnit names `name`; null for a name Maya does not
// take.
const TimeUnitName* time_unit_named(std::string_view name);

// Seconds per unit of `unit` (frame rates included); kUserDef is the
// scene's user-defined rate.
double seconds_per(MTime::Unit unit);

struct LinearUnitName {
  const char* name;      // mm, cm, m, km, in, ft, yd, mi
  const char* long_name; // millimeter ... mile
  MDistance::Unit unit;
};

// The linear unit currentUnit names `name` (short or long form); null for
// a name Maya does not take.
const LinearUnitName* linear_unit_named(std::string_view name);

// Centimetres per unit of `unit`.
double centimetres_per(MDistance::Unit unit);

} // namespace mayasim
