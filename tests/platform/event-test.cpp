#include "platform/event.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/machine-fixture.h"
#include "platform/owned-event.h"

namespace larder::platform {
namespace {

TEST(EventTest, AnEventIsLoweredAtFirstAndRaisedUntilItIsLowered) {
  const OwnedEvent event(NewEvent());
  EXPECT_FALSE(IsRaised(event));
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_TRUE(IsRaised(event));
  EXPECT_TRUE(IsRaised(event));
  EXPECT_EQ(LowerEvent(event), kSuccess);
  EXPECT_FALSE(IsRaised(event));
  EXPECT_EQ(LowerEvent(event), kSuccess);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_TRUE(IsRaised(event));
}

TEST(EventTest, ARaiseWakesAllWhoWaitAndTheySeeWhatWasDoneBefore) {
  const OwnedEvent never(NewEvent());
  const OwnedEvent event(NewEvent());
  int done = 0;
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i) {
    waiters.emplace_back([&] {
      EXPECT_EQ(Wait({never, event}), 1u);
      EXPECT_EQ(done, 1);
    });
  }
  done = 1;
  RaiseEvent(event);
  for (std::thread& waiter : waiters) waiter.join();
}

TEST(EventTest, ANoHandleFailsAtOnce) {
  const OwnedEvent event(NewEvent());
  RaiseEvent(event);
  std::size_t index = 0;
  for (const Handle none : {Handle{nullptr}, InvalidHandle()}) {
    EXPECT_EQ(RaiseEvent(none), kInvalidHandle);
    EXPECT_EQ(LowerEvent(none), kInvalidHandle);
    const std::array<Handle, 2> pair = {event, none};
    EXPECT_EQ(WaitForAny(pair.data(), pair.size(), index), kInvalidHandle);
    CloseObject(none);
  }
}

TEST(EventTest, OneTo64EventsAreWaitedFor) {
  const OwnedEvent never(NewEvent());
  const OwnedEvent raised(NewEvent());
  RaiseEvent(raised);
  std::vector<Handle> events(63, never);
  events.push_back(raised);
  EXPECT_EQ(Wait({raised}), 0u);
  EXPECT_EQ(Wait(events), 63u);
  events.push_back(raised);
  std::size_t index = 0;
  EXPECT_EQ(WaitForAny(events.data(), events.size(), index), kInvalidParameter);
  EXPECT_EQ(WaitForAny(events.data(), 0, index), kInvalidParameter);
}

// Each raiser goes on only after the waiter has seen its raise, so one that is lost stops the test.
TEST(EventTest, NoRaiseIsLostOnAWaiterThatLowersAndThenLooks) {
  constexpr int kRaisers = 4;
  constexpr int kRounds = 2000;
  const OwnedEvent never(NewEvent());
  const OwnedEvent event(NewEvent());
  std::atomic<int> made = 0;
  std::atomic<int> seen = 0;
  std::vector<std::thread> raisers;
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
  for (std::thread& raiser : raisers) raiser.join();
}

class NamedEventTest : public MachineTest {
 protected:
  // Nobody else's, also where the names aren't the machine folder's.
  WideString Name() const { return Wide(machine.Folder().parent_path().filename().string()); }
};

TEST_F(NamedEventTest, HandlesOfOneNameAreOneEvent) {
  const OwnedEvent first(NewNamedEvent(Name()));
  EXPECT_FALSE(IsRaised(first));
  EXPECT_EQ(RaiseEvent(first), kSuccess);
  const OwnedEvent second(NewNamedEvent(Name()));
  EXPECT_TRUE(IsRaised(first));
  EXPECT_TRUE(IsRaised(second));
  EXPECT_EQ(RaiseEvent(second), kSuccess);
  EXPECT_EQ(LowerEvent(second), kSuccess);
  EXPECT_FALSE(IsRaised(first));
  EXPECT_EQ(LowerEvent(first), kSuccess);
  EXPECT_FALSE(IsRaised(second));
}

TEST_F(NamedEventTest, AnotherNameIsAnotherEventAndSomeAreNone) {
  const OwnedEvent event(NewNamedEvent(Name()));
  const OwnedEvent longer(NewNamedEvent(Name() + Wide("2")));
  const OwnedEvent otherCase(NewNamedEvent(Name() + Wide("A")));
  const OwnedEvent lowerCase(NewNamedEvent(Name() + Wide("a")));
  RaiseEvent(event);
  RaiseEvent(otherCase);
  EXPECT_FALSE(IsRaised(longer));
  EXPECT_FALSE(IsRaised(lowerCase));
  EXPECT_EQ(NewNamedEvent(WideString()), nullptr);
  EXPECT_EQ(NewNamedEvent(Name() + LarderWideChar{0} + Name()), nullptr);
}

TEST_F(NamedEventTest, OfSeveralRaisedEventsOfBothKindsTheLowestIsTold) {
  const OwnedEvent first(NewEvent());
  const OwnedEvent named(NewNamedEvent(Name()));
  const OwnedEvent last(NewEvent());
  RaiseEvent(last);
  EXPECT_EQ(Wait({first, named, last}), 2u);
  RaiseEvent(named);
  EXPECT_EQ(Wait({first, named, last}), 1u);
  RaiseEvent(first);
  EXPECT_EQ(Wait({first, named, last}), 0u);
  LowerEvent(first);
  LowerEvent(named);
  EXPECT_EQ(Wait({first, named, last}), 2u);
}

TEST_F(NamedEventTest, AnotherThreadEndsTheWaitByEitherEvent) {
  const OwnedEvent shared(NewNamedEvent(Name()));
  for (std::size_t round = 0; round < 200; ++round) {
    const OwnedEvent stop(NewEvent());
    const OwnedEvent named(NewNamedEvent(Name()));
    const std::size_t raised = round % 2;
    std::thread other([&] { RaiseEvent(raised == 0 ? Handle(stop) : Handle(shared)); });
    EXPECT_EQ(Wait({stop, named}), raised);
    other.join();
    LowerEvent(named);
  }
}

}  // namespace
}  // namespace larder::platform
