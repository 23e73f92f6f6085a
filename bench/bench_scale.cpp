// A scene of 20,000 static transforms through the three tools a user runs
// on it, each as its own process: twi-export (the .ma to a .twi), twi check
// and twi gltf. The format samples every transform over the playback range
// (120 frames at 30 a second: 2.4 million matrices), so the document is as
// large as a big scene's: this is how the tools scale with it.
//
// Reported, best of three: each tool's time and peak resident set; the
// document tree and text the format requires (the tree as the parser makes
// it, counted by a counting allocator; the text as written); and the goals,
// the three in under 5 s together, and the export's peak within twice the
// tree and the text.
//
//   bench_scale [--quick]      (--quick: 2,000 transforms)
#include "bench_process.h"
#include "goal_tally.h"

#include "foundation/config/dynamic_config_value.h"
#include "foundation/config/parse_simplified_json.h"
#include "foundation/memory/memory_globals.h"

#include <algorithm>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace foundation;

namespace {

// Counts what passes through it: the bytes a tree holds at its largest.
class CountingAllocator : public Allocator {
public:
  explicit CountingAllocator(Allocator& backing) : Allocator("bench_scale_counting"), _backing(backing) {}
  void* allocate(uint32_t size, uint32_t align) override {
    void* p = _backing.allocate(size, align);
    current += _backing.allocated_size(p);
    peak = std::max(peak, current);
    return p;
  }
  void deallocate(void* p) override {
    if (p)
      current -= _backing.allocated_size(p);
    _backing.deallocate(p);
  }
  uint32_t allocated_size(void* p) override { return _backing.allocated_size(p); }
  uint32_t total_allocated() override { return uint32_t(current); }
  uint64_t current = 0, peak = 0;

private:
  Allocator& _backing;
};

struct Run {
  double seconds = 1e30;
  long peak_kb = 0;
  int status = -1;
};

// Runs a command line (no shell) and measures it from outside: wall time,
// and the child's peak resident set from wait4.
Run run(const std::vector<std::string>& args) {
  Run r;
  std::vector<char*> argv;
  for (const std::string& a : args)
    argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  fflush(nullptr); // the child must not print what the parent has buffered
  double start = bench::now_seconds();
  pid_t child = fork();
  if (child == 0) {
    if (!freopen("/dev/null", "w", stdout) || !freopen("/dev/null", "w", stderr))
      _exit(127);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  struct rusage usage;
  wait4(child, &status, 0, &usage);
  r.seconds = bench::now_seconds() - start;
  r.peak_kb = usage.ru_maxrss;
  r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
  return r;
}

Run best_of_three(const std::vector<std::string>& args) {
  Run best;
  for (int i = 0; i < 3; ++i) {
    Run r = run(args);
    if (r.status != 0)
      return r;
    if (r.seconds < best.seconds)
      best = r;
  }
  return best;
}

// The scene: a row of static transforms under the world, as Maya saves
// them, with the default playback range (frames 1 to 120).
bool write_scene(const std::string& path, int transforms) {
  FILE* f = fopen(path.c_str(), "wb");
  if (!f)
    return false;
  fprintf(f, "//Maya ASCII 2020 scene\n//Name: scale.ma\n//Codeset: UTF-8\nrequires maya \"2020\";\n"
             "currentUnit -l centimeter -a degree -t film;\n");
  for (int i = 0; i < transforms; ++i)
    fprintf(f, "createNode transform -n \"t%d\";\n\tsetAttr \".t\" -type \"double3\" %d %d 0 ;\n", i, i % 100,
            i / 100);
  return fclose(f) == 0;
}

long file_size(const std::string& path) {
  FILE* f = fopen(path.c_str(), "rb");
  if (!f)
    return -1;
  fseek(f, 0, SEEK_END);
  long n = ftell(f);
  fclose(f);
  return n;
}

// The tree the text parses into, at its largest: what the document holds
// in memory.
uint64_t tree_bytes(const std::string& path) {
  std::string text;
  FILE* f = fopen(path.c_str(), "rb");
  if (!f)
    return 0;
  char buffer[1 << 16];
  size_t n;
  while ((n = fread(buffer, 1, sizeof(buffer), f)) > 0)
    text.append(buffer, n);
  fclose(f);
  CountingAllocator counting(memory_globals::default_allocator());
  uint64_t peak = 0;
  {
    DynamicConfigValue tree(counting);
    if (!simplified_json::try_parse_untrusted(text.data(), uint32_t(text.size()), tree, nullptr))
      return 0;
    peak = counting.peak;
  }
  return peak;
}

bench::GoalTally goals;

} // namespace

int main(int argc, char** argv) {
  bool quick = argc > 1 && strcmp(argv[1], "--quick") == 0;
  int transforms = quick ? 2000 : 20000;
  memory_globals::init();
  std::string dir = "/tmp/bench_scale";
  if (system(("mkdir -p " + dir).c_str()) != 0)
    return 1;
  std::string scene = dir + "/transforms.ma", twi = dir + "/transforms.twi", glb = dir + "/transforms.glb";
  if (!write_scene(scene, transforms)) {
    fprintf(stderr, "bench_scale: cannot write %s\n", scene.c_str());
    return 1;
  }

  struct Step {
    const char* name;
    std::vector<std::string> args;
    Run r;
  };
  Step steps[] = {
      {"twi-export", {TW_TWI_EXPORT_TOOL, scene, "-o", twi, "--quiet"}, {}},
      {"twi check", {TW_TWI_TOOL, "check", twi}, {}},
      {"twi gltf", {TW_TWI_TOOL, "gltf", twi, "-o", glb}, {}},
  };
  printf("%d static transforms, sampled over frames 1 to 120 (%d matrices); best of 3\n\n", transforms,
         transforms * 120);
  printf("%-12s %10s %14s\n", "tool", "seconds", "peak RSS MB");
  double total = 0;
  for (Step& s : steps) {
    s.r = best_of_three(s.args);
    if (s.r.status != 0) {
      fprintf(stderr, "bench_scale: %s failed (exit %d)\n", s.name, s.r.status);
      return 1;
    }
    total += s.r.seconds;
    printf("%-12s %10.2f %14.1f\n", s.name, s.r.seconds, double(s.r.peak_kb) / 1024.0);
    fflush(stdout);
  }
  double text = double(file_size(twi));
  double tree = double(tree_bytes(twi));
  double required = text + tree;
  double export_peak = double(steps[0].r.peak_kb) * 1024.0;
  printf("%-12s %10.2f\n\n", "all three", total);
  printf("document text %.1f MB, its tree %.1f MB: %.1f MB the format requires\n", text / 1e6, tree / 1e6,
         required / 1e6);
  printf("\n%-44s %9.2f s   %s\n", "export + check + glTF (goal under 5 s)", total, goals.verdict(total < 5.0));
  printf("%-44s %9.2fx   %s\n", "export's peak / (tree + text) (goal <= 2x)", export_peak / required,
         goals.verdict(export_peak <= 2.0 * required));
  printf("\n%d goal(s) missed\n", goals.missed);
  memory_globals::shutdown();
  return 0;
}
