#include "foundation/network/console_server.h"

#include "foundation/collection/ring_buffer.h"
#include "foundation/collection/string.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/error/assert.h"
#include "foundation/error/log.h"
#include "foundation/error/log_sinks.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/memory/temp_allocator.h"
#include "foundation/network/console_frame.h"
#include "foundation/thread/thread.h"
#include "foundation/utility/timer.h"

#include <atomic>
#include <stdio.h>
#include <string.h>

namespace foundation {

struct ConsoleServer::Client {
  Socket socket;
  SocketAddress peer; // kept from the connection: a dropped socket can't be asked
  ConsoleServer* server;
  RawRingBuffer output;
  bool overflowed;
  bool dead;
  Vector<uint8_t> input;

  Client(ConsoleServer& s, Socket&& connected, const SocketAddress& address)
      : socket(std::move(connected)), peer(address), server(&s), output(s._allocator, OUTPUT_BUFFER_SIZE), overflowed(false),
        dead(false), input(s._allocator) {}
};

namespace {

// Bytes read from one client per update, so that a flood from one cannot
// starve the others.
const uint32_t READ_LIMIT_PER_UPDATE = 1024 * 1024;
const uint32_t READ_CHUNK = 16384;

void add_warning(Vector<String>& warnings, const char* text, const SocketAddress& peer) {
  char address[32];
  peer.to_text(address, sizeof(address));
  String& w = warnings.push_back_default();
  w = "Dropping console client ";
  w.append(address);
  w.append(": ");
  w.append(text);
}

} // namespace

ConsoleServer::ConsoleServer(uint32_t port, const char* bind_address)
    : _allocator("console_server", memory_globals::default_allocator()), _lock(4000), _relay_host(nullptr),
      _port(port), _reconnect_timer(0), _last_update(timer::ticks()), _reconnect_calls(0), _max_clients(MAX_CLIENTS),
      _max_buffered_input(MAX_BUFFERED_INPUT), _clients(_allocator), _receivers(_allocator) {
  SocketAddress local(0, port);
  if (bind_address) {
    bool found = resolve_address(bind_address, port, local);
    TW_ASSERT_MSG(found, "Cannot find the address %s to listen on", bind_address);
  }
  _listener.open(Socket::STREAM);
  _listener.set_blocking(false);
  _listener.set_reuse_address(true);
  _listener.bind(local);
  _listener.listen(10);
  _port = _listener.local_address().port;
}

ConsoleServer::ConsoleServer(const char* relay_host, uint32_t port)
    : _allocator("console_server", memory_globals::default_allocator()), _lock(4000), _relay_host(nullptr),
      _port(port), _reconnect_timer(0), _last_update(timer::ticks()), _reconnect_calls(0), _max_clients(MAX_CLIENTS),
      _max_buffered_input(MAX_BUFFERED_INPUT), _clients(_allocator), _receivers(_allocator) {
  size_t length = strlen(relay_host);
  _relay_host = static_cast<char*>(_allocator.allocate(uint32_t(length + 1), 1));
  memcpy(_relay_host, relay_host, length + 1);
  resolve_address(relay_host, port, _relay_address);
  Socket socket;
  socket.open(Socket::STREAM);
  socket.set_blocking(false);
  log_info("ConsoleServer", "Connecting to console relay %s %i", relay_host, int(port));
  while (!socket.connect(_relay_address)) {
    log_info("ConsoleServer", "Waiting for connection...");
    thread::sleep_ms(1000);
  }
  add_client(std::move(socket), _relay_address);
}

ConsoleServer::~ConsoleServer() {
  for (uint32_t i = 0; i < _clients.size(); ++i)
    _allocator.make_delete(_clients[i]);
  _clients.clear();
  _allocator.deallocate(_relay_host);
}

void ConsoleServer::add_client(Socket&& socket, const SocketAddress& peer) {
  Client* client = _allocator.make_new<Client>(*this, std::move(socket), peer);
  _clients.push_back(client);
}

uint32_t ConsoleServer::client_count() {
  ScopedCriticalSection lock(_lock);
  return _clients.size();
}

void ConsoleServer::set_limits(const Limits& limits) {
  ScopedCriticalSection lock(_lock);
  _max_clients = limits.max_clients ? limits.max_clients : MAX_CLIENTS;
  _max_buffered_input = limits.max_buffered_input ? limits.max_buffered_input : MAX_BUFFERED_INPUT;
}

uint32_t ConsoleServer::buffered_input() {
  ScopedCriticalSection lock(_lock);
  uint32_t bytes = 0;
  for (uint32_t i = 0; i < _clients.size(); ++i)
    bytes += _clients[i]->input.capacity();
  return bytes;
}

uint32_t ConsoleServer::pending_output() {
  ScopedCriticalSection lock(_lock);
  uint32_t bytes = 0;
  for (uint32_t i = 0; i < _clients.size(); ++i)
    bytes += _clients[i]->output.unconsumed();
  return bytes;
}

void ConsoleServer::connect_to_relay_again(double elapsed) {
  _reconnect_timer += elapsed;
  if (_reconnect_timer < 0.5)
    return;
  Socket socket;
  socket.open(Socket::STREAM);
  socket.set_blocking(false);
  for (int attempt = 0; attempt < 3; ++attempt) {
    ++_reconnect_calls;
    if (socket.connect(_relay_address)) {
      add_client(std::move(socket), _relay_address);
      _reconnect_timer = 0.0;
      return;
    }
  }
  _reconnect_timer = 0.0;
  socket.close();
}

// The capacity an input buffer grows to for `needed` bytes: the usual rule,
// but no further than the frame being received needs (its length is known
// once its header is in).
static uint32_t input_capacity_for(const Vector<uint8_t>& input, uint32_t needed) {
  uint64_t grown = uint64_t(input.capacity()) * 2 + 10;
  if (input.size() >= 8) {
    const uint8_t* h = input.data();
    uint64_t length = (uint64_t(h[4]) << 24) | (uint64_t(h[5]) << 16) | (uint64_t(h[6]) << 8) | h[7];
    uint64_t frame_end = 8 + length;
    if (length <= console_frame::MAX_FRAME_LENGTH && frame_end < grown)
      grown = frame_end;
  }
  return grown > needed ? uint32_t(grown) : needed;
}

void ConsoleServer::read_client(Client& client, Vector<DynamicConfigValue>& messages, Vector<String>& warnings,
                                uint64_t& input_held) {
  uint32_t total = 0;
  while (total < READ_LIMIT_PER_UPDATE) {
    Vector<uint8_t>& input = client.input;
    uint32_t needed = input.size() + READ_CHUNK;
    if (needed > input.capacity()) {
      uint32_t capacity = input_capacity_for(input, needed);
      if (input_held - input.capacity() + capacity > _max_buffered_input) {
        char text[160];
        snprintf(text, sizeof(text),
                 "its unread input would take the clients' input past %u bytes (it holds %u)",
                 _max_buffered_input, input.size());
        add_warning(warnings, text, client.peer);
        client.dead = true;
        return;
      }
      input_held += capacity - input.capacity();
      input.set_capacity(capacity);
    }
    uint8_t* at = input.make_room(READ_CHUNK);
    int n = client.socket.receive(at, READ_CHUNK);
    if (n > 0) {
      input.set_size(input.size() + uint32_t(n));
      total += uint32_t(n);
      continue;
    }
    if (n == 0 || !socket_error::would_block())
      client.dead = true; // closed by the peer, or the connection failed
    break;
  }
  const char* problem = nullptr;
  if (!console_frame::cut_messages(client.input, messages, &problem)) {
    add_warning(warnings, problem, client.peer);
    client.dead = true;
  }
  // A buffer that grew for a large frame is not kept for the small ones.
  Vector<uint8_t>& input = client.input;
  if (input.capacity() > INPUT_KEEP && input.size() < input.capacity() / 4) {
    uint32_t keep = input.size() + READ_CHUNK > INPUT_KEEP ? input.size() + READ_CHUNK : INPUT_KEEP;
    if (keep < input.capacity()) {
      input_held -= input.capacity() - keep;
      input.set_capacity(keep);
    }
  }
}

void ConsoleServer::write_client(Client& client) {
  while (client.output.unconsumed() > 0) {
    uint32_t size = client.output.ready_size();
    const char* data = client.output.read(size);
    int sent = client.socket.send(data, size);
    if (sent > 0) {
      client.output.consume(uint32_t(sent));
      continue;
    }
    if (sent < 0 && !socket_error::would_block())
      client.dead = true;
    break;
  }
}

void ConsoleServer::update() {
  ScopedTempAllocator scratch;
  Vector<DynamicConfigValue> messages(scratch);
  Vector<String> warnings(scratch);
  {
    ScopedCriticalSection lock(_lock);
    uint64_t now = timer::ticks();
    double elapsed = timer::seconds_between(_last_update, now);
    _last_update = now;

    if (!is_relay()) {
      SocketAddress peer;
      Socket accepted = _listener.accept(&peer);
      if (accepted.is_valid()) {
        if (_clients.size() < _max_clients) {
          accepted.set_blocking(false);
          add_client(std::move(accepted), peer);
        } else {
          // Taken from the queue and closed, so that it doesn't wait there.
          char address[32];
          peer.to_text(address, sizeof(address));
          String& w = warnings.push_back_default();
          w = "Refusing console client ";
          w.append(address);
          w.append(": the server already has its most clients");
          accepted.close();
        }
      }
    } else if (_clients.empty()) {
      connect_to_relay_again(elapsed);
    }

    uint64_t input_held = 0;
    for (uint32_t i = 0; i < _clients.size(); ++i)
      input_held += _clients[i]->input.capacity();
    for (uint32_t i = 0; i < _clients.size(); ++i)
      if (!_clients[i]->dead)
        read_client(*_clients[i], messages, warnings, input_held);
    for (uint32_t i = 0; i < _clients.size(); ++i)
      if (!_clients[i]->dead && !_clients[i]->overflowed)
        write_client(*_clients[i]);

    for (uint32_t i = _clients.size(); i-- > 0;) {
      Client* c = _clients[i];
      if (!c->dead && !c->overflowed)
        continue;
      if (c->overflowed)
        add_warning(warnings, "it does not read what it is sent", c->peer);
      _allocator.make_delete(c);
      _clients.erase(i);
    }
  }

  // Logging sends to the console, so it waits until the lock is released.
  for (uint32_t i = 0; i < warnings.size(); ++i)
    log_warning("ConsoleServer", "%s", warnings[i].c_str());

  for (uint32_t i = 0; i < messages.size(); ++i) {
    const DynamicConfigValue& message = messages[i];
    if (!message.is_object() || !message.has("type") || !message.get("type").is_string())
      continue;
    IdString64 type(message.get("type").to_string());
    ReceiverEntry entry = {nullptr, nullptr};
    {
      ScopedCriticalSection lock(_lock);
      const SortMap<IdString64, ReceiverEntry>::Pair* found = _receivers.find(type);
      if (found)
        entry = found->value;
    }
    if (entry.function)
      entry.function(entry.user, message);
  }
}

void ConsoleServer::wait_for_connection(float seconds) {
  if (is_relay() || !(seconds > 0.0f))
    return;
  double waited = 0.0;
  uint64_t last = timer::ticks();
  while (waited < double(seconds)) {
    if (client_count() > 0)
      break;
    update();
    uint64_t now = timer::ticks();
    waited += timer::seconds_between(last, now);
    last = now;
    thread::sleep_ms(1);
  }
  log_info("Console", "Waited %f seconds for a console connection", waited);
}

void ConsoleServer::send(const DynamicConfigValue& message, const void* payload, uint32_t payload_length) {
  Vector<char> text(_allocator);
  write_json(message, text, true);
  Vector<char> frame(_allocator);
  uint32_t needed = 12 + text.size() + 3 + payload_length;
  uint32_t reserve = payload ? 16384 : 1248;
  frame.reserve(needed > reserve ? needed : reserve);
  console_frame::build(text.data(), text.size(), payload, payload_length, frame);

  ScopedCriticalSection lock(_lock);
  for (uint32_t i = 0; i < _clients.size(); ++i) {
    Client& c = *_clients[i];
    if (c.dead || c.overflowed)
      continue;
    // A full buffer first gives what it holds to the socket (without
    // waiting); a client that still has no room is not keeping up.
    if (!c.output.can_fit(frame.size()))
      write_client(c);
    if (!c.output.can_fit(frame.size())) {
      c.overflowed = true; // dropped by the next update
      continue;
    }
    memcpy(c.output.write(frame.size()), frame.data(), frame.size());
  }
}

void ConsoleServer::send_binary_file_data(const char* file_name, const void* data, uint32_t len) {
  TW_ASSERT(file_name != nullptr);
  if (!file_name)
    return;
  TW_ASSERT(file_name[0] != '\0');
  TW_ASSERT(data != nullptr);
  TW_ASSERT(len != 0);
  if (file_name[0] == '\0' || !data || len == 0)
    return;
  ScopedTempAllocator scratch;
  DynamicConfigValue message(scratch);
  message.set_object();
  message.get("type").set_string("binary_file_data");
  message.get("file_name").set_string(file_name);
  message.get("binary_data_length").set_integer(int32_t(len));
  message.get("platform").set_string(TW_PLATFORM_NAME);
  uint16_t probe = 1;
  message.get("big_endian").set_bool(*reinterpret_cast<uint8_t*>(&probe) == 0);
  send(message, data, len);
}

void ConsoleServer::add_receiver(const char* type, Receiver receiver, void* user) {
  IdString64 id(type);
  ScopedCriticalSection lock(_lock);
  TW_ASSERT_TEXT(!_receivers.has(id), "!_receivers.has(IdString64(type))", "");
  if (_receivers.has(id))
    return;
  _receivers.insert(id, ReceiverEntry{receiver, user});
  _receivers.sort();
}

void ConsoleServer::remove_receiver(const char* type) {
  IdString64 id(type);
  ScopedCriticalSection lock(_lock);
  TW_ASSERT_TEXT(_receivers.has(id), "_receivers.has(IdString64(type))", "");
  _receivers.remove(id);
}

// ---------------------------------------------------------------------------
// The log console.

namespace {

std::atomic<ConsoleServer*> g_log_console(nullptr);

bool console_has_client() {
  ConsoleServer* s = g_log_console.load();
  return s && s->client_count() > 0;
}

void console_wait_for_connection(float seconds) {
  if (ConsoleServer* s = g_log_console.load())
    s->wait_for_connection(seconds);
}

void console_update() {
  if (ConsoleServer* s = g_log_console.load())
    s->update();
}

void console_send_log(const char* level, const char* system, const char* message) {
  ConsoleServer* s = g_log_console.load();
  if (!s)
    return;
  DynamicConfigValue m(memory_globals::default_allocator());
  m.set_object();
  m.get("type").set_string("message");
  m.get("level").set_string(level);
  m.get("system").set_string(system);
  m.get("message").set_string(message);
  s->send(m);
}

const ConsoleSink LOG_CONSOLE = {console_has_client, console_wait_for_connection, console_update, console_send_log};

} // namespace

void set_log_console(ConsoleServer* server) {
  g_log_console.store(server);
  log_sinks::set_console(server ? &LOG_CONSOLE : nullptr);
}

} // namespace foundation
