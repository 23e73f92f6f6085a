// A database that uses every record and key of the format, for round trips
// and checks.
#pragma once

#include "scene/scene_database.h"

#include <string.h>

namespace test {

inline void set_matrix(float* m, float base) {
  for (int i = 0; i < 16; ++i)
    m[i] = base + float(i) * 0.25f;
}

inline void fill_full_database(twi::SceneDatabase& db) {
  using namespace twi;
  db.source_path = "C:/scenes/rig.mb";
  // root "rig" with children "hip" (which holds a mesh) and "helper".
  SceneNode& rig = db.nodes.get_or_insert("rig");
  set_matrix(rig.local, 1.0f);
  rig.children.push_back_default() = "hip";
  rig.children.push_back_default() = "helper";
  SceneNode& hip = db.nodes.get_or_insert("hip");
  hip.parent = "rig";
  set_matrix(hip.local, 2.0f);
  hip.geometries.push_back_default() = "hip";
  SceneNode& helper = db.nodes.get_or_insert("helper");
  helper.parent = "rig";
  set_matrix(helper.local, -3.5f);
  db.roots.push_back_default() = "rig";
  SceneNode& lone = db.nodes.get_or_insert("lone");
  set_matrix(lone.local, 0.5f);
  db.roots.push_back_default() = "lone";

  SceneGeometry& g = db.geometries.get_or_insert("hip");
  // POSITION: 3 vertices; TEXCOORD set 1: 3 UVs.
  float positions[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0.125f};
  memcpy(add_stream(g.streams, "POSITION", 0, CT_FLOAT3, 3), positions, sizeof(positions));
  float uvs[6] = {0, 0, 1, 0, 0.5f, 1};
  memcpy(add_stream(g.streams, "TEXCOORD", 1, CT_FLOAT2, 3), uvs, sizeof(uvs));
  g.indices.size = 3;
  g.indices.type = TRIANGLE_LIST;
  g.indices.streams.resize(2);
  for (uint32_t i = 0; i < 3; ++i) {
    g.indices.streams[0].push_back(i);
    g.indices.streams[1].push_back(2 - i);
  }
  MaterialGroup& skin_mat = g.materials.push_back_default();
  skin_mat.name = "skin_mat";
  skin_mat.primitives.push_back(0);
  MaterialGroup& unused = g.materials.push_back_default();
  unused.name = "unused_mat";
  g.smoothing.push_back(1);
  g.smoothing.push_back(0);
  g.skin = "hip";

  SceneSkin& skin = db.skins.get_or_insert("hip");
  set_matrix(skin.bind_matrix, 4.0f);
  SkinJoint& joint = skin.joints.push_back_default();
  joint.name = "hip";
  set_matrix(joint.inv_bind_matrix, -1.0f);

  SceneAnimation& a = db.animations.push_back_default();
  a.node = "rig";
  a.parameter = "matrix";
  StreamChannel& c = a.stream.channels.push_back_default();
  c.name = "local_tm";
  c.index = 0;
  c.type = CT_MATRIX4x4;
  a.stream.stride = 64;
  a.stream.size = 2;
  a.stream.data.resize(128);
  float samples[32];
  for (int i = 0; i < 32; ++i)
    samples[i] = float(i) / 8.0f;
  memcpy(a.stream.data.data(), samples, sizeof(samples));
  a.times.push_back(0.0f);
  a.times.push_back(1.0f / 32.0f);
}

} // namespace test
