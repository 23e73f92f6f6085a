#include "exporter/node_export.h"

#include "exporter/animation_export.h"
#include "exporter/export_driver.h"
#include "exporter/maya_matrix.h"
#include "exporter/mesh_export.h"
#include "scene/scene_database.h"

#include <maya/MDagPath.h>
#include <maya/MFn.h>
#include <maya/MFnDagNode.h>
#include <maya/MItDag.h>

#include <string.h>

using namespace foundation;

namespace twi {

namespace {

// The line after a name clash: the path being exported and another DAG
// path to a node of the same name, so that the artist knows which two.
void describe_clash(ExporterContext& context, const char* name, const MDagPath& path) {
  MString here = path.fullPathName();
  MString other;
  for (MItDag it; !it.isDone(); it.next()) {
    MDagPath candidate;
    if (!it.getPath(candidate) || candidate == path)
      continue;
    if (strcmp(MFnDagNode(candidate).name().asUTF8(), name) == 0) {
      other = candidate.fullPathName();
      break;
    }
  }
  append_log(context, "Both ");
  append_log(context, other.length() ? other.asUTF8() : "another node");
  append_log(context, " and ");
  append_log(context, here.asUTF8());
  append_log(context, " are named ");
  append_log(context, name);
  append_log(context, "; names must be unique in the export: rename one of them in Maya, or export a selection "
                      "that holds only one.\n");
}

// A node being exported: what is known of it before its children are
// exported, and the next child to look at. It keeps the node, not its DAG
// path: a path is as long as the node is deep, and the open nodes of a
// chain together would hold a quadratic number of them.
struct OpenNode {
  MObject node;
  String name;
  String parent;
  float local[16];
  Vector<String> geometries;
  Vector<String> children;
  unsigned next_child = 0;
  unsigned child_count = 0;

  OpenNode(Allocator& a, const MDagPath& p, const char* parent_name)
      : node(p.node()), name(a, MFnDagNode(p).name().asUTF8()), parent(a, parent_name), geometries(a), children(a) {}
};

// Exports the node itself (its log lines, matrix, animation and mesh), not
// its children. Its record is made now, empty, so that a descendant of the
// same name is a clash; it is filled when its children are done.
bool begin_node(ExporterContext& context, SceneDatabase& database, OpenNode& open, const MDagPath& path) {
  const char* name = open.name.c_str();
  if (database.nodes.has(name)) {
    append_log(context, "A node with name: ");
    append_log(context, name);
    append_log(context, " already found.\n");
    describe_clash(context, name, path);
    return false;
  }
  database.nodes.get_or_insert(name);

  append_log(context, "Exporting Node: ");
  append_log(context, name);
  append_log(context, "\n");
  show_log(context);

  // A root whose DAG parent is a transform (the parent is not exported:
  // unselected, hidden or a default node) keeps its place in the world: its
  // world matrix stands for its local one, here and in every sample.
  MFnDagNode node(path);
  const bool world_space = open.parent.c_str()[0] == 0 && path.length() > 1;
  store_matrix(world_space ? path.inclusiveMatrix() : node.transformationMatrix(), context.unit_scale, open.local);

  if (context.settings->has_time_range)
    record_animation(context, name, path, world_space);

  if (path.hasFn(MFn::kMesh)) {
    if (!export_mesh(context, database, name, path))
      return false;
    open.geometries.push_back(open.name);
  }
  open.child_count = node.childCount();
  return true;
}

// Exports the node at `path` and the exported nodes below it, depth first,
// each node's record filled after its children. The hierarchy is walked
// with a list of the open nodes rather than by recursion: chains of joints
// can be many thousands of levels deep.
bool export_subtree(ExporterContext& context, SceneDatabase& database, const char* parent, const MDagPath& path) {
  Allocator& allocator = *context.allocator;
  Vector<OpenNode*> open(allocator);
  bool ok = true;
  OpenNode* first = allocator.make_new<OpenNode>(allocator, path, parent);
  open.push_back(first);
  ok = begin_node(context, database, *first, path);
  while (ok && !open.empty()) {
    OpenNode& top = *open.back();
    if (top.next_child < top.child_count) {
      MDagPath child;
      MDagPath::getAPathTo(MFnDagNode(top.node).child(top.next_child++), child);
      if (!should_export_node(context, child))
        continue;
      OpenNode* next = allocator.make_new<OpenNode>(allocator, child, top.name.c_str());
      open.push_back(next);
      ok = begin_node(context, database, *next, child);
      continue;
    }
    SceneNode& record = database.nodes.get_or_insert(top.name.c_str());
    record.parent = top.parent;
    record.children = top.children;
    memcpy(record.local, top.local, sizeof(top.local));
    record.geometries = top.geometries;
    open.pop_back();
    if (!open.empty())
      open.back()->children.push_back(top.name);
    allocator.make_delete(&top);
  }
  for (OpenNode* o : open)
    allocator.make_delete(o);
  return ok;
}

} // namespace

bool export_node(ExporterContext& context, SceneDatabase& database, const char* parent, const MDagPath& path) {
  return export_subtree(context, database, parent, path);
}

} // namespace twi
