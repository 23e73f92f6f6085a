#include "foundation/thread/critical_section.h"
#include "foundation/thread/thread.h"
#include "foundation/thread/thread_local_storage.h"
#include "foundation/utility/timer.h"
#include "support/test_support.h"

#include <atomic>

using namespace foundation;

TEST(CriticalSection, IsReentrantForItsOwnerAndExcludesOthers) {
  CriticalSection cs(4000);
  cs.enter();
  cs.enter(); // the owner may enter again
  EXPECT_TRUE(cs.try_enter());

  struct Probe {
    CriticalSection* cs;
    bool got;
  } probe = {&cs, true};
  auto try_from_other_thread = [](void* p) {
    Probe* state = static_cast<Probe*>(p);
    state->got = state->cs->try_enter();
    if (state->got)
      state->cs->leave();
  };
  Thread t;
  t.start(try_from_other_thread, &probe);
  t.join();
  EXPECT_FALSE(probe.got);

  cs.leave();
  cs.leave();
  // Still held once: another thread is still shut out.
  probe.got = true;
  Thread t2;
  t2.start(try_from_other_thread, &probe);
  t2.join();
  EXPECT_FALSE(probe.got);

  cs.leave();
  Thread t3;
  t3.start(try_from_other_thread, &probe);
  t3.join();
  EXPECT_TRUE(probe.got);
}

TEST(CriticalSection, SerialisesContendedIncrements) {
  struct Shared {
    CriticalSection cs{10};
    long counter = 0;
  } shared;
  auto work = [](void* p) {
    Shared* s = static_cast<Shared*>(p);
    for (int i = 0; i < 100000; ++i) {
      ScopedCriticalSection lock(s->cs);
      ++s->counter;
    }
  };
  Thread threads[4];
  for (Thread& t : threads)
    t.start(work, &shared);
  for (Thread& t : threads)
    t.join();
  EXPECT_EQ(shared.counter, 400000);
}

TEST(ThreadLocalStorage, EachThreadSeesItsOwnValue) {
  ThreadLocalSlot slot;
  int mine = 1;
  slot.set(&mine);
  struct Probe {
    ThreadLocalSlot* slot;
    void* before;
    void* after;
  } probe = {&slot, &mine, nullptr};
  Thread t;
  t.start(
      [](void* p) {
        Probe* state = static_cast<Probe*>(p);
        state->before = state->slot->get();
        static int theirs = 2;
        state->slot->set(&theirs);
        state->after = state->slot->get();
      },
      &probe);
  t.join();
  EXPECT_EQ(probe.before, nullptr);
  EXPECT_NE(probe.after, nullptr);
  EXPECT_NE(probe.after, &mine);
  EXPECT_EQ(slot.get(), &mine);
}

TEST(Event, WaitReturnsWhenSetAndTimesOutOtherwise) {
  Event auto_reset(false);
  EXPECT_FALSE(auto_reset.wait(10));
  auto_reset.set();
  EXPECT_TRUE(auto_reset.wait(0));
  EXPECT_FALSE(auto_reset.wait(0)); // the wait that saw it cleared it

  Event manual(true);
  Thread t;
  t.start([](void* e) { static_cast<Event*>(e)->set(); }, &manual);
  EXPECT_TRUE(manual.wait(-1));
  EXPECT_TRUE(manual.wait(0));
  t.join();
  manual.reset();
  EXPECT_FALSE(manual.wait(0));
}

TEST(Thread, NamesArePerThread) {
  struct Probe {
    std::string seen;
  } probe;
  Thread t;
  t.start([](void* p) { static_cast<Probe*>(p)->seen = thread::name() ? thread::name() : ""; }, &probe, "loader");
  t.join();
  EXPECT_EQ(probe.seen, "loader");
  EXPECT_EQ(thread::name(), nullptr);
}

TEST(Timer, TicksAreMonotonicAndSleepWaitsAtLeastItsTime) {
  uint64_t start = timer::ticks();
  thread::sleep_ms(20);
  double elapsed = timer::seconds_since(start);
  EXPECT_GE(elapsed, 0.019);
  EXPECT_LT(elapsed, 5.0);
}
