#include "foundation/memory/virtual_memory.h"

#include <windows.h>

namespace foundation {
namespace virtual_memory {

uint32_t granularity() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize > info.dwAllocationGranularity ? info.dwPageSize : info.dwAllocationGranularity;
}

void* allocate(uint32_t size) {
  uint32_t g = granularity();
  uint32_t rounded = (size + g - 1) & ~(g - 1);
  if (rounded == 0)
    return nullptr;
  return VirtualAlloc(nullptr, rounded, MEM_COMMIT, PAGE_READWRITE);
}

bool release(void* p) { return VirtualFree(p, 0, MEM_RELEASE) != 0; }

uint32_t region_size(void* p) {
  MEMORY_BASIC_INFORMATION info;
  if (VirtualQuery(p, &info, sizeof(info)) == 0)
    return 0;
  return uint32_t(info.RegionSize);
}

} // namespace virtual_memory
} // namespace foundation
