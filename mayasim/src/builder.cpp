#include "mayasim/builder.h"

#include "host_state.h"
#include "units.h"

#include <maya/MDagPath.h>

#include <math.h>
#include <stdexcept>

namespace mayasim {
namespace builder {

namespace {

const double DEGREES = 3.14159265358979323846 / 180.0;

Node* require(const MObject& o, const char* what) {
  Node* n = node_of(o);
  if (!n)
    throw std::invalid_argument(std::string("mayasim builder: no node for ") + what);
  return n;
}

void set_vec(double out[3], Vec3 v, double factor = 1.0) {
  out[0] = v.x * factor;
  out[1] = v.y * factor;
  out[2] = v.z * factor;
}

Node* require_transform(const MObject& o) {
  Node* n = require(o, "transform");
  if (!n->is_transform())
    throw std::invalid_argument("mayasim builder: " + n->name + " is not a transform");
  return n;
}

Node* parent_or_world(const MObject& parent) {
  Node* n = node_of(parent);
  return n ? n : scene().world;
}

MMatrix world_matrix(Node* n) {
  MMatrix m;
  for (Node* at = n; at && at->type != MFn::kWorld; at = at->parents.empty() ? nullptr : at->parents[0])
    m = m * at->local_matrix(scene().current_time);
  return m;
}

Node* mesh_shape(const MObject& node) {
  Node* n = require(node, "mesh");
  if (n->is_transform())
    n = shape_below(n);
  if (!n || !n->mesh)
    throw std::invalid_argument("mayasim builder: not a mesh");
  return n;
}

MFloatVector face_normal(const MeshData& m, const std::vector<int>& ids) {
  double nx = 0, ny = 0, nz = 0;
  for (size_t i = 0; i < ids.size(); ++i) {
    const MPoint& a = m.points[size_t(ids[i])];
    const MPoint& b = m.points[size_t(ids[(i + 1) % ids.size()])];
    nx += (a.y - b.y) * (a.z + b.z);
    ny += (a.z - b.z) * (a.x + b.x);
    nz += (a.x - b.x) * (a.y + b.y);
  }
  return MFloatVector(float(nx), float(ny), float(nz)).normal();
}

} // namespace

void new_scene() {
  mayasim::new_scene();
  host_state(); // the host side exists with the scene
}

MObject transform(const std::string& name, const MObject& parent, Vec3 t, Vec3 r, Vec3 s) {
  Node* n = scene().create(MFn::kTransform, "transform", name, parent_or_world(parent));
  set_vec(n->xform.translate, t);
  set_vec(n->xform.rotate, r, DEGREES);
  set_vec(n->xform.scale, s);
  return MObject(n);
}

MObject joint(const std::string& name, const MObject& parent, Vec3 t, Vec3 r) {
  MObject o = transform(name, parent, t, r);
  Node* n = node_of(o);
  n->type = MFn::kJoint;
  n->type_name = "joint";
  // As Maya connects a joint under a joint: parent.scale -> inverseScale.
  Node* above = n->parents.empty() ? nullptr : n->parents[0];
  if (above && above->type == MFn::kJoint)
    n->inverse_scale_source = above;
  return o;
}

void set_rotate_order(const MObject& node, RotateOrder order) {
  require_transform(node)->xform.rotate_order = int(order);
}

void set_pivots(const MObject& node, const Pivots& p) {
  TransformAttributes& x = require_transform(node)->xform;
  set_vec(x.rotate_pivot, p.rotate_pivot);
  set_vec(x.rotate_pivot_translate, p.rotate_pivot_translate);
  set_vec(x.scale_pivot, p.scale_pivot);
  set_vec(x.scale_pivot_translate, p.scale_pivot_translate);
}

void set_shear(const MObject& node, Vec3 xy_xz_yz) { set_vec(require_transform(node)->xform.shear, xy_xz_yz); }

void set_rotate_axis(const MObject& node, Vec3 degrees) {
  set_vec(require_transform(node)->xform.rotate_axis, degrees, DEGREES);
}

void set_joint_orient(const MObject& node, Vec3 degrees) {
  set_vec(require_transform(node)->xform.joint_orient, degrees, DEGREES);
}

void set_segment_scale_compensate(const MObject& node, bool compensate) {
  require_transform(node)->xform.segment_scale_compensate = compensate;
}

void instance(const MObject& node, const MObject& new_parent) {
  Node* n = require(node, "instance");
  Node* p = parent_or_world(new_parent);
  n->parents.push_back(p);
  p->children.push_back(n);
  if (n->mesh)
    n->mesh->shading.resize(n->parents.size());
}

MObject mesh(const MObject& transform_node, const std::string& shape_name, const MeshDesc& desc) {
  Node* t = require(transform_node, "mesh transform");
  Node* shape = scene().create(MFn::kMesh, "mesh", shape_name, t);
  shape->mesh.reset(new MeshData);
  MeshData& m = *shape->mesh;
  m.points = desc.points;
  m.polygons = desc.polygons;
  m.finish_topology();
  int face_vertices = m.face_vertex_count();
  // Normals: one per vertex (smooth) or one per face-vertex (hard).
  if (desc.normals == Normals::Smooth) {
    std::vector<MFloatVector> sums(m.points.size());
    for (const auto& p : m.polygons) {
      MFloatVector n = face_normal(m, p);
      for (int id : p)
        sums[size_t(id)] = sums[size_t(id)] + n;
    }
    for (MFloatVector& n : sums)
      m.normals.push_back(n.normal());
    for (const auto& p : m.polygons)
      for (int id : p)
        m.normal_ids.push_back(id);
  } else {
    for (const auto& p : m.polygons) {
      MFloatVector n = face_normal(m, p);
      for (size_t i = 0; i < p.size(); ++i) {
        m.normal_ids.push_back(int(m.normals.size()));
        m.normals.push_back(n);
      }
    }
  }
  for (const UvSetDesc& u : desc.uv_sets) {
    UvSet set;
    set.name = u.name;
    set.u = u.u;
    set.v = u.v;
    if (u.ids.empty()) {
      for (const auto& p : m.polygons)
        for (int id : p)
          set.face_vertex_ids.push_back(id);
    } else {
      set.face_vertex_ids = u.ids;
    }
    set.face_vertex_ids.resize(size_t(face_vertices), -1);
    m.uv_sets.push_back(set);
  }
  for (const ColorSetDesc& c : desc.color_sets) {
    ColorSet set;
    set.name = c.name;
    set.representation = int(c.kind);
    set.colors = c.colors;
    if (c.ids.empty()) {
      for (const auto& p : m.polygons)
        for (int id : p)
          set.face_vertex_ids.push_back(id < int(c.colors.size()) ? id : -1);
    } else {
      set.face_vertex_ids = c.ids;
    }
    set.face_vertex_ids.resize(size_t(face_vertices), -1);
    m.color_sets.push_back(set);
  }
  // Like Maya, a mesh always has the UV set map1, empty when nothing is
  // mapped.
  if (m.uv_sets.empty()) {
    UvSet map1;
    map1.name = "map1";
    map1.face_vertex_ids.assign(size_t(face_vertices), -1);
    m.uv_sets.push_back(map1);
  }
  m.has_tangent_space = desc.tangents;
  // Like Maya, a new mesh starts in initialShadingGroup.
  m.shading.resize(shape->parents.size());
  if (Node* initial = scene().find("initialShadingGroup"))
    assign(MObject(shape), MObject(initial));
  return MObject(shape);
}

void set_points(const MObject& node, const std::vector<MPoint>& points) {
  MeshData& m = *mesh_shape(node)->mesh;
  if (points.size() != m.points.size())
    throw std::invalid_argument("mayasim builder: set_points needs one point per vertex");
  m.points = points;
  m.changed();
}

void set_uv_set(const MObject& node, const UvSetDesc& desc) {
  MeshData& m = *mesh_shape(node)->mesh;
  UvSet set;
  set.name = desc.name;
  set.u = desc.u;
  set.v = desc.v;
  if (desc.ids.empty()) {
    for (const auto& p : m.polygons)
      for (int id : p)
        set.face_vertex_ids.push_back(id);
  } else {
    set.face_vertex_ids = desc.ids;
  }
  set.face_vertex_ids.resize(size_t(m.face_vertex_count()), -1);
  for (UvSet& existing : m.uv_sets)
    if (existing.name == set.name) {
      existing = set;
      m.changed();
      return;
    }
  m.uv_sets.push_back(set);
  m.changed();
}

void remove_shading(const MObject& node) { mesh_shape(node)->mesh->shading.clear(); }

MeshDesc cube(double size, Normals normals) {
  double h = size / 2;
  MeshDesc d;
  d.normals = normals;
  d.points = {MPoint(-h, -h, h), MPoint(h, -h, h), MPoint(-h, h, h), MPoint(h, h, h),
              MPoint(-h, h, -h), MPoint(h, h, -h), MPoint(-h, -h, -h), MPoint(h, -h, -h)};
  d.polygons = {{0, 1, 3, 2}, {2, 3, 5, 4}, {4, 5, 7, 6}, {6, 7, 1, 0}, {1, 7, 5, 3}, {6, 0, 2, 4}};
  // Maya's default cube layout: 14 UVs.
  UvSetDesc uv;
  uv.name = "map1";
  uv.u = {0.375f, 0.625f, 0.375f, 0.625f, 0.375f, 0.625f, 0.375f, 0.625f, 0.375f, 0.625f, 0.875f, 0.875f, 0.125f, 0.125f};
  uv.v = {0.0f, 0.0f, 0.25f, 0.25f, 0.5f, 0.5f, 0.75f, 0.75f, 1.0f, 1.0f, 0.0f, 0.25f, 0.0f, 0.25f};
  uv.ids = {0, 1, 3, 2, 2, 3, 5, 4, 4, 5, 7, 6, 6, 7, 9, 8, 1, 10, 11, 3, 12, 0, 2, 13};
  d.uv_sets.push_back(uv);
  return d;
}

MeshDesc grid(int columns, int rows, double cell) {
  MeshDesc d;
  UvSetDesc uv;
  uv.name = "map1";
  for (int r = 0; r <= rows; ++r)
    for (int c = 0; c <= columns; ++c) {
      d.points.push_back(MPoint(c * cell, 0, r * cell));
      uv.u.push_back(float(c) / float(columns));
      uv.v.push_back(float(r) / float(rows));
    }
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < columns; ++c) {
      int a = r * (columns + 1) + c;
      d.polygons.push_back({a, a + columns + 1, a + columns + 2, a + 1});
    }
  d.uv_sets.push_back(uv);
  return d;
}

MeshDesc cylinder(double radius, double height, int segments, int rings, Normals normals) {
  MeshDesc d;
  d.normals = normals;
  UvSetDesc uv;
  uv.name = "map1";
  for (int r = 0; r <= rings; ++r) {
    for (int s = 0; s < segments; ++s) {
      double a = 2 * 3.14159265358979323846 * s / segments;
      d.points.push_back(MPoint(radius * cos(a), height * r / rings, radius * sin(a)));
      uv.u.push_back(float(s) / float(segments));
      uv.v.push_back(float(r) / float(rings));
    }
  }
  std::vector<int> ids;
  for (int r = 0; r < rings; ++r)
    for (int s = 0; s < segments; ++s) {
      int a = r * segments + s, b = r * segments + (s + 1) % segments;
      d.polygons.push_back({a, a + segments, b + segments, b});
    }
  // Caps: one polygon each, winding outwards.
  std::vector<int> bottom, top;
  for (int s = 0; s < segments; ++s) {
    bottom.push_back(s);
    top.push_back(rings * segments + (segments - 1 - s));
  }
  d.polygons.push_back(bottom);
  d.polygons.push_back(top);
  uv.ids.clear(); // per vertex
  d.uv_sets.push_back(uv);
  return d;
}

MeshDesc sphere(double radius, int segments, int rings) {
  MeshDesc d;
  UvSetDesc uv;
  uv.name = "map1";
  for (int r = 1; r < rings; ++r) {
    double phi = 3.14159265358979323846 * r / rings;
    for (int s = 0; s < segments; ++s) {
      double theta = 2 * 3.14159265358979323846 * s / segments;
      d.points.push_back(MPoint(radius * sin(phi) * cos(theta), radius * cos(phi), radius * sin(phi) * sin(theta)));
      uv.u.push_back(float(s) / float(segments));
      uv.v.push_back(1.0f - float(r) / float(rings));
    }
  }
  int top = int(d.points.size());
  d.points.push_back(MPoint(0, radius, 0));
  uv.u.push_back(0.5f);
  uv.v.push_back(1.0f);
  int bottom = int(d.points.size());
  d.points.push_back(MPoint(0, -radius, 0));
  uv.u.push_back(0.5f);
  uv.v.push_back(0.0f);
  for (int s = 0; s < segments; ++s)
    d.polygons.push_back({top, (s + 1) % segments, s});
  for (int r = 0; r < rings - 2; ++r)
    for (int s = 0; s < segments; ++s) {
      int a = r * segments + s, b = r * segments + (s + 1) % segments;
      d.polygons.push_back({a, b, b + segments, a + segments});
    }
  int last = (rings - 2) * segments;
  for (int s = 0; s < segments; ++s)
    d.polygons.push_back({bottom, last + s, last + (s + 1) % segments});
  d.uv_sets.push_back(uv);
  return d;
}

Material material(const std::string& name) {
  Node* shader = scene().create(MFn::kLambert, "lambert", name, nullptr);
  Node* group = scene().create(MFn::kShadingEngine, "shadingEngine", name + "SG", nullptr);
  scene().connect(PlugRef{shader, "outColor", -1}, PlugRef{group, "surfaceShader", -1});
  return Material{MObject(shader), MObject(group)};
}

MObject empty_shading_group(const std::string& name) {
  return MObject(scene().create(MFn::kShadingEngine, "shadingEngine", name, nullptr));
}

void assign(const MObject& node, const MObject& shading_group, const std::vector<int>& polygons, unsigned instance) {
  Node* shape = mesh_shape(node);
  Node* group = require(shading_group, "shading group");
  MeshData& m = *shape->mesh;
  if (m.shading.size() <= instance)
    m.shading.resize(instance + 1);
  MeshData::Shading& s = m.shading[instance];
  s.polygon_groups.resize(m.polygons.size(), -1);
  int index = -1;
  for (size_t i = 0; i < s.groups.size(); ++i)
    if (s.groups[i] == group)
      index = int(i);
  if (index < 0) {
    index = int(s.groups.size());
    s.groups.push_back(group);
  }
  std::vector<bool> had_polygons(s.groups.size(), false);
  for (int g : s.polygon_groups)
    if (g >= 0)
      had_polygons[size_t(g)] = true;
  if (polygons.empty()) {
    for (int& g : s.polygon_groups)
      g = index;
  } else {
    for (int p : polygons)
      s.polygon_groups[size_t(p)] = index;
  }
  // Groups whose last polygons moved away leave the list, as Maya's query
  // shows; a group connected without polygons stays.
  std::vector<Node*> used;
  std::vector<int> remap(s.groups.size(), -1);
  for (size_t i = 0; i < s.groups.size(); ++i) {
    bool in_use = int(i) == index || !had_polygons[i];
    for (int g : s.polygon_groups)
      in_use = in_use || g == int(i);
    if (in_use) {
      remap[i] = int(used.size());
      used.push_back(s.groups[i]);
    }
  }
  for (int& g : s.polygon_groups)
    g = g < 0 ? -1 : remap[size_t(g)];
  s.groups = used;
}

MObject skin_cluster(const std::string& name, const MObject& transform_node, const std::vector<MObject>& joints,
                     const std::vector<std::vector<double>>& weights, const std::vector<unsigned>& logical_indices) {
  Node* t = require(transform_node, "skinned transform");
  Node* output = shape_below(t);
  if (!output || !output->mesh)
    throw std::invalid_argument("mayasim builder: skin_cluster needs a transform with a mesh");
  // The intermediate input shape, holding a copy of the mesh as it is now.
  Node* input = scene().create(MFn::kMesh, "mesh", output->name + "Orig", t);
  input->is_intermediate = true;
  input->mesh.reset(new MeshData(*output->mesh));
  input->bools["visibility"] = true;
  Node* skin = scene().create(MFn::kSkinClusterFilter, "skinCluster", name, nullptr);
  skin->skin.reset(new SkinData);
  skin->skin->geometries.push_back(SkinData::Geometry{0, output, input});
  scene().connect(PlugRef{input, "worldMesh", 0}, PlugRef{skin, "input", 0});
  scene().connect(PlugRef{skin, "outputGeometry", 0}, PlugRef{output, "inMesh", -1});
  skin->matrices["geomMatrix"][-1] = world_matrix(t);
  for (size_t i = 0; i < joints.size(); ++i) {
    Node* j = require(joints[i], "joint");
    unsigned logical = i < logical_indices.size() ? logical_indices[i] : unsigned(i);
    skin->skin->influences.push_back(SkinData::Influence{j, logical});
    MMatrix bind = world_matrix(j);
    skin->matrices["bindPreMatrix"][int(logical)] = bind.inverse();
    skin->matrices["matrix"][int(logical)] = bind;
  }
  std::vector<std::vector<SkinData::Weight>>& sparse = skin->skin->weights;
  sparse.resize(output->mesh->points.size());
  for (size_t v = 0; v < weights.size() && v < sparse.size(); ++v)
    for (size_t j = 0; j < weights[v].size() && j < joints.size(); ++j)
      if (weights[v][j] != 0.0)
        sparse[v].push_back(SkinData::Weight{unsigned(j), weights[v][j]});
  return MObject(skin);
}

void key(const MObject& transform_node, const std::string& channel, double frame, double value) {
  Node* n = require(transform_node, "keyed transform");
  if (channel.size() != 2 || std::string("trs").find(channel[0]) == std::string::npos ||
      std::string("xyz").find(channel[1]) == std::string::npos)
    throw std::invalid_argument("mayasim builder: no channel " + channel);
  double seconds = frame * seconds_per(scene().time_unit);
  double v = channel[0] == 'r' ? value * DEGREES : value;
  AnimationCurve& curve = n->curves[channel];
  auto it = curve.keys.begin();
  while (it != curve.keys.end() && it->time < seconds)
    ++it;
  AnimKey k;
  k.time = seconds;
  k.value = v;
  if (it != curve.keys.end() && it->time == seconds)
    *it = k;
  else
    curve.keys.insert(it, k);
  curve.prepare();
}

void set_time_unit(MTime::Unit unit) { scene().time_unit = unit; }

void set_playback_range(double start_frame, double end_frame) {
  double per = seconds_per(scene().time_unit);
  scene().min_time = start_frame * per;
  scene().max_time = end_frame * per;
  scene().current_time = scene().min_time;
  ++scene().generation;
}

void set_current_frame(double frame) {
  scene().current_time = frame * seconds_per(scene().time_unit);
  ++scene().generation; // not a time change the plug-in made, but values change
}

EvaluationCounts evaluation_counts() {
  EvaluationCounts c;
  c.time_changes = scene().time_changes;
  c.node_evaluations = scene().node_evaluations;
  for (const Node* n : scene().nodes)
    c.animated_nodes += n->curves.empty() ? 0 : 1;
  return c;
}

void reset_evaluation_counts() {
  // The scene as Maya shows it has been evaluated at its current time.
  Scene& s = scene();
  s.time_changes = 0;
  s.node_evaluations = 0;
  for (const Node* n : s.nodes)
    n->evaluated_generation = s.generation;
}

void set_internal_unit(MDistance::Unit unit) { scene().internal_unit = unit; }

void select(const std::vector<MObject>& nodes) {
  Scene& s = scene();
  s.selected_paths.clear();
  s.selected_nodes.clear();
  for (const MObject& o : nodes) {
    Node* n = require(o, "selected node");
    if (n->dag)
      s.selected_paths.push_back(first_path_to(n));
    else
      s.selected_nodes.push_back(n);
  }
}

void set_visible(const MObject& node, bool visible) { require(node, "node")->bools["visibility"] = visible; }
void set_intermediate(const MObject& node, bool intermediate) { require(node, "node")->is_intermediate = intermediate; }
void set_default(const MObject& node, bool is_default) { require(node, "node")->is_default = is_default; }
void set_shared(const MObject& node, bool shared) { require(node, "node")->is_shared = shared; }
void set_scene_file(const std::string& path) { scene().current_file = absolute_path(path); }

void connect_shading_group(const MObject& node, const MObject& shading_group, unsigned instance) {
  Node* shape = mesh_shape(node);
  Node* group = require(shading_group, "shading group");
  MeshData& m = *shape->mesh;
  if (m.shading.size() <= instance)
    m.shading.resize(instance + 1);
  MeshData::Shading& s = m.shading[instance];
  s.polygon_groups.resize(m.polygons.size(), -1);
  for (Node* g : s.groups)
    if (g == group)
      return;
  s.groups.push_back(group);
}

void fail_call(const std::string& call, unsigned after) { scene().failing_calls.push_back({call, after}); }

MObject find(const std::string& name) {
  Node* n = scene().find(name);
  return n ? MObject(n) : MObject();
}

MObject dependency_node(const std::string& name, MFn::Type type, const char* type_name) {
  return MObject(scene().create(type, type_name, name, nullptr));
}

} // namespace builder
} // namespace mayasim
