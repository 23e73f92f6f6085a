#include "foundation/utility/timer.h"

#include <stdio.h>
#include <sys/time.h>
#include <time.h>

namespace foundation {
namespace timer {

uint64_t ticks() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return uint64_t(t.tv_sec) * 1000000000ull + uint64_t(t.tv_nsec);
}

uint64_t ticks_per_second() { return 1000000000ull; }

TimeOfDay local_time_of_day() {
  timeval now;
  gettimeofday(&now, nullptr);
  time_t seconds = now.tv_sec;
  tm local;
  localtime_r(&seconds, &local);
  TimeOfDay t;
  t.hours = unsigned(local.tm_hour);
  t.minutes = unsigned(local.tm_min);
  t.seconds = unsigned(local.tm_sec);
  t.milliseconds = unsigned(now.tv_usec / 1000);
  return t;
}

void format_timestamp(char* out, unsigned size) {
  TimeOfDay t = local_time_of_day();
  snprintf(out, size, "%02u:%02u:%02u.%03u", t.hours, t.minutes, t.seconds, t.milliseconds);
}

} // namespace timer
} // namespace foundation
