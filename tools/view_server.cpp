#include "view_server.h"

#include "gltf_convert.h"
#include "served_file.h"
#include "tool_io.h"
#include "twi_document.h"

#include "foundation/error/error.h"
#include "foundation/error/log.h"
#include "foundation/io/file_system.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/network/init.h"
#include "foundation/network/socket.h"

#include <chrono>
#include <ctype.h>
#include <memory>
#include <new>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

using namespace foundation;

namespace tools {

namespace {

const uint32_t MAX_HEAD = 16 * 1024;
// A conversion holds the text, the tree parsed from it (some seven times
// the text), the scene and the glTF: a body is bounded so that converting
// it stays within a few gigabytes (a 32-bit process within its address
// space). Larger bodies are answered 413 before they are read.
const uint64_t MAX_BODY = sizeof(void*) >= 8 ? 256ull << 20 : 32ull << 20;
// A client has this long to take its answer, however it spreads its reads
// (the time for its request is an option).
const double ANSWER_SECONDS = 60.0;
// Clients served at once; more wait in the listening queue.
const uint32_t MAX_CLIENTS = 32;

double now_seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool file_exists(const std::string& path) {
  FileSystem fs(memory_globals::default_allocator(), "");
  return fs.exists(path.c_str()) && !fs.is_directory(path.c_str());
}

const char* content_type(const std::string& path) {
  auto ends = [&](const char* s) {
    size_t n = strlen(s);
    return path.size() >= n && path.compare(path.size() - n, n, s) == 0;
  };
  if (ends(".html"))
    return "text/html; charset=utf-8";
  if (ends(".js"))
    return "text/javascript; charset=utf-8";
  if (ends(".css"))
    return "text/css; charset=utf-8";
  if (ends(".glb"))
    return "model/gltf-binary";
  if (ends(".gltf"))
    return "model/gltf+json";
  if (ends(".twi") || ends("LICENSE"))
    return "text/plain; charset=utf-8";
  return "application/octet-stream";
}

// Only plain relative paths reach the file system.
bool safe_path(const std::string& path) {
  if (path.empty() || path[0] != '/' || path.find("..") != std::string::npos || path.find("//") != std::string::npos)
    return false;
  for (char c : path)
    if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '_' ||
          c == '-' || c == '/'))
      return false;
  return true;
}

// Percent-encodes a report for a header (the page decodes it with
// decodeURIComponent): everything but unreserved characters.
std::string header_encode(const std::string& text) {
  static const char* hex = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : text) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
        c == '.' || c == '~') {
      out += char(c);
    } else {
      out += '%';
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out;
}

struct Request {
  std::string method, path, query, host;
  bool has_host = false;
  uint64_t content_length = 0;
  std::string body;
};

// An answer: its status line and headers, then its body.
std::string answer(int status, const char* reason, const char* type, const void* body, size_t size,
                   const std::string& extra_headers = "", size_t length = size_t(-1)) {
  char head[512];
  snprintf(head, sizeof(head),
           "HTTP/1.1 %d %s\r\nContent-Type: %s\r\nContent-Length: %zu\r\nCache-Control: no-store\r\n"
           "Connection: close\r\n",
           status, reason, type, length == size_t(-1) ? size : length);
  std::string text = head + extra_headers + "\r\n";
  text.append(static_cast<const char*>(body), size);
  return text;
}

std::string answer_text(int status, const char* reason, const std::string& body) {
  return answer(status, reason, "text/plain; charset=utf-8", body.data(), body.size());
}

bool starts_with_nocase(const std::string& line, const char* key) {
  size_t n = strlen(key);
  if (line.size() < n)
    return false;
  for (size_t i = 0; i < n; ++i)
    if (char(tolower((unsigned char)line[i])) != key[i])
      return false;
  return true;
}

std::string header_value(const std::string& line, size_t key_length) {
  size_t from = key_length;
  while (from < line.size() && (line[from] == ' ' || line[from] == '\t'))
    ++from;
  size_t to = line.size();
  while (to > from && (line[to - 1] == ' ' || line[to - 1] == '\t'))
    --to;
  return line.substr(from, to - from);
}

// Parses a complete request head. False with the status to answer.
bool parse_head(const std::string& head, Request& r, int& status, const char*& reason) {
  size_t sp1 = head.find(' '), sp2 = head.find(' ', sp1 + 1);
  size_t eol = head.find("\r\n");
  if (eol == std::string::npos)
    eol = head.size();
  if (sp1 == std::string::npos || sp2 == std::string::npos || sp2 > eol) {
    status = 400, reason = "Bad Request";
    return false;
  }
  r.method = head.substr(0, sp1);
  r.path = head.substr(sp1 + 1, sp2 - sp1 - 1);
  size_t q = r.path.find('?');
  if (q != std::string::npos) {
    r.query = r.path.substr(q + 1);
    r.path.resize(q);
  }
  for (size_t at = eol; at < head.size();) {
    size_t next = head.find("\r\n", at + 2);
    if (next == std::string::npos)
      next = head.size();
    std::string line = head.substr(at + 2, next - (at + 2));
    at = next;
    if (starts_with_nocase(line, "host:")) {
      r.host = header_value(line, 5);
      r.has_host = true;
    } else if (starts_with_nocase(line, "content-length:")) {
      std::string v = header_value(line, 15);
      char* stop = nullptr;
      unsigned long long n = strtoull(v.c_str(), &stop, 10);
      if (v.empty() || *stop || v[0] == '-') {
        status = 400, reason = "Bad Request";
        return false;
      }
      if (n > MAX_BODY) {
        status = 413, reason = "Payload Too Large";
        return false;
      }
      r.content_length = n;
    }
  }
  return true;
}

// Whether the Host header names this server as a page on this machine
// reaches it: 127.0.0.1, localhost or [::1], with its port. A page that
// DNS rebinding has pointed at 127.0.0.1 still sends its own host name,
// and is refused.
bool local_host(const std::string& host, uint32_t port) {
  std::string suffix = ":" + std::to_string(port);
  if (host.size() <= suffix.size() || host.compare(host.size() - suffix.size(), suffix.size(), suffix) != 0)
    return false;
  std::string name = host.substr(0, host.size() - suffix.size());
  for (char& c : name)
    c = char(tolower((unsigned char)c));
  return name == "127.0.0.1" || name == "localhost" || name == "[::1]";
}

// The file's name after its last separator ('/' or, as on Windows, '\\').
std::string base_name(const char* path) {
  const char* name = path;
  for (const char* p = path; *p; ++p)
    if (*p == '/' || *p == '\\')
      name = p + 1;
  return name;
}

// Converts a twi document in the body to glTF. Running out of memory in a
// conversion is an answer (507), never the end of the server.
std::string convert(const Request& r) {
  std::string report, problems;
  // The page names the document (?name=FILE) for the messages; a name
  // with anything but plain characters is not repeated back.
  std::string name = r.query.compare(0, 5, "name=") == 0 ? r.query.substr(5) : "";
  if (!safe_path("/" + name))
    name = "document";
  Vector<uint8_t> glb(memory_globals::default_allocator());
  bool out_of_memory = false;
  {
    error::ScopedMode mode(ERROR_MODE_THROW);
    log::set_standard_streams_enabled(false);
    try {
      twi::SceneDatabase db(memory_globals::default_allocator());
      if (read_twi_text(name.c_str(), r.body.data(), uint32_t(r.body.size()), db, problems))
        convert_to_gltf(name.c_str(), db, twi::GltfOptions(), nullptr, glb, report, problems);
    } catch (const ErrorException&) {
      out_of_memory = true;
    } catch (const std::bad_alloc&) {
      out_of_memory = true;
    }
    log::set_standard_streams_enabled(true);
  }
  if (out_of_memory)
    return answer_text(507, "Insufficient Storage",
                       name + ": there is not enough memory to convert the document; convert it with twi gltf\n");
  if (!problems.empty())
    return answer_text(422, "Unprocessable Content", problems);
  return answer(200, "OK", "model/gltf-binary", glb.data(), glb.size(),
                "X-Twi-Report: " + header_encode(report) + "\r\n");
}

// The answer to a complete request.
std::string respond(const Request& r, const ViewServerOptions& o, const std::string& viewer_real_path,
                    uint32_t port) {
  if (!r.has_host)
    return answer_text(400, "Bad Request", "a request names its host (Host: 127.0.0.1:" + std::to_string(port) + ")\n");
  if (!local_host(r.host, port))
    return answer_text(403, "Forbidden",
                       "this server answers pages of this machine only (Host: 127.0.0.1, localhost or [::1] with "
                       "port " +
                           std::to_string(port) + ")\n");
  std::string model = "/model/" + base_name(o.file);
  if (r.method == "POST" && r.path == "/convert")
    return convert(r);
  if (r.method != "GET" && r.method != "HEAD")
    return answer_text(405, "Method Not Allowed", "only GET, and POST to /convert\n");
  std::string path;
  if (r.path == model) {
    path = o.file;
  } else if (safe_path(r.path)) {
    path = std::string(o.viewer_dir) + (r.path == "/" ? "/index.html" : r.path);
    if (!is_served_file(path, viewer_real_path))
      return answer_text(404, "Not Found", r.path + " is not part of the viewer\n");
  } else {
    return answer_text(404, "Not Found", "not a path this server answers\n");
  }
  Vector<char> bytes(memory_globals::default_allocator());
  if (!read_all(path.c_str(), bytes))
    return answer_text(404, "Not Found", "cannot read " + path + "\n");
  bool head = r.method == "HEAD";
  return answer(200, "OK", content_type(path), bytes.data(), head ? 0 : bytes.size(), "", bytes.size());
}

// One client: what it has sent, and then the answer being sent back.
struct Client {
  Socket socket;
  std::string in;
  std::string out;
  size_t sent = 0;
  bool answering = false;
  double deadline = 0;
};

// Reads what the client has sent; when its request is complete (or is
// refused), makes the answer. False when the client has gone.
bool take_input(Client& c, const ViewServerOptions& o, const std::string& viewer_real_path, uint32_t port) {
  char chunk[65536];
  for (;;) {
    int got = c.socket.receive(chunk, sizeof(chunk));
    if (got > 0) {
      c.in.append(chunk, size_t(got));
      if (c.in.size() > MAX_HEAD + MAX_BODY)
        break;
      continue;
    }
    if (got == 0 || !socket_error::would_block())
      return false; // closed, or gone
    break;
  }
  size_t end = c.in.find("\r\n\r\n");
  if (end == std::string::npos) {
    if (c.in.size() >= MAX_HEAD) {
      c.out = answer_text(431, "Request Header Fields Too Large", "Request Header Fields Too Large\n");
      c.answering = true;
    }
    return true;
  }
  Request r;
  int status = 0;
  const char* reason = "";
  if (!parse_head(c.in.substr(0, end), r, status, reason)) {
    c.out = answer_text(status, reason, std::string(reason) + "\n");
    c.answering = true;
    return true;
  }
  if (c.in.size() - (end + 4) < r.content_length)
    return true; // more of the body to come
  r.body = c.in.substr(end + 4, size_t(r.content_length));
  c.in.clear();
  c.out = respond(r, o, viewer_real_path, port);
  c.answering = true;
  return true;
}

// Sends what the socket takes now; true when the whole answer is sent.
bool give_output(Client& c, bool& gone) {
  while (c.sent < c.out.size()) {
    size_t left = c.out.size() - c.sent;
    uint32_t piece = left > (1u << 20) ? (1u << 20) : uint32_t(left);
    int sent = c.socket.send(c.out.data() + c.sent, piece);
    if (sent > 0) {
      c.sent += size_t(sent);
      continue;
    }
    gone = !socket_error::would_block();
    return false;
  }
  return true;
}

} // namespace

bool viewer_files_present(const char* dir) {
  return dir && file_exists(std::string(dir) + "/index.html") &&
         file_exists(std::string(dir) + "/vendor/three/build/three.module.js");
}

int run_view_server(const ViewServerOptions& o) {
  network::init();
  Socket listener;
  bool bound = true;
  {
    error::ScopedMode mode(ERROR_MODE_THROW);
    log::set_standard_streams_enabled(false);
    try {
      listener.open(Socket::STREAM);
      listener.set_reuse_address(true);
      listener.bind(SocketAddress(127, 0, 0, 1, o.port));
      bound = listener.listen(16);
    } catch (const ErrorException& e) {
      fprintf(stderr, "twi view: cannot listen on 127.0.0.1:%u: %s\n", o.port, e.reason());
      bound = false;
    }
    log::set_standard_streams_enabled(true);
  }
  if (!bound) {
    network::shutdown();
    return 1;
  }
  uint32_t port = listener.local_address().port;
  printf("twi view: %s at http://127.0.0.1:%u/?file=model/%s\n", o.file, port,
         header_encode(base_name(o.file)).c_str());
  printf("(open it in a browser; Ctrl+C stops the server)\n");
  fflush(stdout);
  std::string viewer_real_path = real_path(o.viewer_dir);
  listener.set_blocking(false);
  // Every client is served side by side: one that is idle, or sends a byte
  // at a time, holds only itself, and only until its deadline.
  std::vector<std::unique_ptr<Client>> clients;
  uint32_t accepted = 0, finished = 0;
  while (o.max_connections == 0 || finished < o.max_connections) {
    Socket* reads[Socket::MAX_SELECT];
    Socket* writes[Socket::MAX_SELECT];
    uint32_t read_count = 0, write_count = 0;
    bool accepting = clients.size() < MAX_CLIENTS && (o.max_connections == 0 || accepted < o.max_connections);
    if (accepting)
      reads[read_count++] = &listener;
    for (auto& c : clients) {
      if (c->answering)
        writes[write_count++] = &c->socket;
      else
        reads[read_count++] = &c->socket;
    }
    bool read_ready[Socket::MAX_SELECT] = {};
    bool write_ready[Socket::MAX_SELECT] = {};
    Socket::select(reads, read_count, writes, write_count, 0.25f, read_ready, write_ready);
    double now = now_seconds();
    uint32_t r = 0, w = 0;
    if (accepting && read_ready[r++]) {
      for (;;) {
        Socket s = listener.accept();
        if (!s.is_valid())
          break;
        s.set_blocking(false);
        std::unique_ptr<Client> c(new Client);
        c->socket = std::move(s);
        c->deadline = now + o.request_seconds;
        clients.push_back(std::move(c));
        ++accepted;
        if (clients.size() >= MAX_CLIENTS || (o.max_connections != 0 && accepted >= o.max_connections))
          break;
      }
    }
    for (size_t i = 0; i < clients.size();) {
      Client& c = *clients[i];
      bool done = false;
      bool was_answering = c.answering;
      bool ready = was_answering ? (w < write_count && write_ready[w++]) : (r < read_count && read_ready[r++]);
      if (ready && !was_answering) {
        try {
          done = !take_input(c, o, viewer_real_path, port);
        } catch (const std::bad_alloc&) {
          // A request larger than the memory there is: told, not fatal.
          c.in = std::string();
          c.out = answer_text(507, "Insufficient Storage", "there is not enough memory for the request\n");
          c.answering = true;
        }
        if (c.answering) {
          c.deadline = now_seconds() + ANSWER_SECONDS;
          bool gone = false;
          done = give_output(c, gone) || gone;
        }
      } else if (ready) {
        bool gone = false;
        done = give_output(c, gone) || gone;
      }
      if (!done && now > c.deadline) {
        // Out of time: one that has not finished its request is told so
        // (as far as its socket takes it), then let go.
        if (!c.answering) {
          c.out = answer_text(408, "Request Timeout", "the request did not arrive in time\n");
          bool gone = false;
          give_output(c, gone);
        }
        done = true;
      }
      if (done) {
        clients.erase(clients.begin() + long(i));
        ++finished;
      } else {
        ++i;
      }
    }
  }
  network::shutdown();
  return 0;
}

} // namespace tools
