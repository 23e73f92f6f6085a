// The viewer's local web server, behind `twi view FILE`.
//
// It listens on 127.0.0.1 only and answers one request per connection
// (HTTP/1.1 with "Connection: close"), serving up to 32 clients side by
// side with non-blocking sockets:
//   GET  /, /index.html and other files of the viewer's folder
//   GET  /model/NAME   the file being viewed, read afresh on every request
//                      (so a new export shows on reload)
//   POST /convert      a twi document in the body; answers its .glb, with
//                      the conversion report in the X-Twi-Report header
// Paths with "..", or bytes outside letters, digits and "._-/", are refused,
// and a file of the viewer's folder is served only when it is a regular
// file whose real path (links followed) lies inside the folder. Requests
// must name the server as a page of this machine would (Host: 127.0.0.1,
// localhost or [::1] with the port; 403 otherwise), which keeps out pages of
// other sites that DNS rebinding points at it. A client has a deadline for
// its whole request (10 s by default) and for taking its answer (60 s),
// however it spreads its bytes; a request head is at most 16 KiB and a body
// at most 256 MiB (413, before it is read). A conversion that runs out of
// memory is answered 507; no request ends the server.
#pragma once

#include <stdint.h>

namespace tools {

struct ViewServerOptions {
  const char* viewer_dir = nullptr; // holds index.html and vendor/three
  const char* file = nullptr;       // the .twi, .glb or .gltf being viewed
  uint32_t port = 0;                // 0: one the system picks
  // Stop after this many connections (0: never); for tests.
  uint32_t max_connections = 0;
  // A client's time from its connection to the end of its request.
  double request_seconds = 10.0;
};

// Whether `dir` holds the built viewer (its page and three.js).
bool viewer_files_present(const char* dir);

// Binds, prints "twi view: FILE at http://127.0.0.1:PORT/?file=model/NAME"
// on standard output and serves until stopped. Returns the exit status: 1
// when the port cannot be bound.
int run_view_server(const ViewServerOptions& options);

} // namespace tools
