// HashSet: the chained hash table of foundation/collection/hash_map without values.
#pragma once

#include "foundation/collection/hash_map.h"

namespace foundation {

template <typename K>
class HashSet {
public:
  static const uint32_t NOT_FOUND = hash_detail::END_OF_CHAIN;

  explicit HashSet(Allocator& allocator, uint32_t buckets = 0, uint32_t spill = 0)
      : _table(allocator, buckets, spill) {}

  uint32_t size() const { return _table.size(); }
  uint32_t bucket_count() const { return _table.bucket_count(); }
  uint32_t spill_unused() const { return _table.spill_unused(); }
  uint32_t entry_count() const { return _table.entry_count(); }
  bool full() const { return _table.full(); }
  uint32_t find(const K& key) const { return _table.find(key); }
  bool has(const K& key) const { return _table.has(key); }
  void insert(const K& key) { _table.insert(key); }
  void remove(const K& key) { _table.remove(key); }
  void rehash(uint32_t buckets) { _table.rehash(buckets); }
  void clear() { _table.clear(); }

  template <typename F>
  void for_each(F f) const {
    for (uint32_t i = 0; i < _table.entry_count(); ++i)
      if (_table.is_used(i))
        f(_table.entry(i).key);
  }

private:
  hash_detail::HashTable<K, hash_detail::NoValue> _table;
};

} // namespace foundation
