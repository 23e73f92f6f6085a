#include "foundation/memory/mspace.h"

#include "foundation/memory/memory_poisoning.h"

#include <string.h>

namespace foundation {

namespace {

// Every header slot is 8 bytes wide in both word sizes, so payloads are
// 8-byte aligned everywhere. A block's prev_phys slot is the last 8 bytes of
// the previous block's payload and is valid only while that block is free;
// its size slot lies just before its own payload.
struct Block {
  union {
    Block* prev_phys;
    uint64_t slot0;
  };
  uint64_t size; // payload bytes | BLOCK_FREE | PREV_FREE
  union {
    Block* next_free;
    uint64_t slot2;
  };
  union {
    Block* prev_free;
    uint64_t slot3;
  };
};

const uint64_t BLOCK_FREE = 1;
const uint64_t PREV_FREE = 2;
const uint32_t ALIGN = 8;
const uint32_t PAYLOAD_OFFSET = 16; // from the block record to its payload
const uint32_t OVERHEAD = 8;        // bytes a used block costs beyond its payload
const uint32_t MIN_PAYLOAD = 24;    // two free links and the next block's prev_phys
const uint32_t GAP_MINIMUM = 32;    // smallest leading block split off for alignment

const int SL_LOG2 = 5;
const int SL_COUNT = 1 << SL_LOG2;
const int FL_SHIFT = SL_LOG2 + 3;
const int FL_MAX = 32;
const int FL_COUNT = FL_MAX - FL_SHIFT + 1;
const uint32_t SMALL_BLOCK = 1u << FL_SHIFT;
const uint32_t MAX_REQUEST = 0x80000000u;

// A region: the pool record, then its first block, then an empty sentinel
// block at the very end.
struct Pool {
  union {
    Pool* next;
    uint64_t slot0;
  };
  uint64_t size;
  uint64_t first_prev_phys; // the first block's prev_phys slot, never used
};
const uint32_t POOL_OVERHEAD = 40; // pool record, first block's size, sentinel's size

int fls32(uint32_t v) { return 31 - __builtin_clz(v); }
int ffs32(uint32_t v) { return __builtin_ctz(v); }

inline uint32_t block_size(const Block* b) { return uint32_t(b->size & ~uint64_t(3)); }
inline void set_size(Block* b, uint32_t s) { b->size = s | (b->size & 3); }
inline bool is_free(const Block* b) { return (b->size & BLOCK_FREE) != 0; }
inline bool is_prev_free(const Block* b) { return (b->size & PREV_FREE) != 0; }
inline bool is_last(const Block* b) { return block_size(b) == 0; }
inline char* payload(Block* b) { return reinterpret_cast<char*>(b) + PAYLOAD_OFFSET; }
inline Block* from_payload(const void* p) {
  return reinterpret_cast<Block*>(const_cast<char*>(static_cast<const char*>(p)) - PAYLOAD_OFFSET);
}
inline Block* offset_block(void* p, intptr_t bytes) { return reinterpret_cast<Block*>(static_cast<char*>(p) + bytes); }
inline Block* next_phys(Block* b) { return offset_block(payload(b), intptr_t(block_size(b)) - intptr_t(OVERHEAD)); }
inline Block* first_block(Pool* pool) { return offset_block(pool, 16); }

inline Block* link_next(Block* b) {
  Block* next = next_phys(b);
  next->prev_phys = b;
  return next;
}

void mapping_insert(uint32_t size, int& fl, int& sl) {
  if (size < SMALL_BLOCK) {
    fl = 0;
    sl = int(size / (SMALL_BLOCK / SL_COUNT));
  } else {
    int f = fls32(size);
    sl = int(size >> (f - SL_LOG2)) ^ SL_COUNT;
    fl = f - (FL_SHIFT - 1);
  }
}

void mapping_search(uint32_t size, int& fl, int& sl) {
  if (size >= SMALL_BLOCK)
    size += (1u << (fls32(size) - SL_LOG2)) - 1;
  mapping_insert(size, fl, sl);
}

} // namespace

struct Mspace {
  Block null_block; // the end of every free list
  uint32_t fl_bitmap;
  uint32_t sl_bitmap[FL_COUNT];
  Block* blocks[FL_COUNT][SL_COUNT];
  MspaceCallbacks callbacks;
  uint32_t grow_size;
  Pool* pools; // grown regions, newest first
  Pool* first_pool;
};

namespace {

void remove_free_block(Mspace* m, Block* b, int fl, int sl) {
  Block* prev = b->prev_free;
  Block* next = b->next_free;
  next->prev_free = prev;
  prev->next_free = next;
  if (m->blocks[fl][sl] == b) {
    m->blocks[fl][sl] = next;
    if (next == &m->null_block) {
      m->sl_bitmap[fl] &= ~(1u << sl);
      if (!m->sl_bitmap[fl])
        m->fl_bitmap &= ~(1u << fl);
    }
  }
}

void insert_free_block(Mspace* m, Block* b, int fl, int sl) {
  Block* current = m->blocks[fl][sl];
  b->next_free = current;
  b->prev_free = &m->null_block;
  current->prev_free = b;
  m->blocks[fl][sl] = b;
  m->fl_bitmap |= 1u << fl;
  m->sl_bitmap[fl] |= 1u << sl;
}

// Takes a free block out of its list; its whole payload becomes ours to touch.
void block_remove(Mspace* m, Block* b) {
  int fl, sl;
  mapping_insert(block_size(b), fl, sl);
  remove_free_block(m, b, fl, sl);
  memory_poisoning::make_internal(payload(b), block_size(b));
}

// Puts a free block into its list; all of its payload but the links and the
// next block's prev_phys slot becomes inaccessible.
void block_insert(Mspace* m, Block* b) {
  int fl, sl;
  mapping_insert(block_size(b), fl, sl);
  insert_free_block(m, b, fl, sl);
  memory_poisoning::make_inaccessible(payload(b) + 16, block_size(b) - MIN_PAYLOAD);
}

void mark_as_free(Block* b) {
  Block* next = link_next(b);
  next->size |= PREV_FREE;
  b->size |= BLOCK_FREE;
}

void mark_as_used(Block* b) {
  Block* next = next_phys(b);
  next->size &= ~PREV_FREE;
  b->size &= ~BLOCK_FREE;
}

bool can_split(Block* b, uint32_t size) { return block_size(b) >= sizeof(Block) + size; }

Block* split(Block* b, uint32_t size) {
  Block* remaining = offset_block(payload(b), intptr_t(size) - intptr_t(OVERHEAD));
  uint32_t remaining_size = block_size(b) - (size + OVERHEAD);
  remaining->size = remaining_size;
  set_size(b, size);
  mark_as_free(remaining);
  return remaining;
}

Block* absorb(Block* prev, Block* b) {
  set_size(prev, block_size(prev) + block_size(b) + OVERHEAD);
  link_next(prev);
  return prev;
}

Block* merge_prev(Mspace* m, Block* b) {
  if (is_prev_free(b)) {
    Block* prev = b->prev_phys;
    block_remove(m, prev);
    b = absorb(prev, b);
  }
  return b;
}

Block* merge_next(Mspace* m, Block* b) {
  Block* next = next_phys(b);
  if (is_free(next)) {
    block_remove(m, next);
    b = absorb(b, next);
  }
  return b;
}

void trim_free(Mspace* m, Block* b, uint32_t size) {
  if (can_split(b, size)) {
    Block* remaining = split(b, size);
    link_next(b);
    remaining->size |= PREV_FREE;
    block_insert(m, remaining);
  }
}

Block* trim_free_leading(Mspace* m, Block* b, uint32_t size) {
  Block* remaining = b;
  if (can_split(b, size)) {
    remaining = split(b, size - OVERHEAD);
    remaining->size |= PREV_FREE;
    link_next(b);
    block_insert(m, b);
  }
  return remaining;
}

Block* locate_free(Mspace* m, uint32_t size) {
  int fl, sl;
  mapping_search(size, fl, sl);
  if (fl >= FL_COUNT)
    return nullptr;
  uint32_t sl_map = m->sl_bitmap[fl] & (~0u << sl);
  if (!sl_map) {
    uint32_t fl_map = fl + 1 < 32 ? m->fl_bitmap & (~0u << (fl + 1)) : 0;
    if (!fl_map)
      return nullptr;
    fl = ffs32(fl_map);
    sl_map = m->sl_bitmap[fl];
  }
  sl = ffs32(sl_map);
  Block* b = m->blocks[fl][sl];
  remove_free_block(m, b, fl, sl);
  memory_poisoning::make_internal(payload(b), block_size(b));
  return b;
}

void* prepare_used(Mspace* m, Block* b, uint32_t size) {
  trim_free(m, b, size);
  mark_as_used(b);
  memory_poisoning::make_accessible(payload(b), block_size(b));
  return payload(b);
}

uint32_t adjust_request(uint32_t size, uint32_t align) {
  if (size == 0 || size >= MAX_REQUEST)
    return 0;
  uint32_t aligned = (size + align - 1) & ~(align - 1);
  if (aligned >= MAX_REQUEST)
    return 0;
  return aligned < MIN_PAYLOAD ? MIN_PAYLOAD : aligned;
}

void add_pool(Mspace* m, void* memory, uint32_t size) {
  memory_poisoning::make_internal(memory, size);
  Pool* pool = static_cast<Pool*>(memory);
  pool->next = nullptr;
  pool->size = size;
  Block* b = first_block(pool);
  b->size = (size - POOL_OVERHEAD) | BLOCK_FREE;
  block_insert(m, b);
  Block* sentinel = link_next(b);
  sentinel->size = PREV_FREE;
}

// Asks for a region that can hold a free block of `payload_size` bytes.
bool grow(Mspace* m, uint32_t payload_size) {
  if (!m->callbacks.grow)
    return false;
  // The search rounds a request up to the start of the next size class; the
  // new region's free block must reach at least that far to be found.
  uint64_t search = payload_size;
  if (search >= SMALL_BLOCK)
    search += (uint64_t(1) << (fls32(payload_size) - SL_LOG2)) - 1;
  uint64_t need = search + POOL_OVERHEAD + ALIGN;
  need = (need + 65535) & ~uint64_t(65535);
  if (need < m->grow_size)
    need = m->grow_size;
  if (need >= 0xFFFFFFFFull)
    return false;
  void* memory = m->callbacks.grow(m->callbacks.user, uint32_t(need));
  if (!memory)
    return false;
  add_pool(m, memory, uint32_t(need));
  Pool* pool = static_cast<Pool*>(memory);
  pool->next = m->pools;
  m->pools = pool;
  return true;
}

// Gives a grown region back when `b` now spans it whole.
bool release_if_whole_region(Mspace* m, Block* b) {
  if (!is_last(next_phys(b)))
    return false;
  Pool** link = &m->pools;
  while (*link) {
    Pool* pool = *link;
    if (first_block(pool) == b) {
      *link = pool->next;
      uint32_t size = uint32_t(pool->size);
      memory_poisoning::make_internal(pool, size);
      m->callbacks.release(m->callbacks.user, pool, size);
      return true;
    }
    link = &pool->next;
  }
  return false;
}

template <typename F>
void for_each_region(Mspace* m, F f) {
  f(m->first_pool);
  for (Pool* p = m->pools; p; p = p->next)
    f(p);
}

} // namespace

namespace mspace {

uint32_t control_size() { return uint32_t((sizeof(Mspace) + ALIGN - 1) & ~size_t(ALIGN - 1)); }

Mspace* create(void* base, uint32_t size, const MspaceCallbacks& callbacks, uint32_t grow_size) {
  uintptr_t start = (uintptr_t(base) + ALIGN - 1) & ~uintptr_t(ALIGN - 1);
  uint32_t lost = uint32_t(start - uintptr_t(base));
  if (size < lost + control_size() + POOL_OVERHEAD + MIN_PAYLOAD + ALIGN)
    return nullptr;
  memory_poisoning::make_internal(base, size);
  Mspace* m = reinterpret_cast<Mspace*>(start);
  memset(static_cast<void*>(m), 0, sizeof(Mspace));
  m->null_block.next_free = &m->null_block;
  m->null_block.prev_free = &m->null_block;
  for (int i = 0; i < FL_COUNT; ++i)
    for (int j = 0; j < SL_COUNT; ++j)
      m->blocks[i][j] = &m->null_block;
  m->callbacks = callbacks;
  m->grow_size = grow_size;
  m->pools = nullptr;
  uint32_t pool_size = (size - lost - control_size()) & ~(ALIGN - 1);
  void* pool = reinterpret_cast<char*>(m) + control_size();
  add_pool(m, pool, pool_size);
  m->first_pool = static_cast<Pool*>(pool);
  return m;
}

void destroy(Mspace* m) {
  while (Pool* pool = m->pools) {
    m->pools = pool->next;
    uint32_t size = uint32_t(pool->size);
    memory_poisoning::make_internal(pool, size);
    m->callbacks.release(m->callbacks.user, pool, size);
  }
  Pool* first = m->first_pool;
  memory_poisoning::make_internal(first, size_t(first->size));
}

void* allocate(Mspace* m, uint32_t size, uint32_t align) {
  uint32_t adjusted = adjust_request(size, ALIGN);
  if (!adjusted)
    return nullptr;
  if (align <= ALIGN) {
    Block* b = locate_free(m, adjusted);
    if (!b && grow(m, adjusted))
      b = locate_free(m, adjusted);
    return b ? prepare_used(m, b, adjusted) : nullptr;
  }
  // Room for the request, the alignment and a leading block to split off.
  uint64_t with_gap = uint64_t(adjusted) + align + GAP_MINIMUM;
  with_gap = (with_gap + align - 1) & ~uint64_t(align - 1);
  if (with_gap >= MAX_REQUEST)
    return nullptr;
  Block* b = locate_free(m, uint32_t(with_gap));
  if (!b && grow(m, uint32_t(with_gap)))
    b = locate_free(m, uint32_t(with_gap));
  if (!b)
    return nullptr;
  uintptr_t start = uintptr_t(payload(b));
  uintptr_t aligned = (start + align - 1) & ~uintptr_t(align - 1);
  uintptr_t gap = aligned - start;
  if (gap && gap < GAP_MINIMUM) {
    uintptr_t remain = GAP_MINIMUM - gap;
    uintptr_t offset = remain > align ? remain : align;
    aligned = (aligned + offset + align - 1) & ~uintptr_t(align - 1);
    gap = aligned - start;
  }
  if (gap)
    b = trim_free_leading(m, b, uint32_t(gap));
  return prepare_used(m, b, adjusted);
}

void free(Mspace* m, void* p) {
  if (!p)
    return;
  Block* b = from_payload(p);
  memory_poisoning::make_internal(p, block_size(b));
  mark_as_free(b);
  b = merge_prev(m, b);
  b = merge_next(m, b);
  if (release_if_whole_region(m, b))
    return;
  block_insert(m, b);
}

uint32_t usable_size(const void* p) { return block_size(from_payload(p)); }

void walk_used(Mspace* m, WalkFunction f, void* user) {
  for_each_region(m, [&](Pool* pool) {
    for (Block* b = first_block(pool); !is_last(b); b = next_phys(b))
      if (!is_free(b))
        f(payload(b), block_size(b), user);
  });
}

uint32_t region_count(Mspace* m) {
  uint32_t n = 0;
  for_each_region(m, [&](Pool*) { ++n; });
  return n;
}

bool check(Mspace* m) {
  bool ok = true;
  uint32_t free_in_chains = 0;
  for_each_region(m, [&](Pool* pool) {
    bool prev_free = false;
    Block* b = first_block(pool);
    uintptr_t end = uintptr_t(pool) + uintptr_t(pool->size);
    while (!is_last(b)) {
      if (uintptr_t(payload(b)) % ALIGN != 0 || uintptr_t(next_phys(b)) >= end)
        ok = false;
      if (is_prev_free(b) != prev_free)
        ok = false;
      if (is_free(b)) {
        if (prev_free)
          ok = false; // two free neighbours should have merged
        if (next_phys(b)->prev_phys != b)
          ok = false;
        ++free_in_chains;
      }
      prev_free = is_free(b);
      b = next_phys(b);
    }
    if (is_prev_free(b) != prev_free || uintptr_t(b) + 16 != end)
      ok = false;
  });
  uint32_t free_in_lists = 0;
  for (int i = 0; i < FL_COUNT; ++i) {
    bool fl_bit = (m->fl_bitmap >> i) & 1;
    if (fl_bit != (m->sl_bitmap[i] != 0))
      ok = false;
    for (int j = 0; j < SL_COUNT; ++j) {
      bool sl_bit = (m->sl_bitmap[i] >> j) & 1;
      Block* b = m->blocks[i][j];
      if (sl_bit != (b != &m->null_block))
        ok = false;
      for (; b != &m->null_block; b = b->next_free) {
        int fl, sl;
        mapping_insert(block_size(b), fl, sl);
        if (fl != i || sl != j || !is_free(b))
          ok = false;
        ++free_in_lists;
      }
    }
  }
  return ok && free_in_lists == free_in_chains;
}

} // namespace mspace
} // namespace foundation
