#include "bench_process.h"

#include <chrono>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace bench {

double now_seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

long proc_status_kb(const char* field) {
  FILE* f = fopen("/proc/self/status", "r");
  if (!f)
    return -1;
  char line[256];
  long value = -1;
  size_t n = strlen(field);
  while (fgets(line, sizeof(line), f))
    if (strncmp(line, field, n) == 0 && line[n] == ':')
      value = atol(line + n + 1);
  fclose(f);
  return value;
}

void reset_peak_rss() {
  FILE* f = fopen("/proc/self/clear_refs", "w");
  if (f) {
    fputs("5", f);
    fclose(f);
  }
}

} // namespace bench
