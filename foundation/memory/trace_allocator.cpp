#include "foundation/memory/trace_allocator.h"

#include "foundation/collection/vector.h"
#include "foundation/error/assert.h"

namespace foundation {

TraceAllocator::TraceAllocator(const char* name, Allocator& backing, bool thread_safe)
    : Allocator(name), _backing(&backing), _allocations(0), _size(0), _peak_allocations(0), _peak_size(0),
      _thread_safe(thread_safe), _lock(4000), _reserved(0) {}

TraceAllocator::~TraceAllocator() {
  TW_ASSERT_MSG(_size == 0 && _allocations == 0, "Trace allocator not empty on shutdown %s %u %u",
                name() ? name() : "(anonymous)", _allocations, _size);
}

void* TraceAllocator::allocate(uint32_t size, uint32_t align) {
  if (size == 0)
    return nullptr;
  ScopedCriticalSection lock(_lock, _thread_safe);
  void* p = _backing->allocate(size, align);
  ++_allocations;
  _size += _backing->allocated_size(p);
  if (_size > _peak_size)
    _peak_size = _size;
  if (_allocations > _peak_allocations)
    _peak_allocations = _allocations;
  return p;
}

void TraceAllocator::deallocate(void* p) {
  if (!p)
    return;
  ScopedCriticalSection lock(_lock, _thread_safe);
  --_allocations;
  _size -= _backing->allocated_size(p);
  _backing->deallocate(p);
}

void TraceAllocator::backing_allocators(Vector<Allocator*>& list) { list.push_back(_backing); }

} // namespace foundation
