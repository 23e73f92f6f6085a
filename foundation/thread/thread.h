// Threads, events, sleeping and thread names.
//
// Thread runs a plain function with one user pointer and must be joined
// before it is destroyed. Event is a manual- or auto-reset signal with a
// timed wait, for tests and tools that must wait for something without
// sleeping on a guess. Thread names are kept per thread for the crash report
// ("In thread %s") and handed to the platform: pthread_setname_np on POSIX;
// on Win32 the debugger's naming exception, raised only when a debugger is
// attached (nothing else would catch it).
//
// Each platform provides everything declared here (thread_posix.cpp,
// thread_win32.cpp).
#pragma once

#include "foundation/platform.h"

namespace foundation {

typedef void (*ThreadFunction)(void* user);

class Thread {
public:
  Thread();
  ~Thread();
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Starts `function(user)` on a new thread named `name` (may be null).
  void start(ThreadFunction function, void* user, const char* name = nullptr);
  void join();
  bool is_running() const { return _started; }

private:
  friend struct ThreadStart;
  ThreadFunction _function;
  void* _user;
  const char* _name;
  bool _started;
  alignas(8) unsigned char _handle[16];
};

class Event {
public:
  explicit Event(bool manual_reset = false);
  ~Event();
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  void set();
  void reset();
  // Waits until the event is set or `milliseconds` pass (negative: forever).
  // Returns whether the event was set. An auto-reset event is cleared again
  // by the wait that sees it.
  bool wait(int milliseconds = -1);

private:
  alignas(8) unsigned char _storage[128];
};

namespace thread {

void sleep_ms(unsigned milliseconds);

// Names the calling thread. The text is copied (at most 63 bytes kept).
void set_name(const char* name);

// The calling thread's name as given to set_name, or null.
const char* name();

// A number identifying the calling thread.
uint64_t id();

} // namespace thread

} // namespace foundation
