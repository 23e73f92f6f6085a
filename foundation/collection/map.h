// Map: an ordered map kept in a B-tree.
//
// The map holds its root node, the maximum entries per node, the entry count
// and its allocator; the root node is made with the map. A node holds its
// parent, a vector of entries in key order reserved for the maximum, and a
// vector of child pointers reserved for one more (empty in a leaf). A node
// that reaches the maximum splits at index maximum / 2: that entry goes up
// into the parent and the entries after it, with their children, move to a
// new node. Removal refills a node that falls below the minimum from a
// sibling or merges it with one.
//
// String keys compare byte by byte as unsigned characters (strcmp order) and
// are looked up by const char*; other keys compare with operator<. Values
// and keys that take an Allocator are made on the map's allocator.
#pragma once

#include "foundation/collection/string.h"
#include "foundation/collection/vector.h"

namespace foundation {

template <typename K>
struct MapKeyTraits {
  typedef K Lookup;
  static int compare(const K& key, const Lookup& lookup) { return key < lookup ? -1 : (lookup < key ? 1 : 0); }
  static void assign(K& key, const Lookup& lookup) { key = lookup; }
};

template <>
struct MapKeyTraits<String> {
  typedef const char* Lookup;
  static int compare(const String& key, const char* lookup) { return strcmp(key.c_str(), lookup); }
  static void assign(String& key, const char* lookup) { key = lookup; }
};

template <typename K, typename V>
class Map {
  typedef MapKeyTraits<K> Traits;
  typedef typename Traits::Lookup Lookup;

public:
  struct Entry {
    K key;
    V value;

    static constexpr bool TRIVIALLY_RELOCATABLE =
        is_trivially_relocatable<K>::value && is_trivially_relocatable<V>::value;

    explicit Entry(Allocator& a) : key(make_default<K>(a)), value(make_default<V>(a)) {}
    Entry(const Entry& other) = default;
    Entry(Entry&& other) = default;
    Entry& operator=(const Entry& other) = default;
    Entry& operator=(Entry&& other) = default;
  };

  struct Node {
    Node* parent;
    Vector<Entry> entries;
    Vector<Node*> children;

    Node(Allocator& a, Node* p, uint32_t max_entries) : parent(p), entries(a), children(a) {
      entries.reserve(max_entries);
      children.reserve(max_entries + 1);
    }
    bool is_leaf() const { return children.empty(); }
  };

  class Iterator {
  public:
    Iterator() : _node(nullptr), _index(0) {}
    Iterator(Node* node, uint32_t index) : _node(node), _index(index) {}
    const K& key() const { return _node->entries[_index].key; }
    V& value() const { return _node->entries[_index].value; }
    Entry& operator*() const { return _node->entries[_index]; }
    Entry* operator->() const { return &_node->entries[_index]; }
    bool operator==(const Iterator& o) const { return _node == o._node && _index == o._index; }
    bool operator!=(const Iterator& o) const { return !(*this == o); }
    Iterator& operator++() {
      if (!_node->is_leaf()) {
        _node = leftmost(_node->children[_index + 1]);
        _index = 0;
        settle();
        return *this;
      }
      ++_index;
      settle();
      return *this;
    }

  private:
    friend class Map;
    // Climbs while the position is past the end of a node.
    void settle() {
      while (_node && _index >= _node->entries.size()) {
        Node* parent = _node->parent;
        if (!parent) {
          _node = nullptr;
          _index = 0;
          return;
        }
        _index = position_in_parent(_node);
        _node = parent;
      }
    }
    Node* _node;
    uint32_t _index;
  };

  Map(Allocator& allocator, uint32_t max_entries)
      : _root(nullptr), _max_entries(max_entries < 3 ? 3 : max_entries), _count(0), _allocator(&allocator) {
    _root = new_node(nullptr);
  }

  Map(const Map& other) : Map(*other._allocator, other._max_entries) { copy_from(other); }

  Map(const Map& other, Allocator& allocator) : Map(allocator, other._max_entries) { copy_from(other); }

  ~Map() { free_subtree(_root); }

  Map& operator=(const Map& other) {
    if (this != &other) {
      clear();
      copy_from(other);
    }
    return *this;
  }

  uint32_t size() const { return _count; }
  bool empty() const { return _count == 0; }
  uint32_t max_entries() const { return _max_entries; }
  Allocator& allocator() const { return *_allocator; }

  Iterator begin() const {
    Iterator it(leftmost(_root), 0);
    it.settle();
    return it;
  }
  Iterator end() const { return Iterator(); }

  Iterator find(const Lookup& key) const {
    Node* node = _root;
    while (node) {
      uint32_t i = lower_bound(node, key);
      if (i < node->entries.size() && Traits::compare(node->entries[i].key, key) == 0)
        return Iterator(node, i);
      node = node->is_leaf() ? nullptr : node->children[i];
    }
    return end();
  }

  bool has(const Lookup& key) const { return find(key) != end(); }

  // The value under `key`; a default value is inserted when there is none.
  V& get_or_insert(const Lookup& key) {
    Node* node = _root;
    while (true) {
      uint32_t i = lower_bound(node, key);
      if (i < node->entries.size() && Traits::compare(node->entries[i].key, key) == 0)
        return node->entries[i].value;
      if (node->is_leaf()) {
        Entry e(*_allocator);
        Traits::assign(e.key, key);
        node->entries.insert_moved(i, std::move(e));
        ++_count;
        if (node->entries.size() < _max_entries)
          return node->entries[i].value;
        split(node);
        return find(key).value();
      }
      node = node->children[i];
    }
  }

  void set(const Lookup& key, const V& value) { get_or_insert(key) = value; }

  // Removes the entry of `key`; returns whether there was one.
  bool remove(const Lookup& key) {
    Iterator it = find(key);
    if (it == end())
      return false;
    Node* node = it._node;
    uint32_t i = it._index;
    if (!node->is_leaf()) {
      // Replace with the in-order predecessor, then remove that from its leaf.
      Node* leaf = rightmost(node->children[i]);
      node->entries[i] = std::move(leaf->entries.back());
      node = leaf;
      i = leaf->entries.size() - 1;
    }
    node->entries.erase(i);
    --_count;
    rebalance(node);
    return true;
  }

  void clear() {
    free_subtree(_root);
    _root = new_node(nullptr);
    _count = 0;
  }

  // Checks the tree's shape: sorted keys, parent links, counts. For tests.
  bool check() const {
    uint32_t n = 0;
    int depth = -1;
    return check_node(_root, nullptr, nullptr, nullptr, 0, depth, n) && n == _count;
  }

private:
  template <typename T>
  static T make_default(Allocator& a) {
    if constexpr (container_detail::takes_allocator<T>)
      return T(a);
    else
      return T();
  }

  Node* new_node(Node* parent) { return _allocator->make_new<Node>(*_allocator, parent, _max_entries); }

  void free_subtree(Node* node) {
    if (!node)
      return;
    for (Node* child : node->children)
      free_subtree(child);
    _allocator->make_delete(node);
  }

  void copy_from(const Map& other) {
    for (Iterator it = other.begin(); it != other.end(); ++it) {
      V& v = get_or_insert(lookup_of(it.key()));
      v = it.value();
    }
  }

  static Lookup lookup_of(const K& key) {
    if constexpr (std::is_same<K, String>::value)
      return key.c_str();
    else
      return key;
  }

  static Node* leftmost(Node* node) {
    while (!node->is_leaf())
      node = node->children[0];
    return node;
  }

  static Node* rightmost(Node* node) {
    while (!node->is_leaf())
      node = node->children.back();
    return node;
  }

  static uint32_t lower_bound(const Node* node, const Lookup& key) {
    uint32_t lo = 0, hi = node->entries.size();
    while (lo < hi) {
      uint32_t mid = (lo + hi) / 2;
      if (Traits::compare(node->entries[mid].key, key) < 0)
        lo = mid + 1;
      else
        hi = mid;
    }
    return lo;
  }

  static uint32_t position_in_parent(const Node* node) {
    const Node* parent = node->parent;
    for (uint32_t i = 0; i < parent->children.size(); ++i)
      if (parent->children[i] == node)
        return i;
    TW_ASSERT(false);
    return 0;
  }

  void split(Node* node) {
    while (node->entries.size() >= _max_entries) {
      uint32_t mid = _max_entries / 2;
      Node* right = new_node(node->parent);
      for (uint32_t i = mid + 1; i < node->entries.size(); ++i)
        right->entries.push_back(std::move(node->entries[i]));
      if (!node->is_leaf()) {
        for (uint32_t i = mid + 1; i < node->children.size(); ++i) {
          node->children[i]->parent = right;
          right->children.push_back(node->children[i]);
        }
        node->children.resize(mid + 1);
      }
      Entry middle(std::move(node->entries[mid]));
      node->entries.resize(mid);

      Node* parent = node->parent;
      if (!parent) {
        parent = new_node(nullptr);
        parent->children.push_back(node);
        node->parent = parent;
        right->parent = parent;
        _root = parent;
      }
      uint32_t at = position_in_parent(node);
      parent->entries.insert_moved(at, std::move(middle));
      parent->children.insert(at + 1, right);
      node = parent;
    }
  }

  uint32_t min_entries() const { return (_max_entries - 1) / 2; }

  void rebalance(Node* node) {
    while (true) {
      if (node == _root) {
        if (node->entries.empty() && !node->is_leaf()) {
          _root = node->children[0];
          _root->parent = nullptr;
          node->children.clear();
          _allocator->make_delete(node);
        }
        return;
      }
      if (node->entries.size() >= min_entries())
        return;
      Node* parent = node->parent;
      uint32_t at = position_in_parent(node);
      Node* left = at > 0 ? parent->children[at - 1] : nullptr;
      Node* right = at + 1 < parent->children.size() ? parent->children[at + 1] : nullptr;
      if (left && left->entries.size() > min_entries()) {
        // Rotate right: the separator comes down, the left's last goes up.
        node->entries.insert_moved(0, std::move(parent->entries[at - 1]));
        parent->entries[at - 1] = std::move(left->entries.back());
        left->entries.pop_back();
        if (!left->is_leaf()) {
          Node* moved = left->children.back();
          left->children.pop_back();
          moved->parent = node;
          node->children.insert(0, moved);
        }
        return;
      }
      if (right && right->entries.size() > min_entries()) {
        node->entries.push_back(std::move(parent->entries[at]));
        parent->entries[at] = std::move(right->entries[0]);
        right->entries.erase(0);
        if (!right->is_leaf()) {
          Node* moved = right->children[0];
          right->children.erase(0);
          moved->parent = node;
          node->children.push_back(moved);
        }
        return;
      }
      // Merge with a sibling through the separator between them.
      if (!left) {
        left = node;
        right = parent->children[at + 1];
        at = at + 1;
      } else {
        right = node;
      }
      left->entries.push_back(std::move(parent->entries[at - 1]));
      for (Entry& e : right->entries)
        left->entries.push_back(std::move(e));
      for (Node* child : right->children) {
        child->parent = left;
        left->children.push_back(child);
      }
      right->children.clear();
      parent->entries.erase(at - 1);
      parent->children.erase(at);
      _allocator->make_delete(right);
      node = parent;
    }
  }

  bool check_node(const Node* node, const Node* parent, const K* low, const K* high, int depth, int& leaf_depth,
                  uint32_t& count) const {
    if (node->parent != parent)
      return false;
    if (node->entries.size() >= _max_entries)
      return false;
    if (node != _root && node->entries.size() < min_entries())
      return false;
    count += node->entries.size();
    for (uint32_t i = 0; i < node->entries.size(); ++i) {
      const K& k = node->entries[i].key;
      if (i > 0 && !(Traits::compare(node->entries[i - 1].key, lookup_of(k)) < 0))
        return false;
      if (low && !(Traits::compare(*low, lookup_of(k)) < 0))
        return false;
      if (high && !(Traits::compare(k, lookup_of(*high)) < 0))
        return false;
    }
    if (node->is_leaf()) {
      if (leaf_depth < 0)
        leaf_depth = depth;
      return leaf_depth == depth;
    }
    if (node->children.size() != node->entries.size() + 1)
      return false;
    for (uint32_t i = 0; i < node->children.size(); ++i) {
      const K* lo = i > 0 ? &node->entries[i - 1].key : low;
      const K* hi = i < node->entries.size() ? &node->entries[i].key : high;
      if (!check_node(node->children[i], node, lo, hi, depth + 1, leaf_depth, count))
        return false;
    }
    return true;
  }

  Node* _root;
  uint32_t _max_entries;
  uint32_t _count;
  Allocator* _allocator;
};

} // namespace foundation
