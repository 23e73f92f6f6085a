#include "foundation/memory/memory_globals.h"
#include "foundation/memory/page_allocator.h"
#include "foundation/memory/temp_allocator.h"
#include "support/test_support.h"

#include <string.h>

using namespace foundation;

namespace {
Allocator& pages() { return *memory_globals::find("page_allocator"); }
} // namespace

TEST(TempAllocator, ScopeThatNeverAllocatedTakesNoIdAndReleasesNothing) {
  TempAllocator pool(pages(), 65536, 1);
  {
    ScopedTempAllocator scope(pool);
    EXPECT_EQ(scope.id(), 0xFFFFFFFFu);
  }
  EXPECT_EQ(pool.live_ids().size(), 0u);
  EXPECT_EQ(pool.pages().size(), 0u);
  ScopedTempAllocator first(pool);
  first.allocate(8);
  EXPECT_EQ(first.id(), 0u); // the unused scope did not consume an id
}

TEST(TempAllocator, OlderScopeEndingFirstWaitsForTheNewerOne) {
  TempAllocator pool(pages(), 65536, 1);
  ScopedTempAllocator* older = pages().make_new<ScopedTempAllocator>(pool);
  older->allocate(40000);
  ScopedTempAllocator* newer = pages().make_new<ScopedTempAllocator>(pool);
  newer->allocate(40000); // does not fit: a second page
  ASSERT_EQ(pool.pages().size(), 2u);
  pages().make_delete(older);
  EXPECT_EQ(pool.pages().size(), 2u) << "the newer scope still has the last page";
  pages().make_delete(newer);
  EXPECT_EQ(pool.pages().size(), 0u);
  EXPECT_EQ(pool.cached_page_count(), 1u) << "one free page is kept for reuse";
}

TEST(TempAllocator, NewerScopeEndingFirstReleasesOnlyItsOwnPages) {
  TempAllocator pool(pages(), 65536, 1);
  ScopedTempAllocator older(pool);
  char* a = static_cast<char*>(older.allocate(100));
  {
    ScopedTempAllocator newer(pool);
    newer.allocate(70000); // a page of its own
    EXPECT_EQ(pool.pages().size(), 2u);
  }
  EXPECT_EQ(pool.pages().size(), 1u);
  memset(a, 1, 100); // the older scope's memory is still there
  char* b = static_cast<char*>(older.allocate(16, 16));
  EXPECT_EQ(uintptr_t(b) % 16, 0u);
  EXPECT_GE(b, a + 100);
}

TEST(TempAllocator, SharedPageStaysWhileAnyScopeUsesIt) {
  TempAllocator pool(pages(), 65536, 0);
  ScopedTempAllocator a(pool);
  a.allocate(64);
  {
    ScopedTempAllocator b(pool);
    b.allocate(64);
    ScopedTempAllocator c(pool);
    c.allocate(64);
  }
  EXPECT_EQ(pool.pages().size(), 1u);
  EXPECT_EQ(pool.pages()[0].oldest_id, a.id());
}

TEST(TempAllocator, IdsWrapAroundWithoutIssuingTheNoneValue) {
  TempAllocator pool(pages(), 65536, 1);
  pool.set_next_id_for_test(0xFFFFFFFEu);
  ScopedTempAllocator a(pool);
  a.allocate(8);
  ScopedTempAllocator b(pool);
  b.allocate(8);
  EXPECT_EQ(a.id(), 0xFFFFFFFEu);
  EXPECT_EQ(b.id(), 0u);
  EXPECT_TRUE(TempAllocator::is_later(b.id(), a.id()));
  EXPECT_FALSE(TempAllocator::is_later(a.id(), b.id()));
  EXPECT_EQ(pool.pages()[0].newest_id, 0u);
  EXPECT_EQ(pool.pages()[0].oldest_id, 0xFFFFFFFEu);
}

TEST(TempAllocator, ThreadPoolIsMadeOnceAndReleasingWithoutScopesIsReported) {
  TempAllocator& mine = memory_globals::thread_temp_allocator();
  EXPECT_EQ(&mine, &memory_globals::thread_temp_allocator());
  TempAllocator pool(pages(), 65536, 1);
  EXPECT_REPORT(pool.release(0), "Assertion failed: _ids.size() > 0");
}

TEST(TempAllocator, HeldBytesCountWhatTheBackingGaveAndTheHighWaterMark) {
  TempAllocator pool(pages(), 65536, 1);
  EXPECT_EQ(0u, pool.held_bytes());
  {
    ScopedTempAllocator a(pool);
    a.allocate(40000);
    ScopedTempAllocator b(pool);
    b.allocate(200000); // a page of its own, larger than the minimum
    EXPECT_GE(pool.held_bytes(), 65536u + 200000u);
  }
  uint64_t peak = pool.peak_held_bytes();
  EXPECT_GE(peak, 65536u + 200000u);
  // One page stays cached: still held, and reusing it costs nothing new.
  EXPECT_EQ(1u, pool.cached_page_count());
  uint64_t held = pool.held_bytes();
  EXPECT_LT(held, peak);
  pool.reset_peak();
  {
    ScopedTempAllocator c(pool);
    c.allocate(1000);
  }
  EXPECT_EQ(held, pool.peak_held_bytes()) << "the cached page served the scope";
}
