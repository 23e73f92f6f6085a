// Animation sampling: each exported node's matrix baked over the playback
// range, in one pass over time.
//
// The node export records, in the order it meets them, which nodes to
// sample (record_animation); after the walk, sample_animations steps Maya's
// current time from start_time by 1/samples_per_second (accumulated in
// double precision) for as long as end_time lies beyond the time less half
// a step, so the last sample lands on the end despite the rounding (0 to 1 s
// gives 31 samples), and at each time reads the matrix of every recorded
// node. Maya evaluates the scene once per time change, so the time is set
// S + 1 times per export, and put back once at the end, instead of once per
// node and sample; the records are the same, in the same order, as sampling
// node by node would give.
//
// A node's sample is its local matrix; a root whose DAG parent is a
// transform (a node whose parent is not exported) gives its world matrix,
// so that it stays where it is in Maya. Translations are in metres. Each
// record is one "local_tm" CT_MATRIX4x4 stream with a time per sample since
// start_time. Without a time range nothing is recorded. Sampling never fails
// the export.
#pragma once

#include "exporter/exporter_context.h"

#include <maya/MDagPath.h>

namespace twi {

struct SceneDatabase;

// Notes that the node `name` at `path` is to be sampled (and shows
// " - Animations" in the log, at the place of the node's other lines).
void record_animation(ExporterContext& context, const char* name, const MDagPath& path, bool world_space);

// Samples every recorded node in one pass over the range and appends the
// records to the database in the order they were noted.
void sample_animations(ExporterContext& context, SceneDatabase& database);

} // namespace twi
