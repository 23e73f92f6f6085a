// The words of a Maya ASCII file: statements of MEL commands, each a run of
// words and "strings" ending at a ';' outside a string. Comments run from
// "//" to the end of the line. Lines end in LF, CR LF or CR alone.
//
// The lexer hands out one word at a time, so that a statement holding
// millions of numbers is never held as a list of them: the command that
// reads it pulls its values as it goes. Words point into the file's text;
// nothing is copied until a caller asks for a string's value, except a word
// with bytes outside ASCII in a file whose codeset is not UTF-8: that word
// is converted to UTF-8 (kept until the next statement begins).
#pragma once

#include "codeset.h"

#include <deque>
#include <stddef.h>
#include <stdint.h>
#include <string>
#include <string_view>

namespace mayasim {
namespace maya_ascii {

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

inline const CharacterClasses CHARACTER_CLASSES;

struct Word {
  std::string_view text; // a string's text is without its quotes, escapes unresolved
  bool quoted = false;
  bool escaped = false; // quoted, with backslash escapes in it
  unsigned line = 0;
};

// A quoted word's value with its escapes resolved (\n \t \r \" \\ and any
// other escaped character as itself).
std::string string_value(const Word& w);

class Lexer {
public:
  Lexer(const char* text, size_t size);

  // Moves to the next statement's first word; false at the end of the text.
  bool begin_statement();
  // The next word of the statement; false at its ';' (consumed), at the end
  // of the text or on an error (see failed()).
  bool next(Word& w);
  // The next word when it is a plain one (unquoted, ASCII, on the same
  // line): the fast path for numbers, which make up most of a file. False,
  // with nothing consumed, for anything else; next() then reads it.
  bool next_plain(std::string_view& text) {
    if (_has_unread || _ended || _failed)
      return false;
    const char* p = _p;
    const char* end = _end;
    while (p < end && (*p == ' ' || *p == '\t'))
      ++p;
    if (p >= end || CHARACTER_CLASSES.stops_word[static_cast<unsigned char>(*p)])
      return false;
    const char* start = p;
    while (p < end && !CHARACTER_CLASSES.stops_word[static_cast<unsigned char>(*p)])
      ++p;
    if (p < end && !CHARACTER_CLASSES.ends_word[static_cast<unsigned char>(*p)])
      return false; // a byte outside ASCII: next() converts it
    _p = p;
    text = std::string_view(start, size_t(p - start));
    return true;
  }
  // The line the lexer is on (a plain word's).
  unsigned line() const { return _line; }
  // Skips what is left of the statement, through its ';'.
  void finish_statement();
  // Puts back the word last read, so that the next call to next() gives it
  // again.
  void unread(const Word& w);

  // Whether the text broke off or held something no statement can: an
  // unterminated string, or a statement the file ends inside.
  bool failed() const { return _failed; }
  const std::string& error() const { return _error; }
  unsigned error_line() const { return _error_line; }

  // Where the current statement starts, for messages.
  unsigned statement_line() const { return _statement_line; }
  std::string statement_excerpt() const;
  // Whether the current statement has ended (its ';' was read).
  bool statement_ended() const { return _ended; }

  // How far through the text the lexer is.
  size_t offset() const { return size_t(_p - _begin); }

  // The codeset words are read in (UTF-8 until set); the caller keeps it
  // alive while the lexer runs.
  void set_codeset(const Codeset* codeset) { _codeset = codeset; }
  // The first line where a word held bytes the codeset has no character
  // for (shown as U+FFFD); 0 when none did.
  unsigned invalid_text_line() const { return _invalid_text_line; }

private:
  void skip_space();
  void fail(const std::string& message, unsigned line);
  // The word's text as UTF-8 (it holds bytes outside ASCII).
  std::string_view converted(std::string_view text, unsigned line);

  const char* _begin;
  const char* _p;
  const char* _end;
  unsigned _line = 1;
  const char* _statement = nullptr;
  unsigned _statement_line = 0;
  bool _ended = true;
  bool _has_unread = false;
  Word _unread;
  std::string _error;
  unsigned _error_line = 0;
  bool _failed = false;
  const Codeset* _codeset = nullptr;
  std::deque<std::string> _converted; // this statement's converted words
  unsigned _invalid_text_line = 0;
};

} // namespace maya_ascii
} // namespace mayasim
