#include "platform/event.h"

#include <atomic>
#include <thread>

#include "platform/machine-fixture.h"
#include "platform/thread.h"

namespace larder::platform {
namespace {

class EventTest : public MachineTest {
 protected:
  // A name of this test's own, also on a system whose event names are shared by all.
  const WideString name = Wide(machine.Folder().parent_path().filename().string());
  const OwnedEvent never;
  const OwnedEvent event;
};

TEST_F(EventTest, AnEventIsLoweredAtFirstAndRaisedUntilItIsLowered) {
  bool isRaised = true;
  EXPECT_EQ(QueryNamedEvent(name, isRaised), kSuccess);  // there is none
  EXPECT_FALSE(isRaised);
  const OwnedEvent named(name);
  for (const Handle each : {Handle{event}, Handle{named}}) {
    EXPECT_FALSE(IsRaised(each));
    for (int round = 0; round < 2; ++round) {
      for (int i = 0; i < 2; ++i) EXPECT_EQ(RaiseEvent(each), kSuccess);
      for (int i = 0; i < 2; ++i) EXPECT_TRUE(IsRaised(each));
      EXPECT_EQ(QueryNamedEvent(name, isRaised), kSuccess);
      EXPECT_EQ(isRaised, each == named);
      for (int i = 0; i < 2; ++i) EXPECT_EQ(LowerEvent(each), kSuccess);
      EXPECT_FALSE(IsRaised(each));
    }
  }
}

TEST_F(EventTest, ARaiseWakesAllWaitersAndTheySeeWhatWasDoneBefore) {
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
TEST_F(EventTest, NoRaiseIsLostOnAWaiterThatLowersAndThenLooks) {
  constexpr int kRaisers = 4;
  constexpr int kRounds = 2000;
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

TEST_F(EventTest, HandlesOfOneNameAreOneEventAndCaseDistinguishesNames) {
  const OwnedEvent first(name + Wide("A"));
  EXPECT_EQ(RaiseEvent(first), kSuccess);
  const OwnedEvent second(name + Wide("A"));
  EXPECT_TRUE(IsRaised(second));
  for (const char* other : {"", "a", "AA"}) EXPECT_FALSE(IsRaised(OwnedEvent(name + Wide(other))));
  EXPECT_EQ(LowerEvent(second), kSuccess);
  EXPECT_FALSE(IsRaised(first));
  EXPECT_NE(TryToMakeEvent({}), kSuccess);
}

TEST_F(EventTest, AWaitReportsTheLowestRaisedOf1To64EventsOfBothKinds) {
  const OwnedEvent named(name);
  std::vector<Handle> events(62, never);
  events.insert(events.end(), {named, event});
  RaiseEvent(event);
  EXPECT_EQ(Wait(events), 63u);
  RaiseEvent(named);
  EXPECT_EQ(Wait(events), 62u);
  LowerEvent(named);
  events.push_back(event);
  std::size_t index = 0;
  for (const std::size_t count : {0u, 65u})
    EXPECT_EQ(WaitForAny(events.data(), count, index), kInvalidParameter);
}

TEST(ThreadTest, AThreadMayOutliveItsHandle) {
  struct Work {
    OwnedEvent go;
    std::atomic<bool> isDone = false;
  } work;
  const auto body = [](void* argument) {
    Wait({static_cast<Work*>(argument)->go});
    static_cast<Work*>(argument)->isDone = true;
  };
  {
    OwnedHandle thread;
    ASSERT_EQ(StartThread(body, &work, thread.Out()), kSuccess);
  }
  RaiseEvent(work.go);
  while (!work.isDone) std::this_thread::yield();
}

}  // namespace
}  // namespace larder::platform
