// Mspace: the two-level segregated-fit heap under HeapAllocator.
//
// An mspace is laid over one given block of memory (its control record sits
// at the start) and serves allocations of any size and power-of-two alignment
// in O(1): free blocks are kept in 25 x 32 size-class lists found through two
// bitmaps, neighbours merge on free, and every block carries one 8-byte size
// word. When no free block fits, the mspace asks the grow callback for
// another region (at least `grow_size` bytes); a grown region that becomes
// entirely free again is handed back through the release callback at once.
// The first region always stays.
//
// Block payloads are 8-byte aligned in both word sizes. The mspace takes no
// locks; HeapAllocator guards it. With memory poisoning on, free payloads are
// marked inaccessible.
#pragma once

#include "foundation/platform.h"

namespace foundation {

struct Mspace;

struct MspaceCallbacks {
  // Returns a region of `size` bytes, 8-byte aligned, or null.
  void* (*grow)(void* user, uint32_t size);
  // Takes back a region that grow returned, with the size asked for then.
  void (*release)(void* user, void* address, uint32_t size);
  void* user;
};

namespace mspace {

// Bytes of a region taken by the control record; a region must be larger.
uint32_t control_size();

// Lays an mspace over [base, base + size). Null when the block is too small.
Mspace* create(void* base, uint32_t size, const MspaceCallbacks& callbacks, uint32_t grow_size);

// Gives every grown region back; the first region stays with its owner.
void destroy(Mspace* m);

// A block of `size` bytes aligned to `align` (a power of two), or null when
// the request can't be met even after growing.
void* allocate(Mspace* m, uint32_t size, uint32_t align);
void free(Mspace* m, void* p);
uint32_t usable_size(const void* p);

// Calls f(payload, usable size, user) for every block in use.
typedef void (*WalkFunction)(void* p, uint32_t size, void* user);
void walk_used(Mspace* m, WalkFunction f, void* user);

// Verifies the block chains, flags, free lists and bitmaps. For tests.
bool check(Mspace* m);

// Number of regions (the first included).
uint32_t region_count(Mspace* m);

} // namespace mspace
} // namespace foundation
