#include "foundation/config/dynamic_config_value.h"

#include "foundation/error/assert.h"

namespace foundation {

typedef DynamicConfigValue DCV;

DCV::DynamicConfigValue(const DCV& other) : _tag(NIL) {
  _payload.allocator = other.allocator();
  *this = other;
}

DCV::DynamicConfigValue(DCV&& other) noexcept : _tag(other._tag), _payload(other._payload) {
  Allocator* a = other.allocator();
  other._tag &= ~7u;
  other._payload.allocator = a;
}

Allocator* DCV::allocator() const {
  switch (kind()) {
  case NIL:
    return _payload.allocator;
  case STRING:
    return &static_cast<String*>(_payload.pointer)->allocator();
  case DATA:
    return &static_cast<Data*>(_payload.pointer)->allocator();
  case ARRAY:
    return &static_cast<Array*>(_payload.pointer)->allocator();
  case OBJECT:
    return &static_cast<Object*>(_payload.pointer)->allocator();
  default:
    return nullptr;
  }
}

Allocator& DCV::required_allocator() const {
  Allocator* _allocator = allocator();
  TW_ASSERT(_allocator);
  return *_allocator;
}

const DCV& DCV::nil() {
  static const DCV shared;
  return shared;
}

// ---------------------------------------------------------------------------
// Writing

namespace {

// Moves every array and object directly inside `v` (an array or object) to
// the end of `out`, leaving nil in its place. An array's strings and data
// are freed on the way, and its elements then dropped: they hold nothing
// left to free, so the array's own destruction does not visit them again.
void move_containers_out(DCV::Array* array, DCV::Object* object, DCV::Array& out) {
  if (array) {
    for (DCV& e : *array) {
      DCV::Kind k = e.kind();
      if (k < DCV::STRING)
        continue;
      if (k == DCV::ARRAY || k == DCV::OBJECT)
        out.push_back(std::move(e));
      else
        e.set_nil();
    }
    array->drop_elements();
  } else {
    for (DCV::Iterator it = object->begin(); it != object->end(); ++it)
      if (it.value().is_array() || it.value().is_object())
        out.push_back(std::move(it.value()));
  }
}

} // namespace

// A tree is freed without recursing once per level: every container below
// this one is first moved into one flat list, so that each record freed
// after that holds no containers and frees only its own values. Trees
// without nested containers (most arrays of a document) make no list.
void DCV::release_tree() {
  Array* array = kind() == ARRAY ? static_cast<Array*>(_payload.pointer) : nullptr;
  Object* object = kind() == OBJECT ? static_cast<Object*>(_payload.pointer) : nullptr;
  Array nested(*allocator());
  move_containers_out(array, object, nested);
  for (uint32_t i = 0; i < nested.size(); ++i) {
    // The records stay where they are while the list grows.
    DCV& v = nested[i];
    Array* a = v.kind() == ARRAY ? static_cast<Array*>(v._payload.pointer) : nullptr;
    Object* o = v.kind() == OBJECT ? static_cast<Object*>(v._payload.pointer) : nullptr;
    move_containers_out(a, o, nested);
  }
  Allocator* a = allocator();
  if (array)
    a->make_delete(array);
  else
    a->make_delete(object);
  set_kind(NIL);
  _payload.allocator = a;
}

void DCV::release_records() {
  Allocator* a = allocator();
  switch (kind()) {
  case STRING:
    a->make_delete(static_cast<String*>(_payload.pointer));
    break;
  case DATA:
    a->make_delete(static_cast<Data*>(_payload.pointer));
    break;
  case ARRAY:
  case OBJECT:
    release_tree();
    return;
  default:
    break;
  }
  set_kind(NIL);
  _payload.allocator = a;
}

void DCV::set_string(const char* text) { set_string(text, uint32_t(strlen(text))); }

void DCV::set_string(const char* text, uint32_t length) {
  set_nil();
  Allocator& a = required_allocator();
  String* s = a.make_new<String>(a);
  s->assign(text, length);
  set_kind(STRING);
  _payload.pointer = s;
}

void DCV::set_data(const void* bytes, uint32_t length) {
  set_nil();
  Allocator& a = required_allocator();
  Data* d = a.make_new<Data>(a);
  d->push_back_n(static_cast<const uint8_t*>(bytes), length);
  set_kind(DATA);
  _payload.pointer = d;
}

void DCV::set_object() {
  set_nil();
  Allocator& a = required_allocator();
  Object* o = a.make_new<Object>(a, OBJECT_NODE_CAPACITY);
  set_kind(OBJECT);
  _payload.pointer = o;
}

void DCV::set_array() {
  set_nil();
  Allocator& a = required_allocator();
  Array* v = a.make_new<Array>(a);
  set_kind(ARRAY);
  _payload.pointer = v;
}

// The writing forms turn nil into the container; any other kind but the
// container itself is reported as "is_nil()".
DCV::Array& DCV::array() {
  if (!is_array()) {
    TW_ASSERT(is_nil());
    set_array();
  }
  return *static_cast<Array*>(_payload.pointer);
}

DCV::Object& DCV::object() {
  if (!is_object()) {
    TW_ASSERT(is_nil());
    set_object();
  }
  return *static_cast<Object*>(_payload.pointer);
}

DCV& DCV::push_back_first() { return array().push_back_default(); }

void DCV::append_floats(const float* values, uint32_t n) {
  Array& a = array();
  uint32_t start = a.size();
  a.resize(start + n);
  DCV* out = a.data() + start;
  for (uint32_t i = 0; i < n; ++i) {
    // A new element is nil: a scalar drops its allocator, so only the kind
    // and the value are set.
    out[i]._tag = FLOAT;
    out[i]._payload.real = values[i];
  }
}

void DCV::append_integers(const int32_t* values, uint32_t n) {
  Array& a = array();
  uint32_t start = a.size();
  a.resize(start + n);
  DCV* out = a.data() + start;
  for (uint32_t i = 0; i < n; ++i) {
    out[i]._tag = INTEGER;
    out[i]._payload.integer = values[i];
  }
}

DCV& DCV::at(uint32_t i) {
  Array& a = array();
  if (i >= a.size())
    a.resize(i + 1);
  return a[i];
}

DCV& DCV::get(const char* key) { return object().get_or_insert(key); }

bool DCV::remove(const char* key) {
  if (!is_object())
    return false;
  return static_cast<Object*>(_payload.pointer)->remove(key);
}

// ---------------------------------------------------------------------------
// Copying

namespace {

// A container still to be filled by a copy: its source and its target.
struct PendingCopy {
  const DCV* source;
  DCV* target;
};

} // namespace

// Copies the record of `other` (a string, data, array or object) onto this
// value's allocator. Containers are copied level by level through a list of
// those still to fill, not by recursion, since documents can be as deep as
// the scenes they describe. A target's elements and members are all made
// before any is filled, so the pointers kept in the list stay valid.
void DCV::copy_records_from(const DCV& other) {
  Allocator* a = allocator();
  switch (other.kind()) {
  case STRING: {
    const String& src = *static_cast<const String*>(other._payload.pointer);
    String* s = a->make_new<String>(*a);
    s->assign(src.c_str(), src.length());
    _payload.pointer = s;
    return;
  }
  case DATA: {
    const Data& src = *static_cast<const Data*>(other._payload.pointer);
    _payload.pointer = a->make_new<Data>(src, *a);
    return;
  }
  case ARRAY:
  case OBJECT:
    break;
  default:
    return;
  }
  Vector<PendingCopy> pending(*a);
  pending.push_back(PendingCopy{&other, this});
  bool first = true;
  while (!pending.empty()) {
    PendingCopy job = pending.back();
    pending.pop_back();
    const DCV& from = *job.source;
    DCV& to = *job.target;
    Allocator* ta = first ? a : to.allocator();
    first = false;
    auto copy_element = [&](const DCV& e, DCV& out) {
      if (e.is_array() || e.is_object()) {
        // Made now and filled later; the whole tag word is copied as for
        // any value.
        out._payload.pointer = e.is_array() ? static_cast<void*>(ta->make_new<Array>(*ta))
                                            : static_cast<void*>(ta->make_new<Object>(*ta, OBJECT_NODE_CAPACITY));
        out._tag = e._tag;
        pending.push_back(PendingCopy{&e, &out});
      } else {
        out = e;
      }
    };
    if (from.is_array()) {
      const Array& src = *static_cast<const Array*>(from._payload.pointer);
      Array* v = to.is_array() ? static_cast<Array*>(to._payload.pointer) : ta->make_new<Array>(*ta);
      v->resize(src.size());
      to._payload.pointer = v;
      for (uint32_t i = 0; i < src.size(); ++i)
        copy_element(src[i], (*v)[i]);
    } else {
      const Object& src = *static_cast<const Object*>(from._payload.pointer);
      Object* o = to.is_object() ? static_cast<Object*>(to._payload.pointer)
                                 : ta->make_new<Object>(*ta, OBJECT_NODE_CAPACITY);
      to._payload.pointer = o;
      for (Iterator it = src.begin(); it != src.end(); ++it)
        o->get_or_insert(it.key().c_str());
      // Both maps hold the same keys in the same order.
      Iterator out = o->begin();
      for (Iterator it = src.begin(); it != src.end(); ++it, ++out)
        copy_element(it.value(), out.value());
    }
  }
}

DCV& DCV::operator=(const DCV& other) {
  if (this == &other)
    return *this;
  set_nil();
  Kind k = other.kind();
  if (k >= STRING) {
    // "a": this value needs an allocator for the records it copies.
    Allocator* a = allocator();
    TW_ASSERT(a);
    if (!a)
      return *this;
    copy_records_from(other);
  } else if (k != NIL) {
    _payload.bits = other._payload.bits;
  }
  _tag = other._tag;
  return *this;
}

DCV& DCV::operator=(DCV&& other) {
  if (this == &other)
    return *this;
  // A move hands over the value as it is, records and allocator (a nil
  // value's too), so that values moved inside containers keep what they
  // were made with whatever the target held before.
  set_nil();
  Allocator* a = other.allocator();
  _payload = other._payload;
  _tag = other._tag;
  other._tag &= ~7u;
  other._payload.allocator = a;
  return *this;
}

// ---------------------------------------------------------------------------
// Reading

bool DCV::to_bool() const {
  TW_ASSERT(is_bool());
  return (_payload.bits & 0xFF) != 0;
}

int32_t DCV::to_integer_mismatch() const {
  TW_ASSERT(is_integer());
  return 0;
}

// The float reader reports the integer condition, as it accepts integers.
float DCV::to_float_other() const {
  TW_ASSERT(is_integer());
  return is_integer() ? float(_payload.integer) : 0.0f;
}

const char* DCV::to_string() const {
  TW_ASSERT(is_string());
  return is_string() ? static_cast<const String*>(_payload.pointer)->c_str() : "";
}

uint32_t DCV::string_length() const {
  TW_ASSERT(is_string());
  return is_string() ? static_cast<const String*>(_payload.pointer)->length() : 0;
}

const DCV::Data& DCV::to_data() const {
  TW_ASSERT(is_data());
  return *static_cast<const Data*>(_payload.pointer);
}

uint32_t DCV::size() const { return is_array() ? static_cast<const Array*>(_payload.pointer)->size() : 0; }

const DCV& DCV::at(uint32_t i) const {
  TW_ASSERT(is_array() || is_nil());
  if (!is_array())
    return nil();
  const Array& a = *static_cast<const Array*>(_payload.pointer);
  return i < a.size() ? a[i] : nil();
}

const DCV& DCV::get(const char* key) const {
  TW_ASSERT(is_object() || is_nil());
  if (!is_object())
    return nil();
  Iterator it = static_cast<const Object*>(_payload.pointer)->find(key);
  return it == Iterator() ? nil() : it.value();
}

bool DCV::has(const char* key) const {
  TW_ASSERT(is_object() || is_nil());
  if (!is_object())
    return false;
  return static_cast<const Object*>(_payload.pointer)->has(key);
}

DCV::Iterator DCV::begin() const {
  TW_ASSERT(is_object() || is_nil());
  if (!is_object())
    return Iterator();
  return static_cast<const Object*>(_payload.pointer)->begin();
}

DCV::Iterator DCV::end() const { return Iterator(); }

} // namespace foundation
