// Socket: IPv4 stream (TCP) and datagram (UDP) sockets, guarded by
// assertions.
//
// Calls that must not fail (open, options, bind, listen, addresses, close,
// select) report through the error reporter; the calls whose failure is
// normal in non-blocking use (accept, connect, send, receive) give their
// result back. Error codes are the Winsock ones on every platform: the POSIX
// side maps errno to the Winsock code of the same meaning where one exists
// (EADDRINUSE is 10048 "WSAEADDRINUSE"), so reports and tests read the same
// everywhere.
//
// A Socket owns its handle: moving transfers it and leaves the source
// closed; destruction closes it. Stream sockets have TCP_NODELAY on.
#pragma once

#include "foundation/network/socket_address.h"

namespace foundation {

class Socket {
public:
  enum Type { STREAM = 0, DATAGRAM = 1 };
  typedef uintptr_t Handle;
  static constexpr Handle INVALID = ~Handle(0);

  Socket() : _handle(INVALID) {}
  explicit Socket(Handle handle) : _handle(handle) {}
  ~Socket() { close(); }
  Socket(Socket&& other) noexcept : _handle(other._handle) { other._handle = INVALID; }
  Socket& operator=(Socket&& other) noexcept;
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  // Opens a socket of `type` (STREAM or DATAGRAM).
  void open(int type);
  bool is_valid() const { return _handle != INVALID; }
  Handle handle() const { return _handle; }

  SocketAddress local_address() const;
  SocketAddress peer_address() const;

  void set_blocking(bool blocking);
  void set_reuse_address(bool reuse);
  void set_broadcast(bool broadcast);
  void set_receive_buffer_size(int bytes);
  void set_send_buffer_size(int bytes);

  // Reports "Cannot bind to ADDRESS -- port in use?" with the error code.
  void bind(const SocketAddress& address);
  bool listen(int backlog);
  // A connected socket (TCP_NODELAY on), or an invalid one when none is
  // waiting. The peer's address is recorded with port 0.
  Socket accept(SocketAddress* peer = nullptr);
  // True when connected, also when it already was.
  bool connect(const SocketAddress& address);

  // Bytes sent or received, or a negative value (see socket_error).
  int send(const void* data, uint32_t bytes);
  int receive(void* data, uint32_t bytes);
  int send_to(const void* data, uint32_t bytes, const SocketAddress& to);
  int receive_from(void* data, uint32_t bytes, SocketAddress& from);

  // Closes the handle; closing a closed socket does nothing.
  void close();

  // Waits until one of the sockets can be read or written or the timeout
  // (seconds) has passed; returns how many are ready. Each set takes a
  // socket once (duplicates are skipped) and at most MAX_SELECT sockets.
  // `read_ready` / `write_ready`, when given, are set per entry of the lists.
  static constexpr uint32_t MAX_SELECT = 64;
  static int select(Socket* const* read, uint32_t read_count, Socket* const* write, uint32_t write_count,
                    float timeout_seconds, bool* read_ready = nullptr, bool* write_ready = nullptr);
  // The timeout as select takes it: whole seconds, and the fraction in
  // microseconds (truncated).
  static void split_timeout(float seconds, long& whole_seconds, long& microseconds);

private:
  Handle _handle;
};

namespace socket_error {

const int IN_PROGRESS = 10036;
const int WOULD_BLOCK = 10035;
const int CONNECTION_RESET = 10054;
const int ALREADY_CONNECTED = 10056;

// The last error of the calling thread, as a Winsock code.
int last();
bool in_progress();
bool would_block();
bool connection_reset();
bool already_connected();
// "WSAEADDRINUSE" and the like; "unknown error" for other codes.
const char* name(int code);

} // namespace socket_error

// What each platform provides (socket_posix.cpp, socket_win32.cpp). Results
// follow the BSD calls: negative on failure, with the error in last_error().
namespace socket_platform_interface {

Socket::Handle open(int type);
int set_no_delay(Socket::Handle socket);
// Address and port in host byte order; `size_ok` tells whether the record
// returned had the size of an IPv4 address.
int local_address(Socket::Handle socket, uint32_t* address, uint32_t* port, bool* size_ok);
int peer_address(Socket::Handle socket, uint32_t* address, uint32_t* port, bool* size_ok);
int set_blocking(Socket::Handle socket, bool blocking);
enum Option { REUSE_ADDRESS, BROADCAST, RECEIVE_BUFFER, SEND_BUFFER };
int set_option(Socket::Handle socket, Option option, int value);
int bind(Socket::Handle socket, uint32_t address, uint32_t port);
int listen(Socket::Handle socket, int backlog);
Socket::Handle accept(Socket::Handle socket, uint32_t* address, bool* size_ok);
int connect(Socket::Handle socket, uint32_t address, uint32_t port);
int send(Socket::Handle socket, const void* data, uint32_t bytes);
int receive(Socket::Handle socket, void* data, uint32_t bytes);
int send_to(Socket::Handle socket, const void* data, uint32_t bytes, uint32_t address, uint32_t port);
int receive_from(Socket::Handle socket, void* data, uint32_t bytes, uint32_t* address, uint32_t* port);
int close(Socket::Handle socket);
// Readiness is written into the flags; returns the number of ready sockets.
int select(const Socket::Handle* read, uint32_t read_count, const Socket::Handle* write, uint32_t write_count,
           long seconds, long microseconds, bool* read_ready, bool* write_ready);
int last_error();
bool resolve(const char* host, uint32_t* address);

} // namespace socket_platform_interface
} // namespace foundation
