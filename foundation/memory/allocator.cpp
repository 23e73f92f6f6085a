#include "foundation/memory/allocator.h"

#include "foundation/collection/vector.h"
#include "foundation/memory/allocator_registry.h"
#include "foundation/memory/memory_globals.h"

namespace foundation {

Allocator::Allocator(const char* name) : _next(nullptr), _prev(nullptr), _name(name) {
  if (_name)
    if (AllocatorRegistry* registry = memory_globals::registry())
      registry->add(*this);
}

Allocator::~Allocator() noexcept(false) {
  if (_name)
    if (AllocatorRegistry* registry = memory_globals::registry())
      registry->remove(*this);
}

uint32_t Allocator::allocated_size(void*) { return 0; }

uint32_t Allocator::total_allocated() { return 0; }

void Allocator::backing_allocators(Vector<Allocator*>&) {}

} // namespace foundation
