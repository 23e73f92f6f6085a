// Per-thread scratch memory: TempAllocator and ScopedTempAllocator.
//
// A TempAllocator is a thread's pool of pages handed out by bumping a
// pointer. Memory is taken through ScopedTempAllocator objects on the stack:
// a scope takes an id from the pool on its first allocation, every page
// records the oldest and newest scope ids that allocated in it, and when a
// scope ends, pages at the end of the page list that no live scope uses any
// more are released (the last one kept in a cache of free pages for reuse).
// Scopes may end in any order; a long-lived scope keeps every later page
// alive until it ends. Ids compare in wrap-around order: a is later than b
// when (a - b - 1) mod 2^32 is below 0x40000000.
//
// A TempAllocator belongs to one thread and takes no lock;
// memory_globals::thread_temp_allocator() gives the calling thread's one.
#pragma once

#include "foundation/collection/vector.h"
#include "foundation/memory/allocator.h"
#include "foundation/memory/memory_poisoning.h"

namespace foundation {

class TempAllocator {
public:
  struct Page {
    char* start;
    uint32_t capacity;
    uint32_t used;
    uint32_t oldest_id;
    uint32_t newest_id;
  };

  TempAllocator(Allocator& backing, uint32_t min_page_size, uint32_t max_cached_pages);
  ~TempAllocator();
  TempAllocator(const TempAllocator&) = delete;
  TempAllocator& operator=(const TempAllocator&) = delete;

  // A new scope id (never 0xFFFFFFFF), recorded as live.
  uint32_t begin_scope();

  void* allocate(uint32_t id, uint32_t size, uint32_t align) {
    // The common case inline: the newest scope bumping in the last page.
    if (!_pages.empty()) {
      Page& page = _pages.back();
      if (page.newest_id == id && (align & (align - 1)) == 0 && align != 0) {
        uint32_t used = (page.used + align - 1) & ~(align - 1);
        if (uint64_t(used) + size <= page.capacity) {
          page.used = used + size;
          char* block = page.start + used;
          memory_poisoning::make_accessible(block, size);
          return block;
        }
      }
    }
    return allocate_slow(id, size, align);
  }

  void release(uint32_t id);

  Allocator& backing() const { return *_backing; }
  const Vector<Page>& pages() const { return _pages; }
  const Vector<uint32_t>& live_ids() const { return _ids; }
  uint32_t cached_page_count() const { return _free_pages.size(); }
  // Bytes of the pages the pool holds (in use or cached) now, and the most
  // it has held since the last reset_peak: what a piece of work made it
  // take from its backing allocator.
  uint64_t held_bytes() const { return _held_bytes; }
  uint64_t peak_held_bytes() const { return _peak_held_bytes; }
  void reset_peak() { _peak_held_bytes = _held_bytes; }
  // Test hook: the id the next scope will take.
  void set_next_id_for_test(uint32_t id) { _next_id = id; }

  static bool is_later(uint32_t a, uint32_t b) { return (a - b - 1u) < 0x40000000u; }

private:
  void* allocate_slow(uint32_t id, uint32_t size, uint32_t align);
  void add_page(uint32_t size, uint32_t id);
  void count_new_page(uint32_t capacity);
  bool last_page_is_dead() const;

  Allocator* _backing;
  uint32_t _next_id;
  uint32_t _min_page_size;
  Vector<Page> _pages;
  Vector<uint32_t> _ids;
  uint32_t _max_cached_pages;
  Vector<Page> _free_pages;
  uint64_t _held_bytes;
  uint64_t _peak_held_bytes;
};

// An Allocator view of the thread's TempAllocator for one scope. deallocate
// does nothing: everything the scope took goes back when it is destroyed.
class ScopedTempAllocator : public Allocator {
public:
  // Over the calling thread's pool.
  ScopedTempAllocator();
  explicit ScopedTempAllocator(TempAllocator& pool);
  ~ScopedTempAllocator() override;

  void* allocate(uint32_t size, uint32_t align = 4) override {
    if (_id == 0xFFFFFFFFu)
      _id = _pool->begin_scope();
    return _pool->allocate(_id, size, align);
  }
  void deallocate(void*) override {}
  uint32_t allocated_size(void*) override { return 0; }
  uint32_t total_allocated() override { return 0; }
  void backing_allocators(Vector<Allocator*>& list) override;

  // The scope's id, or 0xFFFFFFFF before its first allocation.
  uint32_t id() const { return _id; }

private:
  TempAllocator* _pool;
  uint32_t _id;
};

} // namespace foundation
