// One pointer per thread.
//
// A ThreadLocalSlot is a process-wide key; each thread sees its own value,
// null until that thread sets it. The memory system keeps each thread's
// TempAllocator here and the error reporter each thread's context stack.
// Slots are few and long-lived: make them once, as globals or statics.
//
// Each platform provides: allocate a key, free it, get and set the calling
// thread's value (thread_local_storage_posix.cpp / _win32.cpp).
#pragma once

#include "foundation/platform.h"

namespace foundation {

class ThreadLocalSlot {
public:
  ThreadLocalSlot();
  ~ThreadLocalSlot();
  ThreadLocalSlot(const ThreadLocalSlot&) = delete;
  ThreadLocalSlot& operator=(const ThreadLocalSlot&) = delete;

  void* get() const;
  void set(void* value);

private:
  uintptr_t _key;
};

} // namespace foundation
