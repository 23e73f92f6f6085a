// What the host keeps: registered commands and translators, loaded plug-ins,
// the script editor's lines and the sourced scripts.
#pragma once

#include "scene.h"
#include "mayasim/host.h"

#include <maya/MObject.h>
#include <maya/MStatus.h>
#include <maya/MString.h>
#include <maya/MTypes.h>

#include <string>
#include <vector>

namespace mayasim {

struct CommandEntry {
  std::string name;
  MCreatorFunction creator;
  MCreateSyntaxFunction syntax;
  std::string plugin;
};

struct TranslatorEntry {
  std::string name;
  std::string pixmap;
  MCreatorFunction creator;
  std::string options_script;
  std::string default_options;
  bool requires_full_mel;
  std::string data_location;
  std::string plugin;
};

struct HostState {
  std::vector<ScriptLine> lines;
  bool echo = false;
  std::vector<CommandEntry> commands;
  std::vector<TranslatorEntry> translators;
  std::vector<std::string> sourced;
  std::vector<std::string> source_attempts;
  MPxFileTranslator::FileAccessMode access_mode = MPxFileTranslator::kUnknownAccessMode;
  std::string result;
};

HostState& host_state();
void record_line(ScriptLine::Kind kind, const char* text);
// Runs one MEL command line through the registered commands.
MStatus execute_command_line(const std::string& line);
// The plug-in object of a loaded plug-in (for MFnPlugin).
PluginObject* plugin_object(const MObject& object);

} // namespace mayasim
