// The memory system: the allocator tree of the process (or plug-in module).
//
// init() builds, in this order and in storage from a 114,624-byte bootstrap
// heap: the registry, "page_allocator", "debug_allocator" (heap over pages),
// "system_allocator", "slot_allocator", "heap_allocator",
// "application_static_allocator" (arena) and "generic_allocator", which
// becomes the default allocator. shutdown() tears them down in reverse
// dependency order; every counting wrapper and pool asserts on the way that
// everything it handed out came back, which is how leaks are reported.
//
// Each thread gets its own TempAllocator on its first call of
// thread_temp_allocator(); shutdown() destroys them all.
#pragma once

#include "foundation/memory/allocator.h"

namespace foundation {

class AllocatorRegistry;
class TempAllocator;

namespace memory_globals {

void init();
void shutdown();
bool is_inited();

Allocator& default_allocator();
TempAllocator& thread_temp_allocator();

// The registry of named allocators, or null outside init/shutdown.
AllocatorRegistry* registry();

// A named allocator of the tree, or null ("page_allocator", "heap_allocator", ...).
Allocator* find(const char* name);

// Size of the static buffer the tree is built in.
const uint32_t BOOTSTRAP_HEAP_SIZE = 114624;

} // namespace memory_globals
} // namespace foundation
