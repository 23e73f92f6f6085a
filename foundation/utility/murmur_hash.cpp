#include "foundation/utility/murmur_hash.h"

#include <string.h>

namespace foundation {

namespace {
inline uint32_t load32(const unsigned char* p) {
  return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
inline uint64_t load64(const unsigned char* p) { return uint64_t(load32(p)) | (uint64_t(load32(p + 4)) << 32); }
} // namespace

uint32_t murmur_hash(const void* key, uint32_t length, uint32_t seed) {
  const uint32_t m = 0x5BD1E995u;
  const int r = 24;
  uint32_t h = seed ^ length;
  const unsigned char* data = static_cast<const unsigned char*>(key);
  while (length >= 4) {
    uint32_t k = load32(data);
    k *= m;
    k ^= k >> r;
    k *= m;
    h *= m;
    h ^= k;
    data += 4;
    length -= 4;
  }
  switch (length) {
  case 3:
    h ^= uint32_t(data[2]) << 16;
    [[fallthrough]];
  case 2:
    h ^= uint32_t(data[1]) << 8;
    [[fallthrough]];
  case 1:
    h ^= uint32_t(data[0]);
    h *= m;
  }
  h ^= h >> 13;
  h *= m;
  h ^= h >> 15;
  return h;
}

uint64_t murmur_hash_64(const void* key, uint32_t length, uint64_t seed) {
  const uint64_t m = 0xC6A4A7935BD1E995ull;
  const int r = 47;
  uint64_t h = seed ^ (uint64_t(length) * m);
  const unsigned char* data = static_cast<const unsigned char*>(key);
  uint32_t blocks = length / 8;
  for (uint32_t i = 0; i < blocks; ++i) {
    uint64_t k = load64(data + 8 * i);
    k *= m;
    k ^= k >> r;
    k *= m;
    h ^= k;
    h *= m;
  }
  const unsigned char* tail = data + 8 * blocks;
  switch (length & 7) {
  case 7:
    h ^= uint64_t(tail[6]) << 48;
    [[fallthrough]];
  case 6:
    h ^= uint64_t(tail[5]) << 40;
    [[fallthrough]];
  case 5:
    h ^= uint64_t(tail[4]) << 32;
    [[fallthrough]];
  case 4:
    h ^= uint64_t(tail[3]) << 24;
    [[fallthrough]];
  case 3:
    h ^= uint64_t(tail[2]) << 16;
    [[fallthrough]];
  case 2:
    h ^= uint64_t(tail[1]) << 8;
    [[fallthrough]];
  case 1:
    h ^= uint64_t(tail[0]);
    h *= m;
  }
  h ^= h >> r;
  h *= m;
  h ^= h >> r;
  return h;
}

} // namespace foundation
