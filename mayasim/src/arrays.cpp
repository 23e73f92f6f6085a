// The API array classes, all over one std::vector implementation.
#include "array_impl.h"

#include <maya/MStringArray.h>
#include <maya/MIntArray.h>
#include <maya/MFloatArray.h>
#include <maya/MDoubleArray.h>
#include <maya/MPointArray.h>
#include <maya/MFloatVectorArray.h>
#include <maya/MColorArray.h>
#include <maya/MDagPathArray.h>
#include <maya/MPlugArray.h>
#include <maya/MObjectArray.h>

MAYASIM_DEFINE_ARRAY(MStringArray, MString, 1, 1)
MAYASIM_DEFINE_ARRAY(MIntArray, int, 1, 1)
MAYASIM_DEFINE_ARRAY(MFloatArray, float, 1, 1)
MAYASIM_DEFINE_ARRAY(MDoubleArray, double, 1, 1)
MAYASIM_DEFINE_ARRAY(MPointArray, MPoint, 0, 1)
MAYASIM_DEFINE_ARRAY(MFloatVectorArray, MFloatVector, 0, 1)
MAYASIM_DEFINE_ARRAY(MColorArray, MColor, 0, 1)
MAYASIM_DEFINE_ARRAY(MDagPathArray, MDagPath, 0, 0)
MAYASIM_DEFINE_ARRAY(MPlugArray, MPlug, 0, 1)
MAYASIM_DEFINE_ARRAY(MObjectArray, MObject, 0, 1)

MStringArray::MStringArray(const char* source[], unsigned int count) : _array(new std::vector<MString>()) {
  for (unsigned int i = 0; i < count; ++i)
    array_of<MString>(_array).push_back(MString(source[i]));
}

MStatus MPointArray::append(double x, double y, double z, double w) { return append(MPoint(x, y, z, w)); }
MStatus MColorArray::append(float r, float g, float b, float a) { return append(MColor(r, g, b, a)); }
