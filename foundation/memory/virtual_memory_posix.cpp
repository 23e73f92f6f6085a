// POSIX pages: mmap with 64 KiB alignment and a table of block sizes.
//
// The table is an open-addressing hash from block address to size whose
// storage is itself mapped directly, so it never calls back into an allocator.
#include "foundation/memory/virtual_memory.h"

#include "foundation/thread/critical_section.h"

#include <sys/mman.h>
#include <unistd.h>

namespace foundation {
namespace virtual_memory {

namespace {

const uint32_t GRANULARITY = 65536;

struct Region {
  uintptr_t address; // 0: empty, 1: deleted
  uint32_t size;
};

struct RegionTable {
  Region* slots = nullptr;
  uint32_t capacity = 0; // a power of two
  uint32_t used = 0;     // live and deleted slots
  uint32_t live = 0;
};

RegionTable g_table;

CriticalSection& table_lock() {
  static CriticalSection cs(4000);
  return cs;
}

uint32_t slot_of(uintptr_t address, uint32_t capacity) {
  uint64_t h = uint64_t(address >> 16) * 0x9E3779B97F4A7C15ull;
  return uint32_t(h >> 32) & (capacity - 1);
}

void insert_into(Region* slots, uint32_t capacity, uintptr_t address, uint32_t size) {
  uint32_t i = slot_of(address, capacity);
  while (slots[i].address > 1)
    i = (i + 1) & (capacity - 1);
  slots[i].address = address;
  slots[i].size = size;
}

bool grow_table() {
  uint32_t capacity = g_table.capacity ? g_table.capacity * 2 : 1024;
  if (g_table.live * 4 < g_table.capacity)
    capacity = g_table.capacity; // mostly deleted slots: rebuild at the same size
  size_t bytes = size_t(capacity) * sizeof(Region);
  void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED)
    return false;
  Region* slots = static_cast<Region*>(p);
  for (uint32_t i = 0; i < g_table.capacity; ++i)
    if (g_table.slots[i].address > 1)
      insert_into(slots, capacity, g_table.slots[i].address, g_table.slots[i].size);
  if (g_table.slots)
    munmap(g_table.slots, size_t(g_table.capacity) * sizeof(Region));
  g_table.slots = slots;
  g_table.capacity = capacity;
  g_table.used = g_table.live;
  return true;
}

Region* lookup(uintptr_t address) {
  if (!g_table.capacity)
    return nullptr;
  uint32_t i = slot_of(address, g_table.capacity);
  while (g_table.slots[i].address != 0) {
    if (g_table.slots[i].address == address)
      return &g_table.slots[i];
    i = (i + 1) & (g_table.capacity - 1);
  }
  return nullptr;
}

} // namespace

uint32_t granularity() {
  long page = sysconf(_SC_PAGESIZE);
  return page > long(GRANULARITY) ? uint32_t(page) : GRANULARITY;
}

void* allocate(uint32_t size) {
  const size_t g = granularity();
  size_t rounded = (size_t(size) + g - 1) & ~(g - 1);
  if (rounded == 0 || rounded > 0xFFFFFFFFu - g)
    return nullptr;
  // Map one granule more and trim both ends to a granule boundary.
  size_t mapped = rounded + g;
  void* p = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED)
    return nullptr;
  uintptr_t start = uintptr_t(p);
  uintptr_t aligned = (start + g - 1) & ~uintptr_t(g - 1);
  if (aligned > start)
    munmap(p, aligned - start);
  uintptr_t end = aligned + rounded;
  uintptr_t mapped_end = start + mapped;
  if (mapped_end > end)
    munmap(reinterpret_cast<void*>(end), mapped_end - end);

  ScopedCriticalSection lock(table_lock());
  if ((g_table.used + 1) * 2 > g_table.capacity && !grow_table()) {
    munmap(reinterpret_cast<void*>(aligned), rounded);
    return nullptr;
  }
  insert_into(g_table.slots, g_table.capacity, aligned, uint32_t(rounded));
  ++g_table.used;
  ++g_table.live;
  return reinterpret_cast<void*>(aligned);
}

bool release(void* p) {
  size_t size;
  {
    ScopedCriticalSection lock(table_lock());
    Region* r = lookup(uintptr_t(p));
    if (!r)
      return false;
    size = r->size;
    r->address = 1;
    r->size = 0;
    --g_table.live;
  }
  return munmap(p, size) == 0;
}

uint32_t region_size(void* p) {
  ScopedCriticalSection lock(table_lock());
  Region* r = lookup(uintptr_t(p));
  return r ? r->size : 0;
}

} // namespace virtual_memory
} // namespace foundation
