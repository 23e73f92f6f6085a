// TraceAllocator: counts what passes through to a backing allocator.
//
// It keeps the number of live blocks and their bytes (and the peaks of
// both); a zero-byte request returns null and counts nothing. Destroying a
// TraceAllocator that still has blocks out reports "Trace allocator not empty
// on shutdown %s %u %u" (name, blocks, bytes): the leak check of the
// memory system.
#pragma once

#include "foundation/memory/allocator.h"
#include "foundation/thread/critical_section.h"

namespace foundation {

class TraceAllocator : public Allocator {
public:
  TraceAllocator(const char* name, Allocator& backing, bool thread_safe = true);
  ~TraceAllocator() override;

  void* allocate(uint32_t size, uint32_t align = 4) override;
  void deallocate(void* p) override;
  uint32_t allocated_size(void* p) override { return _backing->allocated_size(p); }
  uint32_t total_allocated() override { return _size; }
  void backing_allocators(Vector<Allocator*>& list) override;

  uint32_t allocations() const { return _allocations; }
  uint32_t peak_allocations() const { return _peak_allocations; }
  uint32_t peak_size() const { return _peak_size; }
  Allocator& backing() const { return *_backing; }

private:
  Allocator* _backing;
  uint32_t _allocations;
  uint32_t _size;
  uint32_t _peak_allocations;
  uint32_t _peak_size;
  bool _thread_safe;
  CriticalSection _lock;
  [[maybe_unused]] uint32_t _reserved; // kept zero; counts nothing in this product
};

} // namespace foundation
