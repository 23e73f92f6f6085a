// GenericAllocator: the default allocator, routing each request by size.
//
// Requests under 1024 bytes go to the slot allocator. Larger ones go to whole
// pages when rounding up to the page size wastes less than a tenth of the
// request, and to the heap otherwise. Each route passes through a counting
// wrapper ("generic_slot", "generic_page", "generic_heap"), so leaks show up
// per route at shutdown. On free the owner is found again: the heap knows its
// blocks, page blocks are remembered in a hash set (whose storage comes from
// the heap allocator itself, never from this allocator), and everything else
// is a slot.
//
// Lock order: this allocator, then the wrapper, then the allocator beneath.
#pragma once

#include "foundation/collection/hash_set.h"
#include "foundation/memory/heap_allocator.h"
#include "foundation/memory/page_allocator.h"
#include "foundation/memory/slot_allocator.h"
#include "foundation/memory/trace_allocator.h"

namespace foundation {

class GenericAllocator : public Allocator {
public:
  GenericAllocator(const char* name, PageAllocator& page, HeapAllocator& heap, SlotAllocator& slot,
                   bool thread_safe = true);
  ~GenericAllocator() override;

  void* allocate(uint32_t size, uint32_t align = 4) override;
  void deallocate(void* p) override;
  uint32_t allocated_size(void* p) override;
  uint32_t total_allocated() override { return _total; }
  void backing_allocators(Vector<Allocator*>& list) override;

  enum Route { ROUTE_SLOT, ROUTE_HEAP, ROUTE_PAGE };
  // Where a request of `size` bytes goes. For tests and benchmarks.
  Route route_for(uint32_t size) const;
  // Where a block came from. For tests.
  Route owner_of(void* p);

  // The allocators beneath each route.
  PageAllocator& page_allocator() const { return *_page; }
  HeapAllocator& heap_allocator() const { return *_heap; }
  SlotAllocator& slot_allocator() const { return *_slot; }

private:
  TraceAllocator& target(Route r);

  PageAllocator* _page;
  TraceAllocator _page_trace;
  HeapAllocator* _heap;
  TraceAllocator _heap_trace;
  SlotAllocator* _slot;
  TraceAllocator _slot_trace;
  HashSet<void*> _page_blocks;
  uint32_t _total;
  bool _thread_safe;
  CriticalSection _lock;
};

} // namespace foundation
