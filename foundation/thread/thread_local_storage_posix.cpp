#include "foundation/thread/thread_local_storage.h"

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

namespace foundation {

ThreadLocalSlot::ThreadLocalSlot() {
  pthread_key_t key;
  if (pthread_key_create(&key, nullptr) != 0) {
    // Without a key nothing per-thread works; this happens only when the
    // process has used up every key.
    fputs("Out of thread-local storage keys\n", stderr);
    abort();
  }
  _key = uintptr_t(key);
}

ThreadLocalSlot::~ThreadLocalSlot() { pthread_key_delete(pthread_key_t(_key)); }

void* ThreadLocalSlot::get() const { return pthread_getspecific(pthread_key_t(_key)); }

void ThreadLocalSlot::set(void* value) { pthread_setspecific(pthread_key_t(_key), value); }

} // namespace foundation
