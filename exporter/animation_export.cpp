#include "exporter/animation_export.h"

#include "exporter/maya_matrix.h"
#include "scene/scene_database.h"

#include <maya/MAnimControl.h>
#include <maya/MFnDagNode.h>
#include <maya/MTime.h>

using namespace foundation;

namespace twi {

void record_animation(ExporterContext& context, const char* name, const MDagPath& path, bool world_space) {
  if (!context.settings->has_time_range)
    return;
  AnimatedNodes& animated = context.animated;
  animated.names.push_back(String(*context.allocator, name));
  animated.nodes.append(path.node());
  animated.world_path.push_back(world_space ? int32_t(animated.world_paths.length()) : -1);
  if (world_space)
    animated.world_paths.append(path);
  // The range always holds a sample: the line is shown where the node's
  // other lines are.
  append_log(context, " - Animations\n");
  show_log(context);
}

void sample_animations(ExporterContext& context, SceneDatabase& database) {
  const ExportSettings& settings = *context.settings;
  AnimatedNodes& animated = context.animated;
  const uint32_t count = animated.names.size();
  if (!settings.has_time_range || count == 0)
    return;
  Allocator& allocator = *context.allocator;

  const double step = 1.0 / double(settings.samples_per_second);
  const double half = step * 0.5;
  // The samples the walk below takes, counted first so that every record
  // is made at its full size once.
  uint32_t samples = 0;
  for (double t = double(settings.start_time); double(settings.end_time) > t - half; t += step)
    ++samples;

  // The records, made up front and filled sample by sample.
  Vector<SceneAnimation> records(allocator);
  records.resize(count);
  for (uint32_t i = 0; i < count; ++i) {
    SceneAnimation& a = records[i];
    a.node = animated.names[i];
    a.parameter = "matrix";
    StreamChannel& channel = a.stream.channels.push_back_default();
    channel.name = "local_tm";
    channel.index = 0;
    channel.type = CT_MATRIX4x4;
    a.stream.stride = channel_type_size(CT_MATRIX4x4);
    a.stream.data.reserve(samples * a.stream.stride);
    a.times.reserve(samples);
  }

  MTime remembered = MAnimControl::currentTime();
  double t = double(settings.start_time);
  while (double(settings.end_time) > t - half) {
    MAnimControl::setCurrentTime(MTime(t, MTime::kSeconds));
    float time = float(t - double(settings.start_time));
    for (uint32_t i = 0; i < count; ++i) {
      float matrix[16];
      int32_t world = animated.world_path[i];
      store_matrix(world >= 0 ? animated.world_paths[unsigned(world)].inclusiveMatrix()
                              : MFnDagNode(animated.nodes[i]).transformationMatrix(),
                   context.unit_scale, matrix);
      SceneAnimation& a = records[i];
      a.stream.data.push_back_n(reinterpret_cast<const uint8_t*>(matrix), sizeof(matrix));
      ++a.stream.size;
      a.times.push_back(time);
    }
    t += step;
  }
  MAnimControl::setCurrentTime(remembered);

  for (uint32_t i = 0; i < count; ++i)
    database.animations.push_back(std::move(records[i]));
}

} // namespace twi
