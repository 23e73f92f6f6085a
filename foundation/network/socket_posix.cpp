// BSD sockets behind the socket platform interface. Error codes are handed
// up as the Winsock codes of the same meaning.
#include "foundation/network/socket.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

namespace foundation {
namespace socket_platform_interface {

namespace {

int to_fd(Socket::Handle h) { return h == Socket::INVALID ? -1 : int(h); }

sockaddr_in make_address(uint32_t address, uint32_t port) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(address);
  a.sin_port = htons(uint16_t(port));
  return a;
}

int winsock_code(int e) {
  switch (e) {
  case EACCES:
    return 10013;
  case EFAULT:
    return 10014;
  case EINVAL:
    return 10022;
  case EINPROGRESS:
    return 10036;
  case EALREADY:
    return 10037;
  case ENOTSOCK:
    return 10038;
  case EMSGSIZE:
    return 10040;
  case EADDRINUSE:
    return 10048;
  case EADDRNOTAVAIL:
    return 10049;
  case ENETDOWN:
    return 10050;
  case ENETUNREACH:
    return 10051;
  case ECONNABORTED:
    return 10053;
  case ECONNRESET:
  case EPIPE:
    return 10054;
  case ENOBUFS:
    return 10055;
  case EISCONN:
    return 10056;
  case ENOTCONN:
    return 10057;
  case ETIMEDOUT:
    return 10060;
  case ECONNREFUSED:
    return 10061;
  case EHOSTUNREACH:
    return 10065;
  default:
    if (e == EAGAIN || e == EWOULDBLOCK)
      return 10035;
    return e;
  }
}

thread_local int tls_last_error = 0;

int result_of(long r) {
  tls_last_error = r < 0 ? winsock_code(errno) : 0;
  return int(r);
}

} // namespace

Socket::Handle open(int type) {
  int fd = socket(AF_INET, type == Socket::STREAM ? SOCK_STREAM : SOCK_DGRAM, 0);
  result_of(fd);
  return fd < 0 ? Socket::INVALID : Socket::Handle(fd);
}

int set_no_delay(Socket::Handle socket) {
  int on = 1;
  return result_of(setsockopt(to_fd(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)));
}

static int address_of(int r, const sockaddr_in& a, socklen_t size, uint32_t* address, uint32_t* port,
                      bool* size_ok) {
  *size_ok = size == sizeof(a);
  *address = ntohl(a.sin_addr.s_addr);
  *port = ntohs(a.sin_port);
  return result_of(r);
}

int local_address(Socket::Handle socket, uint32_t* address, uint32_t* port, bool* size_ok) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  socklen_t size = sizeof(a);
  int r = getsockname(to_fd(socket), reinterpret_cast<sockaddr*>(&a), &size);
  return address_of(r, a, size, address, port, size_ok);
}

int peer_address(Socket::Handle socket, uint32_t* address, uint32_t* port, bool* size_ok) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  socklen_t size = sizeof(a);
  int r = getpeername(to_fd(socket), reinterpret_cast<sockaddr*>(&a), &size);
  return address_of(r, a, size, address, port, size_ok);
}

int set_blocking(Socket::Handle socket, bool blocking) {
  int fd = to_fd(socket);
  int flags = fcntl(fd, F_GETFL, 0);
  if (flags < 0)
    return result_of(flags);
  flags = blocking ? (flags & ~O_NONBLOCK) : (flags | O_NONBLOCK);
  return result_of(fcntl(fd, F_SETFL, flags));
}

int set_option(Socket::Handle socket, Option option, int value) {
  int name = option == REUSE_ADDRESS    ? SO_REUSEADDR
             : option == BROADCAST      ? SO_BROADCAST
             : option == RECEIVE_BUFFER ? SO_RCVBUF
                                        : SO_SNDBUF;
  return result_of(setsockopt(to_fd(socket), SOL_SOCKET, name, &value, sizeof(value)));
}

int bind(Socket::Handle socket, uint32_t address, uint32_t port) {
  sockaddr_in a = make_address(address, port);
  return result_of(::bind(to_fd(socket), reinterpret_cast<sockaddr*>(&a), sizeof(a)));
}

int listen(Socket::Handle socket, int backlog) { return result_of(::listen(to_fd(socket), backlog)); }

Socket::Handle accept(Socket::Handle socket, uint32_t* address, bool* size_ok) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  socklen_t size = sizeof(a);
  int fd = ::accept(to_fd(socket), reinterpret_cast<sockaddr*>(&a), &size);
  result_of(fd);
  if (fd < 0)
    return Socket::INVALID;
  *size_ok = size == sizeof(a);
  *address = ntohl(a.sin_addr.s_addr);
  return Socket::Handle(fd);
}

int connect(Socket::Handle socket, uint32_t address, uint32_t port) {
  sockaddr_in a = make_address(address, port);
  return result_of(::connect(to_fd(socket), reinterpret_cast<sockaddr*>(&a), sizeof(a)));
}

int send(Socket::Handle socket, const void* data, uint32_t bytes) {
  // A peer that went away is an error code, never a SIGPIPE.
  return result_of(::send(to_fd(socket), data, bytes, MSG_NOSIGNAL));
}

int receive(Socket::Handle socket, void* data, uint32_t bytes) {
  return result_of(::recv(to_fd(socket), data, bytes, 0));
}

int send_to(Socket::Handle socket, const void* data, uint32_t bytes, uint32_t address, uint32_t port) {
  sockaddr_in a = make_address(address, port);
  return result_of(::sendto(to_fd(socket), data, bytes, MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&a), sizeof(a)));
}

int receive_from(Socket::Handle socket, void* data, uint32_t bytes, uint32_t* address, uint32_t* port) {
  sockaddr_in a;
  memset(&a, 0, sizeof(a));
  socklen_t size = sizeof(a);
  long r = ::recvfrom(to_fd(socket), data, bytes, 0, reinterpret_cast<sockaddr*>(&a), &size);
  *address = ntohl(a.sin_addr.s_addr);
  *port = ntohs(a.sin_port);
  return result_of(r);
}

int close(Socket::Handle socket) { return result_of(::close(to_fd(socket))); }

// poll() rather than select(): no limit on descriptor numbers.
int select(const Socket::Handle* read, uint32_t read_count, const Socket::Handle* write, uint32_t write_count,
           long seconds, long microseconds, bool* read_ready, bool* write_ready) {
  pollfd fds[2 * Socket::MAX_SELECT];
  uint32_t n = 0;
  for (uint32_t i = 0; i < read_count; ++i)
    fds[n++] = pollfd{to_fd(read[i]), POLLIN, 0};
  for (uint32_t i = 0; i < write_count; ++i)
    fds[n++] = pollfd{to_fd(write[i]), POLLOUT, 0};
  long ms = seconds * 1000 + (microseconds + 999) / 1000;
  int r = poll(fds, n, int(ms));
  if (r < 0 && errno == EINTR)
    r = 0;
  if (r < 0)
    return result_of(r);
  // Counted as select does: each set entry that is ready.
  int count = 0;
  for (uint32_t i = 0; i < read_count; ++i) {
    read_ready[i] = (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) != 0;
    count += read_ready[i] ? 1 : 0;
  }
  for (uint32_t i = 0; i < write_count; ++i) {
    write_ready[i] = (fds[read_count + i].revents & (POLLOUT | POLLERR | POLLHUP)) != 0;
    count += write_ready[i] ? 1 : 0;
  }
  result_of(0);
  return count;
}

int last_error() { return tls_last_error; }

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
