// Counts the goals a benchmark program missed, for its closing line.
#pragma once

namespace bench {

struct GoalTally {
  int missed = 0;
  // "met" or "MISSED", counting a miss.
  const char* verdict(bool met) {
    if (!met)
      ++missed;
    return met ? "met" : "MISSED";
  }
};

} // namespace bench
