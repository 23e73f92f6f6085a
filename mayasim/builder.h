// mayasim's scene builder: Maya scenes in a few readable lines.
//
//   using namespace mayasim::builder;
//   new_scene();
//   MObject rig = transform("rig", MObject(), {0, 100, 0});
//   MObject hip = joint("hip", rig, {0, 0, 0});
//   MObject box = transform("crate", MObject(), {150, 0, 0});
//   mesh(box, "crateShape", cube(50, Normals::Hard));
//   assign(box, material("crate_mat").shading_group);
//   key(hip, "rz", 1, 0);
//   key(hip, "rz", 24, 90);
//   set_playback_range(1, 24);
//
// Lengths are in the scene's internal unit (centimetres unless changed),
// angles in degrees, times in frames of the scene's time unit.
#pragma once

#include <maya/MColor.h>
#include <maya/MDistance.h>
#include <maya/MObject.h>
#include <maya/MPoint.h>
#include <maya/MTime.h>

#include <stddef.h>
#include <string>
#include <vector>

namespace mayasim {
namespace builder {

struct Vec3 {
  double x, y, z;
};

// A new scene: the world, Maya's default cameras (persp, top, front, side)
// as default nodes, lambert1 and initialShadingGroup.
OPENMAYA_EXPORT void new_scene();

// Transforms and joints under `parent` (the world for a null object).
OPENMAYA_EXPORT MObject transform(const std::string& name, const MObject& parent = MObject(), Vec3 translate = {0, 0, 0},
                                  Vec3 rotate_degrees = {0, 0, 0}, Vec3 scale = {1, 1, 1});
OPENMAYA_EXPORT MObject joint(const std::string& name, const MObject& parent = MObject(), Vec3 translate = {0, 0, 0},
                              Vec3 rotate_degrees = {0, 0, 0});
// Adds `new_parent` as a further parent of `node` (an instance).
OPENMAYA_EXPORT void instance(const MObject& node, const MObject& new_parent);

// The rest of a transform's attributes (Maya's defaults until set): the
// rotate order, pivots and their translations, shear (xy, xz, yz), the
// rotate axis, and for joints the joint orient and segment scale
// compensation (on by default; a joint made under a joint takes its
// parent's scale as inverse scale, as Maya connects them).
enum class RotateOrder { XYZ = 0, YZX = 1, ZXY = 2, XZY = 3, YXZ = 4, ZYX = 5 };
struct Pivots {
  Vec3 rotate_pivot{0, 0, 0};
  Vec3 rotate_pivot_translate{0, 0, 0};
  Vec3 scale_pivot{0, 0, 0};
  Vec3 scale_pivot_translate{0, 0, 0};
};
OPENMAYA_EXPORT void set_rotate_order(const MObject& node, RotateOrder order);
OPENMAYA_EXPORT void set_pivots(const MObject& node, const Pivots& pivots);
OPENMAYA_EXPORT void set_shear(const MObject& node, Vec3 xy_xz_yz);
OPENMAYA_EXPORT void set_rotate_axis(const MObject& node, Vec3 degrees);
OPENMAYA_EXPORT void set_joint_orient(const MObject& node, Vec3 degrees);
OPENMAYA_EXPORT void set_segment_scale_compensate(const MObject& node, bool compensate);

enum class Normals { Smooth, Hard };

struct UvSetDesc {
  std::string name;
  std::vector<float> u, v;
  // UV id of each face-vertex, -1 for an unmapped corner; empty: the vertex id.
  std::vector<int> ids;
};

enum class ColorKind { RGB = 3, RGBA = 4, Alpha = 1 };

struct ColorSetDesc {
  std::string name;
  ColorKind kind = ColorKind::RGBA;
  std::vector<MColor> colors;
  // Colour id of each face-vertex, -1 for none; empty: the vertex id.
  std::vector<int> ids;
};

struct MeshDesc {
  std::vector<MPoint> points;
  std::vector<std::vector<int>> polygons; // vertex ids in face order
  Normals normals = Normals::Smooth;
  std::vector<UvSetDesc> uv_sets;
  std::vector<ColorSetDesc> color_sets;
  // Maya computes tangents and binormals for every mesh (from the current
  // UV set, or the edges where it has no UVs); false makes this one give
  // none, for tests of a mesh without them.
  bool tangents = true;
};

// A mesh shape under `transform`, assigned to initialShadingGroup; returns
// the shape. Without UV sets in `desc` it has Maya's map1, empty.
OPENMAYA_EXPORT MObject mesh(const MObject& transform, const std::string& shape_name, const MeshDesc& desc);
// Replaces the UV set of that name on the mesh of `node` (or adds it), as an
// edit in Maya's UV editor does.
OPENMAYA_EXPORT void set_uv_set(const MObject& node, const UvSetDesc& set);
// Moves the points of the mesh of `node` (a transform or mesh), as a
// deformer does to its output shape.
OPENMAYA_EXPORT void set_points(const MObject& node, const std::vector<MPoint>& points);
// Takes every shading group off the mesh of `node`, for every instance.
OPENMAYA_EXPORT void remove_shading(const MObject& node);

// Ready-made meshes: a cube of `size` centred on the origin; a grid of
// `columns` x `rows` quads in the XZ plane; a capped cylinder standing on
// the origin; a UV sphere. Each has one UV set "map1".
OPENMAYA_EXPORT MeshDesc cube(double size, Normals normals = Normals::Hard);
OPENMAYA_EXPORT MeshDesc grid(int columns, int rows, double cell = 1.0);
OPENMAYA_EXPORT MeshDesc cylinder(double radius, double height, int segments, int rings, Normals normals = Normals::Smooth);
OPENMAYA_EXPORT MeshDesc sphere(double radius, int segments, int rings);

struct Material {
  MObject shader;
  MObject shading_group;
};
// A lambert material and its shading group "<name>SG" (surfaceShader connected).
OPENMAYA_EXPORT Material material(const std::string& name);
// A shading group with nothing connected to its surface shader.
OPENMAYA_EXPORT MObject empty_shading_group(const std::string& name);
// Assigns polygons (all when empty) of the shape of `node` (a transform or
// mesh) to a shading group, for one instance.
OPENMAYA_EXPORT void assign(const MObject& node, const MObject& shading_group, const std::vector<int>& polygons = {},
                            unsigned instance = 0);

// A skin cluster deforming the mesh of `transform`, made as Maya makes it:
// an intermediate input shape "<shape>Orig" holding a copy of the mesh, the
// geometry matrix and each joint's bind pre-matrix (the inverse of its world
// matrix now). weights[v] holds vertex v's weight per joint, in joint order.
OPENMAYA_EXPORT MObject skin_cluster(const std::string& name, const MObject& transform,
                                     const std::vector<MObject>& joints,
                                     const std::vector<std::vector<double>>& weights,
                                     const std::vector<unsigned>& logical_indices = {});

// A linear key on a transform channel ("tx" .. "sz"; rotations in degrees);
// a key at a frame that already has one replaces it, as setKeyframe does.
OPENMAYA_EXPORT void key(const MObject& transform, const std::string& channel, double frame, double value);
OPENMAYA_EXPORT void set_time_unit(MTime::Unit unit);
OPENMAYA_EXPORT void set_playback_range(double start_frame, double end_frame);
OPENMAYA_EXPORT void set_current_frame(double frame);

// What the plug-in's reads would cost Maya: the times it set the current
// time (MAnimControl::setCurrentTime), and the evaluations of animated
// nodes its matrix reads caused (a read evaluates the animated nodes it
// depends on once per time change; later reads at that time are cached,
// as in Maya's dependency graph). animated_nodes: nodes with keys.
// reset_evaluation_counts starts the counts from the scene as Maya shows
// it: evaluated at its current time.
struct EvaluationCounts {
  unsigned long long time_changes = 0;
  unsigned long long node_evaluations = 0;
  size_t animated_nodes = 0;
};
OPENMAYA_EXPORT EvaluationCounts evaluation_counts();
OPENMAYA_EXPORT void reset_evaluation_counts();
OPENMAYA_EXPORT void set_internal_unit(MDistance::Unit unit);

OPENMAYA_EXPORT void select(const std::vector<MObject>& nodes);
OPENMAYA_EXPORT void set_visible(const MObject& node, bool visible);
OPENMAYA_EXPORT void set_intermediate(const MObject& node, bool intermediate);
OPENMAYA_EXPORT void set_default(const MObject& node, bool is_default);
OPENMAYA_EXPORT void set_shared(const MObject& node, bool shared);
// The scene's file; MFileIO::currentFile() gives it as a full path, as Maya
// does (a relative path is taken from the current folder).
OPENMAYA_EXPORT void set_scene_file(const std::string& path);
// Connects a shading group to an instance of a mesh without assigning any
// polygon to it (Maya lists such a group among the instance's groups).
OPENMAYA_EXPORT void connect_shading_group(const MObject& node, const MObject& shading_group, unsigned instance = 0);
// Makes an API call fail until the next new_scene, to test how a plug-in
// copes. The names: "MFnMesh::getPoints", "MFnMesh::getNormals",
// "MFnMesh::getConnectedShaders", "MItMeshPolygon::numTriangles",
// "MItMeshPolygon::getColorIndex", "MItMeshPolygon::getUVIndex" (a failure
// other than an unmapped corner), "MPlug::connectedTo",
// "MFnSkinCluster::MFnSkinCluster", "MFnSkinCluster::influenceObjects",
// "MFnSkinCluster::indexForInfluenceObject", "MFnDependencyNode::findPlug
// ATTRIBUTE" (a plug by name) and "attach NODE" (any function set on the
// node of that name).
// With `after`, that many calls still succeed first.
OPENMAYA_EXPORT void fail_call(const std::string& call, unsigned after = 0);
// A node of the scene by name, or a null object.
OPENMAYA_EXPORT MObject find(const std::string& name);
// A dependency node that is not in the DAG, of any type.
OPENMAYA_EXPORT MObject dependency_node(const std::string& name, MFn::Type type, const char* type_name);

} // namespace builder
} // namespace mayasim
