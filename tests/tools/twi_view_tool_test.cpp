// `twi view`'s server, spoken to over loopback as a browser would, and as
// clients that misbehave.
#include "foundation/memory/memory_globals.h"
#include "foundation/network/init.h"
#include "foundation/network/socket.h"
#include "foundation/config/sjson_writer.h"
#include "scene/document_writer.h"
#include "scene_fixtures.h"
#include "support/test_support.h"

#include <stdio.h>
#include <string.h>
#include <string>
#include <sys/stat.h>

using namespace foundation;

namespace {

// A server started with popen; its first line gives the port.
struct ViewServer {
  FILE* pipe = nullptr;
  uint32_t port = 0;
  std::string first_line;

  ViewServer(const std::string& arguments) {
    pipe = popen((std::string(TW_TWI_TOOL) + " view " + arguments + " 2>&1").c_str(), "r");
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

std::string post(const std::string& path, const std::string& body) {
  return "POST " + path + " HTTP/1.1\r\nHost: x\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

} // namespace

TEST(TwiViewTool, ServesThePageTheModelAndConversionsAndRefusesTheRest) {
  network::init();
  test::TempDirectory dir;
  std::string viewer = dir.file("viewer");
  mkdir(viewer.c_str(), 0755);
  mkdir((viewer + "/vendor").c_str(), 0755);
  mkdir((viewer + "/vendor/three").c_str(), 0755);
  mkdir((viewer + "/vendor/three/build").c_str(), 0755);
  test::write_file(viewer + "/index.html", "<title>page</title>");
  test::write_file(viewer + "/vendor/three/build/three.module.js", "export {};");
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

  std::string page = http_exchange(server.port, "GET / HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(page.compare(0, 15, "HTTP/1.1 200 OK"), 0) << page;
  EXPECT_NE(page.find("Content-Type: text/html"), std::string::npos);
  EXPECT_NE(page.find("\r\n\r\n<title>page</title>"), std::string::npos);

  std::string model = http_exchange(server.port, "GET /model/scene.twi?x=1 HTTP/1.1\r\n\r\n");
  EXPECT_EQ(model.substr(model.size() - document.size()), document);

  std::string escape = http_exchange(server.port, "GET /../secret.txt HTTP/1.1\r\n\r\n");
  EXPECT_EQ(escape.compare(0, 12, "HTTP/1.1 404"), 0) << escape;
  EXPECT_EQ(escape.find("not to be served"), std::string::npos);

  std::string glb = http_exchange(server.port, post("/convert?name=scene.twi", document));
  EXPECT_EQ(glb.compare(0, 15, "HTTP/1.1 200 OK"), 0) << glb.substr(0, 300);
  EXPECT_NE(glb.find("X-Twi-Report: converted%3A%204%20nodes"), std::string::npos);
  EXPECT_NE(glb.find("\r\n\r\nglTF"), std::string::npos);

  std::string broken = http_exchange(server.port, post("/convert?name=<b>", "nodes = { a = { local = [ 1 ] } }"));
  EXPECT_EQ(broken.compare(0, 12, "HTTP/1.1 422"), 0) << broken;
  EXPECT_NE(broken.find("document: nodes > a > local: holds 1 numbers, not 16"), std::string::npos) << broken;

  std::string huge = http_exchange(server.port, "POST /convert HTTP/1.1\r\nContent-Length: 99999999999\r\n\r\n");
  EXPECT_EQ(huge.compare(0, 12, "HTTP/1.1 413"), 0) << huge;

  std::string endless_head = http_exchange(server.port, "GET /" + std::string(20000, 'a'));
  EXPECT_EQ(endless_head.compare(0, 12, "HTTP/1.1 431"), 0) << endless_head.substr(0, 100);

  // A client that says half a request and leaves: the server goes on.
  http_exchange(server.port, "GET / HT", true);
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
