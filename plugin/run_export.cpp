#include "plugin/run_export.h"

#include "exporter/export_driver.h"
#include "foundation/error/error.h"
#include "foundation/error/log.h"

#include <maya/MGlobal.h>
#include <maya/MString.h>

#include <stdio.h>
#include <string.h>

using namespace foundation;

namespace twi {

namespace {

// The text shown for a report: its reason, without trailing newlines.
void report_text(const ErrorException& e, char* out, unsigned size) {
  const char* text = e.reason();
  size_t length = strlen(text);
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r'))
    --length;
  if (length >= size)
    length = size - 1;
  memcpy(out, text, length);
  out[length] = 0;
}
// The module's log has no destination of its own inside Maya but the
// standard streams; during an export the script editor is the one place
// where a report is shown, so the crash report text stays off them.
struct QuietStandardStreams {
  QuietStandardStreams() { log::set_standard_streams_enabled(false); }
  ~QuietStandardStreams() { log::set_standard_streams_enabled(true); }
};
} // namespace

MStatus run_export(Allocator& allocator, ExportSettings& settings) {
  error::ScopedMode mode(ERROR_MODE_THROW);
  QuietStandardStreams quiet;
  bool ok = false;
  bool failed = false;
  char reason[1024];
  try {
    ExporterContext context(allocator, settings);
    try {
      ok = export_scene(context);
    } catch (const ErrorException& e) {
      failed = true;
      report_text(e, reason, sizeof(reason));
    }
    show_log(context);
  } catch (const ErrorException& e) {
    if (!failed)
      report_text(e, reason, sizeof(reason));
    failed = true;
  }
  if (failed) {
    char text[1100];
    snprintf(text, sizeof(text), "Export failed: %s", reason);
    MGlobal::displayError(MString(text));
    ok = false;
  }
  return ok ? MS::kSuccess : MS::kFailure;
}

} // namespace twi
