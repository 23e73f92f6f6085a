// Clients that misbehave, on loopback and bounded in time: each is dropped
// (or simply goes away) while the server keeps serving a well-behaved tool.
#include "console_test_client.h"

#include "foundation/config/parse_simplified_json.h"
#include "foundation/error/log.h"
#include "foundation/network/init.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace foundation;
using test::TestClient;

namespace {

// A server with one good client and one misbehaving one; `misbehave` acts
// through the bad client. Afterwards the bad one must be gone and the good
// one must still get messages.
class Robustness : public ::testing::Test {
protected:
  void SetUp() override {
    network::init();
    server.reset(new ConsoleServer(0));
    ASSERT_TRUE(test::connect_clients(*server, &good, 1));
    ASSERT_TRUE(test::connect_clients(*server, &bad, 1));
  }
  void TearDown() override {
    server.reset();
    network::shutdown();
  }

  // The bad client is dropped; a warning names why when `warning` is given.
  void expect_dropped(const char* warning) {
    ::testing::internal::CaptureStdout();
    bool dropped = test::pump(*server, [&] { return server->client_count() == 1; });
    std::string log = ::testing::internal::GetCapturedStdout();
    EXPECT_TRUE(dropped);
    if (warning) {
      EXPECT_NE(std::string::npos, log.find(warning)) << log;
    }
  }

  void expect_good_client_served() {
    server->send(test::message_object("check", "still here"));
    EXPECT_TRUE(test::pump(*server, [&] {
      good.poll();
      for (uint32_t i = 0; i < good.messages.size(); ++i)
        if (good.messages[i].has("text") && strcmp(good.messages[i].get("text").to_string(), "still here") == 0)
          return true;
      return false;
    }));
  }

  std::unique_ptr<ConsoleServer> server;
  TestClient good;
  TestClient bad;
};

} // namespace

TEST_F(Robustness, GarbageBytes) {
  ASSERT_TRUE(bad.send_raw("GET / HTTP/1.1\r\n\r\n", 18));
  expect_dropped("not a frame header");
  expect_good_client_served();
}

TEST_F(Robustness, ATruncatedHeaderThenGoingAway) {
  const uint8_t header[5] = {0, 0, 0, 0, 0};
  ASSERT_TRUE(bad.send_raw(header, sizeof(header)));
  server->update();
  bad.socket.close();
  expect_dropped(nullptr);
  expect_good_client_served();
}

TEST_F(Robustness, AnAbsurdLength) {
  const uint8_t header[8] = {0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xF0};
  ASSERT_TRUE(bad.send_raw(header, sizeof(header)));
  expect_dropped("frame length out of range");
  expect_good_client_served();
}

TEST_F(Robustness, MalformedAndTooDeepJson) {
  ASSERT_TRUE(bad.send_json("{\"type\" \"x\"}"));
  expect_dropped("message is not valid JSON");
  expect_good_client_served();

  TestClient deep;
  ASSERT_TRUE(test::connect_clients(*server, &deep, 1));
  // Deeper than the parser reads: refused without touching the stack.
  size_t levels = size_t(simplified_json::MAX_NESTING) + 1;
  std::string nested = "{\"type\": \"x\", \"v\": " + std::string(levels, '[') + std::string(levels, ']') + "}";
  ASSERT_TRUE(deep.send_json(nested.c_str()));
  expect_dropped("message is not valid JSON");
  expect_good_client_served();
}

TEST_F(Robustness, AClientThatDisconnectsMidFrame) {
  Vector<char> frame(memory_globals::default_allocator());
  console_frame::build("{\"type\":\"x\"}", 12, "payload", 7, frame);
  ASSERT_TRUE(bad.send_raw(frame.data(), frame.size() / 2));
  server->update();
  bad.socket.close();
  expect_dropped(nullptr);
  expect_good_client_served();
}

TEST_F(Robustness, AClientThatNeverReadsIsDroppedWhileOthersAreServed) {
  std::string line(500, 'x');
  set_log_console(server.get());
  ::testing::internal::CaptureStdout();
  for (int i = 0; i < 10000; ++i) {
    log_info("Flood", "%d %s", i, line.c_str());
    if (i % 50 == 0) {
      server->update();
      good.poll();
      good.messages.clear();
    }
  }
  set_log_console(nullptr);
  bool dropped = test::pump(*server, [&] { return server->client_count() == 1; });
  std::string log = ::testing::internal::GetCapturedStdout();
  EXPECT_TRUE(dropped) << "the client that never reads is dropped";
  EXPECT_NE(std::string::npos, log.find("it does not read what it is sent"));
  EXPECT_FALSE(good.closed);
  expect_good_client_served();
}

TEST_F(Robustness, ClientsBeyondTheMostAreRefused) {
  const uint32_t room = ConsoleServer::MAX_CLIENTS - 2;
  std::vector<TestClient> clients(room);
  ASSERT_TRUE(test::connect_clients(*server, clients.data(), room));
  EXPECT_EQ(ConsoleServer::MAX_CLIENTS, server->client_count());
  // Idle connections beyond the most are taken and closed, one by one.
  std::vector<TestClient> extra(8);
  ::testing::internal::CaptureStdout();
  for (TestClient& e : extra) {
    ASSERT_TRUE(e.connect(server->port()));
    EXPECT_TRUE(test::pump(*server, [&] {
      e.poll();
      return e.closed;
    })) << "a client beyond the most is closed";
  }
  std::string log = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(std::string::npos, log.find("the server already has its most clients")) << log;
  EXPECT_EQ(ConsoleServer::MAX_CLIENTS, server->client_count());
  server->send(test::message_object("hello", "everyone"));
  EXPECT_TRUE(test::pump(*server, [&] {
    for (TestClient& c : clients) {
      c.poll();
      if (c.messages.size() == 0)
        return false;
    }
    return true;
  }));
  expect_good_client_served();
}

// Clients that announce large frames and send them slowly: together they
// may hold no more input than the limit; the one whose read would pass it
// is dropped, and the others are served.
TEST_F(Robustness, LargeFramesFromManyClientsAreBoundedInMemory) {
  ConsoleServer::Limits limits;
  limits.max_buffered_input = 1u << 20;
  server->set_limits(limits);
  std::vector<TestClient> hogs(4);
  ASSERT_TRUE(test::connect_clients(*server, hogs.data(), 4));
  // Each announces a 16 MiB frame and sends 400 KiB of it.
  std::vector<uint8_t> start(400 * 1024, 'x');
  const uint32_t length = 16u << 20;
  start[0] = start[1] = start[2] = start[3] = 0;
  start[4] = uint8_t(length >> 24);
  start[5] = uint8_t(length >> 16);
  start[6] = uint8_t(length >> 8);
  start[7] = uint8_t(length);
  ::testing::internal::CaptureStdout();
  uint32_t most = 0;
  for (TestClient& h : hogs) {
    ASSERT_TRUE(h.send_raw(start.data(), uint32_t(start.size())));
    for (int i = 0; i < 50; ++i) {
      server->update();
      uint32_t held = server->buffered_input();
      most = held > most ? held : most;
    }
  }
  bool dropped = test::pump(*server, [&] { return server->client_count() < 6; });
  std::string log = ::testing::internal::GetCapturedStdout();
  EXPECT_TRUE(dropped);
  EXPECT_LE(most, limits.max_buffered_input) << "never more than the limit";
  EXPECT_NE(std::string::npos, log.find("would take the clients' input past 1048576 bytes")) << log;
  expect_good_client_served();
}

// A large frame is received whole, and its buffer is given back after.
TEST_F(Robustness, AnInputBufferShrinksAfterALargeFrame) {
  struct Received {
    uint32_t bytes = 0;
    static void receive(void* user, const DynamicConfigValue& m) {
      static_cast<Received*>(user)->bytes = m.get("binary-data").to_data().size();
    }
  } received;
  server->add_receiver("big", Received::receive, &received);
  std::vector<char> payload(3u << 20, 'p');
  // Sent from another thread while this one keeps the server reading.
  bool sent = false;
  std::thread sender([&] { sent = bad.send_json("{\"type\":\"big\"}", payload.data(), uint32_t(payload.size())); });
  EXPECT_TRUE(test::pump(*server, [&] { return received.bytes == payload.size(); }, 20.0));
  sender.join();
  EXPECT_TRUE(sent);
  EXPECT_LE(server->buffered_input(), 2 * ConsoleServer::INPUT_KEEP) << "both clients' buffers back to small";
  expect_good_client_served();
}

TEST_F(Robustness, ConnectAndCloseLoops) {
  for (int i = 0; i < 200; ++i) {
    Socket s;
    s.open(Socket::STREAM);
    ASSERT_TRUE(s.connect(test::loopback(server->port())));
    if (i % 2 == 0)
      s.close(); // gone before it is even accepted
    server->update();
    s.close();
  }
  EXPECT_TRUE(test::pump(*server, [&] { return server->client_count() == 2; }, 10.0))
      << "every short-lived client is accepted and dropped";
  expect_good_client_served();
}
