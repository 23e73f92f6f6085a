// Checks format_float_g and format_float_f against the C library on every
// one of the 2^32 float bit patterns, on all cores. Takes tens of minutes;
// not part of `make test`. Usage: float_format_sweep [--fixed]
#include "foundation/utility/float_format.h"

#include <atomic>
#include <stdio.h>
#include <string.h>
#include <thread>
#include <vector>

using namespace foundation;

namespace {

std::atomic<uint64_t> g_mismatches(0);
std::atomic<uint64_t> g_checked(0);

void widen_exponent(char* s) {
  char* e = strchr(s, 'e');
  if (!e)
    return;
  size_t digits = strlen(e + 2);
  if (digits < 3) {
    memmove(e + 2 + (3 - digits), e + 2, digits + 1);
    memset(e + 2, '0', 3 - digits);
  }
}

void sweep(uint32_t first, uint32_t step, bool fixed) {
  char ours[64], theirs[128];
  uint64_t checked = 0;
  for (uint64_t bits = first; bits <= 0xFFFFFFFFull; bits += step) {
    uint32_t b = uint32_t(bits);
    float v;
    memcpy(&v, &b, 4);
    uint32_t n;
    if (fixed) {
      n = format_float_f(v, ours);
      snprintf(theirs, sizeof(theirs), "%f", double(v));
    } else {
      n = format_float_g(v, ours);
      snprintf(theirs, sizeof(theirs), "%g", double(v));
      widen_exponent(theirs);
    }
    ours[n] = 0;
    if (strcmp(ours, theirs) != 0 && g_mismatches.fetch_add(1) < 20)
      printf("mismatch %08x: ours %s, C library %s\n", b, ours, theirs);
    ++checked;
  }
  g_checked += checked;
}

} // namespace

int main(int argc, char** argv) {
  bool fixed = argc > 1 && strcmp(argv[1], "--fixed") == 0;
  unsigned threads = std::thread::hardware_concurrency();
  if (threads == 0)
    threads = 2;
  std::vector<std::thread> pool;
  for (unsigned t = 0; t < threads; ++t)
    pool.emplace_back(sweep, t, threads, fixed);
  for (auto& t : pool)
    t.join();
  printf("%s: %llu patterns checked, %llu mismatches\n", fixed ? "%f" : "%g", (unsigned long long)g_checked.load(),
         (unsigned long long)g_mismatches.load());
  return g_mismatches.load() == 0 ? 0 : 1;
}
