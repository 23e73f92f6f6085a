// The host playing Maya for a plug-in: loading by path and API version,
// command lines tokenised as MEL does, command and translator objects
// destroyed right after use, failed initialisation, sourcing scripts, and
// the script editor.
#include <maya/MArgDatabase.h>
#include <maya/MFileObject.h>
#define MNoVersionString
#include <maya/MFnPlugin.h>
#include <maya/MGlobal.h>
#include <maya/MPxCommand.h>
#include <maya/MPxFileTranslator.h>
#include <maya/MSyntax.h>

#include "mayasim/builder.h"
#include "mayasim/host.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdio.h>
#include <stdlib.h>
#include <string>
#include <unistd.h>

using namespace mayasim::builder;
using mayasim::Host;
using mayasim::ScriptLine;

namespace {

std::vector<std::string> info_lines(const Host& host) {
  std::vector<std::string> lines;
  for (const ScriptLine& l : host.script_editor())
    if (l.kind == ScriptLine::INFO)
      lines.push_back(l.text);
  return lines;
}

// --- A linked-in plug-in whose objects count themselves ---------------------

int g_live_objects = 0;
std::string g_seen; // what the last command or writer saw

class ProbeCommand : public MPxCommand {
public:
  ProbeCommand() { ++g_live_objects; }
  ~ProbeCommand() override { --g_live_objects; }
  MStatus doIt(const MArgList& args) override {
    MSyntax syntax;
    syntax.addFlag("-f", "-file", MSyntax::kString);
    syntax.addFlag("-h", "-hidden");
    MStatus status;
    MArgDatabase parsed(syntax, args, &status);
    if (!status)
      return MS::kFailure;
    MStatus file_status;
    MString file = parsed.flagArgumentString("f", 0, &file_status);
    g_seen = std::string("file=[") + file.asChar() + "] " + (file_status ? "found" : "absent") +
             " hidden=" + (parsed.isFlagSet("-h") ? "1" : "0") + " hidden(long)=" +
             (parsed.isFlagSet("hidden") ? "1" : "0") + " args=" + std::to_string(args.length());
    g_seen += " alive=" + std::to_string(g_live_objects);
    return MS::kSuccess;
  }
  static void* create() { return new ProbeCommand; }
};

class ProbeTranslator : public MPxFileTranslator {
public:
  ProbeTranslator() { ++g_live_objects; }
  ~ProbeTranslator() override { --g_live_objects; }
  MStatus writer(const MFileObject& file, const MString& options, FileAccessMode mode) override {
    g_seen = std::string(file.expandedFullName().asChar()) + "|" + options.asChar() + "|" + std::to_string(int(mode)) +
             "|" + std::to_string(int(fileAccessMode())) + "|alive=" + std::to_string(g_live_objects);
    return MS::kSuccess;
  }
  bool haveWriteMethod() const override { return true; }
  static void* create() { return new ProbeTranslator; }
};

MStatus probe_initialize(MObject object) {
  MFnPlugin plugin(object, "Test", "1.0", "Any");
  MStatus s = plugin.registerCommand("probe", ProbeCommand::create);
  if (!s)
    return s;
  return plugin.registerFileTranslator("Probe", const_cast<char*>(""), ProbeTranslator::create,
                                       const_cast<char*>("probe_options"));
}

MStatus probe_uninitialize(MObject object) {
  MFnPlugin plugin(object);
  plugin.deregisterFileTranslator("Probe");
  return plugin.deregisterCommand("probe");
}

// Registers its command, then fails without cleaning up.
MStatus failing_initialize(MObject object) {
  MFnPlugin plugin(object, "Test", "1.0", "Any");
  plugin.registerCommand("half_done", ProbeCommand::create);
  return MS::kNotFound;
}

int g_uninitialized = 0;
MStatus counting_uninitialize(MObject) {
  ++g_uninitialized;
  return MS::kSuccess;
}

} // namespace

TEST(MayasimHost, LoadsASamplePluginByPathAndRunsItsCommand) {
  new_scene();
  MObject rig = transform("rig");
  joint("hip", rig);
  transform("crate");

  Host host;
  ASSERT_EQ(MS::kSuccess, host.load_plugin(SAMPLE_PLUGIN).statusCode()) << host.last_error();
  EXPECT_TRUE(host.is_loaded("sample_plugin"));
  ASSERT_TRUE(host.has_command("list_transforms"));

  host.clear_script_editor();
  ASSERT_EQ(MS::kSuccess, host.execute("list_transforms").statusCode());
  EXPECT_EQ((std::vector<std::string>{"|persp", "|top", "|front", "|side", "|rig", "|rig|hip", "|crate"}),
            info_lines(host));

  host.clear_script_editor();
  ASSERT_EQ(MS::kSuccess, host.execute("list_transforms -prefix \"node: \" -j").statusCode());
  EXPECT_EQ((std::vector<std::string>{"node: |rig|hip"}), info_lines(host));

  host.clear_script_editor();
  ASSERT_EQ(MS::kSuccess, host.execute("list_transforms -c").statusCode());
  EXPECT_EQ("7 transforms\n", host.script_editor_text());

  host.clear_script_editor();
  EXPECT_EQ(MS::kFailure, host.execute("list_transforms -bogus").statusCode());
  ASSERT_EQ(1u, host.script_editor().size());
  EXPECT_EQ(ScriptLine::ERROR, host.script_editor()[0].kind);

  ASSERT_EQ(MS::kSuccess, host.unload_plugin("sample_plugin").statusCode());
  EXPECT_FALSE(host.has_command("list_transforms"));
  EXPECT_EQ(MS::kFailure, host.execute("list_transforms").statusCode());
  EXPECT_EQ("// Error: Cannot find procedure \"list_transforms\".", mayasim::script_editor_form(host.script_editor().back()));
}

TEST(MayasimHost, RefusesModulesThatCannotBeLoaded) {
  Host host;
  EXPECT_EQ(MS::kFailure, host.load_plugin("/no/such/plugin.so").statusCode());
  EXPECT_NE(std::string::npos, host.last_error().find("/no/such/plugin.so")) << host.last_error();
  EXPECT_EQ(MS::kNotFound, host.unload_plugin("plugin").statusCode());
  // Loading twice is refused; the first stays.
  ASSERT_EQ(MS::kSuccess, host.load_plugin(SAMPLE_PLUGIN).statusCode());
  EXPECT_EQ(MS::kFailure, host.load_plugin(SAMPLE_PLUGIN).statusCode());
  EXPECT_TRUE(host.has_command("list_transforms"));
}

TEST(MayasimHost, ChecksTheApiVersion) {
  Host host;
  g_uninitialized = 0;
  EXPECT_EQ(MS::kFailure, host.load_plugin("future", probe_initialize, counting_uninitialize, "201400", "/p/future.so")
                              .statusCode());
  EXPECT_NE(std::string::npos, host.last_error().find("201400"));
  EXPECT_EQ(MS::kFailure,
            host.load_plugin("none", probe_initialize, counting_uninitialize, nullptr, "/p/none.so").statusCode());
  EXPECT_FALSE(host.has_command("probe")) << "initializePlugin is never called";
  ASSERT_EQ(MS::kSuccess,
            host.load_plugin("probe", probe_initialize, probe_uninitialize, "201300", "/p/probe.so").statusCode());
  EXPECT_TRUE(host.has_command("probe"));
  EXPECT_EQ(0, g_uninitialized);
}

TEST(MayasimHost, AFailedInitialisationLeavesNothingLoaded) {
  Host host;
  g_uninitialized = 0;
  MStatus s = host.load_plugin("broken", failing_initialize, counting_uninitialize, "201300", "/p/broken.so");
  EXPECT_EQ(MS::kNotFound, s.statusCode()) << "the plug-in's own status is passed on";
  EXPECT_FALSE(host.is_loaded("broken"));
  EXPECT_FALSE(host.has_command("half_done"));
  EXPECT_EQ(0, g_uninitialized) << "uninitializePlugin is not called after a failed initializePlugin";
  host.unload_all();
  EXPECT_EQ(0, g_uninitialized);
}

TEST(MayasimHost, CommandLinesAreTokenisedAsMelDoes) {
  Host host;
  ASSERT_TRUE(host.load_plugin("probe", probe_initialize, probe_uninitialize, "201300", "/p/probe.so"));
  g_live_objects = 0;

  ASSERT_EQ(MS::kSuccess, host.execute("probe -f \"my file \\\"1\\\".twi\" -h;").statusCode());
  EXPECT_EQ("file=[my file \"1\".twi] found hidden=1 hidden(long)=1 args=3 alive=1", g_seen);
  EXPECT_EQ(0, g_live_objects) << "the command object is deleted right after doIt";

  ASSERT_EQ(MS::kSuccess, host.execute("probe   -file out.twi").statusCode());
  EXPECT_EQ("file=[out.twi] found hidden=0 hidden(long)=0 args=2 alive=1", g_seen);

  ASSERT_EQ(MS::kSuccess, host.execute("probe -hidden").statusCode());
  EXPECT_EQ("file=[] absent hidden=1 hidden(long)=1 args=1 alive=1", g_seen) << "an absent flag's argument";

  EXPECT_EQ(MS::kFailure, host.execute("probe -f").statusCode()) << "a flag without its argument";
  EXPECT_EQ(0, g_live_objects);

  // MGlobal::executeCommand goes through the same path.
  ASSERT_EQ(MS::kSuccess, MGlobal::executeCommand("probe -f \"\"").statusCode());
  EXPECT_EQ("file=[] found hidden=0 hidden(long)=0 args=2 alive=1", g_seen);
}

TEST(MayasimHost, TranslatorsWriteAndAreDestroyedAfterwards) {
  Host host;
  ASSERT_TRUE(host.load_plugin("probe", probe_initialize, probe_uninitialize, "201300", "/p/probe.so"));
  EXPECT_TRUE(host.has_translator("Probe"));
  EXPECT_EQ("probe_options", host.translator_options_script("Probe"));
  g_live_objects = 0;
  ASSERT_EQ(MS::kSuccess, host.export_file("Probe", "/tmp/scenes/out.twi", "export_hidden=true",
                                           MPxFileTranslator::kExportActiveAccessMode)
                              .statusCode());
  EXPECT_EQ("/tmp/scenes/out.twi|export_hidden=true|6|6|alive=1", g_seen);
  EXPECT_EQ(0, g_live_objects);
  EXPECT_EQ(MS::kNotFound, host.export_file("Nope", "x", "", MPxFileTranslator::kExportAccessMode).statusCode());
  host.unload_plugin("probe");
  EXPECT_FALSE(host.has_translator("Probe"));
}

TEST(MayasimHost, SourcingNeedsTheFileAndTheOptionsProcedure) {
  Host host;
  ASSERT_TRUE(host.load_plugin("probe", probe_initialize, probe_uninitialize, "201300", "/p/probe.so"));
  char folder[] = "/tmp/mayasim_source_XXXXXX";
  ASSERT_NE(nullptr, mkdtemp(folder));
  std::string good = std::string(folder) + "/good.mel", other = std::string(folder) + "/other.mel";
  std::ofstream(good) << "global proc int probe_options(string $parent, string $action, string $initial, "
                         "string $callback)\n{\n  return 1;\n}\n";
  std::ofstream(other) << "global proc something_else() {}\n";

  host.clear_script_editor();
  EXPECT_EQ(MS::kSuccess, MGlobal::sourceFile(good.c_str()).statusCode());
  EXPECT_EQ(MS::kFailure, MGlobal::sourceFile(other.c_str()).statusCode());
  EXPECT_EQ(MS::kFailure, MGlobal::sourceFile((std::string(folder) + "/missing.mel").c_str()).statusCode());
  EXPECT_EQ((std::vector<std::string>{good}), host.sourced_files());
  EXPECT_EQ(3u, host.source_attempts().size());
  remove(good.c_str());
  remove(other.c_str());
  rmdir(folder);
}

TEST(MayasimHost, ScriptEditorFormsAndPluginLoadPath) {
  Host host;
  host.clear_script_editor();
  MGlobal::displayInfo("plain");
  MGlobal::displayWarning("careful");
  MGlobal::displayError("broken");
  EXPECT_EQ("plain\n// Warning: careful\n// Error: broken\n", host.script_editor_text());

  static std::string seen_path;
  auto init = [](MObject object) -> MStatus {
    MFnPlugin plugin(object, "Test", "1.0", "Any");
    seen_path = plugin.loadPath().asChar();
    return MS::kSuccess;
  };
  ASSERT_TRUE(host.load_plugin("where", init, counting_uninitialize, "201300", "/opt/tools/plug-ins/where.so"));
  EXPECT_EQ("/opt/tools/plug-ins", seen_path);
}

TEST(MayasimFileObject, SplitsAndExpands) {
  MFileObject file;
  file.setRawFullName("/data/scenes/hero.twi");
  EXPECT_STREQ("/data/scenes/hero.twi", file.expandedFullName().asChar());
  EXPECT_STREQ("hero.twi", file.rawName().asChar());
  setenv("MAYASIM_TEST_FOLDER", "/expanded", 1);
  file.setRawFullName("$MAYASIM_TEST_FOLDER/x.twi");
  EXPECT_STREQ("/expanded/x.twi", file.expandedFullName().asChar());
  EXPECT_STREQ("", file.resolvedFullName().asChar()) << "no such file on disk";
}
