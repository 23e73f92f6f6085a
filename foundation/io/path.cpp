#include "foundation/io/path.h"

#include "foundation/error/assert.h"

#include <string.h>

namespace foundation {
namespace path {

namespace {
const char* last_component(const char* path) {
  const char* slash = strrchr(path, '/');
  const char* backslash = strrchr(path, '\\');
  if (backslash && (!slash || backslash > slash))
    slash = backslash;
  return slash ? slash + 1 : path;
}
} // namespace

bool has_extension(const char* path) {
  const char* name = last_component(path);
  const char* dot = strrchr(name, '.');
  return dot && dot != name && dot[1] != 0;
}

const char* extension(const char* path) {
  TW_ASSERT(has_extension(path));
  if (!has_extension(path))
    return "";
  return strrchr(last_component(path), '.') + 1;
}

void join(const char* root, const char* relative, String& out) {
  if (!root || !root[0]) {
    out = relative;
    return;
  }
  size_t root_length = strlen(root);
  while (root_length > 0 && (root[root_length - 1] == '/' || root[root_length - 1] == '\\'))
    --root_length;
  while (*relative == '/' || *relative == '\\')
    ++relative;
  out.assign(root, uint32_t(root_length));
  out.append("/", 1);
  out.append(relative);
}

} // namespace path
} // namespace foundation
