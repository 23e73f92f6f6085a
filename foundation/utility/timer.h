// Monotonic high-resolution clock and wall-clock time of day.
//
// ticks() never goes backwards and is meant for measuring intervals
// (the console's waits, benchmarks); local_time_of_day() is for log stamps.
//
// Each platform provides all three functions (timer_posix.cpp, timer_win32.cpp).
#pragma once

#include "foundation/platform.h"

namespace foundation {
namespace timer {

// Current value of the monotonic clock and its rate.
uint64_t ticks();
uint64_t ticks_per_second();

inline double seconds_between(uint64_t start, uint64_t end) {
  return double(end - start) / double(ticks_per_second());
}

inline double seconds_since(uint64_t start) { return seconds_between(start, ticks()); }

struct TimeOfDay {
  unsigned hours, minutes, seconds, milliseconds;
};

// The current local time of day.
TimeOfDay local_time_of_day();

// "%02u:%02u:%02u.%03u" of the current local time into `out` (at least 13 bytes).
void format_timestamp(char* out, unsigned size);

} // namespace timer
} // namespace foundation
