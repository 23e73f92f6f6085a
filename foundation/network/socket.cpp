#include "foundation/network/socket.h"

#include "foundation/error/assert.h"

namespace foundation {

namespace spi = socket_platform_interface;

Socket& Socket::operator=(Socket&& other) noexcept {
  if (this != &other) {
    close();
    _handle = other._handle;
    other._handle = INVALID;
  }
  return *this;
}

void Socket::open(int type) {
  TW_ASSERT_TEXT(type == STREAM || type == DATAGRAM, "false", "Unsupported socket type.");
  if (type != STREAM && type != DATAGRAM)
    return;
  close();
  _handle = spi::open(type);
  TW_ASSERT_TEXT(_handle != INVALID, "_socket != INVALID_SOCKET", "");
  if (_handle != INVALID && type == STREAM)
    spi::set_no_delay(_handle);
}

SocketAddress Socket::local_address() const {
  SocketAddress a;
  bool size_ok = true;
  int result = spi::local_address(_handle, &a.address, &a.port, &size_ok);
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "");
  TW_ASSERT_TEXT(size_ok, "addr_size == sizeof(addr)", "");
  return a;
}

SocketAddress Socket::peer_address() const {
  SocketAddress a;
  bool size_ok = true;
  int result = spi::peer_address(_handle, &a.address, &a.port, &size_ok);
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "");
  TW_ASSERT_TEXT(size_ok, "addr_size == sizeof(addr)", "");
  return a;
}

void Socket::set_blocking(bool blocking) {
  int result = spi::set_blocking(_handle, blocking);
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "");
}

void Socket::set_reuse_address(bool reuse) {
  int result = spi::set_option(_handle, spi::REUSE_ADDRESS, reuse ? 1 : 0);
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "");
}

void Socket::set_broadcast(bool broadcast) {
  int result = spi::set_option(_handle, spi::BROADCAST, broadcast ? 1 : 0);
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "");
}

void Socket::set_receive_buffer_size(int bytes) {
  int result = spi::set_option(_handle, spi::RECEIVE_BUFFER, bytes);
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "");
}

void Socket::set_send_buffer_size(int bytes) {
  int result = spi::set_option(_handle, spi::SEND_BUFFER, bytes);
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "");
}

void Socket::bind(const SocketAddress& address) {
  int result = spi::bind(_handle, address.address, address.port);
  if (result >= 0)
    return;
  int code = socket_error::last();
  char text[32];
  address.to_text(text, sizeof(text));
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "Cannot bind to %s -- port in use?\nError code: %i (%s)", text, code,
                 socket_error::name(code));
}

bool Socket::listen(int backlog) {
  int result = spi::listen(_handle, backlog);
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "");
  return result == 0;
}

Socket Socket::accept(SocketAddress* peer) {
  uint32_t address = 0;
  bool size_ok = true;
  Handle h = spi::accept(_handle, &address, &size_ok);
  if (h == INVALID)
    return Socket();
  TW_ASSERT_TEXT(size_ok, "addr_size == sizeof(addr)", "");
  spi::set_no_delay(h);
  // The peer's port is deliberately not kept.
  if (peer)
    *peer = SocketAddress(address, 0);
  return Socket(h);
}

bool Socket::connect(const SocketAddress& address) {
  int result = spi::connect(_handle, address.address, address.port);
  return result == 0 || socket_error::already_connected();
}

int Socket::send(const void* data, uint32_t bytes) { return spi::send(_handle, data, bytes); }

int Socket::receive(void* data, uint32_t bytes) { return spi::receive(_handle, data, bytes); }

int Socket::send_to(const void* data, uint32_t bytes, const SocketAddress& to) {
  return spi::send_to(_handle, data, bytes, to.address, to.port);
}

int Socket::receive_from(void* data, uint32_t bytes, SocketAddress& from) {
  return spi::receive_from(_handle, data, bytes, &from.address, &from.port);
}

void Socket::close() {
  if (_handle == INVALID)
    return;
  int result = spi::close(_handle);
  _handle = INVALID;
  TW_ASSERT_TEXT(result >= 0, "false", "Close socket failed");
}

namespace {
// The distinct valid handles of a list, at most MAX_SELECT, with where each
// entry of the list went (or -1).
uint32_t gather(Socket* const* sockets, uint32_t count, Socket::Handle* set, int* slot) {
  uint32_t n = 0;
  for (uint32_t i = 0; i < count; ++i) {
    slot[i] = -1;
    if (!sockets[i] || !sockets[i]->is_valid())
      continue;
    Socket::Handle h = sockets[i]->handle();
    for (uint32_t j = 0; j < n; ++j)
      if (set[j] == h)
        slot[i] = int(j);
    if (slot[i] < 0 && n < Socket::MAX_SELECT) {
      set[n] = h;
      slot[i] = int(n++);
    }
  }
  return n;
}
} // namespace

void Socket::split_timeout(float seconds, long& whole_seconds, long& microseconds) {
  whole_seconds = long(seconds);
  microseconds = long((seconds - float(whole_seconds)) * 1000000.0f);
}

int Socket::select(Socket* const* read, uint32_t read_count, Socket* const* write, uint32_t write_count,
                   float timeout_seconds, bool* read_ready, bool* write_ready) {
  Handle read_set[MAX_SELECT], write_set[MAX_SELECT];
  bool read_flags[MAX_SELECT] = {}, write_flags[MAX_SELECT] = {};
  // Slots for every entry given; lists longer than this are cut.
  const uint32_t MAX_ENTRIES = 1024;
  int read_slot[MAX_ENTRIES], write_slot[MAX_ENTRIES];
  if (read_count > MAX_ENTRIES)
    read_count = MAX_ENTRIES;
  if (write_count > MAX_ENTRIES)
    write_count = MAX_ENTRIES;
  uint32_t nr = gather(read, read_count, read_set, read_slot);
  uint32_t nw = gather(write, write_count, write_set, write_slot);

  long seconds, microseconds;
  split_timeout(timeout_seconds, seconds, microseconds);
  int result = spi::select(read_set, nr, write_set, nw, seconds, microseconds, read_flags, write_flags);
  TW_ASSERT_TEXT(result >= 0, "result >= 0", "");
  for (uint32_t i = 0; read_ready && i < read_count; ++i)
    read_ready[i] = read_slot[i] >= 0 && read_flags[read_slot[i]];
  for (uint32_t i = 0; write_ready && i < write_count; ++i)
    write_ready[i] = write_slot[i] >= 0 && write_flags[write_slot[i]];
  return result;
}

namespace socket_error {

int last() { return spi::last_error(); }
bool in_progress() { return last() == IN_PROGRESS; }
bool would_block() { return last() == WOULD_BLOCK; }
bool connection_reset() { return last() == CONNECTION_RESET; }
bool already_connected() { return last() == ALREADY_CONNECTED; }

const char* name(int code) {
  switch (code) {
  case 10013:
    return "WSAEACCES";
  case 10014:
    return "WSAEFAULT";
  case 10022:
    return "WSAEINVAL";
  case 10036:
    return "WSAEINPROGRESS";
  case 10038:
    return "WSAENOTSOCK";
  case 10048:
    return "WSAEADDRINUSE";
  case 10049:
    return "WSAEADDRNOTAVAIL";
  case 10050:
    return "WSAENETDOWN";
  case 10055:
    return "WSAENOBUFS";
  case 10093:
    return "WSANOTINITIALISED";
  default:
    return "unknown error";
  }
}

} // namespace socket_error
} // namespace foundation
