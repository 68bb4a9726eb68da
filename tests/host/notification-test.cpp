// The installer's signal, from the event to the client's callback.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "host/file-descriptor.h"
#include "host/host-machine.h"
#include "platform/event.h"
#include "support/registry.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// What the two clients of this process were told.
std::mutex Mutex;
std::condition_variable Told;
std::vector<std::int32_t> FirstClient;
std::vector<std::int32_t> SecondClient;

void TellFirst(std::int32_t message) {
  const std::lock_guard lock(Mutex);
  FirstClient.push_back(message);
  Told.notify_all();
}

void TellSecond(std::int32_t message) {
  const std::lock_guard lock(Mutex);
  SecondClient.push_back(message);
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
    FirstClient.clear();
    SecondClient.clear();
  }

  void Init(LarderNotifyCallback callback = TellFirst) {
    const std::int32_t result = LarderInit(callback, &handle);
    ASSERT_TRUE(result == LARDER_OK || result == LARDER_E_ALREADY_INITIALIZED);
  }
  static std::vector<std::int32_t> WaitForFirst() {
    std::unique_lock lock(Mutex);
    Told.wait(lock, [] { return !FirstClient.empty(); });
    return FirstClient;
  }
  void WaitForTheThreadsEnd() {
    host.log.WaitFor("Leaving NotificationManager::WaitForNotification()");
  }

  HostMachine host;
  Installer installer;
  LarderHandle handle = nullptr;
};

TEST_F(Notification, TheTwoMessagesReachTheClientAndOnlyTheFirstSignalCounts) {
  const struct {
    const LarderWideChar* message;
    std::int32_t told;
  } cases[] = {{LARDER_WIDE("upgrade"), 0}, {LARDER_WIDE("uninstall"), 1}};
  for (const auto& c : cases) {
    host.log.Clear();
    FirstClient.clear();
    Init();
    installer.Signal(c.message);
    EXPECT_THAT(WaitForFirst(), ElementsAre(c.told));
    WaitForTheThreadsEnd();
    installer.Lower();
    installer.Signal(LARDER_WIDE("upgrade"));  // nobody waits any more
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    EXPECT_EQ(FirstClient.size(), 1U);
    EXPECT_TRUE(host.log.Contains("TRACE: Calling callback with " + std::to_string(c.told)));
    EXPECT_FALSE(host.log.Contains("Shutdown event"));
    installer.Lower();
  }
}

TEST_F(Notification, AnUnknownMessageEndsTheWatchWithoutACall) {
  const struct {
    const LarderWideChar* message;
    const char* shown;
  } cases[] = {{LARDER_WIDE("Upgrade"), "Upgrade"},
               {LARDER_WIDE("upgrade "), "upgrade "},
               {LARDER_WIDE(""), ""}};
  for (const auto& c : cases) {
    host.log.Clear();
    Init();
    installer.Signal(c.message);
    WaitForTheThreadsEnd();
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    EXPECT_TRUE(
        host.log.Contains(std::string("TRACE: Read \"") + c.shown + "\" from registry.\r\n"));
    EXPECT_TRUE(
        host.log.Contains(std::string(" WARN: Unknown installerMessage ") + c.shown + "\r\n"));
    installer.Lower();
  }
  EXPECT_THAT(FirstClient, IsEmpty());
}

TEST_F(Notification, AnAbsentMessageIsUnknownToo) {
  Init();
  installer.Raise();
  WaitForTheThreadsEnd();
  EXPECT_TRUE(host.log.Contains("TRACE: Read \"\" from registry.\r\n"));
  EXPECT_TRUE(host.log.Contains(" WARN: Unknown installerMessage \r\n"));
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

TEST_F(Notification, ASignalFromBeforeInitArrivesAtOnceAndForEveryNewHandle) {
  installer.Signal(LARDER_WIDE("upgrade"));
  for (int i = 0; i < 2; ++i) {
    FirstClient.clear();
    Init();
    EXPECT_THAT(WaitForFirst(), ElementsAre(0));
    EXPECT_EQ(LarderRelease(), LARDER_OK);
  }
}

TEST_F(Notification, OnlyTheClientThatBuiltTheHandleIsToldEvenAfterItHasGone) {
  Init(TellFirst);
  Init(TellSecond);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  installer.Signal(LARDER_WIDE("uninstall"));
  EXPECT_THAT(WaitForFirst(), ElementsAre(1));
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_THAT(SecondClient, IsEmpty());
}

TEST_F(Notification, EveryExportWorksOnAfterAnUninstall) {
  Init();
  installer.Signal(LARDER_WIDE("uninstall"));
  WaitForFirst();
  WaitForTheThreadsEnd();
  const TestDescriptor descriptor(LARDER_WIDE("a"));
  const DataBlockHeader block{sizeof block, 2};
  DataBlockHeader* data = nullptr;
  EXPECT_EQ(LarderWrite(handle, &descriptor, 2, &block), LARDER_OK);
  EXPECT_EQ(LarderQuery(handle, &descriptor, 2, 0, &data, 1), LARDER_OK);
  EXPECT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
  LarderHandle again = nullptr;
  EXPECT_EQ(LarderInit(TellSecond, &again), LARDER_E_ALREADY_INITIALIZED);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

TEST_F(Notification, AHandleWithoutASignalShutsItsThreadDown) {
  Init();
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_TRUE(
      host.log.Contains("TRACE: Shutdown event in NotificationManager::WaitForNotification()\r\n"));
  EXPECT_THAT(FirstClient, IsEmpty());
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

TEST_F(NotificationDeathTest, ACallbackThatThrowsEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        Init([](std::int32_t) { throw 1; });
        installer.Signal(LARDER_WIDE("upgrade"));
        WaitForTheThreadsEnd();
      },
      "");
}

TEST_F(NotificationDeathTest, ACallbackThatGivesTheLastReferenceBackEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        Init([](std::int32_t) { LarderRelease(); });
        installer.Signal(LARDER_WIDE("upgrade"));
        WaitForTheThreadsEnd();
      },
      "");
}

}  // namespace
}  // namespace larder
