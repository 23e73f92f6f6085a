// What one export runs with: the options (ExportSettings) and the context
// every capture step receives (ExporterContext).
//
// The context owns the message buffer and the selection object, both made
// from the export's allocator and released when the context goes away, also
// when an export is abandoned by a thrown report. Capture steps append
// progress lines and error messages ending in "\n" to the message buffer;
// show_log hands the gathered text to Maya's script editor in one
// MGlobal::displayInfo call and empties the buffer, keeping its storage.
#pragma once

#include "foundation/collection/string.h"
#include "foundation/collection/vector.h"
#include "foundation/memory/allocator.h"

#include <maya/MDagPathArray.h>
#include <maya/MObjectArray.h>
#include <maya/MSelectionList.h>

namespace twi {

using foundation::Allocator;

struct ExportSettings {
  const char* file;        // output path (UTF-8), used unchanged
  bool export_hidden;      // export nodes whose own visibility is off
  bool selected;           // export only nodes that are themselves selected
  bool animation_only;     // recorded only; nothing consults it
  // 0: a vertex with more than four influences fails its skin (the
  // default); 1 to 4: each vertex keeps its N largest weights, renormalised.
  uint32_t max_influences;
  bool has_time_range;     // set by the driver: start_time < end_time
  float start_time;        // seconds
  float end_time;          // seconds
  uint32_t samples_per_second;

  ExportSettings()
      : file(nullptr), export_hidden(false), selected(false), animation_only(false), max_influences(0),
        has_time_range(false),
        start_time(0.0f), end_time(0.0f), samples_per_second(0) {}
};

// The most samples one animation may take: a million, some nine hours at
// thirty a second. A longer playback range (a slip of the keyboard, or a
// range of ±1e30 frames) would sample until memory runs out, or for ever
// once the time no longer changes by a step; the export refuses it.
const uint32_t MAX_ANIMATION_SAMPLES = 1000000;

// How many samples the range from `start` to `end` seconds takes at
// `per_second` (as the sampling counts them); more than any limit for a
// range that is not finite.
double animation_samples(double start, double end, uint32_t per_second);

// Told as each stage of the driver ends, for measuring an export (the
// plug-in has none). `text_bytes` is the length of the text once printed.
enum ExportStage { STAGE_CAPTURED, STAGE_DOCUMENT_BUILT, STAGE_TEXT_PRINTED, STAGE_WRITTEN };
struct ExportObserver {
  virtual void stage_done(ExportStage stage, uint32_t text_bytes) = 0;

protected:
  ~ExportObserver() {}
};

// The nodes whose animation is sampled after the walk, in the order the
// walk met them (see animation_export.h).
struct AnimatedNodes {
  foundation::Vector<foundation::String> names;
  MObjectArray nodes; // sampled as local matrices: the node is enough
  // Per node, its place in world_paths when it is sampled as world
  // matrices, else -1. Only those keep a DAG path: a path is as long as
  // the node is deep, and a deep hierarchy's paths together would be
  // quadratic in its depth.
  foundation::Vector<int32_t> world_path;
  MDagPathArray world_paths;
  explicit AnimatedNodes(Allocator& a) : names(a), world_path(a) {}
};

struct ExporterContext {
  Allocator* allocator;            // everything the export creates
  foundation::Vector<char> log;    // the message buffer
  ExportSettings* settings;
  float unit_scale;                // metres per Maya internal unit
  MSelectionList* selection;       // filled by the driver
  ExportObserver* observer;        // null unless an export is being measured
  AnimatedNodes animated;          // filled by the walk, sampled after it

  ExporterContext(Allocator& a, ExportSettings& s);
  ~ExporterContext();
  ExporterContext(const ExporterContext&) = delete;
  ExporterContext& operator=(const ExporterContext&) = delete;
};

// The length of one Maya internal unit in metres (0.01 for centimetres).
float internal_unit_in_metres();

// Appends `text` to the message buffer.
void append_log(ExporterContext& context, const char* text);
void append_log(ExporterContext& context, const char* text, uint32_t length);

// Shows the message buffer with one MGlobal::displayInfo and empties it.
void show_log(ExporterContext& context);

// The message buffer's text, NUL-terminated (the NUL is not counted).
const char* log_text(ExporterContext& context);

} // namespace twi
