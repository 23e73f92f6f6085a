#include "foundation/memory/allocator_registry.h"
#include "foundation/memory/arena_allocator.h"
#include "foundation/memory/generic_allocator.h"
#include "foundation/memory/heap_allocator.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/page_allocator.h"
#include "foundation/memory/slot_allocator.h"
#include "foundation/memory/trace_allocator.h"
#include "support/test_support.h"

#include <map>
#include <random>
#include <string.h>
#include <vector>

using namespace foundation;

namespace {

GenericAllocator& generic() { return static_cast<GenericAllocator&>(memory_globals::default_allocator()); }
PageAllocator& pages() { return *static_cast<PageAllocator*>(memory_globals::find("page_allocator")); }

} // namespace

TEST(MemoryGlobals, TreeIsRegisteredByName) {
  for (const char* name : {"page_allocator", "debug_allocator", "system_allocator", "slot_allocator", "heap_allocator",
                           "application_static_allocator", "generic_allocator", "generic_page", "generic_heap",
                           "generic_slot"})
    EXPECT_NE(memory_globals::find(name), nullptr) << name;
  EXPECT_EQ(&memory_globals::default_allocator(), memory_globals::find("generic_allocator"));
  EXPECT_EQ(pages().page_size(), 65536u);
}

TEST(GenericAllocator, RoutesBySizeAndWaste) {
  GenericAllocator& g = generic();
  EXPECT_EQ(g.route_for(1023), GenericAllocator::ROUTE_SLOT);
  EXPECT_NE(g.route_for(1024), GenericAllocator::ROUTE_SLOT);
  // 60,000 wastes 5,536 of a 65,536 page: under a tenth, so whole pages.
  EXPECT_EQ(g.route_for(60000), GenericAllocator::ROUTE_PAGE);
  // 40,000 wastes 25,536: the heap.
  EXPECT_EQ(g.route_for(40000), GenericAllocator::ROUTE_HEAP);
  EXPECT_EQ(g.route_for(65536), GenericAllocator::ROUTE_PAGE);

  uint32_t before = g.total_allocated();
  void* slot = g.allocate(1023);
  void* heap = g.allocate(40000);
  void* page = g.allocate(60000);
  EXPECT_EQ(g.owner_of(slot), GenericAllocator::ROUTE_SLOT);
  EXPECT_EQ(g.owner_of(heap), GenericAllocator::ROUTE_HEAP);
  EXPECT_EQ(g.owner_of(page), GenericAllocator::ROUTE_PAGE);
  EXPECT_EQ(g.allocated_size(slot), 1024u);
  EXPECT_EQ(g.allocated_size(page), 65536u);
  EXPECT_GE(g.allocated_size(heap), 40000u);
  EXPECT_EQ(g.total_allocated(), before + 1024 + 65536 + g.allocated_size(heap));
  g.deallocate(slot);
  g.deallocate(heap);
  g.deallocate(page);
  g.deallocate(nullptr);
  EXPECT_EQ(g.total_allocated(), before);
}

TEST(SlotAllocator, PicksTheFirstClassThatFitsSizeAndAlignment) {
  SlotAllocator slots("test_slots", pages(), false);
  EXPECT_EQ(slots.size_class(slots.size_class_for(17, 16)).slot_size, 32u); // 20, 24, 28 aren't multiples of 16
  EXPECT_EQ(slots.size_class(slots.size_class_for(17, 4)).slot_size, 20u);
  EXPECT_EQ(slots.size_class(slots.size_class_for(1, 1)).slot_size, 4u);
  EXPECT_EQ(slots.size_class(slots.size_class_for(1000, 512)).slot_size, 1024u);
  void* p = slots.allocate(17, 16);
  EXPECT_EQ(uintptr_t(p) % 16, 0u);
  EXPECT_EQ(slots.allocated_size(p), 32u);
  slots.deallocate(p);
  EXPECT_REPORT(slots.allocate(16, 1024), "Assertion failed: size < max_size() && align < max_align()");
  EXPECT_REPORT(slots.allocate(1024, 4), "Assertion failed: size < max_size() && align < max_align()");
}

TEST(SlotAllocator, PagesAndChunksGoBackWhenTheirLastSlotIsFreed) {
  SlotAllocator slots("test_slots", pages(), false);
  EXPECT_EQ(slots.chunk_size(), 65536u);
  void* a = slots.allocate(64);
  EXPECT_EQ(slots.chunk_count(), 1u);
  // The chunk's highest page is used first; the other three wait.
  EXPECT_EQ(uintptr_t(a) % 65536, 3u * 16384u);
  EXPECT_EQ(slots.free_page_count(), 3u);
  void* b = slots.allocate(200); // another class, another page
  EXPECT_EQ(slots.free_page_count(), 2u);
  slots.deallocate(a);
  EXPECT_EQ(slots.free_page_count(), 3u);
  EXPECT_EQ(slots.chunk_count(), 1u);
  slots.deallocate(b);
  EXPECT_EQ(slots.chunk_count(), 0u);
  EXPECT_EQ(slots.total_allocated(), 0u);
}

TEST(SlotAllocator, FreedSlotsAreReusedBeforeTheBumpPointer) {
  SlotAllocator slots("test_slots", pages(), false);
  void* a = slots.allocate(40);
  void* b = slots.allocate(40);
  slots.deallocate(a);
  void* c = slots.allocate(40);
  EXPECT_EQ(a, c);
  slots.deallocate(b);
  slots.deallocate(c);
}

TEST(SlotAllocatorDeathTest, OverflowIntoANeighbouringSlotIsCaught) {
#if TW_MEMORY_POISONING && TW_ASAN
  EXPECT_DEATH(
      {
        SlotAllocator slots("test_slots", pages(), false);
        char* a = static_cast<char*>(slots.allocate(32));
        char* b = static_cast<char*>(slots.allocate(32));
        (void)b;
        volatile char* overflow = a + 32;
        *overflow = 1;
      },
      "use-after-poison");
#else
  GTEST_SKIP() << "needs AddressSanitizer with pool poisoning (the dev preset)";
#endif
}

TEST(TraceAllocator, CountsBlocksAndBytesAndIgnoresZeroSizes) {
  TraceAllocator trace("test_trace", memory_globals::default_allocator());
  EXPECT_EQ(trace.allocate(0), nullptr);
  EXPECT_EQ(trace.allocations(), 0u);
  EXPECT_EQ(trace.total_allocated(), 0u);
  void* a = trace.allocate(10);
  void* b = trace.allocate(100);
  EXPECT_EQ(trace.allocations(), 2u);
  EXPECT_EQ(trace.total_allocated(), 12u + 112u);
  trace.deallocate(a);
  EXPECT_EQ(trace.allocations(), 1u);
  EXPECT_EQ(trace.peak_allocations(), 2u);
  EXPECT_EQ(trace.peak_size(), 124u);
  trace.deallocate(b);
  trace.deallocate(nullptr);
}

TEST(TraceAllocator, DestroyingWithBlocksOutReportsNameAndCounts) {
  void* leaked = nullptr;
  test::Report r = test::capture_report([&] {
    TraceAllocator trace("leaky", memory_globals::default_allocator());
    leaked = trace.allocate(30);
  });
  memory_globals::default_allocator().deallocate(leaked);
  EXPECT_EQ(r.message, "Assertion failed: _size == 0 && _allocations == 0\n\n"
                       "Trace allocator not empty on shutdown leaky 1 32");
}

TEST(MemoryGlobalsDeathTest, LeakAtShutdownIsReportedWithTheAllocatorNameAndCounts) {
  EXPECT_EXIT(
      {
        error::set_mode(ERROR_MODE_EXIT_SILENT);
        memory_globals::default_allocator().allocate(10);
        memory_globals::shutdown();
      },
      ::testing::ExitedWithCode(1), "Trace allocator not empty on shutdown generic_slot 1 12");
}

TEST(PageAllocator, RoundsToPagesAndRefusesAlignmentAbovePageSize) {
  PageAllocator p("test_pages", false);
  void* a = p.allocate(1);
  EXPECT_EQ(uintptr_t(a) % 65536, 0u);
  EXPECT_EQ(p.allocated_size(a), 65536u);
  EXPECT_EQ(p.total_allocated(), 65536u);
  void* b = p.allocate(65537);
  EXPECT_EQ(p.allocated_size(b), 131072u);
  p.deallocate(a);
  p.deallocate(b);
  EXPECT_EQ(p.total_allocated(), 0u);
  EXPECT_REPORT(p.allocate(100, 131072), "Assertion failed: align <= page_size()\n\nbad align for page allocator");
}

TEST(HeapAllocator, ChecksItsArguments) {
  HeapAllocator heap("test_heap", pages(), 65536);
  EXPECT_REPORT(heap.allocate(0), "Assertion failed: size > 0");
  EXPECT_REPORT(heap.allocate(16, 24), "Assertion failed: (align & (align - 1)) == 0\n\nalignment must be a power of 2");
}

TEST(HeapAllocator, AlignedBlocksGrowthAndRelease) {
  HeapAllocator heap("test_heap", pages(), 65536);
  EXPECT_EQ(heap.block_count(), 1u);
  for (uint32_t align : {8u, 16u, 64u, 256u, 4096u, 65536u}) {
    void* p = heap.allocate(100, align);
    EXPECT_EQ(uintptr_t(p) % align, 0u) << align;
    EXPECT_TRUE(heap.owns(p));
    heap.deallocate(p);
  }
  // A request bigger than a block grows the heap; freeing it gives the block back.
  void* big = heap.allocate(300000);
  EXPECT_EQ(heap.block_count(), 2u);
  EXPECT_GE(heap.allocated_size(big), 300000u);
  EXPECT_FALSE(heap.owns(&heap));
  heap.deallocate(big);
  EXPECT_EQ(heap.block_count(), 1u);
  EXPECT_TRUE(heap.check_integrity());
}

TEST(HeapAllocator, FixedBufferCannotGrow) {
  alignas(16) static char buffer[32768];
  HeapAllocator heap(nullptr, buffer, sizeof(buffer));
  void* p = heap.allocate(1000);
  EXPECT_TRUE(heap.owns(p));
  EXPECT_REPORT(heap.allocate(40000), "Assertion failed: _can_grow\n\nHeap cannot grow.");
  heap.deallocate(p);
}

TEST(HeapAllocator, BlockTableHoldsAtMost2048Blocks) {
  HeapAllocator heap("test_heap", pages(), 65536);
  std::vector<void*> blocks;
  // Each of these needs a block of its own (the first block may hold one too).
  while (heap.block_count() < uint32_t(HeapAllocator::MAX_BLOCKS))
    blocks.push_back(heap.allocate(60000));
  error::ScopedMode mode(ERROR_MODE_THROW);
  EXPECT_REPORT(blocks.push_back(heap.allocate(60000)), "Assertion failed: _used_blocks < _max_blocks\n\nHeap is full");
  for (void* p : blocks)
    heap.deallocate(p);
  EXPECT_EQ(heap.block_count(), 1u);
}

TEST(HeapAllocator, LeakCheckReportsBlocksInUse) {
  HeapAllocator* heap = pages().make_new<HeapAllocator>("test_heap", pages(), 65536u);
  heap->set_leak_check(true);
  heap->allocate(100);
  ::testing::internal::CaptureStderr();
  test::Report r = test::capture_report_returning([&] { pages().make_delete(heap); });
  ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(r.message, "Assertion failed: total == 0\n\n");
}

TEST(ArenaAllocator, BumpsAlignedBlocksAndRemembersTheirSizes) {
  ArenaAllocator arena("test_arena", pages(), 4096);
  char* a = static_cast<char*>(arena.allocate(10, 4));
  char* b = static_cast<char*>(arena.allocate(100, 64));
  char* c = static_cast<char*>(arena.allocate(100000, 8)); // bigger than a chunk
  EXPECT_EQ(uintptr_t(b) % 64, 0u);
  EXPECT_EQ(arena.allocated_size(a), 10u);
  EXPECT_EQ(arena.allocated_size(b), 100u);
  EXPECT_EQ(arena.allocated_size(c), 100000u);
  EXPECT_GT(b, a);
  memset(c, 0xAB, 100000);
  EXPECT_EQ(arena.requested_bytes(), 100110u);
  EXPECT_GE(arena.total_allocated(), 65536u + 131072u);
  arena.clear();
  EXPECT_EQ(arena.total_allocated(), 0u);
}

// ---------------------------------------------------------------------------
// Randomised allocation sequences: every block is filled with a pattern made
// from its number, checked when it is freed; no two live blocks may overlap.

namespace {

struct LiveBlock {
  uint32_t size;
  uint32_t id;
};

void fill(void* p, uint32_t size, uint32_t id) {
  unsigned char* b = static_cast<unsigned char*>(p);
  for (uint32_t i = 0; i < size; ++i)
    b[i] = static_cast<unsigned char>(id * 31 + i);
}

bool intact(const void* p, uint32_t size, uint32_t id) {
  const unsigned char* b = static_cast<const unsigned char*>(p);
  for (uint32_t i = 0; i < size; ++i)
    if (b[i] != static_cast<unsigned char>(id * 31 + i))
      return false;
  return true;
}

uint32_t random_size(std::mt19937& rng) {
  switch (rng() % 8) {
  case 0:
  case 1:
  case 2:
  case 3:
    return 1 + rng() % 256;
  case 4:
  case 5:
    return 1 + rng() % 1100;
  case 6:
    return 1024 + rng() % 70000;
  default:
    return 60000 + rng() % 200000;
  }
}

void run_sequence(Allocator& a, uint32_t steps, uint32_t seed, HeapAllocator* heap_to_check) {
  std::mt19937 rng(seed);
  std::map<uintptr_t, LiveBlock> live;
  uint32_t next_id = 1;
  for (uint32_t step = 0; step < steps; ++step) {
    bool do_free = !live.empty() && (rng() % 100 < 45 || live.size() > 400);
    if (do_free) {
      auto it = live.begin();
      std::advance(it, rng() % live.size());
      ASSERT_TRUE(intact(reinterpret_cast<void*>(it->first), it->second.size, it->second.id)) << "step " << step;
      a.deallocate(reinterpret_cast<void*>(it->first));
      live.erase(it);
    } else {
      uint32_t size = random_size(rng);
      uint32_t align = 1u << (rng() % 7);
      void* p = a.allocate(size, align);
      ASSERT_NE(p, nullptr);
      ASSERT_EQ(uintptr_t(p) % align, 0u);
      uintptr_t start = uintptr_t(p);
      auto after = live.lower_bound(start);
      if (after != live.end()) {
        ASSERT_LE(start + size, after->first) << "overlaps the next block";
      }
      if (after != live.begin()) {
        auto before = std::prev(after);
        ASSERT_LE(before->first + before->second.size, start) << "overlaps the previous block";
      }
      fill(p, size, next_id);
      live[start] = LiveBlock{size, next_id++};
    }
    if (heap_to_check && step % 500 == 0) {
      ASSERT_TRUE(heap_to_check->check_integrity()) << "step " << step;
    }
  }
  for (auto& kv : live) {
    ASSERT_TRUE(intact(reinterpret_cast<void*>(kv.first), kv.second.size, kv.second.id));
    a.deallocate(reinterpret_cast<void*>(kv.first));
  }
}

const uint32_t STEPS = TW_LONG_SWEEPS ? 40000 : 8000;

} // namespace

TEST(AllocatorModel, GenericAllocatorKeepsBlocksApartAndIntact) {
  uint32_t before = generic().total_allocated();
  run_sequence(generic(), STEPS, 1, nullptr);
  EXPECT_EQ(generic().total_allocated(), before);
}

TEST(AllocatorModel, HeapAllocatorStaysConsistent) {
  HeapAllocator heap("test_heap", pages(), 262144);
  run_sequence(heap, STEPS, 2, &heap);
  EXPECT_TRUE(heap.check_integrity());
  EXPECT_EQ(heap.bytes_in_use(), 0u);
  EXPECT_EQ(heap.block_count(), 1u);
}

TEST(AllocatorModel, SlotAllocatorKeepsSmallBlocksApart) {
  SlotAllocator slots("test_slots", pages(), false);
  std::mt19937 rng(3);
  std::map<uintptr_t, LiveBlock> live;
  for (uint32_t step = 0; step < STEPS; ++step) {
    if (!live.empty() && rng() % 2) {
      auto it = live.begin();
      std::advance(it, rng() % live.size());
      ASSERT_TRUE(intact(reinterpret_cast<void*>(it->first), it->second.size, it->second.id));
      slots.deallocate(reinterpret_cast<void*>(it->first));
      live.erase(it);
    } else {
      uint32_t size = 1 + rng() % 1023;
      void* p = slots.allocate(size, 4);
      auto after = live.lower_bound(uintptr_t(p));
      if (after != live.end()) {
        ASSERT_LE(uintptr_t(p) + size, after->first);
      }
      fill(p, size, step);
      live[uintptr_t(p)] = LiveBlock{size, step};
    }
  }
  for (auto& kv : live)
    slots.deallocate(reinterpret_cast<void*>(kv.first));
  EXPECT_EQ(slots.total_allocated(), 0u);
}
