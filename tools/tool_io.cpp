#include "tool_io.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

namespace tools {

bool read_all(const char* path, foundation::Vector<char>& out) {
  bool is_stdin = strcmp(path, "-") == 0;
  FILE* f = is_stdin ? stdin : fopen(path, "rb");
  if (!f) {
    fprintf(stderr, "twi: cannot read %s: %s\n", path, strerror(errno));
    return false;
  }
  char buffer[65536];
  size_t n;
  while ((n = fread(buffer, 1, sizeof(buffer), f)) > 0)
    out.push_back_n(buffer, uint32_t(n));
  bool ok = !ferror(f);
  if (!ok)
    fprintf(stderr, "twi: cannot read %s: %s\n", path, strerror(errno));
  if (!is_stdin)
    fclose(f);
  return ok;
}

bool write_all(const char* path, const foundation::Vector<char>& text) {
  bool is_stdout = !path || strcmp(path, "-") == 0;
  FILE* f = is_stdout ? stdout : fopen(path, "wb");
  if (!f) {
    fprintf(stderr, "twi: cannot write %s: %s\n", path, strerror(errno));
    return false;
  }
  bool ok = fwrite(text.data(), 1, text.size(), f) == text.size();
  ok = (is_stdout ? fflush(f) : fclose(f)) == 0 && ok;
  if (!ok)
    fprintf(stderr, "twi: cannot write %s: %s\n", path ? path : "-", strerror(errno));
  return ok;
}

} // namespace tools
