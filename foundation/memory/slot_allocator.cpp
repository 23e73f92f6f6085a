#include "foundation/memory/slot_allocator.h"

#include "foundation/collection/vector.h"
#include "foundation/error/assert.h"
#include "foundation/memory/memory_poisoning.h"
#include "foundation/memory/memory_utilities.h"

#include <stddef.h>

namespace foundation {

namespace {

const uint32_t CLASS_SIZES[SlotAllocator::NUM_SIZE_CLASSES] = {
    4,   8,   12,  16,  20,  24,  28,  32,  36,  40,  48,  56,  64,  72,  80,  96,  112,
    128, 144, 160, 192, 224, 256, 288, 320, 384, 448, 512, 576, 640, 768, 896, 1024};

const uint32_t NO_SLOT = 0xFFFFFFFFu;

uint32_t stride_for(uint32_t slot_size) {
  if (!memory_poisoning::enabled)
    return slot_size;
  uint32_t low_bit = slot_size & (0u - slot_size);
  uint32_t red_zone = low_bit > 16 ? low_bit : 16;
  return uint32_t(memory_utilities::round_up(slot_size, 8)) + red_zone;
}

} // namespace

static_assert(offsetof(SlotAllocator::PageHeader, spare) + 4 == sizeof(SlotAllocator::PageHeader),
              "the spare word must be the page's last word");
#if !TW_64BIT
static_assert(sizeof(SlotAllocator::PageHeader) == 44, "a page header is eleven 32-bit words");
#endif

SlotAllocator::SlotAllocator(const char* name, Allocator& backing, bool thread_safe)
    : Allocator(name), _chunk_size(65536), _page_size(PAGE_SIZE), _backing(&backing),
      _num_size_classes(NUM_SIZE_CLASSES), _thread_safe(thread_safe), _lock(4000), _num_chunks(0),
      _free_pages_head(nullptr), _free_pages_tail(nullptr) {
  // Fit the chunk to the backing allocator's granularity.
  void* probe = backing.allocate(65536, 4);
  uint32_t actual = backing.allocated_size(probe);
  if (actual > 65536)
    _chunk_size = uint32_t(memory_utilities::round_up(actual, PAGE_SIZE));
  backing.deallocate(probe);
  for (int i = 0; i < NUM_SIZE_CLASSES; ++i) {
    SizeClass& c = _size_classes[i];
    c.slot_size = CLASS_SIZES[i];
    c.slots_in_use = 0;
    c.total_slots = 0;
    c.all_head = c.all_tail = nullptr;
    c.free_head = c.free_tail = nullptr;
    c.stride = stride_for(c.slot_size);
  }
  int c = 0;
  for (uint32_t words = 0; words <= 256; ++words) {
    while (CLASS_SIZES[c] < words * 4)
      ++c;
    _class_by_words[words] = uint8_t(c);
  }
}

SlotAllocator::~SlotAllocator() { TW_ASSERT(total_allocated() == 0); }

SlotAllocator::PageHeader* SlotAllocator::header_of_page(char* page) {
  return reinterpret_cast<PageHeader*>(page + PAGE_SIZE - sizeof(PageHeader));
}

char* SlotAllocator::page_of(const void* p) {
  return reinterpret_cast<char*>(uintptr_t(p) & ~uintptr_t(PAGE_SIZE - 1));
}

char* SlotAllocator::chunk_of(const void* p) const {
  return reinterpret_cast<char*>(uintptr_t(p) & ~uintptr_t(_chunk_size - 1));
}

uint32_t& SlotAllocator::chunk_pages_in_use(char* chunk) const {
  return *reinterpret_cast<uint32_t*>(chunk + _chunk_size - 4);
}

int SlotAllocator::size_class_for(uint32_t size, uint32_t align) const {
  if (size > 1024)
    return -1;
  // Classes below the table's answer are too small; from there the first
  // multiple of the alignment wins.
  for (int i = _class_by_words[(size + 3) / 4]; i < _num_size_classes; ++i) {
    uint32_t s = _size_classes[i].slot_size;
    if (align <= 1 || (memory_utilities::is_power_of_two(align) ? (s & (align - 1)) == 0 : s % align == 0))
      return i;
  }
  return -1;
}

uint32_t SlotAllocator::free_page_count() const {
  uint32_t n = 0;
  for (PageHeader* h = _free_pages_head; h; h = h->free_page_next)
    ++n;
  return n;
}

void SlotAllocator::push_free_page(PageHeader* h) {
  h->free_page_prev = nullptr;
  h->free_page_next = _free_pages_head;
  if (_free_pages_head)
    _free_pages_head->free_page_prev = h;
  else
    _free_pages_tail = h;
  _free_pages_head = h;
}

void SlotAllocator::unlink_free_page(PageHeader* h) {
  if (h->free_page_prev)
    h->free_page_prev->free_page_next = h->free_page_next;
  else
    _free_pages_head = h->free_page_next;
  if (h->free_page_next)
    h->free_page_next->free_page_prev = h->free_page_prev;
  else
    _free_pages_tail = h->free_page_prev;
}

SlotAllocator::PageHeader* SlotAllocator::prepare_page(SizeClass& c) {
  if (!_free_pages_head) {
    char* chunk = static_cast<char*>(_backing->allocate(_chunk_size, 4));
    ++_num_chunks;
    TW_ASSERT(memory_utilities::is_aligned(chunk, _chunk_size));
    chunk_pages_in_use(chunk) = 0;
    for (uint32_t offset = 0; offset < _chunk_size; offset += PAGE_SIZE) {
      memory_poisoning::make_inaccessible(chunk + offset, PAGE_SIZE - sizeof(PageHeader));
      push_free_page(header_of_page(chunk + offset));
    }
  }
  PageHeader* h = _free_pages_head;
  unlink_free_page(h);
  char* page = page_of(h);
  h->size_class = &c;
  h->bump = page;
  h->slot_size = c.slot_size;
  h->capacity = (PAGE_SIZE - uint32_t(sizeof(PageHeader))) / c.stride;
  h->free_slots = h->capacity;
  h->free_slot_head = NO_SLOT;
  // Front of the list of all pages and of the pages with a free slot.
  h->prev_all = nullptr;
  h->next_all = c.all_head;
  if (c.all_head)
    c.all_head->prev_all = h;
  else
    c.all_tail = h;
  c.all_head = h;
  h->prev_free = nullptr;
  h->next_free = c.free_head;
  if (c.free_head)
    c.free_head->prev_free = h;
  else
    c.free_tail = h;
  c.free_head = h;
  c.total_slots += h->capacity;
  ++chunk_pages_in_use(chunk_of(page));
  return h;
}

static void unlink_from_free_slots(SlotAllocator::SizeClass& c, SlotAllocator::PageHeader* h) {
  if (h->prev_free)
    h->prev_free->next_free = h->next_free;
  else
    c.free_head = h->next_free;
  if (h->next_free)
    h->next_free->prev_free = h->prev_free;
  else
    c.free_tail = h->prev_free;
  h->prev_free = h->next_free = nullptr;
}

void* SlotAllocator::allocate(uint32_t size, uint32_t align) {
  ScopedCriticalSection lock(_lock, _thread_safe);
  TW_ASSERT(size < max_size() && align < max_align());
  int index = size_class_for(size, align);
  if (index < 0) {
    TW_ASSERT(false);
    return nullptr;
  }
  SizeClass& c = _size_classes[index];
  PageHeader* h = c.free_head ? c.free_head : prepare_page(c);
  ++c.slots_in_use;
  if (--h->free_slots == 0)
    unlink_from_free_slots(c, h);
  char* page = page_of(h);
  char* slot;
  if (h->free_slot_head != NO_SLOT) {
    slot = page + h->free_slot_head;
    memory_poisoning::make_internal(slot, 4);
    h->free_slot_head = *reinterpret_cast<uint32_t*>(slot);
  } else {
    slot = h->bump;
    h->bump += c.stride;
  }
  memory_poisoning::make_accessible(slot, c.slot_size);
  return slot;
}

void SlotAllocator::deallocate(void* p) {
  if (!p)
    return;
  ScopedCriticalSection lock(_lock, _thread_safe);
  char* page = page_of(p);
  PageHeader* h = header_of_page(page);
  SizeClass& c = *h->size_class;
  *static_cast<uint32_t*>(p) = h->free_slot_head;
  h->free_slot_head = uint32_t(static_cast<char*>(p) - page);
  memory_poisoning::make_inaccessible(p, c.stride);
  --c.slots_in_use;
  if (++h->free_slots == 1) {
    h->prev_free = nullptr;
    h->next_free = c.free_head;
    if (c.free_head)
      c.free_head->prev_free = h;
    else
      c.free_tail = h;
    c.free_head = h;
  }
  if (h->free_slots == h->capacity)
    release_page(h);
}

void SlotAllocator::release_page(PageHeader* h) {
  SizeClass& c = *h->size_class;
  c.total_slots -= h->capacity;
  if (h->prev_all)
    h->prev_all->next_all = h->next_all;
  else
    c.all_head = h->next_all;
  if (h->next_all)
    h->next_all->prev_all = h->prev_all;
  else
    c.all_tail = h->prev_all;
  unlink_from_free_slots(c, h);
  char* page = page_of(h);
  memory_poisoning::make_inaccessible(page, PAGE_SIZE - sizeof(PageHeader));
  push_free_page(h);
  char* chunk = chunk_of(page);
  if (--chunk_pages_in_use(chunk) == 0) {
    --_num_chunks;
    for (uint32_t offset = 0; offset < _chunk_size; offset += PAGE_SIZE)
      unlink_free_page(header_of_page(chunk + offset));
    memory_poisoning::make_internal(chunk, _chunk_size);
    _backing->deallocate(chunk);
  }
}

uint32_t SlotAllocator::allocated_size(void* p) {
  if (!p)
    return 0;
  return header_of_page(page_of(p))->slot_size;
}

uint32_t SlotAllocator::total_allocated() {
  ScopedCriticalSection lock(_lock, _thread_safe);
  return _num_chunks * _chunk_size;
}

void SlotAllocator::backing_allocators(Vector<Allocator*>& list) { list.push_back(_backing); }

} // namespace foundation
