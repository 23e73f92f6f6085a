#include "foundation/utility/timer.h"

#include <stdio.h>
#include <windows.h>

namespace foundation {
namespace timer {

uint64_t ticks() {
  LARGE_INTEGER t;
  QueryPerformanceCounter(&t);
  return uint64_t(t.QuadPart);
}

uint64_t ticks_per_second() {
  LARGE_INTEGER f;
  QueryPerformanceFrequency(&f);
  return uint64_t(f.QuadPart);
}

TimeOfDay local_time_of_day() {
  SYSTEMTIME s;
  GetLocalTime(&s);
  TimeOfDay t;
  t.hours = s.wHour;
  t.minutes = s.wMinute;
  t.seconds = s.wSecond;
  t.milliseconds = s.wMilliseconds;
  return t;
}

void format_timestamp(char* out, unsigned size) {
  TimeOfDay t = local_time_of_day();
  snprintf(out, size, "%02u:%02u:%02u.%03u", t.hours, t.minutes, t.seconds, t.milliseconds);
}

} // namespace timer
} // namespace foundation
