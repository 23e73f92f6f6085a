// Animation sampling: a node's local matrix baked over the playback range.
//
// Maya's current time is stepped from start_time by 1/samples_per_second
// (accumulated in double precision) for as long as end_time lies beyond the
// time less half a step, so the last sample lands on the end despite the
// rounding: 0 to 1 s gives 31 samples. Each sample stores the local matrix
// (translation in metres) in one "local_tm" CT_MATRIX4x4 stream and its
// time since start_time; the current time is restored afterwards. Without
// a time range nothing is recorded. Sampling never fails the export.
#pragma once

#include "exporter/exporter_context.h"
#include <maya/MDagPath.h>

namespace twi {

struct SceneDatabase;

void sample_animation(ExporterContext& context, SceneDatabase& database, const char* name, const MDagPath& path);

} // namespace twi
