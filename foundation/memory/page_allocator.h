// PageAllocator: whole pages straight from the operating system.
//
// Sizes are rounded up to page_size() (the larger of the system page size
// and the allocation granularity: 65,536 on both platforms here) and blocks
// are aligned to it; allocated_size answers the size of the mapped block.
// Alignments above the page size are refused ("bad align for page allocator").
// A failure to get or give back pages is an assertion.
#pragma once

#include "foundation/memory/allocator.h"
#include "foundation/thread/critical_section.h"

namespace foundation {

class PageAllocator : public Allocator {
public:
  explicit PageAllocator(const char* name = nullptr, bool thread_safe = true);

  void* allocate(uint32_t size, uint32_t align = 4) override;
  void deallocate(void* p) override;
  uint32_t allocated_size(void* p) override;
  uint32_t total_allocated() override { return _total; }

  uint32_t page_size() const { return _page_size; }

private:
  uint32_t _page_size;
  uint32_t _total;
  bool _thread_safe;
  CriticalSection _lock;
};

namespace page_allocator {

// Pages without an allocator object: the same checks as PageAllocator.
void* allocate_pages(uint32_t size, uint32_t align);
void free_pages(void* p);
// Debug bytes (guard areas and the like), committed read-write.
void* allocate_debug_bytes(uint32_t size);

} // namespace page_allocator
} // namespace foundation
