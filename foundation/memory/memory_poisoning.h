// Telling AddressSanitizer and valgrind which pool memory is live.
//
// Our pools (slot pages, heap blocks, temp pages) come from large mappings,
// so neither tool can see a use after free or an overflow inside them by
// itself. With TW_MEMORY_POISONING on, the allocators mark memory they hold
// but have not handed out as inaccessible and memory they hand out as
// accessible; the slot allocator also leaves red zones between its slots.
// Without the option every function here is empty and costs nothing.
//
// Memory must be made accessible again before it goes back to a backing
// allocator: a later owner of the same addresses would otherwise trip over
// stale poison.
#pragma once

#include "foundation/platform.h"

#if TW_MEMORY_POISONING
  #if TW_ASAN
extern "C" void __asan_poison_memory_region(void const volatile* addr, size_t size);
extern "C" void __asan_unpoison_memory_region(void const volatile* addr, size_t size);
  #endif
  #if TW_POSIX && __has_include(<valgrind/memcheck.h>)
    #include <valgrind/memcheck.h>
    #define TW_VALGRIND_REQUESTS 1
  #endif
#endif

namespace foundation {
namespace memory_poisoning {

#if TW_MEMORY_POISONING
constexpr bool enabled = true;
#else
constexpr bool enabled = false;
#endif

// Held by an allocator but not handed out: any access is an error.
inline void make_inaccessible(const void* p, size_t size) {
#if TW_MEMORY_POISONING
  #if TW_ASAN
  __asan_poison_memory_region(p, size);
  #endif
  #if defined(TW_VALGRIND_REQUESTS)
  VALGRIND_MAKE_MEM_NOACCESS(p, size);
  #endif
#endif
  (void)p;
  (void)size;
}

// Handed out to a user: accessible, contents undefined.
inline void make_accessible(const void* p, size_t size) {
#if TW_MEMORY_POISONING
  #if TW_ASAN
  __asan_unpoison_memory_region(p, size);
  #endif
  #if defined(TW_VALGRIND_REQUESTS)
  VALGRIND_MAKE_MEM_UNDEFINED(p, size);
  #endif
#endif
  (void)p;
  (void)size;
}

// Read or written by the allocator itself (links, headers): accessible and
// defined, or about to go back to a backing allocator.
inline void make_internal(const void* p, size_t size) {
#if TW_MEMORY_POISONING
  #if TW_ASAN
  __asan_unpoison_memory_region(p, size);
  #endif
  #if defined(TW_VALGRIND_REQUESTS)
  VALGRIND_MAKE_MEM_DEFINED(p, size);
  #endif
#endif
  (void)p;
  (void)size;
}

} // namespace memory_poisoning
} // namespace foundation
