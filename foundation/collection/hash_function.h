// Hashing of keys for the hash tables.
//
// A 32-bit key (an id, or a pointer folded to 32 bits) is mixed with the key
// mix of MurmurHash2: h = k * 0x5BD1E995, h = (h ^ (h >> 24)) * 0x5BD1E995.
// A 64-bit pointer is first folded as low ^ high. Other key types provide
// their own `hash_key` overload found by argument-dependent lookup.
#pragma once

#include "foundation/platform.h"

namespace foundation {

inline uint32_t murmur_mix(uint32_t key) {
  uint32_t h = key * 0x5BD1E995u;
  h = (h ^ (h >> 24)) * 0x5BD1E995u;
  return h;
}

inline uint32_t hash_key(uint32_t key) { return murmur_mix(key); }
inline uint32_t hash_key(int32_t key) { return murmur_mix(uint32_t(key)); }
inline uint32_t hash_key(uint64_t key) { return murmur_mix(uint32_t(key) ^ uint32_t(key >> 32)); }

template <typename T>
inline uint32_t hash_key(T* pointer) {
  uint64_t bits = uint64_t(uintptr_t(pointer));
  return murmur_mix(uint32_t(bits) ^ uint32_t(bits >> 32));
}

} // namespace foundation
