#include "exporter/export_driver.h"

#include "exporter/animation_export.h"
#include "exporter/node_export.h"
#include "foundation/config/dynamic_config_value.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/io/file_system.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/trace_allocator.h"
#include "scene/document_writer.h"
#include "scene/scene_check.h"
#include "scene/scene_database.h"

#include <maya/MAnimControl.h>
#include <maya/MDagPath.h>
#include <maya/MFileIO.h>
#include <maya/MFn.h>
#include <maya/MFnDagNode.h>
#include <maya/MGlobal.h>
#include <maya/MItDag.h>
#include <maya/MPlug.h>
#include <maya/MString.h>
#include <maya/MTime.h>

#include <stdio.h>

using namespace foundation;

namespace twi {

namespace {

const char* const RULE = "-------------------------------------------------\n";

// The output file while it is written: a replacement of the target, which
// stays as it was until every byte is written and the file closed. Leaving
// the scope any other way (a thrown report from a failed write) abandons
// the replacement: the target is untouched and no temporary file is left.
class OutputFileScope {
public:
  OutputFileScope(FileSystem& fs, FileOutputBuffer* file) : _fs(fs), _file(file) {}
  ~OutputFileScope() {
    if (_file)
      _fs.abandon(_file);
  }
  OutputFileScope(const OutputFileScope&) = delete;
  OutputFileScope& operator=(const OutputFileScope&) = delete;
  FileOutputBuffer* file() const { return _file; }
  // Flushes, closes and puts the file in place; reports a failure (the
  // stream is released either way).
  void close() {
    FileOutputBuffer* file = _file;
    _file = nullptr;
    _fs.close(file);
  }

private:
  FileSystem& _fs;
  FileOutputBuffer* _file;
};

// Paths that pass the filter, or -1 when the DAG cannot be walked.
int count_exportable(ExporterContext& context) {
  MStatus status;
  MItDag it(MItDag::kDepthFirst, MFn::kTransform, &status);
  if (!status)
    return -1;
  int count = 0;
  for (; !it.isDone(); it.next()) {
    MDagPath path;
    if (!it.getPath(path))
      return -1;
    if (should_export_node(context, path))
      ++count;
  }
  return count;
}

// A skin whose joints were not exported (left out of the selection, hidden)
// is written as it is, naming joints the document lacks: say so.
void warn_about_missing_joints(ExporterContext& context, const SceneDatabase& database) {
  for (auto it = database.skins.begin(); it != database.skins.end(); ++it) {
    bool first = true;
    for (const SkinJoint& joint : it.value().joints) {
      if (database.nodes.has(joint.name.c_str()))
        continue;
      append_log(context, first ? "Warning: skin " : ", ");
      if (first) {
        append_log(context, it.key().c_str());
        append_log(context, " uses joints that are not exported: ");
      }
      append_log(context, joint.name.c_str());
      first = false;
    }
    if (!first)
      append_log(context, ". The document names them but holds no nodes for them.\n");
  }
}

void write_file(const char* path, const TextChunks& text) {
  TraceAllocator allocator("file_system", memory_globals::default_allocator());
  FileSystem fs(allocator, "");
  OutputFileScope output(fs, fs.open_replacement(path, allocator));
  for (uint32_t i = 0; output.file() && i < text.block_count(); ++i)
    output.file()->write(text.block(i).data, text.block(i).used);
  output.close();
}

} // namespace

bool should_export_node(ExporterContext& context, const MDagPath& path) {
  MStatus status;
  MFnDagNode node(path, &status);
  if (!status)
    return false;
  if (node.isDefaultNode() || node.isShared() || node.isIntermediateObject())
    return false;
  if (path.hasFn(MFn::kManipulator3D) || !path.hasFn(MFn::kTransform))
    return false;
  if (context.settings->selected && !context.selection->hasItem(path, MObject::kNullObj))
    return false;
  bool visible = true;
  node.findPlug("visibility", true).getValue(visible);
  return visible || context.settings->export_hidden;
}

namespace {

// Captures the scene into a database and converts it into the document
// tree. The database is this function's own: it is given back before the
// text is printed, so that the text's memory can be the database's.
bool capture_document(ExporterContext& context, DynamicConfigValue& document) {
  ExportSettings& settings = *context.settings;
  double start = MAnimControl::minTime().asUnits(MTime::kSeconds);
  double end = MAnimControl::maxTime().asUnits(MTime::kSeconds);
  settings.start_time = float(start);
  settings.end_time = float(end);
  settings.has_time_range = settings.end_time > settings.start_time;
  settings.samples_per_second = 30;
  double samples = animation_samples(start, end, settings.samples_per_second);
  if (samples > double(MAX_ANIMATION_SAMPLES)) {
    char line[512];
    snprintf(line, sizeof(line),
             "The playback range, %g s to %g s, takes %.0f samples at %u a second; the most an export takes is "
             "%u (%.1f hours). Set a shorter playback range.\n",
             start, end, samples, settings.samples_per_second, MAX_ANIMATION_SAMPLES,
             (MAX_ANIMATION_SAMPLES - 1) / double(settings.samples_per_second) / 3600.0);
    append_log(context, line);
    return false;
  }

  Allocator& allocator = *context.allocator;
  SceneDatabase database(allocator);
  MGlobal::getActiveSelectionList(*context.selection, false);
  database.source_path = MFileIO::currentFile().asUTF8();

  if (count_exportable(context) < 0)
    return false;

  MStatus status;
  MItDag it(MItDag::kDepthFirst, MFn::kTransform, &status);
  if (!status)
    return false;
  for (; !it.isDone(); it.next()) {
    MDagPath path;
    it.getPath(path);
    MFnDagNode node(path);
    if (node.parentCount() > 0) {
      // Exported from its parent by the walk below it when the parent passes.
      MDagPath parent;
      MDagPath::getAPathTo(node.parent(0), parent);
      if (should_export_node(context, parent))
        continue;
    }
    if (!should_export_node(context, path))
      continue;
    String name(allocator, node.name().asUTF8());
    if (!export_node(context, database, "", path)) {
      append_log(context, "Failed exporting node.\n");
      return false;
    }
    database.roots.push_back(name);
  }
  // Every exported node's animation, in one pass over time.
  sample_animations(context, database);
  warn_about_missing_joints(context, database);

  if (context.observer)
    context.observer->stage_done(STAGE_CAPTURED, 0);
  append_log(context, RULE);
  append_log(context, "Serializing SceneTree\n");
  append_log(context, " - SceneDatabase -> DynamicConfigValue\n");
  show_log(context);
  // The text has no way to write an infinity or NaN: a document holding
  // one would be read by no reader, so the export stops here instead.
  String place(allocator);
  float value = 0;
  if (!find_non_finite(database, place, value)) {
    char line[1400];
    snprintf(line, sizeof(line),
             "Cannot write %s: it is %g, which a 32-bit float cannot hold as a number. Check the values, keys and "
             "unit conversions that give it (a float reaches about 3.4e38).\n",
             place.c_str(), double(value));
    append_log(context, line);
    return false;
  }
  write_scene_document(database, document);
  return true;
}

} // namespace

bool export_scene(ExporterContext& context) {
  ExportSettings& settings = *context.settings;
  Allocator& allocator = *context.allocator;
  DynamicConfigValue document(allocator);
  if (!capture_document(context, document))
    return false;
  if (context.observer)
    context.observer->stage_done(STAGE_DOCUMENT_BUILT, 0);

  append_log(context, " - DynamicConfigValue -> SJSON\n");
  show_log(context);
  // In blocks: a large text is never grown and copied.
  TextChunks text(allocator);
  write_sjson(document, text, SjsonWriteOptions());
  if (context.observer)
    context.observer->stage_done(STAGE_TEXT_PRINTED, uint32_t(text.size()));

  append_log(context, " - SJSON -> Disc\n");
  show_log(context);
  write_file(settings.file, text);
  if (context.observer)
    context.observer->stage_done(STAGE_WRITTEN, uint32_t(text.size()));
  return true;
}

} // namespace twi
