#include "foundation/memory/system_allocator.h"

#include <stdlib.h>

namespace foundation {

void* SystemAllocator::allocate(uint32_t size, uint32_t) {
  void* p = malloc(size);
  if (p)
    _total += system_heap::usable_size(p);
  return p;
}

void SystemAllocator::deallocate(void* p) {
  if (!p)
    return;
  _total -= system_heap::usable_size(p);
  free(p);
}

uint32_t SystemAllocator::allocated_size(void* p) { return p ? system_heap::usable_size(p) : 0; }

} // namespace foundation
