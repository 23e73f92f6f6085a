// One implementation for every API array class: the class keeps an opaque
// pointer to a std::vector of its element type.
#pragma once

#include <maya/MStatus.h>

#include <ostream>
#include <vector>
#include <maya/MDagPath.h>
#include <maya/MObject.h>
#include <maya/MPlug.h>

void print_element(std::ostream& os, const MDagPath& path);
void print_element(std::ostream& os, const MObject& object);
void print_element(std::ostream& os, const MPlug& plug);
template <typename T>
inline void print_element(std::ostream& os, const T& value) {
  os << value;
}

template <typename T>
inline std::vector<T>& array_of(void* p) {
  return *static_cast<std::vector<T>*>(p);
}

#define MAYASIM_DEFINE_ARRAY(NAME, ELEM, CONST_BY_VALUE, HAS_SOURCE_CTOR)                                   \
  namespace {                                                                                              \
  inline std::vector<ELEM>& vec_##NAME(void* p) { return array_of<ELEM>(p); }                              \
  }                                                                                                        \
  NAME::NAME() : _array(new std::vector<ELEM>()) {}                                                        \
  NAME::NAME(const NAME& other) : _array(new std::vector<ELEM>(vec_##NAME(other._array))) {}               \
  NAME::NAME(unsigned int initialSize, const ELEM& initialValue)                                           \
      : _array(new std::vector<ELEM>(initialSize, initialValue)) {}                                        \
  NAME::~NAME() { delete &vec_##NAME(_array); }                                                            \
  NAME& NAME::operator=(const NAME& other) {                                                               \
    if (this != &other)                                                                                    \
      vec_##NAME(_array) = vec_##NAME(other._array);                                                       \
    return *this;                                                                                          \
  }                                                                                                        \
  ELEM& NAME::operator[](unsigned int index) { return vec_##NAME(_array)[index]; }                         \
  unsigned int NAME::length() const { return unsigned(vec_##NAME(_array).size()); }                        \
  MStatus NAME::setLength(unsigned int length) {                                                           \
    vec_##NAME(_array).resize(length);                                                                     \
    return MS::kSuccess;                                                                                   \
  }                                                                                                        \
  MStatus NAME::append(const ELEM& element) {                                                              \
    vec_##NAME(_array).push_back(element);                                                                 \
    return MS::kSuccess;                                                                                   \
  }                                                                                                        \
  MStatus NAME::remove(unsigned int index) {                                                               \
    if (index >= length())                                                                                 \
      return MS::kInvalidParameter;                                                                        \
    vec_##NAME(_array).erase(vec_##NAME(_array).begin() + index);                                          \
    return MS::kSuccess;                                                                                   \
  }                                                                                                        \
  MStatus NAME::insert(const ELEM& element, unsigned int index) {                                          \
    if (index > length())                                                                                  \
      return MS::kInvalidParameter;                                                                        \
    vec_##NAME(_array).insert(vec_##NAME(_array).begin() + index, element);                                \
    return MS::kSuccess;                                                                                   \
  }                                                                                                        \
  MStatus NAME::set(const ELEM& element, unsigned int index) {                                             \
    if (index >= length())                                                                                 \
      return MS::kInvalidParameter;                                                                        \
    vec_##NAME(_array)[index] = element;                                                                   \
    return MS::kSuccess;                                                                                   \
  }                                                                                                        \
  MStatus NAME::clear() {                                                                                  \
    vec_##NAME(_array).clear();                                                                            \
    return MS::kSuccess;                                                                                   \
  }                                                                                                        \
  MStatus NAME::copy(const NAME& source) {                                                                 \
    *this = source;                                                                                        \
    return MS::kSuccess;                                                                                   \
  }                                                                                                        \
  void NAME::setSizeIncrement(unsigned int) {}                                                             \
  unsigned int NAME::sizeIncrement() const { return 1; }                                                   \
  OPENMAYA_MAJOR_NAMESPACE_OPEN                                                                            \
  std::ostream& operator<<(std::ostream& os, const NAME& array) {                                          \
    os << "[";                                                                                             \
    for (unsigned int i = 0; i < array.length(); ++i)                                                      \
    {                                                                                                      \
      os << (i ? ", " : "");                                                                               \
      print_element(os, array[i]);                                                                         \
    }                                                                                                      \
    return os << "]";                                                                                      \
  }                                                                                                        \
  OPENMAYA_NAMESPACE_CLOSE                                                                                 \
  MAYASIM_ARRAY_CONST_ACCESS_##CONST_BY_VALUE(NAME, ELEM)                                                  \
  MAYASIM_ARRAY_SOURCE_##HAS_SOURCE_CTOR(NAME, ELEM)

#define MAYASIM_ARRAY_CONST_ACCESS_1(NAME, ELEM)                                                           \
  ELEM NAME::operator[](unsigned int index) const { return vec_##NAME(_array)[index]; }
#define MAYASIM_ARRAY_CONST_ACCESS_0(NAME, ELEM)                                                           \
  const ELEM& NAME::operator[](unsigned int index) const { return vec_##NAME(_array)[index]; }

#define MAYASIM_ARRAY_SOURCE_1(NAME, ELEM)                                                                 \
  NAME::NAME(const ELEM source[], unsigned int count) : _array(new std::vector<ELEM>(source, source + count)) {}
#define MAYASIM_ARRAY_SOURCE_0(NAME, ELEM)
