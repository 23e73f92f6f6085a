#include "foundation/memory/system_allocator.h"

#include <malloc.h>

namespace foundation {
namespace system_heap {
uint32_t usable_size(void* p) { return uint32_t(malloc_usable_size(p)); }
} // namespace system_heap
} // namespace foundation
