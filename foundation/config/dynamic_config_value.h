// DynamicConfigValue: the variant tree value of configuration documents.
//
// A value is nil, bool, integer (32-bit), float (32-bit), string, data
// (bytes), array or object, in two words: a tag word whose low three bits
// hold the kind (the other 29 bits are kept through kind changes and copied
// by assignment; the parser's annotations live there) and a payload word.
// A value owns everything below it (copying and freeing a tree walk it with
// a list, not by recursion, so a tree may be as deep as memory allows);
// heap records come from an Allocator that
// the value carries: a nil value holds it in its payload, strings, data,
// arrays and objects in their records. Scalars forget it: a value that held
// a bool, integer or float can't become a string or container again
// ("_allocator"). Tree builders therefore set scalars last.
//
// Objects keep their members in a Map (node capacity 20) in ascending byte
// order of their keys, so every walk visits members in that order. New array
// elements and object members start as nil with the container's allocator.
//
// Reading never fails softly on a wrong kind: to_integer on a string reports
// "is_integer()". Reading a missing member or element is not an error and
// yields a shared, read-only nil value. Reading and writing forms of at() and
// get() differ: the const forms only read; the non-const forms turn a nil
// value into an array or object and insert what is missing. Code that only
// reads a tree should hold it const.
#pragma once

#include "foundation/collection/map.h"
#include "foundation/collection/string.h"
#include "foundation/collection/vector.h"

namespace foundation {

class DynamicConfigValue {
public:
  enum Kind { NIL = 0, BOOL = 1, INTEGER = 2, FLOAT = 3, STRING = 4, DATA = 5, ARRAY = 6, OBJECT = 7 };

  typedef Vector<DynamicConfigValue> Array;
  typedef Map<String, DynamicConfigValue> Object;
  typedef Vector<uint8_t> Data;
  typedef Object::Iterator Iterator;

  static constexpr uint32_t OBJECT_NODE_CAPACITY = 20;

  // Nil without an allocator.
  DynamicConfigValue() : _tag(NIL) { _payload.allocator = nullptr; }
  // Nil that can become anything, taking its records from `allocator`.
  explicit DynamicConfigValue(Allocator& allocator) : _tag(NIL) { _payload.allocator = &allocator; }
  // A deep copy on the allocator of `other` (none for a scalar).
  DynamicConfigValue(const DynamicConfigValue& other);
  // Takes the records of `other`, which is left nil with its allocator.
  DynamicConfigValue(DynamicConfigValue&& other) noexcept;
  // Only strings, data and containers have anything to free: a scalar's
  // value is left as it is (arrays of millions of floats are freed
  // without writing to them).
  ~DynamicConfigValue() {
    if (kind() >= STRING)
      release_records();
  }

  // Deep copy onto this value's allocator ("a" when it has none and the
  // source needs records). The whole tag word is copied.
  DynamicConfigValue& operator=(const DynamicConfigValue& other);
  // Takes the value as it is, records and allocator (a nil value's too);
  // `other` is left nil with that allocator.
  DynamicConfigValue& operator=(DynamicConfigValue&& other);

  Kind kind() const { return Kind(_tag & 7); }
  bool is_nil() const { return kind() == NIL; }
  bool is_bool() const { return kind() == BOOL; }
  bool is_integer() const { return kind() == INTEGER; }
  bool is_float() const { return kind() == FLOAT; }
  bool is_string() const { return kind() == STRING; }
  bool is_data() const { return kind() == DATA; }
  bool is_array() const { return kind() == ARRAY; }
  bool is_object() const { return kind() == OBJECT; }

  // The upper 29 bits of the tag word.
  uint32_t annotation() const { return _tag >> 3; }
  void set_annotation(uint32_t value) { _tag = (value << 3) | (_tag & 7); }

  // The allocator new records would come from, or null.
  Allocator* allocator() const;

  // ---- reading ----
  bool to_bool() const;
  int32_t to_integer() const {
    if (TW_LIKELY(is_integer()))
      return _payload.integer;
    return to_integer_mismatch();
  }
  // An integer is converted.
  float to_float() const {
    if (TW_LIKELY(is_float()))
      return _payload.real;
    if (is_integer()) // whole numbers in documents are read as integers
      return float(_payload.integer);
    return to_float_other();
  }
  const char* to_string() const;
  // Bytes of the string, without the terminating zero (a string may hold zeros).
  uint32_t string_length() const;
  const Data& to_data() const;

  // Elements of an array; 0 for any other kind.
  uint32_t size() const;
  const DynamicConfigValue& at(uint32_t i) const;
  const DynamicConfigValue& get(const char* key) const;
  bool has(const char* key) const;
  // Members of an object in key order; a nil value gives an empty range.
  Iterator begin() const;
  Iterator end() const;

  // The shared, process-wide nil value (null allocator).
  static const DynamicConfigValue& nil();

  // ---- writing ----
  void set_nil() {
    if (kind() >= STRING)
      release_records();
    else if (kind() != NIL)
      _payload.allocator = nullptr; // a scalar has no allocator to keep
    set_kind(NIL);
  }
  void set_bool(bool value) {
    set_nil();
    set_kind(BOOL);
    _payload.bits = value ? 1 : 0;
  }
  void set_integer(int32_t value) {
    set_nil();
    set_kind(INTEGER);
    _payload.integer = value;
  }
  void set_float(float value) {
    set_nil();
    set_kind(FLOAT);
    _payload.real = value;
  }
  void set_string(const char* text);
  void set_string(const char* text, uint32_t length);
  void set_data(const void* bytes, uint32_t length);
  void set_object();
  void set_array();
  // Appends a nil element (turning nil into an array first) and returns it.
  DynamicConfigValue& push_back() {
    if (TW_LIKELY(is_array()))
      return static_cast<Array*>(_payload.pointer)->push_back_default();
    return push_back_first();
  }
  // Appends n floats or integers (turning nil into an array first): the
  // bulk form of push_back().set_float(v), for writers of long arrays.
  void append_floats(const float* values, uint32_t n);
  void append_integers(const int32_t* values, uint32_t n);
  DynamicConfigValue& at(uint32_t i);
  DynamicConfigValue& get(const char* key);
  // Makes room for n elements (turning nil into an array first), so that a
  // writer that knows the length appends without growing.
  void reserve(uint32_t n) { array().reserve(n); }
  // Removes a member of an object; returns whether there was one.
  bool remove(const char* key);

  // Direct access to the records, for writers that walk a tree fast.
  const Array* array_record() const { return is_array() ? static_cast<const Array*>(_payload.pointer) : nullptr; }
  const Object* object_record() const {
    return is_object() ? static_cast<const Object*>(_payload.pointer) : nullptr;
  }
  const String* string_record() const {
    return is_string() ? static_cast<const String*>(_payload.pointer) : nullptr;
  }

private:
  void set_kind(Kind k) { _tag = (_tag & ~7u) | uint32_t(k); }
  DynamicConfigValue& push_back_first();
  int32_t to_integer_mismatch() const;
  float to_float_other() const;
  // Frees the string, data, array or object record; leaves a nil value that
  // keeps the record's allocator.
  void release_records();
  void release_tree();
  Allocator& required_allocator() const;
  Array& array();
  Object& object();
  void copy_records_from(const DynamicConfigValue& other);

  uint32_t _tag;
  union {
    Allocator* allocator;
    void* pointer;
    int32_t integer;
    float real;
    uint32_t bits;
  } _payload;
};

typedef DynamicConfigValue DCV;

template <>
struct is_trivially_relocatable<DynamicConfigValue, void> : std::true_type {};

} // namespace foundation
