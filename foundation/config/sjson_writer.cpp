#include "foundation/config/sjson_writer.h"

#include "foundation/utility/float_format.h"

#include <string.h>

namespace foundation {

namespace {

typedef DynamicConfigValue DCV;

// Writes through a cursor into the output vector's storage; the vector's
// size catches up when the writer is done (or needs more room).
class TextWriter {
public:
  explicit TextWriter(Vector<char>& out) : _out(out), _cur(out.data() + out.size()), _end(out.data() + out.capacity()) {}
  ~TextWriter() { commit(); }
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

  void tabs(int n) {
    if (n <= 0)
      return;
    need(uint32_t(n));
    memset(_cur, '\t', uint32_t(n));
    _cur += n;
  }

  // Room must have been made: the writers below may use FLOAT_G_MAX_CHARS.
  void integer_unchecked(int32_t value) {
    char buffer[12];
    char* end = buffer + sizeof(buffer);
    char* p = end;
    uint32_t magnitude = value < 0 ? 0u - uint32_t(value) : uint32_t(value);
    do {
      *--p = char('0' + magnitude % 10);
      magnitude /= 10;
    } while (magnitude);
    if (value < 0)
      *--p = '-';
    memcpy(_cur, p, size_t(end - p));
    _cur += end - p;
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

  // Quoted, with the double quote and backslash escaped; newline and
  // carriage return escaped too when `escape_line_breaks`.
  void quoted(const char* text, uint32_t n, bool escape_line_breaks) {
    put('"');
    uint32_t start = 0;
    for (uint32_t i = 0; i < n; ++i) {
      char c = text[i];
      const char* escape = nullptr;
      if (c == '"')
        escape = "\\\"";
      else if (c == '\\')
        escape = "\\\\";
      else if (escape_line_breaks && c == '\n')
        escape = "\\n";
      else if (escape_line_breaks && c == '\r')
        escape = "\\r";
      if (escape) {
        put(text + start, i - start);
        put(escape, 2);
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
  void commit() { _out.set_size(uint32_t(_cur - _out.data())); }

  void refill(uint32_t n) {
    commit();
    _cur = _out.make_room(n);
    _end = _out.data() + _out.capacity();
  }

  Vector<char>& _out;
  char* _cur;
  char* _end;
};

void write_text_value(TextWriter& w, const DCV& v, bool escape_line_breaks) {
  if (v.is_string()) {
    const String& s = *v.string_record();
    w.quoted(s.c_str(), s.length(), escape_line_breaks);
  } else {
    const DCV::Data& d = v.to_data();
    w.quoted(reinterpret_cast<const char*>(d.data()), d.size(), escape_line_breaks);
  }
}

void write_sjson_value(TextWriter& w, const DCV& v, int level, bool multiline) {
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
  case DCV::STRING:
  case DCV::DATA:
    write_text_value(w, v, false);
    break;
  case DCV::ARRAY: {
    w.put('[');
    for (const DCV& e : *v.array_record()) {
      if (!multiline && e.is_float()) {
        // The common case of documents: long arrays of numbers on one line.
        w.need(1 + FLOAT_G_MAX_CHARS);
        w.put(' ');
        w.real_g_unchecked(e.to_float());
        continue;
      }
      if (multiline) {
        w.put('\n');
        w.tabs(level + 1);
      } else {
        w.put(' ');
      }
      write_sjson_value(w, e, level + 1, multiline);
    }
    if (multiline) {
      w.put('\n');
      w.tabs(level);
    } else {
      w.put(' ');
    }
    w.put(']');
    break;
  }
  case DCV::OBJECT: {
    w.put('{');
    for (DCV::Iterator it = v.begin(); it != v.end(); ++it) {
      w.put('\n');
      w.tabs(level + 1);
      w.key(it.key());
      w.literal(" = ");
      write_sjson_value(w, it.value(), level + 1, multiline);
    }
    w.put('\n');
    w.tabs(level);
    w.put('}');
    break;
  }
  }
}

void write_json_value(TextWriter& w, const DCV& v, int level, bool single_line) {
  switch (v.kind()) {
  case DCV::NIL:
  case DCV::BOOL:
  case DCV::INTEGER:
    write_sjson_value(w, v, level, false);
    break;
  case DCV::FLOAT:
    w.real_f(v.to_float());
    break;
  case DCV::STRING:
  case DCV::DATA:
    write_text_value(w, v, single_line);
    break;
  case DCV::ARRAY: {
    w.put('[');
    bool first = true;
    for (const DCV& e : *v.array_record()) {
      if (!first)
        w.put(',');
      first = false;
      if (single_line) {
        w.put(' ');
      } else {
        w.put('\n');
        w.tabs(level + 1);
      }
      write_json_value(w, e, level + 1, single_line);
    }
    if (!single_line) {
      w.put('\n');
      w.tabs(level);
    }
    w.put(']');
    break;
  }
  case DCV::OBJECT: {
    w.put('{');
    bool first = true;
    for (DCV::Iterator it = v.begin(); it != v.end(); ++it) {
      if (!first)
        w.put(',');
      first = false;
      if (single_line) {
        w.put(' ');
      } else {
        w.put('\n');
        w.tabs(level + 1);
      }
      w.quoted(it.key().c_str(), it.key().length(), single_line);
      w.literal(" : ");
      write_json_value(w, it.value(), level + 1, single_line);
    }
    if (!single_line) {
      w.put('\n');
      w.tabs(level);
    }
    w.put('}');
    break;
  }
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

void write_sjson(const DynamicConfigValue& root, Vector<char>& out, const SjsonWriteOptions& options) {
  TextWriter w(out);
  for (DCV::Iterator it = root.begin(); it != root.end(); ++it) {
    w.put('\n');
    w.key(it.key());
    w.literal(" = ");
    write_sjson_value(w, it.value(), 0, options.multiline_arrays);
  }
  w.put('\n');
}

void write_json(const DynamicConfigValue& value, Vector<char>& out, bool single_line) {
  TextWriter w(out);
  write_json_value(w, value, 0, single_line);
}

} // namespace foundation
