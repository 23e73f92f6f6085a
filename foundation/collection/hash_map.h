// HashMap and the chained hash table that HashSet shares.
//
// All entries live in one vector: [0, buckets) are the bucket heads and
// [buckets, size) a spill area from which chain entries are handed out from
// the top (index size - spill_unused). An entry's `next` is 0xFFFFFFFE when
// unused, 0x7FFFFFFF at the end of a chain, otherwise the next entry of the
// chain; an entry on the free list keeps the next free index with the high
// bit set. A table is full when no spill entry is left and the free list is
// empty; inserting an absent key into a full table first rehashes to
// max(2 * buckets + 1, 19) buckets, each rehash sizing the spill area to
// trunc(buckets * 0.37 + 1).
//
// Keys are 32-bit values, 64-bit ids or pointers (foundation/collection/hash_function).
#pragma once

#include "foundation/collection/hash_function.h"
#include "foundation/collection/vector.h"

namespace foundation {

namespace hash_detail {

const uint32_t UNUSED = 0xFFFFFFFEu;
const uint32_t END_OF_CHAIN = 0x7FFFFFFFu;
const uint32_t FREE_BIT = 0x80000000u;
const uint32_t NO_FREE = 0xFFFFFFFFu;

struct NoValue {};

template <typename K, typename V>
struct Entry {
  K key;
  V value;
  uint32_t next;
};

template <typename K>
struct Entry<K, NoValue> {
  K key;
  uint32_t next;
};

inline uint32_t spill_for(uint32_t buckets) { return uint32_t(float(buckets) * 0.37f + 1.0f); }

// The table itself; V = NoValue makes it a set. V must be a plain type.
template <typename K, typename V>
class HashTable {
public:
  typedef Entry<K, V> EntryType;
  static const uint32_t NOT_FOUND = END_OF_CHAIN;

  HashTable(Allocator& allocator, uint32_t buckets, uint32_t spill)
      : _data(allocator), _used(0), _buckets(0), _spill_unused(0), _free(NO_FREE) {
    init(buckets, spill);
  }

  uint32_t size() const { return _used; }
  uint32_t bucket_count() const { return _buckets; }
  uint32_t spill_unused() const { return _spill_unused; }
  uint32_t entry_count() const { return _data.size(); }
  bool full() const { return _spill_unused == 0 && _free == NO_FREE; }

  // Index of the key's entry, or NOT_FOUND.
  uint32_t find(const K& key) const {
    if (_used == 0)
      return NOT_FOUND;
    TW_ASSERT(_buckets > 0);
    uint32_t i = hash_key(key) % _buckets;
    if (_data[i].next == UNUSED)
      return NOT_FOUND;
    while (i != END_OF_CHAIN) {
      if (_data[i].key == key)
        return i;
      i = _data[i].next;
    }
    return NOT_FOUND;
  }

  bool has(const K& key) const { return find(key) != NOT_FOUND; }

  // Index of the key's entry, inserting it (growing a full table first).
  uint32_t insert(const K& key) {
    if (full()) {
      uint32_t i = find(key);
      if (i != NOT_FOUND)
        return i;
      uint32_t grown = _buckets * 2 + 1;
      rehash(grown > 19 ? grown : 19);
    }
    return insert_or_find(key);
  }

  void remove(const K& key) {
    if (_used == 0)
      return;
    uint32_t i = hash_key(key) % _buckets;
    if (_data[i].next == UNUSED)
      return;
    uint32_t previous = END_OF_CHAIN;
    while (i != END_OF_CHAIN && !(_data[i].key == key)) {
      previous = i;
      i = _data[i].next;
    }
    if (i == END_OF_CHAIN)
      return;
    --_used;
    if (previous == END_OF_CHAIN) {
      // A bucket head: pull the chain's second entry into the head.
      uint32_t second = _data[i].next;
      if (second == END_OF_CHAIN) {
        _data[i].next = UNUSED;
      } else {
        _data[i] = _data[second];
        give_back(second);
      }
    } else {
      _data[previous].next = _data[i].next;
      give_back(i);
    }
  }

  void rehash(uint32_t new_buckets) {
    TW_ASSERT(new_buckets > _used);
    HashTable fresh(_data.allocator(), new_buckets, spill_for(new_buckets));
    // Free-list entries are not in use: mark them so the walk skips them.
    uint32_t f = _free;
    while (f != NO_FREE) {
      uint32_t next = _data[f].next & ~FREE_BIT;
      _data[f].next = UNUSED;
      f = next == END_OF_CHAIN ? NO_FREE : next;
    }
    for (uint32_t i = 0; i < _data.size(); ++i) {
      if (is_used(i)) {
        uint32_t j = fresh.insert(_data[i].key);
        copy_value(fresh._data[j], _data[i]);
      }
    }
    swap(fresh);
  }

  void clear() {
    for (uint32_t i = 0; i < _data.size(); ++i)
      _data[i].next = UNUSED;
    _used = 0;
    _spill_unused = _data.size() - _buckets;
    _free = NO_FREE;
  }

  bool is_used(uint32_t i) const { return _data[i].next < FREE_BIT; }
  EntryType& entry(uint32_t i) { return _data[i]; }
  const EntryType& entry(uint32_t i) const { return _data[i]; }

  void swap(HashTable& other) {
    _data.swap(other._data);
    std::swap(_used, other._used);
    std::swap(_buckets, other._buckets);
    std::swap(_spill_unused, other._spill_unused);
    std::swap(_free, other._free);
  }

private:
  void init(uint32_t buckets, uint32_t spill) {
    _data.resize(buckets + spill);
    for (uint32_t i = 0; i < _data.size(); ++i)
      _data[i].next = UNUSED;
    _used = 0;
    _buckets = buckets;
    _spill_unused = spill;
    _free = NO_FREE;
  }

  uint32_t insert_or_find(const K& key) {
    uint32_t i = hash_key(key) % _buckets;
    if (_data[i].next == UNUSED) {
      _data[i].key = key;
      _data[i].next = END_OF_CHAIN;
      ++_used;
      return i;
    }
    while (true) {
      if (_data[i].key == key)
        return i;
      if (_data[i].next == END_OF_CHAIN)
        break;
      i = _data[i].next;
    }
    uint32_t fresh = take_entry();
    _data[fresh].key = key;
    _data[fresh].next = END_OF_CHAIN;
    _data[i].next = fresh;
    return fresh;
  }

  uint32_t take_entry() {
    ++_used;
    if (_free != NO_FREE) {
      uint32_t i = _free;
      uint32_t next = _data[i].next & ~FREE_BIT;
      _free = next == END_OF_CHAIN ? NO_FREE : next;
      return i;
    }
    TW_ASSERT(_spill_unused > 0);
    uint32_t i = _data.size() - _spill_unused;
    --_spill_unused;
    return i;
  }

  void give_back(uint32_t i) {
    uint32_t next = _free == NO_FREE ? END_OF_CHAIN : _free;
    _data[i].next = next | FREE_BIT;
    _free = i;
  }

  static void copy_value(Entry<K, V>& to, const Entry<K, V>& from) {
    if constexpr (!std::is_same<V, NoValue>::value)
      to.value = from.value;
    (void)to;
    (void)from;
  }

  Vector<EntryType> _data;
  uint32_t _used;
  uint32_t _buckets;
  uint32_t _spill_unused;
  uint32_t _free;
};

} // namespace hash_detail

template <typename K, typename V>
class HashMap {
public:
  static const uint32_t NOT_FOUND = hash_detail::END_OF_CHAIN;

  explicit HashMap(Allocator& allocator, uint32_t buckets = 0, uint32_t spill = 0)
      : _table(allocator, buckets, spill) {}

  uint32_t size() const { return _table.size(); }
  bool full() const { return _table.full(); }
  uint32_t find(const K& key) const { return _table.find(key); }
  bool has(const K& key) const { return _table.has(key); }

  // The key's value, inserted as V() when absent.
  V& get_or_insert(const K& key) {
    bool present = _table.has(key);
    uint32_t i = _table.insert(key);
    if (!present)
      _table.entry(i).value = V();
    return _table.entry(i).value;
  }

  void set(const K& key, const V& value) { get_or_insert(key) = value; }

  // The key's value, or `fallback` when absent.
  const V& get(const K& key, const V& fallback) const {
    uint32_t i = _table.find(key);
    return i == NOT_FOUND ? fallback : _table.entry(i).value;
  }

  void remove(const K& key) { _table.remove(key); }
  void rehash(uint32_t buckets) { _table.rehash(buckets); }
  void clear() { _table.clear(); }

  // Calls f(key, value) for every entry, in table order.
  template <typename F>
  void for_each(F f) const {
    for (uint32_t i = 0; i < _table.entry_count(); ++i)
      if (_table.is_used(i))
        f(_table.entry(i).key, _table.entry(i).value);
  }

  const hash_detail::HashTable<K, V>& table() const { return _table; }

private:
  hash_detail::HashTable<K, V> _table;
};

} // namespace foundation
