#include "foundation/thread/thread.h"

#include <errno.h>
#include <new>
#include <pthread.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace foundation {

namespace {

thread_local char tls_thread_name[64];

struct EventState {
  pthread_mutex_t mutex;
  pthread_cond_t cond;
  bool manual_reset;
  bool signalled;
};

static_assert(sizeof(EventState) <= 128, "event storage too small");

EventState& event_of(unsigned char* storage) { return *reinterpret_cast<EventState*>(storage); }

} // namespace

struct ThreadStart {
  static void* run(void* p) {
    Thread* t = static_cast<Thread*>(p);
    if (t->_name)
      thread::set_name(t->_name);
    t->_function(t->_user);
    return nullptr;
  }
};

Thread::Thread() : _function(nullptr), _user(nullptr), _name(nullptr), _started(false) {}

Thread::~Thread() { join(); }

void Thread::start(ThreadFunction function, void* user, const char* name) {
  _function = function;
  _user = user;
  _name = name;
  pthread_t* handle = reinterpret_cast<pthread_t*>(_handle);
  _started = pthread_create(handle, nullptr, &ThreadStart::run, this) == 0;
}

void Thread::join() {
  if (!_started)
    return;
  pthread_join(*reinterpret_cast<pthread_t*>(_handle), nullptr);
  _started = false;
}

Event::Event(bool manual_reset) {
  EventState* e = new (_storage) EventState;
  pthread_mutex_init(&e->mutex, nullptr);
  pthread_condattr_t attr;
  pthread_condattr_init(&attr);
  pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
  pthread_cond_init(&e->cond, &attr);
  pthread_condattr_destroy(&attr);
  e->manual_reset = manual_reset;
  e->signalled = false;
}

Event::~Event() {
  EventState& e = event_of(_storage);
  pthread_cond_destroy(&e.cond);
  pthread_mutex_destroy(&e.mutex);
}

void Event::set() {
  EventState& e = event_of(_storage);
  pthread_mutex_lock(&e.mutex);
  e.signalled = true;
  pthread_cond_broadcast(&e.cond);
  pthread_mutex_unlock(&e.mutex);
}

void Event::reset() {
  EventState& e = event_of(_storage);
  pthread_mutex_lock(&e.mutex);
  e.signalled = false;
  pthread_mutex_unlock(&e.mutex);
}

bool Event::wait(int milliseconds) {
  EventState& e = event_of(_storage);
  timespec deadline;
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  if (milliseconds >= 0) {
    deadline.tv_sec += milliseconds / 1000;
    deadline.tv_nsec += long(milliseconds % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
      deadline.tv_sec += 1;
      deadline.tv_nsec -= 1000000000L;
    }
  }
  pthread_mutex_lock(&e.mutex);
  while (!e.signalled) {
    int r = milliseconds < 0 ? pthread_cond_wait(&e.cond, &e.mutex)
                             : pthread_cond_timedwait(&e.cond, &e.mutex, &deadline);
    if (r == ETIMEDOUT)
      break;
  }
  bool result = e.signalled;
  if (result && !e.manual_reset)
    e.signalled = false;
  pthread_mutex_unlock(&e.mutex);
  return result;
}

namespace thread {

void sleep_ms(unsigned milliseconds) {
  timespec t;
  t.tv_sec = milliseconds / 1000;
  t.tv_nsec = long(milliseconds % 1000) * 1000000L;
  while (nanosleep(&t, &t) != 0 && errno == EINTR) {
  }
}

void set_name(const char* name) {
  if (!name)
    name = "";
  strncpy(tls_thread_name, name, sizeof(tls_thread_name) - 1);
  tls_thread_name[sizeof(tls_thread_name) - 1] = 0;
  // The kernel keeps at most 15 bytes of a thread name.
  char short_name[16];
  strncpy(short_name, name, sizeof(short_name) - 1);
  short_name[sizeof(short_name) - 1] = 0;
  pthread_setname_np(pthread_self(), short_name);
}

const char* name() { return tls_thread_name[0] ? tls_thread_name : nullptr; }

uint64_t id() { return uint64_t(syscall(SYS_gettid)); }

} // namespace thread

} // namespace foundation
