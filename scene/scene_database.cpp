#include "scene/scene_database.h"

#include <string.h>

namespace twi {

namespace {
const char* const CHANNEL_NAMES[CHANNEL_TYPE_COUNT] = {"CT_FLOAT1", "CT_FLOAT2",    "CT_FLOAT3",
                                                        "CT_FLOAT4", "CT_MATRIX4x4", "CT_QUATERNION"};
const uint32_t CHANNEL_COMPONENTS[CHANNEL_TYPE_COUNT] = {1, 2, 3, 4, 16, 4};
} // namespace

const char* channel_type_name(ChannelType type) {
  return uint32_t(type) < CHANNEL_TYPE_COUNT ? CHANNEL_NAMES[type] : CHANNEL_NAMES[0];
}

uint32_t channel_type_components(ChannelType type) {
  return uint32_t(type) < CHANNEL_TYPE_COUNT ? CHANNEL_COMPONENTS[type] : 1;
}

uint32_t channel_type_size(ChannelType type) { return 4 * channel_type_components(type); }

ChannelType channel_type_from_name(const char* name) {
  for (uint32_t i = 0; i < CHANNEL_TYPE_COUNT; ++i)
    if (strcmp(name, CHANNEL_NAMES[i]) == 0)
      return ChannelType(i);
  return CT_FLOAT1;
}

const char* index_type_name(IndexType) { return "TRIANGLE_LIST"; }

IndexType index_type_from_name(const char*) { return TRIANGLE_LIST; }

uint8_t* add_stream(Vector<GeometryStream>& streams, const char* name, uint32_t index, ChannelType type,
                    uint32_t count) {
  GeometryStream& s = streams.push_back_default();
  StreamChannel& c = s.channels.push_back_default();
  c.name = name;
  c.index = index;
  c.type = type;
  s.size = count;
  s.stride = channel_type_size(type);
  s.data.resize(s.stride * count);
  return s.data.data();
}

} // namespace twi
