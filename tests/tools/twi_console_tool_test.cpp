// twi-console and twi-export --console, run as a user runs them, against a
// console server (or a tool) in this test.
#include "foundation/memory/memory_globals.h"
#include "foundation/network/init.h"
#include "foundation/network/console_frame.h"
#include "foundation/network/console_server.h"
#include "foundation/network/socket.h"
#include "foundation/thread/thread.h"
#include "support/test_support.h"

#include "../foundation/network/console_test_client.h"

#include <gtest/gtest.h>

#include <stdio.h>
#include <string>

using namespace foundation;

namespace {

// A program running in the background, its output read when it ends.
class Background {
public:
  explicit Background(const std::string& command) { _pipe = popen((command + " 2>&1").c_str(), "r"); }
  ~Background() {
    if (_pipe)
      finish();
  }
  // Waits for the end; the exit status.
  int finish() {
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof(buffer), _pipe)) > 0)
      output.append(buffer, n);
    int status = pclose(_pipe);
    _pipe = nullptr;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::string output;

private:
  FILE* _pipe;
};

uint32_t free_port() {
  Socket s;
  s.open(Socket::STREAM);
  s.bind(SocketAddress(127, 0, 0, 1, 0));
  return s.local_address().port;
}

struct Pings {
  int count = 0;
  static void receive(void* user, const DynamicConfigValue&) { ++static_cast<Pings*>(user)->count; }
};

} // namespace

TEST(TwiConsoleTool, PrintsWhatTheServerSendsAndSendsItsMessage) {
  network::init();
  {
    ConsoleServer server(0);
    Pings pings;
    server.add_receiver("ping", Pings::receive, &pings);
    Background tool(std::string(TW_TWI_CONSOLE_TOOL) + " 127.0.0.1:" + std::to_string(server.port()) +
                    " --send '{\"type\":\"ping\"}' --seconds 2");
    ASSERT_TRUE(test::pump(server, [&] { return pings.count == 1; })) << "the tool connects and sends its message";
    DynamicConfigValue log(memory_globals::default_allocator());
    log.set_object();
    log.get("type").set_string("message");
    log.get("level").set_string("warning");
    log.get("system").set_string("Exporter");
    log.get("message").set_string("mesh without UVs\n");
    server.send(log);
    server.send(test::message_object("custom", "other"));
    ASSERT_TRUE(test::pump(server, [&] { return server.pending_output() == 0; }));
    EXPECT_EQ(0, tool.finish());
    EXPECT_NE(std::string::npos, tool.output.find("[warning] Exporter: mesh without UVs\n")) << tool.output;
    EXPECT_NE(std::string::npos, tool.output.find("\"type\" : \"custom\"")) << tool.output;
  }
  network::shutdown();

  EXPECT_EQ(2, test::run_program(std::string(TW_TWI_CONSOLE_TOOL) + " 127.0.0.1:1 --send 'not json'").status);
  EXPECT_EQ(2, test::run_program(std::string(TW_TWI_CONSOLE_TOOL)).status);
  for (const char* bad : {"127.0.0.1:70000", "127.0.0.1:0", "127.0.0.1:12x", "127.0.0.1:", "localhost"}) {
    test::ProgramRun r = test::run_program(std::string(TW_TWI_CONSOLE_TOOL) + " " + bad);
    EXPECT_EQ(2, r.status) << bad << ": " << r.output;
    EXPECT_NE(std::string::npos, r.output.find("port from 1 to 65535")) << r.output;
  }
  EXPECT_EQ(2, test::run_program(std::string(TW_TWI_CONSOLE_TOOL) + " --listen 70000").status);
  EXPECT_EQ(1, test::run_program(std::string(TW_TWI_CONSOLE_TOOL) + " 127.0.0.1:" + std::to_string(free_port()))
                   .status)
      << "nobody listening";
}

// What a server sends can't drive the terminal, and a NUL inside a binary
// payload does not cut the printed message short. The "server" here is a bare
// socket that sends hand-made frames, as a hostile one would.
TEST(TwiConsoleTool, ControlBytesFromTheServerAreShownNotObeyed) {
  network::init();
  {
    Socket listener;
    listener.open(Socket::STREAM);
    listener.bind(SocketAddress(127, 0, 0, 1, 0));
    listener.listen(1);
    Background tool(std::string(TW_TWI_CONSOLE_TOOL) + " 127.0.0.1:" +
                    std::to_string(listener.local_address().port) + " --seconds 5");
    Socket server = listener.accept(nullptr);
    ASSERT_TRUE(server.is_valid());
    const std::string texts[] = {
        "{\"type\":\"message\",\"level\":\"info\",\"system\":\"\\u001b[2J\",\"message\":"
        "\"before \\u001b]0;title\\u0007 \\r\\u009b2J del\\u007f end\"}",
        "{\"type\":\"x\\u001b[31m\"}",
    };
    static const char payload[] = "bin\0ary\x1b[2J";
    for (int i = 0; i < 2; ++i) {
      Vector<char> frame(memory_globals::default_allocator());
      console_frame::build(texts[i].data(), uint32_t(texts[i].size()), i == 1 ? payload : nullptr,
                           i == 1 ? uint32_t(sizeof(payload) - 1) : 0, frame);
      ASSERT_EQ(int(frame.size()), server.send(frame.data(), frame.size()));
    }
    server.close();
    EXPECT_EQ(0, tool.finish()) << tool.output;
    EXPECT_NE(std::string::npos,
              tool.output.find("[info] \\x1b[2J: before \\x1b]0;title\\x07 \\x0d\\u009b2J del\\x7f end\n"))
        << tool.output;
    EXPECT_NE(std::string::npos,
              tool.output.find("{ \"binary-data\" : \"bin\\u0000ary\\u001b[2J\", \"type\" : \"x\\u001b[31m\"}\n"))
        << tool.output;
    EXPECT_EQ(std::string::npos, tool.output.find('\x1b')) << "no raw escape reaches the terminal";
  }
  network::shutdown();
}

TEST(TwiConsoleTool, ActsAsARelayForAServerInRelayMode) {
  network::init();
  {
    uint32_t port = free_port();
    Background relay(std::string(TW_TWI_CONSOLE_TOOL) + " --listen " + std::to_string(port) + " --seconds 3");
    thread::sleep_ms(300); // the relay is listening
    ::testing::internal::CaptureStdout();
    ConsoleServer server("127.0.0.1", port);
    ::testing::internal::GetCapturedStdout();
    server.send(test::message_object("hello", "from the server"));
    ASSERT_TRUE(test::pump(server, [&] { return server.pending_output() == 0; }));
    EXPECT_EQ(0, relay.finish());
    EXPECT_NE(std::string::npos, relay.output.find("from the server")) << relay.output;
  }
  network::shutdown();
}

#ifdef TW_TWI_EXPORT_TOOL
TEST(TwiExportTool, StreamsTheScriptEditorToAConsoleTool) {
  network::init();
  {
    test::TempDirectory dir;
    uint32_t port = free_port();
    Background exporter(std::string(TW_TWI_EXPORT_TOOL) + " demo:rig -o " + dir.file("rig.twi") + " --console " +
                        std::to_string(port) + " --console-wait 10");
    test::TestClient tool;
    uint64_t start = timer::ticks();
    while (!tool.connect(port) && timer::seconds_since(start) < 10) {
      tool.socket.close();
      thread::sleep_ms(20);
    }
    bool got_all = false;
    while (!got_all && !tool.closed && timer::seconds_since(start) < 20) {
      tool.poll();
      got_all = tool.has_log(" - SJSON -> Disc");
      thread::sleep_ms(5);
    }
    EXPECT_TRUE(got_all);
    EXPECT_TRUE(tool.has_log("Exporting Node: hip"));
    EXPECT_EQ(0, exporter.finish()) << exporter.output;
    EXPECT_NE(std::string::npos, exporter.output.find("seconds for a console connection")) << exporter.output;
  }
  network::shutdown();
}
#endif
