#include "foundation/memory/allocator_registry.h"

#include "foundation/error/assert.h"

#include <string.h>

namespace foundation {

AllocatorRegistry::AllocatorRegistry() : _head(nullptr), _lock(4000) {}

AllocatorRegistry::~AllocatorRegistry() {}

void AllocatorRegistry::add(Allocator& a) {
  ScopedCriticalSection lock(_lock);
  TW_ASSERT(a._prev == 0);
  TW_ASSERT(a._next == 0);
  a._next = _head;
  if (_head)
    _head->_prev = &a;
  _head = &a;
}

void AllocatorRegistry::remove(Allocator& a) {
  ScopedCriticalSection lock(_lock);
  if (a._prev)
    a._prev->_next = a._next;
  else if (_head == &a)
    _head = a._next;
  if (a._next)
    a._next->_prev = a._prev;
  a._next = nullptr;
  a._prev = nullptr;
}

Allocator* AllocatorRegistry::find(const char* name) {
  ScopedCriticalSection lock(_lock);
  for (Allocator* a = _head; a; a = a->_next)
    if (a->name() && strcmp(a->name(), name) == 0)
      return a;
  return nullptr;
}

} // namespace foundation
