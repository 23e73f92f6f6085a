// Shared by the benchmark programs: runs the registered benchmarks, keeps
// each one's time per iteration, and prints ratio tables against goals.
#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace bench {

// Runs every registered benchmark (honouring --benchmark_* flags); returns
// false when none ran. The caller starts and stops the memory system.
bool run_all(int argc, char** argv);

// Real time per iteration of a finished benchmark in nanoseconds, or -1.
double nanoseconds(const std::string& name);

struct Goal {
  std::string label;
  std::string ours;   // benchmark name
  std::string peer;   // benchmark name
  double limit;       // goal on ours / peer; 0 or below: no goal, printed for reference
  bool at_most;       // true: ratio <= limit is met; false: ratio >= limit
  bool invert = false; // report peer / ours (a speed-up) instead
};

// Prints "label  ours  peer  ratio  goal  met" lines; returns the number missed.
int print_goals(const char* title, const std::vector<Goal>& goals);

} // namespace bench
