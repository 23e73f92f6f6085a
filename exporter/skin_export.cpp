#include "exporter/skin_export.h"

#include "exporter/maya_matrix.h"
#include "scene/scene_database.h"

#include <maya/MDagPath.h>
#include <maya/MDagPathArray.h>
#include <maya/MDoubleArray.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnMatrixData.h>
#include <maya/MFnSkinCluster.h>
#include <maya/MItGeometry.h>
#include <maya/MPlug.h>

using namespace foundation;

namespace twi {

namespace {

const uint32_t MAX_INFLUENCES = 4;

// The weights a vertex keeps: `count` may exceed what is stored, which
// fails the skin before anything is written.
struct KeptWeights {
  uint32_t count;
  float weights[MAX_INFLUENCES];
  float joints[MAX_INFLUENCES];
};

void read_matrix(const MPlug& plug, float unit_scale, float out[16]) {
  MObject data;
  plug.getValue(data);
  MFnMatrixData matrix(data);
  store_matrix(matrix.matrix(), unit_scale, out);
}

} // namespace

bool export_skin(ExporterContext& context, SceneDatabase& database, const char* name, SceneGeometry& geometry,
                 const MDagPath& path, const MObject& skin_cluster, const MObject& input_shape) {
  append_log(context, "  - Skin\r\n");
  show_log(context);

  MStatus status;
  MFnSkinCluster skin(skin_cluster, &status);
  if (!status) {
    append_log(context, "Failed constructing MFnSkinCluster from MObject\n");
    return false;
  }
  MDagPathArray influences;
  skin.influenceObjects(influences, &status);
  if (!status) {
    append_log(context, "Failed getting influence objects from skin cluster\n");
    return false;
  }

  SceneSkin& entry = database.skins.get_or_insert(name);
  MPlug geom_matrix = skin.findPlug("geomMatrix", true, &status);
  if (!status) {
    append_log(context, "Failed looking up geomMatrix plug from skin cluster\n");
    return false;
  }
  read_matrix(geom_matrix, context.unit_scale, entry.bind_matrix);
  MPlug bind_pre_matrix = skin.findPlug("bindPreMatrix", true, &status);
  if (!status) {
    append_log(context, "Failed looking up bindPreMatrix plug\n");
    return false;
  }

  entry.joints.resize(influences.length());
  for (unsigned i = 0; i < influences.length(); ++i) {
    SkinJoint& joint = entry.joints[i];
    joint.name = MFnDagNode(influences[i]).name().asUTF8();
    unsigned logical = skin.indexForInfluenceObject(influences[i], &status);
    if (!status) {
      append_log(context, "Failed looking up indexForInfleunceObject\n");
      return false;
    }
    read_matrix(bind_pre_matrix.elementByLogicalIndex(logical), context.unit_scale, joint.inv_bind_matrix);
  }

  // One record per vertex, as many as POSITION has.
  const uint32_t vertex_count = geometry.streams[0].size;
  Vector<KeptWeights> kept(*context.allocator);
  kept.resize(vertex_count);
  for (uint32_t v = 0; v < vertex_count; ++v)
    kept[v].count = 0;
  uint32_t most = 0;
  MObject input = input_shape;
  uint32_t v = 0;
  for (MItGeometry it(input); !it.isDone(); it.next(), ++v) {
    MDoubleArray weights;
    unsigned count = 0;
    // The weights are asked of the deformed shape's path, as Maya wants.
    if (!skin.getWeights(path, it.currentItem(), weights, count)) {
      append_log(context, "Failed getting the skin cluster's weights for ");
      append_log(context, path.fullPathName().asUTF8());
      append_log(context, "\n");
      return false;
    }
    if (v >= vertex_count)
      continue; // more points than positions: nothing to write them to
    KeptWeights& k = kept[v];
    for (unsigned j = 0; j < count && j < weights.length(); ++j) {
      if (!(weights[j] > 0.0))
        continue;
      if (k.count < MAX_INFLUENCES) {
        k.weights[k.count] = float(weights[j]);
        k.joints[k.count] = float(j);
      }
      ++k.count;
    }
    if (k.count > most)
      most = k.count;
  }
  if (most > MAX_INFLUENCES) {
    append_log(context, "Exporter does not support skins with more than four influencing bones per vertex.\n");
    return false;
  }
  if (most == 0) {
    append_log(context, "Skin has no vertex with a positive weight.\n");
    return false;
  }

  ChannelType type = ChannelType(CT_FLOAT1 + (most - 1));
  float* weights_out = reinterpret_cast<float*>(add_stream(geometry.streams, "BLENDWEIGHTS", 0, type, vertex_count));
  float* joints_out = reinterpret_cast<float*>(add_stream(geometry.streams, "BLENDINDICES", 0, type, vertex_count));
  for (uint32_t vertex = 0; vertex < vertex_count; ++vertex) {
    const KeptWeights& k = kept[vertex];
    for (uint32_t slot = 0; slot < most; ++slot) {
      bool has = slot < k.count;
      joints_out[vertex * most + slot] = has ? k.joints[slot] : 0.0f;
      weights_out[vertex * most + slot] = has ? k.weights[slot] : 0.0f;
    }
  }

  // Skin data is per vertex: both lists index like POSITION.
  IndexStreams& indices = geometry.indices;
  uint32_t first_new = indices.streams.size();
  indices.streams.resize(geometry.streams.size());
  for (uint32_t s = first_new; s < indices.streams.size(); ++s)
    indices.streams[s] = indices.streams[0];

  geometry.skin = name;
  return true;
}

} // namespace twi
