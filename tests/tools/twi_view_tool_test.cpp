// `twi view`'s server, spoken to over loopback as a browser would, and as
// clients that misbehave.
#include "foundation/memory/memory_globals.h"
#include "foundation/network/init.h"
#include "foundation/network/socket.h"
#include "foundation/config/sjson_writer.h"
#include "scene/document_writer.h"
#include "scene_fixtures.h"
#include "support/bounded_run.h"
#include "support/test_support.h"

#include <chrono>
#include <stdio.h>
#include <string.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace foundation;

namespace {

// A server started with popen; its first line gives the port.
struct ViewServer {
  FILE* pipe = nullptr;
  uint32_t port = 0;
  std::string first_line;

  // `prefix`: shell commands before the server's (a limit, for one test).
  explicit ViewServer(const std::string& arguments, const std::string& prefix = "") {
    pipe = popen((prefix + std::string(TW_TWI_TOOL) + " view " + arguments + " 2>&1").c_str(), "r");
    char line[1024];
    if (pipe && fgets(line, sizeof(line), pipe)) {
      first_line = line;
      const char* at = strstr(line, "http://127.0.0.1:");
      if (at)
        port = uint32_t(atoi(at + strlen("http://127.0.0.1:")));
    }
  }
  // Waits for the server to end after its last connection.
  int finish() {
    std::string rest;
    char buffer[1024];
    while (fgets(buffer, sizeof(buffer), pipe))
      rest += buffer;
    int status = pclose(pipe);
    pipe = nullptr;
    return WEXITSTATUS(status);
  }
  ~ViewServer() {
    if (pipe)
      pclose(pipe);
  }
};

// Sends `request` and reads the answer until the server closes; with
// `leave`, closes at once instead.
std::string http_exchange(uint32_t port, const std::string& request, bool leave = false) {
  Socket s;
  s.open(Socket::STREAM);
  if (!s.connect(SocketAddress(127, 0, 0, 1, port)))
    return "(no connection)";
  if (!request.empty())
    s.send(request.data(), uint32_t(request.size()));
  if (leave)
    return "";
  std::string answer;
  char buffer[65536];
  int n;
  while ((n = s.receive(buffer, sizeof(buffer))) > 0)
    answer.append(buffer, size_t(n));
  return answer;
}

double seconds_now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// The Host header a browser sends for a page of this machine.
std::string host(uint32_t port) { return "Host: 127.0.0.1:" + std::to_string(port) + "\r\n"; }

std::string get(const std::string& path, uint32_t port) {
  return "GET " + path + " HTTP/1.1\r\n" + host(port) + "\r\n";
}

std::string post(const std::string& path, const std::string& body, uint32_t port) {
  return "POST " + path + " HTTP/1.1\r\n" + host(port) + "Content-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

// A viewer folder with its page and three.js stand-in.
std::string make_viewer(test::TempDirectory& dir) {
  std::string viewer = dir.file("viewer");
  mkdir(viewer.c_str(), 0755);
  mkdir((viewer + "/vendor").c_str(), 0755);
  mkdir((viewer + "/vendor/three").c_str(), 0755);
  mkdir((viewer + "/vendor/three/build").c_str(), 0755);
  test::write_file(viewer + "/index.html", "<title>page</title>");
  test::write_file(viewer + "/vendor/three/build/three.module.js", "export {};");
  return viewer;
}

} // namespace

TEST(TwiViewTool, ServesThePageTheModelAndConversionsAndRefusesTheRest) {
  network::init();
  test::TempDirectory dir;
  std::string viewer = make_viewer(dir);
  test::write_file(dir.file("secret.txt"), "not to be served");

  twi::SceneDatabase db(memory_globals::default_allocator());
  test::fill_full_database(db);
  DCV root(memory_globals::default_allocator());
  twi::write_scene_document(db, root);
  Vector<char> text(memory_globals::default_allocator());
  write_sjson(root, text, SjsonWriteOptions());
  std::string document(text.data(), text.size());
  test::write_file(dir.file("scene.twi"), document);

  ViewServer server(dir.file("scene.twi") + " --viewer " + viewer + " --connections 8");
  ASSERT_NE(server.port, 0u) << server.first_line;
  EXPECT_NE(server.first_line.find("/?file=model/scene.twi"), std::string::npos);

  uint32_t port = server.port;
  std::string page = http_exchange(port, get("/", port));
  EXPECT_EQ(page.compare(0, 15, "HTTP/1.1 200 OK"), 0) << page;
  EXPECT_NE(page.find("Content-Type: text/html"), std::string::npos);
  EXPECT_NE(page.find("\r\n\r\n<title>page</title>"), std::string::npos);

  std::string model = http_exchange(port, get("/model/scene.twi?x=1", port));
  ASSERT_GE(model.size(), document.size()) << model;
  EXPECT_EQ(model.substr(model.size() - document.size()), document);

  std::string escape = http_exchange(port, get("/../secret.txt", port));
  EXPECT_EQ(escape.compare(0, 12, "HTTP/1.1 404"), 0) << escape;
  EXPECT_EQ(escape.find("not to be served"), std::string::npos);

  std::string glb = http_exchange(port, post("/convert?name=scene.twi", document, port));
  EXPECT_EQ(glb.compare(0, 15, "HTTP/1.1 200 OK"), 0) << glb.substr(0, 300);
  EXPECT_NE(glb.find("X-Twi-Report: converted%3A%204%20nodes"), std::string::npos);
  EXPECT_NE(glb.find("\r\n\r\nglTF"), std::string::npos);

  std::string broken = http_exchange(port, post("/convert?name=<b>", "nodes = { a = { local = [ 1 ] } }", port));
  EXPECT_EQ(broken.compare(0, 12, "HTTP/1.1 422"), 0) << broken;
  EXPECT_NE(broken.find("document: nodes > a > local: holds 1 numbers, not 16"), std::string::npos) << broken;

  // A body beyond what a conversion can hold is refused before it is read.
  std::string huge = http_exchange(port, "POST /convert HTTP/1.1\r\n" + host(port) + "Content-Length: 300000000\r\n\r\n");
  EXPECT_EQ(huge.compare(0, 12, "HTTP/1.1 413"), 0) << huge;

  std::string endless_head = http_exchange(port, "GET /" + std::string(20000, 'a'));
  EXPECT_EQ(endless_head.compare(0, 12, "HTTP/1.1 431"), 0) << endless_head.substr(0, 100);

  // A client that says half a request and leaves: the server goes on.
  http_exchange(port, "GET / HT", true);
  EXPECT_EQ(server.finish(), 0);
  network::shutdown();
}

TEST(TwiViewTool, SaysWhatIsMissing) {
  test::TempDirectory dir;
  test::write_file(dir.file("scene.twi"), "source_path = \"\"\n");
  test::ProgramRun r = test::run_program(std::string(TW_TWI_TOOL) + " view " + dir.file("scene.twi") + " --viewer " +
                                         dir.file("nowhere"));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.output.find("the viewer's page and three.js are not in " + dir.file("nowhere")), std::string::npos)
      << r.output;
  r = test::run_program(std::string(TW_TWI_TOOL) + " view " + dir.file("scene.obj"));
  EXPECT_EQ(r.status, 2);
  r = test::run_program(std::string(TW_TWI_TOOL) + " view " + dir.file("absent.twi"));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.output.find("cannot read"), std::string::npos);
}

// What a page of another site could make a browser send: a host name that
// DNS rebinding points at 127.0.0.1 is refused, as is a request without a
// host; links inside the viewer's folder reach nothing outside it.
TEST(TwiViewTool, AnswersPagesOfThisMachineAndFilesOfItsFolderOnly) {
  network::init();
  test::TempDirectory dir;
  std::string viewer = make_viewer(dir);
  test::write_file(dir.file("secret.txt"), "not to be served");
  ASSERT_EQ(symlink(dir.file("secret.txt").c_str(), (viewer + "/linked.txt").c_str()), 0);
  mkdir((viewer + "/folder.txt").c_str(), 0755);
  test::write_file(dir.file("scene.twi"), "source_path = \"\"\n");
  ViewServer server(dir.file("scene.twi") + " --viewer " + viewer + " --connections 9");
  ASSERT_NE(server.port, 0u) << server.first_line;
  uint32_t port = server.port;
  std::string p = std::to_string(port);
  for (const char* name : {"localhost", "LOCALHOST", "[::1]"}) {
    std::string ok = http_exchange(port, "GET / HTTP/1.1\r\nHost: " + std::string(name) + ":" + p + "\r\n\r\n");
    EXPECT_EQ(ok.compare(0, 15, "HTTP/1.1 200 OK"), 0) << name << ": " << ok;
  }
  for (const std::string& other : {"evil.example:" + p, std::string("127.0.0.1"), "127.0.0.1:1" + p}) {
    std::string refused = http_exchange(port, "GET /model/scene.twi HTTP/1.1\r\nHost: " + other + "\r\n\r\n");
    EXPECT_EQ(refused.compare(0, 12, "HTTP/1.1 403"), 0) << other << ": " << refused;
  }
  std::string no_host = http_exchange(port, "GET / HTTP/1.1\r\n\r\n");
  EXPECT_EQ(no_host.compare(0, 12, "HTTP/1.1 400"), 0) << no_host;
  std::string linked = http_exchange(port, get("/linked.txt", port));
  EXPECT_EQ(linked.compare(0, 12, "HTTP/1.1 404"), 0) << linked;
  EXPECT_EQ(linked.find("not to be served"), std::string::npos);
  std::string folder = http_exchange(port, get("/folder.txt", port));
  EXPECT_EQ(folder.compare(0, 12, "HTTP/1.1 404"), 0) << folder;
  EXPECT_EQ(server.finish(), 0);
  network::shutdown();
}

// A client that says nothing, or a byte now and then, holds only itself:
// others are answered meanwhile, and it is let go at its deadline for the
// whole request, not one renewed by every byte.
TEST(TwiViewTool, IdleAndSlowClientsDoNotHoldTheOthers) {
  network::init();
  test::TempDirectory dir;
  std::string viewer = make_viewer(dir);
  test::write_file(dir.file("scene.twi"), "source_path = \"\"\n");
  ViewServer server(dir.file("scene.twi") + " --viewer " + viewer + " --connections 3 --request-seconds 3");
  ASSERT_NE(server.port, 0u) << server.first_line;
  uint32_t port = server.port;

  Socket idle, drip;
  idle.open(Socket::STREAM);
  drip.open(Socket::STREAM);
  ASSERT_TRUE(idle.connect(SocketAddress(127, 0, 0, 1, port)));
  ASSERT_TRUE(drip.connect(SocketAddress(127, 0, 0, 1, port)));
  drip.send("G", 1);
  // Answered while both of those are still connected (well inside their
  // deadline: a server serving one client at a time would not answer).
  double start = seconds_now();
  std::string page = http_exchange(port, get("/", port));
  EXPECT_EQ(page.compare(0, 15, "HTTP/1.1 200 OK"), 0) << page;
  EXPECT_LT(seconds_now() - start, 2.5);

  // The drip goes on, a byte every half second; the server answers 408
  // and closes once its three seconds are up, not eight seconds later.
  std::string request = get("/", port);
  std::string answer;
  start = seconds_now();
  drip.set_blocking(false);
  for (size_t i = 1; i < request.size() && seconds_now() - start < 8.0; ++i) {
    drip.send(&request[i], 1);
    char buffer[4096];
    int n = drip.receive(buffer, sizeof(buffer));
    if (n > 0)
      answer.append(buffer, size_t(n));
    if (n == 0)
      break;
    usleep(500000);
  }
  EXPECT_EQ(answer.compare(0, 12, "HTTP/1.1 408"), 0) << answer;
  EXPECT_LT(seconds_now() - start, 6.0);
  idle.close();
  drip.close();
  EXPECT_EQ(server.finish(), 0);
  network::shutdown();
}

// A conversion that needs more memory than the server has is answered 507,
// and the server goes on serving: no request ends it.
TEST(TwiViewTool, AConversionOutOfMemoryIsAnAnswerNotTheEnd) {
  TW_SKIP_UNDER_ADDRESS_SANITIZER();
  if (sizeof(void*) < 8)
    GTEST_SKIP() << "a 32-bit server takes bodies of 32 MiB, which convert within its address space";
  network::init();
  test::TempDirectory dir;
  std::string viewer = make_viewer(dir);
  test::write_file(dir.file("scene.twi"), "source_path = \"\"\n");
  // 600 MB of address space: the 40 MB document below parses into some
  // 300 MB of values, held twice over while its arrays are made.
  ViewServer server("--connections 2 " + dir.file("scene.twi") + " --viewer " + viewer, "ulimit -v 600000; ");
  ASSERT_NE(server.port, 0u) << server.first_line;
  uint32_t port = server.port;
  std::string body = "a = [";
  body.reserve(40u << 20);
  while (body.size() < (40u << 20))
    body += " 1 2 3 4 5 6 7 8";
  body += " ] b = [";
  while (body.size() < (80u << 20))
    body += " 1 2 3 4 5 6 7 8";
  body += " ]\n";
  std::string refused = http_exchange(port, post("/convert?name=big.twi", body, port));
  EXPECT_EQ(refused.compare(0, 12, "HTTP/1.1 507"), 0) << refused.substr(0, 300);
  std::string page = http_exchange(port, get("/", port));
  EXPECT_EQ(page.compare(0, 15, "HTTP/1.1 200 OK"), 0) << page;
  EXPECT_EQ(server.finish(), 0);
  network::shutdown();
}
