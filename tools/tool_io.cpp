#include "tool_io.h"

#include "foundation/error/error.h"
#include "foundation/error/log.h"
#include "foundation/io/file_system.h"
#include "foundation/memory/memory_globals.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

using namespace foundation;

namespace tools {

namespace {

// Runs a file operation with reports thrown and kept off the terminal, and
// prints the report's message on failure.
template <typename F>
bool guarded(const char* what, const char* path, F f) {
  error::ScopedMode mode(ERROR_MODE_THROW);
  log::set_standard_streams_enabled(false);
  bool ok = true;
  try {
    f();
  } catch (const ErrorException& e) {
    ok = false;
    fprintf(stderr, "twi: cannot %s %s: %s\n", what, path, e.reason());
  }
  log::set_standard_streams_enabled(true);
  return ok;
}

} // namespace

bool read_all(const char* path, Vector<char>& out) {
  if (strcmp(path, "-") == 0) {
    // Documents are held in memory whole; 2 GiB is more than any reader of
    // the format can take, and the limit is said rather than wrapped.
    const uint64_t limit = 0x7FFFFFFFull;
    char buffer[65536];
    size_t n;
    while ((n = fread(buffer, 1, sizeof(buffer), stdin)) > 0) {
      if (uint64_t(out.size()) + n > limit) {
        fprintf(stderr, "twi: cannot read standard input: the document is 2 GiB or larger, more than twi reads\n");
        return false;
      }
      out.push_back_n(buffer, uint32_t(n));
    }
    if (ferror(stdin)) {
      fprintf(stderr, "twi: cannot read standard input: %s\n", strerror(errno));
      return false;
    }
    return true;
  }
  return guarded("read", path, [&] {
    FileSystem fs(memory_globals::default_allocator(), "");
    fs.read_all(path, out);
  });
}

bool write_all(const char* path, const void* bytes, uint32_t size) {
  if (!path || strcmp(path, "-") == 0) {
    bool ok = fwrite(bytes, 1, size, stdout) == size;
    return fflush(stdout) == 0 && ok;
  }
  return guarded("write", path, [&] {
    FileSystem fs(memory_globals::default_allocator(), "");
    fs.write_all(path, bytes, size);
  });
}

bool write_all(const char* path, const Vector<char>& text) { return write_all(path, text.data(), text.size()); }

std::string terminal_text(const char* text) {
  static const char HEX[] = "0123456789abcdef";
  std::string out;
  for (const char* p = text; *p; ++p) {
    unsigned char c = (unsigned char)*p;
    if (c < 0x20 || c == 0x7F) {
      out += "\\x";
      out += HEX[c >> 4];
      out += HEX[c & 15];
    } else {
      out += char(c);
    }
  }
  return out;
}

} // namespace tools
