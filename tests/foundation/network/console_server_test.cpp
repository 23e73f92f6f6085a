// The console server on loopback: frames byte for byte, messages both ways
// with and without payloads, frames cut whatever the read boundaries,
// receivers by type, waiting for a connection, relay mode, the log console.
#include "console_test_client.h"

#include "foundation/error/assert.h"
#include "foundation/error/error.h"
#include "foundation/error/log.h"
#include "foundation/network/init.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

using namespace foundation;
using test::TestClient;

namespace {

std::vector<uint8_t> bytes_of(const Vector<char>& v) { return std::vector<uint8_t>(v.data(), v.data() + v.size()); }

struct Received {
  std::vector<std::string> texts;
  std::vector<std::string> payloads;
  static void receive(void* user, const DynamicConfigValue& message) {
    Received& r = *static_cast<Received*>(user);
    r.texts.push_back(message.has("text") ? message.get("text").to_string() : "");
    const DynamicConfigValue& data = message.get("binary-data");
    r.payloads.push_back(data.is_data() ? std::string(data.to_data().data(), data.to_data().data() + data.to_data().size())
                                        : std::string("(none)"));
  }
};

} // namespace

TEST(ConsoleFrame, TheTwoLayoutsByteForByte) {
  // {"a" : "bcd"} is 13 bytes of JSON.
  const char* text = "{\"a\" : \"bcd\"}";
  ASSERT_EQ(13u, strlen(text));
  Vector<char> plain(memory_globals::default_allocator());
  console_frame::build(text, 13, nullptr, 0, plain);
  std::vector<uint8_t> expected = {0, 0, 0, 0, 0, 0, 0, 16};
  expected.insert(expected.end(), text, text + 13);
  expected.insert(expected.end(), {0, 0, 0});
  EXPECT_EQ(24u, plain.size());
  EXPECT_EQ(expected, bytes_of(plain));

  Vector<char> with_payload(memory_globals::default_allocator());
  console_frame::build(text, 13, "0123456789", 10, with_payload);
  expected = {0, 0, 0, 1, 0, 0, 0, 30, 0, 0, 0, 20};
  expected.insert(expected.end(), text, text + 13);
  expected.insert(expected.end(), {0, 0, 0});
  expected.insert(expected.end(), {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9'});
  EXPECT_EQ(38u, with_payload.size());
  EXPECT_EQ(expected, bytes_of(with_payload));
}

TEST(ConsoleFrame, FramesAreCutWhateverTheReadBoundaries) {
  Vector<char> stream(memory_globals::default_allocator());
  console_frame::build("{\"n\":1}", 7, nullptr, 0, stream);
  console_frame::build("{\"n\":2}", 7, "xyz", 3, stream);
  console_frame::build("{\"n\":[1,2,3]}", 13, nullptr, 0, stream);
  // Every split point of the whole stream into two reads, and one byte at a time.
  for (uint32_t split = 0; split <= stream.size(); ++split) {
    Vector<uint8_t> input(memory_globals::default_allocator());
    Vector<DynamicConfigValue> messages(memory_globals::default_allocator());
    const char* problem = nullptr;
    input.push_back_n(reinterpret_cast<const uint8_t*>(stream.data()), split);
    ASSERT_TRUE(console_frame::cut_messages(input, messages, &problem));
    input.push_back_n(reinterpret_cast<const uint8_t*>(stream.data()) + split, stream.size() - split);
    ASSERT_TRUE(console_frame::cut_messages(input, messages, &problem));
    ASSERT_EQ(3u, messages.size()) << "split at " << split;
    EXPECT_EQ(0u, input.size());
    EXPECT_EQ(2, messages[1].get("n").to_integer());
    EXPECT_EQ(3u, messages[1].get("binary-data").to_data().size());
    EXPECT_TRUE(messages[2].get("n").is_array());
  }
  Vector<uint8_t> input(memory_globals::default_allocator());
  Vector<DynamicConfigValue> messages(memory_globals::default_allocator());
  const char* problem = nullptr;
  for (uint32_t i = 0; i < stream.size(); ++i) {
    input.push_back(uint8_t(stream[i]));
    ASSERT_TRUE(console_frame::cut_messages(input, messages, &problem));
  }
  EXPECT_EQ(3u, messages.size());
}

TEST(ConsoleServer, MessagesTravelBothWaysWithAndWithoutPayloads) {
  test::Network net;
  ConsoleServer server(0);
  Received received;
  server.add_receiver("note", Received::receive, &received);
  TestClient client;
  ASSERT_TRUE(test::connect_clients(server, &client, 1));

  ASSERT_TRUE(client.send_json("{\"type\":\"note\",\"text\":\"plain\"}"));
  ASSERT_TRUE(client.send_json("{\"type\":\"note\",\"text\":\"with data\"}", "\0\1\2\3\4", 5));
  ASSERT_TRUE(client.send_json("{\"type\":\"other\",\"text\":\"ignored\"}"));
  ASSERT_TRUE(client.send_json("{\"text\":\"no type\"}"));
  ASSERT_TRUE(client.send_json("{\"type\":7,\"text\":\"a type that is not a string\"}"));
  ASSERT_TRUE(test::pump(server, [&] { return received.texts.size() == 2; }));
  server.update();
  EXPECT_EQ((std::vector<std::string>{"plain", "with data"}), received.texts) << "unknown types and messages without a type are ignored";
  EXPECT_EQ("(none)", received.payloads[0]);
  EXPECT_EQ(std::string("\0\1\2\3\4", 5), received.payloads[1]);
  EXPECT_EQ(1u, server.client_count()) << "ignoring is not dropping";

  server.send(test::message_object("reply", "first"));
  char payload[3000];
  for (int i = 0; i < 3000; ++i)
    payload[i] = char(i * 7);
  server.send(test::message_object("reply", "second"), payload, sizeof(payload));
  ASSERT_TRUE(test::pump(server, [&] {
    client.poll();
    return client.messages.size() == 2;
  }));
  EXPECT_STREQ("first", client.messages[0].get("text").to_string());
  EXPECT_FALSE(client.messages[0].has("binary-data"));
  const DynamicConfigValue::Data& data = client.messages[1].get("binary-data").to_data();
  ASSERT_EQ(3000u, data.size());
  EXPECT_EQ(0, memcmp(payload, data.data(), 3000));

  server.remove_receiver("note");
  EXPECT_REPORT(server.remove_receiver("note"), "Assertion failed: _receivers.has(IdString64(type))");
  server.add_receiver("note", Received::receive, &received);
  EXPECT_REPORT(server.add_receiver("note", Received::receive, &received),
                "Assertion failed: !_receivers.has(IdString64(type))");
}

TEST(ConsoleServer, SplitAndGroupedFramesOverTheWire) {
  test::Network net;
  ConsoleServer server(0);
  Received received;
  server.add_receiver("note", Received::receive, &received);
  TestClient client;
  ASSERT_TRUE(test::connect_clients(server, &client, 1));

  Vector<char> frame(memory_globals::default_allocator());
  console_frame::build("{\"type\":\"note\",\"text\":\"split\"}", 31, "pp", 2, frame);
  for (uint32_t split = 1; split < frame.size(); ++split) {
    received.texts.clear();
    ASSERT_TRUE(client.send_raw(frame.data(), split));
    server.update();
    ASSERT_TRUE(client.send_raw(frame.data() + split, frame.size() - split));
    ASSERT_TRUE(test::pump(server, [&] { return received.texts.size() == 1; })) << "split at " << split;
    EXPECT_EQ("pp", received.payloads.back());
  }
  // Several frames in one write.
  received.texts.clear();
  Vector<char> three(memory_globals::default_allocator());
  for (int i = 0; i < 3; ++i)
    console_frame::build("{\"type\":\"note\",\"text\":\"x\"}", 27, nullptr, 0, three);
  ASSERT_TRUE(client.send_raw(three.data(), three.size()));
  ASSERT_TRUE(test::pump(server, [&] { return received.texts.size() == 3; }));
}

TEST(ConsoleServer, BinaryFileDataDescribesItself) {
  test::Network net;
  ConsoleServer server(0);
  TestClient client;
  ASSERT_TRUE(test::connect_clients(server, &client, 1));
  server.send_binary_file_data("textures/crate.dds", "DDS data", 8);
  ASSERT_TRUE(test::pump(server, [&] {
    client.poll();
    return client.messages.size() == 1;
  }));
  const DynamicConfigValue& m = client.messages[0];
  EXPECT_STREQ("binary_file_data", m.get("type").to_string());
  EXPECT_STREQ("textures/crate.dds", m.get("file_name").to_string());
  EXPECT_EQ(8, m.get("binary_data_length").to_integer());
  EXPECT_STREQ(TW_PLATFORM_NAME, m.get("platform").to_string());
  EXPECT_FALSE(m.get("big_endian").to_bool());
  EXPECT_EQ(8u, m.get("binary-data").to_data().size());

  EXPECT_REPORT(server.send_binary_file_data(nullptr, "x", 1), "Assertion failed: file_name != nullptr");
  EXPECT_REPORT(server.send_binary_file_data("", "x", 1), "Assertion failed: file_name[0] != '\\0'");
  EXPECT_REPORT(server.send_binary_file_data("f", nullptr, 1), "Assertion failed: data != nullptr");
  EXPECT_REPORT(server.send_binary_file_data("f", "x", 0), "Assertion failed: len != 0");
}

TEST(ConsoleServer, WaitingForAConnection) {
  test::Network net;
  ConsoleServer server(0);
  ::testing::internal::CaptureStdout();
  uint64_t start = timer::ticks();
  server.wait_for_connection(2.0f);
  double waited = timer::seconds_since(start);
  std::string log = ::testing::internal::GetCapturedStdout();
  EXPECT_GE(waited, 2.0);
  EXPECT_LT(waited, 4.0);
  EXPECT_NE(std::string::npos, log.find("[Console] Waited 2.0")) << log;
  EXPECT_NE(std::string::npos, log.find(" seconds for a console connection")) << log;

  TestClient client;
  ASSERT_TRUE(client.connect(server.port()));
  ::testing::internal::CaptureStdout();
  start = timer::ticks();
  server.wait_for_connection(2.0f);
  log = ::testing::internal::GetCapturedStdout();
  EXPECT_LT(timer::seconds_since(start), 1.0) << "returns as soon as the client is accepted";
  EXPECT_EQ(1u, server.client_count());
  ::testing::internal::CaptureStdout();
  server.wait_for_connection(2.0f);
  log = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(std::string::npos, log.find("Waited 0.000000 seconds")) << log;
}

TEST(ConsoleServer, LogLinesReachTheToolAsMessages) {
  test::Network net;
  ConsoleServer server(0);
  TestClient client;
  ASSERT_TRUE(test::connect_clients(server, &client, 1));
  set_log_console(&server);
  ::testing::internal::CaptureStdout();
  log_info("Exporter", "exported %i nodes", 12);
  log_warning("Exporter", "%s", "a warning");
  ::testing::internal::GetCapturedStdout();
  set_log_console(nullptr);
  log_info("Exporter", "not sent: the console is gone");
  ASSERT_TRUE(test::pump(server, [&] {
    client.poll();
    return client.messages.size() >= 2;
  }));
  server.update();
  client.poll();
  ASSERT_EQ(2u, client.messages.size());
  const DynamicConfigValue& m = client.messages[0];
  EXPECT_STREQ("message", m.get("type").to_string());
  EXPECT_STREQ("info", m.get("level").to_string());
  EXPECT_STREQ("Exporter", m.get("system").to_string());
  EXPECT_STREQ("exported 12 nodes", m.get("message").to_string());
  EXPECT_STREQ("warning", client.messages[1].get("level").to_string());
}

TEST(ConsoleServer, RelayModeConnectsOutAndReconnects) {
  test::Network net;
  Socket relay;
  relay.open(Socket::STREAM);
  relay.set_reuse_address(true);
  relay.bind(test::loopback(0));
  relay.listen(4);
  uint32_t port = relay.local_address().port;

  ::testing::internal::CaptureStdout();
  ConsoleServer server("127.0.0.1", port);
  std::string log = ::testing::internal::GetCapturedStdout();
  char expected[64];
  snprintf(expected, sizeof(expected), "[ConsoleServer] Connecting to console relay 127.0.0.1 %u", port);
  EXPECT_NE(std::string::npos, log.find(expected)) << log;
  EXPECT_TRUE(server.is_relay());
  EXPECT_EQ(1u, server.client_count());
  Socket link = relay.accept();
  ASSERT_TRUE(link.is_valid());

  // The relay goes away altogether.
  link.close();
  relay.close();
  ASSERT_TRUE(test::pump(server, [&] { return server.client_count() == 0; }));
  uint32_t calls_before = server.reconnect_calls();
  uint64_t start = timer::ticks();
  while (timer::seconds_since(start) < 1.2) {
    server.update();
    thread::sleep_ms(5);
  }
  uint32_t calls = server.reconnect_calls() - calls_before;
  EXPECT_EQ(0u, calls % 3) << "three connect calls per attempt";
  EXPECT_GE(calls, 3u);
  EXPECT_LE(calls, 9u) << "an attempt every half second";
  EXPECT_EQ(0u, server.client_count());

  // It comes back on the same port: the server finds it again.
  Socket back;
  back.open(Socket::STREAM);
  back.set_reuse_address(true);
  back.bind(test::loopback(port));
  back.listen(4);
  ASSERT_TRUE(test::pump(server, [&] { return server.client_count() == 1; }, 3.0));
  Socket again = back.accept();
  EXPECT_TRUE(again.is_valid());
}

TEST(ConsoleServer, ACrashWaitsForAToolAndDrainsTheReportToIt) {
  test::Network net;
  ConsoleServer server(0);
  set_log_console(&server);
  error::set_console_connection_wait(0.3f);
  error::set_console_drain_time(0.3f);

  // Nobody connected: the report waits for a tool, then drains.
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  uint64_t start = timer::ticks();
  test::Report r = test::capture_report([] { TW_ASSERT_MSG(false, "first failure"); });
  double took = timer::seconds_since(start);
  std::string out = ::testing::internal::GetCapturedStdout();
  ::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(r.reported);
  EXPECT_GE(took, 0.6);
  EXPECT_NE(std::string::npos, out.find("seconds for a console connection")) << out;

  // A tool is connected: no waiting, and the report reaches it.
  TestClient client;
  ASSERT_TRUE(test::connect_clients(server, &client, 1));
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  start = timer::ticks();
  r = test::capture_report([] { TW_ASSERT_MSG(false, "second failure"); });
  took = timer::seconds_since(start);
  ::testing::internal::GetCapturedStdout();
  ::testing::internal::GetCapturedStderr();
  EXPECT_GE(took, 0.3);
  EXPECT_LT(took, 0.6 + 0.5);
  client.poll();
  EXPECT_TRUE(client.has_log("second failure")) << "the report was serviced out during the drain";
  bool crash_system = false;
  for (uint32_t i = 0; i < client.messages.size(); ++i)
    crash_system = crash_system || strcmp(client.messages[i].get("system").to_string(), "Crash") == 0;
  EXPECT_TRUE(crash_system);

  set_log_console(nullptr);
  error::set_console_connection_wait(2.0f);
  error::set_console_drain_time(2.0f);
}
