// ConsoleServer: connects the running system to a development tool.
//
// It either listens on a port for tools to connect, or connects out to a
// console relay. Messages are DynamicConfigValue objects sent to every
// client as frames (foundation/network/console_frame); messages from
// clients are handed to the receiver registered for their "type" (hashed
// to an IdString64). Nothing happens between calls to update(), which
// accepts at most one new client, reads and cuts incoming frames, writes
// what each client's output buffer holds and drops clients that went away,
// then, without the server's lock, calls the receivers.
//
// No client can stop the server: a broken frame, an absurd length or a
// message that is not JSON drops that client with a warning. A full output
// buffer (131,072 bytes) is written out to the socket on the spot, without
// waiting; a client whose socket and buffer are both full does not read
// what it is sent and is dropped too. send() never blocks. update(), send()
// and the receiver table share one lock, so any thread may send (and log)
// while another updates.
//
// Nor can clients together exhaust the process: at most MAX_CLIENTS are
// connected at once (a further one is accepted and closed at once, with a
// warning), the input buffers of all clients together hold at most
// MAX_BUFFERED_INPUT bytes (the client whose read would pass it is dropped:
// room for one frame of the largest size and some more), an input buffer
// grows no further than the frame it is receiving needs, and a buffer that
// grew for a large frame is given back once that frame is cut out.
//
// The listening server binds to every local address, as the protocol has
// it, unless a bind address is given: "127.0.0.1" keeps it to this machine.
//
// Made the log console with set_log_console, the server also gets every log
// line as {type = "message", level, system, message}, and a crash waits for
// a client and drains the report to it.
#pragma once

#include "foundation/collection/sort_map.h"
#include "foundation/collection/vector.h"
#include "foundation/config/dynamic_config_value.h"
#include "foundation/memory/trace_allocator.h"
#include "foundation/network/socket.h"
#include "foundation/thread/critical_section.h"
#include "foundation/utility/id_string.h"

namespace foundation {

class ConsoleServer {
public:
  typedef void (*Receiver)(void* user, const DynamicConfigValue& message);
  static constexpr uint32_t OUTPUT_BUFFER_SIZE = 131072;
  static constexpr uint32_t MAX_CLIENTS = 32;
  static constexpr uint32_t MAX_BUFFERED_INPUT = 72u * 1024u * 1024u;
  // An input buffer above this size is shrunk back once its frame is cut.
  static constexpr uint32_t INPUT_KEEP = 64u * 1024u;

  // The bounds on what clients may take; a 0 keeps the default above.
  struct Limits {
    uint32_t max_clients = 0;
    uint32_t max_buffered_input = 0;
  };

  // Listens on `port` (0 picks a free port; port() tells which) on every
  // local address, or only on `bind_address` (a numeric IPv4 address or a
  // host name) when one is given.
  explicit ConsoleServer(uint32_t port, const char* bind_address = nullptr);
  // Connects to the relay at `relay_host`:`port`, waiting until it accepts.
  ConsoleServer(const char* relay_host, uint32_t port);
  ~ConsoleServer();
  ConsoleServer(const ConsoleServer&) = delete;
  ConsoleServer& operator=(const ConsoleServer&) = delete;

  void update();
  // Listening mode only: updates until a client is there or `seconds` have
  // passed, then logs how long it waited.
  void wait_for_connection(float seconds);

  // Queues the message (and a payload) for every client.
  void send(const DynamicConfigValue& message, const void* payload = nullptr, uint32_t payload_length = 0);
  // A "binary_file_data" message with the file's bytes as payload.
  void send_binary_file_data(const char* file_name, const void* data, uint32_t len);

  // One receiver per type.
  void add_receiver(const char* type, Receiver receiver, void* user);
  void remove_receiver(const char* type);

  uint32_t client_count();
  // Bytes queued for the clients and not written to their sockets yet.
  uint32_t pending_output();
  // Bytes the clients' input buffers hold (their capacity).
  uint32_t buffered_input();
  void set_limits(const Limits& limits);
  bool is_relay() const { return _relay_host != nullptr; }
  uint32_t port() const { return _port; }
  // Relay mode: connect calls made to get back to a lost relay.
  uint32_t reconnect_calls() const { return _reconnect_calls; }

private:
  struct Client;
  struct ReceiverEntry {
    Receiver function;
    void* user;
  };

  void add_client(Socket&& socket, const SocketAddress& peer);
  void connect_to_relay_again(double elapsed);
  void read_client(Client& client, Vector<DynamicConfigValue>& messages, Vector<String>& warnings,
                   uint64_t& input_held);
  void write_client(Client& client);

  TraceAllocator _allocator;
  Socket _listener;
  CriticalSection _lock;
  char* _relay_host;
  uint32_t _port;
  SocketAddress _relay_address;
  double _reconnect_timer;
  uint64_t _last_update;
  uint32_t _reconnect_calls;
  uint32_t _max_clients;
  uint32_t _max_buffered_input;
  Vector<Client*> _clients;
  SortMap<IdString64, ReceiverEntry> _receivers;
};

// Makes `server` the console of the log and the crash reporter (null: none).
void set_log_console(ConsoleServer* server);

} // namespace foundation
