// The generic allocator against glibc malloc/free, glibc behind one mutex
// (our path takes three locks by design), and mimalloc when it is installed;
// scoped temp allocations against malloc/free; and our critical section
// against std::mutex.
//
// Every case runs twice: first while the process has one thread, then with
// a second thread alive and idle, as in Maya (a multi-threaded process).
// glibc's allocator and locks take shortcuts without atomic instructions
// while a process has one thread, and keep them off once a second thread has
// been started; so the single-threaded runs come first. The goals are read
// in the multi-threaded condition.
#include "bench_support.h"

#include "foundation/memory/memory_globals.h"
#include "foundation/memory/temp_allocator.h"
#include "foundation/thread/critical_section.h"

#include <algorithm>
#include <condition_variable>
#include <dlfcn.h>
#include <functional>
#include <mutex>
#include <thread>
#include <random>
#include <stdio.h>
#include <stdlib.h>
#include <vector>

using namespace foundation;

namespace {

typedef void* (*MallocFn)(size_t);
typedef void (*FreeFn)(void*);
MallocFn g_mi_malloc = nullptr;
FreeFn g_mi_free = nullptr;

bool load_mimalloc() {
  // Loaded privately so that it does not replace malloc for the other peers.
  void* lib = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
  if (!lib)
    return false;
  g_mi_malloc = reinterpret_cast<MallocFn>(dlsym(lib, "mi_malloc"));
  g_mi_free = reinterpret_cast<FreeFn>(dlsym(lib, "mi_free"));
  return g_mi_malloc && g_mi_free;
}

struct Glibc {
  static void* alloc(uint32_t n) { return malloc(n); }
  static void release(void* p) { free(p); }
};

std::mutex g_mutex;
struct GlibcLocked {
  static void* alloc(uint32_t n) {
    std::lock_guard<std::mutex> lock(g_mutex);
    return malloc(n);
  }
  static void release(void* p) {
    std::lock_guard<std::mutex> lock(g_mutex);
    free(p);
  }
};

struct Mimalloc {
  static void* alloc(uint32_t n) { return g_mi_malloc(n); }
  static void release(void* p) { g_mi_free(p); }
};

struct Generic {
  static void* alloc(uint32_t n) { return memory_globals::default_allocator().allocate(n, 8); }
  static void release(void* p) { memory_globals::default_allocator().deallocate(p); }
};

std::vector<uint32_t> sizes(size_t n, uint32_t low, uint32_t high, uint32_t seed) {
  std::mt19937 rng(seed);
  std::vector<uint32_t> v(n);
  for (uint32_t& s : v)
    s = low + rng() % (high - low + 1);
  return v;
}

// Sizes spread evenly over the powers of two up to 64 KiB.
std::vector<uint32_t> mixed_sizes(size_t n, uint32_t seed) {
  std::mt19937 rng(seed);
  std::vector<uint32_t> v(n);
  for (uint32_t& s : v) {
    uint32_t bits = 3 + rng() % 14; // 8 .. 64 KiB
    s = (1u << bits) + rng() % (1u << bits);
    if (s > 65536)
      s = 65536;
  }
  return v;
}

// Pairs in a heap that holds other blocks too, as a running program's does
// (an empty heap would measure page set-up and tear-down on every pair).
template <typename A>
void small_pairs(benchmark::State& state) {
  std::vector<uint32_t> s = sizes(4096, 8, 256, 1);
  std::vector<void*> background;
  for (uint32_t n : sizes(1000, 8, 256, 9))
    background.push_back(A::alloc(n));
  size_t i = 0;
  for (auto _ : state) {
    void* p = A::alloc(s[i]);
    *static_cast<char*>(p) = 1;
    benchmark::DoNotOptimize(p);
    A::release(p);
    i = (i + 1) & 4095;
  }
  for (void* p : background)
    A::release(p);
  state.SetItemsProcessed(state.iterations());
}

template <typename A>
void random_order_free(benchmark::State& state) {
  const size_t N = 1000000;
  std::vector<uint32_t> s = sizes(N, 8, 256, 2);
  std::vector<size_t> order(N);
  for (size_t i = 0; i < N; ++i)
    order[i] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(3));
  std::vector<void*> blocks(N);
  for (auto _ : state) {
    state.PauseTiming();
    for (size_t i = 0; i < N; ++i) {
      blocks[i] = A::alloc(s[i]);
      *static_cast<char*>(blocks[i]) = 1;
    }
    state.ResumeTiming();
    for (size_t i = 0; i < N; ++i)
      A::release(blocks[order[i]]);
  }
  state.SetItemsProcessed(state.iterations() * N);
}

template <typename A>
void mixed(benchmark::State& state) {
  const size_t SLOTS = 1024;
  std::vector<uint32_t> s = mixed_sizes(8192, 4);
  std::vector<uint32_t> pick = sizes(8192, 0, SLOTS - 1, 5);
  std::vector<void*> live(SLOTS, nullptr);
  size_t i = 0;
  for (auto _ : state) {
    void*& slot = live[pick[i]];
    A::release(slot);
    slot = A::alloc(s[i]);
    *static_cast<char*>(slot) = 1;
    i = (i + 1) & 8191;
  }
  for (void* p : live)
    A::release(p);
  state.SetItemsProcessed(state.iterations());
}

// A scope of 500 small allocations (about 35 KB: one temp page).
void temp_scoped(benchmark::State& state) {
  std::vector<uint32_t> s = sizes(500, 16, 128, 6);
  for (auto _ : state) {
    ScopedTempAllocator scope;
    for (uint32_t n : s) {
      void* p = scope.allocate(n, 8);
      *static_cast<char*>(p) = 1;
      benchmark::DoNotOptimize(p);
    }
  }
  state.SetItemsProcessed(state.iterations() * 500);
}

void temp_malloc(benchmark::State& state) {
  std::vector<uint32_t> s = sizes(500, 16, 128, 6);
  std::vector<void*> blocks(500);
  for (auto _ : state) {
    for (size_t i = 0; i < 500; ++i) {
      blocks[i] = malloc(s[i]);
      *static_cast<char*>(blocks[i]) = 1;
    }
    for (void* p : blocks)
      free(p);
  }
  state.SetItemsProcessed(state.iterations() * 500);
}

void critical_section(benchmark::State& state) {
  CriticalSection cs(4000);
  for (auto _ : state) {
    cs.enter();
    cs.leave();
  }
}

void std_mutex(benchmark::State& state) {
  std::mutex m;
  for (auto _ : state) {
    m.lock();
    m.unlock();
  }
}

// The second thread: started before the first multi-threaded case, idle
// until the end.
struct IdleThread {
  std::mutex m;
  std::condition_variable cv;
  bool stop = false;
  std::thread thread;
  void start() {
    if (!thread.joinable())
      thread = std::thread([this] {
        std::unique_lock<std::mutex> lock(m);
        cv.wait(lock, [this] { return stop; });
      });
  }
  ~IdleThread() {
    if (thread.joinable()) {
      {
        std::lock_guard<std::mutex> lock(m);
        stop = true;
      }
      cv.notify_one();
      thread.join();
    }
  }
};
IdleThread g_idle;

typedef void (*Case)(benchmark::State&);

struct Registered {
  const char* name;
  Case run;
  benchmark::TimeUnit unit;
};

} // namespace

int main(int argc, char** argv) {
  memory_globals::init();
  bool have_mimalloc = load_mimalloc();
  if (!have_mimalloc)
    printf("mimalloc not found (install libmimalloc-dev): its comparisons are skipped\n");

  std::vector<Registered> cases = {
      {"small_pairs/generic", small_pairs<Generic>, benchmark::kNanosecond},
      {"small_pairs/glibc", small_pairs<Glibc>, benchmark::kNanosecond},
      {"small_pairs/glibc_mutex", small_pairs<GlibcLocked>, benchmark::kNanosecond},
      {"random_order_free/generic", random_order_free<Generic>, benchmark::kMillisecond},
      {"random_order_free/glibc", random_order_free<Glibc>, benchmark::kMillisecond},
      {"mixed_64k/generic", mixed<Generic>, benchmark::kNanosecond},
      {"mixed_64k/glibc", mixed<Glibc>, benchmark::kNanosecond},
      {"mixed_64k/glibc_mutex", mixed<GlibcLocked>, benchmark::kNanosecond},
      {"temp_500/scoped_temp", temp_scoped, benchmark::kMicrosecond},
      {"temp_500/malloc_free", temp_malloc, benchmark::kMicrosecond},
      {"lock/critical_section", critical_section, benchmark::kNanosecond},
      {"lock/std_mutex", std_mutex, benchmark::kNanosecond},
  };
  if (have_mimalloc) {
    cases.push_back({"small_pairs/mimalloc", small_pairs<Mimalloc>, benchmark::kNanosecond});
    cases.push_back({"random_order_free/mimalloc", random_order_free<Mimalloc>, benchmark::kMillisecond});
    cases.push_back({"mixed_64k/mimalloc", mixed<Mimalloc>, benchmark::kNanosecond});
  }
  // One thread ("st/..."), then a second thread alive ("mt/...").
  for (const char* condition : {"st/", "mt/"}) {
    bool mt = condition[0] == 'm';
    for (const Registered& c : cases) {
      Case run = c.run;
      benchmark::RegisterBenchmark((std::string(condition) + c.name).c_str(), [run, mt](benchmark::State& state) {
        if (mt)
          g_idle.start();
        run(state);
      })->Unit(c.unit);
    }
  }

  if (!bench::run_all(argc, argv))
    return 1;

  auto goals_for = [&](const std::string& condition, bool with_limits) {
    auto name = [&](const char* n) { return condition + n; };
    double none = 0; // reported, not a goal
    std::vector<bench::Goal> goals = {
        {"small alloc+free pairs 8-256 B: generic / glibc", name("small_pairs/generic"), name("small_pairs/glibc"),
         with_limits ? 2.0 : none, true},
        {"small alloc+free pairs: generic / glibc behind one mutex", name("small_pairs/generic"),
         name("small_pairs/glibc_mutex"), none, true},
        {"1M blocks freed in random order: generic / glibc", name("random_order_free/generic"),
         name("random_order_free/glibc"), with_limits ? 1.0 : none, true},
        {"mixed sizes up to 64 KiB: generic / glibc", name("mixed_64k/generic"), name("mixed_64k/glibc"), none, true},
        {"scoped temp allocations: speed-up over malloc/free", name("temp_500/scoped_temp"),
         name("temp_500/malloc_free"), with_limits ? 10.0 : 0.0, false, true},
        {"critical section enter+leave / std::mutex lock+unlock", name("lock/critical_section"),
         name("lock/std_mutex"), with_limits ? 1.0 : none, true},
    };
    if (have_mimalloc) {
      goals.push_back({"small pairs: generic / mimalloc", name("small_pairs/generic"), name("small_pairs/mimalloc"),
                       none, true});
      goals.push_back({"random-order frees: generic / mimalloc", name("random_order_free/generic"),
                       name("random_order_free/mimalloc"), none, true});
      goals.push_back(
          {"mixed sizes: generic / mimalloc", name("mixed_64k/generic"), name("mixed_64k/mimalloc"), none, true});
    }
    return goals;
  };
  bench::print_goals("One thread (for reference: glibc takes its single-threaded shortcuts)",
                     goals_for("st/", false));
  bench::print_goals("Second thread alive, as in Maya: the goals", goals_for("mt/", true));
  memory_globals::shutdown();
  return 0;
}
