// Vector: a growable array that takes its storage from an Allocator.
//
// Layout: size, capacity, data, allocator. A push that does not fit grows the
// capacity to 2 * capacity + 10; growing to at least n elements (resize,
// bulk appends) takes max(2 * capacity + 10, n); reserve(n) takes exactly n.
// Storage is aligned to max(4, alignof(T)). The growth is worked out in 64
// bits and never exceeds what one allocation can hold (just under 4 GiB of
// elements); needing more reports "Vector too large" instead of wrapping.
//
// Elements that take an Allocator (strings, nested containers, config values)
// are constructed with the vector's own allocator, so that a vector and all
// it holds draw from one allocator; copies into it are copies onto that
// allocator. Plain types are zeroed when constructed. Elements are relocated
// by move when the storage changes.
#pragma once

#include "foundation/error/assert.h"
#include "foundation/memory/allocator.h"

#include <string.h>
#include <type_traits>
#include <utility>

namespace foundation {

// Types whose objects may be moved to another address by copying their bytes
// (no pointers into themselves): plain types, and types that say so by
// specialising this (strings, vectors, config values hold only pointers to
// storage elsewhere). Vectors relocate such elements with one memcpy.
template <typename T, typename = void>
struct is_trivially_relocatable : std::is_trivially_copyable<T> {};

// A record may also declare itself so with a member
// `static constexpr bool TRIVIALLY_RELOCATABLE = true;`.
template <typename T>
struct is_trivially_relocatable<T, std::enable_if_t<T::TRIVIALLY_RELOCATABLE>> : std::true_type {};

namespace container_detail {

template <typename T>
constexpr bool takes_allocator = std::is_constructible<T, Allocator&>::value;

template <typename T>
inline void construct_default(T* p, Allocator& a) {
  if constexpr (takes_allocator<T>)
    new (p) T(a);
  else
    new (p) T();
}

template <typename T>
inline void construct_copy(T* p, const T& value, Allocator& a) {
  if constexpr (takes_allocator<T>) {
    new (p) T(a);
    *p = value;
  } else {
    new (p) T(value);
  }
}

template <typename T>
inline void construct_move(T* p, T&& value, Allocator& a) {
  if constexpr (takes_allocator<T>) {
    new (p) T(a);
    *p = std::move(value);
  } else {
    new (p) T(std::move(value));
  }
}

// Storage of one container is at most this many bytes: an allocation's size
// is a 32-bit number, and a page is kept back for the allocators' headers.
constexpr uint64_t MAX_STORAGE_BYTES = 0xFFFFF000ull;

// The capacity to grow to when room for `needed` elements is wanted:
// max(2 * capacity + 10, needed), worked out in 64 bits and held to `limit`.
// Returns `needed` unchanged when it is above the limit (the caller reports).
inline uint64_t grown_capacity(uint64_t capacity, uint64_t needed, uint64_t limit) {
  uint64_t grown = capacity * 2 + 10;
  uint64_t n = grown > needed ? grown : needed;
  if (needed > limit)
    return needed;
  return n > limit ? limit : n;
}

} // namespace container_detail

template <typename T>
class Vector {
public:
  explicit Vector(Allocator& allocator) : _size(0), _capacity(0), _data(nullptr), _allocator(&allocator) {}

  Vector(const Vector& other) : Vector(*other._allocator) { *this = other; }

  Vector(const Vector& other, Allocator& allocator) : Vector(allocator) { *this = other; }

  Vector(Vector&& other) noexcept
      : _size(other._size), _capacity(other._capacity), _data(other._data), _allocator(other._allocator) {
    other._size = 0;
    other._capacity = 0;
    other._data = nullptr;
  }

  ~Vector() {
    destroy_range(0, _size);
    _allocator->deallocate(_data);
  }

  Vector& operator=(const Vector& other) {
    if (this == &other)
      return *this;
    clear();
    if (other._size > _capacity)
      set_capacity(other._size);
    if constexpr (std::is_trivially_copyable<T>::value) {
      if (other._size)
        memcpy(static_cast<void*>(_data), other._data, sizeof(T) * other._size);
    } else {
      for (uint32_t i = 0; i < other._size; ++i)
        container_detail::construct_copy(_data + i, other._data[i], *_allocator);
    }
    _size = other._size;
    return *this;
  }

  // Takes the other vector's storage when both share an allocator; copies
  // onto this vector's allocator otherwise.
  Vector& operator=(Vector&& other) {
    if (this == &other)
      return *this;
    if (_allocator != other._allocator)
      return *this = static_cast<const Vector&>(other);
    destroy_range(0, _size);
    _allocator->deallocate(_data);
    _size = other._size;
    _capacity = other._capacity;
    _data = other._data;
    other._size = 0;
    other._capacity = 0;
    other._data = nullptr;
    return *this;
  }

  uint32_t size() const { return _size; }
  uint32_t capacity() const { return _capacity; }
  bool empty() const { return _size == 0; }
  Allocator& allocator() const { return *_allocator; }

  T* data() { return _data; }
  const T* data() const { return _data; }
  T* begin() { return _data; }
  T* end() { return _data + _size; }
  const T* begin() const { return _data; }
  const T* end() const { return _data + _size; }

  T& operator[](uint32_t i) { return _data[i]; }
  const T& operator[](uint32_t i) const { return _data[i]; }

  T& front() {
    TW_ASSERT(_size > 0);
    return _data[0];
  }
  const T& front() const {
    TW_ASSERT(_size > 0);
    return _data[0];
  }
  T& back() {
    TW_ASSERT(_size > 0);
    return _data[_size - 1];
  }
  const T& back() const {
    TW_ASSERT(_size > 0);
    return _data[_size - 1];
  }

  void push_back(const T& value) {
    if (_size + 1 > _capacity) {
      if (&value >= _data && &value < _data + _size) {
        // The value lives in the storage about to move; take a copy first.
        T copy(value);
        if (!grow_for_push())
          return;
        container_detail::construct_move(_data + _size, std::move(copy), *_allocator);
        ++_size;
        return;
      }
      if (!grow_for_push())
        return;
    }
    container_detail::construct_copy(_data + _size, value, *_allocator);
    ++_size;
  }

  void push_back(T&& value) {
    if (_size + 1 > _capacity) {
      if (&value >= _data && &value < _data + _size) {
        T moved(std::move(value));
        if (!grow_for_push())
          return;
        container_detail::construct_move(_data + _size, std::move(moved), *_allocator);
        ++_size;
        return;
      }
      if (!grow_for_push())
        return;
    }
    container_detail::construct_move(_data + _size, std::move(value), *_allocator);
    ++_size;
  }

  // Appends a default element (nil, empty, zero) and returns it.
  T& push_back_default() {
    // Only a vector already at its limit fails to grow (its last element is
    // then what a caller that carries on after the report gets).
    if (_size + 1 > _capacity && !grow_for_push())
      return _data[_size - 1];
    container_detail::construct_default(_data + _size, *_allocator);
    return _data[_size++];
  }

  // Appends n plain values in one copy.
  void push_back_n(const T* values, uint32_t n) {
    static_assert(std::is_trivially_copyable<T>::value, "push_back_n copies bytes");
    if (uint64_t(_size) + n > _capacity && !grow(uint64_t(_size) + n))
      return;
    if (n)
      memcpy(static_cast<void*>(_data + _size), values, sizeof(T) * n);
    _size += n;
  }

  // Grows the size by n (by the growth rule) and returns the first new
  // element, left uninitialised: for plain types the caller fills it.
  T* extend(uint32_t n) {
    static_assert(std::is_trivially_copyable<T>::value, "extend leaves elements uninitialised");
    if (uint64_t(_size) + n > _capacity && !grow(uint64_t(_size) + n))
      return nullptr;
    T* p = _data + _size;
    _size += n;
    return p;
  }

  // For writers that fill the storage in place: makes room for n elements
  // past the size (growing by the rule) and returns the first of them. The
  // size is unchanged until set_size.
  T* make_room(uint32_t n) {
    static_assert(std::is_trivially_copyable<T>::value, "make_room leaves elements uninitialised");
    if (uint64_t(_size) + n > _capacity && !grow(uint64_t(_size) + n))
      return nullptr;
    return _data + _size;
  }

  // Sets the size of a vector of plain elements filled in place.
  void set_size(uint32_t n) {
    static_assert(std::is_trivially_copyable<T>::value, "set_size does not construct elements");
    TW_ASSERT(n <= _capacity);
    _size = n;
  }

  void pop_back() {
    TW_ASSERT(_size > 0);
    --_size;
    _data[_size].~T();
  }

  void resize(uint32_t n) {
    if (n > _capacity && !grow(n))
      return;
    if (n < _size) {
      destroy_range(n, _size);
    } else {
      for (uint32_t i = _size; i < n; ++i)
        container_detail::construct_default(_data + i, *_allocator);
    }
    _size = n;
  }

  void reserve(uint32_t n) {
    if (n > _capacity)
      set_capacity(n);
  }

  void set_capacity(uint32_t n) {
    if (n == _capacity)
      return;
    if (!fits(n))
      return;
    if (n < _size)
      resize(n);
    T* data = nullptr;
    if (n != 0) {
      data = static_cast<T*>(_allocator->allocate(uint32_t(sizeof(T)) * n, align_of<T>()));
      relocate(data, _data, _size);
    }
    _allocator->deallocate(_data);
    _data = data;
    _capacity = n;
  }

  // Forgets every element without destroying it, keeping the storage: for
  // a caller that has already released what each element held (a tree of
  // values taken apart level by level), so that millions of elements that
  // hold nothing are not visited again.
  void drop_elements() { _size = 0; }

  void clear() {
    destroy_range(0, _size);
    _size = 0;
  }

  // Inserts at `index`, moving the later elements up by one.
  void insert(uint32_t index, const T& value) {
    TW_ASSERT(index <= _size);
    if constexpr (container_detail::takes_allocator<T>) {
      T copy(*_allocator);
      copy = value;
      insert_moved(index, std::move(copy));
    } else {
      T copy(value);
      insert_moved(index, std::move(copy));
    }
  }

  void insert_moved(uint32_t index, T&& value) {
    TW_ASSERT(index <= _size);
    if (_size + 1 > _capacity && !grow_for_push())
      return;
    if constexpr (is_trivially_relocatable<T>::value) {
      // Shift the bytes up and build the new element in the hole.
      memmove(static_cast<void*>(_data + index + 1), _data + index, sizeof(T) * (_size - index));
      container_detail::construct_move(_data + index, std::move(value), *_allocator);
      ++_size;
      return;
    }
    if (index == _size) {
      container_detail::construct_move(_data + _size, std::move(value), *_allocator);
    } else {
      container_detail::construct_move(_data + _size, std::move(_data[_size - 1]), *_allocator);
      for (uint32_t i = _size - 1; i > index; --i)
        _data[i] = std::move(_data[i - 1]);
      _data[index] = std::move(value);
    }
    ++_size;
  }

  // Removes the element at `index`, keeping the order of the rest.
  void erase(uint32_t index) {
    TW_ASSERT(index < _size);
    if constexpr (is_trivially_relocatable<T>::value) {
      _data[index].~T();
      memmove(static_cast<void*>(_data + index), _data + index + 1, sizeof(T) * (_size - index - 1));
      --_size;
      return;
    }
    for (uint32_t i = index; i + 1 < _size; ++i)
      _data[i] = std::move(_data[i + 1]);
    pop_back();
  }

  void swap(Vector& other) {
    std::swap(_size, other._size);
    std::swap(_capacity, other._capacity);
    std::swap(_data, other._data);
    std::swap(_allocator, other._allocator);
  }

private:
  static constexpr uint64_t max_elements() { return container_detail::MAX_STORAGE_BYTES / sizeof(T); }

  // Whether n elements fit one allocation; reports when they don't.
  static bool fits(uint64_t n) {
    if (TW_LIKELY(n <= max_elements()))
      return true;
    TW_ASSERT_MSG(n <= max_elements(), "Vector too large: %llu elements of %u bytes do not fit in 4 GiB",
                  (unsigned long long)n, unsigned(sizeof(T)));
    return false;
  }

  // False (after the report) when the room can't be had.
  bool grow_for_push() { return grow(uint64_t(_size) + 1); }

  bool grow(uint64_t at_least) {
    uint64_t n = container_detail::grown_capacity(_capacity, at_least, max_elements());
    if (!fits(n))
      return false;
    set_capacity(uint32_t(n));
    return true;
  }

  void destroy_range(uint32_t from, uint32_t to) {
    if constexpr (!std::is_trivially_destructible<T>::value) {
      for (uint32_t i = from; i < to; ++i)
        _data[i].~T();
    }
  }

  static void relocate(T* dst, T* src, uint32_t n) {
    if (n == 0)
      return;
    if constexpr (is_trivially_relocatable<T>::value) {
      memcpy(static_cast<void*>(dst), src, sizeof(T) * n);
    } else {
      for (uint32_t i = 0; i < n; ++i) {
        new (dst + i) T(std::move(src[i]));
        src[i].~T();
      }
    }
  }

  uint32_t _size;
  uint32_t _capacity;
  T* _data;
  Allocator* _allocator;
};

template <typename T>
struct is_trivially_relocatable<Vector<T>, void> : std::true_type {};

} // namespace foundation
