// Several threads allocate from the generic allocator and free each other's
// blocks. Every block carries a pattern checked when it is freed. Built alone
// in the ThreadSanitizer build.
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/temp_allocator.h"
#include "foundation/thread/critical_section.h"
#include "foundation/thread/thread.h"
#include "support/test_support.h"

#include <atomic>
#include <random>
#include <vector>

using namespace foundation;

namespace {

struct Exchange {
  CriticalSection lock{4000};
  std::vector<std::pair<unsigned char*, uint32_t>> blocks;
  std::atomic<int> corrupted{0};
};

struct Worker {
  Exchange* exchange;
  uint32_t seed;
  uint32_t steps;
};

void fill(unsigned char* p, uint32_t size) {
  for (uint32_t i = 0; i < size; ++i)
    p[i] = static_cast<unsigned char>(size + i);
}

bool intact(const unsigned char* p, uint32_t size) {
  for (uint32_t i = 0; i < size; ++i)
    if (p[i] != static_cast<unsigned char>(size + i))
      return false;
  return true;
}

void work(void* arg) {
  Worker* w = static_cast<Worker*>(arg);
  Allocator& a = memory_globals::default_allocator();
  std::mt19937 rng(w->seed);
  for (uint32_t step = 0; step < w->steps; ++step) {
    uint32_t kind = rng() % 10;
    uint32_t size = kind < 7 ? 1 + rng() % 512 : (kind < 9 ? 1024 + rng() % 30000 : 60000 + rng() % 100000);
    unsigned char* p = static_cast<unsigned char*>(a.allocate(size, 8));
    fill(p, size);
    std::pair<unsigned char*, uint32_t> victim(nullptr, 0);
    {
      ScopedCriticalSection lock(w->exchange->lock);
      w->exchange->blocks.emplace_back(p, size);
      if (w->exchange->blocks.size() > 64) {
        size_t i = rng() % w->exchange->blocks.size();
        victim = w->exchange->blocks[i];
        w->exchange->blocks[i] = w->exchange->blocks.back();
        w->exchange->blocks.pop_back();
      }
    }
    if (victim.first) {
      if (!intact(victim.first, victim.second))
        ++w->exchange->corrupted;
      a.deallocate(victim.first);
    }
    if (step % 64 == 0) {
      // Each thread's scratch pool is its own.
      ScopedTempAllocator scratch;
      unsigned char* t = static_cast<unsigned char*>(scratch.allocate(4096));
      fill(t, 4096);
      if (!intact(t, 4096))
        ++w->exchange->corrupted;
    }
  }
}

} // namespace

TEST(AllocatorStress, ThreadsFreeEachOthersBlocks) {
  const int THREADS = 4;
  const uint32_t STEPS = (TW_LONG_SWEEPS ? 40000 : 10000) * test::stress_scale();
  Exchange exchange;
  Worker workers[THREADS];
  Thread threads[THREADS];
  for (int i = 0; i < THREADS; ++i) {
    workers[i] = Worker{&exchange, uint32_t(100 + i), STEPS};
    threads[i].start(&work, &workers[i]);
  }
  for (Thread& t : threads)
    t.join();
  for (auto& b : exchange.blocks) {
    EXPECT_TRUE(intact(b.first, b.second));
    memory_globals::default_allocator().deallocate(b.first);
  }
  // Whatever was not given back shows at shutdown as a leak report.
  EXPECT_EQ(exchange.corrupted.load(), 0);
}
