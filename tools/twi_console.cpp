// twi-console: a development-tool client of the console server.
//
//   twi-console HOST:PORT [--send JSON [--payload FILE]] [--seconds N] [--raw]
//   twi-console --listen PORT [--seconds N] [--raw]
//
// It connects to a listening console server (or, with --listen, waits as a
// relay for a server in relay mode to connect), prints every message as one
// line ("[level] system: message" for log lines, the JSON otherwise), and
// can send one message first. It ends when the connection closes or after
// --seconds.
#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/error/error.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/network/console_frame.h"
#include "foundation/network/init.h"
#include "foundation/network/socket.h"
#include "foundation/thread/thread.h"
#include "foundation/utility/timer.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>

using namespace foundation;

namespace {

const char* const USAGE =
    "usage: twi-console HOST:PORT [--send JSON [--payload FILE]] [--seconds N] [--raw]\n"
    "       twi-console --listen PORT [--seconds N] [--raw]\n"
    "\n"
    "Connects to a console server (or waits for one in relay mode with --listen)\n"
    "and prints every message it sends, one per line: \"[level] system: message\"\n"
    "for log lines, the message's JSON otherwise.\n"
    "\n"
    "options:\n"
    "  --send JSON       send this message first, e.g. '{\"type\":\"ping\"}'\n"
    "  --payload FILE    send the file's bytes as the message's binary payload\n"
    "  --seconds N       stop after N seconds (default: when the connection closes)\n"
    "  --raw             print every message as JSON, log lines too\n"
    "  --listen PORT     act as a console relay on PORT: a server started in relay\n"
    "                    mode connects here\n"
    "  --help            this text\n"
    "\n"
    "Exit status: 0 when the connection closed or the time ran out, 1 when it\n"
    "could not be made or broke, 2 for a bad command line.\n";

struct Options {
  std::string target;
  std::string send;
  std::string payload_file;
  double seconds = -1;
  bool raw = false;
  int listen_port = -1;
};

int usage_error(const char* text, const char* argument = "") {
  fprintf(stderr, "twi-console: %s%s\nRun `twi-console --help` for the options.\n", text, argument);
  return 2;
}

// Writes text from the server so that it can't drive the terminal: bytes a
// terminal would act on (escape sequences, carriage returns, bells,
// backspaces, DEL and the C1 controls U+0080-U+009F) are shown as \xNN or
// \u00NN instead. Newlines and tabs stay; NUL bytes are shown, not taken
// as the end of the text.
void print_safely(const char* text, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    unsigned char c = (unsigned char)text[i];
    if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7f) {
      printf("\\x%02x", c);
    } else if (c == 0xc2 && i + 1 < n && (unsigned char)text[i + 1] >= 0x80 && (unsigned char)text[i + 1] <= 0x9f) {
      printf("\\u%04x", (unsigned char)text[i + 1]);
      ++i;
    } else {
      putchar(c);
    }
  }
}

void print_message(const DynamicConfigValue& m, bool raw) {
  if (!raw && m.is_object() && m.get("type").is_string() && strcmp(m.get("type").to_string(), "message") == 0) {
    const DynamicConfigValue& level = m.get("level");
    const DynamicConfigValue& system = m.get("system");
    const DynamicConfigValue& text = m.get("message");
    // A line that ends in a newline of its own is printed without a second.
    const char* body = text.is_string() ? text.to_string() : "";
    size_t length = text.is_string() ? text.string_length() : 0;
    while (length > 0 && (body[length - 1] == '\n' || body[length - 1] == '\r'))
      --length;
    putchar('[');
    if (level.is_string())
      print_safely(level.to_string(), level.string_length());
    else
      putchar('?');
    fputs("] ", stdout);
    if (system.is_string())
      print_safely(system.to_string(), system.string_length());
    fputs(": ", stdout);
    print_safely(body, length);
    putchar('\n');
  } else {
    // Exact JSON: control characters (NUL included) come out escaped.
    Vector<char> json(memory_globals::default_allocator());
    JsonWriteOptions options;
    options.exact = true;
    write_json(m, json, options);
    print_safely(json.data(), json.size());
    putchar('\n');
  }
  fflush(stdout);
}

// A port number from 1 to 65535, written in decimal digits only.
bool parse_port(const char* text, uint32_t& port) {
  if (!*text || strlen(text) > 5)
    return false;
  uint32_t value = 0;
  for (const char* p = text; *p; ++p) {
    if (*p < '0' || *p > '9')
      return false;
    value = value * 10 + uint32_t(*p - '0');
  }
  if (value < 1 || value > 65535)
    return false;
  port = value;
  return true;
}

bool read_file(const char* path, Vector<char>& out) {
  FILE* f = fopen(path, "rb");
  if (!f)
    return false;
  char buffer[65536];
  size_t n;
  while ((n = fread(buffer, 1, sizeof(buffer), f)) > 0)
    out.push_back_n(buffer, uint32_t(n));
  bool ok = !ferror(f);
  fclose(f);
  return ok;
}

bool send_all(Socket& socket, const Vector<char>& bytes) {
  uint32_t at = 0;
  uint64_t start = timer::ticks();
  while (at < bytes.size()) {
    int n = socket.send(bytes.data() + at, bytes.size() - at);
    if (n > 0)
      at += uint32_t(n);
    else if (!socket_error::would_block() || timer::seconds_since(start) > 10)
      return false;
    else
      thread::sleep_ms(1);
  }
  return true;
}

// Prints messages until the connection closes or the time is up.
int run(Socket& socket, const Options& o) {
  Allocator& a = memory_globals::default_allocator();
  socket.set_blocking(false);
  if (!o.send.empty()) {
    Vector<char> payload(a);
    if (!o.payload_file.empty() && !read_file(o.payload_file.c_str(), payload)) {
      fprintf(stderr, "twi-console: cannot read %s\n", o.payload_file.c_str());
      return 1;
    }
    Vector<char> frame(a);
    console_frame::build(o.send.data(), uint32_t(o.send.size()), o.payload_file.empty() ? nullptr : payload.data(),
                         payload.size(), frame);
    if (!send_all(socket, frame)) {
      fprintf(stderr, "twi-console: the message could not be sent (error %i)\n", socket_error::last());
      return 1;
    }
  }
  Vector<uint8_t> input(a);
  uint64_t start = timer::ticks();
  uint8_t buffer[65536];
  while (o.seconds < 0 || timer::seconds_since(start) < o.seconds) {
    int n = socket.receive(buffer, sizeof(buffer));
    if (n == 0)
      return 0; // closed by the server
    if (n < 0) {
      if (!socket_error::would_block()) {
        fprintf(stderr, "twi-console: the connection broke (error %i)\n", socket_error::last());
        return 1;
      }
      thread::sleep_ms(10);
      continue;
    }
    input.push_back_n(buffer, uint32_t(n));
    Vector<DynamicConfigValue> messages(a);
    const char* problem = nullptr;
    bool ok = console_frame::cut_messages(input, messages, &problem);
    for (uint32_t i = 0; i < messages.size(); ++i)
      print_message(messages[i], o.raw);
    if (!ok) {
      fprintf(stderr, "twi-console: the server sent something that is not a console frame: %s\n", problem);
      return 1;
    }
  }
  return 0;
}

int parse(int argc, char** argv, Options& o) {
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    bool has_value = i + 1 < argc;
    if (a == "--send" && has_value) {
      o.send = argv[++i];
    } else if (a == "--payload" && has_value) {
      o.payload_file = argv[++i];
    } else if (a == "--seconds" && has_value) {
      char* end = nullptr;
      o.seconds = strtod(argv[++i], &end);
      if (!end || *end || o.seconds < 0)
        return usage_error("--seconds takes a number of seconds, not ", argv[i]);
    } else if (a == "--raw") {
      o.raw = true;
    } else if (a == "--listen" && has_value) {
      uint32_t port = 0;
      if (!parse_port(argv[++i], port))
        return usage_error("--listen takes a port from 1 to 65535, not ", argv[i]);
      o.listen_port = int(port);
    } else if (a == "--send" || a == "--payload" || a == "--seconds" || a == "--listen") {
      return usage_error("this option needs a value: ", a.c_str());
    } else if (!a.empty() && a[0] == '-') {
      return usage_error("unknown option ", a.c_str());
    } else if (o.target.empty()) {
      o.target = a;
    } else {
      return usage_error("one server only; one too many: ", a.c_str());
    }
  }
  if (o.target.empty() == (o.listen_port < 0))
    return usage_error("name a server as HOST:PORT, or --listen PORT");
  if (!o.payload_file.empty() && o.send.empty())
    return usage_error("--payload goes with --send");
  if (!o.send.empty()) {
    DynamicConfigValue check(memory_globals::default_allocator());
    simplified_json::ParseError error;
    if (!simplified_json::try_parse_untrusted(o.send.data(), uint32_t(o.send.size()), check, &error)) {
      char text[512];
      error.format(text, sizeof(text));
      return usage_error("--send takes a JSON object: ", text);
    }
  }
  return 0;
}

int main_with_network(const Options& o) {
  if (o.listen_port > 0) {
    Socket listener;
    listener.open(Socket::STREAM);
    listener.set_reuse_address(true);
    listener.bind(SocketAddress(0, uint32_t(o.listen_port)));
    listener.listen(1);
    fprintf(stderr, "twi-console: waiting as a relay on port %i\n", o.listen_port);
    listener.set_blocking(false);
    uint64_t start = timer::ticks();
    for (;;) {
      SocketAddress peer;
      Socket server = listener.accept(&peer);
      if (server.is_valid()) {
        char text[32];
        peer.to_text(text, sizeof(text));
        fprintf(stderr, "twi-console: a server connected from %.*s\n", int(strrchr(text, ':') - text), text);
        Options rest = o;
        if (o.seconds >= 0)
          rest.seconds = o.seconds - timer::seconds_since(start);
        return run(server, rest);
      }
      if (o.seconds >= 0 && timer::seconds_since(start) >= o.seconds)
        return 0;
      thread::sleep_ms(10);
    }
  }
  size_t colon = o.target.rfind(':');
  uint32_t port = 0;
  if (colon == std::string::npos || !parse_port(o.target.c_str() + colon + 1, port)) {
    fprintf(stderr, "twi-console: %s is not HOST:PORT with a port from 1 to 65535\n", o.target.c_str());
    return 2;
  }
  SocketAddress address;
  if (!resolve_address(o.target.substr(0, colon).c_str(), port, address)) {
    fprintf(stderr, "twi-console: cannot find the host %s\n", o.target.substr(0, colon).c_str());
    return 2;
  }
  Socket socket;
  socket.open(Socket::STREAM);
  if (!socket.connect(address)) {
    fprintf(stderr, "twi-console: cannot connect to %s (error %i)\n", o.target.c_str(), socket_error::last());
    return 1;
  }
  return run(socket, o);
}

} // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (strcmp(argv[i], "--help") == 0) {
      fputs(USAGE, stdout);
      return 0;
    }
  memory_globals::init();
  int status;
  {
    Options o;
    status = parse(argc, argv, o);
    if (status == 0) {
      // A failed check ends this tool with its message, not with a dialog.
      error::set_mode(ERROR_MODE_THROW);
      log::set_standard_streams_enabled(false);
      network::init();
      try {
        status = main_with_network(o);
      } catch (const ErrorException& e) {
        fprintf(stderr, "twi-console: %s\n", e.reason());
        status = 1;
      }
      network::shutdown();
    }
  }
  memory_globals::shutdown();
  return status;
}
