#include "twi_document.h"

#include "foundation/config/parse_simplified_json.h"
#include "foundation/error/error.h"
#include "foundation/error/error_context.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/temp_allocator.h"
#include "scene/document_reader.h"
#include "scene/document_schema.h"

#include <new>
#include <stdio.h>
#include <string.h>

using namespace foundation;

namespace tools {

namespace {

// Where the reader was when it reported, taken by the report hook before
// the reader's context guards unwind.
char g_failure_place[1024];

void remember_place(const char*, void*) { error_context::format(g_failure_place, sizeof(g_failure_place)); }

void add_line(std::string& out, const char* name, const char* text) {
  out += name;
  out += ": ";
  out += text;
  out += '\n';
}

} // namespace

bool read_twi_text(const char* name, const char* text, uint32_t size, twi::SceneDatabase& db, std::string& problems) {
  Allocator& a = memory_globals::default_allocator();
  // The parsed tree lives in a pool of its own and goes with it: a tree of
  // tens of millions of values is given back in a few pages, not value by
  // value, and is made by bumping a pointer. The root is never destroyed
  // for that reason; nothing it holds outlives the pool.
  TempAllocator pool(a, 4u << 20, 0);
  ScopedTempAllocator arena(pool);
  DynamicConfigValue& doc = *new (arena.allocate(sizeof(DynamicConfigValue), alignof(DynamicConfigValue)))
                                DynamicConfigValue(arena);
  simplified_json::ParseError error;
  if (!simplified_json::try_parse_untrusted(text, size, doc, &error)) {
    char line[64];
    snprintf(line, sizeof(line), ":%d: ", error.line);
    problems += name;
    problems += line;
    problems += error.message;
    problems += '\n';
    problems += error.excerpt;
    problems += '\n';
    return false;
  }
  if (!doc.is_object()) {
    add_line(problems, name, "not a twi document (the root is not an object)");
    return false;
  }
  Vector<String> format(a);
  if (!twi::validate_scene_document(doc, format)) {
    for (const String& p : format)
      add_line(problems, name, p.c_str());
    add_line(problems, name, "not a valid twi document");
    return false;
  }
  error::ScopedMode mode(ERROR_MODE_THROW);
  log::set_standard_streams_enabled(false);
  g_failure_place[0] = 0;
  error::set_report_hook(&remember_place);
  bool ok = true;
  try {
    twi::read_scene_document(db, doc);
  } catch (const ErrorException& e) {
    ok = false;
    // "Assertion failed: is_integer()\n\n" reads better on one line.
    std::string line = g_failure_place;
    if (!line.empty())
      line += ": ";
    line += e.message();
    for (char& c : line)
      if (c == '\n')
        c = ' ';
    while (!line.empty() && line.back() == ' ')
      line.pop_back();
    add_line(problems, name, line.c_str());
  }
  error::set_report_hook(nullptr);
  log::set_standard_streams_enabled(true);
  return ok;
}

} // namespace tools
