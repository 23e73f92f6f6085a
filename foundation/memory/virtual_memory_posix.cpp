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

// Released blocks kept mapped for reuse, newest last: up to 64 MiB in all,
// in as many blocks as that holds (a thousand 64 KiB slot chunks, so that a
// document freed and built again does not fault its chunks in anew).
const uint32_t CACHE_ENTRIES = 1024;
const uint32_t CACHE_MAX_BLOCK = 64u << 20;
const uint32_t CACHE_MAX_TOTAL = 64u << 20;
struct CachedRegion {
  uintptr_t address;
  uint32_t size;
};
CachedRegion g_cache[CACHE_ENTRIES];
uint32_t g_cache_count = 0;
uint32_t g_cache_bytes = 0;

// Small blocks are cut from larger mappings, one after another: one system
// call maps room for a hundred of them, where mapping each alone takes
// three (the mapping, and trimming both its ends to the alignment). Each
// block is still its own region, given back on its own (munmap takes any
// part of a mapping).
const uint32_t CARVED_MAX_BLOCK = 256u << 10;
const size_t CARVE_CHUNK = size_t(8) << 20;
uintptr_t g_carve_next = 0;
uintptr_t g_carve_end = 0;

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

namespace {

bool enter_region(uintptr_t address, uint32_t size) {
  if ((g_table.used + 1) * 2 > g_table.capacity && !grow_table())
    return false;
  insert_into(g_table.slots, g_table.capacity, address, size);
  ++g_table.used;
  ++g_table.live;
  return true;
}

// A cached block of exactly `size` bytes, or 0.
uintptr_t take_cached(uint32_t size) {
  for (uint32_t i = g_cache_count; i-- > 0;) {
    if (g_cache[i].size == size) {
      uintptr_t address = g_cache[i].address;
      g_cache[i] = g_cache[--g_cache_count];
      g_cache_bytes -= size;
      return address;
    }
  }
  return 0;
}

bool put_cached(uintptr_t address, uint32_t size) {
  if (size > CACHE_MAX_BLOCK)
    return false;
  while (g_cache_count > 0 && (g_cache_count == CACHE_ENTRIES || g_cache_bytes + size > CACHE_MAX_TOTAL)) {
    // Make room by unmapping the oldest.
    CachedRegion oldest = g_cache[0];
    for (uint32_t i = 1; i < g_cache_count; ++i)
      g_cache[i - 1] = g_cache[i];
    --g_cache_count;
    g_cache_bytes -= oldest.size;
    munmap(reinterpret_cast<void*>(oldest.address), oldest.size);
  }
  g_cache[g_cache_count].address = address;
  g_cache[g_cache_count].size = size;
  ++g_cache_count;
  g_cache_bytes += size;
  return true;
}

// `size` bytes mapped at a multiple of `align` (a power of two): one
// alignment unit more is mapped and both ends trimmed to the boundary.
// 0 when the system has no room.
uintptr_t map_aligned(size_t size, size_t align, int flags) {
  size_t mapped = size + align;
  void* p = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | flags, -1, 0);
  if (p == MAP_FAILED)
    return 0;
  uintptr_t start = uintptr_t(p);
  uintptr_t aligned = (start + align - 1) & ~uintptr_t(align - 1);
  if (aligned > start)
    munmap(p, aligned - start);
  if (start + mapped > aligned + size)
    munmap(reinterpret_cast<void*>(aligned + size), start + mapped - (aligned + size));
  return aligned;
}

} // namespace

void* allocate(uint32_t size) {
  const size_t g = granularity();
  size_t rounded = (size_t(size) + g - 1) & ~(g - 1);
  if (rounded == 0 || rounded > 0xFFFFFFFFu - g)
    return nullptr;
  {
    ScopedCriticalSection lock(table_lock());
    if (uintptr_t cached = take_cached(uint32_t(rounded))) {
      if (enter_region(cached, uint32_t(rounded)))
        return reinterpret_cast<void*>(cached);
      munmap(reinterpret_cast<void*>(cached), rounded);
      return nullptr;
    }
    if (rounded <= CARVED_MAX_BLOCK) {
      if (g_carve_end - g_carve_next < rounded) {
        // What is left of the last chunk is given back; a new one, aligned.
        if (g_carve_end > g_carve_next)
          munmap(reinterpret_cast<void*>(g_carve_next), g_carve_end - g_carve_next);
        g_carve_next = g_carve_end = 0;
        uintptr_t aligned = map_aligned(CARVE_CHUNK, g, 0);
        if (!aligned)
          return nullptr;
        g_carve_next = aligned;
        g_carve_end = aligned + CARVE_CHUNK;
      }
      uintptr_t block = g_carve_next;
      if (!enter_region(block, uint32_t(rounded)))
        return nullptr;
      g_carve_next += rounded;
      return reinterpret_cast<void*>(block);
    }
  }
  // A mapping of its own. Blocks from 256 KiB up to a few megabytes are filled in one go: whoever asks
  // for whole pages uses them, and one system call is far cheaper than a
  // fault on every page. Blocks of several megabytes are aligned to the
  // 2 MiB of a huge page, which the system may use for them where it has
  // one ready; they are not asked for huge pages (MADV_HUGEPAGE): where the
  // system compacts memory on demand for such a request, a first touch
  // waits for it, measured at seconds per gigabyte on a fragmented machine
  // against a third of a second for small pages. Nor are they filled in
  // advance, which would make the system find all their memory at once.
  const size_t huge = size_t(2) << 20;
  bool large = rounded >= 2 * huge;
  size_t align = large ? huge : g;
  int populate = !large && rounded >= (256u << 10) ? MAP_POPULATE : 0;
  uintptr_t aligned = map_aligned(rounded, align, populate);
  if (!aligned)
    return nullptr;

  ScopedCriticalSection lock(table_lock());
  if (!enter_region(aligned, uint32_t(rounded))) {
    munmap(reinterpret_cast<void*>(aligned), rounded);
    return nullptr;
  }
  return reinterpret_cast<void*>(aligned);
}

bool release(void* p) {
  ScopedCriticalSection lock(table_lock());
  Region* r = lookup(uintptr_t(p));
  if (!r)
    return false;
  uint32_t size = r->size;
  r->address = 1;
  r->size = 0;
  --g_table.live;
  if (put_cached(uintptr_t(p), size))
    return true;
  return munmap(p, size) == 0;
}

uint32_t region_size(void* p) {
  ScopedCriticalSection lock(table_lock());
  Region* r = lookup(uintptr_t(p));
  return r ? r->size : 0;
}

} // namespace virtual_memory
} // namespace foundation
