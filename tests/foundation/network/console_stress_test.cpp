// Logging from several threads while the main thread updates the console
// server and a tool reads: every line arrives once, whole (the server's one
// lock orders senders, the ring buffers and the update).
#include "console_test_client.h"

#include "support/test_support.h"

#include "foundation/error/log.h"
#include "foundation/network/init.h"
#include "foundation/thread/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>

using namespace foundation;

namespace {

const int THREADS = 4;
const int LINES = 500 * int(test::stress_scale());

struct Logger {
  int index;
  std::atomic<int>* finished;
  static void run(void* user) {
    Logger& l = *static_cast<Logger*>(user);
    for (int i = 0; i < LINES; ++i)
      log_info("Stress", "thread %d line %d", l.index, i);
    l.finished->fetch_add(1);
  }
};

} // namespace

TEST(ConsoleStress, LinesFromManyThreadsArriveOnceEach) {
  network::init();
  {
    ConsoleServer server(0);
    test::TestClient tool;
    ASSERT_TRUE(test::connect_clients(server, &tool, 1));
    set_log_console(&server);
    log::set_standard_streams_enabled(false);

    std::atomic<int> finished(0);
    Logger loggers[THREADS];
    Thread threads[THREADS];
    for (int t = 0; t < THREADS; ++t) {
      loggers[t] = Logger{t, &finished};
      threads[t].start(Logger::run, &loggers[t], "logger");
    }
    std::set<std::string> seen;
    uint64_t start = timer::ticks();
    while ((finished.load() < THREADS || server.pending_output() > 0 || seen.size() < size_t(THREADS * LINES)) &&
           timer::seconds_since(start) < 60) {
      server.update();
      tool.poll();
      for (uint32_t i = 0; i < tool.messages.size(); ++i)
        if (strcmp(tool.messages[i].get("system").to_string(), "Stress") == 0) {
          EXPECT_TRUE(seen.insert(tool.messages[i].get("message").to_string()).second) << "a line arrived twice";
        }
      tool.messages.clear();
    }
    for (Thread& t : threads)
      t.join();
    set_log_console(nullptr);
    log::set_standard_streams_enabled(true);
    EXPECT_EQ(size_t(THREADS * LINES), seen.size());
    EXPECT_EQ(1u, server.client_count()) << "a reading tool is never dropped";
  }
  network::shutdown();
}
