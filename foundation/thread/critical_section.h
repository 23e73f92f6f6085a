// Recursive lock for short critical sections.
//
// The foundation's one lock type: every allocator, the allocator registry,
// the log and the crash path each own one. It is recursive (the owning thread
// may enter again and must leave as often as it entered). The spin count is
// kept from the Win32 API: a contended enter spins that many times before it
// sleeps. Uncontended, entering costs one atomic operation and (on POSIX)
// leaving none, which matters because one generic allocation takes three of
// these locks.
//
// Each platform provides: construct(spin count), destroy, enter, try_enter,
// leave (critical_section_posix.cpp, critical_section_win32.cpp).
#pragma once

#include "foundation/platform.h"

namespace foundation {

class CriticalSection {
public:
  explicit CriticalSection(unsigned spin_count = 4000);
  ~CriticalSection();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void enter();
  bool try_enter();
  void leave();

private:
  // Platform storage: a CRITICAL_SECTION on Win32, a futex lock on POSIX.
  alignas(8) unsigned char _storage[48];
};

// Holds a critical section for the lifetime of the scope; a null section or a
// false `enabled` makes it a no-op (allocators lock only when thread-safe).
class ScopedCriticalSection {
public:
  explicit ScopedCriticalSection(CriticalSection& cs) : _cs(&cs) { _cs->enter(); }
  ScopedCriticalSection(CriticalSection& cs, bool enabled) : _cs(enabled ? &cs : nullptr) {
    if (_cs) _cs->enter();
  }
  ~ScopedCriticalSection() {
    if (_cs) _cs->leave();
  }
  ScopedCriticalSection(const ScopedCriticalSection&) = delete;
  ScopedCriticalSection& operator=(const ScopedCriticalSection&) = delete;

private:
  CriticalSection* _cs;
};

} // namespace foundation
