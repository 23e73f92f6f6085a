#include "view_server.h"

#include "gltf_convert.h"
#include "tool_io.h"
#include "twi_document.h"

#include "foundation/error/error.h"
#include "foundation/error/log.h"
#include "foundation/io/file_system.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/network/init.h"
#include "foundation/network/socket.h"

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>

using namespace foundation;

namespace tools {

namespace {

const uint32_t MAX_HEAD = 16 * 1024;
const uint64_t MAX_BODY = 512ull * 1024 * 1024;
const float IDLE_SECONDS = 10.0f;

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

class Connection {
public:
  explicit Connection(Socket&& s) : _socket(std::move(s)) { _socket.set_blocking(false); }

  // Waits (bounded) until the socket can be read or written.
  bool wait(bool for_write) {
    Socket* s = &_socket;
    int ready = for_write ? Socket::select(nullptr, 0, &s, 1, IDLE_SECONDS)
                          : Socket::select(&s, 1, nullptr, 0, IDLE_SECONDS);
    return ready > 0;
  }

  // Reads until `buffer` holds at least `n` bytes; false on close, error or
  // a stalled client.
  bool read_at_least(std::string& buffer, size_t n) {
    char chunk[65536];
    while (buffer.size() < n) {
      if (!wait(false))
        return false;
      int got = _socket.receive(chunk, sizeof(chunk));
      if (got > 0)
        buffer.append(chunk, size_t(got));
      else if (got == 0 || !socket_error::would_block())
        return false;
    }
    return true;
  }

  bool send_all(const void* data, size_t size) {
    const char* p = static_cast<const char*>(data);
    while (size > 0) {
      if (!wait(true))
        return false;
      uint32_t piece = size > (1u << 20) ? (1u << 20) : uint32_t(size);
      int sent = _socket.send(p, piece);
      if (sent > 0) {
        p += sent;
        size -= size_t(sent);
      } else if (!socket_error::would_block()) {
        return false;
      }
    }
    return true;
  }

  void respond(int status, const char* reason, const char* type, const void* body, size_t size,
               const std::string& extra_headers = "") {
    char head[512];
    snprintf(head, sizeof(head),
             "HTTP/1.1 %d %s\r\nContent-Type: %s\r\nContent-Length: %zu\r\nCache-Control: no-store\r\n"
             "Connection: close\r\n",
             status, reason, type, size);
    std::string text = head + extra_headers + "\r\n";
    if (send_all(text.data(), text.size()))
      send_all(body, size);
  }

  void respond_text(int status, const char* reason, const std::string& body) {
    respond(status, reason, "text/plain; charset=utf-8", body.data(), body.size());
  }

private:
  Socket _socket;
};

struct Request {
  std::string method, path, query;
  uint64_t content_length = 0;
  std::string body;
};

// The request line and Content-Length; the rest of the head is not needed.
bool read_request(Connection& c, Request& r, int& status, const char*& reason) {
  std::string buffer;
  size_t end;
  while ((end = buffer.find("\r\n\r\n")) == std::string::npos) {
    if (buffer.size() >= MAX_HEAD) {
      status = 431, reason = "Request Header Fields Too Large";
      return false;
    }
    if (!c.read_at_least(buffer, buffer.size() + 1))
      return status = 0, false;
  }
  std::string head = buffer.substr(0, end);
  size_t sp1 = head.find(' '), sp2 = head.find(' ', sp1 + 1);
  size_t eol = head.find("\r\n");
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
  for (size_t at = eol; at != std::string::npos && at < head.size(); at = head.find("\r\n", at + 2)) {
    static const char key[] = "content-length:";
    std::string line = head.substr(at + 2, head.find("\r\n", at + 2) - (at + 2));
    if (line.size() < sizeof(key) - 1)
      continue;
    bool match = true;
    for (size_t i = 0; i < sizeof(key) - 1 && match; ++i)
      match = char(tolower(line[i])) == key[i];
    if (!match)
      continue;
    const char* v = line.c_str() + sizeof(key) - 1;
    while (*v == ' ')
      ++v;
    char* stop = nullptr;
    unsigned long long n = strtoull(v, &stop, 10);
    if (stop == v || n > MAX_BODY) {
      status = n > MAX_BODY ? 413 : 400, reason = n > MAX_BODY ? "Payload Too Large" : "Bad Request";
      return false;
    }
    r.content_length = n;
  }
  r.body = buffer.substr(end + 4);
  if (r.content_length && !c.read_at_least(r.body, size_t(r.content_length)))
    return status = 0, false;
  r.body.resize(size_t(r.content_length));
  return true;
}

// The file's name after its last separator ('/' or, as on Windows, '\\').
std::string base_name(const char* path) {
  const char* name = path;
  for (const char* p = path; *p; ++p)
    if (*p == '/' || *p == '\\')
      name = p + 1;
  return name;
}

void serve(Connection& c, const ViewServerOptions& o) {
  Request r;
  int status = 0;
  const char* reason = "";
  if (!read_request(c, r, status, reason)) {
    if (status)
      c.respond_text(status, reason, std::string(reason) + "\n");
    return;
  }
  std::string model = "/model/" + base_name(o.file);
  if (r.method == "POST" && r.path == "/convert") {
    Vector<uint8_t> glb(memory_globals::default_allocator());
    std::string report, problems;
    // The page names the document (?name=FILE) for the messages; a name
    // with anything but plain characters is not repeated back.
    std::string name = r.query.compare(0, 5, "name=") == 0 ? r.query.substr(5) : "";
    if (!safe_path("/" + name))
      name = "document";
    twi::SceneDatabase db(memory_globals::default_allocator());
    if (r.body.size() > 0x7fffffffu)
      problems = name + ": the document is too large\n";
    else if (read_twi_text(name.c_str(), r.body.data(), uint32_t(r.body.size()), db, problems))
      convert_to_gltf(name.c_str(), db, twi::GltfOptions(), nullptr, glb, report, problems);
    if (!problems.empty()) {
      c.respond_text(422, "Unprocessable Content", problems);
      return;
    }
    c.respond(200, "OK", "model/gltf-binary", glb.data(), glb.size(),
              "X-Twi-Report: " + header_encode(report) + "\r\n");
    return;
  }
  if (r.method != "GET" && r.method != "HEAD") {
    c.respond_text(405, "Method Not Allowed", "only GET, and POST to /convert\n");
    return;
  }
  std::string path;
  if (r.path == model) {
    path = o.file;
  } else if (safe_path(r.path)) {
    path = std::string(o.viewer_dir) + (r.path == "/" ? "/index.html" : r.path);
    if (!file_exists(path)) {
      c.respond_text(404, "Not Found", r.path + " is not part of the viewer\n");
      return;
    }
  } else {
    c.respond_text(404, "Not Found", "not a path this server answers\n");
    return;
  }
  Vector<char> bytes(memory_globals::default_allocator());
  if (!read_all(path.c_str(), bytes)) {
    c.respond_text(404, "Not Found", "cannot read " + path + "\n");
    return;
  }
  c.respond(200, "OK", content_type(path), bytes.data(), r.method == "HEAD" ? 0 : bytes.size());
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
  for (uint32_t served = 0; o.max_connections == 0 || served < o.max_connections;) {
    Socket* l = &listener;
    if (Socket::select(&l, 1, nullptr, 0, 1.0f) <= 0)
      continue;
    Socket client = listener.accept();
    if (!client.is_valid())
      continue;
    Connection c(std::move(client));
    serve(c, o);
    ++served;
  }
  network::shutdown();
  return 0;
}

} // namespace tools
