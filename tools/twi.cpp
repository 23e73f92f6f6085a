// twi: the command-line tool for twi and SJSON documents.
//
//   twi fmt  [FILE|-] [-o OUT] [--multiline-arrays]   SJSON or JSON in, SJSON out
//   twi json [FILE|-] [-o OUT] [--pretty]             SJSON or JSON in, JSON out
//   twi check FILE                                    verify a twi document
//   twi info FILE                                     summarise a twi document
//   twi gltf FILE -o OUT.glb|OUT.gltf                 convert to glTF 2.0
//   twi view FILE [--port N]                          show a file in the browser
//   twi id STRING...                                  hashed ids of strings
//
// Run `twi --help` or `twi COMMAND --help` for details.
#include "gltf_convert.h"
#include "tool_io.h"
#include "twi_document.h"
#include "view_server.h"

#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/io/path.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/utility/id_string.h"
#include "scene/gltf_writer.h"
#include "scene/scene_check.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>

using namespace foundation;

namespace {

struct Command {
  const char* name;
  const char* usage;
  const char* help;
  int (*run)(int argc, char** argv);
};

extern const Command COMMANDS[];

bool wants_help(int argc, char** argv) {
  for (int i = 0; i < argc; ++i)
    if (strcmp(argv[i], "--help") == 0 || strcmp(argv[i], "-h") == 0)
      return true;
  return false;
}

// The options shared by the text commands: an input, -o OUT, and flags.
struct TextOptions {
  const char* input = "-";
  const char* output = nullptr;
  bool multiline_arrays = false;
  bool pretty = false;
};

bool parse_text_options(const char* command, int argc, char** argv, TextOptions& o, bool allow_multiline,
                        bool allow_pretty) {
  bool have_input = false;
  for (int i = 0; i < argc; ++i) {
    const char* a = argv[i];
    if (strcmp(a, "-o") == 0 || strcmp(a, "--output") == 0) {
      if (i + 1 >= argc) {
        fprintf(stderr, "twi %s: -o needs a file name\n", command);
        return false;
      }
      o.output = argv[++i];
    } else if (allow_multiline && strcmp(a, "--multiline-arrays") == 0) {
      o.multiline_arrays = true;
    } else if (allow_pretty && strcmp(a, "--pretty") == 0) {
      o.pretty = true;
    } else if (a[0] == '-' && a[1] != 0) {
      fprintf(stderr, "twi %s: unknown option %s (see twi %s --help)\n", command, a, command);
      return false;
    } else if (!have_input) {
      o.input = a;
      have_input = true;
    } else {
      fprintf(stderr, "twi %s: more than one input given (%s)\n", command, a);
      return false;
    }
  }
  return true;
}

// Reads and parses a document; prints "FILE:LINE: MESSAGE" and the excerpt
// on a syntax error.
bool load_document(const char* path, DynamicConfigValue& out) {
  Vector<char> text(memory_globals::default_allocator());
  if (!tools::read_all(path, text))
    return false;
  simplified_json::ParseError error;
  if (!simplified_json::try_parse_untrusted(text.data(), text.size(), out, &error)) {
    fprintf(stderr, "%s:%d: %s\n%s\n", strcmp(path, "-") == 0 ? "<stdin>" : path, error.line,
            tools::terminal_text(error.message).c_str(), tools::terminal_text(error.excerpt).c_str());
    return false;
  }
  return true;
}

int run_fmt(int argc, char** argv) {
  TextOptions o;
  if (!parse_text_options("fmt", argc, argv, o, true, false))
    return 2;
  DynamicConfigValue doc(memory_globals::default_allocator());
  if (!load_document(o.input, doc))
    return 1;
  if (!doc.is_object() && !doc.is_nil()) {
    fprintf(stderr, "twi fmt: the document's root is not an object\n");
    return 1;
  }
  Vector<char> out(memory_globals::default_allocator());
  SjsonWriteOptions options;
  options.multiline_arrays = o.multiline_arrays;
  write_sjson(doc, out, options);
  return tools::write_all(o.output, out) ? 0 : 1;
}

int run_json(int argc, char** argv) {
  TextOptions o;
  if (!parse_text_options("json", argc, argv, o, false, true))
    return 2;
  DynamicConfigValue doc(memory_globals::default_allocator());
  if (!load_document(o.input, doc))
    return 1;
  if (doc.is_nil())
    doc.set_object(); // an empty document is an empty object
  Vector<char> out(memory_globals::default_allocator());
  // Every float as the shortest text that reads back to it: the tool's JSON
  // must not lose values (the console's %f form would).
  JsonWriteOptions options;
  options.single_line = !o.pretty;
  options.exact = true;
  write_json(doc, out, options);
  out.push_back('\n');
  return tools::write_all(o.output, out) ? 0 : 1;
}

// ---------------------------------------------------------------------------
// twi check / twi info

void print_problems(const char* path, const Vector<String>& problems) {
  for (const String& p : problems)
    fprintf(stderr, "%s: %s\n", path, tools::terminal_text(p.c_str()).c_str());
}

// Reads, parses, checks the shape of and reads a twi document; prints where
// a wrong one is wrong.
bool load_scene(const char* path, twi::SceneDatabase& db) {
  Vector<char> text(memory_globals::default_allocator());
  if (!tools::read_all(path, text))
    return false;
  std::string problems;
  if (tools::read_twi_text(strcmp(path, "-") == 0 ? "<stdin>" : path, text.data(), text.size(), db, problems))
    return true;
  fputs(problems.c_str(), stderr);
  return false;
}

int run_check(int argc, char** argv) {
  if (argc != 1 || argv[0][0] == '-') {
    fprintf(stderr, "usage: twi check FILE\n");
    return 2;
  }
  const char* path = argv[0];
  twi::SceneDatabase db(memory_globals::default_allocator());
  if (!load_scene(path, db))
    return 1;
  Vector<String> problems(memory_globals::default_allocator());
  Vector<String> warnings(memory_globals::default_allocator());
  bool valid = twi::check_scene(db, problems, &warnings);
  for (const String& w : warnings)
    fprintf(stderr, "%s: warning: %s\n", path, tools::terminal_text(w.c_str()).c_str());
  if (valid) {
    printf("ok\n");
    return 0;
  }
  print_problems(path, problems);
  fprintf(stderr, "%s: %u problem%s\n", path, problems.size(), problems.size() == 1 ? "" : "s");
  return 1;
}

int run_info(int argc, char** argv) {
  if (argc != 1 || argv[0][0] == '-') {
    fprintf(stderr, "usage: twi info FILE\n");
    return 2;
  }
  const char* path = argv[0];
  twi::SceneDatabase db(memory_globals::default_allocator());
  if (!load_scene(path, db))
    return 1;
  using tools::terminal_text;
  printf("source path: %s\n", terminal_text(db.source_path.c_str()).c_str());
  printf("nodes: %u (%u root%s)\n", db.nodes.size(), db.roots.size(), db.roots.size() == 1 ? "" : "s");
  printf("geometries: %u\n", db.geometries.size());
  for (auto it = db.geometries.begin(); it != db.geometries.end(); ++it) {
    const twi::SceneGeometry& g = it.value();
    uint32_t vertices = g.streams.empty() ? 0 : g.streams[0].size;
    printf("  %s: %u vertices, %u triangles, %u material%s, streams:", terminal_text(it.key().c_str()).c_str(),
           vertices,
           g.indices.size / 3, g.materials.size(), g.materials.size() == 1 ? "" : "s");
    for (const twi::GeometryStream& s : g.streams) {
      for (const twi::StreamChannel& c : s.channels)
        printf(" %s%s", terminal_text(c.name.c_str()).c_str(),
               c.index ? ("[" + std::to_string(c.index) + "]").c_str() : "");
    }
    if (!g.skin.is_empty_text())
      printf(" (skin %s)", terminal_text(g.skin.c_str()).c_str());
    printf("\n");
  }
  printf("skins: %u\n", db.skins.size());
  for (auto it = db.skins.begin(); it != db.skins.end(); ++it)
    printf("  %s: %u joint%s\n", terminal_text(it.key().c_str()).c_str(), it.value().joints.size(),
           it.value().joints.size() == 1 ? "" : "s");
  printf("animations: %u\n", db.animations.size());
  for (const twi::SceneAnimation& a : db.animations) {
    float duration = a.times.empty() ? 0.0f : a.times.back();
    printf("  %s.%s: %u samples over %g s\n", terminal_text(a.node.c_str()).c_str(),
           terminal_text(a.parameter.c_str()).c_str(), a.stream.size, double(duration));
  }
  return 0;
}

// Whether `file` ends in ".EXTENSION".
bool has_extension(const char* file, const char* extension) {
  return path::has_extension(file) && strcmp(path::extension(file), extension) == 0;
}

// Checks the document as `twi check` does, then converts it; prints what
// was written and every thing glTF could not hold.
int run_gltf(int argc, char** argv) {
  const char* input = nullptr;
  const char* output = nullptr;
  for (int i = 0; i < argc; ++i) {
    if (strcmp(argv[i], "-o") == 0 || strcmp(argv[i], "--output") == 0) {
      if (i + 1 >= argc) {
        fprintf(stderr, "twi gltf: -o needs a file name\n");
        return 2;
      }
      output = argv[++i];
    } else if (argv[i][0] == '-' && argv[i][1] != 0) {
      fprintf(stderr, "twi gltf: unknown option %s (see twi gltf --help)\n", argv[i]);
      return 2;
    } else if (!input) {
      input = argv[i];
    } else {
      fprintf(stderr, "twi gltf: more than one input given (%s)\n", argv[i]);
      return 2;
    }
  }
  if (!input || !output) {
    fprintf(stderr, "usage: twi gltf IN.twi -o OUT.glb|OUT.gltf\n");
    return 2;
  }
  bool binary = has_extension(output, "glb");
  if (!binary && !has_extension(output, "gltf")) {
    fprintf(stderr, "twi gltf: name the output OUT.glb (binary) or OUT.gltf (JSON with the buffer embedded)\n");
    return 2;
  }
  twi::SceneDatabase db(memory_globals::default_allocator());
  if (!load_scene(input, db))
    return 1;
  Vector<uint8_t> out(memory_globals::default_allocator());
  std::string report, problems;
  twi::GltfOptions options;
  options.binary = binary;
  if (!tools::convert_to_gltf(input, db, options, output, out, report, problems)) {
    fputs(problems.c_str(), stderr);
    return 1;
  }
  if (!tools::write_all(output, out.data(), out.size()))
    return 1;
  fputs(report.c_str(), stdout);
  return 0;
}

// Where the built viewer is: --viewer DIR, then $TWI_VIEWER_DIR, then the
// build's own copy.
const char* viewer_dir(const char* given) {
  if (given)
    return given;
  const char* env = getenv("TWI_VIEWER_DIR");
  if (env && *env)
    return env;
#ifdef TW_VIEWER_DIR
  return TW_VIEWER_DIR;
#else
  return nullptr;
#endif
}

int run_view(int argc, char** argv) {
  tools::ViewServerOptions o;
  const char* given_dir = nullptr;
  for (int i = 0; i < argc; ++i) {
    const char* a = argv[i];
    bool has_value = i + 1 < argc;
    if (strcmp(a, "--port") == 0 && has_value) {
      char* end = nullptr;
      unsigned long port = strtoul(argv[++i], &end, 10);
      if (!end || *end || port > 65535) {
        fprintf(stderr, "twi view: --port takes a number from 0 to 65535\n");
        return 2;
      }
      o.port = uint32_t(port);
    } else if (strcmp(a, "--viewer") == 0 && has_value) {
      given_dir = argv[++i];
    } else if (strcmp(a, "--connections") == 0 && has_value) {
      o.max_connections = uint32_t(strtoul(argv[++i], nullptr, 10));
    } else if (strcmp(a, "--request-seconds") == 0 && has_value) {
      char* end = nullptr;
      double seconds = strtod(argv[++i], &end);
      if (!end || *end || !(seconds > 0 && seconds <= 3600)) {
        fprintf(stderr, "twi view: --request-seconds takes a number of seconds from above 0 to 3600\n");
        return 2;
      }
      o.request_seconds = seconds;
    } else if (a[0] == '-') {
      fprintf(stderr, "twi view: unknown option %s, or one without its value (see twi view --help)\n", a);
      return 2;
    } else if (!o.file) {
      o.file = a;
    } else {
      fprintf(stderr, "twi view: more than one file given (%s)\n", a);
      return 2;
    }
  }
  if (!o.file) {
    fprintf(stderr, "usage: twi view FILE.twi|FILE.glb|FILE.gltf [--port N] [--viewer DIR]\n");
    return 2;
  }
  if (!has_extension(o.file, "twi") && !has_extension(o.file, "glb") && !has_extension(o.file, "gltf")) {
    fprintf(stderr, "twi view: %s is not a .twi, .glb or .gltf file\n", o.file);
    return 2;
  }
  FILE* f = fopen(o.file, "rb");
  if (!f) {
    fprintf(stderr, "twi view: cannot read %s: %s\n", o.file, strerror(errno));
    return 1;
  }
  fclose(f);
  o.viewer_dir = viewer_dir(given_dir);
  if (!tools::viewer_files_present(o.viewer_dir)) {
    fprintf(stderr,
            "twi view: the viewer's page and three.js are not in %s; build them with make viewer (it needs npm), "
            "or name the folder with --viewer DIR\n",
            o.viewer_dir ? o.viewer_dir : "(no folder known)");
    return 1;
  }
  return tools::run_view_server(o);
}

int run_id(int argc, char** argv) {
  if (argc < 1) {
    fprintf(stderr, "usage: twi id STRING...\n");
    return 2;
  }
  for (int i = 0; i < argc; ++i) {
    IdString64 id64(argv[i]);
    IdString32 id32(argv[i]);
    printf("%s %s %s\n", argv[i], id64.to_string(), id32.to_string());
  }
  return 0;
}

const Command COMMANDS[] = {
    {"fmt", "twi fmt [FILE|-] [-o OUT] [--multiline-arrays]",
     "Reads an SJSON or JSON document (standard input when FILE is - or absent)\n"
     "and prints it as SJSON: members sorted by key, one per line, arrays on one\n"
     "line unless --multiline-arrays.\n"
     "  -o OUT               write to OUT instead of standard output\n"
     "  --multiline-arrays   one array element per line\n",
     run_fmt},
    {"json", "twi json [FILE|-] [-o OUT] [--pretty]",
     "Reads an SJSON or JSON document and prints it as JSON on one line\n"
     "(indented with tabs with --pretty), followed by a newline. Nothing is\n"
     "lost: each float is printed in the shortest form that reads back to the\n"
     "same 32-bit float (1.5e-07, 0.1), infinities and NaN as null, and control\n"
     "characters in strings escaped.\n"
     "  -o OUT     write to OUT instead of standard output\n"
     "  --pretty   one member or element per line\n",
     run_json},
    {"check", "twi check FILE",
     "Reads a twi document and verifies it. First its shape against the format:\n"
     "the keys each object must and may have and their kinds, 16 numbers in each\n"
     "matrix, channel types the format names, each stride the sum of its\n"
     "channels, size x channel floats in each stream's data, one index list of\n"
     "`size` entries per stream. Then its content: referenced nodes, geometries\n"
     "and skins exist, every index is below its stream's size, material\n"
     "primitives are below the triangle count, every node is reached exactly\n"
     "once from the roots, and the joints a skin names are exported nodes (a\n"
     "warning). Prints \"ok\" and exits 0, or prints every problem with its place\n"
     "and exits 1.\n",
     run_check},
    {"info", "twi info FILE",
     "Summarises a twi document: source path, nodes and roots, geometries with\n"
     "their vertex and triangle counts and streams, skins with their joints,\n"
     "animations with their samples and duration.\n",
     run_info},
    {"gltf", "twi gltf FILE -o OUT.glb|OUT.gltf",
     "Checks a twi document as twi check does and writes it as glTF 2.0: a .glb\n"
     "file, or a .gltf file with its binary data embedded. Nodes keep their\n"
     "hierarchy and names (translation, rotation and scale where the matrix is\n"
     "one, else the matrix); meshes get one glTF vertex per distinct combination\n"
     "of stream indices and one primitive per material; skins their joints and\n"
     "inverse bind matrices, with weights made to sum to 1; sampled animation\n"
     "becomes LINEAR translation, rotation and scale channels. Metres and Y up\n"
     "as in the document; texture V is flipped to glTF's top-left origin.\n"
     "Prints what was written, how many skin vertices needed their weights\n"
     "normalised, and every thing glTF cannot hold. Exits 1 on an invalid\n"
     "document, 2 on a usage error.\n"
     "  -o OUT   the file to write; its extension picks the form\n",
     run_gltf},
    {"view", "twi view FILE [--port N] [--viewer DIR]",
     "Serves the viewer page for FILE (.twi, .glb or .gltf) on 127.0.0.1 and\n"
     "prints its address; open that in a browser. The page shows the meshes\n"
     "lit, the transform hierarchy as lines, the node names as a tree, and\n"
     "plays the animation under a time slider; other files can be dropped on\n"
     "it. A .twi is converted as twi gltf does, afresh on each load, so a new\n"
     "export shows on reload. Runs until stopped with Ctrl+C. It answers only\n"
     "requests addressed to 127.0.0.1, localhost or [::1] with its port (not\n"
     "pages of other sites that reach it), serves only the viewer folder's own\n"
     "files, takes documents of up to 256 MiB to convert, and gives each\n"
     "client 10 s to send its request, serving the others meanwhile.\n"
     "  --port N        the port (default: one the system picks)\n"
     "  --viewer DIR    the built viewer's folder (default: $TWI_VIEWER_DIR,\n"
     "                  else the build's tools/viewer)\n"
     "  --connections N stop after N connections (for scripts and tests)\n"
     "  --request-seconds S  a client's time to send its request (default 10)\n",
     run_view},
    {"id", "twi id STRING...",
     "Prints, for each string, the string, its 64-bit hashed id and its 32-bit\n"
     "hashed id in their #ID[...] form.\n",
     run_id},
    {nullptr, nullptr, nullptr, nullptr},
};

void print_usage(FILE* f) {
  fprintf(f, "usage: twi COMMAND [ARGS]\n\ncommands:\n");
  for (const Command* c = COMMANDS; c->name; ++c)
    fprintf(f, "  %s\n", c->usage);
  fprintf(f, "\nA syntax error prints FILE:LINE: MESSAGE and the line, and exits 1.\n"
             "Run twi COMMAND --help for a command's options.\n");
}

} // namespace

int main(int argc, char** argv) {
  if (argc < 2 || strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
    print_usage(argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  for (const Command* c = COMMANDS; c->name; ++c) {
    if (strcmp(argv[1], c->name) != 0)
      continue;
    if (wants_help(argc - 2, argv + 2)) {
      printf("usage: %s\n\n%s", c->usage, c->help);
      return 0;
    }
    memory_globals::init();
    int result = c->run(argc - 2, argv + 2);
    memory_globals::shutdown();
    return result;
  }
  fprintf(stderr, "twi: unknown command %s\n\n", argv[1]);
  print_usage(stderr);
  return 2;
}
