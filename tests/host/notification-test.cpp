// The installer's signal, from the event to the client's callback.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "host/file-descriptor.h"
#include "host/host-machine.h"
#include "platform/event.h"
#include "support/registry.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What the client was told.
std::mutex Mutex;
std::condition_variable Told;
std::vector<std::int32_t> Messages;

void Tell(std::int32_t message) {
  const std::lock_guard lock(Mutex);
  Messages.push_back(message);
  Told.notify_all();
}

// The installer's part.
class Installer {
 public:
  Installer() : event(platform::MakeNamedEvent(LARDER_WIDE("InstallerEvent"))) { Lower(); }
  ~Installer() {
    Lower();
    platform::CloseObject(event);
  }

  void Signal(const WideString& message) {
    SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szMessage"), message);
    Raise();
  }
  void Raise() { EXPECT_EQ(platform::RaiseEvent(event), platform::kSuccess); }
  void Lower() { EXPECT_EQ(platform::LowerEvent(event), platform::kSuccess); }

 private:
  platform::Handle event;
};

class Notification : public testing::Test {
 protected:
  void SetUp() override {
    host.AddProvider("FeedTest", "feed-test.dll");
    Messages.clear();
  }

  void Init(LarderNotifyCallback callback = Tell) {
    const std::int32_t result = LarderInit(callback, &handle);
    ASSERT_TRUE(result == LARDER_OK || result == LARDER_E_ALREADY_INITIALIZED);
  }
  static std::vector<std::int32_t> WaitForMessage() {
    std::unique_lock lock(Mutex);
    Told.wait(lock, [] { return !Messages.empty(); });
    return Messages;
  }
  void WaitForTheThreadsEnd() {
    host.log.WaitFor("Leaving NotificationManager::WaitForNotification()");
  }

  HostMachine host;
  Installer installer;
  LarderHandle handle = nullptr;
};

TEST_F(Notification, TheTwoMessagesReachTheClientOnceAndChangeNothingElse) {
  const struct {
    const LarderWideChar* message;
    std::int32_t told;
  } cases[] = {{LARDER_WIDE("upgrade"), 0}, {LARDER_WIDE("uninstall"), 1}};
  for (const auto& c : cases) {
    host.log.Clear();
    Messages.clear();
    Init();
    installer.Signal(c.message);
    EXPECT_THAT(WaitForMessage(), ElementsAre(c.told));
    WaitForTheThreadsEnd();
    installer.Lower();
    installer.Signal(LARDER_WIDE("upgrade"));  // nobody waits any more
    const TestDescriptor descriptor(LARDER_WIDE("a"));
    DataBlockHeader* data = nullptr;
    EXPECT_EQ(LarderQuery(handle, &descriptor, 2, 0, &data, 1), LARDER_E_NO_DATA);
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    EXPECT_EQ(Messages.size(), 1U);
    EXPECT_TRUE(host.log.Contains("TRACE: Calling callback with " + std::to_string(c.told)));
    EXPECT_FALSE(host.log.Contains("Shutdown event"));
    installer.Lower();
  }
}

TEST_F(Notification, AnUnknownMessageEndsTheWatchWithoutACall) {
  for (const std::string message : {"absent", "Upgrade", "upgrade ", ""}) {
    host.log.Clear();
    Init();
    if (message == "absent")
      installer.Raise();
    else
      installer.Signal(Wide(message));
    WaitForTheThreadsEnd();
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    const std::string shown = message == "absent" ? "" : message;
    EXPECT_TRUE(host.log.Contains("TRACE: Read \"" + shown + "\" from registry.\r\n"));
    EXPECT_TRUE(host.log.Contains(" WARN: Unknown installerMessage " + shown + "\r\n"));
    installer.Lower();
  }
  EXPECT_THAT(Messages, IsEmpty());
}

TEST_F(Notification, OnlyTheClientThatBuiltTheHandleIsToldEvenAfterItHasGone) {
  Init(Tell);
  Init(UnexpectedCall);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  installer.Signal(LARDER_WIDE("uninstall"));
  EXPECT_THAT(WaitForMessage(), ElementsAre(1));
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

TEST_F(Notification, AHandleWithoutASignalShutsItsThreadDown) {
  Init();
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_TRUE(
      host.log.Contains("TRACE: Shutdown event in NotificationManager::WaitForNotification()\r\n"));
  EXPECT_THAT(Messages, IsEmpty());
}

TEST_F(Notification, ACallbackMayTakeItsTimeAndTheReleaseWaitsForIt) {
  static std::atomic<bool> isInside{false};
  static std::atomic<bool> mayLeave{false};
  static std::atomic<bool> hasLeft{false};
  Init([](std::int32_t) {
    isInside = true;
    isInside.notify_all();
    while (!mayLeave) std::this_thread::yield();
    hasLeft = true;
  });
  installer.Signal(LARDER_WIDE("upgrade"));
  while (!isInside) std::this_thread::yield();
  std::thread client([] {
    LarderRelease();
    EXPECT_TRUE(hasLeft);
  });
  host.log.WaitFor("Entering NotificationManager::~NotificationManager()");
  mayLeave = true;
  client.join();
}

using NotificationDeathTest = Notification;

TEST_F(NotificationDeathTest, ACallbackThatThrowsOrGivesTheLastReferenceBackEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const LarderNotifyCallback callbacks[] = {[](std::int32_t) { throw 1; },
                                            [](std::int32_t) { LarderRelease(); }};
  for (const LarderNotifyCallback callback : callbacks) {
    EXPECT_DEATH(
        {
          Init(callback);
          installer.Signal(LARDER_WIDE("upgrade"));
          WaitForTheThreadsEnd();
        },
        "");
  }
}

}  // namespace
}  // namespace larder
