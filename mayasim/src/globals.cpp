// MGlobal, MFileIO, MFileObject, MDistance, MTime, MAnimControl.
#include "host_state.h"
#include "units.h"

#include <maya/MAnimControl.h>
#include <maya/MDistance.h>
#include <maya/MFileIO.h>
#include <maya/MFileObject.h>
#include <maya/MGlobal.h>
#include <maya/MTime.h>

#include <fstream>
#include <math.h>
#include <sstream>
#include <stdlib.h>
#include <sys/stat.h>

using namespace mayasim;

namespace {
template <typename T>
void set_status(MStatus* status, T code) {
  if (status)
    *status = code;
}

bool file_exists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// Whether `script` defines `procedure` as a MEL procedure.
bool defines_procedure(const std::string& script, const std::string& procedure) {
  for (size_t at = script.find(procedure); at != std::string::npos; at = script.find(procedure, at + 1)) {
    size_t line = script.rfind('\n', at);
    line = line == std::string::npos ? 0 : line + 1;
    std::string before = script.substr(line, at - line);
    // Only a global procedure can serve as an options script.
    if (before.find("global") == std::string::npos || before.find("proc ") == std::string::npos)
      continue;
    if (at > 0 && (isalnum(static_cast<unsigned char>(script[at - 1])) || script[at - 1] == '_'))
      continue;
    size_t after = at + procedure.size();
    while (after < script.size() && (script[after] == ' ' || script[after] == '\t'))
      ++after;
    if (after < script.size() && script[after] == '(')
      return true;
  }
  return false;
}
} // namespace

// ---------------------------------------------------------------------------
// MGlobal

void MGlobal::displayInfo(const MString& text) { record_line(ScriptLine::INFO, text.asChar()); }
void MGlobal::displayWarning(const MString& text) { record_line(ScriptLine::WARNING, text.asChar()); }
void MGlobal::displayError(const MString& text) { record_line(ScriptLine::ERROR, text.asChar()); }

MStatus MGlobal::getActiveSelectionList(MSelectionList& dest, bool) {
  dest.clear();
  Scene& s = scene();
  for (const Path& p : s.selected_paths) {
    MDagPath path;
    path_of(path.internal()) = p;
    dest.add(path);
  }
  for (Node* n : s.selected_nodes)
    dest.add(MObject(n));
  return MS::kSuccess;
}

MStatus MGlobal::setActiveSelectionList(const MSelectionList& list, ListAdjustment mode) {
  Scene& s = scene();
  if (mode == kReplaceList) {
    s.selected_paths.clear();
    s.selected_nodes.clear();
  }
  for (unsigned i = 0; i < list.length(); ++i) {
    MDagPath path;
    if (list.getDagPath(i, path)) {
      s.selected_paths.push_back(path_of(path.internal()));
    } else {
      MObject o;
      list.getDependNode(i, o);
      if (Node* n = node_of(o))
        s.selected_nodes.push_back(n);
    }
  }
  return MS::kSuccess;
}

MStatus MGlobal::getSelectionListByName(const MString& name, MSelectionList& list) {
  list.clear();
  return list.add(name);
}

MStatus MGlobal::sourceFile(const MString& fileName) {
  HostState& h = host_state();
  std::string path = fileName.asChar();
  h.source_attempts.push_back(path);
  if (!file_exists(path)) {
    // Relative names are looked for along MAYA_SCRIPT_PATH.
    bool found = false;
    if (!path.empty() && path[0] != '/') {
      const char* search = getenv("MAYA_SCRIPT_PATH");
      std::stringstream folders(search ? search : "");
      std::string folder;
      while (!found && std::getline(folders, folder, ':')) {
        if (!folder.empty() && file_exists(folder + "/" + path)) {
          path = folder + "/" + path;
          found = true;
        }
      }
    }
    if (!found)
      return MS::kFailure;
  }
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  // A file that defines no registered translator's options procedure does
  // not count as that translator's script.
  bool any_procedure = false, defines = false;
  for (const TranslatorEntry& t : h.translators) {
    if (t.options_script.empty())
      continue;
    any_procedure = true;
    defines = defines || defines_procedure(text.str(), t.options_script);
  }
  if (any_procedure && !defines)
    return MS::kFailure;
  h.sourced.push_back(path);
  return MS::kSuccess;
}

MStatus MGlobal::executeCommand(const MString& command, bool, bool) { return execute_command_line(command.asChar()); }

MGlobal::MMayaState MGlobal::mayaState(MStatus* ReturnStatus) {
  set_status(ReturnStatus, MS::kSuccess);
  return kLibraryApp;
}

// ---------------------------------------------------------------------------
// MFileIO, MFileObject

MString MFileIO::currentFile() { return MString(scene().current_file.c_str()); }
bool MFileIO::isReadingFile() { return false; }
bool MFileIO::isWritingFile() { return false; }

MFileObject::MFileObject() {}
MFileObject::MFileObject(const MFileObject& other) : _path(other._path), _name(other._name) {}
MFileObject::~MFileObject() {}
MFileObject& MFileObject::operator=(const MFileObject& other) {
  _path = other._path;
  _name = other._name;
  return *this;
}
MStatus MFileObject::setRawFullName(const MString& fullFileName) {
  std::string s = fullFileName.asChar();
  size_t slash = s.rfind('/');
  if (slash == std::string::npos) {
    _path = "";
    _name = s.c_str();
  } else {
    _path = s.substr(0, slash).c_str();
    _name = s.substr(slash + 1).c_str();
    if (slash == 0)
      _path = "/";
  }
  return MS::kSuccess;
}
MStatus MFileObject::setRawName(const MString& name) {
  _name = name;
  return MS::kSuccess;
}
MStatus MFileObject::setRawPath(const MString& path) {
  _path = path;
  return MS::kSuccess;
}
namespace {
std::string join(const std::string& path, const std::string& name) {
  if (path.empty())
    return name;
  if (path == "/")
    return "/" + name;
  return path + "/" + name;
}
} // namespace
MString MFileObject::rawFullName() const { return MString(join(_path.asChar(), _name.asChar()).c_str()); }
MString MFileObject::rawName() const { return _name; }
MString MFileObject::rawPath() const { return _path; }
MString MFileObject::expandedFullName() const {
  return MString(expand_environment(join(_path.asChar(), _name.asChar())).c_str());
}
MString MFileObject::expandedPath() const { return MString(expand_environment(_path.asChar()).c_str()); }
MString MFileObject::resolvedFullName() const {
  std::string full = expandedFullName().asChar();
  return file_exists(full) ? MString(full.c_str()) : MString();
}
MString MFileObject::resolvedName() const { return resolvedFullName().length() ? _name : MString(); }
MString MFileObject::resolvedPath() const { return resolvedFullName().length() ? expandedPath() : MString(); }
MString MFileObject::fullName() const { return expandedFullName(); }
bool MFileObject::exists() const { return file_exists(expandedFullName().asChar()); }

// ---------------------------------------------------------------------------
// MDistance

MDistance::MDistance() : _value(0), _unit(kCentimeters) {}
MDistance::MDistance(double value, Unit unitSystem) : _value(value), _unit(unitSystem) {}
MDistance::MDistance(const MDistance& o) : _value(o._value), _unit(o._unit) {}
MDistance& MDistance::operator=(const MDistance& o) {
  _value = o._value;
  _unit = o._unit;
  return *this;
}
MDistance::Unit MDistance::unit() const { return _unit; }
double MDistance::value() const { return _value; }
MStatus MDistance::setUnit(Unit newUnit) {
  _unit = newUnit;
  return MS::kSuccess;
}
MStatus MDistance::setValue(double newValue) {
  _value = newValue;
  return MS::kSuccess;
}
double MDistance::as(Unit otherUnit, MStatus* ReturnStatus) const {
  if (otherUnit <= kInvalid || otherUnit >= kLast) {
    set_status(ReturnStatus, MS::kInvalidParameter);
    return 0;
  }
  set_status(ReturnStatus, MS::kSuccess);
  return _value * centimetres_per(_unit) / centimetres_per(otherUnit);
}
double MDistance::asUnits(Unit otherUnit, MStatus* ReturnStatus) const { return as(otherUnit, ReturnStatus); }
double MDistance::asMeters() const { return as(kMeters); }
double MDistance::asCentimeters() const { return as(kCentimeters); }
double MDistance::asMillimeters() const { return as(kMillimeters); }
double MDistance::asInches() const { return as(kInches); }
double MDistance::asFeet() const { return as(kFeet); }
MDistance::Unit MDistance::uiUnit() { return scene().ui_unit; }
MStatus MDistance::setUIUnit(Unit newUnit) {
  scene().ui_unit = newUnit;
  return MS::kSuccess;
}
MDistance::Unit MDistance::internalUnit() { return scene().internal_unit; }
double MDistance::internalToUI(double v) { return MDistance(v, internalUnit()).as(uiUnit()); }
double MDistance::uiToInternal(double v) { return MDistance(v, uiUnit()).as(internalUnit()); }
MStatus MDistance::setInternalUnit(Unit internalUnit) {
  scene().internal_unit = internalUnit;
  return MS::kSuccess;
}

// ---------------------------------------------------------------------------
// MTime and MAnimControl

MTime::MTime() : _value(1), _unit(uiUnit()) {}
MTime::MTime(double value, Unit unit) : _value(value), _unit(unit) {}
MTime::MTime(const MTime& o) : _value(o._value), _unit(o._unit) {}
MTime& MTime::operator=(const MTime& o) {
  _value = o._value;
  _unit = o._unit;
  return *this;
}
MTime::Unit MTime::unit() const { return _unit; }
double MTime::value() const { return _value; }
MStatus MTime::setUnit(Unit newUnit) {
  _value = as(newUnit);
  _unit = newUnit;
  return MS::kSuccess;
}
MStatus MTime::setValue(double newValue) {
  _value = newValue;
  return MS::kSuccess;
}
double MTime::as(Unit otherUnit) const { return _value * seconds_per(_unit) / seconds_per(otherUnit); }
double MTime::asUnits(Unit otherUnit) const { return as(otherUnit); }
MTime::Unit MTime::uiUnit() { return scene().time_unit; }
MStatus MTime::setUIUnit(Unit newUnit) {
  scene().time_unit = newUnit;
  return MS::kSuccess;
}
bool MTime::operator==(const MTime& o) const { return fabs(as(kSeconds) - o.as(kSeconds)) < 1e-12; }
bool MTime::operator!=(const MTime& o) const { return !(*this == o); }
bool MTime::operator<(const MTime& o) const { return as(kSeconds) < o.as(kSeconds) && *this != o; }
bool MTime::operator>(const MTime& o) const { return o < *this; }
bool MTime::operator<=(const MTime& o) const { return !(o < *this); }
bool MTime::operator>=(const MTime& o) const { return !(*this < o); }
MTime MTime::operator+(const MTime& o) const { return MTime(_value + o.as(_unit), _unit); }
MTime MTime::operator-(const MTime& o) const { return MTime(_value - o.as(_unit), _unit); }
MTime MTime::operator+(double frames) const { return MTime(_value + frames, _unit); }
MTime MTime::operator-(double frames) const { return MTime(_value - frames, _unit); }

namespace {
MTime ui_time(double seconds) {
  MTime::Unit unit = scene().time_unit;
  return MTime(seconds / seconds_per(unit), unit);
}
} // namespace

MTime MAnimControl::minTime() { return ui_time(scene().min_time); }
MTime MAnimControl::maxTime() { return ui_time(scene().max_time); }
MTime MAnimControl::animationStartTime() { return ui_time(scene().start_time); }
MTime MAnimControl::animationEndTime() { return ui_time(scene().end_time); }
MTime MAnimControl::currentTime() { return ui_time(scene().current_time); }
MStatus MAnimControl::setCurrentTime(const MTime& time) {
  Scene& s = scene();
  s.current_time = time.as(MTime::kSeconds);
  ++s.time_changes;
  ++s.generation;
  return MS::kSuccess;
}
MStatus MAnimControl::setMinMaxTime(MTime min, MTime max) {
  scene().min_time = min.as(MTime::kSeconds);
  scene().max_time = max.as(MTime::kSeconds);
  return MS::kSuccess;
}
double MAnimControl::playbackBy() { return 1.0; }
