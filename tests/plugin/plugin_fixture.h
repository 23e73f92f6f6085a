// Running the real plug-in module in mayasim from a test: the environment
// the options-script search reads, loading through the host, running
// command lines and reading back what an export wrote.
#pragma once

#include "foundation/config/dynamic_config_value.h"
#include "foundation/config/parse_simplified_json.h"
#include "foundation/memory/memory_globals.h"
#include "scene/document_reader.h"
#include "scene/scene_check.h"
#include "scene/scene_database.h"
#include "support/test_support.h"

#include "mayasim/builder.h"
#include "mayasim/host.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdlib.h>
#include <string>
#include <vector>

namespace test {

// Sets (or, for null, unsets) an environment variable for the scope.
class ScopedEnvironment {
public:
  ScopedEnvironment(const char* name, const char* value) : _name(name) {
    const char* old = getenv(name);
    _had = old != nullptr;
    if (old)
      _old = old;
    if (value)
      setenv(name, value, 1);
    else
      unsetenv(name);
  }
  ~ScopedEnvironment() {
    if (_had)
      setenv(_name.c_str(), _old.c_str(), 1);
    else
      unsetenv(_name.c_str());
  }

private:
  std::string _name;
  std::string _old;
  bool _had;
};

// A stream's data as the floats it holds.
inline const float* floats(const twi::GeometryStream& s) { return reinterpret_cast<const float*>(s.data.data()); }

// The info lines of the script editor, in order.
inline std::vector<std::string> info_lines(const mayasim::Host& host) {
  std::vector<std::string> lines;
  for (const mayasim::ScriptLine& l : host.script_editor())
    if (l.kind == mayasim::ScriptLine::INFO)
      lines.push_back(l.text);
  return lines;
}

inline std::vector<std::string> error_lines(const mayasim::Host& host) {
  std::vector<std::string> lines;
  for (const mayasim::ScriptLine& l : host.script_editor())
    if (l.kind == mayasim::ScriptLine::ERROR)
      lines.push_back(l.text);
  return lines;
}

// A test with the plug-in loaded from the build (its options script beside
// it) and neither MAYA_SCRIPT_PATH nor MAYA_LOCATION set.
class PluginTest : public ::testing::Test {
protected:
  PluginTest() : _script_path("MAYA_SCRIPT_PATH", nullptr), _location("MAYA_LOCATION", nullptr) {}

  void SetUp() override {
    mayasim::builder::new_scene();
    ASSERT_EQ(MS::kSuccess, host.load_plugin(TW_PLUGIN_MODULE).statusCode()) << host.last_error();
    host.clear_script_editor();
  }
  void TearDown() override { host.unload_all(); }

  std::string out(const char* name = "out.twi") const { return dir.file(name); }

  // Runs twi_export with `flags` into `file`.
  MStatus export_command(const std::string& flags, const std::string& file) {
    return host.execute("twi_export -f \"" + file + "\" " + flags);
  }

  // Parses an exported file into `database`; every exported document must
  // also pass `twi check`'s verification.
  void read(const std::string& file, twi::SceneDatabase& database) {
    std::string text = read_file(file);
    ASSERT_FALSE(text.empty()) << file;
    foundation::DynamicConfigValue document(foundation::memory_globals::default_allocator());
    foundation::simplified_json::parse(text.c_str(), uint32_t(text.size()), document);
    twi::read_scene_document(database, document);
    foundation::Vector<foundation::String> problems(foundation::memory_globals::default_allocator());
    bool valid = twi::check_scene(database, problems);
    std::string all;
    for (uint32_t i = 0; i < problems.size(); ++i)
      all += std::string(problems[i].c_str()) + "\n";
    EXPECT_TRUE(valid) << file << ":\n" << all;
  }

  // Exports with twi_export (expecting success) and reads the file back.
  twi::SceneDatabase& exported(const std::string& flags = "") {
    EXPECT_EQ(MS::kSuccess, export_command(flags, out()).statusCode()) << host.script_editor_text();
    _database.reset(new twi::SceneDatabase(foundation::memory_globals::default_allocator()));
    read(out(), *_database);
    return *_database;
  }

  // Exports expecting failure; returns the command's final log message.
  std::string failed_export() {
    EXPECT_EQ(MS::kFailure, export_command("", out()).statusCode());
    std::vector<std::string> lines = info_lines(host);
    return lines.empty() ? std::string() : lines.back();
  }

  std::unique_ptr<twi::SceneDatabase> _database;
  ScopedEnvironment _script_path;
  ScopedEnvironment _location;
  TempDirectory dir;
  mayasim::Host host;
};

} // namespace test
