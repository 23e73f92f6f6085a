#include "names.h"

#include <charconv>
#include <unordered_map>
#include <vector>

namespace mayasim {
namespace maya_ascii {

namespace {

struct TypeEntry {
  const char* name;
  Kind kind;
  MFn::Type api;
  bool dag;
};

// Types the loader reads, and Maya types it only keeps (with their API type,
// so that function sets attach as in Maya).
const TypeEntry TYPES[] = {
    {"transform", Kind::Transform, MFn::kTransform, true},
    {"joint", Kind::Joint, MFn::kJoint, true},
    {"mesh", Kind::Mesh, MFn::kMesh, true},
    {"camera", Kind::Other, MFn::kCamera, true},
    {"locator", Kind::Other, MFn::kLocator, true},
    // Holds a referencing file's nodes that its reference edits put below
    // referenced ones, until the reference has loaded.
    {"fosterParent", Kind::Other, MFn::kUnknownDag, true},
    {"reference", Kind::Other, MFn::kReference, false},
    {"nurbsCurve", Kind::Other, MFn::kNurbsCurve, true},
    {"nurbsSurface", Kind::Other, MFn::kNurbsSurface, true},
    {"ikHandle", Kind::Other, MFn::kIkHandle, true},
    {"ikEffector", Kind::Other, MFn::kIkEffector, true},
    {"pointLight", Kind::Other, MFn::kPointLight, true},
    {"directionalLight", Kind::Other, MFn::kDirectionalLight, true},
    {"spotLight", Kind::Other, MFn::kSpotLight, true},
    {"ambientLight", Kind::Other, MFn::kAmbientLight, true},
    {"areaLight", Kind::Other, MFn::kAreaLight, true},
    {"lodGroup", Kind::Other, MFn::kLodGroup, true},
    {"parentConstraint", Kind::Other, MFn::kParentConstraint, true},
    {"pointConstraint", Kind::Other, MFn::kPointConstraint, true},
    {"orientConstraint", Kind::Other, MFn::kOrientConstraint, true},
    {"aimConstraint", Kind::Other, MFn::kAimConstraint, true},
    {"scaleConstraint", Kind::Other, MFn::kScaleConstraint, true},
    {"skinCluster", Kind::SkinCluster, MFn::kSkinClusterFilter, false},
    {"tweak", Kind::Tweak, MFn::kTweak, false},
    {"groupParts", Kind::GroupParts, MFn::kGroupParts, false},
    {"groupId", Kind::GroupId, MFn::kGroupId, false},
    {"shadingEngine", Kind::ShadingEngine, MFn::kShadingEngine, false},
    {"objectSet", Kind::ObjectSet, MFn::kSet, false},
    {"animCurveTL", Kind::AnimCurveTL, MFn::kAnimCurveTimeToDistance, false},
    {"animCurveTA", Kind::AnimCurveTA, MFn::kAnimCurveTimeToAngular, false},
    {"animCurveTU", Kind::AnimCurveTU, MFn::kAnimCurveTimeToUnitless, false},
    {"animCurveTT", Kind::AnimCurveOther, MFn::kAnimCurveTimeToTime, false},
    {"animCurveUL", Kind::AnimCurveOther, MFn::kAnimCurveUnitlessToDistance, false},
    {"animCurveUA", Kind::AnimCurveOther, MFn::kAnimCurveUnitlessToAngular, false},
    {"animCurveUU", Kind::AnimCurveOther, MFn::kAnimCurveUnitlessToUnitless, false},
    {"animCurveUT", Kind::AnimCurveOther, MFn::kAnimCurveUnitlessToTime, false},
    {"polyCube", Kind::PolyCube, MFn::kPolyCube, false},
    {"polySphere", Kind::PolySphere, MFn::kPolySphere, false},
    {"polyPlane", Kind::PolyPlane, MFn::kPolyPrimitive, false},
    {"polyCylinder", Kind::PolyCylinder, MFn::kPolyCylinder, false},
    {"transformGeometry", Kind::TransformGeometry, MFn::kTransformGeometry, false},
    {"script", Kind::Script, MFn::kScript, false},
    {"time", Kind::Time, MFn::kTime, false},
    {"character", Kind::Character, MFn::kCharacter, false},
    {"unitConversion", Kind::UnitConversion, MFn::kUnitConversion, false},
    {"lambert", Kind::Other, MFn::kLambert, false},
    {"blinn", Kind::Other, MFn::kBlinn, false},
    {"phong", Kind::Other, MFn::kPhong, false},
    {"phongE", Kind::Other, MFn::kPhongExplorer, false},
    {"surfaceShader", Kind::Other, MFn::kSurfaceShader, false},
    {"layeredShader", Kind::Other, MFn::kLayeredShader, false},
    {"rampShader", Kind::Other, MFn::kRampShader, false},
    {"anisotropic", Kind::Other, MFn::kAnisotropy, false},
    {"file", Kind::Other, MFn::kFileTexture, false},
    {"place2dTexture", Kind::Other, MFn::kPlace2dTexture, false},
    {"materialInfo", Kind::Other, MFn::kMaterialInfo, false},
    {"dagPose", Kind::Other, MFn::kDagPose, false},
    {"displayLayer", Kind::Other, MFn::kDisplayLayer, false},
    {"displayLayerManager", Kind::Other, MFn::kDisplayLayerManager, false},
    {"renderLayer", Kind::Other, MFn::kRenderLayer, false},
    {"renderLayerManager", Kind::Other, MFn::kRenderLayerManager, false},
    {"lightLinker", Kind::Other, MFn::kLightLink, false},
    {"partition", Kind::Other, MFn::kPartition, false},
    {"reference", Kind::Other, MFn::kReference, false},
    {"expression", Kind::Other, MFn::kExpression, false},
    {"pairBlend", Kind::Other, MFn::kPairBlend, false},
    {"polyColorPerVertex", Kind::PolyColorPerVertex, MFn::kPolyColorPerVertex, false},
    {"blendShape", Kind::Other, MFn::kBlendShape, false},
};

struct NamePair {
  const char* long_name;
  const char* short_name;
};

const NamePair DAG_NAMES[] = {
    {"visibility", "v"},          {"intermediateObject", "io"}, {"instObjGroups", "iog"},
    {"objectGroups", "og"},       {"objectGrpCompList", "gcl"}, {"objectGroupId", "gid"},
    {"objectGrpColor", "gco"},    {"worldMatrix", "wm"},        {"compInstObjGroups", "ciog"},
    {"compObjectGroups", "cog"},  {"message", "msg"},           {"inheritsTransform", "it"},
};

const NamePair TRANSFORM_NAMES[] = {
    {"translate", "t"},
    {"translateX", "tx"},
    {"translateY", "ty"},
    {"translateZ", "tz"},
    {"rotate", "r"},
    {"rotateX", "rx"},
    {"rotateY", "ry"},
    {"rotateZ", "rz"},
    {"scale", "s"},
    {"scaleX", "sx"},
    {"scaleY", "sy"},
    {"scaleZ", "sz"},
    {"rotateOrder", "ro"},
    {"rotatePivot", "rp"},
    {"rotatePivotX", "rpx"},
    {"rotatePivotY", "rpy"},
    {"rotatePivotZ", "rpz"},
    {"scalePivot", "sp"},
    {"scalePivotX", "spx"},
    {"scalePivotY", "spy"},
    {"scalePivotZ", "spz"},
    {"rotatePivotTranslate", "rpt"},
    {"rotatePivotTranslateX", "rptx"},
    {"rotatePivotTranslateY", "rpty"},
    {"rotatePivotTranslateZ", "rptz"},
    {"scalePivotTranslate", "spt"},
    {"scalePivotTranslateX", "sptx"},
    {"scalePivotTranslateY", "spty"},
    {"scalePivotTranslateZ", "sptz"},
    {"rotateAxis", "ra"},
    {"rotateAxisX", "rax"},
    {"rotateAxisY", "ray"},
    {"rotateAxisZ", "raz"},
    {"shear", "sh"},
    {"shearXY", "shxy"},
    {"shearXZ", "shxz"},
    {"shearYZ", "shyz"},
};

const NamePair JOINT_NAMES[] = {
    {"jointOrient", "jo"}, {"jointOrientX", "jox"}, {"jointOrientY", "joy"}, {"jointOrientZ", "joz"},
    {"segmentScaleCompensate", "ssc"}, {"inverseScale", "is"},
};

const NamePair MESH_NAMES[] = {
    {"vrts", "vt"},          {"pnts", "pt"},           {"edge", "ed"},
    {"face", "fc"},          {"uvSet", "uvst"},        {"uvSetName", "uvsn"},
    {"uvSetPoints", "uvsp"}, {"currentUvSet", "cuvs"}, {"colorSet", "clst"},
    {"colorName", "clsn"},   {"colorSetPoints", "clsp"}, {"representation", "rprt"},
    {"currentColorSet", "ccls"}, {"normals", "n"},     {"vertexNormalMethod", "vnm"},
    {"inMesh", "i"},         {"worldMesh", "w"},       {"outMesh", "o"},
    {"pntx", "px"},          {"pnty", "py"},           {"pntz", "pz"},
};

const NamePair SKIN_NAMES[] = {
    {"weightList", "wl"},   {"weights", "w"},        {"bindPreMatrix", "pm"},  {"geomMatrix", "gm"},
    {"matrix", "ma"},       {"input", "ip"},         {"inputGeometry", "ig"},  {"groupId", "gi"},
    {"outputGeometry", "og"}, {"envelope", "en"},
};

const NamePair TWEAK_NAMES[] = {
    {"input", "ip"}, {"inputGeometry", "ig"}, {"groupId", "gi"}, {"outputGeometry", "og"},
    {"vlist", "vl"}, {"vertex", "vt"},        {"plist", "pl"},   {"controlPoints", "cp"},
};

const NamePair GROUP_PARTS_NAMES[] = {
    {"inputGeometry", "ig"}, {"outputGeometry", "og"}, {"inputComponents", "ic"}, {"groupId", "gi"},
};

const NamePair GROUP_ID_NAMES[] = {{"groupId", "id"}};

const NamePair SET_NAMES[] = {
    {"dagSetMembers", "dsm"}, {"surfaceShader", "ss"}, {"groupNodes", "gn"}, {"memberWireframeColor", "mwc"},
};

const NamePair CURVE_NAMES[] = {
    {"keyTimeValue", "ktv"}, {"keyTanInType", "kit"},   {"keyTanOutType", "kot"}, {"keyTanInX", "kix"},
    {"keyTanInY", "kiy"},    {"keyTanOutX", "kox"},     {"keyTanOutY", "koy"},    {"weightedTangents", "wgt"},
    {"tangentType", "tan"},  {"preInfinity", "pre"},    {"postInfinity", "pst"},  {"output", "o"},
    {"input", "i"},          {"keyBreakdown", "kbd"},   {"keyTanLocked", "ktl"},  {"keyWeightLocked", "kwl"},
};

// polyCube, polyPlane: subdivisionsX/Y/Z are older names of the width,
// height and depth subdivisions.
const NamePair BOX_NAMES[] = {
    {"width", "w"},          {"height", "h"},          {"depth", "d"},          {"subdivisionsWidth", "sw"},
    {"subdivisionsHeight", "sh"}, {"subdivisionsDepth", "sd"}, {"subdivisionsX", "sw"}, {"subdivisionsY", "sh"},
    {"subdivisionsZ", "sd"}, {"sx", "sw"},             {"sy", "sh"},            {"sz", "sd"},
    {"createUVs", "cuv"},    {"axis", "ax"},           {"output", "out"},
};

// polySphere, polyCylinder: subdivisionsX/Y are older names of the axis and
// height subdivisions.
const NamePair ROUND_NAMES[] = {
    {"radius", "r"},          {"height", "h"},          {"subdivisionsAxis", "sa"}, {"subdivisionsHeight", "sh"},
    {"subdivisionsCaps", "sc"}, {"subdivisionsX", "sa"}, {"subdivisionsY", "sh"},  {"sx", "sa"},
    {"sy", "sh"},             {"roundCap", "rcp"},      {"createUVs", "cuv"},     {"axis", "ax"},
    {"output", "out"},
};

const NamePair TRANSFORM_GEOMETRY_NAMES[] = {
    {"transform", "txf"},       {"inputGeometry", "ig"}, {"outputGeometry", "og"},
    {"invertTransform", "itf"}, {"freezeNormals", "fn"},
};

const NamePair SCRIPT_NAMES[] = {{"before", "b"}, {"after", "a"}, {"scriptType", "st"}};
const NamePair TIME_NAMES[] = {{"outTime", "o"}};
const NamePair CHARACTER_NAMES[] = {
    {"linearValues", "lv"}, {"angularValues", "av"}, {"unitlessValues", "uv"}, {"timeValues", "tv"},
};
const NamePair UNIT_CONVERSION_NAMES[] = {{"input", "i"}, {"output", "o"}, {"conversionFactor", "cf"}};
const NamePair COLOR_PER_VERTEX_NAMES[] = {
    {"inputPolymesh", "ip"},      {"output", "out"},          {"colorSetName", "cn"},   {"representation", "rpt"},
    {"colorPerVertex", "cpvx"},   {"vertexColor", "vclr"},    {"vertexColorRGB", "vrgb"}, {"vertexAlpha", "vxal"},
    {"vertexFaceColor", "vfcl"},  {"vertexFaceColorRGB", "frgb"}, {"vertexFaceAlpha", "vfal"}, {"clamped", "clam"},
};

// Long names to short ones: open addressing with a cheap hash, since every
// attribute of every setAttr and connectAttr is looked up here and the
// names are short.
class NameTable {
public:
  void emplace(std::string_view long_name, std::string_view short_name) {
    if ((_used + 1) * 2 > _slots.size())
      grow();
    insert(long_name, short_name);
  }
  // The short name for `name`, or `name` itself when it is not a long name.
  std::string_view short_name(std::string_view name) const {
    if (_slots.empty())
      return name;
    size_t mask = _slots.size() - 1;
    for (size_t i = hash(name) & mask;; i = (i + 1) & mask) {
      const Slot& s = _slots[i];
      if (s.long_name.data() == nullptr)
        return name;
      if (s.long_name == name)
        return s.short_name;
    }
  }

private:
  struct Slot {
    std::string_view long_name, short_name;
  };
  static size_t hash(std::string_view s) {
    uint32_t h = 2166136261u;
    for (char c : s)
      h = (h ^ uint8_t(c)) * 16777619u;
    return h ^ (h >> 13);
  }
  void insert(std::string_view long_name, std::string_view short_name) {
    size_t mask = _slots.size() - 1;
    for (size_t i = hash(long_name) & mask;; i = (i + 1) & mask) {
      Slot& s = _slots[i];
      if (s.long_name.data() == nullptr) {
        s = Slot{long_name, short_name};
        ++_used;
        return;
      }
      if (s.long_name == long_name)
        return; // the first pair given for a name stays
    }
  }
  void grow() {
    std::vector<Slot> old;
    old.swap(_slots);
    _slots.resize(old.empty() ? 16 : old.size() * 2);
    _used = 0;
    for (const Slot& s : old)
      if (s.long_name.data() != nullptr)
        insert(s.long_name, s.short_name);
  }
  std::vector<Slot> _slots;
  size_t _used = 0;
};

template <size_t N>
void add(NameTable& t, const NamePair (&pairs)[N]) {
  for (const NamePair& p : pairs)
    t.emplace(p.long_name, p.short_name);
}

NameTable build_table(Kind k) {
  NameTable t;
  switch (k) {
  case Kind::Transform:
    add(t, DAG_NAMES);
    add(t, TRANSFORM_NAMES);
    break;
  case Kind::Joint:
    add(t, DAG_NAMES);
    add(t, TRANSFORM_NAMES);
    add(t, JOINT_NAMES);
    break;
  case Kind::Mesh:
    add(t, DAG_NAMES);
    add(t, MESH_NAMES);
    break;
  case Kind::SkinCluster:
    add(t, SKIN_NAMES);
    break;
  case Kind::Tweak:
    add(t, TWEAK_NAMES);
    break;
  case Kind::GroupParts:
    add(t, GROUP_PARTS_NAMES);
    break;
  case Kind::GroupId:
    add(t, GROUP_ID_NAMES);
    break;
  case Kind::ShadingEngine:
  case Kind::ObjectSet:
    add(t, SET_NAMES);
    break;
  case Kind::AnimCurveTL:
  case Kind::AnimCurveTA:
  case Kind::AnimCurveTU:
  case Kind::AnimCurveOther:
    add(t, CURVE_NAMES);
    break;
  case Kind::PolyCube:
  case Kind::PolyPlane:
    add(t, BOX_NAMES);
    break;
  case Kind::PolySphere:
  case Kind::PolyCylinder:
    add(t, ROUND_NAMES);
    break;
  case Kind::TransformGeometry:
    add(t, TRANSFORM_GEOMETRY_NAMES);
    break;
  case Kind::Script:
    add(t, SCRIPT_NAMES);
    break;
  case Kind::Time:
    add(t, TIME_NAMES);
    break;
  case Kind::Character:
    add(t, CHARACTER_NAMES);
    break;
  case Kind::UnitConversion:
    add(t, UNIT_CONVERSION_NAMES);
    break;
  case Kind::PolyColorPerVertex:
    add(t, COLOR_PER_VERTEX_NAMES);
    break;
  case Kind::Other:
    add(t, DAG_NAMES);
    break;
  }
  return t;
}

const NameTable& table(Kind k) {
  static const std::vector<NameTable> tables = [] {
    std::vector<NameTable> all;
    for (int i = 0; i <= int(Kind::PolyColorPerVertex); ++i)
      all.push_back(build_table(Kind(i)));
    return all;
  }();
  return tables[size_t(k)];
}

const std::unordered_map<std::string_view, NodeType>& type_table() {
  static const std::unordered_map<std::string_view, NodeType> types = [] {
    std::unordered_map<std::string_view, NodeType> t;
    for (const TypeEntry& e : TYPES)
      t.emplace(e.name, NodeType{e.kind, e.api, e.dag});
    return t;
  }();
  return types;
}

bool parse_index(std::string_view s, int64_t& out) {
  if (s.empty())
    return false;
  auto r = std::from_chars(s.data(), s.data() + s.size(), out);
  return r.ec == std::errc() && r.ptr == s.data() + s.size() && out >= 0 && out <= MAX_INDEX;
}

} // namespace

NodeType node_type(std::string_view type_name) {
  auto it = type_table().find(type_name);
  return it == type_table().end() ? NodeType() : it->second;
}

bool is_anim_curve(Kind k) {
  return k == Kind::AnimCurveTL || k == Kind::AnimCurveTA || k == Kind::AnimCurveTU || k == Kind::AnimCurveOther;
}

bool is_poly_creator(Kind k) {
  return k == Kind::PolyCube || k == Kind::PolySphere || k == Kind::PolyPlane || k == Kind::PolyCylinder;
}

std::string AttrPath::canonical() const {
  std::string s;
  char digits[24];
  auto number = [&](int64_t v) {
    auto r = std::to_chars(digits, digits + sizeof(digits), v);
    s.append(digits, size_t(r.ptr - digits));
  };
  for (int i = 0; i < count; ++i) {
    if (i)
      s += '.';
    s += parts[i].name;
    if (parts[i].every) {
      s += "[*]";
    } else if (parts[i].indexed) {
      s += '[';
      number(parts[i].first);
      if (parts[i].last != parts[i].first) {
        s += ':';
        number(parts[i].last);
      }
      s += ']';
    }
  }
  return s;
}

bool parse_attr_path(std::string_view text, Kind kind, AttrPath& out, std::string& why) {
  out.count = 0;
  const NameTable& names = table(kind);
  size_t i = 0;
  for (;;) {
    if (out.count == AttrPath::MAX_PARTS) {
      why = "more parts than any attribute the loader reads";
      return false;
    }
    size_t name_end = i;
    while (name_end < text.size() && text[name_end] != '.' && text[name_end] != '[')
      ++name_end;
    AttrPart& part = out.parts[out.count++];
    part = AttrPart();
    std::string_view name = text.substr(i, name_end - i);
    if (name.empty()) {
      why = "an empty attribute name";
      return false;
    }
    part.name = names.short_name(name);
    i = name_end;
    if (i < text.size() && text[i] == '[') {
      size_t close = text.find(']', i);
      if (close == std::string_view::npos) {
        why = "an index with no ']'";
        return false;
      }
      std::string_view index = text.substr(i + 1, close - i - 1);
      part.indexed = true;
      if (index == "*" || index == "") {
        part.every = true;
      } else {
        size_t colon = index.find(':');
        bool ok = colon == std::string_view::npos
                      ? parse_index(index, part.first)
                      : parse_index(index.substr(0, colon), part.first) &&
                            parse_index(index.substr(colon + 1), part.last);
        if (colon == std::string_view::npos)
          part.last = part.first;
        if (!ok || part.last < part.first) {
          why = "a malformed index [" + std::string(index) + "]";
          return false;
        }
      }
      i = close + 1;
    }
    if (i == text.size())
      return true;
    if (text[i] != '.') {
      why = "text after an index";
      return false;
    }
    ++i;
  }
}

bool valid_node_name(std::string_view name) {
  while (!name.empty() && name[0] == ':')
    name.remove_prefix(1);
  if (name.empty())
    return false;
  for (char c : name) {
    unsigned char u = (unsigned char)c;
    if (c == '|' || c == '.' || c == '[' || c == ']' || c == ' ' || u < 0x20 || u == 0x7F)
      return false;
  }
  return true;
}

std::string escape_controls(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  static const char HEX[] = "0123456789abcdef";
  for (char c : text) {
    unsigned char u = (unsigned char)c;
    if (u < 0x20 || u == 0x7F) {
      out += "\\x";
      out += HEX[u >> 4];
      out += HEX[u & 15];
    } else {
      out += c;
    }
  }
  return out;
}

} // namespace maya_ascii
} // namespace mayasim
