// BSD sockets need no start-up; sends use MSG_NOSIGNAL, so a peer that goes
// away never raises SIGPIPE.
#include "foundation/network/init.h"

namespace foundation {
namespace network {

void init() {}
void shutdown() {}

} // namespace network
} // namespace foundation
