// Any bytes as a Maya ASCII file: the loader must finish (no crash, no hang,
// no leak) and either load the scene or say why not, naming the file. A
// loaded scene is then read as the exporter reads it: the outline, every
// mesh's data and every transform's matrix at a few times.
#include "mayasim/maya_ascii.h"

#include <maya/MAnimControl.h>
#include <maya/MDagPath.h>
#include <maya/MFloatVectorArray.h>
#include <maya/MFnDagNode.h>
#include <maya/MFnMesh.h>
#include <maya/MItDag.h>
#include <maya/MPointArray.h>
#include <maya/MTime.h>

#include <stdio.h>
#include <stdlib.h>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  mayasim::MayaAsciiResult result;
  bool loaded = mayasim::load_maya_ascii_text(reinterpret_cast<const char*>(data), size, "fuzz.ma", result);
  if (!loaded) {
    if (result.error.compare(0, 7, "fuzz.ma") != 0) {
      fprintf(stderr, "an error that does not name the file: %s\n", result.error.c_str());
      abort();
    }
    return 0;
  }
  std::string outline = mayasim::outline_scene();
  for (double frame : {-3.0, 1.0, 2.5, 1000.0}) {
    MAnimControl::setCurrentTime(MTime(frame, MTime::uiUnit()));
    for (MItDag it; !it.isDone(); it.next()) {
      MDagPath path;
      it.getPath(path);
      MFnDagNode node(path);
      MMatrix m = node.transformationMatrix();
      (void)m;
      MStatus status;
      MFnMesh mesh(path, &status);
      if (!status)
        continue;
      MPointArray points;
      MFloatVectorArray normals;
      mesh.getPoints(points);
      mesh.getNormals(normals);
    }
  }
  return 0;
}
