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

// The names of the nodes being exported above the current one, innermost
// first, on the recursion's stack.
struct Ancestor {
  const char* name;
  const Ancestor* up;
};

bool is_ancestor(const Ancestor* ancestors, const char* name) {
  for (const Ancestor* a = ancestors; a; a = a->up)
    if (strcmp(a->name, name) == 0)
      return true;
  return false;
}

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

bool export_subtree(ExporterContext& context, SceneDatabase& database, const char* parent, const MDagPath& path,
                    const Ancestor* ancestors) {
  Allocator& allocator = *context.allocator;
  MFnDagNode node(path);
  String name(allocator, node.name().asUTF8());

  if (database.nodes.has(name.c_str()) || is_ancestor(ancestors, name.c_str())) {
    append_log(context, "A node with name: ");
    append_log(context, name.c_str());
    append_log(context, " already found.\n");
    describe_clash(context, name.c_str(), path);
    return false;
  }

  append_log(context, "Exporting Node: ");
  append_log(context, name.c_str());
  append_log(context, "\n");
  show_log(context);

  // A root whose DAG parent is a transform (the parent is not exported:
  // unselected, hidden or a default node) keeps its place in the world: its
  // world matrix stands for its local one, here and in every sample.
  const bool world_space = parent[0] == 0 && path.length() > 1;
  float local[16];
  store_matrix(world_space ? path.inclusiveMatrix() : node.transformationMatrix(), context.unit_scale, local);

  if (context.settings->has_time_range)
    record_animation(context, name.c_str(), path, world_space);

  Vector<String> geometries(allocator);
  if (path.hasFn(MFn::kMesh)) {
    if (!export_mesh(context, database, name.c_str(), path))
      return false;
    geometries.push_back(name);
  }

  Vector<String> children(allocator);
  const Ancestor self = {name.c_str(), ancestors};
  unsigned count = node.childCount();
  for (unsigned i = 0; i < count; ++i) {
    MDagPath child;
    MDagPath::getAPathTo(node.child(i), child);
    if (!should_export_node(context, child))
      continue;
    if (!export_subtree(context, database, name.c_str(), child, &self))
      return false;
    children.push_back(String(allocator, MFnDagNode(child).name().asUTF8()));
  }

  SceneNode& record = database.nodes.get_or_insert(name.c_str());
  record.parent = parent;
  record.children = children;
  memcpy(record.local, local, sizeof(local));
  record.geometries = geometries;
  return true;
}

} // namespace

bool export_node(ExporterContext& context, SceneDatabase& database, const char* parent, const MDagPath& path) {
  return export_subtree(context, database, parent, path, nullptr);
}

} // namespace twi
