// Sockets and addresses on loopback: the address text, select's set rules
// and timeout, bind's report, accept's recorded peer, connect's "already
// connected", datagrams.
#include "console_test_client.h"

#include "foundation/network/socket.h"
#include "foundation/thread/thread.h"
#include "foundation/utility/timer.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string.h>
#include <memory>
#include <vector>

using namespace foundation;

namespace {

using test::loopback;

// A UDP socket on loopback with one datagram waiting: readable.
std::unique_ptr<Socket> readable_udp(Socket& sender) {
  std::unique_ptr<Socket> s(new Socket);
  s->open(Socket::DATAGRAM);
  s->bind(loopback(0));
  const char byte = 'x';
  EXPECT_EQ(1, sender.send_to(&byte, 1, s->local_address()));
  return s;
}

} // namespace

TEST(SocketAddress, TextFormAndValidity) {
  char text[32];
  SocketAddress(127, 0, 0, 1, 8080).to_text(text, sizeof(text));
  EXPECT_STREQ("127.0.0.1:8080", text);
  SocketAddress(255, 254, 1, 0, 65535).to_text(text, sizeof(text));
  EXPECT_STREQ("255.254.1.0:65535", text);

  SocketAddress parsed;
  EXPECT_TRUE(is_valid_address("10.1.2.3:4000", &parsed));
  EXPECT_EQ(SocketAddress(10, 1, 2, 3, 4000), parsed);
  EXPECT_FALSE(is_valid_address("127.0.0.1")) << "four fields only";
  EXPECT_FALSE(is_valid_address("localhost:80"));
  EXPECT_FALSE(is_valid_address(""));

  SocketAddress resolved;
  ASSERT_TRUE(resolve_address("127.0.0.1", 99, resolved));
  EXPECT_EQ(loopback(99), resolved);
  ASSERT_TRUE(resolve_address("localhost", 7, resolved));
  EXPECT_EQ(loopback(7), resolved);
}

TEST(Socket, StreamsConnectAcceptAndTalk) {
  test::Network net;
  Socket listener;
  listener.open(Socket::STREAM);
  listener.set_reuse_address(true);
  listener.bind(loopback(0));
  EXPECT_TRUE(listener.listen(4));
  uint32_t port = listener.local_address().port;
  ASSERT_NE(0u, port);

  Socket client;
  client.open(Socket::STREAM);
  ASSERT_TRUE(client.connect(loopback(port)));
  EXPECT_TRUE(client.connect(loopback(port))) << "already connected counts as connected";
  EXPECT_EQ(port, client.peer_address().port);

  SocketAddress peer(1, 2, 3, 4, 5);
  Socket served = listener.accept(&peer);
  ASSERT_TRUE(served.is_valid());
  EXPECT_EQ(loopback(0), peer) << "the peer's port is not kept";

  EXPECT_EQ(5, client.send("hello", 5));
  char buffer[16] = {};
  EXPECT_EQ(5, served.receive(buffer, sizeof(buffer)));
  EXPECT_STREQ("hello", buffer);

  // Non-blocking: nothing to read is "would block", not an error.
  served.set_blocking(false);
  EXPECT_LT(served.receive(buffer, sizeof(buffer)), 0);
  EXPECT_TRUE(socket_error::would_block());
  listener.set_blocking(false);
  EXPECT_FALSE(listener.accept().is_valid()) << "no one waiting";

  // Moving hands the handle over; closing twice does nothing.
  Socket moved(std::move(served));
  EXPECT_FALSE(served.is_valid());
  EXPECT_TRUE(moved.is_valid());
  moved.close();
  moved.close();
  EXPECT_FALSE(moved.is_valid());
  EXPECT_EQ(0, client.receive(buffer, sizeof(buffer))) << "the peer closed";
}

TEST(Socket, BindingATakenPortIsReportedWithTheWinsockName) {
  test::Network net;
  Socket first;
  first.open(Socket::STREAM);
  first.bind(loopback(0));
  first.listen(1);
  SocketAddress taken = first.local_address();
  Socket second;
  second.open(Socket::STREAM);
  char expected[128];
  char text[32];
  taken.to_text(text, sizeof(text));
  snprintf(expected, sizeof(expected), "Cannot bind to %s -- port in use?\nError code: 10048 (WSAEADDRINUSE)", text);
  EXPECT_REPORT(second.bind(taken), expected);
  EXPECT_STREQ("WSAENOTSOCK", socket_error::name(10038));
  EXPECT_STREQ("unknown error", socket_error::name(12345));
  EXPECT_REPORT(second.open(7), "Unsupported socket type.");
}

TEST(Socket, DatagramsCarryTheSendersAddress) {
  test::Network net;
  Socket a, b;
  a.open(Socket::DATAGRAM);
  b.open(Socket::DATAGRAM);
  a.bind(loopback(0));
  b.bind(loopback(0));
  ASSERT_EQ(4, a.send_to("ping", 4, b.local_address()));
  char buffer[8] = {};
  SocketAddress from;
  ASSERT_EQ(4, b.receive_from(buffer, sizeof(buffer), from));
  EXPECT_EQ(a.local_address(), from);
}

TEST(Socket, SelectCountsEachSocketOnceAndTakesAtMostSixtyFour) {
  test::Network net;
  Socket sender;
  sender.open(Socket::DATAGRAM);
  std::vector<std::unique_ptr<Socket>> sockets;
  for (int i = 0; i < 65; ++i)
    sockets.push_back(readable_udp(sender));
  std::vector<Socket*> list;
  for (auto& s : sockets)
    list.push_back(s.get());

  Socket* twice[2] = {list[0], list[0]};
  bool ready[2] = {};
  EXPECT_EQ(1, Socket::select(twice, 2, nullptr, 0, 1.0f, ready));
  EXPECT_TRUE(ready[0]);
  EXPECT_TRUE(ready[1]) << "both entries name the same ready socket";

  std::vector<uint8_t> flags(65);
  bool* all_ready = reinterpret_cast<bool*>(flags.data());
  EXPECT_EQ(64, Socket::select(list.data(), 65, nullptr, 0, 1.0f, all_ready));
  EXPECT_TRUE(all_ready[63]);
  EXPECT_FALSE(all_ready[64]) << "the 65th socket is left out of the set";

  long whole = 0, micro = 0;
  Socket::split_timeout(2.5f, whole, micro);
  EXPECT_EQ(2, whole);
  EXPECT_EQ(500000, micro);
  Socket::split_timeout(0.25f, whole, micro);
  EXPECT_EQ(0, whole);
  EXPECT_EQ(250000, micro);

  // Nothing ready: the timeout of 0.25 s is waited for, roughly.
  Socket quiet;
  quiet.open(Socket::DATAGRAM);
  quiet.bind(loopback(0));
  Socket* one[1] = {&quiet};
  uint64_t start = timer::ticks();
  EXPECT_EQ(0, Socket::select(one, 1, nullptr, 0, 0.25f));
  double waited = timer::seconds_since(start);
  EXPECT_GT(waited, 0.2);
  EXPECT_LT(waited, 2.0);
}
