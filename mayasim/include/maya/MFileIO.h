// MFileIO: the scene file.
#pragma once

#include <maya/MString.h>

class OPENMAYA_EXPORT MFileIO {
public:
  // The name of the currently open scene file.
  static MString currentFile();
  static bool isReadingFile();
  static bool isWritingFile();
};
