// MString: the API's text type (UTF-8 in mayasim).
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MStatus.h>

#include <iosfwd>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class MStringArray;

class OPENMAYA_EXPORT MString {
public:
  MString();
  MString(const char* text);
  MString(const wchar_t* text);
  MString(const char* text, int charLength);
  MString(const MString& other);
  ~MString();

  MString& operator=(const MString& other);
  MString& operator=(const char* text);
  MString& operator=(double value);
  MString& operator+=(const MString& other);
  MString& operator+=(const char* text);
  MString& operator+=(double value);
  MString& operator+=(int value);
  MString& operator+=(unsigned int value);
  MString& operator+=(float value);

  bool operator==(const MString& other) const;
  bool operator==(const char* text) const;
  bool operator!=(const MString& other) const;
  bool operator!=(const char* text) const;

  MString operator+(const MString& other) const;
  MString operator+(const char* text) const;
  MString operator+(double value) const;

  MStatus set(const char* text);
  MStatus setUTF8(const char* text);
  MStatus set(const char* text, int charLength);
  MStatus set(double value);
  MStatus set(double value, int precision);

  const char* asChar() const;
  const char* asChar(int& length) const;
  const char* asUTF8() const;
  const char* asUTF8(int& length) const;

  // Bytes of the text, without the terminating zero.
  unsigned int length() const;
  unsigned int numChars() const;
  void clear();
  int index(char c) const;
  int rindex(char c) const;
  MStatus split(char separator, MStringArray& parts) const;
  // Characters start to end, both included.
  MString substring(int start, int end) const;
  MString& toUpperCase();
  MString& toLowerCase();
  bool isInt() const;
  int asInt() const;
  bool isFloat() const;
  float asFloat() const;
  bool isDouble() const;
  double asDouble() const;
  MStatus substitute(const MString& source, const MString& target);

  friend OPENMAYA_EXPORT MString operator+(const char* text, const MString& string);
  friend OPENMAYA_EXPORT std::ostream& operator<<(std::ostream& os, const MString& string);

private:
  char* _text;
  unsigned int _length;
};

OPENMAYA_NAMESPACE_CLOSE
