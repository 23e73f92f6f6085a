#include "scene/document_schema.h"

#include "scene/scene_database.h"

#include "foundation/memory/temp_allocator.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

namespace twi {

using foundation::DynamicConfigValue;
using foundation::String;
using foundation::Vector;
typedef DynamicConfigValue DCV;

namespace {

// Where in the document a check is: a chain of keys and element numbers on
// the walk's stack, outermost first when printed ("geometries > body > streams > 1").
struct Place {
  const Place* up;
  const char* key; // null for an element number
  uint32_t index;
};

const char* kind_name(const DCV& v) {
  switch (v.kind()) {
  case DCV::NIL:
    return "null";
  case DCV::BOOL:
    return "a bool";
  case DCV::INTEGER:
    return "an integer";
  case DCV::FLOAT:
    return "a float";
  case DCV::STRING:
    return "a string";
  case DCV::DATA:
    return "data";
  case DCV::ARRAY:
    return "an array";
  default:
    return "an object";
  }
}

class Validator {
public:
  Validator(Vector<String>& problems, uint32_t max_problems) : _problems(problems), _max(max_problems) {}

  uint32_t count() const { return _count; }
  void finish() {
    if (_count > _max) {
      char line[128];
      snprintf(line, sizeof(line), "... and %u more problems", _count - _max);
      _problems.push_back_default() = line;
    }
  }

  void problem(const Place* place, const char* format, ...) TW_PRINTF_FORMAT(3, 4) {
    if (++_count > _max)
      return;
    char where[512];
    format_place(place, where, sizeof(where));
    char message[512];
    va_list args;
    va_start(args, format);
    vsnprintf(message, sizeof(message), format, args);
    va_end(args);
    char line[1100];
    snprintf(line, sizeof(line), "%s%s%s", where, where[0] ? ": " : "", message);
    _problems.push_back_default() = line;
  }

  // ---- kinds ----------------------------------------------------------

  bool expect_object(const Place* p, const DCV& v) {
    if (v.is_object())
      return true;
    problem(p, "is %s, not an object", kind_name(v));
    return false;
  }
  bool expect_array(const Place* p, const DCV& v) {
    if (v.is_array())
      return true;
    problem(p, "is %s, not an array", kind_name(v));
    return false;
  }
  // An array, or null where the format writes an empty one as null.
  bool expect_array_or_null(const Place* p, const DCV& v) {
    if (v.is_array() || v.is_nil())
      return true;
    problem(p, "is %s, not an array or null", kind_name(v));
    return false;
  }
  bool expect_string(const Place* p, const DCV& v) {
    if (v.is_string())
      return true;
    problem(p, "is %s, not a string", kind_name(v));
    return false;
  }
  // A count or an index: an integer that is not negative.
  bool expect_count(const Place* p, const DCV& v) {
    if (!v.is_integer()) {
      problem(p, "is %s, not an integer", kind_name(v));
      return false;
    }
    if (v.to_integer() < 0) {
      problem(p, "is %d, which is negative", v.to_integer());
      return false;
    }
    return true;
  }

  // An array of numbers (integers are floats written without a point);
  // `expected` < 0 for any length.
  void expect_numbers(const Place* p, const DCV& v, int64_t expected, const char* what) {
    if (!expect_array(p, v))
      return;
    check_numbers(p, v, expected, what);
  }
  void check_numbers(const Place* p, const DCV& v, int64_t expected, const char* what) {
    uint32_t n = v.size();
    if (expected >= 0 && int64_t(n) != expected)
      problem(p, "holds %u numbers, not %s", n, what);
    const DCV* elements = n ? v.array_record()->data() : nullptr;
    for (uint32_t i = 0; i < n; ++i) {
      const DCV& e = elements[i];
      if (!e.is_float() && !e.is_integer()) {
        Place at = {p, nullptr, i};
        problem(&at, "is %s, not a number", kind_name(e));
        return; // one per array is enough
      }
    }
  }

  // Members the format does not have, and required ones that are missing.
  void expect_keys(const Place* p, const DCV& object, const char* const* allowed, const char* const* required) {
    for (DCV::Iterator it = object.begin(); it != object.end(); ++it) {
      bool known = false;
      for (const char* const* k = allowed; *k; ++k)
        if (strcmp(*k, it.key().c_str()) == 0)
          known = true;
      if (!known)
        problem(p, "has the key \"%s\", which the format does not have", it.key().c_str());
    }
    for (const char* const* k = required; *k; ++k)
      if (!object.has(*k))
        problem(p, "lacks the key \"%s\"", *k);
  }

  // ---- the format -----------------------------------------------------

  void root(const DCV& v) {
    if (!v.is_object()) {
      problem(nullptr, "the document's root is %s, not an object", kind_name(v));
      return;
    }
    static const char* const ALLOWED[] = {"animations", "geometries", "nodes", "skins", "source_path", nullptr};
    static const char* const REQUIRED[] = {"nodes", "source_path", nullptr};
    expect_keys(nullptr, v, ALLOWED, REQUIRED);

    if (v.has("nodes")) {
      Place p = {nullptr, "nodes", 0};
      const DCV& nodes = v.get("nodes");
      if (nodes.is_object())
        node_members(&p, nodes, nullptr);
      else if (!nodes.is_nil())
        problem(&p, "is %s, not an object or null", kind_name(nodes));
    }
    if (v.has("geometries")) {
      Place p = {nullptr, "geometries", 0};
      const DCV& geometries = v.get("geometries");
      if (expect_object(&p, geometries))
        for (DCV::Iterator it = geometries.begin(); it != geometries.end(); ++it) {
          Place g = {&p, it.key().c_str(), 0};
          geometry(&g, it.value());
        }
    }
    if (v.has("skins")) {
      Place p = {nullptr, "skins", 0};
      const DCV& skins = v.get("skins");
      if (expect_object(&p, skins))
        for (DCV::Iterator it = skins.begin(); it != skins.end(); ++it) {
          Place s = {&p, it.key().c_str(), 0};
          skin(&s, it.value());
        }
    }
    if (v.has("animations")) {
      Place p = {nullptr, "animations", 0};
      const DCV& animations = v.get("animations");
      if (expect_array(&p, animations))
        for (uint32_t i = 0; i < animations.size(); ++i) {
          Place a = {&p, nullptr, i};
          animation(&a, animations.at(i));
        }
    }
    if (v.has("source_path")) {
      Place p = {nullptr, "source_path", 0};
      expect_string(&p, v.get("source_path"));
    }
  }

  // The members of "nodes" or of a node's "children"; `parent` names the
  // node they belong to (null for the roots). The hierarchy is walked with
  // a list of the nodes still to check, not by recursion, since documents
  // are as deep as scenes; the places of the walk live in `arena` until it
  // ends, as a problem names the chain of keys down to it.
  void node_members(const Place* p, const DCV& members, const char* parent) {
    foundation::ScopedTempAllocator arena;
    struct Pending {
      const Place* place;
      const char* name;
      const DCV* value;
      const char* parent;
    };
    Vector<Pending> todo(arena);
    auto push_members = [&](const Place* at, const DCV& object, const char* parent_name) {
      uint32_t first = todo.size();
      for (DCV::Iterator it = object.begin(); it != object.end(); ++it) {
        Place* n = arena.make_new<Place>(Place{at, it.key().c_str(), 0});
        todo.push_back(Pending{n, it.key().c_str(), &it.value(), parent_name});
      }
      // Checked in key order: the first member is taken first.
      for (uint32_t i = first, j = todo.size(); i + 1 < j; ++i, --j) {
        Pending t = todo[i];
        todo[i] = todo[j - 1];
        todo[j - 1] = t;
      }
    };
    push_members(p, members, parent);
    while (!todo.empty()) {
      Pending at = todo.back();
      todo.pop_back();
      const DCV* children = node(at.place, *at.value, at.parent);
      if (children) {
        Place* k = arena.make_new<Place>(Place{at.place, "children", 0});
        if (expect_object(k, *children))
          push_members(k, *children, at.name);
      }
    }
  }

  // Checks a node's own keys; its "children" when it has them.
  const DCV* node(const Place* p, const DCV& v, const char* parent) {
    if (!expect_object(p, v))
      return nullptr;
    static const char* const ALLOWED[] = {"children", "geometries", "local", "parent", nullptr};
    static const char* const REQUIRED[] = {"local", nullptr};
    expect_keys(p, v, ALLOWED, REQUIRED);
    if (v.has("local")) {
      Place k = {p, "local", 0};
      expect_numbers(&k, v.get("local"), 16, "16");
    }
    if (v.has("parent")) {
      Place k = {p, "parent", 0};
      const DCV& named = v.get("parent");
      if (expect_string(&k, named)) {
        if (!parent)
          problem(&k, "names \"%s\", but the node is a root", named.to_string());
        else if (strcmp(parent, named.to_string()) != 0)
          problem(&k, "names \"%s\", but the node is a child of \"%s\"", named.to_string(), parent);
      }
    } else if (parent) {
      problem(p, "lacks the key \"parent\" (it is a child of \"%s\")", parent);
    }
    if (v.has("geometries")) {
      Place k = {p, "geometries", 0};
      const DCV& geometries = v.get("geometries");
      if (expect_array(&k, geometries))
        for (uint32_t i = 0; i < geometries.size(); ++i) {
          Place e = {&k, nullptr, i};
          expect_string(&e, geometries.at(i));
        }
    }
    return v.has("children") ? &v.get("children") : nullptr;
  }

  // Returns the number of floats one element of the stream holds (0 when
  // its channels can't be known).
  uint32_t channels(const Place* p, const DCV& v, uint32_t* bytes) {
    *bytes = 0;
    if (!expect_array_or_null(p, v))
      return 0;
    uint32_t floats = 0;
    for (uint32_t i = 0; i < v.size(); ++i) {
      Place c = {p, nullptr, i};
      const DCV& channel = v.at(i);
      if (!expect_object(&c, channel))
        continue;
      static const char* const KEYS[] = {"index", "name", "type", nullptr};
      expect_keys(&c, channel, KEYS, KEYS);
      if (channel.has("index")) {
        Place k = {&c, "index", 0};
        expect_count(&k, channel.get("index"));
      }
      if (channel.has("name")) {
        Place k = {&c, "name", 0};
        expect_string(&k, channel.get("name"));
      }
      if (channel.has("type")) {
        Place k = {&c, "type", 0};
        const DCV& type = channel.get("type");
        if (expect_string(&k, type)) {
          bool known = false;
          for (int t = CT_FLOAT1; t <= CT_QUATERNION; ++t) {
            if (strcmp(type.to_string(), channel_type_name(ChannelType(t))) == 0) {
              known = true;
              floats += channel_type_components(ChannelType(t));
              *bytes += channel_type_size(ChannelType(t));
            }
          }
          if (!known)
            problem(&k, "\"%s\" is not a channel type (CT_FLOAT1, CT_FLOAT2, CT_FLOAT3, CT_FLOAT4, "
                        "CT_MATRIX4x4 or CT_QUATERNION)",
                    type.to_string());
        }
      }
    }
    return floats;
  }

  void stream(const Place* p, const DCV& v) {
    if (!expect_object(p, v))
      return;
    static const char* const KEYS[] = {"channels", "data", "size", "stride", nullptr};
    expect_keys(p, v, KEYS, KEYS);
    uint32_t bytes = 0, floats = 0;
    bool channels_known = v.has("channels");
    if (channels_known) {
      Place k = {p, "channels", 0};
      uint32_t problems_before = _count;
      floats = channels(&k, v.get("channels"), &bytes);
      channels_known = _count == problems_before;
    }
    int64_t size = -1;
    if (v.has("size")) {
      Place k = {p, "size", 0};
      if (expect_count(&k, v.get("size")))
        size = v.get("size").to_integer();
    }
    if (size > 0 && channels_known && floats == 0)
      problem(p, "has %lld elements but no channels to hold them", (long long)size);
    if (v.has("stride")) {
      Place k = {p, "stride", 0};
      const DCV& stride = v.get("stride");
      if (expect_count(&k, stride) && channels_known && uint32_t(stride.to_integer()) != bytes)
        problem(&k, "is %d, but the channels take %u bytes", stride.to_integer(), bytes);
    }
    if (v.has("data")) {
      Place k = {p, "data", 0};
      const DCV& data = v.get("data");
      if (!expect_array_or_null(&k, data))
        return;
      if (size >= 0 && channels_known) {
        int64_t expected = size * int64_t(floats);
        char what[96];
        snprintf(what, sizeof(what), "size %lld x %u floats", (long long)size, floats);
        if (data.is_nil() && expected != 0)
          problem(&k, "is null, but size %lld x %u floats are %lld numbers", (long long)size, floats,
                  (long long)expected);
        else
          check_numbers(&k, data, data.is_nil() ? 0 : expected, what);
      } else {
        check_numbers(&k, data, -1, "");
      }
    }
  }

  void geometry(const Place* p, const DCV& v) {
    if (!expect_object(p, v))
      return;
    static const char* const ALLOWED[] = {"indices", "materials", "skin", "smoothing", "streams", nullptr};
    static const char* const REQUIRED[] = {nullptr};
    expect_keys(p, v, ALLOWED, REQUIRED);
    int64_t stream_count = -1;
    if (v.has("streams")) {
      Place k = {p, "streams", 0};
      const DCV& streams = v.get("streams");
      if (expect_array(&k, streams)) {
        stream_count = streams.size();
        for (uint32_t i = 0; i < streams.size(); ++i) {
          Place s = {&k, nullptr, i};
          stream(&s, streams.at(i));
        }
      }
    } else {
      stream_count = 0;
    }
    if (v.has("indices")) {
      Place k = {p, "indices", 0};
      indices(&k, v.get("indices"), stream_count);
    }
    if (v.has("materials")) {
      Place k = {p, "materials", 0};
      const DCV& materials = v.get("materials");
      if (expect_array(&k, materials))
        for (uint32_t i = 0; i < materials.size(); ++i) {
          Place m = {&k, nullptr, i};
          material(&m, materials.at(i));
        }
    }
    if (v.has("smoothing")) {
      Place k = {p, "smoothing", 0};
      const DCV& smoothing = v.get("smoothing");
      if (expect_array(&k, smoothing))
        counts(&k, smoothing);
    }
    if (v.has("skin")) {
      Place k = {p, "skin", 0};
      expect_string(&k, v.get("skin"));
    }
  }

  // Every element a count or index; one problem per array.
  void counts(const Place* p, const DCV& array) {
    for (uint32_t i = 0; i < array.size(); ++i) {
      const DCV& e = array.at(i);
      if (!e.is_integer() || e.to_integer() < 0) {
        Place at = {p, nullptr, i};
        problem(&at, "is %s, not an integer of 0 or more", e.is_integer() ? "negative" : kind_name(e));
        return;
      }
    }
  }

  void indices(const Place* p, const DCV& v, int64_t stream_count) {
    if (!expect_object(p, v))
      return;
    static const char* const KEYS[] = {"size", "streams", "type", nullptr};
    expect_keys(p, v, KEYS, KEYS);
    int64_t size = -1;
    if (v.has("size")) {
      Place k = {p, "size", 0};
      if (expect_count(&k, v.get("size"))) {
        size = v.get("size").to_integer();
        if (size % 3 != 0)
          problem(&k, "is %lld, not three entries per triangle", (long long)size);
      }
    }
    if (v.has("type")) {
      Place k = {p, "type", 0};
      const DCV& type = v.get("type");
      if (expect_string(&k, type) && strcmp(type.to_string(), "TRIANGLE_LIST") != 0)
        problem(&k, "\"%s\" is not an index type (TRIANGLE_LIST)", type.to_string());
    }
    if (v.has("streams")) {
      Place k = {p, "streams", 0};
      const DCV& lists = v.get("streams");
      if (!expect_array(&k, lists))
        return;
      if (stream_count >= 0 && int64_t(lists.size()) != stream_count)
        problem(&k, "holds %u index lists for %lld streams", lists.size(), (long long)stream_count);
      for (uint32_t s = 0; s < lists.size(); ++s) {
        Place l = {&k, nullptr, s};
        const DCV& list = lists.at(s);
        if (!expect_array_or_null(&l, list))
          continue;
        if (size >= 0 && int64_t(list.size()) != size)
          problem(&l, "holds %u entries, not size %lld", list.size(), (long long)size);
        counts(&l, list);
      }
    }
  }

  void material(const Place* p, const DCV& v) {
    if (!expect_object(p, v))
      return;
    static const char* const KEYS[] = {"name", "primitives", nullptr};
    expect_keys(p, v, KEYS, KEYS);
    if (v.has("name")) {
      Place k = {p, "name", 0};
      expect_string(&k, v.get("name"));
    }
    if (v.has("primitives")) {
      Place k = {p, "primitives", 0};
      const DCV& primitives = v.get("primitives");
      if (expect_array_or_null(&k, primitives))
        counts(&k, primitives);
    }
  }

  void skin(const Place* p, const DCV& v) {
    if (!expect_object(p, v))
      return;
    static const char* const KEYS[] = {"bind_matrix", "joints", nullptr};
    expect_keys(p, v, KEYS, KEYS);
    if (v.has("bind_matrix")) {
      Place k = {p, "bind_matrix", 0};
      expect_numbers(&k, v.get("bind_matrix"), 16, "16");
    }
    if (v.has("joints")) {
      Place k = {p, "joints", 0};
      const DCV& joints = v.get("joints");
      if (!expect_array_or_null(&k, joints))
        return;
      for (uint32_t i = 0; i < joints.size(); ++i) {
        Place j = {&k, nullptr, i};
        const DCV& joint = joints.at(i);
        if (!expect_object(&j, joint))
          continue;
        static const char* const JOINT_KEYS[] = {"inv_bind_matrix", "name", nullptr};
        expect_keys(&j, joint, JOINT_KEYS, JOINT_KEYS);
        if (joint.has("inv_bind_matrix")) {
          Place m = {&j, "inv_bind_matrix", 0};
          expect_numbers(&m, joint.get("inv_bind_matrix"), 16, "16");
        }
        if (joint.has("name")) {
          Place n = {&j, "name", 0};
          expect_string(&n, joint.get("name"));
        }
      }
    }
  }

  void animation(const Place* p, const DCV& v) {
    if (!expect_object(p, v))
      return;
    static const char* const ALLOWED[] = {"node", "parameter", "stream", "times", nullptr};
    static const char* const REQUIRED[] = {"node", "parameter", "stream", nullptr};
    expect_keys(p, v, ALLOWED, REQUIRED);
    if (v.has("node")) {
      Place k = {p, "node", 0};
      expect_string(&k, v.get("node"));
    }
    if (v.has("parameter")) {
      Place k = {p, "parameter", 0};
      expect_string(&k, v.get("parameter"));
    }
    if (v.has("stream")) {
      Place k = {p, "stream", 0};
      stream(&k, v.get("stream"));
    }
    if (v.has("times")) {
      Place k = {p, "times", 0};
      const DCV& times = v.get("times");
      // The stream may be of the wrong kind (reported above); then the
      // times have no sample count to match.
      const DCV& stream_value = v.get("stream");
      const DCV& size = stream_value.is_object() ? stream_value.get("size") : DCV::nil();
      int64_t expected = size.is_integer() && size.to_integer() >= 0 ? size.to_integer() : -1;
      char what[64];
      snprintf(what, sizeof(what), "one per sample (%lld)", (long long)expected);
      expect_numbers(&k, times, expected, what);
    }
  }

private:
  static void format_place(const Place* place, char* out, size_t size) {
    // Collect the chain innermost first, print it outermost first; in a
    // deep document only the innermost keys, after "... > ".
    const uint32_t MAX_SHOWN = 12;
    const Place* chain[MAX_SHOWN];
    uint32_t n = 0;
    const Place* p = place;
    for (; p && n < MAX_SHOWN; p = p->up)
      chain[n++] = p;
    size_t used = 0;
    out[0] = 0;
    if (p)
      used = size_t(snprintf(out, size, "..."));
    for (uint32_t i = n; i-- > 0 && used + 1 < size;) {
      int w = chain[i]->key ? snprintf(out + used, size - used, "%s%s", used ? " > " : "", chain[i]->key)
                            : snprintf(out + used, size - used, "%s%u", used ? " > " : "", chain[i]->index);
      if (w < 0)
        break;
      used += size_t(w) < size - used ? size_t(w) : size - used - 1;
    }
  }

  Vector<String>& _problems;
  uint32_t _max;
  uint32_t _count = 0;
};

} // namespace

bool validate_scene_document(const DCV& root, Vector<String>& problems, uint32_t max_problems) {
  Validator validator(problems, max_problems);
  validator.root(root);
  validator.finish();
  return validator.count() == 0;
}

} // namespace twi
