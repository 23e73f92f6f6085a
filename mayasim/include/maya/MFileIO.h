// MFileIO: the scene file.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MString.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MFileIO {
public:
  // The name of the currently open scene file.
  static MString currentFile();
  static bool isReadingFile();
  static bool isWritingFile();
};

OPENMAYA_NAMESPACE_CLOSE
