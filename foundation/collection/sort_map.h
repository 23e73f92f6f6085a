// SortMap: a vector of (key, value) pairs searched by binary search.
//
// insert appends and marks the map unsorted; sort() orders it again. Every
// lookup asserts that the map is sorted ("SortMap not sorted"); an empty map
// counts as sorted. remove keeps the order of the rest, so a sorted map stays
// sorted. Keys compare with operator< (C strings byte-wise as unsigned
// characters; a prefix sorts first).
#pragma once

#include "foundation/collection/vector.h"

#include <algorithm>
#include <string.h>

namespace foundation {

template <typename K>
struct SortMapLess {
  static bool less(const K& a, const K& b) { return a < b; }
};

template <>
struct SortMapLess<const char*> {
  static bool less(const char* a, const char* b) { return strcmp(a, b) < 0; }
};

template <typename K, typename V>
class SortMap {
public:
  struct Pair {
    K key;
    V value;
  };

  explicit SortMap(Allocator& allocator) : _data(allocator), _is_sorted(true) {}

  uint32_t size() const { return _data.size(); }
  bool empty() const { return _data.empty(); }
  bool is_sorted() const { return _is_sorted; }
  const Pair* begin() const { return _data.begin(); }
  const Pair* end() const { return _data.end(); }

  void insert(const K& key, const V& value) {
    Pair p = {key, value};
    _data.push_back(p);
    _is_sorted = false;
  }

  void sort() {
    std::sort(_data.begin(), _data.end(),
                     [](const Pair& a, const Pair& b) { return SortMapLess<K>::less(a.key, b.key); });
    _is_sorted = true;
  }

  // The pair of `key`, or null.
  const Pair* find(const K& key) const {
    TW_ASSERT_MSG(_is_sorted, "SortMap not sorted");
    uint32_t lo = 0, hi = _data.size();
    while (lo < hi) {
      uint32_t mid = (lo + hi) / 2;
      if (SortMapLess<K>::less(_data[mid].key, key))
        lo = mid + 1;
      else
        hi = mid;
    }
    if (lo < _data.size() && !SortMapLess<K>::less(key, _data[lo].key))
      return &_data[lo];
    return nullptr;
  }

  bool has(const K& key) const { return find(key) != nullptr; }

  // The value of `key`, or `fallback`.
  const V& get(const K& key, const V& fallback) const {
    const Pair* p = find(key);
    return p ? p->value : fallback;
  }

  // Removes the pair of `key`, keeping the order of the rest.
  void remove(const K& key) {
    const Pair* p = find(key);
    if (p)
      _data.erase(uint32_t(p - _data.begin()));
    if (_data.empty())
      _is_sorted = true; // an empty map counts as sorted
  }

  void clear() {
    _data.clear();
    _is_sorted = true;
  }

private:
  Vector<Pair> _data;
  bool _is_sorted;
};

} // namespace foundation
