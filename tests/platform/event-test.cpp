#include "platform/event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/machine-fixture.h"
#include "platform/owned-event.h"
#include "platform/thread.h"

namespace larder::platform {
namespace {

TEST(EventTest, AnEventIsLoweredAtFirstAndRaisedUntilItIsLowered) {
  const OwnedEvent event;
  EXPECT_FALSE(IsRaised(event));
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(RaiseEvent(event), kSuccess);
    EXPECT_EQ(RaiseEvent(event), kSuccess);
    EXPECT_TRUE(IsRaised(event));
    EXPECT_TRUE(IsRaised(event));
    EXPECT_EQ(LowerEvent(event), kSuccess);
    EXPECT_FALSE(IsRaised(event));
    EXPECT_EQ(LowerEvent(event), kSuccess);
  }
}

TEST(EventTest, ARaiseWakesAllWaitersAndTheySeeWhatWasDoneBefore) {
  const OwnedEvent never;
  const OwnedEvent event;
  int done = 0;
  std::vector<std::jthread> waiters;
  for (int i = 0; i < 4; ++i) {
    waiters.emplace_back([&] {
      EXPECT_EQ(Wait({never, event}), 1u);
      EXPECT_EQ(done, 1);
    });
  }
  done = 1;
  RaiseEvent(event);
}

// Each raiser goes on only after the waiter has seen its raise, so a lost one stops the test.
TEST(EventTest, NoRaiseIsLostOnAWaiterThatLowersAndThenLooks) {
  constexpr int kRaisers = 4;
  constexpr int kRounds = 2000;
  const OwnedEvent never;
  const OwnedEvent event;
  std::atomic<int> made = 0;
  std::atomic<int> seen = 0;
  std::vector<std::jthread> raisers;
  for (int i = 0; i < kRaisers; ++i) {
    raisers.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        const int ticket = made.fetch_add(1, std::memory_order_relaxed) + 1;
        EXPECT_EQ(RaiseEvent(event), kSuccess);
        while (seen.load() < ticket) std::this_thread::yield();
      }
    });
  }
  while (seen.load() < kRaisers * kRounds) {
    EXPECT_EQ(Wait({never, event}), 1u);
    LowerEvent(event);
    seen.store(made.load(std::memory_order_relaxed));
  }
}

class NamedEventTest : public MachineTest {
 protected:
  // A name of this test's own, also on a system whose event names are shared by all.
  const WideString name = Wide(machine.Folder().parent_path().filename().string());
};

TEST_F(NamedEventTest, HandlesOfOneNameAreOneEventAndCaseDistinguishesNames) {
  const OwnedEvent first(name + Wide("A"));
  EXPECT_FALSE(IsRaised(first));
  EXPECT_EQ(RaiseEvent(first), kSuccess);
  const OwnedEvent second(name + Wide("A"));
  EXPECT_TRUE(IsRaised(first));
  EXPECT_TRUE(IsRaised(second));
  for (const char* other : {"", "a", "AA"}) EXPECT_FALSE(IsRaised(OwnedEvent(name + Wide(other))));
  EXPECT_EQ(LowerEvent(second), kSuccess);
  EXPECT_FALSE(IsRaised(first));
  EXPECT_EQ(LowerEvent(first), kSuccess);
  EXPECT_NE(TryToMakeEvent({}), kSuccess);
}

TEST_F(NamedEventTest, AWaitReportsTheLowestRaisedOf1To64EventsOfBothKinds) {
  const OwnedEvent never;
  const OwnedEvent named(name);
  const OwnedEvent last;
  std::vector<Handle> events(62, never);
  events.insert(events.end(), {named, last});
  RaiseEvent(last);
  EXPECT_EQ(Wait(events), 63u);
  RaiseEvent(named);
  EXPECT_EQ(Wait(events), 62u);
  LowerEvent(named);
  EXPECT_EQ(Wait(events), 63u);
  EXPECT_EQ(Wait({last}), 0u);
  events.push_back(last);
  std::size_t index = 0;
  EXPECT_EQ(WaitForAny(events.data(), events.size(), index), kInvalidParameter);
  EXPECT_EQ(WaitForAny(events.data(), 0, index), kInvalidParameter);
}

struct Work {
  OwnedEvent go;
  std::thread::id worker;
  std::atomic<bool> isDone = false;

  static void Body(void* argument) {
    auto* work = static_cast<Work*>(argument);
    Wait({work->go});
    work->worker = std::this_thread::get_id();
    work->isDone = true;
  }
};

TEST(ThreadTest, TheBodyRunsOnAThreadOfItsOwnThatMayOutliveItsHandle) {
  for (const bool isClosedFirst : {false, true}) {
    Work work;
    OwnedHandle thread;
    ASSERT_EQ(StartThread(Work::Body, &work, thread.Out()), kSuccess);
    if (isClosedFirst) thread = {};
    RaiseEvent(work.go);
    WaitForThread(thread.Get());
    EXPECT_TRUE(isClosedFirst || work.isDone);
    while (!work.isDone) std::this_thread::yield();
    EXPECT_NE(work.worker, std::thread::id());
    EXPECT_NE(work.worker, std::this_thread::get_id());
  }
}

}  // namespace
}  // namespace larder::platform
