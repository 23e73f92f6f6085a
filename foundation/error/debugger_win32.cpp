#include "foundation/error/debugger.h"

#include <windows.h>

namespace foundation {
namespace debugger {

bool is_present() { return IsDebuggerPresent() != 0; }

void output(const char* text) { OutputDebugStringA(text); }

void debug_break() {
  if (IsDebuggerPresent())
    DebugBreak();
}

void show_fatal_dialog(const char* text) { MessageBoxA(nullptr, text, "Fatal Error!", MB_OK | MB_ICONEXCLAMATION); }

} // namespace debugger
} // namespace foundation
