// The scene as text for twi-export --list.
#include "mayasim/maya_ascii.h"

#include "scene.h"
#include "units.h"

#include <map>
#include <stdio.h>
#include <vector>

namespace mayasim {

namespace {

std::string number(double v) {
  char text[32];
  snprintf(text, sizeof(text), "%g", v);
  return text;
}

const char* unit_name(MDistance::Unit u) {
  switch (u) {
  case MDistance::kInches:
    return "inch";
  case MDistance::kFeet:
    return "foot";
  case MDistance::kYards:
    return "yard";
  case MDistance::kMiles:
    return "mile";
  case MDistance::kMillimeters:
    return "millimetre";
  case MDistance::kKilometers:
    return "kilometre";
  case MDistance::kMeters:
    return "metre";
  default:
    return "centimetre";
  }
}

std::string mesh_summary(const Node& n) {
  if (!n.mesh)
    return "no geometry";
  const MeshData& m = *n.mesh;
  size_t triangles = 0;
  for (const std::vector<int>& p : m.polygons)
    triangles += p.size() >= 3 ? p.size() - 2 : 0;
  std::string s = std::to_string(m.points.size()) + " points, " + std::to_string(m.polygons.size()) + " faces, " +
                  std::to_string(triangles) + " triangles";
  for (const UvSet& set : m.uv_sets)
    s += "; UV set " + set.name + " (" + std::to_string(set.u.size()) + ")";
  for (const ColorSet& set : m.color_sets)
    s += "; colour set " + set.name + " (" + std::to_string(set.colors.size()) + ")";
  for (size_t i = 0; i < m.shading.size(); ++i) {
    if (m.shading[i].groups.empty())
      continue;
    s += m.shading.size() > 1 ? "; instance " + std::to_string(i) + " shaded by" : "; shaded by";
    for (size_t g = 0; g < m.shading[i].groups.size(); ++g) {
      size_t faces = 0;
      for (int pg : m.shading[i].polygon_groups)
        faces += pg == int(g) ? 1 : 0;
      s += (g ? ", " : " ") + m.shading[i].groups[g]->name + " (" + std::to_string(faces) + " faces)";
    }
  }
  return s;
}

// Indentation stops growing past this many levels, where the level is
// written instead: deep rigs stay readable and the text proportional to
// the scene.
const int MAX_INDENT_LEVELS = 32;

// One node's line.
void outline_line(const Node& n, int depth, bool repeated, std::string& out) {
  if (depth > MAX_INDENT_LEVELS)
    out += std::string(size_t(MAX_INDENT_LEVELS) * 2, ' ') + "[level " + std::to_string(depth) + "] ";
  else
    out += std::string(size_t(depth) * 2, ' ');
  out += n.name + " (" + n.type_name;
  if (repeated) {
    out += ", instanced: shown under its first parent)\n";
    return;
  }
  auto visible = n.bools.find("visibility");
  if (visible != n.bools.end() && !visible->second)
    out += ", hidden";
  if (n.is_intermediate)
    out += ", intermediate";
  if (n.parents.size() > 1)
    out += ", " + std::to_string(n.parents.size()) + " instances";
  if (n.type == MFn::kMesh)
    out += ": " + mesh_summary(n);
  if (!n.curves.empty()) {
    out += "; animated:";
    for (const auto& c : n.curves)
      out += " " + c.first + " (" + std::to_string(c.second.keys.size()) + " keys)";
  }
  out += ")\n";
}

// The node and everything below it, depth first, each instanced node under
// its first parent only. Walked with a list, not by recursion: chains of
// joints can be many thousands of levels deep.
void outline_node(const Node& root, int depth, bool repeated, std::string& out) {
  struct Pending {
    const Node* node;
    int depth;
    bool repeated;
  };
  std::vector<Pending> todo{{&root, depth, repeated}};
  while (!todo.empty()) {
    Pending at = todo.back();
    todo.pop_back();
    const Node& n = *at.node;
    if (n.is_default)
      continue;
    outline_line(n, at.depth, at.repeated, out);
    if (at.repeated)
      continue;
    for (size_t i = n.children.size(); i-- > 0;) {
      const Node* child = n.children[i];
      todo.push_back({child, at.depth + 1, child->parents.size() > 1 && child->parents[0] != &n});
    }
  }
}

} // namespace

std::string outline_scene() {
  Scene& s = scene();
  double per = seconds_per(s.time_unit);
  std::string out = "Units: " + std::string(unit_name(s.ui_unit)) + " (lengths kept in centimetres), " +
                    number(1.0 / per) + " frames a second\n";
  out += "Playback: frames " + number(s.min_time / per) + " to " + number(s.max_time / per) + " (animation " +
         number(s.start_time / per) + " to " + number(s.end_time / per) + "), current frame " +
         number(s.current_time / per) + "\n\nDAG:\n";
  for (const Node* child : s.world->children)
    outline_node(*child, 1, child->parents.size() > 1 && child->parents[0] != s.world, out);

  std::string skins, materials;
  std::map<std::string, int> others;
  for (const Node* n : s.nodes) {
    if (n->skin) {
      skins += "  " + n->name + ": " + std::to_string(n->skin->influences.size()) + " influences (";
      for (size_t i = 0; i < n->skin->influences.size(); ++i)
        skins += (i ? " " : "") + n->skin->influences[i].joint->name + "[" +
                 std::to_string(n->skin->influences[i].logical_index) + "]";
      skins += "), " + std::to_string(n->skin->weights.size()) + " weighted vertices";
      for (const SkinData::Geometry& g : n->skin->geometries)
        skins += "; deforms " + g.output_shape->name + " from " + g.input_shape->name;
      skins += "\n";
    } else if (n->type == MFn::kShadingEngine) {
      std::string material = "no material";
      for (const Connection& c : s.connections)
        if (c.destination.node == n && c.destination.attribute == "surfaceShader")
          material = c.source.node->name + " (" + c.source.node->type_name + ")";
      materials += "  " + n->name + ": " + material + "\n";
    } else if (!n->dag && !n->is_default) {
      ++others[n->type_name];
    }
  }
  if (!skins.empty())
    out += "\nSkin clusters:\n" + skins;
  if (!materials.empty())
    out += "\nShading groups:\n" + materials;
  if (!others.empty()) {
    out += "\nOther nodes:";
    for (const auto& o : others)
      out += " " + o.first + " " + std::to_string(o.second) + ";";
    out.back() = '\n';
  }
  return out;
}

} // namespace mayasim
