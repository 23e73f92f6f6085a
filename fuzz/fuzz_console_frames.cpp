// Any bytes as a console client's input, without sockets: cut into frames
// in chunks of a size the first byte picks (as reads would deliver them),
// parsed, and dispatched to receivers by type, as the server does. Nothing
// may be reported, the unread rest must stay shorter than one frame, and
// everything a round allocates must be given back.
#include "foundation/collection/sort_map.h"
#include "foundation/config/dynamic_config_value.h"
#include "foundation/error/error.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/temp_allocator.h"
#include "foundation/network/console_frame.h"
#include "foundation/utility/id_string.h"

#include <stdio.h>
#include <stdlib.h>

using namespace foundation;

namespace {

[[noreturn]] void fail(const char* what, const char* detail = "") {
  fprintf(stderr, "fuzz_console_frames: %s %s\n", what, detail);
  abort();
}

typedef void (*Receiver)(const DynamicConfigValue& message, uint32_t& seen);

void count_note(const DynamicConfigValue& message, uint32_t& seen) {
  seen += message.has("binary-data") ? 2 : 1;
}

void read_text(const DynamicConfigValue& message, uint32_t& seen) {
  const DynamicConfigValue& text = message.get("text");
  if (text.is_string())
    seen += text.string_length();
}

bool start() {
  memory_globals::init();
  error::set_mode(ERROR_MODE_THROW);
  // The thread's scratch pool lives for the process: make it before measuring.
  ScopedTempAllocator warm;
  warm.allocate(16);
  return true;
}

int one_input(const uint8_t* data, size_t size) {
  if (size == 0)
    return 0;
  uint32_t chunk = 1 + data[0] % 64;
  ++data;
  --size;
  Allocator& a = memory_globals::default_allocator();
  uint32_t before = a.total_allocated();
  {
    SortMap<IdString64, Receiver> receivers(a);
    receivers.insert(IdString64("note"), count_note);
    receivers.insert(IdString64("text"), read_text);
    receivers.sort();
    Vector<uint8_t> input(a);
    uint32_t seen = 0;
    for (size_t at = 0; at < size; at += chunk) {
      size_t n = size - at < chunk ? size - at : chunk;
      input.push_back_n(data + at, uint32_t(n));
      ScopedTempAllocator scratch;
      Vector<DynamicConfigValue> messages(scratch);
      const char* problem = nullptr;
      bool ok = console_frame::cut_messages(input, messages, &problem);
      if (!ok && !problem)
        fail("a broken input without a reason");
      for (uint32_t i = 0; i < messages.size(); ++i) {
        const DynamicConfigValue& m = messages[i];
        if (!m.is_object() || !m.has("type") || !m.get("type").is_string())
          continue;
        const SortMap<IdString64, Receiver>::Pair* r = receivers.find(IdString64(m.get("type").to_string()));
        if (r)
          r->value(m, seen);
      }
      if (!ok)
        break; // the server drops such a client
      if (input.size() >= 8 + console_frame::MAX_FRAME_LENGTH)
        fail("more left unread than a whole frame");
    }
    (void)seen;
  }
  if (a.total_allocated() != before)
    fail("memory not given back");
  return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool inited = start();
  (void)inited;
  try {
    return one_input(data, size);
  } catch (const ErrorException& e) {
    fail("assertion:", e.report());
  }
}
