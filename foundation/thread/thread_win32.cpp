#include "foundation/thread/thread.h"

#include <process.h>
#include <string.h>
#include <windows.h>

namespace foundation {

namespace {

thread_local char tls_thread_name[64];

struct EventState {
  HANDLE handle;
};

// The record a debugger reads from the naming exception 0x406D1388.
#pragma pack(push, 8)
struct ThreadNameInfo {
  DWORD type;       // 0x1000
  LPCSTR name;
  DWORD thread_id;
  DWORD flags;
};
#pragma pack(pop)

} // namespace

struct ThreadStart {
  static unsigned __stdcall run(void* p) {
    Thread* t = static_cast<Thread*>(p);
    if (t->_name)
      thread::set_name(t->_name);
    t->_function(t->_user);
    return 0;
  }
};

Thread::Thread() : _function(nullptr), _user(nullptr), _name(nullptr), _started(false) {}

Thread::~Thread() { join(); }

void Thread::start(ThreadFunction function, void* user, const char* name) {
  _function = function;
  _user = user;
  _name = name;
  uintptr_t h = _beginthreadex(nullptr, 0, &ThreadStart::run, this, 0, nullptr);
  *reinterpret_cast<HANDLE*>(_handle) = reinterpret_cast<HANDLE>(h);
  _started = h != 0;
}

void Thread::join() {
  if (!_started)
    return;
  HANDLE h = *reinterpret_cast<HANDLE*>(_handle);
  WaitForSingleObject(h, INFINITE);
  CloseHandle(h);
  _started = false;
}

Event::Event(bool manual_reset) {
  reinterpret_cast<EventState*>(_storage)->handle = CreateEventA(nullptr, manual_reset, FALSE, nullptr);
}

Event::~Event() { CloseHandle(reinterpret_cast<EventState*>(_storage)->handle); }

void Event::set() { SetEvent(reinterpret_cast<EventState*>(_storage)->handle); }

void Event::reset() { ResetEvent(reinterpret_cast<EventState*>(_storage)->handle); }

bool Event::wait(int milliseconds) {
  DWORD timeout = milliseconds < 0 ? INFINITE : DWORD(milliseconds);
  return WaitForSingleObject(reinterpret_cast<EventState*>(_storage)->handle, timeout) == WAIT_OBJECT_0;
}

namespace thread {

void sleep_ms(unsigned milliseconds) { Sleep(milliseconds); }

void set_name(const char* name) {
  if (!name)
    name = "";
  strncpy(tls_thread_name, name, sizeof(tls_thread_name) - 1);
  tls_thread_name[sizeof(tls_thread_name) - 1] = 0;
  // Only an attached debugger handles the naming exception; without one it
  // would end the process, and MinGW has no structured handler to swallow it.
  if (!IsDebuggerPresent())
    return;
  ThreadNameInfo info;
  info.type = 0x1000;
  info.name = tls_thread_name;
  info.thread_id = GetCurrentThreadId();
  info.flags = 0;
  RaiseException(0x406D1388, 0, sizeof(info) / sizeof(ULONG_PTR), reinterpret_cast<const ULONG_PTR*>(&info));
}

const char* name() { return tls_thread_name[0] ? tls_thread_name : nullptr; }

uint64_t id() { return uint64_t(GetCurrentThreadId()); }

} // namespace thread

} // namespace foundation
