#include "foundation/memory/arena_allocator.h"

#include "foundation/collection/vector.h"
#include "foundation/error/assert.h"
#include "foundation/memory/memory_utilities.h"

namespace foundation {

ArenaAllocator::ArenaAllocator(const char* name, Allocator& backing, uint32_t chunk_size, bool thread_safe)
    : Allocator(name), _backing(&backing), _chunk_size(chunk_size), _first_chunk(nullptr), _last_chunk(nullptr),
      _current(nullptr), _left(0), _requested(0), _claimed(0), _thread_safe(thread_safe), _lock(4000) {}

ArenaAllocator::~ArenaAllocator() { clear(); }

void ArenaAllocator::clear() {
  ScopedCriticalSection lock(_lock, _thread_safe);
  char* chunk = _first_chunk;
  while (chunk) {
    char* next = *reinterpret_cast<char**>(chunk);
    _backing->deallocate(chunk);
    chunk = next;
  }
  _first_chunk = _last_chunk = _current = nullptr;
  _left = 0;
  _claimed = 0;
}

void* ArenaAllocator::allocate(uint32_t size, uint32_t align) {
  ScopedCriticalSection lock(_lock, _thread_safe);
  const uint32_t link = uint32_t(sizeof(char*)); // a chunk starts with the next-chunk link
  // Room for the size word, then padding up to the alignment.
  auto place = [&]() {
    char* q = _current + 4;
    uint32_t pad = uint32_t(static_cast<char*>(memory_utilities::align_forward(q, align)) - q);
    _left -= int32_t(4 + pad);
    _current = q + pad;
  };
  if (_first_chunk)
    place();
  _requested += size;
  if (!_first_chunk || int32_t(size) > _left) {
    uint32_t want = size + 2 * align + 4 + link;
    if (want < _chunk_size)
      want = _chunk_size;
    char* chunk = static_cast<char*>(_backing->allocate(want, 4));
    uint32_t got = _backing->allocated_size(chunk);
    if (got == 0)
      got = want;
    _claimed += got;
    *reinterpret_cast<char**>(chunk) = nullptr;
    if (_last_chunk)
      *reinterpret_cast<char**>(_last_chunk) = chunk;
    else
      _first_chunk = chunk;
    _last_chunk = chunk;
    _current = chunk + link;
    _left = int32_t(got - link);
    place();
  }
  reinterpret_cast<uint32_t*>(_current)[-1] = size;
  char* p = _current;
  _current += size;
  _left -= int32_t(size);
  TW_ASSERT(memory_utilities::is_aligned(p, align));
  return p;
}

uint32_t ArenaAllocator::allocated_size(void* p) {
  ScopedCriticalSection lock(_lock, _thread_safe);
  return static_cast<uint32_t*>(p)[-1];
}

void ArenaAllocator::backing_allocators(Vector<Allocator*>& list) { list.push_back(_backing); }

} // namespace foundation
