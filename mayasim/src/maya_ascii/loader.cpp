#include "loader.h"

#include "lexer.h"
#include "../units.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <cmath>
#include <cstdio>
#include <deque>
#include <limits>
#include <map>
#include <set>
#include <vector>

namespace mayasim {
namespace maya_ascii {

namespace {

const double RADIANS_PER_DEGREE = 0.017453292519943295;
const double NOT_GIVEN = std::numeric_limits<double>::quiet_NaN();

// A number as MEL writes one, or a boolean word (yes/on/true, no/off/false).
// A number as Maya writes it: decimal, with an exponent or not, or a
// boolean word. Only finite numbers: from_chars also reads "inf", "nan"
// and "infinity", which no Maya file holds and no reader of the export
// accepts.
bool parse_number(std::string_view t, double& v) {
  if (t.empty())
    return false;
  char c = t[0];
  if (t == "yes" || t == "on" || t == "true") {
    v = 1;
    return true;
  }
  if (t == "no" || t == "off" || t == "false") {
    v = 0;
    return true;
  }
  if (c == '+' && t.size() > 1)
    t.remove_prefix(1);
  auto r = std::from_chars(t.data(), t.data() + t.size(), v);
  return r.ec == std::errc() && r.ptr == t.data() + t.size() && v - v == 0.0;
}

// Why a word is not a number, for the message.
std::string not_a_number(std::string_view t) {
  double v;
  std::string_view digits = !t.empty() && t[0] == '+' ? t.substr(1) : t;
  auto r = std::from_chars(digits.data(), digits.data() + digits.size(), v);
  if (r.ptr == digits.data() + digits.size() && !digits.empty()) {
    if (r.ec == std::errc::result_out_of_range)
      return "the number \"" + std::string(t.substr(0, 40)) + "\" is beyond the range of a double";
    if (r.ec == std::errc())
      return "expected a finite number, found \"" + std::string(t.substr(0, 40)) + "\"";
  }
  return "expected a number, found \"" + std::string(t.substr(0, 40)) + "\"";
}

std::string_view without_root(std::string_view s) {
  while (!s.empty() && s[0] == ':')
    s.remove_prefix(1);
  return s;
}

std::string quoted(std::string_view s) { return "\"" + escape_controls(s) + "\""; }

std::string_view header_codeset_name(const char* text, size_t size);
// Whether text is a Maya ASCII file at all (and not a Maya Binary one);
// why not in `error`.
bool acceptable_text(const char* text, size_t size, const std::string& name, std::string& error);

// The most paths from the world one node may have. Instances multiply
// paths (a chain of nodes each instanced twice doubles them at every level),
// and every walk of the DAG visits each path.
const double MAX_INSTANCE_PATHS = 65536;

// The dense arrays' budget: this much, and this many bytes for each byte
// of the file (a value of two characters, "0 ", may become eight bytes,
// and arrays given sparsely hold gaps).
const size_t DENSE_BYTES_FREE = size_t(64) << 20;
const size_t DENSE_BYTES_PER_BYTE = 16;

// What a run of statements is: a scene's file, a file it references
// (its names in the reference's namespace), or one reference edit run as
// the statement it records (in the namespace of the file that keeps it).
enum class Mode { Scene, Reference, Edit };

class Runner {
public:
  Runner(const char* text, size_t size, FileScene& f, LoadSession& session, const std::string& file,
         const std::string& prefix, int depth, Mode mode)
      : _lex(text, size), _f(f), _size(size), _session(session), _file(file), _prefix(prefix), _depth(depth),
        _mode(mode), _dense_left(DENSE_BYTES_FREE + DENSE_BYTES_PER_BYTE * size) {
    _lex.set_codeset(&_codeset);
  }
  bool run(std::string& error);
  // The codeset the file's header names; a warning when it cannot be read.
  void header_codeset(std::string_view name);

private:
  bool statement(std::string_view command);
  bool create_node();
  bool set_attr();
  bool set_attr_flag(std::string_view flag, std::string_view& type);
  bool connect_attr();
  bool disconnect_attr();
  // The two plugs a connectAttr or disconnectAttr statement names, and its
  // flags' meaning for the caller.
  bool connection_plugs(Connection& c);
  bool parent();
  bool select();
  bool rename();
  bool current_unit();
  bool file_info();
  bool file();
  bool reference_edits(int node);
  // Loads the references the file's `file -r` statements name, in order,
  // each followed by its reference node's edits.
  bool load_references();
  bool load_reference(const ReferenceStatement& r);
  // A reference that is not loaded: a warning when missing references are
  // skipped, else the load's error.
  bool not_loaded(ReferenceRecord& record, const std::string& why);
  void apply_edits(const std::string& reference_node, ReferenceRecord& record);
  bool placeholder_edit(const ReferenceEdit& e, std::string& why);
  // A name as this file gives it, as the scene knows it: in the file's
  // namespace unless it is in the root namespace (":time1").
  std::string scene_name(std::string_view name) const;

  // Attribute values, by the kind of node they are set on.
  bool assign(int node, const AttrPath& path, std::string_view type);
  // Room for the array an attribute's "-s" says it holds (at most what the
  // text could fill), so that arrays given in pieces grow once. Taken only
  // while the arrays' budget allows; it is a saving, not a need.
  template <typename T>
  void reserve(std::vector<T>& v, size_t per) {
    if (_size_hint <= 0)
      return;
    size_t want = std::min(size_t(_size_hint), _size) * per;
    if (want <= v.capacity() || (want - v.capacity()) * sizeof(T) > _dense_left)
      return;
    _dense_left -= (want - v.capacity()) * sizeof(T);
    v.reserve(want);
  }
  // Grows a dense array to `n` elements, new ones `fill`, within the budget
  // all of the file's arrays share.
  template <typename T>
  bool grow(std::vector<T>& v, size_t n, const T& fill) {
    if (v.size() >= n)
      return true;
    size_t bytes = (n - v.size()) * sizeof(T);
    if (bytes > _dense_left)
      return over_budget(bytes);
    _dense_left -= bytes;
    v.resize(n, fill);
    return true;
  }
  bool over_budget(size_t bytes);
  bool transform_attr(FileNode& n, const AttrPath& p, bool& known);
  bool mesh_attr(FileNode& n, const AttrPath& p, std::string_view type, bool& known);
  bool poly_faces(StoredMesh& m, const AttrPart& range);
  bool skin_attr(FileNode& n, const AttrPath& p, bool& known);
  bool curve_attr(FileNode& n, const AttrPath& p, bool& known);
  bool colors_attr(FileNode& n, const AttrPath& p, bool& known);

  bool fail(const std::string& what);
  bool word(Word& w, const char* what);
  bool has_more();
  bool numbers(double* out, int64_t count);
  bool in_internal_units(double& v, double scale);
  bool number(double& v);
  bool integer(int& v, int lo, int hi);
  bool string_value(std::string& out);
  bool matrix(MMatrix& m);
  bool component_list(std::vector<std::string>& out);
  bool check_index(int64_t last);
  bool no_more_values();

  int resolve(std::string_view name, int* instance, bool create_defaults);
  double paths_to(const Node* n);
  double match_path(const Node* n, size_t k, bool absolute, double& index);
  // Whether `node` or a node below it has more paths than allowed.
  bool too_many_paths(const Node* node);
  // Whether `ancestor` is above `node` by any of its parents.
  bool is_above(const Node* ancestor, const Node* node) const;
  size_t parent_link(const Node* n, int instance);
  int add_node(Node* n, const std::string& type_name, NodeType t, unsigned line);
  bool parse_plug(std::string_view text, Plug& plug);

  Lexer _lex;
  Codeset _codeset;
  FileScene& _f;
  size_t _size;
  LoadSession& _session;
  std::string _file;   // for messages, and where its references are looked for from
  std::string _prefix; // the namespace its names are in ("set:prop:"), or a rename prefix ("set_")
  int _depth;          // 0: the scene
  Mode _mode;
  std::vector<ReferenceStatement> _references;
  std::deque<std::string> _prefixed; // scratch for resolve
  int _current = -1;
  int64_t _size_hint = 0;     // the current setAttr's -s
  int64_t _capacity_hint = 0; // and its -ch (face corners, for faces)
  // What the dense arrays of all nodes together may still take: each
  // array's index is bounded by the file's size, and this bounds their
  // sum, so that many short sparse writes cannot add up to gigabytes.
  size_t _dense_left;
  std::string _error;
  std::set<std::string> _skipped_commands;
  size_t _statements = 0; // read so far
  // Scratch for resolve, kept to spare allocations; path counts per DAG
  // node, forgotten when a node is parented.
  std::vector<std::string_view> _parts;
  std::string _key;
  std::unordered_map<const Node*, double> _path_counts;
};

// The message names the line the reading stopped on, the bad value's:
// a statement can run for thousands of lines (a mesh's faces), and the one
// it starts on would not find the value.
bool Runner::fail(const std::string& what) {
  if (!_error.empty())
    return false;
  unsigned at = std::max(_lex.line(), _lex.statement_line());
  _error = _file + ":" + std::to_string(at) + ": " + _lex.statement_excerpt();
  if (at != _lex.statement_line())
    _error += " (a statement from line " + std::to_string(_lex.statement_line()) + ")";
  _error += ": " + what;
  return false;
}

bool Runner::word(Word& w, const char* what) {
  if (_lex.next(w))
    return true;
  if (_lex.failed())
    return false;
  return fail(std::string("expected ") + what + " before the end of the statement");
}

bool Runner::has_more() {
  Word w;
  if (!_lex.next(w))
    return false;
  _lex.unread(w);
  return true;
}

bool Runner::number(double& v) {
  std::string_view plain;
  if (_lex.next_plain(plain)) {
    if (parse_number(plain, v))
      return true;
    return fail(not_a_number(plain));
  }
  Word w;
  if (!word(w, "a value"))
    return false;
  if (w.quoted)
    return fail("expected a number, found " + quoted(w.text.substr(0, 40)));
  if (!parse_number(w.text, v))
    return fail(not_a_number(w.text));
  return true;
}

// A value converted from the file's unit to centimetres or radians; one
// that becomes infinite in them (1e308 miles) is refused.
bool Runner::in_internal_units(double& v, double scale) {
  double converted = v * scale;
  if (!(converted - converted == 0.0))
  {
    char text[64];
    snprintf(text, sizeof(text), "%g", v);
    return fail(std::string("the value ") + text + " is too large to hold in " +
                (scale == _f.centimetres_per_unit ? "centimetres" : "radians"));
  }
  v = converted;
  return true;
}

bool Runner::numbers(double* out, int64_t count) {
  for (int64_t i = 0; i < count; ++i)
    if (!number(out[i]))
      return false;
  return true;
}

bool Runner::integer(int& v, int lo, int hi) {
  // Most whole numbers are plain digits: read them as such; anything else
  // ("1.0", "yes", "2e1") as a number that must be whole.
  Word w;
  std::string_view plain;
  if (_lex.next_plain(plain)) {
    w.text = plain;
    w.quoted = false;
    w.escaped = false;
    w.line = _lex.line();
  } else if (!word(w, "a value")) {
    return false;
  }
  const char* p = w.text.data();
  const char* end = p + w.text.size();
  bool negative = p < end && *p == '-';
  p += negative ? 1 : 0;
  // Up to nine digits cannot overflow.
  if (!w.quoted && p < end && end - p <= 9) {
    long long whole = 0;
    while (p < end && unsigned(*p - '0') < 10)
      whole = whole * 10 + (*p++ - '0');
    whole = negative ? -whole : whole;
    if (p == end && whole >= lo && whole <= hi) {
      v = int(whole);
      return true;
    }
  }
  _lex.unread(w);
  double d;
  if (!number(d))
    return false;
  if (!(d >= lo && d <= hi) || d != floor(d))
    return fail("expected a whole number from " + std::to_string(lo) + " to " + std::to_string(hi) + ", found " +
                quoted(w.text.substr(0, 40)));
  v = int(d);
  return true;
}

bool Runner::no_more_values() {
  Word w;
  if (_lex.next(w))
    return fail("more values than the attribute takes (" + quoted(w.text.substr(0, 40)) + ")");
  return !_lex.failed();
}

bool Runner::string_value(std::string& out) {
  Word w;
  if (!word(w, "a string"))
    return false;
  if (w.quoted) {
    out = maya_ascii::string_value(w);
    return true;
  }
  // ( "part" + "part" ... ): a long string written in pieces.
  if (w.text != "(")
    return fail("expected a string, found " + quoted(w.text.substr(0, 40)));
  out.clear();
  for (;;) {
    if (!word(w, "a string"))
      return false;
    if (!w.quoted)
      return fail("expected a string in ( ... ), found " + quoted(w.text.substr(0, 40)));
    out += maya_ascii::string_value(w);
    if (!word(w, "'+' or ')'"))
      return false;
    if (w.text == ")" && !w.quoted)
      return true;
    if (w.text != "+" || w.quoted)
      return fail("expected '+' or ')', found " + quoted(w.text.substr(0, 40)));
  }
}

bool Runner::matrix(MMatrix& m) {
  Word w;
  if (!word(w, "a matrix"))
    return false;
  if (w.quoted)
    return fail("a matrix given as " + quoted(w.text) + " (not sixteen numbers) is not read by mayasim");
  _lex.unread(w);
  double v[16];
  if (!numbers(v, 16))
    return false;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      m[unsigned(r)][unsigned(c)] = v[r * 4 + c];
  return true;
}

bool Runner::component_list(std::vector<std::string>& out) {
  int count;
  if (!integer(count, 0, 1 << 30))
    return false;
  out.clear();
  for (int i = 0; i < count; ++i) {
    Word w;
    if (!word(w, "a component"))
      return false;
    out.push_back(std::string(w.text));
  }
  return true;
}

// Arrays are kept dense; an element's index is bounded by the size of the
// text, so that a short malformed file cannot make the loader allocate what
// its values could never fill.
bool Runner::over_budget(size_t bytes) {
  size_t total = DENSE_BYTES_FREE + DENSE_BYTES_PER_BYTE * _size;
  return fail("the file's arrays would take " + std::to_string((total - _dense_left + bytes) >> 20) +
              " MB together, more than the " + std::to_string(total >> 20) + " MB allowed for a file of " +
              std::to_string(_size) + " bytes: an index lies far beyond the values the file gives");
}

bool Runner::check_index(int64_t last) {
  if (last > int64_t(_size))
    return fail("index " + std::to_string(last) + " is larger than a file of " + std::to_string(_size) +
                " bytes can fill");
  return true;
}

int Runner::add_node(Node* n, const std::string& type_name, NodeType t, unsigned line) {
  FileNode fn;
  fn.type_name = type_name;
  fn.type = t;
  fn.node = n;
  fn.line = line;
  switch (t.kind) {
  case Kind::Mesh:
    fn.mesh.reset(new StoredMesh);
    break;
  case Kind::SkinCluster:
    fn.skin.reset(new SkinWeights);
    break;
  case Kind::PolyColorPerVertex:
    fn.colors.reset(new VertexColors);
    break;
  case Kind::AnimCurveTL:
  case Kind::AnimCurveTA:
  case Kind::AnimCurveTU:
  case Kind::AnimCurveOther:
    fn.curve.reset(new CurveKeys);
    break;
  default:
    break;
  }
  int index = int(_f.nodes.size());
  _f.nodes.push_back(std::move(fn));
  _f.incoming.emplace_back();
  _f.outgoing.emplace_back();
  _f.by_name[n->name].push_back(index);
  return index;
}

// The number of paths from the world to `n`, kept until the DAG changes.
double Runner::paths_to(const Node* n) { return count_paths_to(n, _path_counts); }

// How many DAG paths end in `parts` at node `n` (whose name is
// parts[k - 1]), and the instance number of the last one among n's paths:
// a path is matched by walking up its names, never by listing every path.
double Runner::match_path(const Node* n, size_t k, bool absolute, double& index) {
  std::vector<std::string_view>& parts = _parts;
  // Depth first up the parents whose names match, with a list rather than
  // recursion (a path may name thousands of levels). `base`: the instance
  // number the path has so far, counted from the node up to `at`.
  struct Step {
    const Node* at;
    size_t k;
    double base;
  };
  std::vector<Step> todo{{n, k, 0}};
  std::vector<Step> matched;
  double total = 0;
  index = 0;
  while (!todo.empty()) {
    Step s = todo.back();
    todo.pop_back();
    if (s.k == 1) {
      if (!absolute) {
        total += paths_to(s.at);
        index = s.base;
        continue;
      }
      // Directly below the world: the path's first part.
      double offset = 0;
      for (const Node* p : s.at->parents) {
        if (p->parents.empty() && p->type == MFn::kWorld) {
          total += 1;
          index = s.base + offset;
          break;
        }
        offset += paths_to(p);
      }
      continue;
    }
    // The parents in reverse, so that the first is taken first.
    matched.clear();
    double offset = 0;
    for (const Node* p : s.at->parents) {
      if (without_root(p->name) == parts[s.k - 2])
        matched.push_back({p, s.k - 1, s.base + offset});
      offset += paths_to(p);
    }
    for (size_t i = matched.size(); i-- > 0;)
      todo.push_back(matched[i]);
  }
  return total;
}

// Whether `ancestor` is `node` or lies above it through any of its parents
// (an instanced node has several). Walks with an explicit list: hierarchies
// can be deeper than the stack allows.
bool Runner::is_above(const Node* ancestor, const Node* node) const {
  std::vector<const Node*> todo;
  for (const Node* p : node->parents)
    todo.push_back(p);
  std::set<const Node*> seen;
  while (!todo.empty()) {
    const Node* at = todo.back();
    todo.pop_back();
    if (at == ancestor)
      return true;
    if (!seen.insert(at).second)
      continue;
    for (const Node* p : at->parents)
      todo.push_back(p);
  }
  return false;
}

// Which of `n`'s parents the path numbered `instance` goes through: the
// paths of its first parent come first, then those of its second.
size_t Runner::parent_link(const Node* n, int instance) {
  double offset = 0;
  for (size_t j = 0; j < n->parents.size(); ++j) {
    offset += paths_to(n->parents[j]);
    if (double(instance) < offset)
      return j;
  }
  return 0;
}

bool Runner::too_many_paths(const Node* node) {
  std::vector<const Node*> todo;
  todo.push_back(node);
  std::set<const Node*> seen;
  while (!todo.empty()) {
    const Node* n = todo.back();
    todo.pop_back();
    if (!seen.insert(n).second)
      continue;
    if (paths_to(n) > MAX_INSTANCE_PATHS)
      return true;
    for (const Node* c : n->children)
      todo.push_back(c);
  }
  return false;
}

// A node by name, DAG path ("|group1|pCube1", or a path's tail) or with
// the root namespace (":time1"). *instance: the number of the DAG path the
// name gives (0 for a plain name). A node of every Maya scene that this one
// lacks (":defaultLightSet") is made as a plain default node when
// `create_defaults` is set.
int Runner::resolve(std::string_view name, int* instance, bool create_defaults) {
  if (instance)
    *instance = 0;
  bool root_namespace = !name.empty() && name[0] == ':';
  bool absolute = !name.empty() && name[0] == '|';
  std::vector<std::string_view>& parts = _parts;
  parts.clear();
  _prefixed.clear();
  size_t i = 0;
  while (i <= name.size()) {
    size_t bar = name.find('|', i);
    if (bar == std::string_view::npos)
      bar = name.size();
    if (bar > i) {
      std::string_view part = name.substr(i, bar - i);
      if (_prefix.empty() || part[0] == ':') {
        parts.push_back(without_root(part));
      } else {
        _prefixed.push_back(_prefix);
        _prefixed.back().append(part.data(), part.size());
        parts.push_back(_prefixed.back());
      }
    }
    i = bar + 1;
  }
  if (parts.empty() || parts.back().empty()) {
    fail("no node is named " + quoted(name));
    return -1;
  }
  _key.assign(parts.back().data(), parts.back().size());
  const NodeList* found_list = _f.by_name.find(parts.back());
  if (!found_list || found_list->size() == 0) {
    if (create_defaults && root_namespace && parts.size() == 1) {
      Node* n = scene().create(MFn::kDependencyNode, "unknown", _key, nullptr);
      n->is_default = true;
      return add_node(n, "unknown", NodeType(), 0);
    }
    fail("no node is named " + quoted(name));
    return -1;
  }
  const NodeList& candidates = *found_list;
  if (parts.size() == 1 && !absolute) {
    if (candidates.size() == 1)
      return candidates[0];
    fail("more than one node is named " + quoted(name) + "; a DAG path is needed");
    return -1;
  }
  int found = -1;
  double matches = 0, found_instance = 0;
  for (size_t k = 0; k < candidates.size(); ++k) {
    int c = candidates[k];
    const Node* n = _f.nodes[size_t(c)].node;
    if (!n->dag)
      continue;
    double index = 0;
    double m = match_path(n, parts.size(), absolute, index);
    if (m > 0) {
      matches += m;
      found = c;
      found_instance = index;
    }
  }
  if (matches == 0) {
    fail("no node is at the path " + quoted(name));
    return -1;
  }
  if (matches > 1) {
    fail("more than one node matches " + quoted(name));
    return -1;
  }
  if (instance)
    *instance = int(found_instance);
  return found;
}

bool Runner::run(std::string& error) {
  // Room for the nodes the text can hold (a createNode statement is some 30
  // bytes at least, usually far more), so that the table grows once.
  if (_mode == Mode::Scene) {
    size_t estimate = _size / 400 + 64;
    _f.nodes.reserve(estimate);
    _f.incoming.reserve(estimate);
    _f.outgoing.reserve(estimate);
    _f.by_name.reserve(estimate);
    // And for the connections (a connectAttr statement is some 40 bytes).
    _f.connections.reserve(_size / 200 + 64);
    // The new scene's nodes (world, cameras, lambert1, initialShadingGroup,
    // time1) are the file's to refer to.
    for (Node* n : scene().nodes)
      add_node(n, n->type_name, node_type(n->type_name), 0);
  }
  while (_lex.begin_statement()) {
    Word command;
    if (!_lex.next(command)) {
      if (_lex.failed())
        break;
      continue;
    }
    if (command.quoted) {
      fail("a statement cannot start with a string");
      break;
    }
    ++_statements;
    if (!statement(command.text))
      break;
    if (_error.empty())
      _lex.finish_statement();
    if (!_error.empty())
      break;
  }
  if (_error.empty() && _lex.failed())
    _error = _file + ":" + std::to_string(_lex.error_line()) + ": " + _lex.statement_excerpt() + ": " +
             _lex.error();
  // Every file Maya saves holds statements (requires, currentUnit, ...):
  // a file of comments only is not a scene, and loading it as an empty one
  // would hide that nothing was read.
  if (_error.empty() && _statements == 0)
    _error = _file + ": no statement was read from it (only comments and blank lines, " +
             std::to_string(_lex.line()) + " line" + (_lex.line() == 1 ? "" : "s") +
             "): it is not a Maya ASCII scene, or its line ends are not ones a Maya file has";
  if (_lex.invalid_text_line() > 0)
    _f.warnings.push_back(_file + ":" + std::to_string(_lex.invalid_text_line()) +
                          ": text that is not valid in the file's codeset (" + _codeset.name() +
                          "); those characters are shown as U+FFFD.");
  // Maya loads a file's references once its own statements have run: the
  // file's nodes stand in for theirs until then (foster parents, the
  // reference node's placeholders), and the edits move them into place.
  if (_error.empty() && _mode != Mode::Edit)
    load_references();
  error = _error;
  return _error.empty();
}

bool Runner::statement(std::string_view command) {
  // The commands by how often files use them.
  if (command == "setAttr")
    return set_attr();
  if (command == "connectAttr")
    return connect_attr();
  if (command == "createNode")
    return create_node();
  if (command == "disconnectAttr")
    return disconnect_attr();
  if (command == "parent")
    return parent();
  if (command == "select")
    return select();
  if (command == "rename")
    return rename();
  if (command == "currentUnit")
    return current_unit();
  if (command == "file")
    return file();
  if (command == "fileInfo")
    return file_info();
  if (command == "requires" || command == "addAttr" || command == "relationship" ||
      command == "lockNode" || command == "dataStructure" || command == "setKeyframe")
    return true;
  // Other MEL: Maya would run it; the loader skips it and says so once.
  std::string name(command.substr(0, 40));
  if (_skipped_commands.insert(name).second)
    _f.warnings.push_back(_file + ":" + std::to_string(_lex.statement_line()) + ": " + name +
                          " statements are not read by mayasim; skipped.");
  return true;
}

bool Runner::create_node() {
  Word type_word;
  if (!word(type_word, "a node type"))
    return false;
  std::string type_name(type_word.text);
  std::string name, parent_name;
  bool shared = false, has_parent = false;
  Word w;
  while (_lex.next(w)) {
    std::string_view f = w.text;
    if (w.quoted)
      return fail("unexpected " + quoted(f));
    if (f == "-n" || f == "-name") {
      if (!word(w, "a name"))
        return false;
      name = std::string(w.text);
    } else if (f == "-p" || f == "-parent") {
      if (!word(w, "a parent"))
        return false;
      parent_name = std::string(w.text);
      has_parent = true;
    } else if (f == "-s" || f == "-shared") {
      shared = true;
    } else if (f == "-ss" || f == "-skipSelect") {
    } else {
      return fail("unknown flag " + std::string(f));
    }
  }
  if (_lex.failed())
    return false;
  if (name.empty())
    name = type_name + "1";
  if (!valid_node_name(name))
    return fail("a node cannot be named " + quoted(name));
  // A shared node of a referenced file (the light linker) is the scene's.
  name = shared ? std::string(without_root(name)) : scene_name(name);

  Node* parent = nullptr;
  if (has_parent) {
    // A shared node's parent is shared too (a referenced file's default
    // cameras are the scene's).
    if (shared && !parent_name.empty() && parent_name[0] != ':' && parent_name[0] != '|')
      parent_name.insert(0, ":");
    int p = resolve(parent_name, nullptr, false);
    if (p < 0)
      return false;
    parent = _f.nodes[size_t(p)].node;
    if (!parent->dag)
      return fail(quoted(parent_name) + " is not a DAG node and cannot be a parent");
  }
  // A shared node (-s) that the scene has already is the one meant.
  if (const NodeList* existing = _f.by_name.find(name)) {
    const NodeList& same_name = *existing;
    for (size_t k = 0; k < same_name.size(); ++k) {
      int e = same_name[k];
      Node* n = _f.nodes[size_t(e)].node;
      bool same_place = !n->dag || (n->parents.empty() ? parent == nullptr || parent == scene().world
                                                       : n->parents[0] == (parent ? parent : scene().world));
      if (!same_place)
        continue;
      if (shared) {
        _current = e;
        return true;
      }
      return fail("a node named " + quoted(name) + " already exists there");
    }
  }
  NodeType t = node_type(type_name);
  bool dag = t.dag || has_parent;
  MFn::Type api = t.api;
  if (dag && api == MFn::kDependencyNode)
    api = MFn::kUnknownDag;
  Node* n = scene().create(api, type_name.c_str(), name, dag ? (parent ? parent : scene().world) : nullptr);
  n->is_shared = shared;
  _current = add_node(n, type_name, t, _lex.statement_line());
  return true;
}

// Whether a setAttr word is one of its flags: "-" and a letter ("-1" is a
// value).
bool is_flag(const Word& w) {
  return !w.quoted && w.text.size() >= 2 && w.text[0] == '-' && std::isalpha(static_cast<unsigned char>(w.text[1]));
}

// One setAttr flag (its word read) and its value; false for a flag setAttr
// does not have.
bool Runner::set_attr_flag(std::string_view flag, std::string_view& type) {
  if (flag == "-av" || flag == "-alteredValue")
    return true;
  Word arg;
  if (flag == "-type") {
    if (!word(arg, "a type"))
      return false;
    type = arg.text;
    return true;
  }
  if (flag == "-s" || flag == "-size" || flag == "-ch" || flag == "-capacityHint") {
    if (!word(arg, "the flag's value"))
      return false;
    long long hint = 0;
    auto r = std::from_chars(arg.text.data(), arg.text.data() + arg.text.size(), hint);
    hint = r.ec == std::errc() && hint > 0 ? hint : 0;
    if (flag == "-s" || flag == "-size")
      _size_hint = hint;
    else
      _capacity_hint = std::min<int64_t>(hint, int64_t(_size));
    return true;
  }
  if (flag == "-k" || flag == "-keyable" || flag == "-l" || flag == "-lock" || flag == "-cb" ||
      flag == "-channelBox" || flag == "-ca" || flag == "-caching")
    return word(arg, "the flag's value");
  return fail("unknown flag " + std::string(flag));
}

bool Runner::set_attr() {
  Word w;
  std::string_view type;
  _size_hint = 0;
  _capacity_hint = 0;
  // Flags come before the attribute or after it (-type usually does).
  for (;;) {
    if (!word(w, "an attribute"))
      return false;
    if (!is_flag(w))
      break;
    if (!set_attr_flag(w.text, type))
      return false;
  }
  std::string_view attr = w.text;
  int node = _current;
  if (!attr.empty() && attr[0] == '.') {
    attr.remove_prefix(1);
  } else {
    size_t dot = attr.find('.');
    if (dot == std::string_view::npos)
      return fail("expected an attribute, found " + quoted(attr));
    node = resolve(attr.substr(0, dot), nullptr, true);
    if (node < 0)
      return false;
    attr.remove_prefix(dot + 1);
  }
  if (node < 0)
    return fail("no node has been created or selected to set this attribute on");
  AttrPath path;
  std::string why;
  if (!parse_attr_path(attr, _f.nodes[size_t(node)].type.kind, path, why))
    return fail("the attribute " + quoted(attr) + " has " + why);
  Word t;
  while (_lex.next(t)) {
    if (!is_flag(t)) {
      _lex.unread(t);
      break;
    }
    if (!set_attr_flag(t.text, type))
      return false;
  }
  if (_lex.failed())
    return false;
  if (type == "dataReferenceEdits")
    return reference_edits(node);
  return assign(node, path, type);
}

bool Runner::assign(int index, const AttrPath& p, std::string_view type) {
  FileNode& n = _f.nodes[size_t(index)];
  if (!has_more())
    return !_lex.failed(); // a size or flags only
  bool known = false;
  bool ok = true;
  const AttrPart& a = p.parts[0];
  // Visibility and intermediateObject, on every DAG node.
  if (n.node->dag && p.count == 1 && !a.indexed && (a.name == "v" || a.name == "io")) {
    double v;
    if (!number(v))
      return false;
    if (a.name == "v")
      n.node->bools["visibility"] = v != 0;
    else
      n.node->is_intermediate = v != 0;
    return no_more_values();
  }
  switch (n.type.kind) {
  case Kind::Transform:
  case Kind::Joint:
    ok = transform_attr(n, p, known);
    break;
  case Kind::Mesh:
    ok = mesh_attr(n, p, type, known);
    break;
  case Kind::SkinCluster:
    ok = skin_attr(n, p, known);
    break;
  case Kind::AnimCurveTL:
  case Kind::AnimCurveTA:
  case Kind::AnimCurveTU:
  case Kind::AnimCurveOther:
    ok = curve_attr(n, p, known);
    break;
  case Kind::Tweak:
    if (p.count == 2 && a.name == "vl" && p.parts[1].name == "vt" && p.parts[1].indexed && !p.parts[1].every) {
      known = true;
      for (int64_t i = p.parts[1].first; ok && i <= p.parts[1].last; ++i) {
        double v[3];
        ok = numbers(v, 3);
        if (ok && (v[0] != 0 || v[1] != 0 || v[2] != 0))
          n.tweaked = true;
      }
    }
    break;
  case Kind::GroupParts:
    if (p.count == 1 && a.name == "ic" && !a.indexed) {
      known = true;
      ok = component_list(n.components["ic"]);
    }
    break;
  case Kind::PolyCube:
  case Kind::PolySphere:
  case Kind::PolyPlane:
  case Kind::PolyCylinder:
    if (p.count == 1 && !a.indexed) {
      if (a.name == "ax") {
        known = true;
        n.axis.assign(3, 0.0);
        ok = numbers(n.axis.data(), 3);
      } else if (a.name == "w" || a.name == "h" || a.name == "d" || a.name == "r") {
        known = true;
        double v;
        ok = number(v);
        n.numbers[std::string(a.name)] = v * _f.centimetres_per_unit;
      } else if (a.name == "sw" || a.name == "sh" || a.name == "sd" || a.name == "sa" || a.name == "sc" ||
                 a.name == "cuv" || a.name == "rcp") {
        known = true;
        int v;
        ok = integer(v, 0, 1 << 20);
        n.numbers[std::string(a.name)] = v;
      }
    }
    break;
  case Kind::TransformGeometry:
    if (p.count == 1 && !a.indexed && a.name == "txf") {
      known = true;
      ok = matrix(n.matrix);
    } else if (p.count == 1 && !a.indexed && (a.name == "itf" || a.name == "fn")) {
      known = true;
      double v;
      ok = number(v);
      n.numbers[std::string(a.name)] = v;
    }
    break;
  case Kind::Script:
    // The scene configuration script holds the playback range; other
    // scripts (the UI's layout, often the largest text of a file) are not
    // read.
    if (p.count == 1 && a.name == "b" && n.node->name == "sceneConfigurationScriptNode") {
      known = true;
      ok = string_value(n.text);
    }
    break;
  case Kind::Time:
    // The current time is the scene's: a referenced file's is not read.
    if (p.count == 1 && a.name == "o" && _mode != Mode::Reference) {
      known = true;
      ok = number(_f.current_frame);
      _f.has_current_frame = ok;
    }
    break;
  case Kind::PolyColorPerVertex:
    ok = colors_attr(n, p, known);
    break;
  case Kind::UnitConversion:
    if (p.count == 1 && a.name == "cf") {
      known = true;
      double v;
      ok = number(v);
      n.numbers["cf"] = v;
    }
    break;
  default:
    break;
  }
  if (!ok)
    return false;
  return known ? no_more_values() : true;
}

bool Runner::transform_attr(FileNode& n, const AttrPath& p, bool& known) {
  const AttrPart& a = p.parts[0];
  if (p.count != 1 || a.indexed)
    return true;
  TransformAttributes& x = n.node->xform;
  const double L = _f.centimetres_per_unit, A = _f.radians_per_unit;
  struct Vector {
    const char* name;
    double* values;
    double scale;
    bool joint_only;
  };
  const Vector vectors[] = {
      {"t", x.translate, L, false},
      {"r", x.rotate, A, false},
      {"s", x.scale, 1.0, false},
      {"rp", x.rotate_pivot, L, false},
      {"sp", x.scale_pivot, L, false},
      {"rpt", x.rotate_pivot_translate, L, false},
      {"spt", x.scale_pivot_translate, L, false},
      {"ra", x.rotate_axis, A, false},
      {"jo", x.joint_orient, A, true},
  };
  for (const Vector& v : vectors) {
    if (v.joint_only && n.type.kind != Kind::Joint)
      continue;
    std::string_view name = a.name;
    if (name == v.name) {
      known = true;
      if (!numbers(v.values, 3))
        return false;
      for (int i = 0; i < 3; ++i)
        if (!in_internal_units(v.values[i], v.scale))
          return false;
      return true;
    }
    if (name.size() == strlen(v.name) + 1 && name.substr(0, name.size() - 1) == v.name) {
      char axis = name.back();
      if (axis < 'x' || axis > 'z')
        continue;
      known = true;
      double value;
      if (!number(value) || !in_internal_units(value, v.scale))
        return false;
      v.values[axis - 'x'] = value;
      return true;
    }
  }
  if (a.name == "sh") {
    known = true;
    return numbers(x.shear, 3);
  }
  if (a.name == "shxy" || a.name == "shxz" || a.name == "shyz") {
    known = true;
    return number(x.shear[a.name == "shxy" ? 0 : a.name == "shxz" ? 1 : 2]);
  }
  if (a.name == "ro") {
    known = true;
    return integer(x.rotate_order, 0, 5);
  }
  double v;
  if (a.name == "ssc" && n.type.kind == Kind::Joint) {
    known = true;
    if (!number(v))
      return false;
    x.segment_scale_compensate = v != 0;
    return true;
  }
  return true;
}

bool Runner::mesh_attr(FileNode& n, const AttrPath& p, std::string_view type, bool& known) {
  StoredMesh& m = *n.mesh;
  const AttrPart& a = p.parts[0];
  if (p.count == 1 && !a.indexed) {
    if (a.name == "cuvs" || a.name == "ccls") {
      known = true;
      return string_value(a.name == "cuvs" ? m.current_uv_set : m.current_color_set);
    }
    if (a.name == "vnm") {
      known = true;
      return integer(m.normal_method, 0, 3);
    }
    return true;
  }
  // Arrays of values per element, dense by index.
  struct Array {
    const char* name;
    std::vector<double>* values;
    int per;
  };
  const Array arrays[] = {{"vt", &m.points, 3}, {"pt", &m.tweaks, 3}, {"n", &m.normals, 3}};
  if (p.count == 1 && a.indexed && !a.every) {
    for (const Array& arr : arrays) {
      if (a.name != arr.name)
        continue;
      known = true;
      if (!check_index(a.last))
        return false;
      std::vector<double>& out = *arr.values;
      reserve(out, size_t(arr.per));
      size_t need = size_t(a.last + 1) * size_t(arr.per);
      if (!grow(out, need, arr.values == &m.normals ? 1e20 : 0.0))
        return false;
      if (arr.values == &m.points)
        m.has_geometry = true;
      return numbers(&out[size_t(a.first) * size_t(arr.per)], (a.last - a.first + 1) * arr.per);
    }
    if (a.name == "ed") {
      known = true;
      if (!check_index(a.last))
        return false;
      reserve(m.edges, 3);
      if (!grow(m.edges, size_t(a.last + 1) * 3, -1))
        return false;
      m.has_geometry = true;
      for (int64_t i = a.first * 3; i < (a.last + 1) * 3; ++i)
        if (!integer(m.edges[size_t(i)], 0, 1 << 30))
          return false;
      return true;
    }
    if (a.name == "fc") {
      known = true;
      // Maya gives the type on the first piece of a long face list only.
      if (!type.empty() && type != "polyFaces")
        return fail("the faces are given as -type " + quoted(type) + "; they are \"polyFaces\"");
      m.has_geometry = true;
      return poly_faces(m, a);
    }
    return true;
  }
  // uvst[i].uvsn, uvst[i].uvsp[range], clst[i].clsn, clst[i].clsp[range],
  // clst[i].rprt
  if (p.count == 2 && a.indexed && !a.every && a.first == a.last && (a.name == "uvst" || a.name == "clst")) {
    const AttrPart& b = p.parts[1];
    int set = int(a.first);
    if (a.name == "uvst" && b.name == "uvsn" && !b.indexed) {
      known = true;
      return string_value(m.uv_sets[set].name);
    }
    if (a.name == "clst" && b.name == "clsn" && !b.indexed) {
      known = true;
      return string_value(m.color_sets[set].name);
    }
    if (a.name == "clst" && b.name == "rprt" && !b.indexed) {
      known = true;
      return integer(m.color_sets[set].representation, 2, 4);
    }
    bool uvs = a.name == "uvst" && b.name == "uvsp";
    bool colors = a.name == "clst" && b.name == "clsp";
    if ((uvs || colors) && b.indexed && !b.every) {
      known = true;
      if (!check_index(b.last))
        return false;
      int per = uvs ? 2 : 4;
      std::vector<double>& out = uvs ? m.uv_sets[set].uvs : m.color_sets[set].colors;
      reserve(out, size_t(per));
      if (!grow(out, size_t(b.last + 1) * size_t(per), 0.0))
        return false;
      return numbers(&out[size_t(b.first) * size_t(per)], (b.last - b.first + 1) * per);
    }
    return true;
  }
  // iog[k].og[j].gcl: the faces of a per-face shading assignment.
  if (p.count == 3 && a.name == "iog" && p.parts[1].name == "og" && p.parts[2].name == "gcl" &&
      p.parts[1].indexed && !p.parts[1].every && p.parts[1].first == p.parts[1].last && !a.every &&
      a.first == a.last) {
    known = true;
    std::string key = std::to_string(a.indexed ? a.first : 0) + "." + std::to_string(p.parts[1].first);
    return component_list(n.components[key]);
  }
  return true;
}

bool Runner::poly_faces(StoredMesh& m, const AttrPart& range) {
  if (!check_index(range.last))
    return false;
  reserve(m.faces, 1);
  if (_capacity_hint > 0) {
    int64_t hint = _size_hint;
    _size_hint = _capacity_hint;
    reserve(m.face_edges, 1);
    reserve(m.map_ids, 1);
    _size_hint = hint;
  }
  if (!grow(m.faces, size_t(range.last + 1), StoredMesh::Face()))
    return false;
  int64_t next_face = range.first;
  int face = -1;
  Word w;
  const int LIMIT = 1 << 30;
  while (_lex.next(w)) {
    std::string_view k = w.text;
    int count;
    if (k == "f") {
      if (next_face > range.last)
        return fail("more faces than .fc[" + std::to_string(range.first) + ":" + std::to_string(range.last) +
                    "] holds");
      face = int(next_face++);
      if (!integer(count, 1, LIMIT))
        return false;
      StoredMesh::Face& f = m.faces[size_t(face)];
      f = StoredMesh::Face();
      f.given = true;
      f.edge_begin = int(m.face_edges.size());
      f.edge_count = count;
      for (int i = 0; i < count; ++i) {
        int e;
        if (!integer(e, -LIMIT, LIMIT - 1))
          return false;
        m.face_edges.push_back(e);
      }
    } else if (k == "h" || k == "fc" || k == "mf") {
      // A hole's edges; old-style face colours and UVs: read past them.
      if (face < 0)
        return fail(std::string(k) + " before the first face");
      if (k == "h")
        ++m.faces[size_t(face)].holes;
      if (!integer(count, 0, LIMIT))
        return false;
      for (int i = 0; i < count; ++i) {
        int ignored;
        if (!integer(ignored, -LIMIT, LIMIT - 1))
          return false;
      }
    } else if (k == "mu" || k == "mc") {
      if (face < 0)
        return fail(std::string(k) + " before the first face");
      int set;
      if (!integer(set, 0, int(MAX_INDEX)) || !integer(count, 0, LIMIT))
        return false;
      StoredMesh::FaceMap map{face, set, int(m.map_ids.size()), count};
      for (int i = 0; i < count; ++i) {
        int id;
        if (!integer(id, -1, LIMIT))
          return false;
        m.map_ids.push_back(id);
      }
      (k == "mu" ? m.uv_maps : m.color_maps).push_back(map);
    } else {
      return fail("unknown word " + quoted(k.substr(0, 20)) + " in the faces");
    }
  }
  if (_lex.failed())
    return false;
  if (next_face != range.last + 1)
    return fail("expected " + std::to_string(range.last - range.first + 1) + " faces, found " +
                std::to_string(next_face - range.first));
  return true;
}

bool Runner::skin_attr(FileNode& n, const AttrPath& p, bool& known) {
  SkinWeights& s = *n.skin;
  const AttrPart& a = p.parts[0];
  if (a.name == "wl" && p.count == 2 && p.parts[1].name == "w" && a.indexed && !a.every) {
    known = true;
    const AttrPart& b = p.parts[1];
    if (!check_index(a.last))
      return false;
    if (!grow(s.weights, size_t(a.last + 1), std::vector<std::pair<int, double>>()))
      return false;
    if (!b.indexed) {
      // .wl[0:7].w: per vertex, a count and (influence, weight) pairs.
      for (int64_t v = a.first; v <= a.last; ++v) {
        int count;
        if (!integer(count, 0, 1 << 20))
          return false;
        auto& list = s.weights[size_t(v)];
        list.clear();
        for (int i = 0; i < count; ++i) {
          int influence;
          double weight;
          if (!integer(influence, 0, int(MAX_INDEX)) || !number(weight))
            return false;
          list.emplace_back(influence, weight);
        }
      }
      return true;
    }
    if (b.every || a.first != a.last)
      return fail("weights of several vertices given by influence range");
    // Influence indices are logical: sparse, and any up to the largest
    // index. A weight given again replaces the earlier one when the skin
    // is built (the last given counts), so adding one costs no search.
    auto& list = s.weights[size_t(a.first)];
    for (int64_t j = b.first; j <= b.last; ++j) {
      double weight;
      if (!number(weight))
        return false;
      list.emplace_back(int(j), weight);
    }
    return true;
  }
  if (a.name == "pm" && p.count == 1 && a.indexed && !a.every) {
    known = true;
    for (int64_t j = a.first; j <= a.last; ++j)
      if (!matrix(s.bind_pre_matrices[int(j)]))
        return false;
    return true;
  }
  if (a.name == "gm" && p.count == 1 && !a.indexed) {
    known = true;
    return matrix(s.geometry_matrix);
  }
  return true;
}

bool Runner::curve_attr(FileNode& n, const AttrPath& p, bool& known) {
  CurveKeys& c = *n.curve;
  const AttrPart& a = p.parts[0];
  if (p.count != 1)
    return true;
  if (!a.indexed) {
    int v;
    if (a.name == "wgt") {
      double w;
      known = true;
      if (!number(w))
        return false;
      c.weighted = w != 0;
    } else if (a.name == "tan") {
      known = true;
      if (!integer(v, 0, 1 << 20))
        return false;
      c.tangent_type = v;
    } else if (a.name == "pre" || a.name == "pst") {
      known = true;
      if (!integer(v, 0, 5))
        return false;
      (a.name == "pre" ? c.pre : c.post) = v;
    }
    return true;
  }
  if (a.every)
    return true;
  if (!check_index(a.last))
    return false;
  size_t need = size_t(a.last + 1);
  if (a.name == "ktv") {
    known = true;
    if (!grow(c.times, need, NOT_GIVEN) || !grow(c.values, need, NOT_GIVEN))
      return false;
    for (int64_t i = a.first; i <= a.last; ++i)
      if (!number(c.times[size_t(i)]) || !number(c.values[size_t(i)]))
        return false;
    return true;
  }
  if (a.name == "kit" || a.name == "kot") {
    known = true;
    std::vector<int>& out = a.name == "kit" ? c.in_types : c.out_types;
    if (!grow(out, need, -1))
      return false;
    for (int64_t i = a.first; i <= a.last; ++i)
      if (!integer(out[size_t(i)], 0, 1 << 20))
        return false;
    return true;
  }
  std::vector<double>* tangent = a.name == "kix"   ? &c.in_x
                                 : a.name == "kiy" ? &c.in_y
                                 : a.name == "kox" ? &c.out_x
                                 : a.name == "koy" ? &c.out_y
                                                   : nullptr;
  if (tangent) {
    known = true;
    if (!grow(*tangent, need, NOT_GIVEN))
      return false;
    for (int64_t i = a.first; i <= a.last; ++i)
      if (!number((*tangent)[size_t(i)]))
        return false;
  }
  return true;
}

bool Runner::colors_attr(FileNode& n, const AttrPath& p, bool& known) {
  VertexColors& c = *n.colors;
  const AttrPart& a = p.parts[0];
  if (p.count == 1 && !a.indexed && a.name == "cn") {
    known = true;
    return string_value(c.set_name);
  }
  if (p.count == 1 && !a.indexed && a.name == "rpt") {
    known = true;
    return integer(c.representation, 2, 4);
  }
  if (a.name != "vclr" || !a.indexed || a.every || !check_index(a.last))
    return true;
  // vclr[v].vrgb, vclr[v].vxal; vclr[v].vfcl[f].frgb, vclr[v].vfcl[f].vfal
  const AttrPart* face = p.count == 3 && p.parts[1].name == "vfcl" ? &p.parts[1] : nullptr;
  const AttrPart& value = p.parts[p.count - 1];
  bool rgb = value.name == (face ? "frgb" : "vrgb");
  bool alpha = value.name == (face ? "vfal" : "vxal");
  if ((p.count != 2 && !face) || (!rgb && !alpha) || value.indexed)
    return true;
  if (face && (!face->indexed || face->every || !check_index(face->last)))
    return true;
  known = true;
  for (int64_t v = a.first; v <= a.last; ++v)
    for (int64_t f = face ? face->first : 0; f <= (face ? face->last : 0); ++f) {
      VertexColors::Vertex& vertex = c.vertices[int(v)];
      VertexColors::Color& color = face ? vertex.faces[int(f)] : vertex.color;
      if (rgb) {
        if (!numbers(color.rgb, 3))
          return false;
        color.has_rgb = true;
      } else {
        if (!number(color.alpha))
          return false;
        color.has_alpha = true;
      }
    }
  return true;
}

bool Runner::parse_plug(std::string_view text, Plug& plug) {
  size_t dot = text.find('.');
  if (dot == std::string_view::npos || dot == 0)
    return fail("expected node.attribute, found " + quoted(text));
  int instance = 0;
  plug.node = resolve(text.substr(0, dot), &instance, true);
  if (plug.node < 0)
    return false;
  AttrPath path;
  std::string why;
  if (!parse_attr_path(text.substr(dot + 1), _f.nodes[size_t(plug.node)].type.kind, path, why))
    return fail("the attribute " + quoted(text) + " has " + why);
  // A shape's instObjGroups without an index is the element of the
  // instance its path names.
  if (path.count > 0 && path.parts[0].name == "iog" && !path.parts[0].indexed) {
    path.parts[0].indexed = true;
    path.parts[0].first = path.parts[0].last = instance;
  }
  plug.attr = path.canonical();
  return true;
}

bool Runner::connection_plugs(Connection& c) {
  std::string_view plugs[2];
  size_t count = 0;
  Word w;
  while (_lex.next(w)) {
    if (w.quoted || (!w.text.empty() && w.text[0] != '-')) {
      if (count == 2)
        return fail("expected a source and a destination, found a third plug " + quoted(w.text.substr(0, 60)));
      plugs[count++] = w.text;
      continue;
    }
    std::string_view f = w.text;
    if (f == "-na" || f == "-nextAvailable" || f == "-f" || f == "-force")
      continue;
    if (f == "-l" || f == "-lock" || f == "-rd" || f == "-referenceDest") {
      if (!word(w, "the flag's value"))
        return false;
      continue;
    }
    return fail("unknown flag " + std::string(f));
  }
  if (_lex.failed())
    return false;
  if (count != 2)
    return fail("expected a source and a destination");
  c.line = _lex.statement_line();
  return parse_plug(plugs[0], c.source) && parse_plug(plugs[1], c.destination);
}

bool Runner::connect_attr() {
  Connection c;
  if (!connection_plugs(c))
    return false;
  int index = int(_f.connections.size());
  _f.incoming[size_t(c.destination.node)].push_back(index);
  _f.outgoing[size_t(c.source.node)].push_back(index);
  _f.connections.push_back(std::move(c));
  return true;
}

// Undoes a connection made before; one that does not exist is a warning,
// as Maya reports it and carries on.
bool Runner::disconnect_attr() {
  Connection c;
  if (!connection_plugs(c))
    return false;
  std::vector<int>& in = _f.incoming[size_t(c.destination.node)];
  for (size_t i = 0; i < in.size(); ++i) {
    Connection& existing = _f.connections[size_t(in[i])];
    if (existing.source.node != c.source.node || existing.source.attr != c.source.attr ||
        existing.destination.attr != c.destination.attr)
      continue;
    std::vector<int>& out = _f.outgoing[size_t(c.source.node)];
    out.erase(std::remove(out.begin(), out.end(), in[i]), out.end());
    existing.removed = true;
    in.erase(in.begin() + long(i));
    return true;
  }
  _f.warnings.push_back(_file + ":" + std::to_string(c.line) + ": disconnectAttr: " +
                        _f.nodes[size_t(c.source.node)].node->name + "." + c.source.attr + " is not connected to " +
                        _f.nodes[size_t(c.destination.node)].node->name + "." + c.destination.attr + "; nothing to undo.");
  return true;
}

bool Runner::parent() {
  bool add = false, world = false;
  std::vector<std::string_view> names;
  Word w;
  while (_lex.next(w)) {
    std::string_view f = w.text;
    if (w.quoted || f.empty() || f[0] != '-') {
      names.push_back(f);
    } else if (f == "-add" || f == "-addObject") {
      add = true;
    } else if (f == "-w" || f == "-world") {
      world = true;
    } else if (f == "-s" || f == "-shape" || f == "-nc" || f == "-noConnections" || f == "-r" ||
               f == "-relative" || f == "-a" || f == "-absolute" || f == "-nis" || f == "-noInvScale") {
    } else {
      return fail("unknown flag " + std::string(f));
    }
  }
  if (_lex.failed())
    return false;
  if (names.size() < (world ? 1u : 2u))
    return fail("expected the nodes and their new parent");
  Node* new_parent = scene().world;
  if (!world) {
    int p = resolve(names.back(), nullptr, false);
    if (p < 0)
      return false;
    new_parent = _f.nodes[size_t(p)].node;
    names.pop_back();
    if (!new_parent->dag)
      return fail(quoted(new_parent->name) + " is not a DAG node");
  }
  for (std::string_view name : names) {
    int instance = 0;
    int c = resolve(name, &instance, false);
    if (c < 0)
      return false;
    Node* child = _f.nodes[size_t(c)].node;
    if (!child->dag || child == scene().world)
      return fail(quoted(name) + " is not a DAG node");
    // No cycles, through any of the new parent's parents (instances
    // included): Maya refuses to parent a node below itself.
    if (new_parent == child || is_above(child, new_parent))
      return fail("cannot put " + quoted(name) + " below " + quoted(new_parent->name) + ", which is " +
                  (new_parent == child ? std::string("itself") : "below it") + ": the DAG would have a cycle");
    // A move takes the instance the name gives (its first for a plain
    // name) from its parent, in its place among the node's parents; the
    // node's other instances stay. -add makes a new instance, last.
    bool move = !add && !child->parents.empty();
    size_t link = move ? parent_link(child, instance) : child->parents.size();
    Node* old = move ? child->parents[link] : nullptr;
    if (old != new_parent &&
        std::find(child->parents.begin(), child->parents.end(), new_parent) != child->parents.end())
      return fail(quoted(name) + " is already below " + quoted(new_parent->name));
    if (old == new_parent)
      continue;
    _path_counts.clear();
    if (move) {
      auto& siblings = old->children;
      siblings.erase(std::find(siblings.begin(), siblings.end(), child));
      child->parents[link] = new_parent;
    } else {
      child->parents.push_back(new_parent);
    }
    new_parent->children.push_back(child);
    if (too_many_paths(child)) {
      new_parent->children.pop_back();
      if (move) {
        child->parents[link] = old;
        old->children.push_back(child);
      } else {
        child->parents.pop_back();
      }
      _path_counts.clear();
      return fail("putting " + quoted(name) + " there would give a node more than " +
                  std::to_string(int64_t(MAX_INSTANCE_PATHS)) + " paths from the world");
    }
  }
  return true;
}

bool Runner::select() {
  bool no_expand = false;
  std::vector<std::string_view> names;
  Word w;
  while (_lex.next(w)) {
    if (w.text == "-ne" || w.text == "-noExpand")
      no_expand = true;
    else if (w.quoted || w.text.empty() || w.text[0] != '-')
      names.push_back(w.text);
  }
  if (_lex.failed())
    return false;
  if (no_expand && names.size() == 1) {
    _current = resolve(names[0], nullptr, true);
    return _current >= 0;
  }
  return true;
}

bool Runner::rename() {
  std::vector<std::string_view> names;
  Word w;
  while (_lex.next(w)) {
    if (w.text == "-uid" || w.text == "-uuid")
      return true; // the node's UUID: not kept
    if (w.quoted || w.text.empty() || w.text[0] != '-')
      names.push_back(w.text);
  }
  if (_lex.failed())
    return false;
  if (names.size() != 2)
    return true;
  int n = resolve(names[0], nullptr, false);
  if (n < 0)
    return false;
  if (!valid_node_name(names[1]))
    return fail("a node cannot be named " + quoted(names[1]));
  Node* node = _f.nodes[size_t(n)].node;
  _f.by_name[node->name].remove(n);
  node->name = scene_name(names[1]);
  _f.by_name[node->name].push_back(n);
  return true;
}

std::string Runner::scene_name(std::string_view name) const {
  if (!name.empty() && name[0] == ':')
    return std::string(without_root(name));
  return _prefix + std::string(name);
}

// file -rdi / file -r: a reference declared (loaded once the file's own
// statements have run) or the load state recorded for one.
bool Runner::file() {
  std::vector<Word> words;
  Word w;
  while (_lex.next(w))
    words.push_back(w);
  if (_lex.failed())
    return false;
  ReferenceStatement r;
  r.line = _lex.statement_line();
  bool reference = false, record = false;
  size_t last = words.size();
  if (last == 0 || !words.back().quoted)
    return fail("expected the referenced file's path, in quotes, at the end of the statement");
  --last;
  auto value = [&](size_t& i, std::string& out) {
    if (i + 1 >= last)
      return fail("the flag " + std::string(words[i].text) + " has no value");
    out = maya_ascii::string_value(words[++i]);
    return true;
  };
  for (size_t i = 0; i < last; ++i) {
    std::string_view f = words[i].text;
    std::string v;
    if (words[i].quoted)
      return fail("unexpected " + quoted(f.substr(0, 60)));
    if (f == "-r" || f == "-reference") {
      reference = true;
    } else if (f == "-rdi" || f == "-referenceDepthInfo") {
      if (!value(i, v))
        return false;
      record = true;
      r.depth_info = atoi(v.c_str());
    } else if (f == "-ns" || f == "-namespace") {
      if (!value(i, r.ns))
        return false;
      r.has_namespace = true;
    } else if (f == "-dr" || f == "-deferReference") {
      if (!value(i, v))
        return false;
      r.deferred = v == "1" || v == "true" || v == "on" || v == "yes";
    } else if (f == "-rfn" || f == "-referenceNode") {
      if (!value(i, r.node))
        return false;
    } else if (f == "-typ" || f == "-type") {
      if (!value(i, r.type))
        return false;
    } else if (f == "-shd" || f == "-sharedNodes") {
      if (!value(i, v))
        return false;
      r.shared.push_back(v);
    } else if (f == "-rpr" || f == "-renamingPrefix") {
      if (!value(i, r.rename_prefix))
        return false;
    } else if (f == "-op" || f == "-options" || f == "-gn" || f == "-groupName" || f == "-lrd" ||
               f == "-loadReferenceDepth") {
      if (!value(i, v))
        return false;
    } else if (i + 1 < last && !(words[i + 1].text.size() > 1 && words[i + 1].text[0] == '-' &&
                                 std::isalpha(static_cast<unsigned char>(words[i + 1].text[1])))) {
      ++i; // another flag and its value: nothing the load needs
    }
  }
  r.path = maya_ascii::string_value(words.back());
  if (!reference && !record) {
    _f.warnings.push_back(_file + ":" + std::to_string(r.line) +
                          ": a file statement that neither references nor records a reference; skipped.");
    return true;
  }
  if (r.node.empty())
    r.node = (r.has_namespace && r.ns != ":" ? r.ns : std::string("reference")) + "RN";
  r.load = reference;
  // The scene records the load state of its whole tree of references;
  // a referenced file's own records count where the scene's say nothing.
  if (record && r.depth_info > 0) {
    std::string node = _mode == Mode::Scene ? r.node : scene_name(r.node);
    if (_mode == Mode::Scene || (r.depth_info == 1 && !_session.deferred.count(node)))
      _session.deferred[node] = r.deferred;
  }
  if (reference)
    _references.push_back(std::move(r));
  return true;
}

// A reference node's edits: kept for when its file has been loaded.
bool Runner::reference_edits(int node) {
  std::vector<EditWord> words;
  Word w;
  while (_lex.next(w))
    words.push_back(EditWord{w.quoted ? maya_ascii::string_value(w) : std::string(w.text), w.quoted});
  if (_lex.failed())
    return false;
  if (words.empty())
    return true;
  std::vector<ReferenceEdit> edits;
  std::string why;
  if (!parse_reference_edits(words, edits, why))
    return fail("the reference edits cannot be read: " + why);
  for (ReferenceEdit& e : edits)
    e.line = _lex.statement_line();
  std::vector<ReferenceEdit>& kept = _f.reference_edits[node];
  kept.insert(kept.end(), std::make_move_iterator(edits.begin()), std::make_move_iterator(edits.end()));
  return true;
}

bool Runner::load_references() {
  for (const ReferenceStatement& r : _references)
    if (!load_reference(r))
      return false;
  return true;
}

bool Runner::not_loaded(ReferenceRecord& record, const std::string& why) {
  if (_session.options->skip_missing) {
    record.state = "missing";
    _f.warnings.push_back(why + "; skipped (--missing-references skip).");
    return true;
  }
  if (_error.empty())
    _error = why + ". Give the folder that holds it with --reference-root DIR, map the recorded path with "
                   "--map-path FROM=TO, or load the scene without it with --missing-references skip";
  return false;
}

bool Runner::load_reference(const ReferenceStatement& r) {
  // Namespaces nest: a reference's nodes are in its namespace inside the
  // referencing file's; -ns ":" leaves them in the referencing file's own.
  std::string prefix = _prefix;
  if (r.has_namespace && !without_root(r.ns).empty())
    prefix += std::string(without_root(r.ns)) + ":";
  else if (!r.has_namespace && !r.rename_prefix.empty())
    prefix += r.rename_prefix + "_";
  std::string node = scene_name(r.node);
  _session.references.push_back(ReferenceRecord());
  size_t at = _session.references.size() - 1;
  {
    ReferenceRecord& record = _session.references[at];
    record.node = node;
    record.ns = prefix.empty() || prefix.back() != ':' ? prefix : prefix.substr(0, prefix.size() - 1);
    record.written = r.path;
    record.depth = _depth + 1;
  }
  auto record = [&]() -> ReferenceRecord& { return _session.references[at]; };
  std::string where = _file + ":" + std::to_string(r.line) + ": the reference " + quoted(node) + " to " +
                      quoted(r.path);
  auto deferred = _session.deferred.find(node);
  if (deferred != _session.deferred.end() && deferred->second) {
    record().state = "deferred";
    _f.warnings.push_back(where + " was unloaded when the scene was saved; it is left out, as Maya leaves it.");
    return true;
  }
  if (!r.type.empty() && r.type != "mayaAscii" && r.type != "mayaBinary")
    return not_loaded(record(), where + " is a " + quoted(r.type) + " file, which mayasim cannot load");
  if (_depth + 1 > MAX_REFERENCE_DEPTH) {
    _error = where + " is nested " + std::to_string(_depth + 1) + " references deep; the most is " +
             std::to_string(MAX_REFERENCE_DEPTH);
    return false;
  }
  if (_session.files >= MAX_REFERENCE_FILES) {
    _error = where + ": the scene has read " + std::to_string(_session.files) +
             " files already, the most one load reads (do its references reference each other over and over?)";
    return false;
  }
  FoundFile found;
  if (!find_reference_file(r.path, _file, _session.scene_file, *_session.options, found)) {
    std::string why = where + " was not found; tried " + std::to_string(found.tried.size()) + " place" +
                      (found.tried.size() == 1 ? "" : "s") + ":";
    for (size_t i = 0; i < found.tried.size(); ++i)
      why += (i ? ", " : " ") + found.tried[i];
    if (found.tried.empty())
      why += " none (the path is empty)";
    return not_loaded(record(), why);
  }
  record().file = found.path;
  record().rule = found.rule;
  std::string identity = file_identity(found.path, *_session.options);
  for (size_t i = 0; i < _session.loading.size(); ++i)
    if (_session.loading[i] == identity) {
      std::string chain;
      for (size_t k = i; k < _session.loading.size(); ++k)
        chain += _session.loading[k] + " -> ";
      _error = where + " leads back to a file that is being loaded: " + chain + found.path +
               ". A file cannot reference itself, directly or through others";
      return false;
    }
  std::string text, error;
  if (!read_reference_file(found.path, *_session.options, text, error))
    return not_loaded(record(), where + ": " + error);
  ++_session.files;
  if (!acceptable_text(text.data(), text.size(), found.path, error))
    return not_loaded(record(), where + " (found " + found.rule + "): " + error);
  // A referenced file's units are its own; the scene's stay the scene's.
  double centimetres = _f.centimetres_per_unit, radians = _f.radians_per_unit, seconds = _f.seconds_per_frame;
  MTime::Unit time_unit = _f.time_unit;
  MDistance::Unit linear = _f.linear_unit;
  _session.loading.push_back(identity);
  Runner child(text.data(), text.size(), _f, _session, found.path, prefix, _depth + 1, Mode::Reference);
  std::string_view codeset = header_codeset_name(text.data(), text.size());
  if (!codeset.empty())
    child.header_codeset(codeset);
  bool ok = child.run(error);
  _session.loading.pop_back();
  _f.centimetres_per_unit = centimetres;
  _f.radians_per_unit = radians;
  _f.seconds_per_frame = seconds;
  _f.time_unit = time_unit;
  _f.linear_unit = linear;
  _path_counts.clear();
  if (!ok) {
    _error = error + " (in the reference " + quoted(node) + " of " + _file + ":" + std::to_string(r.line) + ")";
    return false;
  }
  record().state = "loaded";
  apply_edits(node, record());
  return true;
}

// The edits the reference node keeps, in the order it keeps them. An edit
// whose node or attribute is gone is a warning, as Maya reports it.
void Runner::apply_edits(const std::string& reference_node, ReferenceRecord& record) {
  const NodeList* nodes = _f.by_name.find(reference_node);
  if (!nodes || nodes->size() == 0)
    return;
  auto kept = _f.reference_edits.find((*nodes)[0]);
  if (kept == _f.reference_edits.end())
    return;
  std::set<int> unread_kinds;
  for (const ReferenceEdit& e : kept->second) {
    std::string why;
    bool ok = true;
    if (e.kind == 5) {
      ok = placeholder_edit(e, why);
    } else if (e.kind == 1) {
      ok = true; // addAttr: dynamic attributes are not kept
    } else {
      std::string statement = edit_statement(e);
      if (statement.empty()) {
        if (e.kind > 4)
          unread_kinds.insert(e.kind);
        else
          _f.warnings.push_back(_file + ":" + std::to_string(e.line) + ": a reference edit of " +
                                quoted(reference_node) + " (kind " + std::to_string(e.kind) +
                                ") has too few values; skipped.");
        continue;
      }
      Runner edit(statement.data(), statement.size(), _f, _session, "edit", _prefix, _depth, Mode::Edit);
      std::string error;
      ok = edit.run(error);
      if (!ok) {
        // "edit:1: STATEMENT: why" without the made-up place.
        size_t colon = error.find(": ", 0);
        why = colon == std::string::npos ? error : error.substr(colon + 2);
      }
      _path_counts.clear();
    }
    if (ok) {
      ++record.edits;
    } else {
      ++record.failed_edits;
      _f.warnings.push_back(_file + ":" + std::to_string(e.line) + ": a reference edit of " + quoted(reference_node) +
                            " was not applied: " + why + ".");
    }
  }
  for (int kind : unread_kinds)
    _f.warnings.push_back(_file + ": reference edits of kind " + std::to_string(kind) + " on " +
                          quoted(reference_node) + " are not read by mayasim; skipped.");
}

// A connection the referencing file made to a reference node's placeholder
// becomes one to the referenced plug the edit names.
bool Runner::placeholder_edit(const ReferenceEdit& e, std::string& why) {
  if (e.args.size() < 3 || (e.sub != 3 && e.sub != 4)) {
    why = "a placeholder edit needs a connection kind of 3 or 4 and three plugs";
    return false;
  }
  int index = placeholder_index(e.args[2]);
  if (index < 0) {
    why = quoted(e.args[2]) + " is not a placeholder";
    return false;
  }
  Plug placeholder, target;
  if (!parse_plug(e.args[2], placeholder) || !parse_plug(e.args[1], target)) {
    size_t colon = _error.rfind(": ");
    why = colon == std::string::npos ? _error : _error.substr(colon + 2);
    _error.clear();
    return false;
  }
  std::string short_form = "phl[" + std::to_string(index) + "]";
  std::string long_form = "placeHolderList[" + std::to_string(index) + "]";
  auto is_placeholder = [&](const Plug& p) {
    return p.node == placeholder.node && (p.attr == short_form || p.attr == long_form);
  };
  bool source = e.sub == 3;
  std::vector<int>& lists = source ? _f.outgoing[size_t(placeholder.node)] : _f.incoming[size_t(placeholder.node)];
  for (size_t i = 0; i < lists.size();) {
    Connection& c = _f.connections[size_t(lists[i])];
    Plug& end = source ? c.source : c.destination;
    if (c.removed || !is_placeholder(end)) {
      ++i;
      continue;
    }
    end = target;
    (source ? _f.outgoing : _f.incoming)[size_t(target.node)].push_back(lists[i]);
    lists.erase(lists.begin() + long(i));
  }
  return true;
}

void Runner::header_codeset(std::string_view name) {
  std::string why;
  if (!_codeset.set(name, why))
    _f.warnings.push_back(_file + ": " + why + "; its strings are read as UTF-8 (characters that are not "
                          "UTF-8 are shown as U+FFFD).");
}

// fileInfo "codeset" "NAME" names the codeset of the text that follows;
// other file information changes nothing mayasim reads.
bool Runner::file_info() {
  std::vector<std::string> values;
  Word w;
  while (_lex.next(w))
    if (w.quoted)
      values.push_back(maya_ascii::string_value(w));
  if (_lex.failed())
    return false;
  if (values.size() == 2 && values[0] == "codeset")
    header_codeset(values[1]);
  return true;
}

bool Runner::current_unit() {
  Word w;
  while (_lex.next(w)) {
    std::string_view f = w.text;
    Word value;
    if (f == "-l" || f == "-linear") {
      if (!word(value, "a linear unit"))
        return false;
      const LinearUnitName* unit = linear_unit_named(value.text);
      if (!unit)
        return fail("unknown linear unit " + quoted(value.text));
      _f.linear_unit = unit->unit;
      _f.centimetres_per_unit = centimetres_per(unit->unit);
    } else if (f == "-a" || f == "-angle") {
      if (!word(value, "an angle unit"))
        return false;
      if (value.text == "deg" || value.text == "degree")
        _f.radians_per_unit = RADIANS_PER_DEGREE;
      else if (value.text == "rad" || value.text == "radian")
        _f.radians_per_unit = 1.0;
      else if (value.text == "min" || value.text == "arcminute")
        _f.radians_per_unit = RADIANS_PER_DEGREE / 60.0;
      else if (value.text == "sec" || value.text == "arcsecond")
        _f.radians_per_unit = RADIANS_PER_DEGREE / 3600.0;
      else
        return fail("unknown angle unit " + quoted(value.text));
    } else if (f == "-t" || f == "-time") {
      if (!word(value, "a time unit"))
        return false;
      const TimeUnitName* unit = time_unit_named(value.text);
      if (!unit)
        return fail("unknown time unit " + quoted(value.text));
      _f.time_unit = unit->unit;
      _f.seconds_per_frame = unit->seconds;
    } else if (f == "-ua" || f == "-updateAnimation") {
      if (!word(value, "the flag's value"))
        return false;
    } else {
      return fail("unknown flag " + std::string(f));
    }
  }
  return !_lex.failed();
}

} // namespace

namespace {

// The "//Codeset: NAME" line of a file's header (the comments before its
// first statement); empty when it has none.
std::string_view header_codeset_name(const char* text, size_t size) {
  std::string_view rest(text, size);
  static const char KEY[] = "//Codeset:";
  while (rest.size() >= 2 && rest.substr(0, 2) == "//") {
    size_t end = rest.find_first_of("\r\n");
    std::string_view line = rest.substr(0, end);
    if (line.substr(0, sizeof(KEY) - 1) == KEY) {
      line.remove_prefix(sizeof(KEY) - 1);
      while (!line.empty() && (line.front() == ' ' || line.front() == '\t'))
        line.remove_prefix(1);
      while (!line.empty() && (line.back() == ' ' || line.back() == '\t'))
        line.remove_suffix(1);
      return line;
    }
    if (end == std::string_view::npos)
      break;
    rest.remove_prefix(end);
    while (!rest.empty() && (rest.front() == '\r' || rest.front() == '\n' || rest.front() == ' ' ||
                             rest.front() == '\t'))
      rest.remove_prefix(1);
  }
  return std::string_view();
}

// Whether text without the "//Maya ASCII" header line still reads as a
// scene Maya would open: Maya sources a .ma file as MEL, and the header is
// only a comment, so a file that starts (after comments) with one of the
// commands Maya writes into scenes is one.
bool starts_like_a_scene(const char* text, size_t size) {
  Lexer lex(text, size);
  if (!lex.begin_statement())
    return false;
  Word w;
  if (!lex.next(w) || w.quoted)
    return false;
  static const char* const COMMANDS[] = {"requires", "currentUnit", "fileInfo", "createNode", "file", "select"};
  for (const char* c : COMMANDS)
    if (w.text == c)
      return true;
  return false;
}


bool acceptable_text(const char* text, size_t size, const std::string& name, std::string& error) {
  static const char MAGIC[] = "//Maya ASCII";
  if (size >= 4 && (std::string_view(text, 4) == "FOR4" || std::string_view(text, 4) == "FOR8")) {
    error = name + ": this is a Maya Binary file; mayasim reads Maya ASCII (.ma) files. Save the scene as Maya "
                   "ASCII.";
    return false;
  }
  bool header = size >= sizeof(MAGIC) - 1 && std::string_view(text, sizeof(MAGIC) - 1) == MAGIC;
  if (!header && !starts_like_a_scene(text, size)) {
    error = name + ":1: not a Maya ASCII file (it does not start with \"//Maya ASCII\", nor with a command Maya "
                   "writes into scenes)";
    return false;
  }
  return true;
}

} // namespace

bool run_statements(const char* text, size_t size, FileScene& scene, std::string& error, LoadSession* session) {
  if (!acceptable_text(text, size, scene.file_name, error))
    return false;
  ReferenceOptions no_options;
  LoadSession own;
  if (!session) {
    own.options = &no_options;
    own.scene_file = scene.file_name;
    session = &own;
  }
  if (session->loading.empty())
    session->loading.push_back(file_identity(scene.file_name, *session->options));
  Runner runner(text, size, scene, *session, scene.file_name, std::string(), 0, Mode::Scene);
  std::string_view codeset = header_codeset_name(text, size);
  if (!codeset.empty())
    runner.header_codeset(codeset);
  return runner.run(error);
}

} // namespace maya_ascii
} // namespace mayasim
