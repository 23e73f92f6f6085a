// Basic types of the Maya API as mayasim declares them (API version 201300).
#pragma once

#include <maya/MApiNamespace.h>

#include <stddef.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

#ifndef NULL
  #define NULL 0
#endif

#define MAYA_API_VERSION 201300

#if defined(_WIN32)
  #define PLUGIN_EXPORT _declspec(dllexport)
#else
  #define PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

// Classes of the stand-in library are visible to modules built with hidden
// visibility, as Maya's own libraries' classes are.
#if defined(_WIN32)
  #define OPENMAYA_EXPORT
#else
  #define OPENMAYA_EXPORT __attribute__((visibility("default")))
#endif
#define OPENMAYAANIM_EXPORT OPENMAYA_EXPORT

class MStatus;
class MString;
class MSyntax;
class MObject;

typedef void* (*MCreatorFunction)();
typedef MSyntax (*MCreateSyntaxFunction)();
typedef MStatus (*MInitializeFunction)();

typedef float float2[2];
typedef float float3[3];
typedef double double2[2];
typedef double double3[3];
typedef double double4[4];
typedef int int2[2];
typedef int int3[3];

class OPENMAYA_EXPORT MSpace {
public:
  enum Space {
    kInvalid = 0,
    kTransform = 1,
    kPreTransform = 2,
    kPostTransform = 3,
    kWorld = 4,
    kObject = kPreTransform,
    kLast = 5
  };
};

OPENMAYA_NAMESPACE_CLOSE
