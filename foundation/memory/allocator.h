// The allocator interface every piece of memory comes through.
//
// An Allocator hands out blocks of a size and power-of-two alignment and
// takes them back. Named allocators register themselves in the process-wide
// AllocatorRegistry while it exists (memory_globals::init builds it) and
// leave it when destroyed; anonymous ones (null name) are never listed.
//
// Objects are built in storage from an allocator and destroyed explicitly
// before the storage goes back: make_new / make_delete below do both steps.
#pragma once

#include "foundation/platform.h"

#include <new>
#include <utility>

namespace foundation {

template <typename T>
class Vector;

// Alignment used for records placed in allocator storage: 4, or more when the
// type needs it (8-byte fields in the 64-bit build).
template <typename T>
constexpr uint32_t align_of() {
  return alignof(T) > 4 ? uint32_t(alignof(T)) : 4u;
}

class Allocator {
public:
  explicit Allocator(const char* name = nullptr);
  // May report (a counting allocator that still holds blocks), and in the
  // throwing error mode that report leaves the destructor as an exception.
  virtual ~Allocator() noexcept(false);
  Allocator(const Allocator&) = delete;
  Allocator& operator=(const Allocator&) = delete;

  virtual void* allocate(uint32_t size, uint32_t align = 4) = 0;
  virtual void deallocate(void* p) = 0;
  // Usable size of a block handed out by this allocator; 0 when not tracked.
  virtual uint32_t allocated_size(void* p);
  // Bytes this allocator currently holds, in its own sense; 0 when not tracked.
  virtual uint32_t total_allocated();
  // Appends the allocators this one draws its memory from.
  virtual void backing_allocators(Vector<Allocator*>& list);

  const char* name() const { return _name; }

  template <typename T, typename... Args>
  T* make_new(Args&&... args) {
    void* p = allocate(uint32_t(sizeof(T)), align_of<T>());
    return new (p) T(std::forward<Args>(args)...);
  }

  template <typename T>
  void make_delete(T* p) {
    if (!p)
      return;
    p->~T();
    deallocate(p);
  }

  // Registry links; owned by AllocatorRegistry.
  Allocator* _next;
  Allocator* _prev;

private:
  const char* _name;
};

} // namespace foundation
