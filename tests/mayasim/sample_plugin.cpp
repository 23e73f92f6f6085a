// A tiny plug-in that lists the scene's transforms, built as a module and
// loaded by the host by path in the tests:
//
//   list_transforms [-p/-prefix text] [-c/-count] [-j/-joints]
//
// prints one info line per transform (its full path after the prefix), or
// only their number with -count; -joints lists joints only.
#include <maya/MArgDatabase.h>
#include <maya/MDagPath.h>
#include <maya/MFnPlugin.h>
#include <maya/MGlobal.h>
#include <maya/MItDag.h>
#include <maya/MPxCommand.h>
#include <maya/MSyntax.h>

#include <stdio.h>

namespace {

class ListTransforms : public MPxCommand {
public:
  MStatus doIt(const MArgList& args) override {
    MSyntax syntax;
    syntax.addFlag("-p", "-prefix", MSyntax::kString);
    syntax.addFlag("-c", "-count");
    syntax.addFlag("-j", "-joints");
    MStatus status;
    MArgDatabase parsed(syntax, args, &status);
    if (!status)
      return MS::kFailure;
    MString prefix = parsed.flagArgumentString("prefix", 0);
    MFn::Type filter = parsed.isFlagSet("-j") ? MFn::kJoint : MFn::kTransform;
    int count = 0;
    for (MItDag it(MItDag::kDepthFirst, filter); !it.isDone(); it.next()) {
      ++count;
      if (!parsed.isFlagSet("c"))
        MGlobal::displayInfo(prefix + it.fullPathName());
    }
    if (parsed.isFlagSet("-count")) {
      char text[32];
      snprintf(text, sizeof text, "%d transforms", count);
      MGlobal::displayInfo(text);
    }
    return MS::kSuccess;
  }
  static void* create() { return new ListTransforms; }
};

} // namespace

PLUGIN_EXPORT MStatus initializePlugin(MObject object) {
  MFnPlugin plugin(object, "Sample", "1.0", "Any");
  return plugin.registerCommand("list_transforms", ListTransforms::create);
}

PLUGIN_EXPORT MStatus uninitializePlugin(MObject object) {
  MFnPlugin plugin(object);
  return plugin.deregisterCommand("list_transforms");
}
