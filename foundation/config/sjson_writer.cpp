#include "foundation/config/sjson_writer.h"

#include "foundation/memory/temp_allocator.h"
#include "foundation/utility/float_format.h"

#include <string.h>

namespace foundation {

namespace {

typedef DynamicConfigValue DCV;

// Where a TextWriter's bytes go: a growing vector or a list of blocks. The
// writer fills the room it was given through a cursor and asks for more
// only when it runs out, so the sink is consulted rarely.
class TextSink {
public:
  // Everything before `text_end` is written; room for at least `n` more.
  virtual char* room(char* text_end, uint32_t n, char** room_end) = 0;
  virtual void commit(char* text_end) = 0;

protected:
  ~TextSink() {}
};

class VectorSink : public TextSink {
public:
  explicit VectorSink(Vector<char>& out) : _out(out) {}
  char* start(char** room_end) {
    *room_end = _out.data() + _out.capacity();
    return _out.data() + _out.size();
  }
  char* room(char* text_end, uint32_t n, char** room_end) override {
    commit(text_end);
    char* at = _out.make_room(n);
    *room_end = _out.data() + _out.capacity();
    return at;
  }
  void commit(char* text_end) override { _out.set_size(uint32_t(text_end - _out.data())); }

private:
  Vector<char>& _out;
};

class ChunkSink : public TextSink {
public:
  explicit ChunkSink(TextChunks& out) : _out(out) {}
  char* start(char** room_end) { return _out.room(FLOAT_G_MAX_CHARS, room_end); }
  char* room(char* text_end, uint32_t n, char** room_end) override {
    commit(text_end);
    return _out.room(n, room_end);
  }
  void commit(char* text_end) override { _out.commit(text_end); }

private:
  TextChunks& _out;
};

const int MAX_INDENT = 64;

class TextWriter {
public:
  explicit TextWriter(VectorSink& sink) : _sink(sink) { _cur = sink.start(&_end); }
  explicit TextWriter(ChunkSink& sink) : _sink(sink) { _cur = sink.start(&_end); }
  ~TextWriter() { _sink.commit(_cur); }
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  void need(uint32_t n) {
    if (uint32_t(_end - _cur) < n)
      refill(n);
  }

  void put(char c) {
    need(1);
    *_cur++ = c;
  }
  void put(const char* text, uint32_t n) {
    need(n);
    memcpy(_cur, text, n);
    _cur += n;
  }
  template <uint32_t N>
  void literal(const char (&text)[N]) {
    put(text, N - 1);
  }

  // Indentation grows with the level up to MAX_INDENT tabs and stays
  // there: the text of a deep document stays proportional to its values.
  void tabs(int n) {
    if (n <= 0)
      return;
    if (n > MAX_INDENT)
      n = MAX_INDENT;
    need(uint32_t(n));
    memset(_cur, '\t', uint32_t(n));
    _cur += n;
  }

  // Room must have been made: the writers below may use FLOAT_G_MAX_CHARS.
  // Two digits at a time from a table of 00..99.
  void integer_unchecked(int32_t value) {
    static const char PAIRS[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                                "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                                "8081828384858687888990919293949596979899";
    uint32_t magnitude = value < 0 ? 0u - uint32_t(value) : uint32_t(value);
    if (value < 0)
      *_cur++ = '-';
    // Written in place from the last digit back: no copy, no call.
    uint32_t digits = 1;
    for (uint32_t bound = 10; digits < 10 && magnitude >= bound; bound *= 10)
      ++digits;
    char* end = _cur + digits;
    char* p = end;
    while (magnitude >= 100) {
      uint32_t pair = (magnitude % 100) * 2;
      magnitude /= 100;
      p -= 2;
      p[0] = PAIRS[pair];
      p[1] = PAIRS[pair + 1];
    }
    if (magnitude >= 10) {
      p -= 2;
      p[0] = PAIRS[magnitude * 2];
      p[1] = PAIRS[magnitude * 2 + 1];
    } else {
      *--p = char('0' + magnitude);
    }
    _cur = end;
  }
  void real_g_unchecked(float value) { _cur += format_float_g(value, _cur); }

  void integer(int32_t value) {
    need(12);
    integer_unchecked(value);
  }
  void real_g(float value) {
    need(FLOAT_G_MAX_CHARS);
    real_g_unchecked(value);
  }
  void real_f(float value) {
    need(FLOAT_F_MAX_CHARS);
    _cur += format_float_f(value, _cur);
  }
  void real_shortest(float value) {
    need(FLOAT_SHORTEST_MAX_CHARS);
    _cur += format_float_shortest(value, _cur);
  }

  // Quoted, with the double quote and backslash escaped; newline and
  // carriage return escaped too when `escape_line_breaks`, and every other
  // control character as \u00XX when `escape_controls`.
  void quoted(const char* text, uint32_t n, bool escape_line_breaks, bool escape_controls = false) {
    put('"');
    uint32_t start = 0;
    for (uint32_t i = 0; i < n; ++i) {
      char c = text[i];
      const char* escape = nullptr;
      char code[7];
      uint32_t length = 2;
      if (c == '"')
        escape = "\\\"";
      else if (c == '\\')
        escape = "\\\\";
      else if (escape_line_breaks && c == '\n')
        escape = "\\n";
      else if (escape_line_breaks && c == '\r')
        escape = "\\r";
      else if (escape_controls && (unsigned char)c < 0x20) {
        static const char HEX[] = "0123456789abcdef";
        code[0] = '\\';
        code[1] = 'u';
        code[2] = '0';
        code[3] = '0';
        code[4] = HEX[(unsigned char)c >> 4];
        code[5] = HEX[(unsigned char)c & 15];
        escape = code;
        length = 6;
      }
      if (escape) {
        put(text + start, i - start);
        put(escape, length);
        start = i + 1;
      }
    }
    put(text + start, n - start);
    put('"');
  }

  void key(const String& k) {
    if (is_identifier(k.c_str()))
      put(k.c_str(), k.length());
    else
      quoted(k.c_str(), k.length(), false);
  }

private:
  void refill(uint32_t n) { _cur = _sink.room(_cur, n, &_end); }

  TextSink& _sink;
  char* _cur;
  char* _end;
};

void write_text_value(TextWriter& w, const DCV& v, bool escape_line_breaks, bool escape_controls = false) {
  if (v.is_string()) {
    const String& s = *v.string_record();
    w.quoted(s.c_str(), s.length(), escape_line_breaks, escape_controls);
  } else {
    const DCV::Data& d = v.to_data();
    w.quoted(reinterpret_cast<const char*>(d.data()), d.size(), escape_line_breaks, escape_controls);
  }
}

// An array or object being printed: where its walk is, and its level.
struct OpenValue {
  const DCV* value;
  uint32_t index;     // next element of an array
  DCV::Iterator next; // next member of an object
  int level;
};

typedef Vector<OpenValue> OpenList;

// Opens `v` (an array or object) at `level`: its bracket is printed and it
// goes on the list of open values.
void open_value(TextWriter& w, OpenList& open, const DCV& v, int level) {
  w.put(v.is_array() ? '[' : '{');
  open.push_back(OpenValue{&v, 0, v.is_object() ? v.begin() : DCV::Iterator(), level});
}

// A scalar as SJSON prints it.
void write_sjson_scalar(TextWriter& w, const DCV& v) {
  switch (v.kind()) {
  case DCV::NIL:
    w.literal("null");
    break;
  case DCV::BOOL:
    if (v.to_bool())
      w.literal("true");
    else
      w.literal("false");
    break;
  case DCV::INTEGER:
    w.integer(v.to_integer());
    break;
  case DCV::FLOAT:
    w.real_g(v.to_float());
    break;
  default:
    write_text_value(w, v, false);
    break;
  }
}

// Prints `v` at `level`. Nested arrays and objects are walked with a list
// of the open ones rather than by recursion: documents are as deep as the
// scenes they describe.
void write_sjson_value(TextWriter& w, OpenList& open, const DCV& v, int level, bool multiline) {
  if (!v.is_array() && !v.is_object()) {
    write_sjson_scalar(w, v);
    return;
  }
  size_t base = open.size();
  open_value(w, open, v, level);
  while (open.size() > base) {
    OpenValue& top = open.back();
    int inner = top.level + 1;
    const DCV* child = nullptr;
    if (top.value->is_array()) {
      const DCV::Array& a = *top.value->array_record();
      while (top.index < a.size()) {
        const DCV& e = a[top.index++];
        if (!multiline && e.is_float()) {
          // The common case of documents: long arrays of numbers on one line.
          w.need(1 + FLOAT_G_MAX_CHARS);
          w.put(' ');
          w.real_g_unchecked(e.to_float());
          continue;
        }
        if (!multiline && e.is_integer()) {
          w.need(1 + 12);
          w.put(' ');
          w.integer_unchecked(e.to_integer());
          continue;
        }
        if (multiline) {
          w.put('\n');
          w.tabs(inner);
        } else {
          w.put(' ');
        }
        if (e.is_array() || e.is_object()) {
          child = &e;
          break;
        }
        write_sjson_scalar(w, e);
      }
      if (!child) {
        if (multiline) {
          w.put('\n');
          w.tabs(top.level);
        } else {
          w.put(' ');
        }
        w.put(']');
        open.pop_back();
        continue;
      }
    } else {
      while (top.next != top.value->end()) {
        DCV::Iterator it = top.next;
        ++top.next;
        w.put('\n');
        w.tabs(inner);
        w.key(it.key());
        w.literal(" = ");
        const DCV& e = it.value();
        if (e.is_array() || e.is_object()) {
          child = &e;
          break;
        }
        write_sjson_scalar(w, e);
      }
      if (!child) {
        w.put('\n');
        w.tabs(top.level);
        w.put('}');
        open.pop_back();
        continue;
      }
    }
    open_value(w, open, *child, inner); // `top` is not used after this
  }
}

void write_json_scalar(TextWriter& w, const DCV& v, bool single_line, bool exact) {
  switch (v.kind()) {
  case DCV::FLOAT:
    if (!exact) {
      w.real_f(v.to_float());
    } else {
      float f = v.to_float();
      if (f - f == 0.0f) // finite
        w.real_shortest(f);
      else
        w.literal("null");
    }
    break;
  case DCV::STRING:
  case DCV::DATA:
    write_text_value(w, v, single_line, exact);
    break;
  default:
    write_sjson_scalar(w, v);
    break;
  }
}

void write_json_value(TextWriter& w, OpenList& open, const DCV& v, bool single_line, bool exact) {
  if (!v.is_array() && !v.is_object()) {
    write_json_scalar(w, v, single_line, exact);
    return;
  }
  open_value(w, open, v, 0);
  while (!open.empty()) {
    OpenValue& top = open.back();
    int inner = top.level + 1;
    bool array = top.value->is_array();
    bool more = array ? top.index < top.value->array_record()->size() : top.next != top.value->end();
    if (!more) {
      if (!single_line) {
        w.put('\n');
        w.tabs(top.level);
      }
      w.put(array ? ']' : '}');
      open.pop_back();
      continue;
    }
    bool first = array ? top.index == 0 : top.next == top.value->begin();
    if (!first)
      w.put(',');
    if (single_line) {
      w.put(' ');
    } else {
      w.put('\n');
      w.tabs(inner);
    }
    const DCV* e;
    if (array) {
      e = &(*top.value->array_record())[top.index++];
    } else {
      DCV::Iterator it = top.next;
      ++top.next;
      w.quoted(it.key().c_str(), it.key().length(), single_line, exact);
      w.literal(" : ");
      e = &it.value();
    }
    if (e->is_array() || e->is_object())
      open_value(w, open, *e, inner); // `top` is not used after this
    else
      write_json_scalar(w, *e, single_line, exact);
  }
}

} // namespace

bool is_identifier(const char* key) {
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(key); *p; ++p) {
    unsigned char c = *p;
    bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    if (!ok)
      return false;
  }
  return true;
}

namespace {
void write_sjson_root(TextWriter& w, const DynamicConfigValue& root, const SjsonWriteOptions& options) {
  ScopedTempAllocator scratch;
  OpenList open(scratch);
  for (DCV::Iterator it = root.begin(); it != root.end(); ++it) {
    w.put('\n');
    w.key(it.key());
    w.literal(" = ");
    write_sjson_value(w, open, it.value(), 0, options.multiline_arrays);
  }
  w.put('\n');
}
} // namespace

void write_sjson(const DynamicConfigValue& root, Vector<char>& out, const SjsonWriteOptions& options) {
  VectorSink sink(out);
  TextWriter w(sink);
  write_sjson_root(w, root, options);
}

void write_sjson(const DynamicConfigValue& root, TextChunks& out, const SjsonWriteOptions& options) {
  ChunkSink sink(out);
  TextWriter w(sink);
  write_sjson_root(w, root, options);
}

void write_json(const DynamicConfigValue& value, Vector<char>& out, bool single_line) {
  JsonWriteOptions options;
  options.single_line = single_line;
  write_json(value, out, options);
}

void write_json(const DynamicConfigValue& value, Vector<char>& out, const JsonWriteOptions& options) {
  VectorSink sink(out);
  TextWriter w(sink);
  ScopedTempAllocator scratch;
  OpenList open(scratch);
  write_json_value(w, open, value, options.single_line, options.exact);
}

} // namespace foundation
