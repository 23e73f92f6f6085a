// The attached debugger and the fatal dialog.
//
// Win32 asks the kernel (IsDebuggerPresent, OutputDebugStringA, DebugBreak)
// and shows MessageBoxA "Fatal Error!" with the exclamation icon. POSIX reads
// TracerPid from /proc, writes debug output nowhere, breaks with SIGTRAP only
// when a tracer is attached (so an unattended process never dies of it), and
// prints the dialog's caption and text on standard error.
//
// Each platform provides all four functions (debugger_posix.cpp, debugger_win32.cpp).
#pragma once

namespace foundation {
namespace debugger {

bool is_present();
void output(const char* text);
// Breaks into an attached debugger; does nothing without one.
void debug_break();
// Shows "Fatal Error!" with `text` and returns when the user dismissed it.
void show_fatal_dialog(const char* text);

} // namespace debugger
} // namespace foundation
