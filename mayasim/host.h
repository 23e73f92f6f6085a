// mayasim's host: plays Maya for a plug-in.
//
// It loads a plug-in module by path as Maya does (or takes entry points
// linked into the process), checks its MApiVersion, calls initializePlugin
// and, when unloading, uninitializePlugin. It runs MEL command lines through
// the registered commands (tokenised as MEL does: flags, quoted strings),
// destroying each command object with delete right after doIt, and calls a
// registered translator's writer, destroying the translator right after. It
// records every line shown with MGlobal::displayInfo, displayWarning and
// displayError, as the script editor would show them, and can echo them.
//
//   mayasim::Host host;
//   host.load_plugin("build/plugin/twi_exporter.so");
//   host.execute("twi_export -f out.twi -s");
//   for (const mayasim::ScriptLine& line : host.script_editor()) ...
//
// There is one Maya scene per process (mayasim::builder makes it); the host
// keeps the plug-in side. Destroying the host unloads what is still loaded.
#pragma once

#include <maya/MPxFileTranslator.h>
#include <maya/MStatus.h>

#include <string>
#include <vector>
#include <maya/MObject.h>

namespace mayasim {

struct ScriptLine {
  enum Kind { INFO, WARNING, ERROR };
  Kind kind;
  std::string text;
  // When it was shown: seconds on a monotonic clock (for timing the stages
  // a plug-in announces).
  double seconds = 0;
};

typedef MStatus (*PluginFunction)(MObject);

class OPENMAYA_EXPORT Host {
public:
  Host();
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Loads the module at `path`; its name is the file name without extension.
  MStatus load_plugin(const std::string& path);
  // Loads entry points linked into this process, as if from `module_path`.
  MStatus load_plugin(const std::string& name, PluginFunction initialize, PluginFunction uninitialize,
                      const char* api_version, const std::string& module_path);
  MStatus unload_plugin(const std::string& name);
  void unload_all();
  bool is_loaded(const std::string& name) const;
  // Why the last load failed, when it did.
  const std::string& last_error() const { return _last_error; }

  // Runs a MEL command line such as `twi_export -f "out file.twi" -s`.
  MStatus execute(const std::string& command_line);
  // Calls translator `name`'s writer for `file` with an options string.
  MStatus export_file(const std::string& name, const std::string& file, const std::string& options,
                      MPxFileTranslator::FileAccessMode mode);

  bool has_command(const std::string& name) const;
  bool has_translator(const std::string& name) const;
  // The options script and default options a translator was registered with.
  std::string translator_options_script(const std::string& name) const;
  // Scripts sourced successfully, and every path a plug-in tried to source.
  const std::vector<std::string>& sourced_files() const;
  const std::vector<std::string>& source_attempts() const;

  const std::vector<ScriptLine>& script_editor() const;
  // All lines as the script editor shows them, one per line.
  std::string script_editor_text() const;
  void clear_script_editor();
  // Also print every line on standard output as it is shown.
  void set_echo(bool echo);

private:
  struct Loaded;
  std::vector<Loaded*> _plugins;
  std::string _last_error;
};

// The script editor's form of a line: info as it is, "// Warning: ..." and
// "// Error: ..." for the others.
OPENMAYA_EXPORT std::string script_editor_form(const ScriptLine& line);

} // namespace mayasim
