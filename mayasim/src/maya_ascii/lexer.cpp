#include "lexer.h"

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

// Characters that end an unquoted word, the blanks between words, and the
// bytes the fast loops stop at (line ends, and bytes outside ASCII, which
// may need converting).
struct CharacterClasses {
  bool ends_word[256];
  bool blank[256];
  bool stops_word[256];   // ends a word, or is outside ASCII
  bool stops_string[256]; // '"', '\\', a line end, or outside ASCII
  CharacterClasses() {
    for (int c = 0; c < 256; ++c) {
      blank[c] = c == ' ' || c == '\t' || c == '\f' || c == '\v';
      ends_word[c] = blank[c] || c == '\n' || c == '\r' || c == ';' || c == '"';
      stops_word[c] = ends_word[c] || c >= 0x80;
      stops_string[c] = c == '"' || c == '\\' || c == '\n' || c == '\r' || c >= 0x80;
    }
  }
};

const CharacterClasses CLASSES;

} // namespace

Lexer::Lexer(const char* text, size_t size) : _begin(text), _p(text), _end(text + size) {}

void Lexer::fail(const std::string& message, unsigned line) {
  if (_error.empty()) {
    _error = message;
    _error_line = line;
  }
  _p = _end;
}

void Lexer::skip_space() {
  while (_p < _end) {
    char c = *_p;
    if (c == '\n') {
      ++_line;
      ++_p;
    } else if (c == '\r') {
      // CR LF is one line end; CR alone (old Mac files) is one too.
      ++_p;
      if (_p < _end && *_p == '\n')
        ++_p;
      ++_line;
    } else if (CLASSES.blank[static_cast<unsigned char>(c)]) {
      ++_p;
    } else if (c == '/' && _p + 1 < _end && _p[1] == '/') {
      while (_p < _end && *_p != '\n' && *_p != '\r')
        ++_p;
    } else {
      return;
    }
  }
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
  if (_ended || failed())
    return false;
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
    for (;;) {
      while (_p < _end && !CLASSES.stops_string[static_cast<unsigned char>(*_p)])
        ++_p;
      if (_p >= _end || *_p == '"')
        break;
      char s = *_p;
      if (s == '\\') {
        // An escaped character, which may be a line end (CR LF is one).
        escaped = true;
        ++_p;
        if (_p < _end && (*_p == '\n' || *_p == '\r')) {
          ++_line;
          if (*_p == '\r' && _p + 1 < _end && _p[1] == '\n')
            ++_p;
        }
        if (_p < _end)
          ++_p;
      } else if (s == '\n' || s == '\r') {
        ++_line;
        ++_p;
        if (s == '\r' && _p < _end && *_p == '\n')
          ++_p;
      } else {
        high = true;
        ++_p;
      }
    }
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
  bool high = false;
  for (;;) {
    while (_p < _end && !CLASSES.stops_word[static_cast<unsigned char>(*_p)])
      ++_p;
    if (_p >= _end || CLASSES.ends_word[static_cast<unsigned char>(*_p)])
      break;
    high = true;
    ++_p;
  }
  w.text = std::string_view(start, size_t(_p - start));
  if (high)
    w.text = converted(w.text, w.line);
  w.quoted = false;
  w.escaped = false;
  return true;
}

void Lexer::finish_statement() {
  _has_unread = false;
  Word w;
  while (next(w)) {
  }
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
