#include "foundation/network/init.h"

#include "foundation/error/assert.h"

#include <winsock2.h>

namespace foundation {
namespace network {

void init() {
  WSADATA data;
  int result = WSAStartup(MAKEWORD(2, 2), &data);
  TW_ASSERT_MSG(result == 0, "Winsock could not start (error %i)", result);
}

void shutdown() { WSACleanup(); }

} // namespace network
} // namespace foundation
