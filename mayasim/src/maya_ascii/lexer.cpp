#include "lexer.h"

#include <string.h>

namespace mayasim {
namespace maya_ascii {

std::string string_value(const Word& w) {
  if (!w.escaped)
    return std::string(w.text);
  std::string out;
  out.reserve(w.text.size());
  for (size_t i = 0; i < w.text.size(); ++i) {
    char c = w.text[i];
    if (c != '\\' || i + 1 == w.text.size()) {
      out += c;
      continue;
    }
    char e = w.text[++i];
    switch (e) {
    case 'n':
      out += '\n';
      break;
    case 't':
      out += '\t';
      break;
    case 'r':
      out += '\r';
      break;
    default:
      out += e;
    }
  }
  return out;
}

namespace {



} // namespace

namespace {

// The rest of a string from `p` (just after its opening quote): the
// closing quote's place (`end` when the text ends first), the line ends in
// between (LF, CR LF or CR alone), and whether it holds a backslash or a
// byte outside ASCII. memchr finds the quotes; each span between them is
// looked at in simple loops the compiler can vectorise, since strings (UI
// scripts, notes, paths) can be most of a file.
const char* scan_string(const char* p, const char* end, unsigned& lines, bool& escaped, bool& high) {
  // Most strings are short (names, attributes): a plain look first.
  for (const char* s = p; s < end && s < p + 48; ++s) {
    unsigned char c = static_cast<unsigned char>(*s);
    if (c == '"')
      return s;
    if (c == '\\' || c == '\n' || c == '\r' || c >= 0x80)
      break;
  }
  for (;;) {
    const char* q = static_cast<const char*>(memchr(p, '"', size_t(end - p)));
    const char* span_end = q ? q : end;
    unsigned char any = 0;
    unsigned line_feeds = 0, backslashes = 0;
    for (const char* s = p; s < span_end; ++s) {
      unsigned char c = static_cast<unsigned char>(*s);
      any |= c;
      line_feeds += c == '\n';
      backslashes += c == '\\';
    }
    lines += line_feeds;
    high = high || (any & 0x80) != 0;
    escaped = escaped || backslashes != 0;
    if (memchr(p, '\r', size_t(span_end - p)))
      for (const char* s = p; s < span_end; ++s)
        if (*s == '\r' && !(s + 1 < end && s[1] == '\n'))
          ++lines;
    if (!q)
      return end;
    // An odd run of backslashes before the quote escapes it.
    size_t run = 0;
    while (q - run > p && q[-1 - long(run)] == '\\')
      ++run;
    if (run % 2 == 0)
      return q;
    p = q + 1;
  }
}

} // namespace

Lexer::Lexer(const char* text, size_t size) : _begin(text), _p(text), _end(text + size) {}

void Lexer::fail(const std::string& message, unsigned line) {
  _failed = true;
  if (_error.empty()) {
    _error = message;
    _error_line = line;
  }
  _p = _end;
}

// The scanning loops below work on local pointers: the text is chars, which
// may alias the lexer's members, so a member pointer would be stored back on
// every byte.
void Lexer::skip_space() {
  const char* p = _p;
  const char* end = _end;
  while (p < end) {
    char c = *p;
    if (c == '\n') {
      ++_line;
      ++p;
    } else if (c == '\r') {
      // CR LF is one line end; CR alone (old Mac files) is one too.
      ++p;
      if (p < end && *p == '\n')
        ++p;
      ++_line;
    } else if (CHARACTER_CLASSES.blank[static_cast<unsigned char>(c)]) {
      ++p;
    } else if (c == '/' && p + 1 < end && p[1] == '/') {
      while (p < end && *p != '\n' && *p != '\r')
        ++p;
    } else {
      break;
    }
  }
  _p = p;
}

std::string_view Lexer::converted(std::string_view text, unsigned line) {
  bool invalid = false;
  if (_codeset)
    _converted.push_back(_codeset->to_utf8(text, &invalid));
  else
    _converted.push_back(valid_utf8(text, &invalid));
  if (invalid && _invalid_text_line == 0)
    _invalid_text_line = line;
  return _converted.back();
}

bool Lexer::begin_statement() {
  _has_unread = false;
  _converted.clear();
  for (;;) {
    skip_space();
    if (_p >= _end || failed())
      return false;
    if (*_p == ';') { // an empty statement
      ++_p;
      continue;
    }
    _statement = _p;
    _statement_line = _line;
    _ended = false;
    return true;
  }
}

void Lexer::unread(const Word& w) {
  _unread = w;
  _has_unread = true;
}

bool Lexer::next(Word& w) {
  if (_has_unread) {
    _has_unread = false;
    w = _unread;
    return true;
  }
  if (_ended || _failed)
    return false;
  // Words are mostly one blank apart: skip blanks here, and leave line
  // ends and comments to skip_space.
  {
    const char* p = _p;
    while (p < _end && (*p == ' ' || *p == '\t'))
      ++p;
    _p = p;
  }
  if (_p < _end && (*_p == '\n' || *_p == '\r' || *_p == '/' || *_p == '\f' || *_p == '\v'))
    skip_space();
  if (_p >= _end) {
    fail("the file ends inside this statement (no ';'); it is truncated", _statement_line);
    return false;
  }
  w.line = _line;
  char c = *_p;
  if (c == ';') {
    ++_p;
    _ended = true;
    return false;
  }
  if (c == '"') {
    const char* start = ++_p;
    bool escaped = false, high = false;
    _p = scan_string(_p, _end, _line, escaped, high);
    if (_p >= _end) {
      fail("a string starting on line " + std::to_string(w.line) + " is not closed", w.line);
      return false;
    }
    w.text = std::string_view(start, size_t(_p - start));
    if (high)
      w.text = converted(w.text, w.line);
    w.quoted = true;
    w.escaped = escaped;
    ++_p;
    return true;
  }
  const char* start = _p;
  const char* p = _p;
  const char* end = _end;
  bool high = false;
  for (;;) {
    while (p < end && !CHARACTER_CLASSES.stops_word[static_cast<unsigned char>(*p)])
      ++p;
    if (p >= end || CHARACTER_CLASSES.ends_word[static_cast<unsigned char>(*p)])
      break;
    high = true;
    ++p;
  }
  _p = p;
  w.text = std::string_view(start, size_t(_p - start));
  if (high)
    w.text = converted(w.text, w.line);
  w.quoted = false;
  w.escaped = false;
  return true;
}

// Skips to the statement's end without making words: strings (with their
// escapes) and comments are passed whole, line ends counted, and the ';'
// outside a string ends it.
void Lexer::finish_statement() {
  _has_unread = false;
  if (_ended || _failed)
    return;
  const char* p = _p;
  const char* end = _end;
  unsigned line = _line;
  const char* string_start = nullptr;
  unsigned string_line = 0;
  while (p < end) {
    char c = *p;
    if (c == ';') {
      _p = p + 1;
      _line = line;
      _ended = true;
      return;
    }
    if (c == '\n' || (c == '\r' && !(p + 1 < end && p[1] == '\n'))) {
      ++line;
      ++p;
    } else if (c == '"') {
      string_start = p;
      string_line = line;
      bool escaped = false, high = false;
      p = scan_string(p + 1, end, line, escaped, high);
      if (p >= end)
        break;
      ++p;
      string_start = nullptr;
    } else if (c == '/' && p + 1 < end && p[1] == '/') {
      while (p < end && *p != '\n' && *p != '\r')
        ++p;
    } else {
      ++p;
    }
  }
  _p = end;
  _line = line;
  if (string_start)
    fail("a string starting on line " + std::to_string(string_line) + " is not closed", string_line);
  else
    fail("the file ends inside this statement (no ';'); it is truncated", _statement_line);
}

std::string Lexer::statement_excerpt() const {
  if (!_statement)
    return std::string();
  // The statement's start, on one line, cut at a reasonable length.
  std::string out;
  const size_t LIMIT = 60;
  for (const char* p = _statement; p < _end && out.size() < LIMIT; ++p) {
    char c = *p;
    if (c == ';')
      break;
    if (c == '\n' || c == '\r' || c == '\t')
      c = ' ';
    if (c == ' ' && !out.empty() && out.back() == ' ')
      continue;
    out += (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) ? '?' : c;
  }
  while (!out.empty() && out.back() == ' ')
    out.pop_back();
  if (out.size() >= LIMIT)
    out += "...";
  return out;
}

} // namespace maya_ascii
} // namespace mayasim
