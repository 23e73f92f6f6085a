#include "served_file.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

namespace tools {

std::string real_path(const std::string& path) {
  char* resolved = realpath(path.c_str(), nullptr);
  if (!resolved)
    return "";
  std::string out = resolved;
  free(resolved);
  return out;
}

bool is_served_file(const std::string& path, const std::string& folder_real_path) {
  std::string real = real_path(path);
  if (real.empty() || folder_real_path.empty())
    return false;
  std::string inside = folder_real_path.back() == '/' ? folder_real_path : folder_real_path + "/";
  if (real.compare(0, inside.size(), inside) != 0)
    return false;
  struct stat st;
  return stat(real.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

} // namespace tools
