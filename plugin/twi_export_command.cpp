#include "plugin/twi_export_command.h"

#include "foundation/memory/memory_globals.h"
#include "foundation/memory/temp_allocator.h"
#include "plugin/run_export.h"

#include <maya/MArgDatabase.h>
#include <maya/MSyntax.h>

using namespace foundation;

namespace twi {

TwiExportCommand::TwiExportCommand() {}
TwiExportCommand::~TwiExportCommand() {}

void* TwiExportCommand::creator() { return new TwiExportCommand; }

void* TwiExportCommand::operator new(size_t size) {
  return memory_globals::default_allocator().allocate(uint32_t(size), align_of<TwiExportCommand>());
}

void TwiExportCommand::operator delete(void* p) { memory_globals::default_allocator().deallocate(p); }

MStatus TwiExportCommand::doIt(const MArgList& args) {
  MSyntax syntax;
  syntax.addFlag("-f", "-file", MSyntax::kString);
  syntax.addFlag("-h", "-hidden");
  syntax.addFlag("-a", "-animations");
  syntax.addFlag("-s", "-selected");
  MStatus status;
  MArgDatabase parsed(syntax, args, &status);
  if (!status)
    return MS::kFailure;
  // The file flag is asked for by its bare name; an absent flag gives "".
  _file = parsed.flagArgumentString("f", 0);
  _settings.file = _file.asUTF8();
  _settings.animation_only = parsed.isFlagSet("-a");
  _settings.export_hidden = parsed.isFlagSet("-h");
  _settings.selected = parsed.isFlagSet("-s");
  return export_command();
}

MStatus TwiExportCommand::undoIt() { return MS::kFailure; }

MStatus TwiExportCommand::redoIt() { return export_command(); }

MStatus TwiExportCommand::export_command() {
  ScopedTempAllocator allocator;
  return run_export(allocator, _settings);
}

} // namespace twi
