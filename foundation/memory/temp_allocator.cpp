#include "foundation/memory/temp_allocator.h"

#include "foundation/error/assert.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/memory_poisoning.h"
#include "foundation/memory/memory_utilities.h"

namespace foundation {

const uint32_t NO_SCOPE = 0xFFFFFFFFu;

TempAllocator::TempAllocator(Allocator& backing, uint32_t min_page_size, uint32_t max_cached_pages)
    : _backing(&backing), _next_id(0), _min_page_size(min_page_size), _pages(memory_globals::default_allocator()),
      _ids(memory_globals::default_allocator()), _max_cached_pages(max_cached_pages),
      _free_pages(memory_globals::default_allocator()), _held_bytes(0), _peak_held_bytes(0) {
  TW_ASSERT(memory_globals::is_inited());
  _free_pages.reserve(max_cached_pages);
}

TempAllocator::~TempAllocator() {
  TW_ASSERT(_pages.empty());
  for (Page& p : _free_pages) {
    memory_poisoning::make_internal(p.start, p.capacity);
    _backing->deallocate(p.start);
  }
}

uint32_t TempAllocator::begin_scope() {
  uint32_t id = _next_id;
  _next_id = _next_id == 0xFFFFFFFEu ? 0 : _next_id + 1;
  _ids.push_back(id);
  return id;
}

void TempAllocator::add_page(uint32_t size, uint32_t id) {
  uint32_t want = size > _min_page_size ? size : _min_page_size;
  if (!_free_pages.empty() && _free_pages.back().capacity >= want) {
    Page p = _free_pages.back();
    _free_pages.pop_back();
    p.used = 0;
    p.oldest_id = id;
    p.newest_id = id;
    _pages.push_back(p);
    return;
  }
  char* start = static_cast<char*>(_backing->allocate(want, 4));
  uint32_t capacity = _backing->allocated_size(start);
  if (capacity == 0)
    capacity = want;
  memory_poisoning::make_inaccessible(start, capacity);
  Page p = {start, capacity, 0, id, id};
  _pages.push_back(p);
  count_new_page(capacity);
}

void TempAllocator::count_new_page(uint32_t capacity) {
  _held_bytes += capacity;
  if (_held_bytes > _peak_held_bytes)
    _peak_held_bytes = _held_bytes;
}

void* TempAllocator::allocate_slow(uint32_t id, uint32_t size, uint32_t align) {
  if (_pages.empty())
    add_page(size, id);
  Page* page = &_pages.back();
  uint32_t used = uint32_t(memory_utilities::round_up(page->used, align ? align : 1));
  if (uint64_t(used) + size > page->capacity) {
    page->used = used < page->capacity ? used : page->capacity;
    add_page(size, id);
    page = &_pages.back();
    used = 0;
  }
  char* block = page->start + used;
  page->used = used + size;
  if (is_later(id, page->newest_id))
    page->newest_id = id;
  if (is_later(page->oldest_id, id))
    page->oldest_id = id;
  memory_poisoning::make_accessible(block, size);
  return block;
}

bool TempAllocator::last_page_is_dead() const {
  if (_pages.empty())
    return false;
  if (_ids.empty())
    return true;
  const Page& last = _pages.back();
  uint32_t oldest_live = _ids.front();
  uint32_t newest_live = _ids.back();
  return is_later(oldest_live, last.newest_id) || is_later(last.oldest_id, newest_live);
}

void TempAllocator::release(uint32_t id) {
  TW_ASSERT(_ids.size() > 0);
  if (_ids.empty())
    return;
  if (_ids.back() == id) {
    _ids.pop_back();
  } else {
    for (uint32_t i = 0; i < _ids.size(); ++i) {
      if (_ids[i] == id) {
        _ids.erase(i);
        break;
      }
    }
  }
  while (last_page_is_dead()) {
    Page p = _pages.back();
    _pages.pop_back();
    memory_poisoning::make_inaccessible(p.start, p.capacity);
    if (_free_pages.size() < _max_cached_pages) {
      _free_pages.push_back(p);
    } else {
      _held_bytes -= p.capacity;
      memory_poisoning::make_internal(p.start, p.capacity);
      _backing->deallocate(p.start);
    }
  }
}

ScopedTempAllocator::ScopedTempAllocator() : Allocator(nullptr), _pool(&memory_globals::thread_temp_allocator()), _id(NO_SCOPE) {}

ScopedTempAllocator::ScopedTempAllocator(TempAllocator& pool) : Allocator(nullptr), _pool(&pool), _id(NO_SCOPE) {}

ScopedTempAllocator::~ScopedTempAllocator() {
  if (_id != NO_SCOPE)
    _pool->release(_id);
}

void ScopedTempAllocator::backing_allocators(Vector<Allocator*>& list) { list.push_back(&_pool->backing()); }

} // namespace foundation
