// The process as the benchmark programs measure it from outside the
// benchmark library: a monotonic clock and the resident set (Linux).
#pragma once

namespace bench {

// Seconds on the monotonic clock, for timing whole runs.
double now_seconds();

// A "FIELD: N kB" value of /proc/self/status ("VmRSS", "VmHWM"), or -1 where
// there is none (not Linux).
long proc_status_kb(const char* field);

// Lets the resident set's high-water mark (VmHWM) start again from the
// current resident set (Linux; nothing elsewhere).
void reset_peak_rss();

} // namespace bench
