// SocketAddress: an IPv4 address and port, as plain values.
//
// Both are kept in host byte order. The text form is "%i.%i.%i.%i:%i" (the
// address bytes from the most significant down, then the port); a text is
// a valid address only when all five fields are there.
#pragma once

#include "foundation/platform.h"

namespace foundation {

struct SocketAddress {
  uint32_t address; // IPv4, host byte order
  uint32_t port;    // 16-bit value

  SocketAddress() : address(0), port(0) {}
  SocketAddress(uint32_t address_, uint32_t port_) : address(address_), port(port_) {}
  SocketAddress(unsigned a, unsigned b, unsigned c, unsigned d, uint32_t port_)
      : address((uint32_t(a) << 24) | (uint32_t(b) << 16) | (uint32_t(c) << 8) | uint32_t(d)), port(port_) {}

  // "127.0.0.1:8080" into `out` (22 bytes hold any address).
  void to_text(char* out, unsigned size) const;
  bool operator==(const SocketAddress& o) const { return address == o.address && port == o.port; }
};

// Whether `text` scans as all five fields of the text form; fills `out` then.
bool is_valid_address(const char* text, SocketAddress* out = nullptr);

// The address of `host` (a dotted IPv4 text, or a name looked up with the
// platform's resolver) at `port`; false when there is none.
bool resolve_address(const char* host, uint32_t port, SocketAddress& out);

} // namespace foundation
