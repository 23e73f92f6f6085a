#include "foundation/memory/override_new.h"

#include "foundation/error/assert.h"

#include <atomic>
#include <new>
#include <stdlib.h>

namespace foundation {
namespace memory_globals {

namespace {
std::atomic<bool> g_forbid(false);
}

void set_forbid_new_delete(bool forbid) { g_forbid.store(forbid, std::memory_order_relaxed); }
bool forbid_new_delete() { return g_forbid.load(std::memory_order_relaxed); }

} // namespace memory_globals
} // namespace foundation

namespace {

void* checked_malloc(size_t size) {
  void* p = malloc(size ? size : 1);
  if (!p)
    throw std::bad_alloc();
  return p;
}

} // namespace

using foundation::memory_globals::forbid_new_delete;

void* operator new(size_t size) {
  if (forbid_new_delete())
    foundation::report_error(__LINE__, TW_SOURCE_PATH, "Don't use new!");
  return checked_malloc(size);
}

void operator delete(void* p) noexcept {
  if (forbid_new_delete())
    foundation::report_error(__LINE__, TW_SOURCE_PATH, "Don't use delete!");
  free(p);
}

void* operator new[](size_t size) {
  if (forbid_new_delete())
    foundation::report_error(__LINE__, TW_SOURCE_PATH, "Don't use new!");
  return checked_malloc(size);
}

void operator delete[](void* p) noexcept {
  if (forbid_new_delete())
    foundation::report_error(__LINE__, TW_SOURCE_PATH, "Don't use delete!");
  free(p);
}

void operator delete(void* p, size_t) noexcept { operator delete(p); }
void operator delete[](void* p, size_t) noexcept { operator delete[](p); }

// The non-throwing forms must pair with the same runtime as the others.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  if (forbid_new_delete())
    foundation::report_error(__LINE__, TW_SOURCE_PATH, "Don't use new!");
  return malloc(size ? size : 1);
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  if (forbid_new_delete())
    foundation::report_error(__LINE__, TW_SOURCE_PATH, "Don't use new!");
  return malloc(size ? size : 1);
}

void operator delete(void* p, const std::nothrow_t&) noexcept { operator delete(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { operator delete[](p); }
