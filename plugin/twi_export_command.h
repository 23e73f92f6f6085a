// TwiExportCommand: the MEL command twi_export.
//
//   twi_export -file PATH [-selected] [-hidden] [-animations]
//
// Each invocation is a new command object, made and freed through the
// foundation's default allocator (its own operator new and delete, since
// Maya frees commands with delete). doIt parses the flags into the
// command's ExportSettings and runs one export on a scoped temporary
// allocator; redoIt runs it again with the same settings. The command is
// not undoable.
#pragma once

#include "exporter/exporter_context.h"

#include <maya/MPxCommand.h>
#include <maya/MString.h>

#include <stddef.h>

namespace twi {

class TwiExportCommand : public MPxCommand {
public:
  TwiExportCommand();
  ~TwiExportCommand() override;
  MStatus doIt(const MArgList& args) override;
  MStatus undoIt() override;
  MStatus redoIt() override;

  static void* creator();
  static void* operator new(size_t size);
  static void operator delete(void* p);

private:
  MStatus export_command();

  ExportSettings _settings;
  MString _file; // keeps the text _settings.file points at
};

} // namespace twi
