#include "served_file.h"

#include <windows.h>

namespace tools {

std::string real_path(const std::string& path) {
  // The final path of an open handle: links and junctions resolved.
  HANDLE h = CreateFileA(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                         OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (h == INVALID_HANDLE_VALUE)
    return "";
  char buffer[MAX_PATH * 4];
  DWORD n = GetFinalPathNameByHandleA(h, buffer, sizeof(buffer), FILE_NAME_NORMALIZED);
  CloseHandle(h);
  if (n == 0 || n >= sizeof(buffer))
    return "";
  std::string out(buffer, n);
  if (out.compare(0, 4, "\\\\?\\") == 0)
    out.erase(0, 4);
  return out;
}

bool is_served_file(const std::string& path, const std::string& folder_real_path) {
  std::string real = real_path(path);
  if (real.empty() || folder_real_path.empty())
    return false;
  std::string inside = folder_real_path;
  if (inside.back() != '\\')
    inside += '\\';
  if (_strnicmp(real.c_str(), inside.c_str(), inside.size()) != 0)
    return false;
  DWORD attributes = GetFileAttributesA(real.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY) &&
         !(attributes & FILE_ATTRIBUTE_REPARSE_POINT);
}

} // namespace tools
