// MGlobal: global functions (messages, selection, scripts, commands).
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MSelectionList.h>
#include <maya/MString.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MGlobal {
public:
  enum ListAdjustment { kReplaceList, kXORWithList, kAddToList, kRemoveFromList, kAddToHeadOfList };
  enum MMayaState { kInteractive, kBatch, kLibraryApp, kBaseUIMode };

  static void displayInfo(const MString& text);
  static void displayWarning(const MString& text);
  static void displayError(const MString& text);
  static MStatus getActiveSelectionList(MSelectionList& dest, bool orderedSelectionIfAvailable = false);
  static MStatus setActiveSelectionList(const MSelectionList& list, ListAdjustment mode = kReplaceList);
  static MStatus getSelectionListByName(const MString& name, MSelectionList& list);
  // Runs a MEL file.
  static MStatus sourceFile(const MString& fileName);
  static MStatus executeCommand(const MString& command, bool displayEnabled = false, bool undoEnabled = false);
  static MMayaState mayaState(MStatus* ReturnStatus = NULL);
};

OPENMAYA_NAMESPACE_CLOSE
