// twi: the command-line tool for twi and SJSON documents.
//
//   twi fmt  [FILE|-] [-o OUT] [--multiline-arrays]   SJSON or JSON in, SJSON out
//   twi json [FILE|-] [-o OUT] [--pretty]             SJSON or JSON in, JSON out
//
// Run `twi --help` or `twi COMMAND --help` for details.
#include "tool_io.h"

#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"

#include <stdio.h>
#include <string.h>

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
    fprintf(stderr, "%s:%d: %s\n%s\n", strcmp(path, "-") == 0 ? "<stdin>" : path, error.line, error.message,
            error.excerpt);
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
  write_json(doc, out, !o.pretty);
  out.push_back('\n');
  return tools::write_all(o.output, out) ? 0 : 1;
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
     "(indented with tabs with --pretty), followed by a newline.\n"
     "  -o OUT     write to OUT instead of standard output\n"
     "  --pretty   one member or element per line\n",
     run_json},
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
