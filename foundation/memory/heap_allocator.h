// HeapAllocator: a general-purpose heap over blocks of a backing allocator.
//
// An mspace (foundation/memory/mspace) is laid over a first block taken from
// the backing allocator (or over one fixed buffer, which cannot grow). When
// it runs out it grows by further blocks of at least the block size, and it
// gives a grown block back when that block becomes entirely free. Every block
// is entered in a table of at most 2048 entries, through which owns() tells
// whether a pointer came from this heap ("Heap is full" beyond that). The
// table changes only under the heap's lock; owns() reads it without the lock
// (a sequence count tells it to read again when it raced with a change),
// since the generic allocator asks it on every free.
//
// With the leak check on, destruction reports blocks still in use.
#pragma once

#include "foundation/memory/allocator.h"
#include "foundation/memory/mspace.h"
#include "foundation/thread/critical_section.h"

#include <atomic>

namespace foundation {

class HeapAllocator : public Allocator {
public:
  // A growable heap over blocks of `block_size` bytes from `backing`.
  HeapAllocator(const char* name, Allocator& backing, uint32_t block_size, bool can_grow = true,
                bool thread_safe = true);
  // A heap over one fixed buffer; it cannot grow.
  HeapAllocator(const char* name, void* buffer, uint32_t size, bool thread_safe = true);
  ~HeapAllocator() override;

  void* allocate(uint32_t size, uint32_t align = 4) override;
  void deallocate(void* p) override;
  uint32_t allocated_size(void* p) override;
  // Bytes of all blocks in the table (memory claimed, not bytes in use).
  uint32_t total_allocated() override;
  void backing_allocators(Vector<Allocator*>& list) override;

  // Whether `p` lies in one of this heap's blocks.
  bool owns(const void* p);

  void set_leak_check(bool enabled) { _leak_check = enabled; }
  // Sum of the usable sizes of the blocks in use (walks the heap).
  uint32_t bytes_in_use();
  // Verifies the heap's internal structure. For tests.
  bool check_integrity();
  uint32_t block_count() const { return uint32_t(_used_blocks); }

  static const int MAX_BLOCKS = 2048;

private:
  struct BlockEntry {
    std::atomic<uintptr_t> base;
    std::atomic<uint32_t> size;
  };

  void enter_block(void* base, uint32_t size);
  void remove_block(void* base);
  void begin_table_change();
  void end_table_change();
  void* grow(uint32_t size);
  static void* grow_callback(void* user, uint32_t size);
  static void release_callback(void* user, void* address, uint32_t size);

  Allocator* _backing;
  void* _first_block;
  bool _can_grow;
  bool _thread_safe;
  CriticalSection _lock;
  Mspace* _mspace;
  bool _leak_check;
  BlockEntry _blocks[MAX_BLOCKS];
  int _max_blocks;
  std::atomic<int> _used_blocks;
  std::atomic<uint32_t> _table_sequence; // odd while the table changes
};

} // namespace foundation
