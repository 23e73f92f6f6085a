#include "foundation/memory/memory_globals.h"

#include "foundation/collection/vector.h"
#include "foundation/error/assert.h"
#include "foundation/memory/allocator_registry.h"
#include "foundation/memory/arena_allocator.h"
#include "foundation/memory/generic_allocator.h"
#include "foundation/memory/heap_allocator.h"
#include "foundation/memory/page_allocator.h"
#include "foundation/memory/slot_allocator.h"
#include "foundation/memory/system_allocator.h"
#include "foundation/memory/temp_allocator.h"
#include "foundation/thread/critical_section.h"
#include "foundation/thread/thread_local_storage.h"

#include <atomic>

namespace foundation {
namespace memory_globals {

namespace {

alignas(16) unsigned char g_bootstrap_buffer[BOOTSTRAP_HEAP_SIZE];
alignas(HeapAllocator) unsigned char g_bootstrap_storage[sizeof(HeapAllocator)];

std::atomic<bool> g_is_inited(false);
HeapAllocator* g_bootstrap = nullptr;
std::atomic<AllocatorRegistry*> g_registry(nullptr);
PageAllocator* g_page = nullptr;
HeapAllocator* g_debug = nullptr;
SystemAllocator* g_system = nullptr;
SlotAllocator* g_slot = nullptr;
HeapAllocator* g_heap = nullptr;
ArenaAllocator* g_static = nullptr;
GenericAllocator* g_generic = nullptr;
Allocator* g_default = nullptr;

Vector<TempAllocator*>* g_temp_allocators = nullptr;
CriticalSection* g_temp_lock = nullptr;

ThreadLocalSlot& temp_slot() {
  static ThreadLocalSlot slot;
  return slot;
}

// Places a T in storage from the bootstrap heap; null when there is none.
template <typename T, typename... Args>
T* make_on_bootstrap(Args&&... args) {
  void* p = g_bootstrap->allocate(uint32_t(sizeof(T)), align_of<T>());
  return p ? new (p) T(std::forward<Args>(args)...) : nullptr;
}

template <typename T>
void destroy_on_bootstrap(T*& p) {
  if (!p)
    return;
  p->~T();
  g_bootstrap->deallocate(p);
  p = nullptr;
}

} // namespace

void init() {
  TW_ASSERT_MSG(!is_inited(), "the memory system is already started");
  if (is_inited())
    return;
  g_bootstrap = new (g_bootstrap_storage) HeapAllocator(nullptr, g_bootstrap_buffer, BOOTSTRAP_HEAP_SIZE, true);
  g_registry.store(make_on_bootstrap<AllocatorRegistry>());
  g_page = make_on_bootstrap<PageAllocator>("page_allocator", true);
  g_debug = make_on_bootstrap<HeapAllocator>("debug_allocator", *g_page, 2097152u, true, true);
  g_system = make_on_bootstrap<SystemAllocator>("system_allocator");
  g_slot = make_on_bootstrap<SlotAllocator>("slot_allocator", *g_page, true);
  g_heap = make_on_bootstrap<HeapAllocator>("heap_allocator", *g_page, 2097152u, true, true);
  g_static = make_on_bootstrap<ArenaAllocator>("application_static_allocator", *g_page, 131072u, true);
  g_generic = make_on_bootstrap<GenericAllocator>("generic_allocator", *g_page, *g_heap, *g_slot, true);
  g_default = g_generic;
  g_temp_lock = make_on_bootstrap<CriticalSection>(4000u);
  g_temp_allocators = g_generic->make_new<Vector<TempAllocator*>>(*g_generic);
  g_is_inited.store(true);
}

void shutdown() {
  temp_slot().set(nullptr);
  if (g_temp_allocators) {
    for (TempAllocator* t : *g_temp_allocators)
      g_default->make_delete(t);
    g_default->make_delete(g_temp_allocators);
    g_temp_allocators = nullptr;
  }
  destroy_on_bootstrap(g_temp_lock);
  destroy_on_bootstrap(g_generic);
  g_default = nullptr;
  destroy_on_bootstrap(g_static);
  destroy_on_bootstrap(g_heap);
  destroy_on_bootstrap(g_slot);
  destroy_on_bootstrap(g_system);
  if (g_debug)
    g_debug->set_leak_check(false);
  destroy_on_bootstrap(g_debug);
  destroy_on_bootstrap(g_page);
  AllocatorRegistry* registry = g_registry.load();
  destroy_on_bootstrap(registry);
  g_registry.store(nullptr);
  g_bootstrap->~HeapAllocator();
  g_bootstrap = nullptr;
  g_is_inited.store(false);
}

bool is_inited() { return g_is_inited.load(); }

Allocator& default_allocator() { return *g_default; }

AllocatorRegistry* registry() { return g_registry.load(); }

Allocator* find(const char* name) {
  AllocatorRegistry* r = registry();
  return r ? r->find(name) : nullptr;
}

TempAllocator& thread_temp_allocator() {
  if (void* t = temp_slot().get())
    return *static_cast<TempAllocator*>(t);
  ScopedCriticalSection lock(*g_temp_lock);
  uint32_t page_size = g_page->page_size();
  TempAllocator* t = g_default->make_new<TempAllocator>(*g_page, page_size > 4096 ? page_size : 4096u, 1u);
  temp_slot().set(t);
  g_temp_allocators->push_back(t);
  return *t;
}

} // namespace memory_globals
} // namespace foundation
