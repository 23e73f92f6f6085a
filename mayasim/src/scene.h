// The stand-in's scene: a dependency graph with a DAG, as the API sees it.
//
// Everything an MObject can point at is an ApiObject with a reference count:
// nodes, mesh-vertex components, matrix data and the plug-in object. Nodes
// live in the scene's list in creation order (the order MItDependencyNodes
// walks); DAG nodes also have parents and children (several parents make
// instances). Plug values are kept per node by attribute name and logical
// index; connections join plugs.
#pragma once

#include "anim_curve.h"

#include <maya/MDistance.h>
#include <maya/MColor.h>
#include <maya/MFloatVector.h>
#include <maya/MFn.h>
#include <maya/MObject.h>
#include <maya/MMatrix.h>
#include <maya/MPoint.h>
#include <maya/MTime.h>

#include <map>
#include <unordered_map>
#include <memory>
#include <string>
#include <vector>

namespace mayasim {

struct Node;

struct ApiObject {
  int references = 0;
  virtual ~ApiObject() {}
  virtual MFn::Type api_type() const = 0;
  virtual bool has_fn(MFn::Type type) const { return type == api_type(); }
  // The object as a node, or null: asked by every function set attached,
  // and cheaper than a dynamic_cast.
  virtual Node* as_node() { return nullptr; }
};

void retain(ApiObject* o);
void release(ApiObject* o);

struct ColorSet {
  std::string name;
  int representation = 4; // MFnMesh::kAlpha 1, kRGB 3, kRGBA 4
  std::vector<MColor> colors;
  std::vector<int> face_vertex_ids; // per face-vertex, -1 for none
};

struct UvSet {
  std::string name;
  std::vector<float> u, v;
  std::vector<int> face_vertex_ids; // per face-vertex, -1 when unmapped
};

// A mesh's tangent space for one UV set, as Maya computes it (see
// compute_tangent_space): per face-vertex ids into shared tangents and
// binormals, and whether each frame is right-handed.
struct TangentSpace {
  std::vector<MFloatVector> tangents, binormals;
  std::vector<bool> right_handed; // per tangent id
  std::vector<int> ids;           // per face-vertex
};

struct MeshData {
  std::vector<MPoint> points;
  std::vector<std::vector<int>> polygons;   // object-relative vertex ids in face order
  std::vector<int> face_offsets;            // first face-vertex of each polygon
  std::vector<MFloatVector> normals;
  std::vector<int> normal_ids;              // per face-vertex
  // False: Maya gives no tangent space for this mesh (for tests of a
  // mesh without one).
  bool has_tangent_space = true;
  std::vector<UvSet> uv_sets;
  int current_uv_set = 0;
  std::vector<ColorSet> color_sets;
  int current_color_set = 0;
  // Shading per instance of the shape: shading groups and, per polygon, the
  // group's position (-1 for none).
  struct Shading {
    std::vector<struct Node*> groups;
    std::vector<int> polygon_groups;
  };
  std::vector<Shading> shading;

  int face_vertex_count() const { return face_offsets.empty() ? 0 : face_offsets.back() + int(polygons.back().size()); }
  void finish_topology(); // face offsets from the polygons
  // The tangent space of UV set `set` (an index into uv_sets), computed on
  // first use and kept until the mesh changes (changed() forgets it).
  const TangentSpace& tangent_space(int set) const;
  void changed() { _tangent_spaces.clear(); }

private:
  mutable std::map<int, TangentSpace> _tangent_spaces;
};

// Maya's tangent space of a mesh for one UV set (Maya's documentation,
// "Tangent and binormal vectors"): per triangle of each face, the tangent is
// the derivative of the position along U, component by component; where a
// triangle has no UVs or degenerate ones (an edge of zero length in UV
// space) each corner takes its next edge, made perpendicular to its normal.
// A mapped corner shares its tangent with every corner of the same vertex,
// UV and normal: their triangles' tangents are summed and normalised. The
// binormal is the normalised cross product normal x tangent, turned round
// where the UVs are mirrored (their winding reversed), which makes that
// frame left-handed.
void compute_tangent_space(const MeshData& mesh, const UvSet* set, TangentSpace& out);

struct SkinData {
  struct Geometry {
    unsigned int logical_index;
    struct Node* output_shape;
    struct Node* input_shape;
  };
  std::vector<Geometry> geometries;
  struct Influence {
    struct Node* joint;
    unsigned int logical_index;
  };
  std::vector<Influence> influences;
  // Per vertex, its non-zero weights by influence position, in influence
  // order: sparse, since a skin of thousands of joints gives each vertex a
  // few.
  struct Weight {
    unsigned influence;
    double value;
  };
  std::vector<std::vector<Weight>> weights;
  // The influences' positions by joint, made on the first lookup.
  std::unordered_map<const struct Node*, size_t> position_of_joint;
  size_t positions_made_for = 0; // the number of influences they were made for
};

// What makes a transform's (or joint's) local matrix, in the API's units:
// lengths in the internal unit, angles in radians. Maya composes a
// transform's matrix, for row vectors, as
//   Sp^-1 S Sh Sp St Rp^-1 Ra R Rp Rt T
// and a joint's as
//   S Ra R Jo Is T
// where R follows the rotate order, Ra (rotate axis) and Jo (joint orient)
// rotate in xyz order, and Is scales by the inverse of the parent's scale
// when the joint compensates segment scale.
struct TransformAttributes {
  double translate[3] = {0, 0, 0};
  double rotate[3] = {0, 0, 0};
  double scale[3] = {1, 1, 1};
  double shear[3] = {0, 0, 0}; // xy, xz, yz
  int rotate_order = 0;        // 0 xyz, 1 yzx, 2 zxy, 3 xzy, 4 yxz, 5 zyx
  double rotate_pivot[3] = {0, 0, 0};
  double rotate_pivot_translate[3] = {0, 0, 0};
  double scale_pivot[3] = {0, 0, 0};
  double scale_pivot_translate[3] = {0, 0, 0};
  double rotate_axis[3] = {0, 0, 0};
  double joint_orient[3] = {0, 0, 0};
  bool segment_scale_compensate = true;
};

// A rotation matrix for row vectors: angles in radians, applied in `order`
// (0 xyz: first about x, then y, then z ... 5 zyx).
MMatrix rotation_matrix(const double angles[3], int order);

struct Node : ApiObject {
  Node* as_node() override { return this; }
  MFn::Type type = MFn::kInvalid;
  std::string type_name;
  std::string name;
  bool is_default = false;
  bool is_shared = false;
  bool is_intermediate = false;
  bool dag = false;
  std::vector<Node*> parents;
  std::vector<Node*> children;

  // The transform's attributes; animation curves on "tx" .. "sz" override
  // the static translate, rotate and scale values.
  TransformAttributes xform;
  std::map<std::string, AnimationCurve> curves;
  // The time generation this node was last evaluated at (see
  // Scene::evaluate_for_read).
  mutable unsigned long long evaluated_generation = 0;
  // A joint's inverse scale comes from this node's scale (its parent joint,
  // as Maya connects parent.s -> joint.is); null: no inverse scale.
  Node* inverse_scale_source = nullptr;
  // The last local matrix made and everything it was made from, as Maya's
  // dependency graph keeps a transform's matrix until an input changes: a
  // node at rest is read at every sample of an export, and composing its
  // matrix costs a dozen products. Compared by value, so that no way of
  // changing an attribute can leave it stale.
  struct LocalMatrixCache {
    static const int INPUTS = 35;
    bool valid = false;
    double inputs[INPUTS];
    MMatrix matrix;
  };
  mutable LocalMatrixCache local_cache;

  std::map<std::string, bool> bools;
  std::map<std::string, std::map<int, MMatrix>> matrices; // by logical index; -1 for a plain attribute

  std::unique_ptr<MeshData> mesh;
  std::unique_ptr<SkinData> skin;

  MFn::Type api_type() const override { return type; }
  bool has_fn(MFn::Type t) const override;
  bool is_transform() const { return type == MFn::kTransform || type == MFn::kJoint; }
  MMatrix local_matrix(double seconds) const;
  // Translate, rotate or scale ('t', 'r', 's') on an axis at a time.
  double channel(char kind, int axis, double seconds) const;
};

struct Component : ApiObject {
  MFn::Type type = MFn::kMeshVertComponent;
  std::vector<int> indices;
  MFn::Type api_type() const override { return type; }
  bool has_fn(MFn::Type t) const override {
    return t == type || t == MFn::kComponent || t == MFn::kSingleIndexedComponent;
  }
};

struct MatrixData : ApiObject {
  MMatrix matrix;
  MFn::Type api_type() const override { return MFn::kMatrixData; }
  bool has_fn(MFn::Type t) const override { return t == MFn::kMatrixData || t == MFn::kData; }
};

struct PluginObject : ApiObject {
  std::string name;
  std::string path;      // the module file
  std::string load_path; // its folder
  MFn::Type api_type() const override { return MFn::kPlugin; }
};

struct PlugRef {
  Node* node;
  std::string attribute;
  int index;
  bool operator==(const PlugRef& o) const { return node == o.node && attribute == o.attribute && index == o.index; }
};

struct Connection {
  PlugRef source;
  PlugRef destination;
};

typedef std::vector<Node*> Path; // from the world's child down to the node

struct Scene {
  Node* world = nullptr;
  std::vector<Node*> nodes; // every node, in creation order (the world first)
  std::vector<Connection> connections;
  std::vector<Path> selected_paths;
  std::vector<Node*> selected_nodes;
  double current_time = 0;        // seconds
  double min_time = 1.0 / 24, max_time = 120.0 / 24; // the playback range, seconds
  double start_time = 1.0 / 24, end_time = 200.0 / 24;
  MTime::Unit time_unit = MTime::kFilm;
  // The rate of kUserDef: a scene's rate that this build's MTime has no
  // unit for (see units.h).
  double user_seconds_per_frame = 1.0 / 24;
  MDistance::Unit internal_unit = MDistance::kCentimeters;
  MDistance::Unit ui_unit = MDistance::kCentimeters;
  std::string current_file;
  // API calls made to fail, for testing how a plug-in copes (see
  // builder::fail_call).
  struct FailingCall {
    std::string call;
    unsigned successes_left; // calls that still succeed before it fails
  };
  std::vector<FailingCall> failing_calls;

  // What Maya's evaluation would cost. Every MAnimControl::setCurrentTime
  // is a time change (and starts a new generation); a matrix read evaluates
  // the animated nodes it depends on once per generation, as Maya's
  // dependency graph computes a dirty plug once and then reads its cached
  // value.
  unsigned long long time_changes = 0;
  unsigned long long node_evaluations = 0;
  unsigned long long generation = 1;
  // Counts the evaluation of `node` (when animated) and of the node whose
  // animated scale its inverse scale reads, for a read of its matrix.
  void evaluate_for_read(const Node* node);

  ~Scene();
  Node* create(MFn::Type type, const char* type_name, const std::string& name, Node* parent);
  Node* find(const std::string& name) const;
  void connect(const PlugRef& source, const PlugRef& destination);
};

Scene& scene();
// Whether `call` ("MFnMesh::getPoints", "MFnDependencyNode::findPlug surfaceShader",
// "attach lambert1", ...) was made to fail.
bool should_fail(const std::string& call);
// Replaces the scene with a new one: the world and Maya's default cameras.
void new_scene();

// `path` as a full path (relative ones against the current folder).
std::string absolute_path(const std::string& path);
// $NAME and ${NAME} replaced by the environment's values; a variable that
// is not set becomes empty, or stays as written with `keep_unset` (so that
// a message shows what could not be found).
std::string expand_environment(const std::string& s, bool keep_unset = false);
// A file's bytes, whole; false with "Cannot open PATH: why" or "Cannot read
// PATH: why" in `error`.
bool read_whole_file(const std::string& path, std::string& text, std::string& error);


// Path helpers.
Path& path_of(void* internal);
Node* node_of(const MObject& object);
// The first child of a transform that is not a transform and not an
// intermediate object (the builder's notion of "the shape").
Node* shape_below(Node* transform);
// The shape a function set or iterator given a transform's path works on,
// as Maya resolves it: the one shape below that is not an intermediate
// object. Null when there is none, or more than one (ambiguous: Maya
// refuses such a path).
Node* sole_shape_below(Node* transform);
// The node a function set given `path` works on: the path's node, or for a
// transform the sole shape below it.
Node* function_set_node(const Path& path);
// Every path from the world to `node`, in Maya's instance order: the node's
// parents in order, each with its own paths in turn. A path's instance
// number is its position here.
std::vector<Path> all_paths_to(Node* node);
// How many paths all_paths_to would give, without making them.
size_t count_paths_to(Node* node);
// The same, keeping every count it works out in `known` (by node; valid
// until the DAG changes), so that many questions about one DAG cost one
// walk. Without recursion: a chain may be as deep as the scene. A double,
// since while a file loads a chain of instances may count more paths than
// an integer holds before it is refused.
double count_paths_to(const Node* node, std::unordered_map<const Node*, double>& known);
// Whether the path's node (or, for a transform, a shape directly below it)
// is compatible with `type`.
bool path_has_fn(const Path& path, MFn::Type type);
std::string full_path_name(const Path& path);
Path first_path_to(Node* node);


// Triangles of polygon `face` as object-relative vertex ids, three per
// triangle, as Maya triangulates it (see triangulation.cpp): n - 2 of them
// for a polygon of n corners, whatever its shape. False when Maya reports
// the polygon as having no valid triangulation (it covers no area, or a
// point repeats); its triangles are made all the same.
bool triangulate(const MeshData& mesh, int face, std::vector<int>& triangles);

} // namespace mayasim
