#include "references.h"

#include "../scene.h"

#include <algorithm>
#include <ctype.h>
#include <filesystem>
#include <stdlib.h>
#include <system_error>

namespace mayasim {
namespace maya_ascii {

namespace fs = std::filesystem;

namespace {

// How many directory entries a search by file name may look at below one
// root: enough for a project's asset tree, bounded for a root given by
// mistake ("/").
const size_t MAX_NAME_SEARCH_ENTRIES = 200000;

std::string mel_quoted(const std::string& s) {
  std::string q = "\"";
  for (char c : s) {
    if (c == '"' || c == '\\')
      q += '\\';
    q += c;
  }
  return q + "\"";
}

// '\' as '/', so that a path saved on Windows splits as one saved here.
std::string forward_slashes(std::string p) {
  for (char& c : p)
    if (c == '\\')
      c = '/';
  return p;
}

std::vector<std::string> components(const std::string& path) {
  std::vector<std::string> parts;
  std::string p = forward_slashes(path);
  size_t i = 0;
  while (i <= p.size()) {
    size_t slash = p.find('/', i);
    if (slash == std::string::npos)
      slash = p.size();
    if (slash > i)
      parts.push_back(p.substr(i, slash - i));
    i = slash + 1;
  }
  // A drive ("C:") or a scheme ("valve:") names no folder here.
  if (!parts.empty() && parts.front().back() == ':')
    parts.erase(parts.begin());
  return parts;
}

std::string join(const std::vector<std::string>& parts, size_t from) {
  std::string s;
  for (size_t i = from; i < parts.size(); ++i) {
    if (!s.empty())
      s += '/';
    s += parts[i];
  }
  return s;
}

std::string normal(const std::string& p) { return fs::path(forward_slashes(p)).lexically_normal().generic_string(); }

std::string folder_of(const std::string& file) {
  std::string f = forward_slashes(file);
  size_t slash = f.rfind('/');
  return slash == std::string::npos ? std::string(".") : slash == 0 ? std::string("/") : f.substr(0, slash);
}

class Finder {
public:
  Finder(const ReferenceOptions& o, FoundFile& f) : _o(o), _f(f) {}

  bool try_path(const std::string& candidate, const std::string& rule) {
    std::string p = normal(candidate);
    for (const std::string& t : _f.tried)
      if (t == p)
        return false;
    _f.tried.push_back(p);
    if (!is_file(p))
      return false;
    _f.path = p;
    _f.rule = rule;
    return true;
  }

  bool is_file(const std::string& p) const {
    if (_o.files)
      return _o.files->count(p) != 0;
    std::error_code ec;
    return fs::is_regular_file(fs::path(p), ec);
  }

  bool is_dir(const std::string& p) const {
    if (_o.files) {
      std::string prefix = p == "/" ? p : p + "/";
      auto it = _o.files->lower_bound(prefix);
      return it != _o.files->end() && it->first.compare(0, prefix.size(), prefix) == 0;
    }
    std::error_code ec;
    return fs::is_directory(fs::path(p), ec);
  }

  // The nearest folder at or above `dir` that holds workspace.mel.
  std::string project_of(const std::string& dir) const {
    std::string d = normal(dir);
    for (int up = 0; up < 64; ++up) {
      if (is_file(normal(d + "/workspace.mel")))
        return d;
      std::string parent = fs::path(d).parent_path().generic_string();
      if (parent.empty() || parent == d)
        break;
      d = parent;
    }
    return std::string();
  }

  // A file named `name` anywhere below `root`, the first in name order.
  bool by_name(const std::string& root, const std::string& name, const std::string& rule) {
    std::string r = normal(root);
    _f.tried.push_back(r + "/**/" + name);
    if (_o.files) {
      std::string prefix = r + "/";
      for (auto it = _o.files->lower_bound(prefix); it != _o.files->end(); ++it) {
        if (it->first.compare(0, prefix.size(), prefix) != 0)
          break;
        if (fs::path(it->first).filename() == name) {
          _f.path = it->first;
          _f.rule = rule;
          return true;
        }
      }
      return false;
    }
    std::error_code ec;
    fs::recursive_directory_iterator it(fs::path(r), fs::directory_options::skip_permission_denied, ec), end;
    size_t seen = 0;
    std::string best;
    for (; !ec && it != end && seen < MAX_NAME_SEARCH_ENTRIES; it.increment(ec), ++seen) {
      std::error_code file_ec;
      if (it->path().filename() == name && it->is_regular_file(file_ec)) {
        std::string p = it->path().generic_string();
        if (best.empty() || p < best)
          best = p;
      }
    }
    if (best.empty())
      return false;
    _f.path = normal(best);
    _f.rule = rule;
    return true;
  }

private:
  const ReferenceOptions& _o;
  FoundFile& _f;
};

} // namespace

bool parse_reference_edits(const std::vector<EditWord>& words, std::vector<ReferenceEdit>& edits, std::string& why) {
  size_t i = 0;
  auto integer = [&](int& v) {
    if (i >= words.size() || words[i].quoted)
      return false;
    const std::string& t = words[i].text;
    char* end = nullptr;
    long n = strtol(t.c_str(), &end, 10);
    if (t.empty() || *end != 0 || n < 0 || n > (1L << 30))
      return false;
    v = int(n);
    ++i;
    return true;
  };
  auto is_count = [](const EditWord& w) {
    return !w.quoted && !w.text.empty() && w.text.find_first_not_of("0123456789") == std::string::npos;
  };
  if (words.empty() || !words[0].quoted) {
    why = "it does not start with the reference node's name";
    return false;
  }
  ++i;
  while (i < words.size()) {
    if (is_count(words[i])) {
      why = "expected a reference node's name, found " + words[i].text.substr(0, 40);
      return false;
    }
    std::string owner = words[i++].text;
    int count = 0;
    if (!integer(count)) {
      why = "the edits of " + owner.substr(0, 80) + " have no count";
      return false;
    }
    for (int k = 0; k < count; ++k) {
      ReferenceEdit e;
      e.owner = owner;
      if (!integer(e.kind)) {
        why = "edit " + std::to_string(k + 1) + " of " + owner.substr(0, 80) + " does not start with its kind";
        return false;
      }
      if (e.kind == 5 && !integer(e.sub)) {
        why = "a placeholder edit of " + owner.substr(0, 80) + " has no connection kind";
        return false;
      }
      // Its values run to the next number (the next edit's kind); a name
      // may be written without quotes (an addAttr edit's node).
      while (i < words.size() && !is_count(words[i])) {
        // The next group's header is a name followed by its count: the
        // last edit of a group ends before it.
        if (k == count - 1 && i + 1 < words.size() && is_count(words[i + 1]) && e.args.size() >= 2)
          break;
        e.args.push_back(words[i++].text);
      }
      edits.push_back(std::move(e));
    }
  }
  return true;
}

std::string edit_statement(const ReferenceEdit& e) {
  const std::vector<std::string>& a = e.args;
  switch (e.kind) {
  case 0: // parent
    if (a.size() < 2)
      return std::string();
    if (a[1].empty() || a[1] == "|")
      return "parent -w " + (a.size() > 2 ? a[2] : std::string()) + " " + mel_quoted(a[0]) + ";";
    return "parent " + (a.size() > 2 ? a[2] : std::string()) + " " + mel_quoted(a[0]) + " " + mel_quoted(a[1]) + ";";
  case 2: // setAttr
    if (a.size() < 3)
      return std::string();
    return "setAttr " + mel_quoted(a[0] + "." + a[1]) + a[2] + ";";
  case 3: // connectAttr
  case 4: // disconnectAttr
    if (a.size() < 2)
      return std::string();
    return std::string(e.kind == 3 ? "connectAttr " : "disconnectAttr ") + mel_quoted(a[0]) + " " + mel_quoted(a[1]) +
           (e.kind == 3 && a.size() > 2 ? " " + a[2] : std::string()) + ";";
  default:
    return std::string();
  }
}

int placeholder_index(const std::string& plug) {
  size_t dot = plug.rfind('.');
  if (dot == std::string::npos)
    return -1;
  std::string attr = plug.substr(dot + 1);
  size_t open = attr.find('[');
  if (open == std::string::npos || attr.back() != ']')
    return -1;
  std::string name = attr.substr(0, open);
  if (name != "placeHolderList" && name != "phl")
    return -1;
  std::string digits = attr.substr(open + 1, attr.size() - open - 2);
  if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos)
    return -1;
  return atoi(digits.c_str());
}

std::string expand_path_variables(const std::string& path) {
  if (!path.empty() && path[0] == '~' && (path.size() == 1 || path[1] == '/' || path[1] == '\\')) {
    const char* home = getenv("HOME");
    if (!home)
      home = getenv("USERPROFILE");
    if (home)
      return expand_environment(home + path.substr(1), true);
  }
  return expand_environment(path, true);
}

bool find_reference_file(const std::string& written, const std::string& referencing_file,
                         const std::string& scene_file, const ReferenceOptions& options, FoundFile& found) {
  found = FoundFile();
  Finder finder(options, found);
  std::string expanded = forward_slashes(expand_path_variables(written));
  for (const auto& map : options.path_maps) {
    std::string from = forward_slashes(map.first);
    if (!from.empty() && expanded.compare(0, from.size(), from) == 0 &&
        finder.try_path(forward_slashes(map.second) + expanded.substr(from.size()),
                        "mapped by --map-path " + map.first + "=" + map.second))
      return true;
  }
  bool absolute = (!expanded.empty() && expanded[0] == '/') ||
                  (expanded.size() > 2 && expanded[1] == ':' && expanded[2] == '/');
  if (absolute && finder.try_path(expanded, "as written"))
    return true;
  std::vector<std::string> parts = components(expanded);
  if (parts.empty())
    return false;
  auto by_tails = [&](const std::string& dir, const std::string& rule) {
    for (size_t from = 0; from < parts.size(); ++from)
      if (finder.try_path(dir + "/" + join(parts, from), rule))
        return true;
    return false;
  };
  // Places are shown whole in messages: a folder relative to where the
  // tool ran says little in a log.
  auto whole = [&](const std::string& dir) {
    std::error_code ec;
    fs::path p = options.files ? fs::path(dir) : fs::absolute(fs::path(dir), ec);
    return normal(ec ? dir : p.generic_string());
  };
  std::string here = whole(folder_of(referencing_file));
  if (by_tails(here, "next to the referencing file"))
    return true;
  std::vector<std::string> projects;
  for (const std::string& dir : {here, whole(folder_of(scene_file))}) {
    std::string p = finder.project_of(dir);
    if (!p.empty() && std::find(projects.begin(), projects.end(), p) == projects.end())
      projects.push_back(p);
  }
  for (const std::string& p : projects)
    if (by_tails(p, "in the Maya project " + p))
      return true;
  for (const std::string& root : options.roots)
    if (by_tails(normal(root), "under the reference root " + root))
      return true;
  for (const std::string& root : options.roots)
    if (finder.is_dir(normal(root)) && finder.by_name(root, parts.back(), "by its name under the reference root " + root))
      return true;
  return false;
}

bool read_reference_file(const std::string& path, const ReferenceOptions& options, std::string& text,
                         std::string& error) {
  if (options.files) {
    auto it = options.files->find(path);
    if (it == options.files->end()) {
      error = "Cannot open " + path + ": No such file or directory";
      return false;
    }
    text = it->second;
    return true;
  }
  return read_whole_file(path, text, error);
}

std::string file_identity(const std::string& path, const ReferenceOptions& options) {
  if (options.files)
    return normal(path);
  std::error_code ec;
  fs::path canonical = fs::weakly_canonical(fs::path(path), ec);
  return ec ? normal(path) : canonical.generic_string();
}

} // namespace maya_ascii
} // namespace mayasim
