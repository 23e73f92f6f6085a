// The plug-in's entry points: initializePlugin, uninitializePlugin and the
// MApiVersion text (defined by <maya/MFnPlugin.h>), the only three symbols
// the module exports.
//
// Loading starts the memory system before anything else, registers the
// command twi_export and the translator TarnwickIntermediate, and sources
// the translator's options script twi_exporter_options.mel from the first
// place that has it: each folder of MAYA_SCRIPT_PATH (split on the
// platform's separator: ';' on Windows, ':' on Linux and macOS, as Maya
// itself reads the variable), the plug-in's own folder, then MAYA_LOCATION
// + "/scripts/" and + "/bin/scripts/". Without the script the plug-in says where it looked
// (the raw MAYA_SCRIPT_PATH), unloads itself and fails with kNotFound.
// Unloading deregisters both and shuts the memory system down, which
// reports any allocator still holding memory.
#include "foundation/error/error.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/platform.h"
#include "plugin/twi_export_command.h"
#include "plugin/twi_file_translator.h"

#include <maya/MFileObject.h>
#include <maya/MFnPlugin.h>
#include <maya/MGlobal.h>
#include <maya/MString.h>
#include <maya/MStringArray.h>

#include <stdlib.h>

using namespace foundation;

namespace {

const char* const COMMAND_NAME = "twi_export";
const char* const TRANSLATOR_NAME = "TarnwickIntermediate";
const char* const OPTIONS_PROCEDURE = "tw_exporter_options";
const char* const OPTIONS_SCRIPT = "twi_exporter_options.mel";

MString environment(const char* name) {
  const char* value = getenv(name);
  return MString(value ? value : "");
}

// Sources `folder` + `joint` + the script file name; true when it ran.
bool source_from(MFileObject& folder_object, const MString& folder, const char* joint) {
  folder_object.setRawFullName(folder);
  MString candidate = folder_object.expandedFullName() + joint + OPTIONS_SCRIPT;
  return MGlobal::sourceFile(candidate) == MS::kSuccess;
}

bool source_options_script(MFnPlugin& plugin) {
  MFileObject folder;
  MStringArray script_path;
  environment("MAYA_SCRIPT_PATH").split(TW_PATH_LIST_SEPARATOR, script_path);
  for (unsigned i = 0; i < script_path.length(); ++i)
    if (source_from(folder, script_path[i], "/"))
      return true;
  if (source_from(folder, plugin.loadPath(), "/"))
    return true;
  MString location = environment("MAYA_LOCATION");
  return source_from(folder, location, "/scripts/") || source_from(folder, location, "/bin/scripts/");
}

} // namespace

PLUGIN_EXPORT MStatus initializePlugin(MObject object);
PLUGIN_EXPORT MStatus uninitializePlugin(MObject object);

PLUGIN_EXPORT MStatus initializePlugin(MObject object) {
  memory_globals::init();
  error::set_build_identifier("twi_exporter 0.1");
  MFnPlugin plugin(object, "Tarnwick", "0.1", "Any");

  if (plugin.registerCommand(COMMAND_NAME, twi::TwiExportCommand::creator, NULL) != MS::kSuccess)
    return MS::kFailure;

  MStatus status = plugin.registerFileTranslator(TRANSLATOR_NAME, const_cast<char*>(""),
                                                 twi::TwiFileTranslator::creator,
                                                 const_cast<char*>(OPTIONS_PROCEDURE), const_cast<char*>(""),
                                                 false, MFnPlugin::kDefaultDataLocation);
  if (status != MS::kSuccess) {
    plugin.deregisterCommand(COMMAND_NAME);
    memory_globals::shutdown();
    return MS::kFailure;
  }

  if (source_options_script(plugin))
    return MS::kSuccess;

  MGlobal::displayError(MString("Could not find twi_exporter_options.mel. Please put the file in any of these "
                                "folders: ") +
                        environment("MAYA_SCRIPT_PATH"));
  uninitializePlugin(object);
  return MS::kNotFound;
}

PLUGIN_EXPORT MStatus uninitializePlugin(MObject object) {
  MFnPlugin plugin(object, "Unknown", "Unknown", "Any");
  plugin.deregisterCommand(COMMAND_NAME);
  plugin.deregisterFileTranslator(TRANSLATOR_NAME);
  memory_globals::shutdown();
  return MS::kSuccess;
}
