// Whole pages from the operating system.
//
// On Win32 these are VirtualAlloc / VirtualFree / VirtualQuery. On POSIX they
// are mmap / munmap behaving as Windows does: the granularity is 65,536
// bytes, every block starts on a 64 KiB boundary (more is mapped and the
// slack unmapped), and the size of each block is remembered here so that
// region_size answers as VirtualQuery would. The POSIX side also keeps a few
// released blocks mapped (at most 32 of them and 64 MiB in all) and hands
// them out again for a request of the same size, so that a block freed and
// asked for again does not cost two system calls and a round of page faults
// (the C runtime's heap keeps freed memory in the same way). Blocks of
// 256 KiB and more are populated when mapped. Contents of a new block are
// undefined.
//
// Each platform provides all four functions (virtual_memory_posix.cpp,
// virtual_memory_win32.cpp). They are thread-safe.
#pragma once

#include "foundation/platform.h"

namespace foundation {
namespace virtual_memory {

// The larger of the system page size and the allocation granularity.
uint32_t granularity();

// Commits `size` bytes (rounded up to the granularity) of read-write memory
// aligned to the granularity. Null when the system refuses.
void* allocate(uint32_t size);

// Returns a block from allocate(). False when the system refuses.
bool release(void* p);

// The size of the block that starts at `p`, 0 when `p` starts no block.
uint32_t region_size(void* p);

} // namespace virtual_memory
} // namespace foundation
