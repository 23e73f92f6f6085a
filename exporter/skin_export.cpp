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

#include <stdio.h>

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

// An influence on one vertex: its position in the skin's influence list
// and its weight.
struct Influence {
  unsigned joint;
  double weight;
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

// Keeps the `limit` largest weights (the earlier influence first among
// equal weights), in influence order, scaled to sum 1.
void keep_largest(Vector<Influence>& influences, uint32_t limit) {
  // Few entries: a selection by repeated maximum is enough.
  Vector<Influence> chosen(influences.allocator());
  double sum = 0;
  for (uint32_t n = 0; n < limit; ++n) {
    uint32_t best = 0;
    for (uint32_t i = 1; i < influences.size(); ++i)
      if (influences[i].weight > influences[best].weight)
        best = i;
    chosen.push_back(influences[best]);
    sum += influences[best].weight;
    influences[best].weight = -1.0;
  }
  for (uint32_t i = 0; i < chosen.size(); ++i)
    chosen[i].weight /= sum;
  // Back in influence order.
  for (uint32_t i = 1; i < chosen.size(); ++i)
    for (uint32_t j = i; j > 0 && chosen[j - 1].joint > chosen[j].joint; --j) {
      Influence t = chosen[j];
      chosen[j] = chosen[j - 1];
      chosen[j - 1] = t;
    }
  influences = chosen;
}

// The line after a refusal: which vertex has the most influences, and
// which they are, so that the artist can prune them.
void describe_vertex(ExporterContext& context, const MDagPath& path, const MDagPathArray& influences, uint32_t vertex,
                     const Vector<Influence>& weights) {
  char text[96];
  snprintf(text, sizeof(text), "Vertex %u of ", vertex);
  append_log(context, text);
  append_log(context, path.fullPathName().asUTF8());
  snprintf(text, sizeof(text), " has %u influences:", weights.size());
  append_log(context, text);
  for (uint32_t i = 0; i < weights.size(); ++i) {
    append_log(context, i ? ", " : " ");
    if (weights[i].joint < influences.length())
      append_log(context, MFnDagNode(influences[weights[i].joint]).name().asUTF8());
    snprintf(text, sizeof(text), " %.4g", weights[i].weight);
    append_log(context, text);
  }
  append_log(context, ". Prune the skin to four influences in Maya (Skin > Prune Weights, or the skin cluster's "
                      "Max Influences), or export with max_influences=4 to keep each vertex's four largest "
                      "weights.\n");
}

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

  // One record per vertex, as many as POSITION has. A vertex's positive
  // weights are gathered in influence order; with a limit set, a vertex with
  // more keeps its largest ones, renormalised to sum 1.
  const uint32_t vertex_count = geometry.streams[0].size;
  const uint32_t limit = context.settings->max_influences;
  Vector<KeptWeights> kept(*context.allocator);
  kept.resize(vertex_count);
  for (uint32_t v = 0; v < vertex_count; ++v)
    kept[v].count = 0;
  uint32_t most = 0, trimmed = 0;
  Vector<Influence> positive(*context.allocator), worst(*context.allocator);
  uint32_t worst_vertex = 0;
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
    positive.clear();
    for (unsigned j = 0; j < count && j < weights.length(); ++j)
      if (weights[j] > 0.0)
        positive.push_back(Influence{j, weights[j]});
    if (limit > 0 && positive.size() > limit) {
      keep_largest(positive, limit);
      ++trimmed;
    }
    KeptWeights& k = kept[v];
    k.count = positive.size();
    for (uint32_t i = 0; i < positive.size() && i < MAX_INFLUENCES; ++i) {
      k.weights[i] = float(positive[i].weight);
      k.joints[i] = float(positive[i].joint);
    }
    if (k.count > most) {
      most = k.count;
      if (most > MAX_INFLUENCES) {
        worst = positive;
        worst_vertex = v;
      }
    }
  }
  if (most > MAX_INFLUENCES) {
    append_log(context, "Exporter does not support skins with more than four influencing bones per vertex.\n");
    describe_vertex(context, path, influences, worst_vertex, worst);
    return false;
  }
  if (most == 0) {
    append_log(context, "Skin has no vertex with a positive weight.\n");
    return false;
  }
  if (trimmed > 0) {
    char line[160];
    snprintf(line, sizeof(line),
             "%u vertices had more than %u influences: each kept its %u largest weights, scaled to sum 1.\n",
             trimmed, limit, limit);
    append_log(context, line);
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
