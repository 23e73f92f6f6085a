// MFnPlugin: registers what a plug-in adds to Maya.
//
// Included in exactly one file of a plug-in: it defines the exported
// MApiVersion text unless MNoVersionString is defined first.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MFnBase.h>
#include <maya/MString.h>
#include <maya/MTypes.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MFnPlugin : public MFnBase {
  MAYASIM_MINIMAL_MFN(MFnPlugin)

public:
  MFnPlugin();
  MFnPlugin(MObject& object, const char* vendor = "Unknown", const char* version = "Unknown",
            const char* requiredApiVersion = "Any", MStatus* ReturnStatus = 0L);
  ~MFnPlugin() override;
  MFn::Type type() const override;

  MString vendor(MStatus* ReturnStatus = NULL) const;
  MString version(MStatus* ReturnStatus = NULL) const;
  MString apiVersion(MStatus* ReturnStatus = NULL) const;
  MString name(MStatus* ReturnStatus = NULL) const;
  // The folder the plug-in was loaded from.
  MString loadPath(MStatus* ReturnStatus = NULL) const;
  MStatus setName(const MString& newName, bool allowRename = true);

  MStatus registerCommand(const MString& commandName, MCreatorFunction creatorFunction,
                          MCreateSyntaxFunction createSyntaxFunction = NULL);
  MStatus deregisterCommand(const MString& commandName);
  // The string parameters are char* in the 2013 API.
  MStatus registerFileTranslator(const MString& translatorName, char* pixmapName, MCreatorFunction creatorFunction,
                                 char* optionsScriptName = NULL, char* defaultOptionsString = NULL,
                                 bool requiresFullMel = false,
                                 MString dataStorageLocation = MFnPlugin::kDefaultDataLocation);
  MStatus deregisterFileTranslator(const MString& translatorName);

  static const MString kDefaultDataLocation;

private:
  MString _vendor;
  MString _version;
};

OPENMAYA_NAMESPACE_CLOSE

#ifndef MNoVersionString
extern "C" {
PLUGIN_EXPORT char MApiVersion[] = "201300";
}
#endif
