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

// Characters that end an unquoted word, and the blanks between words.
struct CharacterClasses {
  bool ends_word[256];
  bool blank[256];
  CharacterClasses() {
    for (int c = 0; c < 256; ++c) {
      blank[c] = c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
      ends_word[c] = blank[c] || c == '\n' || c == ';' || c == '"';
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
    } else if (CLASSES.blank[static_cast<unsigned char>(c)]) {
      ++_p;
    } else if (c == '/' && _p + 1 < _end && _p[1] == '/') {
      while (_p < _end && *_p != '\n')
        ++_p;
    } else {
      return;
    }
  }
}

bool Lexer::begin_statement() {
  _has_unread = false;
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
    bool escaped = false;
    while (_p < _end && *_p != '"') {
      if (*_p == '\\') {
        escaped = true;
        if (_p + 1 < _end)
          ++_p;
      }
      if (*_p == '\n')
        ++_line;
      ++_p;
    }
    if (_p >= _end) {
      fail("a string starting on line " + std::to_string(w.line) + " is not closed", w.line);
      return false;
    }
    w.text = std::string_view(start, size_t(_p - start));
    w.quoted = true;
    w.escaped = escaped;
    ++_p;
    return true;
  }
  const char* start = _p;
  while (_p < _end && !CLASSES.ends_word[static_cast<unsigned char>(*_p)])
    ++_p;
  w.text = std::string_view(start, size_t(_p - start));
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
