#include "foundation/memory/generic_allocator.h"

#include "foundation/collection/vector.h"

namespace foundation {

GenericAllocator::GenericAllocator(const char* name, PageAllocator& page, HeapAllocator& heap, SlotAllocator& slot,
                                   bool thread_safe)
    : Allocator(name), _page(&page), _page_trace("generic_page", page, true), _heap(&heap),
      _heap_trace("generic_heap", heap, true), _slot(&slot), _slot_trace("generic_slot", slot, true),
      _page_blocks(heap), _total(0), _thread_safe(thread_safe), _lock(4000) {}

GenericAllocator::~GenericAllocator() {}

GenericAllocator::Route GenericAllocator::route_for(uint32_t size) const {
  if (size < 1024)
    return ROUTE_SLOT;
  uint32_t page_size = _page->page_size();
  uint64_t rounded = (uint64_t(size) + page_size - 1) / page_size * page_size;
  uint64_t waste = rounded - size;
  return waste >= size / 10 ? ROUTE_HEAP : ROUTE_PAGE;
}

GenericAllocator::Route GenericAllocator::owner_of(void* p) {
  if (_heap->owns(p))
    return ROUTE_HEAP;
  if (_page_blocks.size() != 0 && _page_blocks.has(p))
    return ROUTE_PAGE;
  return ROUTE_SLOT;
}

TraceAllocator& GenericAllocator::target(Route r) {
  switch (r) {
  case ROUTE_SLOT:
    return _slot_trace;
  case ROUTE_HEAP:
    return _heap_trace;
  default:
    return _page_trace;
  }
}

void* GenericAllocator::allocate(uint32_t size, uint32_t align) {
  ScopedCriticalSection lock(_lock, _thread_safe);
  Route route = route_for(size);
  TraceAllocator& t = target(route);
  void* p = t.allocate(size, align);
  if (route == ROUTE_PAGE && p)
    _page_blocks.insert(p);
  _total += t.allocated_size(p);
  return p;
}

void GenericAllocator::deallocate(void* p) {
  if (!p)
    return;
  ScopedCriticalSection lock(_lock, _thread_safe);
  Route route = owner_of(p);
  TraceAllocator& t = target(route);
  _total -= t.allocated_size(p);
  t.deallocate(p);
  if (route == ROUTE_PAGE)
    _page_blocks.remove(p);
}

uint32_t GenericAllocator::allocated_size(void* p) {
  if (!p)
    return 0;
  ScopedCriticalSection lock(_lock, _thread_safe);
  return target(owner_of(p)).allocated_size(p);
}

void GenericAllocator::backing_allocators(Vector<Allocator*>& list) {
  list.push_back(&_slot_trace);
  list.push_back(&_heap_trace);
  list.push_back(&_page_trace);
}

} // namespace foundation
