// One export run for an entry point (the command or the translator).
//
// Builds the ExporterContext over `allocator`, runs the driver and shows the
// log once at the end, whatever the result. The run never ends Maya: it
// runs with reports thrown (error mode 1), and a report (an output file that
// can't be written, memory exhausted, a broken invariant) stops the export,
// releases everything it took, is shown with MGlobal::displayError after the
// log gathered so far, and makes the run fail. The previous error mode is
// restored in every case. The crash report itself stays off the standard
// streams while the export runs.
#pragma once

#include "exporter/exporter_context.h"

#include <maya/MStatus.h>

namespace twi {

MStatus run_export(foundation::Allocator& allocator, ExportSettings& settings);

} // namespace twi
