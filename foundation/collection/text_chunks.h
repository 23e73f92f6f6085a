// TextChunks: a long text kept as a list of blocks, for writers that append
// a lot and then hand the text on in one go (to a file).
//
// Unlike a growing vector it never copies what was written and never holds
// more than one partly filled block beyond the text: a 200 MB document
// takes 200 MB, not up to twice that while it grows. A new block is an
// eighth of the text so far, from 256 KiB up to 4 MiB (so what is left
// unused stays below an eighth, or 256 KiB), or larger when one piece needs it.
#pragma once

#include "foundation/collection/vector.h"
#include "foundation/memory/allocator.h"

namespace foundation {

class TextChunks {
public:
  static constexpr uint32_t SMALLEST_BLOCK = 256u << 10;
  static constexpr uint32_t LARGEST_BLOCK = 4u << 20;

  struct Block {
    char* data;
    uint32_t used;
    uint32_t capacity;
  };

  explicit TextChunks(Allocator& allocator) : _allocator(&allocator), _blocks(allocator), _size(0) {}
  ~TextChunks() { clear(); }
  TextChunks(const TextChunks&) = delete;
  TextChunks& operator=(const TextChunks&) = delete;

  uint64_t size() const { return _size; }
  uint32_t block_count() const { return _blocks.size(); }
  const Block& block(uint32_t i) const { return _blocks[i]; }

  // Room for at least `n` bytes after the text: where it starts, and (in
  // `end`) where it ends. Write into it, then commit where the text ends.
  char* room(uint32_t n, char** end) {
    if (_blocks.empty() || _blocks.back().capacity - _blocks.back().used < n) {
      uint64_t eighth = _size / 8;
      uint32_t capacity = SMALLEST_BLOCK;
      while (capacity < LARGEST_BLOCK && capacity * 2u <= eighth)
        capacity *= 2;
      if (capacity < n)
        capacity = n;
      Block b = {static_cast<char*>(_allocator->allocate(capacity, 1)), 0, capacity};
      _blocks.push_back(b);
    }
    Block& last = _blocks.back();
    *end = last.data + last.capacity;
    return last.data + last.used;
  }
  // The text now ends at `text_end`, inside the room given last.
  void commit(char* text_end) {
    Block& last = _blocks.back();
    uint32_t used = uint32_t(text_end - last.data);
    _size += used - last.used;
    last.used = used;
  }

  void clear() {
    for (uint32_t i = 0; i < _blocks.size(); ++i)
      _allocator->deallocate(_blocks[i].data);
    _blocks.clear();
    _size = 0;
  }

private:
  Allocator* _allocator;
  Vector<Block> _blocks;
  uint64_t _size;
};

} // namespace foundation
