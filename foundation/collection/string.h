// String: the foundation's text type.
//
// Layout: length counting the terminating zero, capacity, characters,
// allocator. The empty string has stored length 1; a String that was never
// given a text has stored length 0 and no characters (c_str() still answers
// ""), which the document writer tells apart from the empty string.
// Storing a text of stored length n into a buffer whose capacity is below n
// grows it to max(2 * capacity + 10, n); a fresh copy gets capacity max(n, 10).
// Texts are bytes (UTF-8 by convention); comparisons are byte-wise as
// unsigned characters, the order of strcmp.
#pragma once

#include "foundation/collection/vector.h"
#include "foundation/error/assert.h"
#include "foundation/memory/allocator.h"

#include <string.h>

namespace foundation {

class String {
public:
  explicit String(Allocator& allocator) : _size(0), _capacity(0), _data(nullptr), _allocator(&allocator) {}

  String(Allocator& allocator, const char* text) : String(allocator) { assign(text, uint32_t(strlen(text))); }

  String(Allocator& allocator, const char* text, uint32_t length) : String(allocator) { assign(text, length); }

  String(const String& other) : String(*other._allocator) { copy_fresh(other); }

  String(const String& other, Allocator& allocator) : String(allocator) { copy_fresh(other); }

  String(String&& other) noexcept
      : _size(other._size), _capacity(other._capacity), _data(other._data), _allocator(other._allocator) {
    other._size = 0;
    other._capacity = 0;
    other._data = nullptr;
  }

  ~String() { _allocator->deallocate(_data); }

  String& operator=(const String& other) {
    if (this != &other) {
      if (other._size == 0)
        reset();
      else
        assign(other._data, other._size - 1);
    }
    return *this;
  }

  String& operator=(String&& other) {
    if (this == &other)
      return *this;
    if (_allocator != other._allocator)
      return *this = static_cast<const String&>(other);
    _allocator->deallocate(_data);
    _size = other._size;
    _capacity = other._capacity;
    _data = other._data;
    other._size = 0;
    other._capacity = 0;
    other._data = nullptr;
    return *this;
  }

  String& operator=(const char* text) {
    assign(text, uint32_t(strlen(text)));
    return *this;
  }

  // Stores `length` bytes of `text` followed by a zero.
  void assign(const char* text, uint32_t length) {
    TW_ASSERT(length < 0x7FFFFFFFu);
    if (length >= 0x7FFFFFFFu)
      length = 0;
    uint32_t n = length + 1;
    if (_capacity < n) {
      // `text` may point into our own buffer: copy before freeing it.
      uint32_t capacity = uint32_t(container_detail::grown_capacity(_capacity, n, 0x7FFFFFFFu));
      char* data = static_cast<char*>(_allocator->allocate(capacity, 1));
      memcpy(data, text, length);
      _allocator->deallocate(_data);
      _data = data;
      _capacity = capacity;
    } else {
      memmove(_data, text, length);
    }
    _data[length] = 0;
    _size = n;
  }

  void append(const char* text, uint32_t length) {
    TW_ASSERT(length < 0x7FFFFFFFu - this->length());
    if (length >= 0x7FFFFFFFu - this->length())
      length = 0;
    uint32_t old_length = this->length();
    uint32_t n = old_length + length + 1;
    if (_capacity < n) {
      uint32_t capacity = uint32_t(container_detail::grown_capacity(_capacity, n, 0x7FFFFFFFu));
      char* data = static_cast<char*>(_allocator->allocate(capacity, 1));
      if (old_length)
        memcpy(data, _data, old_length);
      memcpy(data + old_length, text, length);
      _allocator->deallocate(_data);
      _data = data;
      _capacity = capacity;
    } else {
      memmove(_data + old_length, text, length);
    }
    _data[old_length + length] = 0;
    _size = n;
  }

  void append(const char* text) { append(text, uint32_t(strlen(text))); }

  // Back to "never given a text", keeping nothing.
  void reset() {
    _allocator->deallocate(_data);
    _data = nullptr;
    _size = 0;
    _capacity = 0;
  }

  const char* c_str() const { return _data ? _data : ""; }
  // Number of characters, without the terminating zero.
  uint32_t length() const { return _size ? _size - 1 : 0; }
  // Stored length: characters plus the terminating zero, 0 when never set.
  uint32_t stored_length() const { return _size; }
  uint32_t capacity() const { return _capacity; }
  // True for the empty string "" (stored length 1) only.
  bool is_empty_text() const { return _size == 1; }
  Allocator& allocator() const { return *_allocator; }

  bool operator==(const char* text) const { return strcmp(c_str(), text) == 0; }
  bool operator!=(const char* text) const { return !(*this == text); }
  bool operator==(const String& other) const { return strcmp(c_str(), other.c_str()) == 0; }
  bool operator!=(const String& other) const { return !(*this == other); }
  bool operator<(const String& other) const { return strcmp(c_str(), other.c_str()) < 0; }

private:
  void copy_fresh(const String& other) {
    if (other._size == 0)
      return;
    uint32_t n = other._size;
    _capacity = n > 10 ? n : 10;
    _data = static_cast<char*>(_allocator->allocate(_capacity, 1));
    memcpy(_data, other._data, n);
    _size = n;
  }

  uint32_t _size;
  uint32_t _capacity;
  char* _data;
  Allocator* _allocator;
};

template <>
struct is_trivially_relocatable<String, void> : std::true_type {};

} // namespace foundation
