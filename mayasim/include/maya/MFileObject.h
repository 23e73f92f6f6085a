// MFileObject: a file path with its raw, expanded and resolved forms.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MString.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MFileObject {
public:
  MFileObject();
  MFileObject(const MFileObject& other);
  virtual ~MFileObject();
  MFileObject& operator=(const MFileObject& other);

  // Splits at the last '/': the path before it, the name after it.
  MStatus setRawFullName(const MString& fullFileName);
  MStatus setRawName(const MString& name);
  MStatus setRawPath(const MString& path);
  MString rawFullName() const;
  MString rawName() const;
  MString rawPath() const;
  // Environment variables expanded; not looked for on disk.
  MString expandedFullName() const;
  MString expandedPath() const;
  // Expanded, and empty when no such file exists.
  MString resolvedFullName() const;
  MString resolvedName() const;
  MString resolvedPath() const;
  // Obsolete since 2013 but still used by file translators.
  MAYASIM_OBSOLETE("expandedFullName()") MString fullName() const;
  bool exists() const;

private:
  MString _path;
  MString _name;
};

OPENMAYA_NAMESPACE_CLOSE
