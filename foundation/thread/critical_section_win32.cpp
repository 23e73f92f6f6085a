// Win32 critical section: the kernel's recursive CRITICAL_SECTION with spin count.
#include "foundation/thread/critical_section.h"

#include <new>
#include <windows.h>

namespace foundation {

static_assert(sizeof(CRITICAL_SECTION) <= 48, "critical section storage too small");

static CRITICAL_SECTION* section_of(unsigned char* storage) {
  return reinterpret_cast<CRITICAL_SECTION*>(storage);
}

CriticalSection::CriticalSection(unsigned spin_count) {
  InitializeCriticalSectionAndSpinCount(section_of(_storage), spin_count);
}

CriticalSection::~CriticalSection() { DeleteCriticalSection(section_of(_storage)); }

void CriticalSection::enter() { EnterCriticalSection(section_of(_storage)); }

bool CriticalSection::try_enter() { return TryEnterCriticalSection(section_of(_storage)) != 0; }

void CriticalSection::leave() { LeaveCriticalSection(section_of(_storage)); }

} // namespace foundation
