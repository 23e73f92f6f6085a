// The host: plug-in loading, command lines, translators, the script editor.
#include "host_state.h"

#include <maya/MArgList.h>
#include <maya/MFileObject.h>
#include <maya/MObject.h>
#include <maya/MPxCommand.h>
#include <maya/MPxFileTranslator.h>

#include <chrono>
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace mayasim {

namespace {
HostState* g_host_state = nullptr;

// MEL-like tokens: words split at blanks, quoted strings with \" \\ \n \t.
std::vector<std::string> tokenize(const std::string& line) {
  std::vector<std::string> tokens;
  size_t i = 0;
  while (i < line.size()) {
    char c = line[i];
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == ';') {
      ++i;
      continue;
    }
    std::string token;
    if (c == '"') {
      ++i;
      while (i < line.size() && line[i] != '"') {
        if (line[i] == '\\' && i + 1 < line.size()) {
          char e = line[++i];
          token += e == 'n' ? '\n' : e == 't' ? '\t' : e;
        } else {
          token += line[i];
        }
        ++i;
      }
      ++i; // the closing quote
    } else {
      while (i < line.size() && line[i] != ' ' && line[i] != '\t' && line[i] != '\n' && line[i] != ';')
        token += line[i++];
    }
    tokens.push_back(token);
  }
  return tokens;
}
} // namespace

HostState& host_state() {
  if (!g_host_state)
    g_host_state = new HostState;
  return *g_host_state;
}

std::string script_editor_form(const ScriptLine& line) {
  switch (line.kind) {
  case ScriptLine::WARNING:
    return "// Warning: " + line.text;
  case ScriptLine::ERROR:
    return "// Error: " + line.text;
  default:
    return line.text;
  }
}

void record_line(ScriptLine::Kind kind, const char* text) {
  HostState& h = host_state();
  double now = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  h.lines.push_back(ScriptLine{kind, text ? text : "", now});
  if (h.echo) {
    printf("%s\n", script_editor_form(h.lines.back()).c_str());
    fflush(stdout);
  }
}

PluginObject* plugin_object(const MObject& object) {
  return dynamic_cast<PluginObject*>(static_cast<ApiObject*>(object.internal()));
}

MStatus execute_command_line(const std::string& line) {
  std::vector<std::string> tokens = tokenize(line);
  if (tokens.empty())
    return MS::kSuccess;
  HostState& h = host_state();
  const CommandEntry* entry = nullptr;
  for (const CommandEntry& c : h.commands)
    if (c.name == tokens[0])
      entry = &c;
  if (!entry) {
    record_line(ScriptLine::ERROR, ("Cannot find procedure \"" + tokens[0] + "\".").c_str());
    return MS::kFailure;
  }
  MArgList args;
  for (size_t i = 1; i < tokens.size(); ++i)
    args.addArg(MString(tokens[i].c_str()));
  h.result.clear();
  MPxCommand* command = static_cast<MPxCommand*>(entry->creator());
  MStatus status = command->doIt(args);
  // A command that can't be undone is destroyed at once, as Maya does.
  if (!command->isUndoable())
    delete command;
  return status;
}

} // namespace mayasim

using namespace mayasim;

struct Host::Loaded {
  std::string name;
  void* module = nullptr; // null for linked-in entry points
  PluginFunction initialize = nullptr;
  PluginFunction uninitialize = nullptr;
  MObject object;
};

// A host is one Maya session: it starts with an empty script editor and no
// scripts sourced.
Host::Host() {
  HostState& h = host_state();
  h.lines.clear();
  h.sourced.clear();
  h.source_attempts.clear();
}

Host::~Host() { unload_all(); }

namespace {
std::string file_name_without_extension(const std::string& path) {
  size_t slash = path.rfind('/');
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  size_t dot = name.rfind('.');
  return dot == std::string::npos ? name : name.substr(0, dot);
}

std::string folder_of(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos)
    return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Registrations a failed plug-in left behind would point into unloaded code.
void drop_registrations(const std::string& plugin) {
  HostState& h = host_state();
  for (size_t i = h.commands.size(); i-- > 0;)
    if (h.commands[i].plugin == plugin)
      h.commands.erase(h.commands.begin() + long(i));
  for (size_t i = h.translators.size(); i-- > 0;)
    if (h.translators[i].plugin == plugin)
      h.translators.erase(h.translators.begin() + long(i));
}
} // namespace

MStatus Host::load_plugin(const std::string& path) {
  _last_error.clear();
  void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!module) {
    const char* why = dlerror();
    _last_error = std::string("cannot load ") + path + ": " + (why ? why : "unknown reason");
    record_line(ScriptLine::ERROR, _last_error.c_str());
    return MS::kFailure;
  }
  const char* version = static_cast<const char*>(dlsym(module, "MApiVersion"));
  // C++ linkage, as Maya's samples declare them, or C linkage.
  // As Maya looks them up: mangled with the API's namespace, or C linkage.
  void* init = dlsym(module, "_Z16initializePlugin" MAYASIM_MANGLED_MOBJECT);
  void* uninit = dlsym(module, "_Z18uninitializePlugin" MAYASIM_MANGLED_MOBJECT);
  if (!init)
    init = dlsym(module, "initializePlugin");
  if (!uninit)
    uninit = dlsym(module, "uninitializePlugin");
  if (!init || !uninit) {
    _last_error = path + " is not a Maya plug-in (no initializePlugin / uninitializePlugin)";
    record_line(ScriptLine::ERROR, _last_error.c_str());
    dlclose(module);
    return MS::kFailure;
  }
  MStatus s = load_plugin(file_name_without_extension(path), reinterpret_cast<PluginFunction>(init),
                          reinterpret_cast<PluginFunction>(uninit), version, path);
  if (!s) {
    dlclose(module);
    return s;
  }
  _plugins.back()->module = module;
  return s;
}

MStatus Host::load_plugin(const std::string& name, PluginFunction initialize, PluginFunction uninitialize,
                          const char* api_version, const std::string& module_path) {
  _last_error.clear();
  if (is_loaded(name)) {
    _last_error = "plug-in " + name + " is already loaded";
    return MS::kFailure;
  }
  if (!api_version || atol(api_version) <= 0 || atol(api_version) > MAYA_API_VERSION) {
    _last_error = "plug-in " + name + " was built for API version " + (api_version ? api_version : "(none)") +
                  ", not " + std::to_string(MAYA_API_VERSION);
    record_line(ScriptLine::ERROR, _last_error.c_str());
    return MS::kFailure;
  }
  PluginObject* object = new PluginObject;
  object->name = name;
  object->path = module_path;
  object->load_path = folder_of(module_path);
  Loaded* loaded = new Loaded;
  loaded->name = name;
  loaded->initialize = initialize;
  loaded->uninitialize = uninitialize;
  loaded->object = MObject(object);
  MStatus s = initialize(loaded->object);
  if (!s) {
    // The plug-in has unloaded itself; only the module is left to close.
    _last_error = "initializePlugin function failed (" + name + ")";
    record_line(ScriptLine::ERROR, _last_error.c_str());
    drop_registrations(name);
    delete loaded;
    return s;
  }
  _plugins.push_back(loaded);
  return s;
}

MStatus Host::unload_plugin(const std::string& name) {
  for (size_t i = 0; i < _plugins.size(); ++i) {
    Loaded* p = _plugins[i];
    if (p->name != name)
      continue;
    MStatus s = p->uninitialize(p->object);
    drop_registrations(name);
    if (p->module)
      dlclose(p->module);
    _plugins.erase(_plugins.begin() + long(i));
    delete p;
    return s;
  }
  return MS::kNotFound;
}

void Host::unload_all() {
  while (!_plugins.empty())
    unload_plugin(_plugins.back()->name);
}

bool Host::is_loaded(const std::string& name) const {
  for (const Loaded* p : _plugins)
    if (p->name == name)
      return true;
  return false;
}

MStatus Host::execute(const std::string& command_line) { return execute_command_line(command_line); }

MStatus Host::export_file(const std::string& name, const std::string& file, const std::string& options,
                          MPxFileTranslator::FileAccessMode mode) {
  HostState& h = host_state();
  const TranslatorEntry* entry = nullptr;
  for (const TranslatorEntry& t : h.translators)
    if (t.name == name)
      entry = &t;
  if (!entry) {
    record_line(ScriptLine::ERROR, ("No file translator named " + name).c_str());
    return MS::kNotFound;
  }
  MPxFileTranslator* translator = static_cast<MPxFileTranslator*>(entry->creator());
  if (!translator->haveWriteMethod()) {
    delete translator;
    record_line(ScriptLine::ERROR, ("File translator " + name + " cannot write").c_str());
    return MS::kFailure;
  }
  MFileObject target;
  target.setRawFullName(MString(file.c_str()));
  h.access_mode = mode;
  MStatus s = translator->writer(target, MString(options.c_str()), mode);
  h.access_mode = MPxFileTranslator::kUnknownAccessMode;
  delete translator;
  return s;
}

bool Host::has_command(const std::string& name) const {
  for (const CommandEntry& c : host_state().commands)
    if (c.name == name)
      return true;
  return false;
}

bool Host::has_translator(const std::string& name) const {
  for (const TranslatorEntry& t : host_state().translators)
    if (t.name == name)
      return true;
  return false;
}

std::string Host::translator_options_script(const std::string& name) const {
  for (const TranslatorEntry& t : host_state().translators)
    if (t.name == name)
      return t.options_script;
  return "";
}

const std::vector<std::string>& Host::sourced_files() const { return host_state().sourced; }
const std::vector<std::string>& Host::source_attempts() const { return host_state().source_attempts; }
const std::vector<ScriptLine>& Host::script_editor() const { return host_state().lines; }

std::string Host::script_editor_text() const {
  std::string text;
  for (const ScriptLine& l : host_state().lines)
    text += script_editor_form(l) + "\n";
  return text;
}

void Host::clear_script_editor() {
  host_state().lines.clear();
  host_state().sourced.clear();
  host_state().source_attempts.clear();
}

void Host::set_echo(bool echo) { host_state().echo = echo; }
