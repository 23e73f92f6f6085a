// MPxCommand: the base of commands a plug-in adds to MEL.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MArgList.h>
#include <maya/MSyntax.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MPxCommand {
public:
  MPxCommand();
  virtual ~MPxCommand();

  virtual MStatus doIt(const MArgList& args);
  virtual MStatus undoIt();
  virtual MStatus redoIt();
  // False by default: the command is destroyed right after doIt.
  virtual bool isUndoable() const;
  virtual bool hasSyntax() const;

  MSyntax syntax() const;
  MStatus setUndoable(bool state);

  static void displayInfo(const MString& text);
  static void displayWarning(const MString& text, bool showLineNumber = false);
  static void displayError(const MString& text, bool showLineNumber = false);
  static void clearResult();
  static void setResult(int result);
  static void setResult(bool result);
  static void setResult(double result);
  static void setResult(const char* result);
  static void setResult(const MString& result);
  static void appendToResult(const MString& result);

private:
  bool _undoable;
};

OPENMAYA_NAMESPACE_CLOSE
