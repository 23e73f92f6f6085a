// Loading and unloading the plug-in module: its exports, registrations, the
// options-script search and the clean shutdown of its memory system.
#include "plugin_fixture.h"

#include <dlfcn.h>
#include <fstream>
#include <sys/stat.h>

using test::ScopedEnvironment;

// The plug-in module keeps a few thread-local variables, which a module
// loaded at run time reaches through __tls_get_addr. The AddressSanitizer
// runtime of this tool chain keeps its own records of such blocks and, after
// modules have come and gone, hands its leak checker a garbage range at exit.
// Tracking those blocks is only needed for leaks of memory referenced from
// dynamic TLS, which nothing here has; the option is ignored elsewhere.
extern "C" const char* __asan_default_options() { return "intercept_tls_get_addr=0"; }

namespace {

const char* const SCRIPT = "twi_exporter_options.mel";

std::string folder_of(const std::string& path) { return path.substr(0, path.rfind('/')); }

void copy_file(const std::string& from, const std::string& to) {
  std::ifstream in(from, std::ios::binary);
  std::ofstream out(to, std::ios::binary);
  out << in.rdbuf();
}

// A folder holding the options script (the real one).
std::string make_script_folder(const test::TempDirectory& dir, const std::string& relative) {
  std::string folder = dir.path();
  size_t start = 0;
  while (start < relative.size()) {
    size_t slash = relative.find('/', start);
    folder += "/" + relative.substr(start, slash - start);
    mkdir(folder.c_str(), 0755);
    if (slash == std::string::npos)
      break;
    start = slash + 1;
  }
  copy_file(folder_of(TW_PLUGIN_MODULE) + "/" + SCRIPT, folder + "/" + SCRIPT);
  return folder;
}

// A copy of the module in a folder without the options script.
std::string lone_module(const test::TempDirectory& dir) {
  std::string folder = dir.path() + "/plug-ins";
  mkdir(folder.c_str(), 0755);
  copy_file(TW_PLUGIN_MODULE, folder + "/twi_exporter.so");
  return folder + "/twi_exporter.so";
}

class PluginLoad : public ::testing::Test {
protected:
  PluginLoad() : script_path("MAYA_SCRIPT_PATH", nullptr), location("MAYA_LOCATION", nullptr) {}
  ScopedEnvironment script_path;
  ScopedEnvironment location;
  test::TempDirectory dir;
  mayasim::Host host;
};

} // namespace

TEST_F(PluginLoad, ExportsOnlyItsEntryPointsAndRegistersBothWaysIn) {
  void* module = dlopen(TW_PLUGIN_MODULE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(nullptr, module) << dlerror();
  const char* version = static_cast<const char*>(dlsym(module, "MApiVersion"));
  ASSERT_NE(nullptr, version);
  EXPECT_STREQ("201300", version);
  EXPECT_NE(nullptr, dlsym(module, "_Z16initializePlugin" MAYASIM_MANGLED_MOBJECT));
  EXPECT_NE(nullptr, dlsym(module, "_Z18uninitializePlugin" MAYASIM_MANGLED_MOBJECT));
  // The module's own foundation stays inside it.
  EXPECT_EQ(nullptr, dlsym(module, "_ZN10foundation14memory_globals4initEv"));
  dlclose(module);

  ASSERT_EQ(MS::kSuccess, host.load_plugin(TW_PLUGIN_MODULE).statusCode()) << host.last_error();
  EXPECT_TRUE(host.has_command("twi_export"));
  EXPECT_TRUE(host.has_translator("TarnwickIntermediate"));
  EXPECT_EQ("tw_exporter_options", host.translator_options_script("TarnwickIntermediate"));
  EXPECT_TRUE(host.script_editor().empty()) << host.script_editor_text();
  ASSERT_EQ(MS::kSuccess, host.unload_plugin("twi_exporter").statusCode());
  EXPECT_FALSE(host.has_command("twi_export"));
  EXPECT_FALSE(host.has_translator("TarnwickIntermediate"));
}

// The module keeps its own operator new and delete (the foundation's), local
// to it. Code of the C++ runtime library that allocates for the module, such
// as std::string growing, would use the process's operator new instead,
// which the module's inline code then frees with its own: in a host with
// its own allocator, a crash. So the module imports none of it.
TEST(PluginModule, ImportsNoAllocatingStringCodeFromTheRuntimeLibrary) {
  test::ProgramRun nm = test::run_program(std::string("nm -D --undefined-only ") + TW_PLUGIN_MODULE);
  ASSERT_EQ(nm.status, 0) << nm.output;
  EXPECT_NE(nm.output.find(" U "), std::string::npos) << "no imports listed:\n" << nm.output;
  for (const char* family : {"_ZNSt7__cxx1112basic_string", "_ZNSs", "_ZNSt6vector", "_ZNSo", "_ZNSi"})
    EXPECT_EQ(nm.output.find(family), std::string::npos) << family << " imported:\n" << nm.output;
}

TEST_F(PluginLoad, ScriptPathFoldersAreTriedInOrderBeforeThePluginsFolder) {
  std::string a = dir.path() + "/a";
  mkdir(a.c_str(), 0755);
  std::string b = make_script_folder(dir, "b");
  // Maya reads MAYA_SCRIPT_PATH with ':' between folders on Linux and macOS.
  ScopedEnvironment path("MAYA_SCRIPT_PATH", (a + ":" + b).c_str());
  ASSERT_EQ(MS::kSuccess, host.load_plugin(TW_PLUGIN_MODULE).statusCode());
  EXPECT_EQ((std::vector<std::string>{a + "/" + SCRIPT, b + "/" + SCRIPT}), host.source_attempts());
  EXPECT_EQ((std::vector<std::string>{b + "/" + SCRIPT}), host.sourced_files())
      << "the copy beside the module is never read";
  EXPECT_TRUE(host.script_editor().empty()) << "A fails silently";
}

// On Linux ';' is an ordinary character of a folder name, not a separator.
TEST_F(PluginLoad, ASemicolonIsNoSeparatorOnLinux) {
  std::string b = make_script_folder(dir, "b");
  ScopedEnvironment path("MAYA_SCRIPT_PATH", ("/nowhere;" + b).c_str());
  ASSERT_EQ(MS::kSuccess, host.load_plugin(TW_PLUGIN_MODULE).statusCode());
  EXPECT_EQ("/nowhere;" + b + "/" + SCRIPT, host.source_attempts()[0]);
  EXPECT_EQ((std::vector<std::string>{folder_of(TW_PLUGIN_MODULE) + "/" + SCRIPT}), host.sourced_files());
}

TEST_F(PluginLoad, FoldersAreJoinedAsPlainText) {
  std::string b = make_script_folder(dir, "b");
  ScopedEnvironment path("MAYA_SCRIPT_PATH", (b + "/").c_str());
  ASSERT_EQ(MS::kSuccess, host.load_plugin(TW_PLUGIN_MODULE).statusCode());
  EXPECT_EQ((std::vector<std::string>{b + "//" + SCRIPT}), host.sourced_files());
}

TEST_F(PluginLoad, ThePluginsOwnFolderServesWithoutAnyEnvironment) {
  ASSERT_EQ(MS::kSuccess, host.load_plugin(TW_PLUGIN_MODULE).statusCode());
  EXPECT_EQ((std::vector<std::string>{folder_of(TW_PLUGIN_MODULE) + "/" + SCRIPT}), host.source_attempts());
  EXPECT_EQ(host.source_attempts(), host.sourced_files());
}

TEST_F(PluginLoad, MayaLocationScriptsThenBinScripts) {
  std::string module = lone_module(dir);
  std::string maya = dir.path() + "/maya";
  make_script_folder(dir, "maya/bin/scripts");
  ScopedEnvironment where("MAYA_LOCATION", maya.c_str());
  ASSERT_EQ(MS::kSuccess, host.load_plugin(module).statusCode()) << host.script_editor_text();
  EXPECT_EQ((std::vector<std::string>{folder_of(module) + "/" + SCRIPT, maya + "/scripts/" + SCRIPT,
                                      maya + "/bin/scripts/" + SCRIPT}),
            host.source_attempts());
  EXPECT_EQ((std::vector<std::string>{maya + "/bin/scripts/" + SCRIPT}), host.sourced_files());
}

TEST_F(PluginLoad, NoScriptAnywhereUnloadsWithTheSearchPathInTheError) {
  std::string module = lone_module(dir);
  ScopedEnvironment path("MAYA_SCRIPT_PATH", "/nowhere/one:/nowhere/two:");
  ScopedEnvironment where("MAYA_LOCATION", "/nowhere/maya");
  MStatus status = host.load_plugin(module);
  EXPECT_EQ(MS::kNotFound, status.statusCode());
  ASSERT_FALSE(host.script_editor().empty());
  EXPECT_EQ("Could not find twi_exporter_options.mel. Please put the file in any of these folders: "
            "/nowhere/one:/nowhere/two:",
            host.script_editor()[0].text);
  EXPECT_EQ(mayasim::ScriptLine::ERROR, host.script_editor()[0].kind);
  EXPECT_EQ(5u, host.source_attempts().size()) << "two folders, the module's, scripts/ and bin/scripts/";
  EXPECT_FALSE(host.is_loaded("twi_exporter"));
  EXPECT_FALSE(host.has_command("twi_export"));
  EXPECT_FALSE(host.has_translator("TarnwickIntermediate"));

  // The plug-in unloaded itself completely: it loads again once the script is there.
  std::string folder = make_script_folder(dir, "scripts");
  ScopedEnvironment fixed("MAYA_SCRIPT_PATH", folder.c_str());
  EXPECT_EQ(MS::kSuccess, host.load_plugin(module).statusCode());
  EXPECT_TRUE(host.has_command("twi_export"));
}

TEST_F(PluginLoad, UnloadAfterExportsLeavesNoMemoryBehind) {
  // The module's memory system reports anything still held at unload and
  // ends the process with code 1; run the whole session in a child.
  mayasim::builder::new_scene();
  MObject box = mayasim::builder::transform("box", MObject(), {1, 2, 3});
  mayasim::builder::key(box, "tx", 1, 0);
  mayasim::builder::key(box, "tx", 10, 5);
  mayasim::builder::set_playback_range(1, 10);
  std::string good = dir.file("good.twi");
  EXPECT_EXIT(
      {
        mayasim::Host session;
        bool ok = session.load_plugin(TW_PLUGIN_MODULE) == MS::kSuccess;
        ok = ok && session.execute("twi_export -f \"" + good + "\"") == MS::kSuccess;
        ok = ok && session.export_file("TarnwickIntermediate", good, "export_hidden=true",
                                       MPxFileTranslator::kExportAccessMode) == MS::kSuccess;
        // Failed exports release everything too.
        ok = ok && session.execute("twi_export -f /nowhere/at/all.twi") == MS::kFailure;
        ok = ok && session.export_file("TarnwickIntermediate", "/nowhere/x.twi", "",
                                       MPxFileTranslator::kExportAccessMode) == MS::kFailure;
        ok = ok && session.unload_plugin("twi_exporter") == MS::kSuccess;
        fflush(stdout);
        _exit(ok ? 0 : 3);
      },
      ::testing::ExitedWithCode(0), "");
}
