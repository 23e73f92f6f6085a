// MSyntax, MArgList, MArgParser, MArgDatabase, MPxCommand, MPxFileTranslator, MFnPlugin.
#include "host_state.h"

#include <maya/MArgDatabase.h>
#include <maya/MArgList.h>
#include <maya/MArgParser.h>
#define MNoVersionString
#include <maya/MFnPlugin.h>
#include <maya/MGlobal.h>
#include <maya/MPxCommand.h>
#include <maya/MPxFileTranslator.h>
#include <maya/MSyntax.h>

#include <map>
#include <stdlib.h>
#include <string.h>

using namespace mayasim;

namespace {
template <typename T>
void set_status(MStatus* status, T code) {
  if (status)
    *status = code;
}

struct Flag {
  std::string short_name; // without the dash
  std::string long_name;
  std::vector<MSyntax::MArgType> arguments;
};
std::vector<Flag>& flags_of(void* p) { return *static_cast<std::vector<Flag>*>(p); }

std::string bare(const char* flag) {
  if (!flag)
    return "";
  return flag[0] == '-' ? std::string(flag + 1) : std::string(flag);
}

struct Parsed {
  std::vector<Flag> flags;
  std::map<std::string, std::vector<std::vector<MString>>> uses; // by short name
  std::vector<MString> objects;
  const Flag* find(const char* flag) const {
    std::string name = bare(flag);
    for (const Flag& f : flags)
      if (f.short_name == name || f.long_name == name)
        return &f;
    return nullptr;
  }
};
Parsed& parsed_of(void* p) { return *static_cast<Parsed*>(p); }

bool looks_like_number(const std::string& s) {
  char* end = nullptr;
  strtod(s.c_str(), &end);
  return !s.empty() && end && *end == 0;
}
} // namespace

// ---------------------------------------------------------------------------
// MSyntax

MSyntax::MSyntax() : _flags(new std::vector<Flag>()) {}
MSyntax::MSyntax(const MSyntax& other) : _flags(new std::vector<Flag>(flags_of(other._flags))) {}
MSyntax::~MSyntax() { delete &flags_of(_flags); }
MSyntax& MSyntax::operator=(const MSyntax& other) {
  flags_of(_flags) = flags_of(other._flags);
  return *this;
}
MStatus MSyntax::addFlag(const char* shortName, const char* longName, MArgType a1, MArgType a2, MArgType a3,
                         MArgType a4, MArgType a5, MArgType a6) {
  Flag f;
  f.short_name = bare(shortName);
  f.long_name = bare(longName);
  if (f.short_name.empty() || f.short_name.size() > 3 || f.long_name.size() < 4)
    return MS::kInvalidParameter;
  for (const Flag& other : flags_of(_flags))
    if (other.short_name == f.short_name || other.long_name == f.long_name)
      return MS::kInvalidParameter;
  for (MArgType a : {a1, a2, a3, a4, a5, a6})
    if (a != kNoArg && a != kInvalidArgType)
      f.arguments.push_back(a);
  flags_of(_flags).push_back(f);
  return MS::kSuccess;
}
MStatus MSyntax::makeFlagMultiUse(const char*) { return MS::kSuccess; }
MStatus MSyntax::addArg(MArgType) { return MS::kSuccess; }
void MSyntax::useSelectionAsDefault(bool) {}
MStatus MSyntax::setObjectType(MObjectFormat, unsigned int) { return MS::kSuccess; }
void MSyntax::enableQuery(bool) {}
void MSyntax::enableEdit(bool) {}

// ---------------------------------------------------------------------------
// MArgList

const unsigned int MArgList::kInvalidArgIndex = 4294967295u;

MArgList::MArgList() {}
MArgList::MArgList(const MArgList& other) : _args(other._args) {}
MArgList::~MArgList() {}
MArgList& MArgList::operator=(const MArgList& other) {
  _args = other._args;
  return *this;
}
unsigned int MArgList::length(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return _args.length();
}
MString MArgList::asString(unsigned int index, MStatus* ret) const {
  if (index >= _args.length()) {
    set_status(ret, MS::kInvalidParameter);
    return MString();
  }
  set_status(ret, MS::kSuccess);
  return _args[index];
}
bool MArgList::asBool(unsigned int index, MStatus* ret) const {
  MString s = asString(index, ret);
  return s == "true" || s == "on" || s == "yes" || s == "1";
}
int MArgList::asInt(unsigned int index, MStatus* ret) const { return asString(index, ret).asInt(); }
double MArgList::asDouble(unsigned int index, MStatus* ret) const { return asString(index, ret).asDouble(); }
unsigned int MArgList::flagIndex(const char* shortFlag, const char* longFlag) const {
  std::string s = bare(shortFlag), l = bare(longFlag);
  for (unsigned i = 0; i < _args.length(); ++i) {
    const char* a = _args[i].asChar();
    if (a[0] != '-')
      continue;
    if (bare(a) == s || (!l.empty() && bare(a) == l))
      return i;
  }
  return kInvalidArgIndex;
}
MStatus MArgList::addArg(const MString& arg) { return _args.append(arg); }
MStatus MArgList::addArg(int arg) {
  MString s;
  s += arg;
  return _args.append(s);
}
MStatus MArgList::addArg(double arg) {
  MString s;
  s += arg;
  return _args.append(s);
}

// ---------------------------------------------------------------------------
// MArgParser, MArgDatabase

MArgParser::MArgParser() : _parsed(new Parsed) {}
MArgParser::MArgParser(const MSyntax& syntax, const MArgList& argList, MStatus* ReturnStatus) : _parsed(new Parsed) {
  set_status(ReturnStatus, parse(syntax, argList));
}
MArgParser::~MArgParser() { delete &parsed_of(_parsed); }

MStatus MArgParser::parse(const MSyntax& syntax, const MArgList& argList) {
  Parsed& p = parsed_of(_parsed);
  p.flags = flags_of(syntax.internal());
  p.uses.clear();
  p.objects.clear();
  unsigned n = argList.length();
  for (unsigned i = 0; i < n; ++i) {
    std::string token = argList.asString(i).asChar();
    if (token.size() > 1 && token[0] == '-' && !looks_like_number(token)) {
      const Flag* f = p.find(token.c_str());
      if (!f) {
        MGlobal::displayError(MString(("Invalid flag: " + token).c_str()));
        return MS::kFailure;
      }
      std::vector<MString> values;
      for (size_t a = 0; a < f->arguments.size(); ++a) {
        if (i + 1 >= n) {
          MGlobal::displayError(MString(("Flag needs an argument: " + token).c_str()));
          return MS::kFailure;
        }
        values.push_back(argList.asString(++i));
      }
      p.uses[f->short_name].push_back(values);
    } else {
      p.objects.push_back(argList.asString(i));
    }
  }
  return MS::kSuccess;
}

bool MArgParser::isFlagSet(const char* flag, MStatus* ReturnStatus) const {
  const Parsed& p = parsed_of(_parsed);
  const Flag* f = p.find(flag);
  set_status(ReturnStatus, f ? MS::kSuccess : MS::kInvalidParameter);
  return f && p.uses.count(f->short_name) != 0;
}
MString MArgParser::flagArgumentString(const char* flag, unsigned int index, MStatus* ReturnStatus) const {
  const Parsed& p = parsed_of(_parsed);
  const Flag* f = p.find(flag);
  if (!f || !p.uses.count(f->short_name) || index >= p.uses.at(f->short_name).front().size()) {
    set_status(ReturnStatus, MS::kFailure);
    return MString();
  }
  set_status(ReturnStatus, MS::kSuccess);
  return p.uses.at(f->short_name).front()[index];
}
bool MArgParser::flagArgumentBool(const char* flag, unsigned int index, MStatus* ReturnStatus) const {
  MString s = flagArgumentString(flag, index, ReturnStatus);
  return s == "true" || s == "on" || s == "yes" || s == "1";
}
int MArgParser::flagArgumentInt(const char* flag, unsigned int index, MStatus* ReturnStatus) const {
  return flagArgumentString(flag, index, ReturnStatus).asInt();
}
double MArgParser::flagArgumentDouble(const char* flag, unsigned int index, MStatus* ReturnStatus) const {
  return flagArgumentString(flag, index, ReturnStatus).asDouble();
}
MStatus MArgParser::getFlagArgument(const char* flag, unsigned int index, bool& result) const {
  MStatus s;
  result = flagArgumentBool(flag, index, &s);
  return s;
}
MStatus MArgParser::getFlagArgument(const char* flag, unsigned int index, int& result) const {
  MStatus s;
  result = flagArgumentInt(flag, index, &s);
  return s;
}
MStatus MArgParser::getFlagArgument(const char* flag, unsigned int index, double& result) const {
  MStatus s;
  result = flagArgumentDouble(flag, index, &s);
  return s;
}
MStatus MArgParser::getFlagArgument(const char* flag, unsigned int index, MString& result) const {
  MStatus s;
  result = flagArgumentString(flag, index, &s);
  return s;
}
unsigned int MArgParser::numberOfFlagUses(const char* flag) const {
  const Parsed& p = parsed_of(_parsed);
  const Flag* f = p.find(flag);
  return f && p.uses.count(f->short_name) ? unsigned(p.uses.at(f->short_name).size()) : 0;
}
bool MArgParser::isQuery(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return false;
}
bool MArgParser::isEdit(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return false;
}

MArgDatabase::MArgDatabase() {}
MArgDatabase::MArgDatabase(const MSyntax& syntax, const MArgList& argList, MStatus* ReturnStatus)
    : MArgParser(syntax, argList, ReturnStatus) {}
MArgDatabase::~MArgDatabase() {}
MStatus MArgDatabase::getObjects(MSelectionList& result) const {
  result.clear();
  return MS::kSuccess;
}

// ---------------------------------------------------------------------------
// MPxCommand, MPxFileTranslator

MPxCommand::MPxCommand() : _undoable(false) {}
MPxCommand::~MPxCommand() {}
MStatus MPxCommand::doIt(const MArgList&) { return MS::kFailure; }
MStatus MPxCommand::undoIt() { return MS::kFailure; }
MStatus MPxCommand::redoIt() { return MS::kFailure; }
bool MPxCommand::isUndoable() const { return _undoable; }
bool MPxCommand::hasSyntax() const { return false; }
MSyntax MPxCommand::syntax() const { return MSyntax(); }
MStatus MPxCommand::setUndoable(bool state) {
  _undoable = state;
  return MS::kSuccess;
}
void MPxCommand::displayInfo(const MString& text) { MGlobal::displayInfo(text); }
void MPxCommand::displayWarning(const MString& text, bool) { MGlobal::displayWarning(text); }
void MPxCommand::displayError(const MString& text, bool) { MGlobal::displayError(text); }
void MPxCommand::clearResult() { host_state().result.clear(); }
void MPxCommand::setResult(int result) { host_state().result = std::to_string(result); }
void MPxCommand::setResult(bool result) { host_state().result = result ? "1" : "0"; }
void MPxCommand::setResult(double result) { host_state().result = std::to_string(result); }
void MPxCommand::setResult(const char* result) { host_state().result = result ? result : ""; }
void MPxCommand::setResult(const MString& result) { host_state().result = result.asChar(); }
void MPxCommand::appendToResult(const MString& result) {
  std::string& r = host_state().result;
  r += (r.empty() ? "" : " ") + std::string(result.asChar());
}

MPxFileTranslator::MPxFileTranslator() {}
MPxFileTranslator::~MPxFileTranslator() {}
MStatus MPxFileTranslator::reader(const MFileObject&, const MString&, FileAccessMode) { return MS::kFailure; }
MStatus MPxFileTranslator::writer(const MFileObject&, const MString&, FileAccessMode) { return MS::kFailure; }
bool MPxFileTranslator::haveReadMethod() const { return false; }
bool MPxFileTranslator::haveWriteMethod() const { return false; }
bool MPxFileTranslator::haveNamespaceSupport() const { return false; }
bool MPxFileTranslator::haveReferenceMethod() const { return false; }
bool MPxFileTranslator::allowMultipleFileOptimization() const { return false; }
MString MPxFileTranslator::defaultExtension() const { return MString(); }
MString MPxFileTranslator::filter() const {
  MString extension = defaultExtension();
  return extension.length() ? MString("*.") + extension : MString("*.*");
}
bool MPxFileTranslator::canBeOpened() const { return true; }
MPxFileTranslator::MFileKind MPxFileTranslator::identifyFile(const MFileObject&, const char*, short) const {
  return kNotMyFileType;
}
MPxFileTranslator::FileAccessMode MPxFileTranslator::fileAccessMode() { return host_state().access_mode; }

// ---------------------------------------------------------------------------
// MFnPlugin

const MString MFnPlugin::kDefaultDataLocation("data");

MFnPlugin::MFnPlugin() {}
MFnPlugin::MFnPlugin(MObject& object, const char* vendor, const char* version, const char*, MStatus* ReturnStatus)
    : _vendor(vendor ? vendor : "Unknown"), _version(version ? version : "Unknown") {
  if (!plugin_object(object)) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return;
  }
  _object = object;
  set_status(ReturnStatus, MS::kSuccess);
}
MFnPlugin::~MFnPlugin() {}
MFn::Type MFnPlugin::type() const { return MFn::kPlugin; }
MString MFnPlugin::vendor(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return _vendor;
}
MString MFnPlugin::version(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return _version;
}
MString MFnPlugin::apiVersion(MStatus* ReturnStatus) const {
  set_status(ReturnStatus, MS::kSuccess);
  return MString("201300");
}
MString MFnPlugin::name(MStatus* ReturnStatus) const {
  PluginObject* p = plugin_object(_object);
  set_status(ReturnStatus, p ? MS::kSuccess : MS::kFailure);
  return p ? MString(p->name.c_str()) : MString();
}
MString MFnPlugin::loadPath(MStatus* ReturnStatus) const {
  PluginObject* p = plugin_object(_object);
  set_status(ReturnStatus, p ? MS::kSuccess : MS::kFailure);
  return p ? MString(p->load_path.c_str()) : MString();
}
MStatus MFnPlugin::setName(const MString& newName, bool) {
  PluginObject* p = plugin_object(_object);
  if (!p)
    return MS::kFailure;
  p->name = newName.asChar();
  return MS::kSuccess;
}
MStatus MFnPlugin::registerCommand(const MString& commandName, MCreatorFunction creatorFunction,
                                   MCreateSyntaxFunction createSyntaxFunction) {
  PluginObject* p = plugin_object(_object);
  if (!p || !creatorFunction)
    return MS::kFailure;
  HostState& h = host_state();
  for (const CommandEntry& c : h.commands)
    if (c.name == commandName.asChar())
      return MS::kFailure; // a command of that name exists
  h.commands.push_back(CommandEntry{commandName.asChar(), creatorFunction, createSyntaxFunction, p->name});
  return MS::kSuccess;
}
MStatus MFnPlugin::deregisterCommand(const MString& commandName) {
  HostState& h = host_state();
  for (size_t i = 0; i < h.commands.size(); ++i) {
    if (h.commands[i].name == commandName.asChar()) {
      h.commands.erase(h.commands.begin() + long(i));
      return MS::kSuccess;
    }
  }
  return MS::kFailure;
}
MStatus MFnPlugin::registerFileTranslator(const MString& translatorName, char* pixmapName,
                                          MCreatorFunction creatorFunction, char* optionsScriptName,
                                          char* defaultOptionsString, bool requiresFullMel,
                                          MString dataStorageLocation) {
  PluginObject* p = plugin_object(_object);
  if (!p || !creatorFunction)
    return MS::kFailure;
  HostState& h = host_state();
  for (const TranslatorEntry& t : h.translators)
    if (t.name == translatorName.asChar())
      return MS::kFailure;
  TranslatorEntry t;
  t.name = translatorName.asChar();
  t.pixmap = pixmapName ? pixmapName : "";
  t.creator = creatorFunction;
  t.options_script = optionsScriptName ? optionsScriptName : "";
  t.default_options = defaultOptionsString ? defaultOptionsString : "";
  t.requires_full_mel = requiresFullMel;
  t.data_location = dataStorageLocation.asChar();
  t.plugin = p->name;
  h.translators.push_back(t);
  return MS::kSuccess;
}
MStatus MFnPlugin::deregisterFileTranslator(const MString& translatorName) {
  HostState& h = host_state();
  for (size_t i = 0; i < h.translators.size(); ++i) {
    if (h.translators[i].name == translatorName.asChar()) {
      h.translators.erase(h.translators.begin() + long(i));
      return MS::kSuccess;
    }
  }
  return MS::kFailure;
}
