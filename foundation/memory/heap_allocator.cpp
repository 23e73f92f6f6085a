#include "foundation/memory/heap_allocator.h"

#include "foundation/collection/vector.h"
#include "foundation/error/assert.h"
#include "foundation/memory/memory_utilities.h"

namespace foundation {

HeapAllocator::HeapAllocator(const char* name, Allocator& backing, uint32_t block_size, bool can_grow,
                             bool thread_safe)
    : Allocator(name), _backing(&backing), _first_block(nullptr), _can_grow(can_grow), _thread_safe(thread_safe),
      _lock(4000), _mspace(nullptr), _leak_check(false), _max_blocks(MAX_BLOCKS), _used_blocks(0), _table_sequence(0) {
  _first_block = backing.allocate(block_size, 4);
  MspaceCallbacks callbacks = {&grow_callback, &release_callback, this};
  _mspace = mspace::create(_first_block, block_size, callbacks, block_size);
  TW_ASSERT_MSG(_mspace != nullptr, "failed to create heap");
  enter_block(_first_block, block_size);
}

HeapAllocator::HeapAllocator(const char* name, void* buffer, uint32_t size, bool thread_safe)
    : Allocator(name), _backing(nullptr), _first_block(buffer), _can_grow(false), _thread_safe(thread_safe),
      _lock(4000), _mspace(nullptr), _leak_check(false), _max_blocks(MAX_BLOCKS), _used_blocks(0), _table_sequence(0) {
  MspaceCallbacks callbacks = {&grow_callback, &release_callback, this};
  _mspace = mspace::create(buffer, size, callbacks, size);
  TW_ASSERT_MSG(_mspace != nullptr, "failed to create heap");
  enter_block(buffer, size);
}

HeapAllocator::~HeapAllocator() {
  if (_leak_check) {
    uint32_t total = bytes_in_use();
    TW_ASSERT(total == 0);
  }
  if (_mspace)
    mspace::destroy(_mspace);
  if (_backing)
    _backing->deallocate(_first_block);
}

// A sequence lock without fences: the writer's odd count is an acquiring
// read-modify-write, its entry stores release, and the reader acquires every
// load, so a reader that saw any new entry also sees the count move.
void HeapAllocator::begin_table_change() { _table_sequence.fetch_add(1, std::memory_order_acq_rel); }

void HeapAllocator::end_table_change() { _table_sequence.fetch_add(1, std::memory_order_release); }

void HeapAllocator::enter_block(void* base, uint32_t size) {
  TW_ASSERT_MSG(_used_blocks < _max_blocks, "Heap is full");
  int used = _used_blocks.load(std::memory_order_relaxed);
  if (used >= _max_blocks)
    return;
  begin_table_change();
  _blocks[used].base.store(uintptr_t(base), std::memory_order_release);
  _blocks[used].size.store(size, std::memory_order_release);
  _used_blocks.store(used + 1, std::memory_order_release);
  end_table_change();
}

// Moves the last entry into the place of the removed one.
void HeapAllocator::remove_block(void* base) {
  int used = _used_blocks.load(std::memory_order_relaxed);
  for (int i = 0; i < used; ++i) {
    if (_blocks[i].base.load(std::memory_order_relaxed) == uintptr_t(base)) {
      begin_table_change();
      _blocks[i].base.store(_blocks[used - 1].base.load(std::memory_order_relaxed), std::memory_order_release);
      _blocks[i].size.store(_blocks[used - 1].size.load(std::memory_order_relaxed), std::memory_order_release);
      _used_blocks.store(used - 1, std::memory_order_release);
      end_table_change();
      return;
    }
  }
}

void* HeapAllocator::grow_callback(void* user, uint32_t size) { return static_cast<HeapAllocator*>(user)->grow(size); }

void* HeapAllocator::grow(uint32_t size) {
  TW_ASSERT_MSG(_can_grow, "Heap cannot grow.");
  if (!_can_grow || !_backing)
    return nullptr;
  // Refuse before taking a block that could not be entered.
  TW_ASSERT_MSG(_used_blocks < _max_blocks, "Heap is full");
  if (_used_blocks >= _max_blocks)
    return nullptr;
  void* block = _backing->allocate(size, 4);
  if (block)
    enter_block(block, size);
  return block;
}

void HeapAllocator::release_callback(void* user, void* address, uint32_t size) {
  HeapAllocator* h = static_cast<HeapAllocator*>(user);
  char* p = static_cast<char*>(address);
  while (size > 0) {
    uint32_t n = h->_backing->allocated_size(p);
    if (n == 0 || n > size)
      n = size;
    h->_backing->deallocate(p);
    h->remove_block(p);
    p += n;
    size -= n;
  }
}

void* HeapAllocator::allocate(uint32_t size, uint32_t align) {
  ScopedCriticalSection lock(_lock, _thread_safe);
  TW_ASSERT(size > 0);
  TW_ASSERT_MSG((align & (align - 1)) == 0, "alignment must be a power of 2");
  void* p = mspace::allocate(_mspace, size ? size : 1, align ? align : 1);
  TW_ASSERT_MSG(p != nullptr, "out of memory");
  return p;
}

void HeapAllocator::deallocate(void* p) {
  if (!p)
    return;
  ScopedCriticalSection lock(_lock, _thread_safe);
  mspace::free(_mspace, p);
}

uint32_t HeapAllocator::allocated_size(void* p) { return p ? mspace::usable_size(p) : 0; }

uint32_t HeapAllocator::total_allocated() {
  ScopedCriticalSection lock(_lock, _thread_safe);
  uint32_t total = 0;
  for (int i = 0; i < _used_blocks; ++i)
    total += _blocks[i].size.load(std::memory_order_relaxed);
  return total;
}

void HeapAllocator::backing_allocators(Vector<Allocator*>& list) {
  if (_backing)
    list.push_back(_backing);
}

bool HeapAllocator::owns(const void* p) {
  uintptr_t a = uintptr_t(p);
  while (true) {
    uint32_t before = _table_sequence.load(std::memory_order_acquire);
    if (before & 1)
      continue; // a change is under way
    bool found = false;
    int used = _used_blocks.load(std::memory_order_acquire);
    for (int i = 0; i < used && !found; ++i) {
      uintptr_t base = _blocks[i].base.load(std::memory_order_acquire);
      found = a >= base && a < base + _blocks[i].size.load(std::memory_order_acquire);
    }
    if (_table_sequence.load(std::memory_order_acquire) == before)
      return found;
  }
}

uint32_t HeapAllocator::bytes_in_use() {
  ScopedCriticalSection lock(_lock, _thread_safe);
  uint32_t total = 0;
  mspace::walk_used(
      _mspace, [](void*, uint32_t size, void* user) { *static_cast<uint32_t*>(user) += size; }, &total);
  return total;
}

bool HeapAllocator::check_integrity() {
  ScopedCriticalSection lock(_lock, _thread_safe);
  return mspace::check(_mspace);
}

} // namespace foundation
