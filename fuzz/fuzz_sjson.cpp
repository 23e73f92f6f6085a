// Any bytes through the untrusted parser; what parses must print and parse
// again, and after that first round the text is a fixed point: printing and
// parsing once more changes no string, integer, key or structure. Everything
// a round allocates must be given back.
#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/error/error.h"
#include "foundation/memory/memory_globals.h"
#include "support/config_compare.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

using namespace foundation;

namespace {

[[noreturn]] void fail(const char* what, const std::string& detail = "") {
  fprintf(stderr, "fuzz_sjson: %s %s\n", what, detail.c_str());
  abort();
}

bool parse(const Vector<char>& text, DCV& out) {
  return simplified_json::try_parse_untrusted(text.data(), text.size(), out, nullptr);
}

// The thread's scratch pool and its bookkeeping live for the process: make
// them before measuring what a round gives back.
bool start() {
  memory_globals::init();
  // A failed assertion throws, so that the harness can turn it into a crash
  // libFuzzer records.
  error::set_mode(ERROR_MODE_THROW);
  DCV warm(memory_globals::default_allocator());
  const char text[] = "a = \"x\\n\"";
  simplified_json::try_parse_untrusted(text, sizeof(text) - 1, warm, nullptr);
  return true;
}

} // namespace

int one_input(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool inited = start();
  (void)inited;
  try {
    return one_input(data, size);
  } catch (const ErrorException& e) {
    fail("assertion:", e.report());
  }
}

int one_input(const uint8_t* data, size_t size) {
  Allocator& a = memory_globals::default_allocator();
  uint32_t before = a.total_allocated();
  {
    DCV first(a);
    if (!simplified_json::try_parse_untrusted(reinterpret_cast<const char*>(data), uint32_t(size), first, nullptr))
      goto done;
    {
      Vector<char> text1(a), text2(a), json(a);
      write_sjson(first, text1, SjsonWriteOptions());
      {
        TextChunks chunks(a);
        write_sjson(first, chunks, SjsonWriteOptions());
        uint64_t at = 0;
        for (uint32_t i = 0; i < chunks.block_count(); ++i) {
          const TextChunks::Block& b = chunks.block(i);
          if (at + b.used > text1.size() || memcmp(text1.data() + at, b.data, b.used) != 0)
            fail("the text printed in blocks differs");
          at += b.used;
        }
        if (at != text1.size())
          fail("the text printed in blocks has another length");
      }
      DCV second(a), third(a), from_json(a);
      if (!parse(text1, second))
        fail("printed text does not parse again");
      write_sjson(second, text2, SjsonWriteOptions());
      if (!parse(text2, third))
        fail("second printing does not parse");
      std::string difference = test::first_difference(second, third);
      if (!difference.empty())
        fail("not a fixed point at", difference);
      // One-line JSON of an object is a braced root the parser reads too.
      if (first.is_object()) {
        write_json(first, json, true);
        if (!parse(json, from_json))
          fail("JSON text does not parse");
      }
    }
  }
done:
  if (a.total_allocated() != before)
    fail("memory was not given back", std::to_string(before) + " -> " + std::to_string(a.total_allocated()));
  return 0;
}
