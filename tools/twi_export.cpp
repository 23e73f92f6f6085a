// twi-export: runs the twi_exporter plug-in module in mayasim, as Maya would.
//
//   twi-export demo:NAME -o OUT.twi [options]
//   twi-export SCENE.ma -o OUT.twi [options]
//   twi-export SCENE.ma --list
//   twi-export --list-demos
//
// It loads the plug-in through mayasim's host, builds the scene (or loads a
// Maya ASCII file), sets the selection and playback range, runs twi_export
// (or the translator), prints what the script editor shows, and exits 0 when
// the export succeeded.
#include "demo_scenes.h"

#include "foundation/error/error.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/network/console_server.h"
#include "foundation/network/init.h"
#include "foundation/thread/thread.h"
#include "foundation/utility/timer.h"
#include "mayasim/builder.h"
#include "mayasim/host.h"
#include "mayasim/maya_ascii.h"

#include <maya/MAnimControl.h>
#include <maya/MSelectionList.h>
#include <maya/MString.h>
#include <maya/MTime.h>

#include <cctype>
#include <cmath>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

namespace {

const char* const USAGE =
    "usage: twi-export demo:NAME -o OUT.twi [options]\n"
    "       twi-export SCENE.ma -o OUT.twi [options]\n"
    "       twi-export SCENE.ma|demo:NAME --list\n"
    "       twi-export --list-demos\n"
    "\n"
    "Exports a built-in scene, or a Maya ASCII file saved by Maya, through the\n"
    "twi_exporter plug-in running in mayasim and prints what Maya's script editor\n"
    "would show. A .ma file is loaded as File > Open would; what mayasim cannot\n"
    "evaluate in it (construction history other than polyCube, polyPlane,\n"
    "polySphere and polyCylinder, constraints, expressions) is printed as a\n"
    "warning naming the node, and a mesh it cannot evaluate fails the export.\n"
    "Files the scene references are loaded with it, under their namespaces and\n"
    "with the scene's reference edits; --list shows where each was found.\n"
    "\n"
    "options:\n"
    "  -o, --output FILE     the twi file to write (required to export)\n"
    "  --list                print the scene as loaded (its DAG, meshes, skins,\n"
    "                        animation, shading) and its warnings; no export\n"
    "  --selected            export the selected nodes only (-s; Export Selection\n"
    "                        with --translator)\n"
    "  --hidden              export hidden nodes too (-h)\n"
    "  --animations          pass the animations flag (-a; it changes nothing)\n"
    "  --select NODE,...     select these nodes, by name, before exporting (a name\n"
    "                        two nodes share is refused)\n"
    "  --translator          export through the TarnwickIntermediate translator\n"
    "                        instead of the twi_export command\n"
    "  --options \"k=v;...\"   the translator's options string (with --translator;\n"
    "                        --hidden and --animations are added after it)\n"
    "  --max-influences N    a skinned vertex with more than four influences keeps\n"
    "                        its N largest weights (1 to 4), scaled to sum 1, and\n"
    "                        the export says how many vertices changed; without it\n"
    "                        such a skin fails the export. It goes through the\n"
    "                        translator (option max_influences=N), since the\n"
    "                        twi_export command has no flag for it\n"
    "  --reference-root DIR  look for referenced files below DIR when the path a\n"
    "                        scene recorded does not lead to them: by the path's\n"
    "                        trailing folders, then by file name (repeatable;\n"
    "                        TWI_REFERENCE_PATH adds more, separated as in PATH)\n"
    "  --map-path FROM=TO    try a recorded path that begins with FROM with TO in\n"
    "                        its place first (repeatable)\n"
    "  --missing-references skip|fail\n"
    "                        what a reference whose file is not found does: fail\n"
    "                        the load (the default) or leave it out with a warning\n"
    "  --range START:END     playback range in frames (finite, END >= START, at\n"
    "                        most a million samples at 30 a second)\n"
    "  --fps N               frame rate of the scene (15, 24, 25, 30, 48, 50, 60, ...)\n"
    "  --plugin PATH         the plug-in module to load (default: the one built\n"
    "                        with this tool)\n"
    "  --quiet               print errors only\n"
    "  --console PORT        also stream the script editor's lines as log messages\n"
    "                        to a console tool (twi-console 127.0.0.1:PORT)\n"
    "  --console-address A   the address the console listens on: 127.0.0.1 (the\n"
    "                        default: this machine only), 0.0.0.0 for every\n"
    "                        interface (any machine that can reach this one), or\n"
    "                        one interface's address\n"
    "  --console-wait SECS   wait this long for the tool to connect (default 5)\n"
    "  --list-demos          describe the built-in scenes\n"
    "  --help                this text\n"
    "\n"
    "Exit status: 0 when the file was written, 1 when the export failed, 2 for a\n"
    "bad command line.\n";

// The most animation samples an export may take per node (about nine hours
// at 30 samples a second).
const unsigned MAX_SAMPLES = 1000000;

struct Options {
  std::string scene;
  std::string output;
  bool list = false;
  bool selected = false;
  bool hidden = false;
  bool animations = false;
  std::vector<std::string> select;
  bool translator = false;
  std::string translator_options;
  int max_influences = 0;
  bool has_range = false;
  double range_start = 0, range_end = 0;
  int fps = 0;
  std::string plugin = TW_PLUGIN_MODULE;
  bool quiet = false;
  mayasim::ReferenceOptions references;
  int console_port = -1;
  std::string console_address = "127.0.0.1";
  double console_wait = 5.0;
};

int usage_error(const char* format, const char* argument) {
  fprintf(stderr, "twi-export: ");
  fprintf(stderr, format, argument);
  fprintf(stderr, "\nRun `twi-export --help` for the options.\n");
  return 2;
}

void list_demos() {
  printf("Built-in scenes (twi-export demo:NAME -o OUT.twi):\n");
  for (const tools::DemoScene* s = tools::DEMO_SCENES; s->name; ++s) {
    printf("\n  demo:%s\n", s->name);
    // Wrapped at 76 columns, indented by four.
    std::string line;
    const char* p = s->description;
    while (*p) {
      const char* end = strchr(p, ' ');
      std::string word = end ? std::string(p, size_t(end - p)) : std::string(p);
      if (!line.empty() && line.size() + 1 + word.size() > 72) {
        printf("    %s\n", line.c_str());
        line.clear();
      }
      line += (line.empty() ? "" : " ") + word;
      p = end ? end + 1 : p + strlen(p);
    }
    if (!line.empty())
      printf("    %s\n", line.c_str());
  }
}

bool time_unit_for(int fps, MTime::Unit& unit) {
  static const struct {
    int fps;
    MTime::Unit unit;
  } RATES[] = {{2, MTime::k2FPS},     {3, MTime::k3FPS},     {4, MTime::k4FPS},     {5, MTime::k5FPS},
               {6, MTime::k6FPS},     {8, MTime::k8FPS},     {10, MTime::k10FPS},   {12, MTime::k12FPS},
               {15, MTime::kGames},   {16, MTime::k16FPS},   {20, MTime::k20FPS},   {24, MTime::kFilm},
               {25, MTime::kPALFrame}, {30, MTime::kNTSCFrame}, {40, MTime::k40FPS},  {48, MTime::kShowScan},
               {50, MTime::kPALField}, {60, MTime::kNTSCField}, {75, MTime::k75FPS},  {80, MTime::k80FPS},
               {100, MTime::k100FPS}, {120, MTime::k120FPS}, {125, MTime::k125FPS}, {150, MTime::k150FPS},
               {200, MTime::k200FPS}, {240, MTime::k240FPS}, {250, MTime::k250FPS}, {300, MTime::k300FPS},
               {375, MTime::k375FPS}, {400, MTime::k400FPS}, {500, MTime::k500FPS}, {600, MTime::k600FPS},
               {750, MTime::k750FPS}, {1200, MTime::k1200FPS}, {1500, MTime::k1500FPS},
               {2000, MTime::k2000FPS}, {3000, MTime::k3000FPS}, {6000, MTime::k6000FPS}};
  for (const auto& r : RATES)
    if (r.fps == fps) {
      unit = r.unit;
      return true;
    }
  return false;
}

bool parse_number(const std::string& text, double& value) {
  char* end = nullptr;
  value = strtod(text.c_str(), &end);
  return !text.empty() && end && *end == 0;
}

// MEL's double-quoted string.
std::string mel_quoted(const std::string& text) {
  std::string q = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\')
      q += '\\';
    q += c;
  }
  return q + "\"";
}

int parse(int argc, char** argv, Options& o) {
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    auto value = [&](std::string& out) {
      if (i + 1 >= argc)
        return false;
      out = argv[++i];
      return true;
    };
    std::string v;
    if (a == "-o" || a == "--output") {
      if (!value(o.output))
        return usage_error("%s needs a file name", a.c_str());
    } else if (a == "--list") {
      o.list = true;
    } else if (a == "--selected") {
      o.selected = true;
    } else if (a == "--hidden") {
      o.hidden = true;
    } else if (a == "--animations") {
      o.animations = true;
    } else if (a == "--select") {
      if (!value(v))
        return usage_error("%s needs node names, separated by commas", a.c_str());
      size_t start = 0;
      while (start <= v.size()) {
        size_t comma = v.find(',', start);
        std::string name = v.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        if (!name.empty())
          o.select.push_back(name);
        if (comma == std::string::npos)
          break;
        start = comma + 1;
      }
    } else if (a == "--translator") {
      o.translator = true;
    } else if (a == "--max-influences") {
      if (!value(v) || v.size() != 1 || v[0] < '1' || v[0] > '4')
        return usage_error("--max-influences takes a number of influences from 1 to 4, not \"%s\"", v.c_str());
      o.max_influences = v[0] - '0';
    } else if (a == "--options") {
      if (!value(o.translator_options))
        return usage_error("%s needs an options string such as \"export_hidden=true\"", a.c_str());
    } else if (a == "--range") {
      if (!value(v))
        return usage_error("%s needs START:END in frames", a.c_str());
      size_t colon = v.find(':');
      if (colon == std::string::npos || !parse_number(v.substr(0, colon), o.range_start) ||
          !parse_number(v.substr(colon + 1), o.range_end))
        return usage_error("--range takes START:END in frames, such as 1:24, not \"%s\"", v.c_str());
      if (!std::isfinite(o.range_start) || !std::isfinite(o.range_end))
        return usage_error("--range takes finite frame numbers, not \"%s\"", v.c_str());
      if (o.range_end < o.range_start)
        return usage_error("--range %s ends before it starts: give START:END with END at or after START", v.c_str());
      o.has_range = true;
    } else if (a == "--fps") {
      MTime::Unit unit = MTime::kFilm;
      if (!value(v) || !time_unit_for(atoi(v.c_str()), unit) || std::to_string(atoi(v.c_str())) != v)
        return usage_error("--fps takes one of Maya's frame rates (such as 24, 25, 30, 60), not \"%s\"",
                           v.c_str());
      o.fps = atoi(v.c_str());
    } else if (a == "--reference-root") {
      if (!value(v) || v.empty())
        return usage_error("%s needs a folder to look for referenced files in", a.c_str());
      o.references.roots.push_back(v);
    } else if (a == "--map-path") {
      size_t eq = value(v) ? v.find('=') : std::string::npos;
      if (eq == std::string::npos || eq == 0)
        return usage_error("--map-path takes FROM=TO (a recorded path's beginning and what to put in its place), "
                           "not \"%s\"", v.c_str());
      o.references.path_maps.emplace_back(v.substr(0, eq), v.substr(eq + 1));
    } else if (a == "--missing-references") {
      if (!value(v) || (v != "skip" && v != "fail"))
        return usage_error("--missing-references takes skip or fail, not \"%s\"", v.c_str());
      o.references.skip_missing = v == "skip";
    } else if (a == "--plugin") {
      if (!value(o.plugin))
        return usage_error("%s needs the path of the plug-in module", a.c_str());
    } else if (a == "--quiet") {
      o.quiet = true;
    } else if (a == "--console") {
      char* end = nullptr;
      long port = value(v) ? strtol(v.c_str(), &end, 10) : -1;
      if (!end || *end || port < 1 || port > 65535)
        return usage_error("--console takes a port from 1 to 65535, not \"%s\"", v.c_str());
      o.console_port = int(port);
    } else if (a == "--console-address") {
      if (!value(o.console_address) || o.console_address.empty())
        return usage_error("%s needs an address such as 127.0.0.1 or 0.0.0.0", a.c_str());
    } else if (a == "--console-wait") {
      if (!value(v) || !parse_number(v, o.console_wait) || o.console_wait < 0)
        return usage_error("--console-wait takes a number of seconds, not \"%s\"", v.c_str());
    } else if (!a.empty() && a[0] == '-') {
      return usage_error("unknown option %s", a.c_str());
    } else if (o.scene.empty()) {
      o.scene = a;
    } else {
      return usage_error("one scene only; \"%s\" is one too many", a.c_str());
    }
  }
  // Roots from the environment come after those on the command line,
  // separated as PATH is.
  if (const char* env = getenv("TWI_REFERENCE_PATH")) {
#ifdef _WIN32
    const char separator = ';';
#else
    const char separator = ':';
#endif
    std::string list = env;
    size_t start = 0;
    while (start <= list.size()) {
      size_t end = list.find(separator, start);
      if (end == std::string::npos)
        end = list.size();
      if (end > start)
        o.references.roots.push_back(list.substr(start, end - start));
      start = end + 1;
    }
  }
  if (o.scene.empty())
    return usage_error("%s", "no scene given: name a .ma file, or a built-in scene as demo:NAME (see --list-demos)");
  // A Maya Binary scene goes to the loader too, which names it and says
  // what to do with it.
  std::string ext = o.scene.size() > 3 ? o.scene.substr(o.scene.size() - 3) : std::string();
  bool ma = ext == ".ma" || ext == ".MA" || ext == ".mb" || ext == ".MB";
  if (o.scene.compare(0, 5, "demo:") != 0 && !ma)
    return usage_error("scenes are Maya ASCII files (.ma; save a .mb scene as Maya ASCII), or built-in ones "
                       "named demo:NAME, not \"%s\"",
                       o.scene.c_str());
  if (o.output.empty() && !o.list)
    return usage_error("%s", "no output file given: add -o OUT.twi");
  if (!o.translator_options.empty() && !o.translator)
    return usage_error("%s", "--options goes with --translator");
  return 0;
}

// The script editor's lines as log messages for a console tool.
void send_to_console(foundation::ConsoleServer* console, const mayasim::ScriptLine& line) {
  if (!console)
    return;
  foundation::DynamicConfigValue m(foundation::memory_globals::default_allocator());
  m.set_object();
  m.get("type").set_string("message");
  m.get("level").set_string(line.kind == mayasim::ScriptLine::ERROR     ? "error"
                            : line.kind == mayasim::ScriptLine::WARNING ? "warning"
                                                                        : "info");
  m.get("system").set_string("twi_export");
  m.get("message").set_string(line.text.c_str());
  console->send(m);
  console->update();
}

// Prints the lines shown since `from` (and sends them to the console, when
// there is one).
void print_script_editor(const mayasim::Host& host, size_t from, bool quiet, foundation::ConsoleServer* console) {
  const std::vector<mayasim::ScriptLine>& lines = host.script_editor();
  for (size_t i = from; i < lines.size(); ++i) {
    send_to_console(console, lines[i]);
    if (quiet && lines[i].kind != mayasim::ScriptLine::ERROR)
      continue;
    FILE* out = lines[i].kind == mayasim::ScriptLine::ERROR ? stderr : stdout;
    std::string text = mayasim::script_editor_form(lines[i]);
    // displayInfo text already ending in a newline is shown as it is.
    fprintf(out, "%s%s", text.c_str(), !text.empty() && text.back() == '\n' ? "" : "\n");
  }
  fflush(stdout);
}

} // namespace

int export_scene(const Options& o, foundation::ConsoleServer* console);

// Starts the console server for --console; null (with the reason printed)
// when it can't listen on the port.
foundation::ConsoleServer* start_console(const Options& o) {
  using namespace foundation;
  error::ScopedMode mode(ERROR_MODE_THROW);
  log::set_standard_streams_enabled(false);
  ConsoleServer* server = nullptr;
  try {
    server = new ConsoleServer(uint32_t(o.console_port), o.console_address.c_str());
  } catch (const ErrorException& e) {
    fprintf(stderr, "twi-export: --console: %s\n", e.reason());
  }
  log::set_standard_streams_enabled(true);
  if (!server)
    return nullptr;
  if (!o.quiet)
    printf("twi-export: console on %s port %u; waiting up to %g s for a tool\n", o.console_address.c_str(),
           server->port(), o.console_wait);
  fflush(stdout);
  log::set_standard_streams_enabled(!o.quiet);
  server->wait_for_connection(float(o.console_wait));
  log::set_standard_streams_enabled(true);
  return server;
}

// Lets the tool receive what is queued: at most two seconds.
void drain_console(foundation::ConsoleServer& server) {
  uint64_t start = foundation::timer::ticks();
  do {
    server.update();
    foundation::thread::sleep_ms(1);
  } while (server.pending_output() > 0 && foundation::timer::seconds_since(start) < 2.0);
}

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "--help") == 0) {
      fputs(USAGE, stdout);
      return 0;
    }
    if (strcmp(argv[i], "--list-demos") == 0) {
      list_demos();
      return 0;
    }
  }
  Options o;
  if (int status = parse(argc, argv, o))
    return status;
  foundation::memory_globals::init();
  int status = 1;
  if (o.console_port > 0) {
    foundation::network::init();
    if (foundation::ConsoleServer* console = start_console(o)) {
      status = export_scene(o, console);
      drain_console(*console);
      delete console;
    }
    foundation::network::shutdown();
  } else {
    status = export_scene(o, nullptr);
  }
  foundation::memory_globals::shutdown();
  return status;
}

// Loads the scene the command line names: a built-in one or a .ma file.
// 0 when it is loaded; otherwise the exit status.
int load_scene(const Options& o, mayasim::MayaAsciiResult& result) {
  if (o.scene.compare(0, 5, "demo:") == 0) {
    const tools::DemoScene* demo = tools::find_demo_scene(o.scene.c_str() + 5);
    if (!demo)
      return usage_error("there is no scene %s (see --list-demos)", o.scene.c_str());
    demo->build();
    return 0;
  }
  bool loaded = mayasim::load_maya_ascii(o.scene, result, o.references);
  if ((!o.quiet && !o.list) || !loaded)
    for (const std::string& w : result.warnings)
      printf("Warning: %s\n", w.c_str());
  fflush(stdout);
  if (!loaded) {
    fprintf(stderr, "twi-export: %s\n", result.error.c_str());
    return 1;
  }
  if (!o.quiet && !o.list)
    printf("twi-export: loaded %s (%zu nodes, %zu warnings)\n", o.scene.c_str(), result.nodes,
           result.warnings.size());
  return 0;
}

// Whether `text` names one of the DAG paths (followed by something that
// cannot continue a name: "|group|shape.", "|shape\n").
bool names_path(const std::string& text, const std::vector<std::string>& paths) {
  for (const std::string& path : paths)
    for (size_t at = text.find(path); at != std::string::npos; at = text.find(path, at + 1)) {
      size_t end = at + path.size();
      bool before = at == 0 || !(isalnum(static_cast<unsigned char>(text[at - 1])) || text[at - 1] == '_');
      if (before && (end == text.size() || !(isalnum(static_cast<unsigned char>(text[end])) || text[end] == '_' ||
                                             text[end] == ':' || text[end] == '|')))
        return true;
    }
  return false;
}

// The export samples 30 times a second: a range is refused before it is
// sampled when it would take more samples than any scene needs (the
// plug-in refuses it as well). Frames are in the scene's time unit.
bool range_too_long(const char* what, double start, double end) {
  fflush(stdout);
  double seconds = (end - start) * MTime(1.0, MTime::uiUnit()).as(MTime::kSeconds);
  double samples = seconds - seconds == 0.0 ? seconds * 30.0 + 1.0 : HUGE_VAL;
  if (samples <= double(MAX_SAMPLES))
    return false;
  fprintf(stderr, "twi-export: %s %g:%g is %g seconds, %.0f samples at 30 a second; the most is %u (%.1f hours)\n",
          what, start, end, seconds, samples, MAX_SAMPLES, (MAX_SAMPLES - 1) / 30.0 / 3600.0);
  return true;
}

int export_scene(const Options& o, foundation::ConsoleServer* console) {
  mayasim::MayaAsciiResult loaded;
  if (int status = load_scene(o, loaded))
    return status;
  const std::vector<std::string>& warnings = loaded.warnings;
  if (o.list) {
    fputs(mayasim::outline_scene().c_str(), stdout);
    if (!loaded.references.empty()) {
      printf("\nReferences (%zu file%s read):\n", loaded.files, loaded.files == 1 ? "" : "s");
      for (const mayasim::ReferenceRecord& r : loaded.references) {
        printf("  %*s%s %s: \"%s\"\n", 2 * (r.depth - 1), "", r.node.c_str(), r.state.c_str(), r.written.c_str());
        if (!r.file.empty())
          printf("  %*s  found %s: %s\n", 2 * (r.depth - 1), "", r.rule.c_str(), r.file.c_str());
        if (r.state == "loaded")
          printf("  %*s  namespace %s, %zu edit%s applied%s\n", 2 * (r.depth - 1), "",
                 r.ns.empty() ? "(the referencing file's)" : r.ns.c_str(), r.edits, r.edits == 1 ? "" : "s",
                 r.failed_edits ? (", " + std::to_string(r.failed_edits) + " not (see the warnings)").c_str() : "");
      }
    }
    printf("\n%zu warning%s%s\n", warnings.size(), warnings.size() == 1 ? "" : "s", warnings.empty() ? "" : ":");
    for (const std::string& w : warnings)
      printf("  %s\n", w.c_str());
    return 0;
  }
  if (o.fps) {
    MTime::Unit unit = MTime::kFilm;
    time_unit_for(o.fps, unit);
    // Keep the playback range where it is in seconds.
    double start = MAnimControl::minTime().as(MTime::kSeconds), end = MAnimControl::maxTime().as(MTime::kSeconds);
    mayasim::builder::set_time_unit(unit);
    double per_frame = MTime(1.0, unit).as(MTime::kSeconds);
    mayasim::builder::set_playback_range(start / per_frame, end / per_frame);
  }
  if (o.has_range) {
    if (range_too_long("--range", o.range_start, o.range_end))
      return 2;
    mayasim::builder::set_playback_range(o.range_start, o.range_end);
  } else {
    // The scene's own range, by the same rule: the plug-in would refuse it
    // too, and the reason is best given with what to do here.
    double per = MTime(1.0, MTime::uiUnit()).as(MTime::kSeconds);
    std::string what = o.scene + "'s playback range";
    if (range_too_long(what.c_str(), MAnimControl::minTime().as(MTime::kSeconds) / per,
                       MAnimControl::maxTime().as(MTime::kSeconds) / per)) {
      fprintf(stderr, "twi-export: give a shorter one with --range START:END\n");
      return 1;
    }
  }
  std::vector<MObject> selection;
  for (const std::string& name : o.select) {
    // By name, as Maya's selection list matches one: a name two nodes share
    // (DAG nodes under different parents may) selects neither.
    MSelectionList matches;
    matches.add(MString(name.c_str()));
    if (matches.length() == 0) {
      fprintf(stderr, "twi-export: --select: %s has no node named \"%s\"\n", o.scene.c_str(), name.c_str());
      return 2;
    }
    if (matches.length() > 1) {
      fprintf(stderr, "twi-export: --select: %u nodes of %s are named \"%s\"; select a uniquely named one\n",
              matches.length(), o.scene.c_str(), name.c_str());
      return 2;
    }
    MObject node;
    matches.getDependNode(0, node);
    selection.push_back(node);
  }
  mayasim::builder::select(selection);

  mayasim::Host host;
  size_t shown = 0;
  if (!host.load_plugin(o.plugin)) {
    print_script_editor(host, shown, false, console);
    fprintf(stderr, "twi-export: the plug-in %s did not load\n", o.plugin.c_str());
    return 1;
  }
  print_script_editor(host, shown, o.quiet, console);
  shown = host.script_editor().size();

  MStatus status;
  if (o.translator || o.max_influences > 0) {
    std::string options = o.translator_options;
    if (o.max_influences > 0)
      options += (options.empty() ? "" : ";") + std::string("max_influences=") + std::to_string(o.max_influences);
    if (o.hidden)
      options += (options.empty() ? "" : ";") + std::string("export_hidden=true");
    if (o.animations)
      options += (options.empty() ? "" : ";") + std::string("animation_only=true");
    status = host.export_file("TarnwickIntermediate", o.output, options,
                              o.selected ? MPxFileTranslator::kExportActiveAccessMode
                                         : MPxFileTranslator::kExportAccessMode);
  } else {
    std::string command = "twi_export -f " + mel_quoted(o.output);
    if (o.selected)
      command += " -s";
    if (o.hidden)
      command += " -h";
    if (o.animations)
      command += " -a";
    status = host.execute(command);
  }
  std::string export_text;
  for (size_t i = shown; i < host.script_editor().size(); ++i)
    export_text += host.script_editor()[i].text + "\n";
  print_script_editor(host, shown, o.quiet, console);
  shown = host.script_editor().size();

  host.unload_all();
  print_script_editor(host, shown, o.quiet, console);
  if (!status) {
    fprintf(stderr, "twi-export: the export of %s failed\n", o.scene.c_str());
    // A mesh mayasim loaded without geometry fails the export where it is
    // reached; the reason, and what to do, is the load's.
    for (const mayasim::MayaAsciiResult::MeshProblem& p : loaded.mesh_problems)
      if (names_path(export_text, p.paths))
        fprintf(stderr, "twi-export: %s: %s: %s.\n", o.scene.c_str(), p.shape.c_str(), p.problem.c_str());
    return 1;
  }
  if (!o.quiet)
    printf("twi-export: wrote %s\n", o.output.c_str());
  return 0;
}
