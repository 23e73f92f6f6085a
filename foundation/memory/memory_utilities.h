// Small address arithmetic used by the allocators.
#pragma once

#include "foundation/platform.h"

namespace foundation {
namespace memory_utilities {

inline bool is_aligned(const void* p, uintptr_t align) { return (uintptr_t(p) & (align - 1)) == 0; }

inline void* align_forward(void* p, uintptr_t align) {
  uintptr_t a = (uintptr_t(p) + align - 1) & ~(align - 1);
  return reinterpret_cast<void*>(a);
}

inline uintptr_t round_up(uintptr_t value, uintptr_t align) { return (value + align - 1) & ~(align - 1); }

inline bool is_power_of_two(uint32_t v) { return v != 0 && (v & (v - 1)) == 0; }

} // namespace memory_utilities
} // namespace foundation
