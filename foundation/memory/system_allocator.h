// SystemAllocator: the C runtime heap (malloc, free and its usable size).
//
// The one allocator that draws from the C runtime. Alignment requests are
// ignored (malloc's natural alignment applies); the total counts usable sizes.
#pragma once

#include "foundation/memory/allocator.h"

namespace foundation {

class SystemAllocator : public Allocator {
public:
  explicit SystemAllocator(const char* name = nullptr) : Allocator(name), _total(0) {}

  void* allocate(uint32_t size, uint32_t align = 4) override;
  void deallocate(void* p) override;
  uint32_t allocated_size(void* p) override;
  uint32_t total_allocated() override { return _total; }

private:
  uint32_t _total;
};

namespace system_heap {
// The usable size of a block from malloc (_msize on Win32, malloc_usable_size on POSIX).
uint32_t usable_size(void* p);
} // namespace system_heap

} // namespace foundation
