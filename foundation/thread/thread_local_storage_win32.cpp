#include "foundation/thread/thread_local_storage.h"

#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

namespace foundation {

ThreadLocalSlot::ThreadLocalSlot() {
  DWORD key = TlsAlloc();
  if (key == TLS_OUT_OF_INDEXES) {
    fputs("Out of thread-local storage keys\n", stderr);
    abort();
  }
  _key = uintptr_t(key);
}

ThreadLocalSlot::~ThreadLocalSlot() { TlsFree(DWORD(_key)); }

void* ThreadLocalSlot::get() const { return TlsGetValue(DWORD(_key)); }

void ThreadLocalSlot::set(void* value) { TlsSetValue(DWORD(_key), value); }

} // namespace foundation
