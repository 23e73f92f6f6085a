#include "foundation/config/dynamic_config_value.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/trace_allocator.h"
#include "support/test_support.h"

#include <string>
#include <vector>

using namespace foundation;

namespace {
Allocator& heap() { return memory_globals::default_allocator(); }

std::vector<std::string> keys_of(const DCV& v) {
  std::vector<std::string> keys;
  for (DCV::Iterator it = v.begin(); it != v.end(); ++it)
    keys.push_back(it.key().c_str());
  return keys;
}
} // namespace

TEST(DynamicConfigValue, IsTwoWordsInThe32BitBuild) {
#if !TW_64BIT
  static_assert(sizeof(DynamicConfigValue) == 8, "a value is two 32-bit words");
#endif
  EXPECT_EQ(sizeof(DynamicConfigValue), 2 * sizeof(void*) > 8 ? 16u : 8u);
}

TEST(DynamicConfigValue, WritingGetOnNilMakesAnObjectWithANilMember) {
  DCV root(heap());
  DCV& nodes = root.get("nodes");
  EXPECT_TRUE(root.is_object());
  EXPECT_TRUE(nodes.is_nil());
  EXPECT_TRUE(root.has("nodes"));
  EXPECT_EQ(nodes.allocator(), &heap()); // can itself become a container
  nodes.get("x").set_integer(1);
  EXPECT_EQ(root.get("nodes").get("x").to_integer(), 1);
}

TEST(DynamicConfigValue, ReadingMissingMembersGivesTheSharedNil) {
  DCV root(heap());
  root.get("a").set_integer(1);
  const DCV& view = root;
  EXPECT_EQ(&view.get("x"), &DCV::nil());
  EXPECT_EQ(&view.get("x").get("y").at(0), &DCV::nil());
  EXPECT_FALSE(view.has("x"));
  EXPECT_REPORT(view.get("x").to_integer(), "Assertion failed: is_integer()");
  EXPECT_EQ(view.size(), 0u);
  // Reading the wrong kind names the kind that was expected.
  EXPECT_REPORT(view.get("a").to_string(), "Assertion failed: is_string()");
  EXPECT_REPORT(view.get("a").to_bool(), "Assertion failed: is_bool()");
  EXPECT_REPORT(view.at(0), "Assertion failed: is_array() || is_nil()");
  DCV list(heap());
  list.push_back();
  EXPECT_REPORT(static_cast<const DCV&>(list).get("k"), "Assertion failed: is_object() || is_nil()");
  EXPECT_REPORT(list.get("k"), "Assertion failed: is_nil()");
  EXPECT_REPORT(root.push_back(), "Assertion failed: is_nil()");
}

TEST(DynamicConfigValue, MembersAreVisitedInByteOrderOfTheirKeys) {
  DCV root(heap());
  for (const char* k : {"b", "a", "c", "B", "_", "a0"})
    root.get(k).set_bool(true);
  EXPECT_EQ(keys_of(root), (std::vector<std::string>{"B", "_", "a", "a0", "b", "c"}));
  DCV nil(heap());
  EXPECT_TRUE(keys_of(nil).empty());
}

TEST(DynamicConfigValue, FloatReaderAcceptsIntegersAndNamesTheIntegerCheck) {
  DCV v(heap());
  v.set_integer(3);
  EXPECT_EQ(v.to_float(), 3.0f);
  v.set_float(2.5f);
  EXPECT_EQ(v.to_float(), 2.5f);
  DCV s(heap());
  s.set_string("x");
  EXPECT_REPORT(s.to_float(), "Assertion failed: is_integer()");
}

TEST(DynamicConfigValue, WritingAtGrowsTheArrayWithNils) {
  DCV list(heap());
  list.at(5).set_integer(5);
  ASSERT_EQ(list.size(), 6u);
  for (uint32_t i = 0; i < 5; ++i)
    EXPECT_TRUE(list.at(i).is_nil());
  list.at(2).set_string("can still become a string");
  EXPECT_STREQ(list.at(2).to_string(), "can still become a string");
}

TEST(DynamicConfigValue, ScalarsForgetTheirAllocator) {
  DCV v(heap());
  v.set_integer(1);
  v.set_nil();
  EXPECT_EQ(v.allocator(), nullptr);
  EXPECT_REPORT(v.set_string("x"), "Assertion failed: _allocator");
  EXPECT_REPORT(v.set_object(), "Assertion failed: _allocator");
}

TEST(DynamicConfigValue, AssignmentCopiesDeeplyIntoTheTargetsAllocator) {
  TraceAllocator source_heap("dcv_source", heap());
  TraceAllocator target_heap("dcv_target", heap());
  {
    DCV source(source_heap);
    source.get("name").set_string("pCube1");
    source.get("list").push_back().set_float(1.5f);
    source.get("list").push_back().get("deep").set_data("\0\1", 2);
    source.set_annotation(12345);
    uint32_t before = source_heap.allocations();

    DCV target(target_heap);
    target = source;
    EXPECT_EQ(source_heap.allocations(), before); // nothing new on the source's allocator
    EXPECT_GT(target_heap.allocations(), 0u);
    EXPECT_EQ(target.annotation(), 12345u); // the whole tag word is copied
    EXPECT_STREQ(target.get("name").to_string(), "pCube1");
    EXPECT_EQ(target.get("list").at(1).get("deep").to_data().size(), 2u);
    EXPECT_EQ(target.get("list").at(1).allocator(), &target_heap);

    source.get("name").set_string("changed");
    EXPECT_STREQ(target.get("name").to_string(), "pCube1");

    DCV no_allocator;
    EXPECT_REPORT(no_allocator = source, "Assertion failed: a");
    DCV scalar;
    DCV seven(heap());
    seven.set_integer(7);
    scalar = seven; // scalars need no allocator
    EXPECT_EQ(scalar.to_integer(), 7);
  }
  EXPECT_EQ(source_heap.allocations(), 0u);
  EXPECT_EQ(target_heap.allocations(), 0u);
}

TEST(DynamicConfigValue, KindChangesKeepTheUpperTagBits) {
  DCV v(heap());
  v.set_annotation(0x1ABCDEF);
  v.set_string("s");
  v.set_object();
  EXPECT_EQ(v.annotation(), 0x1ABCDEFu);
  EXPECT_TRUE(v.is_object());
  v.set_integer(2);
  v.set_nil();
  EXPECT_EQ(v.annotation(), 0x1ABCDEFu);
}

TEST(DynamicConfigValue, StringsKeepEmbeddedZeros) {
  DCV v(heap());
  v.set_string("a\0b", 3);
  EXPECT_EQ(v.string_length(), 3u);
  EXPECT_EQ(std::string(v.to_string(), 3), std::string("a\0b", 3));
}

TEST(DynamicConfigValue, BulkAppendsMakeTheSameElementsAsPushBack) {
  const float floats[3] = {1.5f, -0.0f, 3e38f};
  const int32_t integers[3] = {-2147483647 - 1, 0, 42};
  DCV bulk(heap()), one_by_one(heap());
  one_by_one.push_back().set_string("first");
  bulk.push_back().set_string("first");
  bulk.append_floats(floats, 3);
  bulk.append_integers(integers, 3);
  bulk.append_floats(floats, 0);
  for (float f : floats)
    one_by_one.push_back().set_float(f);
  for (int32_t i : integers)
    one_by_one.push_back().set_integer(i);
  ASSERT_EQ(7u, bulk.size());
  for (uint32_t i = 0; i < 7; ++i) {
    EXPECT_EQ(one_by_one.at(i).kind(), bulk.at(i).kind()) << i;
    EXPECT_EQ(0u, bulk.at(i).annotation()) << i;
  }
  for (uint32_t i = 1; i < 7; ++i)
    EXPECT_EQ(nullptr, bulk.at(i).allocator()) << "scalar " << i << " keeps no allocator";
  EXPECT_FLOAT_EQ(3e38f, bulk.at(3).to_float());
  EXPECT_EQ(-2147483647 - 1, bulk.at(4).to_integer());
  // Appending to nil makes an array first.
  DCV fresh(heap());
  fresh.append_integers(integers, 2);
  EXPECT_TRUE(fresh.is_array());
  EXPECT_EQ(2u, fresh.size());
}

namespace {
// A chain `depth` levels deep: objects holding their level and the next one
// under "c", every tenth level an array around it.
void build_chain(DCV& root, int depth) {
  DCV* at = &root;
  for (int i = 0; i < depth; ++i) {
    if (i % 10 == 9) {
      at->push_back().set_integer(i);
      at = &at->push_back();
    } else {
      at->get("level").set_integer(i);
      at = &at->get("c");
    }
  }
}

int chain_depth(const DCV& root) {
  int depth = 0;
  const DCV* at = &root;
  while (at->is_object() || at->is_array()) {
    EXPECT_EQ((at->is_array() ? at->at(0) : at->get("level")).to_integer(), depth);
    at = at->is_array() ? &at->at(1) : &at->get("c");
    ++depth;
  }
  return depth;
}
} // namespace

// Documents can be as deep as the scenes they come from: copying and freeing
// a tree must not recurse once per level.
TEST(DynamicConfigValue, DeepTreesAreCopiedAndFreedWithoutExhaustingTheStack) {
  const int DEPTH = 300000;
  DCV* root = new DCV(heap());
  build_chain(*root, DEPTH);
  DCV copy(heap());
  copy = *root;
  delete root;
  EXPECT_EQ(chain_depth(copy), DEPTH);
  DCV moved(std::move(copy));
  EXPECT_TRUE(copy.is_nil());
  moved.set_nil();
  EXPECT_TRUE(moved.is_nil());
}
