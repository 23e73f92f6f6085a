// RawRingBuffer: a byte ring for blocks that are written and read whole.
//
// A block is never split across the end: when the tail cannot hold it, the
// writer marks where the data ends (the wrap mark) and starts again at 0.
// The comparisons are strict so that the writer never catches up with the
// reader. Writing reserves `size` contiguous bytes and returns where to put
// them; reading returns where `size` contiguous bytes can be read, and
// consume() gives them back.
#pragma once

#include "foundation/error/assert.h"
#include "foundation/memory/allocator.h"

namespace foundation {

class RawRingBuffer {
public:
  RawRingBuffer(Allocator& allocator, uint32_t capacity)
      : _allocator(&allocator), _data(nullptr), _capacity(capacity), _read(0), _write(0), _unconsumed(0), _wrap(0) {
    _data = static_cast<char*>(allocator.allocate(capacity, 4));
  }
  ~RawRingBuffer() { _allocator->deallocate(_data); }
  RawRingBuffer(const RawRingBuffer&) = delete;
  RawRingBuffer& operator=(const RawRingBuffer&) = delete;

  uint32_t capacity() const { return _capacity; }
  uint32_t read_position() const { return _read; }
  uint32_t write_position() const { return _write; }
  uint32_t wrap_mark() const { return _wrap; }
  // Bytes written and not yet consumed.
  uint32_t unconsumed() const { return _unconsumed; }
  // The writer has wrapped to the start and stands behind the reader.
  bool is_wrapped() const { return _write < _read; }

  bool can_fit(uint32_t size) const {
    if (is_wrapped())
      return size < _read - _write;
    return size <= _capacity - _write || size < _read;
  }

  char* write(uint32_t size) {
    TW_ASSERT_MSG(can_fit(size), "RawRingBuffer is full and cannot fit another %d bytes", int(size));
    char* p;
    if (!is_wrapped() && size > _capacity - _write) {
      _wrap = _write;
      p = _data;
      _write = size;
    } else {
      p = _data + _write;
      _write += size;
    }
    _unconsumed += size;
    return p;
  }

  // Bytes that can be read in one contiguous piece.
  uint32_t ready_size() const {
    if (!is_wrapped())
      return _unconsumed;
    if (_read < _wrap)
      return _wrap - _read;
    return _unconsumed;
  }

  const char* read(uint32_t size) {
    TW_ASSERT_MSG(size <= ready_size(), "RawRingBuffer cannot read %d bytes since only %d exists.", int(size),
                  int(ready_size()));
    if (is_wrapped() && _read >= _wrap)
      _read = 0;
    return _data + _read;
  }

  void consume(uint32_t size) {
    _read += size;
    _unconsumed -= size;
  }

  // Test hook: places the positions as if `read` bytes had been consumed and
  // the writer stood at `write` (unwrapped).
  void set_positions_for_test(uint32_t read, uint32_t write) {
    _read = read;
    _write = write;
    _unconsumed = write - read;
    _wrap = 0;
  }

private:
  Allocator* _allocator;
  char* _data;
  uint32_t _capacity;
  uint32_t _read;
  uint32_t _write;
  uint32_t _unconsumed;
  uint32_t _wrap;
};

} // namespace foundation
