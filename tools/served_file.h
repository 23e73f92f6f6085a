// Which files the viewer's server may send: regular files whose real path
// (links followed) lies inside its folder, so that a link placed in the
// folder cannot reach anything outside it.
#pragma once

#include <string>

namespace tools {

// The canonical absolute path of `path` (links and "." / ".." resolved),
// or "" when it does not exist.
std::string real_path(const std::string& path);

// Whether `path` is a regular file whose real path is inside the folder
// whose real path is `folder_real_path`.
bool is_served_file(const std::string& path, const std::string& folder_real_path);

} // namespace tools
