// MStatus, MString, MObject and the math types.
#include "scene.h"

#include <maya/MColor.h>
#include <maya/MDGContext.h>
#include <maya/MFloatVector.h>
#include <maya/MMatrix.h>
#include <maya/MObject.h>
#include <maya/MPoint.h>
#include <maya/MStatus.h>
#include <maya/MString.h>
#include <maya/MStringArray.h>
#include <maya/MTime.h>

#include <math.h>
#include <ostream>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>

using namespace mayasim;

// ---------------------------------------------------------------------------
// MStatus

MStatus::MStatus() : _code(kSuccess) {}
MStatus::MStatus(MStatusCode code) : _code(code) {}
MStatus::MStatus(const MStatus& other) : _code(other._code) {}
MStatus& MStatus::operator=(const MStatus& other) {
  _code = other._code;
  return *this;
}
bool MStatus::operator==(const MStatus& other) const { return _code == other._code; }
bool MStatus::operator==(const MStatusCode code) const { return _code == code; }
bool MStatus::operator!=(const MStatus& other) const { return _code != other._code; }
bool MStatus::operator!=(const MStatusCode code) const { return _code != code; }
MStatus::operator bool() const { return _code == kSuccess; }
bool MStatus::error() const { return _code != kSuccess; }
void MStatus::clear() { _code = kSuccess; }
MStatus::MStatusCode MStatus::statusCode() const { return _code; }
MString MStatus::errorString() const {
  static const char* const TEXTS[] = {"(kSuccess): No error",        "(kFailure): Unexpected Internal Failure",
                                      "(kInsufficientMemory)",       "(kInvalidParameter): Invalid Parameter",
                                      "(kLicenseFailure)",           "(kUnknownParameter)",
                                      "(kNotImplemented)",           "(kNotFound): Object does not exist",
                                      "(kEndOfFile)"};
  return MString(unsigned(_code) < 9 ? TEXTS[_code] : "(unknown)");
}
void MStatus::perror(const char* message) const { fprintf(stderr, "%s: %s\n", message, errorString().asChar()); }
void MStatus::perror(const MString& message) const { perror(message.asChar()); }
void MStatus::set(bool status, unsigned char statusCode, unsigned char) {
  _code = status ? kSuccess : MStatusCode(statusCode);
}
OPENMAYA_MAJOR_NAMESPACE_OPEN
std::ostream& operator<<(std::ostream& os, MStatus& status) { return os << status.errorString(); }
bool operator==(const MStatus::MStatusCode code, const MStatus& status) { return status == code; }
bool operator!=(const MStatus::MStatusCode code, const MStatus& status) { return status != code; }
OPENMAYA_NAMESPACE_CLOSE

// ---------------------------------------------------------------------------
// MString

namespace {
char* duplicate(const char* text, unsigned int n) {
  char* p = static_cast<char*>(malloc(n + 1));
  if (n)
    memcpy(p, text, n);
  p[n] = 0;
  return p;
}
} // namespace

MString::MString() : _text(duplicate("", 0)), _length(0) {}
MString::MString(const char* text) : _text(nullptr), _length(0) { set(text ? text : ""); }
MString::MString(const wchar_t* text) : _text(nullptr), _length(0) {
  std::string s;
  for (; text && *text; ++text) {
    unsigned c = unsigned(*text);
    if (c < 0x80) {
      s += char(c);
    } else if (c < 0x800) {
      s += char(0xC0 | (c >> 6));
      s += char(0x80 | (c & 0x3F));
    } else {
      s += char(0xE0 | (c >> 12));
      s += char(0x80 | ((c >> 6) & 0x3F));
      s += char(0x80 | (c & 0x3F));
    }
  }
  set(s.c_str());
}
MString::MString(const char* text, int charLength) : _text(nullptr), _length(0) { set(text, charLength); }
MString::MString(const MString& other) : _text(duplicate(other._text, other._length)), _length(other._length) {}
MString::~MString() { free(_text); }

MString& MString::operator=(const MString& other) {
  if (this != &other)
    set(other._text, int(other._length));
  return *this;
}
MString& MString::operator=(const char* text) {
  set(text);
  return *this;
}
MString& MString::operator=(double value) {
  set(value);
  return *this;
}
MString& MString::operator+=(const MString& other) {
  std::string s(_text, _length);
  s.append(other._text, other._length);
  set(s.data(), int(s.size()));
  return *this;
}
MString& MString::operator+=(const char* text) { return *this += MString(text); }
MString& MString::operator+=(double value) {
  MString v;
  v.set(value);
  return *this += v;
}
MString& MString::operator+=(int value) { return *this += MString(std::to_string(value).c_str()); }
MString& MString::operator+=(unsigned int value) { return *this += MString(std::to_string(value).c_str()); }
MString& MString::operator+=(float value) { return *this += double(value); }

bool MString::operator==(const MString& other) const {
  return _length == other._length && memcmp(_text, other._text, _length) == 0;
}
bool MString::operator==(const char* text) const { return text && strcmp(_text, text) == 0; }
bool MString::operator!=(const MString& other) const { return !(*this == other); }
bool MString::operator!=(const char* text) const { return !(*this == text); }
MString MString::operator+(const MString& other) const {
  MString r(*this);
  r += other;
  return r;
}
MString MString::operator+(const char* text) const { return *this + MString(text); }
MString MString::operator+(double value) const {
  MString r(*this);
  r += value;
  return r;
}
OPENMAYA_MAJOR_NAMESPACE_OPEN
MString operator+(const char* text, const MString& string) { return MString(text) + string; }
std::ostream& operator<<(std::ostream& os, const MString& string) { return os << string.asChar(); }
OPENMAYA_NAMESPACE_CLOSE

MStatus MString::set(const char* text) { return set(text, text ? int(strlen(text)) : 0); }
MStatus MString::setUTF8(const char* text) { return set(text); }
MStatus MString::set(const char* text, int charLength) {
  char* p = duplicate(text ? text : "", charLength < 0 ? 0 : unsigned(charLength));
  free(_text);
  _text = p;
  _length = charLength < 0 ? 0 : unsigned(charLength);
  return MS::kSuccess;
}
MStatus MString::set(double value) {
  char buffer[64];
  snprintf(buffer, sizeof(buffer), "%g", value);
  return set(buffer);
}
MStatus MString::set(double value, int precision) {
  char buffer[64];
  snprintf(buffer, sizeof(buffer), "%.*f", precision, value);
  return set(buffer);
}
const char* MString::asChar() const { return _text; }
const char* MString::asChar(int& length) const {
  length = int(_length);
  return _text;
}
const char* MString::asUTF8() const { return _text; }
const char* MString::asUTF8(int& length) const { return asChar(length); }
unsigned int MString::length() const { return _length; }
unsigned int MString::numChars() const {
  unsigned n = 0;
  for (unsigned i = 0; i < _length; ++i)
    if ((static_cast<unsigned char>(_text[i]) & 0xC0) != 0x80)
      ++n;
  return n;
}
void MString::clear() { set(""); }
int MString::index(char c) const {
  const char* p = static_cast<const char*>(memchr(_text, c, _length));
  return p ? int(p - _text) : -1;
}
int MString::rindex(char c) const {
  for (int i = int(_length) - 1; i >= 0; --i)
    if (_text[i] == c)
      return i;
  return -1;
}
MStatus MString::split(char separator, MStringArray& parts) const {
  // Maya drops empty pieces: "a;;b;" gives "a" and "b".
  parts.clear();
  std::string piece;
  for (unsigned i = 0; i <= _length; ++i) {
    if (i == _length || _text[i] == separator) {
      if (!piece.empty())
        parts.append(MString(piece.c_str()));
      piece.clear();
    } else {
      piece += _text[i];
    }
  }
  return MS::kSuccess;
}
MString MString::substring(int start, int end) const {
  if (start < 0)
    start = 0;
  if (end >= int(_length))
    end = int(_length) - 1;
  if (end < start)
    return MString();
  return MString(_text + start, end - start + 1);
}
MString& MString::toUpperCase() {
  for (unsigned i = 0; i < _length; ++i)
    if (_text[i] >= 'a' && _text[i] <= 'z')
      _text[i] = char(_text[i] - 32);
  return *this;
}
MString& MString::toLowerCase() {
  for (unsigned i = 0; i < _length; ++i)
    if (_text[i] >= 'A' && _text[i] <= 'Z')
      _text[i] = char(_text[i] + 32);
  return *this;
}
bool MString::isInt() const {
  char* end = nullptr;
  strtol(_text, &end, 10);
  return _length > 0 && end && *end == 0;
}
int MString::asInt() const { return atoi(_text); }
bool MString::isFloat() const { return isDouble(); }
float MString::asFloat() const { return float(atof(_text)); }
bool MString::isDouble() const {
  char* end = nullptr;
  strtod(_text, &end);
  return _length > 0 && end && *end == 0;
}
double MString::asDouble() const { return atof(_text); }
MStatus MString::substitute(const MString& source, const MString& target) {
  if (source.length() == 0)
    return MS::kInvalidParameter;
  std::string s(_text, _length), from(source.asChar()), to(target.asChar());
  for (size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
    s.replace(at, from.size(), to);
  return set(s.data(), int(s.size()));
}

// ---------------------------------------------------------------------------
// MObject

MObject MObject::kNullObj;

MObject::MObject() : _ptr(nullptr) {}
MObject::MObject(void* internal_object) : _ptr(internal_object) { retain(static_cast<ApiObject*>(_ptr)); }
MObject::MObject(const MObject& other) : _ptr(other._ptr) { retain(static_cast<ApiObject*>(_ptr)); }
MObject::~MObject() { release(static_cast<ApiObject*>(_ptr)); }
MObject& MObject::operator=(const MObject& other) {
  retain(static_cast<ApiObject*>(other._ptr));
  release(static_cast<ApiObject*>(_ptr));
  _ptr = other._ptr;
  return *this;
}
bool MObject::hasFn(MFn::Type type) const { return _ptr && static_cast<ApiObject*>(_ptr)->has_fn(type); }
bool MObject::isNull() const { return _ptr == nullptr; }
MFn::Type MObject::apiType() const { return _ptr ? static_cast<ApiObject*>(_ptr)->api_type() : MFn::kInvalid; }
const char* MObject::apiTypeStr() const {
  switch (apiType()) {
  case MFn::kInvalid:
    return "kInvalid";
  case MFn::kTransform:
    return "kTransform";
  case MFn::kJoint:
    return "kJoint";
  case MFn::kMesh:
    return "kMesh";
  case MFn::kCamera:
    return "kCamera";
  case MFn::kWorld:
    return "kWorld";
  case MFn::kSkinClusterFilter:
    return "kSkinClusterFilter";
  case MFn::kShadingEngine:
    return "kShadingEngine";
  case MFn::kLambert:
    return "kLambert";
  case MFn::kMatrixData:
    return "kMatrixData";
  case MFn::kMeshVertComponent:
    return "kMeshVertComponent";
  case MFn::kPlugin:
    return "kPlugin";
  default:
    return "kDependencyNode";
  }
}
bool MObject::operator==(const MObject& other) const { return _ptr == other._ptr; }
bool MObject::operator!=(const MObject& other) const { return _ptr != other._ptr; }
void print_element(std::ostream& os, const MObject& object) { os << object.apiTypeStr(); }

// ---------------------------------------------------------------------------
// MPoint, MFloatVector, MColor

const MPoint MPoint::origin;

MPoint::MPoint() : x(0), y(0), z(0), w(1) {}
MPoint::MPoint(double xx, double yy, double zz, double ww) : x(xx), y(yy), z(zz), w(ww) {}
MPoint::MPoint(const double d[4]) : x(d[0]), y(d[1]), z(d[2]), w(d[3]) {}
MPoint::MPoint(const float f[4]) : x(f[0]), y(f[1]), z(f[2]), w(f[3]) {}
MPoint::MPoint(const MFloatVector& v) : x(v.x), y(v.y), z(v.z), w(1) {}
MPoint::MPoint(const MPoint& o) : x(o.x), y(o.y), z(o.z), w(o.w) {}
MPoint& MPoint::operator=(const MPoint& o) {
  x = o.x;
  y = o.y;
  z = o.z;
  w = o.w;
  return *this;
}
MStatus MPoint::get(double d[4]) const {
  d[0] = x;
  d[1] = y;
  d[2] = z;
  d[3] = w;
  return MS::kSuccess;
}
MStatus MPoint::get(float f[4]) const {
  f[0] = float(x);
  f[1] = float(y);
  f[2] = float(z);
  f[3] = float(w);
  return MS::kSuccess;
}
double MPoint::operator[](unsigned int i) const { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
double& MPoint::operator[](unsigned int i) { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
MPoint MPoint::operator*(const MMatrix& m) const {
  MPoint r;
  r.x = x * m[0][0] + y * m[1][0] + z * m[2][0] + w * m[3][0];
  r.y = x * m[0][1] + y * m[1][1] + z * m[2][1] + w * m[3][1];
  r.z = x * m[0][2] + y * m[1][2] + z * m[2][2] + w * m[3][2];
  r.w = x * m[0][3] + y * m[1][3] + z * m[2][3] + w * m[3][3];
  return r;
}
MPoint& MPoint::operator*=(const MMatrix& m) { return *this = *this * m; }
MPoint MPoint::operator+(const MPoint& o) const { return MPoint(x + o.x, y + o.y, z + o.z, w); }
MPoint MPoint::operator-(const MPoint& o) const { return MPoint(x - o.x, y - o.y, z - o.z, w); }
MPoint MPoint::operator*(double s) const { return MPoint(x * s, y * s, z * s, w); }
bool MPoint::operator==(const MPoint& o) const { return x == o.x && y == o.y && z == o.z && w == o.w; }
bool MPoint::operator!=(const MPoint& o) const { return !(*this == o); }
MPoint& MPoint::cartesianize() {
  if (w != 0 && w != 1) {
    x /= w;
    y /= w;
    z /= w;
    w = 1;
  }
  return *this;
}
MPoint& MPoint::homogenize() {
  x *= w;
  y *= w;
  z *= w;
  return *this;
}
double MPoint::distanceTo(const MPoint& o) const {
  return sqrt((x - o.x) * (x - o.x) + (y - o.y) * (y - o.y) + (z - o.z) * (z - o.z));
}
bool MPoint::isEquivalent(const MPoint& o, double tolerance) const {
  return fabs(x - o.x) <= tolerance && fabs(y - o.y) <= tolerance && fabs(z - o.z) <= tolerance &&
         fabs(w - o.w) <= tolerance;
}
OPENMAYA_MAJOR_NAMESPACE_OPEN
std::ostream& operator<<(std::ostream& os, const MPoint& p) {
  return os << "[" << p.x << ", " << p.y << ", " << p.z << ", " << p.w << "]";
}
OPENMAYA_NAMESPACE_CLOSE

const MFloatVector MFloatVector::zero;
const MFloatVector MFloatVector::one(1, 1, 1);
const MFloatVector MFloatVector::xAxis(1, 0, 0);
const MFloatVector MFloatVector::yAxis(0, 1, 0);
const MFloatVector MFloatVector::zAxis(0, 0, 1);

MFloatVector::MFloatVector() : x(0), y(0), z(0) {}
MFloatVector::MFloatVector(float xx, float yy, float zz) : x(xx), y(yy), z(zz) {}
MFloatVector::MFloatVector(const float f[3]) : x(f[0]), y(f[1]), z(f[2]) {}
MFloatVector::MFloatVector(const double d[3]) : x(float(d[0])), y(float(d[1])), z(float(d[2])) {}
MFloatVector::MFloatVector(const MFloatVector& o) : x(o.x), y(o.y), z(o.z) {}
MFloatVector& MFloatVector::operator=(const MFloatVector& o) {
  x = o.x;
  y = o.y;
  z = o.z;
  return *this;
}
MStatus MFloatVector::get(float f[3]) const {
  f[0] = x;
  f[1] = y;
  f[2] = z;
  return MS::kSuccess;
}
float MFloatVector::operator[](unsigned int i) const { return i == 0 ? x : i == 1 ? y : z; }
float& MFloatVector::operator[](unsigned int i) { return i == 0 ? x : i == 1 ? y : z; }
MFloatVector MFloatVector::operator+(const MFloatVector& o) const { return MFloatVector(x + o.x, y + o.y, z + o.z); }
MFloatVector MFloatVector::operator-(const MFloatVector& o) const { return MFloatVector(x - o.x, y - o.y, z - o.z); }
MFloatVector MFloatVector::operator-() const { return MFloatVector(-x, -y, -z); }
MFloatVector MFloatVector::operator*(float s) const { return MFloatVector(x * s, y * s, z * s); }
MFloatVector MFloatVector::operator^(const MFloatVector& o) const {
  return MFloatVector(y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x);
}
float MFloatVector::operator*(const MFloatVector& o) const { return x * o.x + y * o.y + z * o.z; }
bool MFloatVector::operator==(const MFloatVector& o) const { return x == o.x && y == o.y && z == o.z; }
bool MFloatVector::operator!=(const MFloatVector& o) const { return !(*this == o); }
float MFloatVector::length() const { return sqrtf(x * x + y * y + z * z); }
MFloatVector MFloatVector::normal() const {
  float l = length();
  return l > 0 ? MFloatVector(x / l, y / l, z / l) : *this;
}
MStatus MFloatVector::normalize() {
  *this = normal();
  return MS::kSuccess;
}
bool MFloatVector::isEquivalent(const MFloatVector& o, float tolerance) const {
  return fabsf(x - o.x) <= tolerance && fabsf(y - o.y) <= tolerance && fabsf(z - o.z) <= tolerance;
}
OPENMAYA_MAJOR_NAMESPACE_OPEN
std::ostream& operator<<(std::ostream& os, const MFloatVector& v) {
  return os << "[" << v.x << ", " << v.y << ", " << v.z << "]";
}
OPENMAYA_NAMESPACE_CLOSE

const MColor MColor::kOpaqueBlack(0, 0, 0, 1);

MColor::MColor() : r(0), g(0), b(0), a(1) {}
MColor::MColor(float rr, float gg, float bb, float aa) : r(rr), g(gg), b(bb), a(aa) {}
MColor::MColor(const float rgb[3]) : r(rgb[0]), g(rgb[1]), b(rgb[2]), a(1) {}
MColor::MColor(float alpha) : r(0), g(0), b(0), a(alpha) {}
MColor::MColor(const MColor& o) : r(o.r), g(o.g), b(o.b), a(o.a) {}
MColor& MColor::operator=(const MColor& o) {
  r = o.r;
  g = o.g;
  b = o.b;
  a = o.a;
  return *this;
}
bool MColor::get(float f[3]) const {
  f[0] = r;
  f[1] = g;
  f[2] = b;
  return true;
}
float MColor::operator[](unsigned int i) const { return i == 0 ? r : i == 1 ? g : i == 2 ? b : a; }
float& MColor::operator[](unsigned int i) { return i == 0 ? r : i == 1 ? g : i == 2 ? b : a; }
bool MColor::operator==(const MColor& o) const { return r == o.r && g == o.g && b == o.b && a == o.a; }
bool MColor::operator!=(const MColor& o) const { return !(*this == o); }
OPENMAYA_MAJOR_NAMESPACE_OPEN
std::ostream& operator<<(std::ostream& os, const MColor& c) {
  return os << "[" << c.r << ", " << c.g << ", " << c.b << ", " << c.a << "]";
}
OPENMAYA_NAMESPACE_CLOSE

// ---------------------------------------------------------------------------
// MMatrix

const MMatrix MMatrix::identity;

MMatrix::MMatrix() { setToIdentity(); }
MMatrix::MMatrix(const MMatrix& o) { memcpy(matrix, o.matrix, sizeof(matrix)); }
MMatrix::MMatrix(const double m[4][4]) { memcpy(matrix, m, sizeof(matrix)); }
MMatrix::MMatrix(const float m[4][4]) {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      matrix[r][c] = m[r][c];
}
MMatrix::~MMatrix() {}
MMatrix& MMatrix::operator=(const MMatrix& o) {
  memcpy(matrix, o.matrix, sizeof(matrix));
  return *this;
}
double MMatrix::operator()(unsigned int r, unsigned int c) const { return matrix[r][c]; }
double& MMatrix::operator()(unsigned int r, unsigned int c) { return matrix[r][c]; }
const double* MMatrix::operator[](unsigned int r) const { return matrix[r]; }
double* MMatrix::operator[](unsigned int r) { return matrix[r]; }
MStatus MMatrix::get(double d[4][4]) const {
  memcpy(d, matrix, sizeof(matrix));
  return MS::kSuccess;
}
MStatus MMatrix::get(float f[4][4]) const {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      f[r][c] = float(matrix[r][c]);
  return MS::kSuccess;
}
MMatrix MMatrix::transpose() const {
  MMatrix t;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      t.matrix[r][c] = matrix[c][r];
  return t;
}
MMatrix MMatrix::inverse() const {
  // Gauss-Jordan with partial pivoting.
  double a[4][8];
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 8; ++c)
      a[r][c] = c < 4 ? matrix[r][c] : (c - 4 == r ? 1.0 : 0.0);
  for (int col = 0; col < 4; ++col) {
    int pivot = col;
    for (int r = col + 1; r < 4; ++r)
      if (fabs(a[r][col]) > fabs(a[pivot][col]))
        pivot = r;
    if (fabs(a[pivot][col]) < 1e-300)
      return MMatrix();
    for (int c = 0; c < 8; ++c) {
      double t = a[col][c];
      a[col][c] = a[pivot][c];
      a[pivot][c] = t;
    }
    double d = a[col][col];
    for (int c = 0; c < 8; ++c)
      a[col][c] /= d;
    for (int r = 0; r < 4; ++r) {
      if (r == col)
        continue;
      double f = a[r][col];
      for (int c = 0; c < 8; ++c)
        a[r][c] -= f * a[col][c];
    }
  }
  MMatrix inv;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      inv.matrix[r][c] = a[r][c + 4];
  return inv;
}
MMatrix& MMatrix::setToIdentity() {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      matrix[r][c] = r == c ? 1.0 : 0.0;
  return *this;
}
MMatrix& MMatrix::setToProduct(const MMatrix& left, const MMatrix& right) { return *this = left * right; }
MMatrix MMatrix::operator*(const MMatrix& o) const {
  MMatrix p;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) {
      double s = 0;
      for (int k = 0; k < 4; ++k)
        s += matrix[r][k] * o.matrix[k][c];
      p.matrix[r][c] = s;
    }
  return p;
}
MMatrix& MMatrix::operator*=(const MMatrix& o) { return *this = *this * o; }
MMatrix MMatrix::operator*(double s) const {
  MMatrix p(*this);
  for (auto& row : p.matrix)
    for (double& v : row)
      v *= s;
  return p;
}
OPENMAYA_MAJOR_NAMESPACE_OPEN
MMatrix operator*(double s, const MMatrix& m) { return m * s; }
OPENMAYA_NAMESPACE_CLOSE
MMatrix MMatrix::operator+(const MMatrix& o) const {
  MMatrix p;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      p.matrix[r][c] = matrix[r][c] + o.matrix[r][c];
  return p;
}
MMatrix MMatrix::operator-(const MMatrix& o) const {
  MMatrix p;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      p.matrix[r][c] = matrix[r][c] - o.matrix[r][c];
  return p;
}
bool MMatrix::operator==(const MMatrix& o) const { return memcmp(matrix, o.matrix, sizeof(matrix)) == 0; }
bool MMatrix::operator!=(const MMatrix& o) const { return !(*this == o); }
bool MMatrix::isEquivalent(const MMatrix& o, double tolerance) const {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      if (fabs(matrix[r][c] - o.matrix[r][c]) > tolerance)
        return false;
  return true;
}
double MMatrix::det4x4() const {
  const double(*m)[4] = matrix;
  double s0 = m[0][0] * m[1][1] - m[1][0] * m[0][1], s1 = m[0][0] * m[1][2] - m[1][0] * m[0][2];
  double s2 = m[0][0] * m[1][3] - m[1][0] * m[0][3], s3 = m[0][1] * m[1][2] - m[1][1] * m[0][2];
  double s4 = m[0][1] * m[1][3] - m[1][1] * m[0][3], s5 = m[0][2] * m[1][3] - m[1][2] * m[0][3];
  double c5 = m[2][2] * m[3][3] - m[3][2] * m[2][3], c4 = m[2][1] * m[3][3] - m[3][1] * m[2][3];
  double c3 = m[2][1] * m[3][2] - m[3][1] * m[2][2], c2 = m[2][0] * m[3][3] - m[3][0] * m[2][3];
  double c1 = m[2][0] * m[3][2] - m[3][0] * m[2][2], c0 = m[2][0] * m[3][1] - m[3][0] * m[2][1];
  return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
}
OPENMAYA_MAJOR_NAMESPACE_OPEN
std::ostream& operator<<(std::ostream& os, const MMatrix& m) {
  os << "[";
  for (int r = 0; r < 4; ++r) {
    os << (r ? ", [" : "[");
    for (int c = 0; c < 4; ++c)
      os << (c ? ", " : "") << m.matrix[r][c];
    os << "]";
  }
  return os << "]";
}
OPENMAYA_NAMESPACE_CLOSE

// ---------------------------------------------------------------------------
// MDGContext

MDGContext MDGContext::fsNormal;

MDGContext::MDGContext() : _normal(true), _seconds(0) {}
MDGContext::MDGContext(const MTime& when) : _normal(false), _seconds(when.as(MTime::kSeconds)) {}
MDGContext::MDGContext(const MDGContext& o) : _normal(o._normal), _seconds(o._seconds) {}
MDGContext::~MDGContext() {}
MDGContext& MDGContext::operator=(const MDGContext& o) {
  _normal = o._normal;
  _seconds = o._seconds;
  return *this;
}
bool MDGContext::isNormal(MStatus* ReturnStatus) const {
  if (ReturnStatus)
    *ReturnStatus = MS::kSuccess;
  return _normal;
}
MStatus MDGContext::getTime(MTime& time) const {
  time = MTime(_normal ? scene().current_time : _seconds, MTime::kSeconds);
  return MS::kSuccess;
}
