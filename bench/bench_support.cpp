#include "bench_support.h"


#include <map>
#include <stdio.h>

namespace bench {

namespace {

std::map<std::string, double> g_times;

class CollectingReporter : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred)
        continue;
      double factor = 1.0;
      switch (r.time_unit) {
      case benchmark::kSecond:
        factor = 1e9;
        break;
      case benchmark::kMillisecond:
        factor = 1e6;
        break;
      case benchmark::kMicrosecond:
        factor = 1e3;
        break;
      default:
        factor = 1.0;
      }
      g_times[r.benchmark_name()] = r.GetAdjustedRealTime() * factor;
    }
    ConsoleReporter::ReportRuns(runs);
  }
};

} // namespace

bool run_all(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  CollectingReporter reporter;
  size_t n = benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return n > 0;
}

double nanoseconds(const std::string& name) {
  auto it = g_times.find(name);
  return it == g_times.end() ? -1.0 : it->second;
}

int print_goals(const char* title, const std::vector<Goal>& goals) {
  printf("\n%s\n", title);
  printf("%-58s %12s %12s %8s %8s  %s\n", "comparison", "ours ns", "peer ns", "ratio", "goal", "");
  int missed = 0;
  for (const Goal& g : goals) {
    double ours = nanoseconds(g.ours);
    double peer = nanoseconds(g.peer);
    if (ours < 0 || peer < 0) {
      printf("%-58s %12s %12s %8s %8s  not run\n", g.label.c_str(), "-", "-", "-", "-");
      continue;
    }
    double ratio = g.invert ? peer / ours : ours / peer;
    if (g.limit <= 0) {
      printf("%-58s %12.1f %12.1f %8.3f %8s  for reference\n", g.label.c_str(), ours, peer, ratio, "-");
      continue;
    }
    bool met = g.at_most ? ratio <= g.limit : ratio >= g.limit;
    missed += met ? 0 : 1;
    printf("%-58s %12.1f %12.1f %8.3f %s%6.2f  %s\n", g.label.c_str(), ours, peer, ratio, g.at_most ? "<=" : ">=",
           g.limit, met ? "met" : "MISSED");
  }
  return missed;
}

} // namespace bench
