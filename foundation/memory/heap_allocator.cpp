#include "foundation/memory/heap_allocator.h"

#include "foundation/collection/vector.h"
#include "foundation/error/assert.h"
#include "foundation/memory/memory_utilities.h"

namespace foundation {

HeapAllocator::HeapAllocator(const char* name, Allocator& backing, uint32_t block_size, bool can_grow,
                             bool thread_safe)
    : Allocator(name), _backing(&backing), _first_block(nullptr), _can_grow(can_grow), _thread_safe(thread_safe),
      _lock(4000), _mspace(nullptr), _leak_check(false), _max_blocks(MAX_BLOCKS), _used_blocks(0) {
  _first_block = backing.allocate(block_size, 4);
  MspaceCallbacks callbacks = {&grow_callback, &release_callback, this};
  _mspace = mspace::create(_first_block, block_size, callbacks, block_size);
  TW_ASSERT_MSG(_mspace != nullptr, "failed to create heap");
  enter_block(_first_block, block_size);
}

HeapAllocator::HeapAllocator(const char* name, void* buffer, uint32_t size, bool thread_safe)
    : Allocator(name), _backing(nullptr), _first_block(buffer), _can_grow(false), _thread_safe(thread_safe),
      _lock(4000), _mspace(nullptr), _leak_check(false), _max_blocks(MAX_BLOCKS), _used_blocks(0) {
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

void HeapAllocator::enter_block(void* base, uint32_t size) {
  TW_ASSERT_MSG(_used_blocks < _max_blocks, "Heap is full");
  if (_used_blocks >= _max_blocks)
    return;
  _blocks[_used_blocks].base = base;
  _blocks[_used_blocks].size = size;
  ++_used_blocks;
}

void* HeapAllocator::grow_callback(void* user, uint32_t size) {
  HeapAllocator* h = static_cast<HeapAllocator*>(user);
  TW_ASSERT_MSG(h->_can_grow, "Heap cannot grow.");
  if (!h->_can_grow || !h->_backing)
    return nullptr;
  void* block = h->_backing->allocate(size, 4);
  if (block)
    h->enter_block(block, size);
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
    for (int i = 0; i < h->_used_blocks; ++i) {
      if (h->_blocks[i].base == p) {
        h->_blocks[i] = h->_blocks[h->_used_blocks - 1];
        --h->_used_blocks;
        break;
      }
    }
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
    total += _blocks[i].size;
  return total;
}

void HeapAllocator::backing_allocators(Vector<Allocator*>& list) {
  if (_backing)
    list.push_back(_backing);
}

bool HeapAllocator::owns(const void* p) {
  ScopedCriticalSection lock(_lock, _thread_safe);
  uintptr_t a = uintptr_t(p);
  for (int i = 0; i < _used_blocks; ++i) {
    uintptr_t base = uintptr_t(_blocks[i].base);
    if (a >= base && a < base + _blocks[i].size)
      return true;
  }
  return false;
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
