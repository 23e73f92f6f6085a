// MPxFileTranslator: the base of file formats a plug-in adds to Maya.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MFileObject.h>
#include <maya/MString.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MPxFileTranslator {
public:
  enum MFileKind { kIsMyFileType = 0, kCouldBeMyFileType = 1, kNotMyFileType = 2 };
  enum FileAccessMode {
    kUnknownAccessMode = 0,
    kOpenAccessMode = 1,
    kReferenceAccessMode = 2,
    kImportAccessMode = 3,
    kSaveAccessMode = 4,
    kExportAccessMode = 5,
    kExportActiveAccessMode = 6
  };

  MPxFileTranslator();
  virtual ~MPxFileTranslator();

  virtual MStatus reader(const MFileObject& file, const MString& optionsString, FileAccessMode mode);
  virtual MStatus writer(const MFileObject& file, const MString& optionsString, FileAccessMode mode);
  virtual bool haveReadMethod() const;
  virtual bool haveWriteMethod() const;
  virtual bool haveNamespaceSupport() const;
  virtual bool haveReferenceMethod() const;
  virtual bool allowMultipleFileOptimization() const;
  virtual MString defaultExtension() const;
  virtual MString filter() const;
  virtual bool canBeOpened() const;
  virtual MFileKind identifyFile(const MFileObject& file, const char* buffer, short size) const;

  static FileAccessMode fileAccessMode();
};

OPENMAYA_NAMESPACE_CLOSE
