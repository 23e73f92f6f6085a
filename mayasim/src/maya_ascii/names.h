// Node types and attribute names of Maya ASCII files.
//
// A file names an attribute by its short name (".t") or its long name
// (".translate"), and the same short name means different attributes on
// different node types (".o" is an animation curve's output and a mesh's
// outMesh). Each node type the loader reads has a table from long names to
// the short names the loader works with; attribute paths such as
// ".uvst[0].uvsp[0:13]" or ".iog.og[2].gid" are split into parts with
// their indices.
#pragma once

#include <maya/MFn.h>

#include <stdint.h>
#include <string>
#include <string_view>

namespace mayasim {
namespace maya_ascii {

// The node types the loader gives meaning to; the rest are Other.
enum class Kind {
  Other,
  Transform,
  Joint,
  Mesh,
  SkinCluster,
  Tweak,
  GroupParts,
  GroupId,
  ShadingEngine,
  ObjectSet,
  AnimCurveTL,
  AnimCurveTA,
  AnimCurveTU,
  AnimCurveOther, // time-to-time and driven-key curves: kept, not evaluated
  PolyCube,
  PolySphere,
  PolyPlane,
  PolyCylinder,
  TransformGeometry,
  Script,
  Time,
  Character,
  UnitConversion,
  PolyColorPerVertex,
};

struct NodeType {
  Kind kind = Kind::Other;
  MFn::Type api = MFn::kDependencyNode;
  bool dag = false; // a DAG type even without a parent (transforms and the like)
};

NodeType node_type(std::string_view type_name);

bool is_anim_curve(Kind k);
bool is_poly_creator(Kind k);

// One part of an attribute path: a name and, for an element of an array,
// its index or index range ("[3]", "[0:7]"; "[*]" is every element).
struct AttrPart {
  std::string_view name; // the short name when the node type's table knows it
  bool indexed = false;
  bool every = false;
  int64_t first = 0, last = 0;
};

struct AttrPath {
  static const int MAX_PARTS = 4;
  AttrPart parts[MAX_PARTS];
  int count = 0;
  // The path's text with short names, e.g. "iog[0].og[2].gid".
  std::string canonical() const;
};

// Splits "uvst[0].uvsp[0:13]" (without the leading '.') into parts, with
// long names turned into short ones for `kind`. False (and a reason) for a
// path no Maya attribute can have: an empty name, an unclosed or malformed
// index, a range that runs backwards, more than MAX_PARTS parts.
bool parse_attr_path(std::string_view text, Kind kind, AttrPath& out, std::string& why);

// The largest index a file may give an array element. Arrays are kept dense,
// so an index is also bounded by the size of the file (see the loader).
const int64_t MAX_INDEX = (int64_t(1) << 31) - 1;

// Whether a node may take `name` (after any leading ':' of the root
// namespace), by createNode -n and rename alike: not empty, and none of the
// bytes that separate paths, attributes and indices ('|', '.', '[', ']'),
// spaces or control bytes. Maya saves no other names.
bool valid_node_name(std::string_view name);

// `text` with its control bytes written as \xHH (and DEL), for messages
// that go to a terminal: a name or value from a file must not move the
// cursor or change colours.
std::string escape_controls(std::string_view text);

} // namespace maya_ascii
} // namespace mayasim
