#include "foundation/collection/hash_map.h"
#include "foundation/collection/hash_set.h"
#include "foundation/collection/map.h"
#include "foundation/collection/ring_buffer.h"
#include "foundation/collection/sort_map.h"
#include "foundation/collection/string.h"
#include "foundation/collection/vector.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/trace_allocator.h"
#include "support/test_support.h"

#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

using namespace foundation;

namespace {
Allocator& heap() { return memory_globals::default_allocator(); }
const uint32_t STEPS = TW_LONG_SWEEPS ? 30000 : 6000;
} // namespace

// ---------------------------------------------------------------------------
// Vector and String

TEST(Vector, GrowsToTwiceThePreviousCapacityPlusTen) {
  Vector<int> v(heap());
  std::vector<uint32_t> capacities;
  for (int i = 0; i < 100; ++i) {
    v.push_back(i);
    if (capacities.empty() || capacities.back() != v.capacity())
      capacities.push_back(v.capacity());
  }
  EXPECT_EQ(capacities, (std::vector<uint32_t>{10, 30, 70, 150}));
  v.resize(400); // growing to n takes max(2c + 10, n)
  EXPECT_EQ(v.capacity(), 400u);
  v.resize(401);
  EXPECT_EQ(v.capacity(), 810u);
  EXPECT_EQ(v[399], 0);
  v.set_capacity(3); // shrinks, dropping elements
  EXPECT_EQ(v.size(), 3u);
  EXPECT_EQ(v[2], 2);
  v.set_capacity(0);
  EXPECT_EQ(v.data(), nullptr);
}

TEST(Vector, FrontAndBackOfAnEmptyVectorAreReported) {
  Vector<int> v(heap());
  EXPECT_REPORT(v.front(), "Assertion failed: _size > 0");
  EXPECT_REPORT(v.back(), "Assertion failed: _size > 0");
}

TEST(Vector, ElementsAreMadeOnTheVectorsAllocator) {
  TraceAllocator mine("mine", heap());
  TraceAllocator theirs("theirs", heap());
  {
    Vector<String> names(mine);
    String text(theirs, "pCube1");
    names.push_back(text);
    names.push_back(names[0]); // from inside its own storage, across a growth
    for (int i = 0; i < 20; ++i)
      names.push_back(text);
    EXPECT_EQ(&names[0].allocator(), &mine);
    EXPECT_EQ(&names[1].allocator(), &mine);
    EXPECT_STREQ(names[1].c_str(), "pCube1");
    Vector<String> copy(names, theirs);
    EXPECT_EQ(&copy[5].allocator(), &theirs);
    EXPECT_EQ(theirs.allocations(), 1u + 1u + 22u);
  }
  EXPECT_EQ(mine.allocations(), 0u);
}

TEST(VectorModel, MatchesStdVector) {
  std::mt19937 rng(7);
  Vector<uint32_t> v(heap());
  std::vector<uint32_t> model;
  for (uint32_t step = 0; step < STEPS; ++step) {
    switch (rng() % 7) {
    case 0:
    case 1:
    case 2: {
      uint32_t x = rng();
      v.push_back(x);
      model.push_back(x);
      break;
    }
    case 3:
      if (!model.empty()) {
        v.pop_back();
        model.pop_back();
      }
      break;
    case 4: {
      uint32_t n = rng() % 64;
      v.resize(n);
      model.resize(n);
      break;
    }
    case 5:
      if (!model.empty()) {
        uint32_t i = rng() % model.size();
        v.erase(i);
        model.erase(model.begin() + i);
      }
      break;
    default: {
      uint32_t i = model.empty() ? 0 : rng() % (model.size() + 1);
      uint32_t x = rng();
      v.insert(i, x);
      model.insert(model.begin() + i, x);
    }
    }
    ASSERT_EQ(v.size(), model.size());
  }
  for (uint32_t i = 0; i < model.size(); ++i)
    ASSERT_EQ(v[i], model[i]);
}

TEST(String, LengthsCapacitiesAndTheNeverSetState) {
  String never(heap());
  EXPECT_EQ(never.stored_length(), 0u);
  EXPECT_FALSE(never.is_empty_text());
  EXPECT_STREQ(never.c_str(), "");
  String empty(heap(), "");
  EXPECT_EQ(empty.stored_length(), 1u);
  EXPECT_TRUE(empty.is_empty_text());
  EXPECT_EQ(empty.capacity(), 10u);

  String s(heap(), "abc");
  EXPECT_EQ(s.stored_length(), 4u);
  EXPECT_EQ(s.capacity(), 10u);
  s = "0123456789abcdef"; // 17 with the zero: max(2 * 10 + 10, 17)
  EXPECT_EQ(s.capacity(), 30u);
  s = std::string(40, 'x').c_str(); // max(70, 41)
  EXPECT_EQ(s.capacity(), 70u);
  String copy(s); // a fresh copy: max(n, 10)
  EXPECT_EQ(copy.capacity(), 41u);
  String small_copy(empty);
  EXPECT_EQ(small_copy.capacity(), 10u);
  s.append("yz");
  EXPECT_EQ(s.length(), 42u);
  s.assign(s.c_str() + 40, 2); // a text from inside itself
  EXPECT_STREQ(s.c_str(), "yz");
}

TEST(String, ComparesBytesAsUnsignedCharacters) {
  String upper(heap(), "B"), lower(heap(), "a"), high(heap(), "\xC3\xA9");
  EXPECT_TRUE(upper < lower);
  EXPECT_TRUE(lower < high);
  EXPECT_TRUE(String(heap(), "ab") < String(heap(), "abc"));
}

// ---------------------------------------------------------------------------
// HashMap and HashSet

TEST(HashSet, NineteenBucketsHaveEightSpillEntriesAndAFullTableRehashesToThirtyNine) {
  HashSet<uint32_t> set(heap(), 19, hash_detail::spill_for(19));
  EXPECT_EQ(set.spill_unused(), 8u);
  // Nine keys of one bucket: the head and all eight spill entries.
  uint32_t target = murmur_mix(1000) % 19;
  std::vector<uint32_t> same;
  for (uint32_t k = 1000; same.size() < 9; ++k)
    if (murmur_mix(k) % 19 == target)
      same.push_back(k);
  for (uint32_t k : same)
    set.insert(k);
  EXPECT_EQ(set.spill_unused(), 0u);
  EXPECT_TRUE(set.full());
  EXPECT_EQ(set.bucket_count(), 19u);
  // A key whose bucket is empty still finds the table full.
  uint32_t other = 5000;
  while (murmur_mix(other) % 19 == target)
    ++other;
  set.insert(other);
  EXPECT_EQ(set.bucket_count(), 39u);
  EXPECT_EQ(set.entry_count(), 39u + 15u);
  for (uint32_t k : same)
    EXPECT_TRUE(set.has(k));
  EXPECT_TRUE(set.has(other));
  EXPECT_EQ(set.size(), 10u);
}

TEST(HashSet, EmptyTableWithoutBucketsAnswersWithoutHashing) {
  HashSet<void*> set(heap());
  EXPECT_FALSE(set.has(&set));
  set.remove(&set);
  set.insert(&set);
  EXPECT_EQ(set.bucket_count(), 19u);
  EXPECT_TRUE(set.has(&set));
}

TEST(HashMapModel, MatchesUnorderedMapWithRemovals) {
  std::mt19937 rng(11);
  HashMap<uint32_t, uint32_t> map(heap());
  std::unordered_map<uint32_t, uint32_t> model;
  for (uint32_t step = 0; step < STEPS; ++step) {
    uint32_t key = rng() % 2000;
    switch (rng() % 4) {
    case 0:
    case 1: {
      uint32_t value = rng();
      map.set(key, value);
      model[key] = value;
      break;
    }
    case 2:
      map.remove(key);
      model.erase(key);
      break;
    default:
      ASSERT_EQ(map.has(key), model.count(key) == 1);
      if (model.count(key)) {
        ASSERT_EQ(map.get(key, 0), model[key]);
      }
    }
    ASSERT_EQ(map.size(), model.size());
  }
  uint32_t visited = 0;
  map.for_each([&](uint32_t k, uint32_t v) {
    ++visited;
    EXPECT_EQ(model.at(k), v);
  });
  EXPECT_EQ(visited, model.size());
}

// ---------------------------------------------------------------------------
// Map

TEST(Map, IteratesStringKeysInByteOrder) {
  Map<String, int> map(heap(), 4);
  for (const char* k : {"b", "a", "c", "B", "\xC3\xA9", "ab"})
    map.set(k, int(strlen(k)));
  std::vector<std::string> order;
  for (auto it = map.begin(); it != map.end(); ++it)
    order.push_back(it.key().c_str());
  EXPECT_EQ(order, (std::vector<std::string>{"B", "a", "ab", "b", "c", "\xC3\xA9"}));
  EXPECT_TRUE(map.check());
}

TEST(MapModel, MatchesStdMapThroughSplitsAndMerges) {
  for (uint32_t max_entries : {3u, 4u, 20u}) {
    std::mt19937 rng(13 + max_entries);
    Map<uint32_t, uint32_t> map(heap(), max_entries);
    std::map<uint32_t, uint32_t> model;
    for (uint32_t step = 0; step < STEPS; ++step) {
      uint32_t key = rng() % 3000;
      if (rng() % 3 == 0) {
        ASSERT_EQ(map.remove(key), model.erase(key) == 1);
      } else {
        uint32_t value = rng();
        map.get_or_insert(key) = value;
        model[key] = value;
      }
      if (step % 1000 == 0) {
        ASSERT_TRUE(map.check()) << "max " << max_entries << " step " << step;
      }
    }
    ASSERT_TRUE(map.check());
    ASSERT_EQ(map.size(), model.size());
    auto expected = model.begin();
    for (auto it = map.begin(); it != map.end(); ++it, ++expected) {
      ASSERT_EQ(it.key(), expected->first);
      ASSERT_EQ(it.value(), expected->second);
    }
    Map<uint32_t, uint32_t> copy(map);
    EXPECT_EQ(copy.size(), map.size());
    EXPECT_TRUE(copy.check());
  }
}

TEST(Map, StringKeysAndValuesUseTheMapsAllocator) {
  TraceAllocator trace("map_trace", heap());
  {
    Map<String, Vector<String>> map(trace, 20);
    String name(heap(), "node");
    map.get_or_insert(name.c_str()).push_back(name);
    EXPECT_EQ(&map.find("node").value()[0].allocator(), &trace);
    EXPECT_FALSE(map.has("nod"));
    map.remove("node");
    EXPECT_TRUE(map.empty());
  }
  EXPECT_EQ(trace.allocations(), 0u);
}

// ---------------------------------------------------------------------------
// SortMap

TEST(SortMap, LookupsNeedASortedMap) {
  SortMap<uint64_t, int> map(heap());
  EXPECT_FALSE(map.has(1)); // empty counts as sorted
  map.insert(30, 3);
  map.insert(10, 1);
  EXPECT_REPORT(map.has(10), "Assertion failed: _is_sorted\n\nSortMap not sorted");
  map.insert(20, 2);
  map.sort();
  EXPECT_EQ(map.get(20, 0), 2);
  map.remove(20);
  EXPECT_TRUE(map.is_sorted());
  EXPECT_EQ(map.begin()[0].key, 10u);
  EXPECT_EQ(map.begin()[1].key, 30u);
  EXPECT_FALSE(map.has(20));
}

TEST(SortMap, StringKeysSortBytewiseWithPrefixesFirst) {
  SortMap<const char*, int> map(heap());
  map.insert("ab", 1);
  map.insert("a", 2);
  map.insert("\xC3", 3);
  map.insert("B", 4);
  map.sort();
  EXPECT_STREQ(map.begin()[0].key, "B");
  EXPECT_STREQ(map.begin()[1].key, "a");
  EXPECT_STREQ(map.begin()[2].key, "ab");
  EXPECT_STREQ(map.begin()[3].key, "\xC3");
}

// ---------------------------------------------------------------------------
// RawRingBuffer

TEST(RawRingBuffer, TailFitWrapAndFullCases) {
  RawRingBuffer ring(heap(), 16);
  ring.set_positions_for_test(4, 12);
  EXPECT_TRUE(ring.can_fit(4));  // fits the tail exactly
  EXPECT_FALSE(ring.can_fit(5)); // neither the tail nor before the reader (5 < 4 fails)
  EXPECT_REPORT(ring.write(5), "Assertion failed: can_fit(size)\n\nRawRingBuffer is full and cannot fit another 5 bytes");

  ring.set_positions_for_test(6, 12);
  char* at = ring.write(5);
  EXPECT_EQ(at - ring.read(0), -6); // placed at offset 0, behind the reader at 6
  EXPECT_EQ(ring.wrap_mark(), 12u);
  EXPECT_EQ(ring.write_position(), 5u);
  EXPECT_EQ(ring.ready_size(), 6u); // up to the wrap mark first
  EXPECT_REPORT(ring.read(7), "RawRingBuffer cannot read 7 bytes since only 6 exists.");
  ring.read(6);
  ring.consume(6);
  EXPECT_EQ(ring.ready_size(), 5u);
  EXPECT_EQ(ring.read(5), at); // the reader restarts at the front
  ring.consume(5);
  EXPECT_EQ(ring.unconsumed(), 0u);
}

TEST(RawRingBufferModel, BlocksComeOutAsTheyWentIn) {
  std::mt19937 rng(17);
  RawRingBuffer ring(heap(), 256);
  std::deque<std::string> model;
  std::string pending; // bytes readable but not yet matched to a block
  uint32_t counter = 0;
  for (uint32_t step = 0; step < STEPS; ++step) {
    if (rng() % 2) {
      uint32_t size = 1 + rng() % 60;
      if (!ring.can_fit(size))
        continue;
      std::string block;
      for (uint32_t i = 0; i < size; ++i)
        block.push_back(char('a' + (counter++ % 26)));
      memcpy(ring.write(size), block.data(), size);
      model.push_back(block);
    } else if (!model.empty()) {
      const std::string& block = model.front();
      ASSERT_GE(ring.ready_size(), block.size());
      ASSERT_EQ(std::string(ring.read(uint32_t(block.size())), block.size()), block);
      ring.consume(uint32_t(block.size()));
      model.pop_front();
    }
  }
}
