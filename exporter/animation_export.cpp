#include "exporter/animation_export.h"

#include "exporter/maya_matrix.h"
#include "scene/scene_database.h"

#include <maya/MAnimControl.h>
#include <maya/MDagPath.h>
#include <maya/MFnDagNode.h>
#include <maya/MTime.h>

using namespace foundation;

namespace twi {

void sample_animation(ExporterContext& context, SceneDatabase& database, const char* name, const MDagPath& path) {
  const ExportSettings& settings = *context.settings;
  if (!settings.has_time_range)
    return;
  Allocator& allocator = *context.allocator;
  SceneAnimation animation(allocator);
  animation.node = name;
  animation.parameter = "matrix";
  StreamChannel channel(allocator);
  channel.name = "local_tm";
  channel.index = 0;
  channel.type = CT_MATRIX4x4;
  animation.stream.channels.push_back(channel);
  animation.stream.stride = channel_type_size(CT_MATRIX4x4);

  MFnDagNode node(path);
  MTime remembered = MAnimControl::currentTime();
  const double step = 1.0 / double(settings.samples_per_second);
  const double half = step * 0.5;
  double t = double(settings.start_time);
  while (double(settings.end_time) > t - half) {
    MAnimControl::setCurrentTime(MTime(t, MTime::kSeconds));
    float matrix[16];
    store_matrix(node.transformationMatrix(), context.unit_scale, matrix);
    animation.stream.data.push_back_n(reinterpret_cast<const uint8_t*>(matrix), sizeof(matrix));
    ++animation.stream.size;
    animation.times.push_back(float(t - double(settings.start_time)));
    t += step;
  }
  MAnimControl::setCurrentTime(remembered);

  if (animation.stream.size == 0)
    return;
  append_log(context, " - Animations\n");
  show_log(context);
  database.animations.push_back(std::move(animation));
}

} // namespace twi
