// A development-tool side for the console tests: a connected socket that
// sends frames and cuts what arrives into messages, while the server under
// test is updated in between.
#pragma once

#include "foundation/collection/vector.h"
#include "foundation/config/dynamic_config_value.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/network/console_frame.h"
#include "foundation/network/console_server.h"
#include "foundation/network/init.h"
#include "foundation/network/socket.h"
#include "foundation/thread/thread.h"
#include "foundation/utility/timer.h"

#include <string.h>
#include <functional>
#include <string>

namespace test {

using foundation::ConsoleServer;
using foundation::DynamicConfigValue;
using foundation::Socket;
using foundation::SocketAddress;
using foundation::Vector;

inline SocketAddress loopback(uint32_t port) { return SocketAddress(127, 0, 0, 1, port); }

// The network is up for the scope.
struct Network {
  Network() { foundation::network::init(); }
  ~Network() { foundation::network::shutdown(); }
};

// Updates `server` until `done` holds or `seconds` pass; returns `done()`.
inline bool pump(ConsoleServer& server, const std::function<bool()>& done, double seconds = 5.0) {
  uint64_t start = foundation::timer::ticks();
  while (!done()) {
    if (foundation::timer::seconds_since(start) > seconds)
      return false;
    server.update();
    foundation::thread::sleep_ms(1);
  }
  return true;
}

class TestClient {
public:
  TestClient()
      : input(foundation::memory_globals::default_allocator()),
        messages(foundation::memory_globals::default_allocator()) {}

  // Connects (blocking), then works non-blocking.
  bool connect(uint32_t port) {
    socket.open(Socket::STREAM);
    bool ok = socket.connect(loopback(port));
    socket.set_blocking(false);
    return ok;
  }

  // Sends all of `bytes`, waiting while the socket is full.
  bool send_raw(const void* bytes, uint32_t size) {
    const char* p = static_cast<const char*>(bytes);
    uint64_t start = foundation::timer::ticks();
    while (size > 0) {
      int n = socket.send(p, size);
      if (n > 0) {
        p += n;
        size -= uint32_t(n);
      } else if (!foundation::socket_error::would_block() || foundation::timer::seconds_since(start) > 5) {
        return false;
      } else {
        foundation::thread::sleep_ms(1);
      }
    }
    return true;
  }

  bool send_json(const char* json, const void* payload = nullptr, uint32_t payload_length = 0) {
    Vector<char> frame(foundation::memory_globals::default_allocator());
    foundation::console_frame::build(json, uint32_t(strlen(json)), payload, payload_length, frame);
    return send_raw(frame.data(), frame.size());
  }

  // Reads what has arrived and cuts it into `messages`; false when the
  // connection is gone or broken.
  bool poll() {
    uint8_t buffer[65536];
    for (;;) {
      int n = socket.receive(buffer, sizeof(buffer));
      if (n > 0) {
        input.push_back_n(buffer, uint32_t(n));
        continue;
      }
      if (n == 0 || !foundation::socket_error::would_block())
        closed = true;
      break;
    }
    const char* problem = nullptr;
    return foundation::console_frame::cut_messages(input, messages, &problem) && !closed;
  }

  // The "message" members of the log messages received so far.
  bool has_log(const char* text) const {
    for (uint32_t i = 0; i < messages.size(); ++i)
      if (messages[i].is_object() && messages[i].has("message") &&
          strstr(messages[i].get("message").to_string(), text))
        return true;
    return false;
  }

  Socket socket;
  Vector<uint8_t> input;
  Vector<DynamicConfigValue> messages;
  bool closed = false;
};

// The server accepts one client per update and listens with a backlog of
// 10, so each client is connected and accepted in turn.
inline bool connect_clients(ConsoleServer& server, TestClient* clients, uint32_t count) {
  uint32_t before = server.client_count();
  for (uint32_t i = 0; i < count; ++i) {
    if (!clients[i].connect(server.port()))
      return false;
    if (!pump(server, [&] { return server.client_count() == before + i + 1; }))
      return false;
  }
  return true;
}

inline DynamicConfigValue message_object(const char* type, const char* text) {
  DynamicConfigValue m(foundation::memory_globals::default_allocator());
  m.set_object();
  m.get("type").set_string(type);
  m.get("text").set_string(text);
  return m;
}

} // namespace test
