#include "foundation/network/socket_address.h"

#include "foundation/network/socket.h"

#include <stdio.h>

namespace foundation {

void SocketAddress::to_text(char* out, unsigned size) const {
  snprintf(out, size, "%i.%i.%i.%i:%i", int((address >> 24) & 0xFF), int((address >> 16) & 0xFF),
           int((address >> 8) & 0xFF), int(address & 0xFF), int(port));
}

bool is_valid_address(const char* text, SocketAddress* out) {
  int a = 0, b = 0, c = 0, d = 0, port = 0;
  if (!text || sscanf(text, "%i.%i.%i.%i:%i", &a, &b, &c, &d, &port) != 5)
    return false;
  if (out)
    *out = SocketAddress(unsigned(a) & 0xFF, unsigned(b) & 0xFF, unsigned(c) & 0xFF, unsigned(d) & 0xFF,
                         uint32_t(port) & 0xFFFF);
  return true;
}

bool resolve_address(const char* host, uint32_t port, SocketAddress& out) {
  int a = 0, b = 0, c = 0, d = 0;
  char rest = 0;
  if (host && sscanf(host, "%i.%i.%i.%i%c", &a, &b, &c, &d, &rest) == 4) {
    out = SocketAddress(unsigned(a) & 0xFF, unsigned(b) & 0xFF, unsigned(c) & 0xFF, unsigned(d) & 0xFF, port);
    return true;
  }
  uint32_t address = 0;
  if (!host || !socket_platform_interface::resolve(host, &address))
    return false;
  out = SocketAddress(address, port);
  return true;
}

} // namespace foundation
