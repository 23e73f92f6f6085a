// Winsock behind the socket platform interface.
#include "foundation/network/socket.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <string.h>

namespace foundation {
namespace socket_platform_interface {

namespace {

SOCKET to_socket(Socket::Handle h) { return h == Socket::INVALID ? INVALID_SOCKET : SOCKET(h); }

sockaddr_in make_address(uint32_t address, uint32_t port) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(address);
  a.sin_port = htons(u_short(port));
  return a;
}

} // namespace

Socket::Handle open(int type) {
  SOCKET s = socket(AF_INET, type == Socket::STREAM ? SOCK_STREAM : SOCK_DGRAM, 0);
  return s == INVALID_SOCKET ? Socket::INVALID : Socket::Handle(s);
}

int set_no_delay(Socket::Handle socket) {
  BOOL on = TRUE;
  return setsockopt(to_socket(socket), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on));
}

static int address_of(int r, const sockaddr_in& a, int size, uint32_t* address, uint32_t* port, bool* size_ok) {
  *size_ok = size == int(sizeof(a));
  *address = ntohl(a.sin_addr.s_addr);
  *port = ntohs(a.sin_port);
  return r;
}

int local_address(Socket::Handle socket, uint32_t* address, uint32_t* port, bool* size_ok) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  int size = sizeof(a);
  int r = getsockname(to_socket(socket), reinterpret_cast<sockaddr*>(&a), &size);
  return address_of(r, a, size, address, port, size_ok);
}

int peer_address(Socket::Handle socket, uint32_t* address, uint32_t* port, bool* size_ok) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  int size = sizeof(a);
  int r = getpeername(to_socket(socket), reinterpret_cast<sockaddr*>(&a), &size);
  return address_of(r, a, size, address, port, size_ok);
}

int set_blocking(Socket::Handle socket, bool blocking) {
  u_long non_blocking = blocking ? 0 : 1;
  return ioctlsocket(to_socket(socket), FIONBIO, &non_blocking);
}

int set_option(Socket::Handle socket, Option option, int value) {
  int name = option == REUSE_ADDRESS    ? SO_REUSEADDR
             : option == BROADCAST      ? SO_BROADCAST
             : option == RECEIVE_BUFFER ? SO_RCVBUF
                                        : SO_SNDBUF;
  return setsockopt(to_socket(socket), SOL_SOCKET, name, reinterpret_cast<const char*>(&value), sizeof(value));
}

int bind(Socket::Handle socket, uint32_t address, uint32_t port) {
  sockaddr_in a = make_address(address, port);
  return ::bind(to_socket(socket), reinterpret_cast<sockaddr*>(&a), sizeof(a));
}

int listen(Socket::Handle socket, int backlog) { return ::listen(to_socket(socket), backlog); }

Socket::Handle accept(Socket::Handle socket, uint32_t* address, bool* size_ok) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  int size = sizeof(a);
  SOCKET s = ::accept(to_socket(socket), reinterpret_cast<sockaddr*>(&a), &size);
  if (s == INVALID_SOCKET)
    return Socket::INVALID;
  *size_ok = size == int(sizeof(a));
  *address = ntohl(a.sin_addr.s_addr);
  return Socket::Handle(s);
}

int connect(Socket::Handle socket, uint32_t address, uint32_t port) {
  sockaddr_in a = make_address(address, port);
  return ::connect(to_socket(socket), reinterpret_cast<sockaddr*>(&a), sizeof(a));
}

int send(Socket::Handle socket, const void* data, uint32_t bytes) {
  return ::send(to_socket(socket), static_cast<const char*>(data), int(bytes), 0);
}

int receive(Socket::Handle socket, void* data, uint32_t bytes) {
  return ::recv(to_socket(socket), static_cast<char*>(data), int(bytes), 0);
}

int send_to(Socket::Handle socket, const void* data, uint32_t bytes, uint32_t address, uint32_t port) {
  sockaddr_in a = make_address(address, port);
  return ::sendto(to_socket(socket), static_cast<const char*>(data), int(bytes), 0, reinterpret_cast<sockaddr*>(&a),
                  sizeof(a));
}

int receive_from(Socket::Handle socket, void* data, uint32_t bytes, uint32_t* address, uint32_t* port) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  int size = sizeof(a);
  int r = ::recvfrom(to_socket(socket), static_cast<char*>(data), int(bytes), 0, reinterpret_cast<sockaddr*>(&a),
                     &size);
  *address = ntohl(a.sin_addr.s_addr);
  *port = ntohs(a.sin_port);
  return r;
}

int close(Socket::Handle socket) { return closesocket(to_socket(socket)); }

int select(const Socket::Handle* read, uint32_t read_count, const Socket::Handle* write, uint32_t write_count,
           long seconds, long microseconds, bool* read_ready, bool* write_ready) {
  // fd_set holds 64 sockets by default, the most a set is given.
  fd_set read_set, write_set;
  FD_ZERO(&read_set);
  FD_ZERO(&write_set);
  for (uint32_t i = 0; i < read_count; ++i)
    FD_SET(to_socket(read[i]), &read_set);
  for (uint32_t i = 0; i < write_count; ++i)
    FD_SET(to_socket(write[i]), &write_set);
  timeval timeout;
  timeout.tv_sec = seconds;
  timeout.tv_usec = microseconds;
  int r = ::select(0, &read_set, &write_set, nullptr, &timeout);
  if (r < 0)
    return r;
  for (uint32_t i = 0; i < read_count; ++i)
    read_ready[i] = FD_ISSET(to_socket(read[i]), &read_set) != 0;
  for (uint32_t i = 0; i < write_count; ++i)
    write_ready[i] = FD_ISSET(to_socket(write[i]), &write_set) != 0;
  return r;
}

int last_error() { return WSAGetLastError(); }

bool resolve(const char* host, uint32_t* address) {
  addrinfo hints;
  memset(&hints, 0, sizeof(hints));
  hints.ai_family = AF_INET;
  addrinfo* found = nullptr;
  if (getaddrinfo(host, nullptr, &hints, &found) != 0 || !found)
    return false;
  *address = ntohl(reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr.s_addr);
  freeaddrinfo(found);
  return true;
}

} // namespace socket_platform_interface
} // namespace foundation
