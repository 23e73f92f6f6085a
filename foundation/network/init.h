// Network start-up and shut-down: Winsock's WSAStartup / WSACleanup on
// Windows; nothing is needed for BSD sockets. Calls nest: the network is
// up from the first init() to the matching last shutdown().
#pragma once

namespace foundation {
namespace network {

void init();
void shutdown();

} // namespace network
} // namespace foundation
