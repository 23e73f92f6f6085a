// MurmurHash2 (32-bit) and MurmurHash64A (64-bit) of byte blocks.
//
// The 32-bit hash places byte blocks in hash tables; the 64-bit one makes
// IdString64 and IdString32 identifiers (foundation/utility/id_string).
// Blocks are read little-endian, so the values are the same everywhere.
#pragma once

#include "foundation/platform.h"

namespace foundation {

uint32_t murmur_hash(const void* key, uint32_t length, uint32_t seed);
uint64_t murmur_hash_64(const void* key, uint32_t length, uint64_t seed);

} // namespace foundation
