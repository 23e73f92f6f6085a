// ArenaAllocator: bump allocation in chunks, freed all at once.
//
// Each block is preceded by a size word; deallocate does nothing and the
// chunks go back to the backing allocator only when the arena is cleared or
// destroyed. For memory that lives as long as the application.
#pragma once

#include "foundation/memory/allocator.h"
#include "foundation/thread/critical_section.h"

namespace foundation {

class ArenaAllocator : public Allocator {
public:
  ArenaAllocator(const char* name, Allocator& backing, uint32_t chunk_size, bool thread_safe = true);
  ~ArenaAllocator() override;

  void* allocate(uint32_t size, uint32_t align = 4) override;
  void deallocate(void*) override {}
  uint32_t allocated_size(void* p) override;
  // Bytes claimed from the backing allocator.
  uint32_t total_allocated() override { return _claimed; }
  void backing_allocators(Vector<Allocator*>& list) override;

  // Gives every chunk back.
  void clear();
  uint32_t requested_bytes() const { return _requested; }

private:
  Allocator* _backing;
  uint32_t _chunk_size;
  char* _first_chunk;
  char* _last_chunk;
  char* _current;
  int32_t _left;
  uint32_t _requested;
  uint32_t _claimed;
  bool _thread_safe;
  CriticalSection _lock;
};

} // namespace foundation
