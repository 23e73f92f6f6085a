// AllocatorRegistry: the list of every named allocator alive.
//
// An intrusive doubly linked list through Allocator::_next / _prev, newest
// first, behind one critical section (spin count 4000). memory_globals::init
// makes the process-wide registry; allocators made while it exists register
// themselves.
#pragma once

#include "foundation/memory/allocator.h"
#include "foundation/thread/critical_section.h"

namespace foundation {

class AllocatorRegistry {
public:
  AllocatorRegistry();
  ~AllocatorRegistry();

  void add(Allocator& a);
  void remove(Allocator& a);

  // The newest allocator of that name, or null.
  Allocator* find(const char* name);

  // Calls f(allocator) for every registered allocator under the lock.
  template <typename F>
  void for_each(F f) {
    ScopedCriticalSection lock(_lock);
    for (Allocator* a = _head; a; a = a->_next)
      f(*a);
  }

private:
  Allocator* _head;
  CriticalSection _lock;
};

} // namespace foundation
