// POSIX critical section: a futex-based recursive lock.
//
// State word: 0 free, 1 held, 2 held with sleepers. The owner is the thread's
// pthread_t and a recursion count; both are only written by the owner.
//
// Entering takes one atomic operation (a compare-and-swap); leaving takes
// none: the owner looks at the state and stores 0 with release order, and
// wakes a sleeper when the look saw one. A thread that marks the lock as
// slept on in the instant between that look and the store is not woken by
// it; so sleepers wait at most a millisecond at a time and look again.
#include "foundation/thread/critical_section.h"

#include <atomic>
#include <linux/futex.h>
#include <new>
#include <pthread.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace foundation {

namespace {

struct FutexLock {
  std::atomic<int> state;
  std::atomic<uintptr_t> owner;
  unsigned recursion;
  unsigned spin_count;
};

// A value unique to the calling thread, cheap to get: the thread pointer
// where the compiler exposes it, pthread_self otherwise.
inline uintptr_t self_id() {
#if (defined(__x86_64__) || defined(__i386__)) && defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 11
  return uintptr_t(__builtin_thread_pointer());
#else
  return uintptr_t(pthread_self());
#endif
}

static_assert(sizeof(FutexLock) <= 48, "critical section storage too small");

FutexLock& lock_of(unsigned char* storage) { return *reinterpret_cast<FutexLock*>(storage); }

// Sleeps while *word == expected, a millisecond at most.
void futex_wait(std::atomic<int>* word, int expected) {
  struct timespec millisecond = {0, 1000000};
  syscall(SYS_futex, reinterpret_cast<int*>(word), FUTEX_WAIT_PRIVATE, expected, &millisecond, nullptr, 0);
}

void futex_wake_one(std::atomic<int>* word) {
  syscall(SYS_futex, reinterpret_cast<int*>(word), FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

inline void cpu_relax() {
#if defined(__i386__) || defined(__x86_64__)
  __builtin_ia32_pause();
#endif
}

} // namespace

CriticalSection::CriticalSection(unsigned spin_count) {
  FutexLock* l = new (_storage) FutexLock;
  l->state.store(0, std::memory_order_relaxed);
  l->owner.store(0, std::memory_order_relaxed);
  l->recursion = 0;
  l->spin_count = spin_count;
}

CriticalSection::~CriticalSection() { lock_of(_storage).~FutexLock(); }

bool CriticalSection::try_enter() {
  FutexLock& l = lock_of(_storage);
  uintptr_t self = self_id();
  int expected = 0;
  if (l.state.compare_exchange_strong(expected, 1, std::memory_order_acquire)) {
    l.owner.store(self, std::memory_order_relaxed);
    l.recursion = 1;
    return true;
  }
  if (l.owner.load(std::memory_order_relaxed) == self) {
    ++l.recursion;
    return true;
  }
  return false;
}

void CriticalSection::enter() {
  FutexLock& l = lock_of(_storage);
  uintptr_t self = self_id();
  int expected = 0;
  if (TW_LIKELY(l.state.compare_exchange_strong(expected, 1, std::memory_order_acquire))) {
    l.owner.store(self, std::memory_order_relaxed);
    l.recursion = 1;
    return;
  }
  if (l.owner.load(std::memory_order_relaxed) == self) {
    ++l.recursion;
    return;
  }
  for (unsigned i = 0; i < l.spin_count; ++i) {
    cpu_relax();
    expected = 0;
    if (l.state.load(std::memory_order_relaxed) == 0 &&
        l.state.compare_exchange_strong(expected, 1, std::memory_order_acquire)) {
      l.owner.store(self, std::memory_order_relaxed);
      l.recursion = 1;
      return;
    }
  }
  // Sleep: mark the lock contended; whoever leaves wakes one sleeper.
  while (l.state.exchange(2, std::memory_order_acquire) != 0)
    futex_wait(&l.state, 2);
  l.owner.store(self, std::memory_order_relaxed);
  l.recursion = 1;
}

void CriticalSection::leave() {
  FutexLock& l = lock_of(_storage);
  if (--l.recursion != 0)
    return;
  l.owner.store(0, std::memory_order_relaxed);
  int state = l.state.load(std::memory_order_relaxed);
  l.state.store(0, std::memory_order_release);
  if (state == 2)
    futex_wake_one(&l.state);
}

} // namespace foundation
