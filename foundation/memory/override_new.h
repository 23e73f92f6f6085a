// The replaced global operator new and delete.
//
// They allocate through the C runtime, but while the forbid flag is set they
// first report "Don't use new!" / "Don't use delete!". Nothing in this system
// sets the flag; the crash path clears it. A hook that stays dormant.
#pragma once

namespace foundation {
namespace memory_globals {

void set_forbid_new_delete(bool forbid);
bool forbid_new_delete();

} // namespace memory_globals
} // namespace foundation
