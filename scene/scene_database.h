// SceneDatabase: the in-memory model of one export.
//
// The scene capture fills it from Maya, write_scene_document turns it into
// the twi document, read_scene_document maps a document back. It holds plain
// records only; every field but `roots` is a key of the document. All
// containers and strings of one database draw from the allocator it was made
// with.
//
// Numbers are 32 bits: floats are f32, counts and indices u32. A matrix is
// 16 floats in row-major order (element 4r + c), translation in elements 12,
// 13 and 14. Map keys compare byte-wise (strcmp order), so walks visit names
// in ascending byte order whatever the insertion order.
//
// Invariants the capture keeps (and `twi check` verifies):
//   1. every name in roots, children and a non-empty parent is a key of
//      nodes; every node geometry name is a key of geometries; a non-empty
//      skin is a key of skins;
//   2. parent and skin always hold a text ("" when there is none);
//   3. a stream's stride is the sum of its channel sizes and its data holds
//      size * stride bytes;
//   4. node names are unique;
//   5. following children from roots reaches every node once.
#pragma once

#include "foundation/collection/map.h"
#include "foundation/collection/string.h"
#include "foundation/collection/vector.h"

namespace twi {

using foundation::Allocator;
using foundation::Map;
using foundation::String;
using foundation::Vector;

enum ChannelType {
  CT_FLOAT1 = 0,
  CT_FLOAT2 = 1,
  CT_FLOAT3 = 2,
  CT_FLOAT4 = 3,
  CT_MATRIX4x4 = 4,
  CT_QUATERNION = 5,
};
const uint32_t CHANNEL_TYPE_COUNT = 6;

enum IndexType {
  TRIANGLE_LIST = 0,
};

// "CT_FLOAT1" .. "CT_QUATERNION".
const char* channel_type_name(ChannelType type);
// Bytes of one value: 4, 8, 12, 16, 64, 16.
uint32_t channel_type_size(ChannelType type);
// f32 components of one value: 1, 2, 3, 4, 16, 4.
uint32_t channel_type_components(ChannelType type);
// The first name that matches exactly; CT_FLOAT1 for any other text, by design.
ChannelType channel_type_from_name(const char* name);
// "TRIANGLE_LIST".
const char* index_type_name(IndexType type);
// TRIANGLE_LIST for every text, by design.
IndexType index_type_from_name(const char* name);

struct StreamChannel {
  String name;
  uint32_t index;
  ChannelType type;

  explicit StreamChannel(Allocator& a) : name(a), index(0), type(CT_FLOAT1) {}
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

struct GeometryStream {
  Vector<StreamChannel> channels;
  uint32_t size;     // elements
  uint32_t stride;   // bytes per element
  Vector<uint8_t> data; // size * stride bytes of f32 values

  explicit GeometryStream(Allocator& a) : channels(a), size(0), stride(0), data(a) {}
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

struct IndexStreams {
  uint32_t size; // entries in each list: three per triangle
  IndexType type;
  Vector<Vector<uint32_t>> streams; // one list per geometry stream

  explicit IndexStreams(Allocator& a) : size(0), type(TRIANGLE_LIST), streams(a) {}
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

struct MaterialGroup {
  String name;
  Vector<uint32_t> primitives; // triangle numbers

  explicit MaterialGroup(Allocator& a) : name(a), primitives(a) {}
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

struct SceneGeometry {
  Vector<GeometryStream> streams;
  IndexStreams indices;
  String skin; // "" when not skinned
  Vector<MaterialGroup> materials;
  Vector<uint32_t> smoothing;

  explicit SceneGeometry(Allocator& a) : streams(a), indices(a), skin(a, ""), materials(a), smoothing(a) {}
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

struct SkinJoint {
  String name;
  float inv_bind_matrix[16];

  explicit SkinJoint(Allocator& a) : name(a), inv_bind_matrix() {}
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

struct SceneSkin {
  float bind_matrix[16];
  Vector<SkinJoint> joints;

  explicit SceneSkin(Allocator& a) : bind_matrix(), joints(a) {}
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

struct SceneNode {
  String parent; // "" for a root
  Vector<String> children;
  float local[16];
  Vector<String> geometries;

  explicit SceneNode(Allocator& a) : parent(a, ""), children(a), local(), geometries(a) {}
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

struct SceneAnimation {
  String node;
  String parameter;
  Vector<float> times;
  GeometryStream stream;

  explicit SceneAnimation(Allocator& a) : node(a), parameter(a), times(a), stream(a) {}
  static constexpr bool TRIVIALLY_RELOCATABLE = true;
};

struct SceneDatabase {
  static const uint32_t MAP_NODE_ENTRIES = 16;

  Map<String, SceneNode> nodes;
  Vector<String> roots;
  Map<String, SceneGeometry> geometries;
  Map<String, SceneSkin> skins;
  Vector<SceneAnimation> animations;
  String source_path;

  explicit SceneDatabase(Allocator& a)
      : nodes(a, MAP_NODE_ENTRIES), roots(a), geometries(a, MAP_NODE_ENTRIES), skins(a, MAP_NODE_ENTRIES),
        animations(a), source_path(a, "") {}
  SceneDatabase(const SceneDatabase&) = delete;
  SceneDatabase& operator=(const SceneDatabase&) = delete;

  Allocator& allocator() const { return roots.allocator(); }
};

// Appends a stream of one channel (name, index, type) of `count` elements,
// its data sized to count * channel size, and returns where its data starts.
uint8_t* add_stream(Vector<GeometryStream>& streams, const char* name, uint32_t index, ChannelType type,
                    uint32_t count);

} // namespace twi
