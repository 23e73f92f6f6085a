#include "units.h"

#include "scene.h"

namespace mayasim {

namespace {

// NTSC rates are exact fractions (24000/1001 frames a second for
// "23.976fps"): Maya counts time in ticks of 1/141120000 s, which holds a
// whole number of ticks per frame for every rate below.
#if MAYASIM_MODERN_API
#define MODERN_OR_USER(u) MTime::u
#else
#define MODERN_OR_USER(u) MTime::kUserDef
#endif

const TimeUnitName TIME_UNITS[] = {
    {"hour", 3600.0, MTime::kHours},
    {"min", 60.0, MTime::kMinutes},
    {"sec", 1.0, MTime::kSeconds},
    {"millisec", 0.001, MTime::kMilliseconds},
    {"game", 1.0 / 15, MTime::kGames},
    {"film", 1.0 / 24, MTime::kFilm},
    {"pal", 1.0 / 25, MTime::kPALFrame},
    {"ntsc", 1.0 / 30, MTime::kNTSCFrame},
    {"show", 1.0 / 48, MTime::kShowScan},
    {"palf", 1.0 / 50, MTime::kPALField},
    {"ntscf", 1.0 / 60, MTime::kNTSCField},
    {"2fps", 1.0 / 2, MTime::k2FPS},
    {"3fps", 1.0 / 3, MTime::k3FPS},
    {"4fps", 1.0 / 4, MTime::k4FPS},
    {"5fps", 1.0 / 5, MTime::k5FPS},
    {"6fps", 1.0 / 6, MTime::k6FPS},
    {"8fps", 1.0 / 8, MTime::k8FPS},
    {"10fps", 1.0 / 10, MTime::k10FPS},
    {"12fps", 1.0 / 12, MTime::k12FPS},
    {"16fps", 1.0 / 16, MTime::k16FPS},
    {"20fps", 1.0 / 20, MTime::k20FPS},
    {"40fps", 1.0 / 40, MTime::k40FPS},
    {"75fps", 1.0 / 75, MTime::k75FPS},
    {"80fps", 1.0 / 80, MTime::k80FPS},
    {"100fps", 1.0 / 100, MTime::k100FPS},
    {"120fps", 1.0 / 120, MTime::k120FPS},
    {"125fps", 1.0 / 125, MTime::k125FPS},
    {"150fps", 1.0 / 150, MTime::k150FPS},
    {"200fps", 1.0 / 200, MTime::k200FPS},
    {"240fps", 1.0 / 240, MTime::k240FPS},
    {"250fps", 1.0 / 250, MTime::k250FPS},
    {"300fps", 1.0 / 300, MTime::k300FPS},
    {"375fps", 1.0 / 375, MTime::k375FPS},
    {"400fps", 1.0 / 400, MTime::k400FPS},
    {"500fps", 1.0 / 500, MTime::k500FPS},
    {"600fps", 1.0 / 600, MTime::k600FPS},
    {"750fps", 1.0 / 750, MTime::k750FPS},
    {"1200fps", 1.0 / 1200, MTime::k1200FPS},
    {"1500fps", 1.0 / 1500, MTime::k1500FPS},
    {"2000fps", 1.0 / 2000, MTime::k2000FPS},
    {"3000fps", 1.0 / 3000, MTime::k3000FPS},
    {"6000fps", 1.0 / 6000, MTime::k6000FPS},
    {"23.976fps", 1001.0 / 24000, MODERN_OR_USER(k23_976FPS)},
    {"29.97fps", 1001.0 / 30000, MODERN_OR_USER(k29_97FPS)},
    {"29.97df", 1001.0 / 30000, MODERN_OR_USER(k29_97DF)},
    {"47.952fps", 1001.0 / 48000, MODERN_OR_USER(k47_952FPS)},
    {"59.94fps", 1001.0 / 60000, MODERN_OR_USER(k59_94FPS)},
    {"44100fps", 1.0 / 44100, MODERN_OR_USER(k44100FPS)},
    {"48000fps", 1.0 / 48000, MODERN_OR_USER(k48000FPS)},
    {"90fps", 1.0 / 90, MODERN_OR_USER(k90FPS)},
    {"119.88fps", 1001.0 / 120000, MODERN_OR_USER(k119_88FPS)},
};

#undef MODERN_OR_USER

const LinearUnitName LINEAR_UNITS[] = {
    {"mm", "millimeter", MDistance::kMillimeters}, {"cm", "centimeter", MDistance::kCentimeters},
    {"m", "meter", MDistance::kMeters},            {"km", "kilometer", MDistance::kKilometers},
    {"in", "inch", MDistance::kInches},            {"ft", "foot", MDistance::kFeet},
    {"yd", "yard", MDistance::kYards},             {"mi", "mile", MDistance::kMiles},
};

} // namespace

const TimeUnitName* time_unit_named(std::string_view name) {
  for (const TimeUnitName& u : TIME_UNITS)
    if (name == u.name)
      return &u;
  return nullptr;
}

double seconds_per(MTime::Unit unit) {
  if (unit == MTime::kUserDef)
    return scene().user_seconds_per_frame;
  for (const TimeUnitName& u : TIME_UNITS)
    if (u.unit == unit)
      return u.seconds;
  return 1.0 / 24; // kInvalid and kLast: as the default unit
}

const LinearUnitName* linear_unit_named(std::string_view name) {
  for (const LinearUnitName& u : LINEAR_UNITS)
    if (name == u.name || name == u.long_name)
      return &u;
  return nullptr;
}

double centimetres_per(MDistance::Unit unit) {
  switch (unit) {
  case MDistance::kInches:
    return 2.54;
  case MDistance::kFeet:
    return 30.48;
  case MDistance::kYards:
    return 91.44;
  case MDistance::kMiles:
    return 160934.4;
  case MDistance::kMillimeters:
    return 0.1;
  case MDistance::kKilometers:
    return 100000;
  case MDistance::kMeters:
    return 100;
  default:
    return 1;
  }
}

} // namespace mayasim
