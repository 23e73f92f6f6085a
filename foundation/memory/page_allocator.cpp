#include "foundation/memory/page_allocator.h"

#include "foundation/error/assert.h"
#include "foundation/memory/memory_utilities.h"
#include "foundation/memory/virtual_memory.h"

namespace foundation {

PageAllocator::PageAllocator(const char* name, bool thread_safe)
    : Allocator(name), _page_size(virtual_memory::granularity()), _total(0), _thread_safe(thread_safe), _lock(4000) {}

void* PageAllocator::allocate(uint32_t size, uint32_t align) {
  ScopedCriticalSection lock(_lock, _thread_safe);
  uint32_t rounded = uint32_t(memory_utilities::round_up(size, _page_size));
  align = uint32_t(memory_utilities::round_up(align, _page_size));
  TW_ASSERT_MSG(align <= page_size(), "bad align for page allocator");
  void* p = virtual_memory::allocate(rounded);
  TW_ASSERT_MSG(p, "Page allocator failed allocating %u bytes, total %u", size, _total);
  // Where a report returns, the failed block's size is still counted.
  _total += p ? virtual_memory::region_size(p) : rounded;
  return p;
}

void PageAllocator::deallocate(void* p) {
  if (!p)
    return;
  ScopedCriticalSection lock(_lock, _thread_safe);
  _total -= virtual_memory::region_size(p);
  bool res = virtual_memory::release(p);
  TW_ASSERT_MSG(res, "VirtualFree");
}

uint32_t PageAllocator::allocated_size(void* p) { return p ? virtual_memory::region_size(p) : 0; }

namespace page_allocator {

namespace {
uint32_t page_size() { return virtual_memory::granularity(); }
} // namespace

void* allocate_pages(uint32_t size, uint32_t align) {
  align = uint32_t(memory_utilities::round_up(align, page_size()));
  TW_ASSERT_MSG(align <= page_size(), "bad align for page allocator");
  return virtual_memory::allocate(size);
}

void free_pages(void* p) {
  bool res = virtual_memory::release(p);
  TW_ASSERT_MSG(res, "VirtualFree");
}

void* allocate_debug_bytes(uint32_t size) {
  void* p = virtual_memory::allocate(size);
  TW_ASSERT_MSG(p, "Page allocator failed allocating %u debug_bytes", size);
  return p;
}

} // namespace page_allocator
} // namespace foundation
