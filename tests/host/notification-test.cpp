// The installer's signal, from the event to the client's callback.
#include <gmock/gmock.h>
#include <larder/larder.h>

#include <string>
#include <thread>
#include <vector>

#include "host/host-machine.h"
#include "platform/event.h"
#include "support/registry.h"

namespace larder {
namespace {

// What the client has received. Written by the handle's thread, read when that has ended.
std::vector<std::int32_t> Received;

void Receive(std::int32_t message) { Received.push_back(message); }

class Notification : public testing::Test {
 protected:
  void SetUp() override {
    host.AddProvider("FeedTest", "feed-test.dll");
    platform::MakeNamedEvent(LARDER_WIDE("InstallerEvent"), event);
    Lower();
  }
  void TearDown() override {
    Lower();
    platform::CloseObject(event);
  }

  void Init(LarderNotifyCallback callback = Receive) {
    const std::int32_t result = LarderInit(callback, &handle);
    ASSERT_TRUE(result == LARDER_OK || result == LARDER_E_ALREADY_INITIALIZED);
  }
  void Signal(const std::string& message) {
    SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szMessage"), Wide(message));
    EXPECT_EQ(platform::RaiseEvent(event), platform::kSuccess);
  }
  void Lower() { EXPECT_EQ(platform::LowerEvent(event), platform::kSuccess); }
  void WaitForTheThreadsEnd() {
    host.log.WaitFor("Leaving NotificationManager::WaitForNotification()");
  }

  HostMachine host;
  platform::Handle event = nullptr;
  LarderHandle handle = nullptr;
};

TEST_F(Notification, TheClientThatBuiltTheHandleIsCalledOnceForTwoMessages) {
  const struct {
    std::string message;
    std::vector<std::int32_t> received;
    std::string line;
  } cases[] = {{"upgrade", {0}, "TRACE: Calling callback with 0\r\n"},
               {"uninstall", {1}, "TRACE: Calling callback with 1\r\n"},
               {"Upgrade", {}, " WARN: Unknown installerMessage Upgrade\r\n"},
               {"upgrade ", {}, " WARN: Unknown installerMessage upgrade \r\n"}};
  for (const auto& [message, received, line] : cases) {
    SCOPED_TRACE(message);
    host.log.Clear();
    Received.clear();
    Init();
    Init(UnexpectedCall);
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    Signal(message);
    WaitForTheThreadsEnd();
    Lower();
    Signal(message);  // no thread waits for it
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    EXPECT_EQ(Received, received);
    EXPECT_TRUE(host.log.Contains("TRACE: Read \"" + message + "\" from registry.\r\n"));
    EXPECT_TRUE(host.log.Contains(line));
    EXPECT_FALSE(host.log.Contains("Shutdown event"));
    Lower();
  }
}

TEST_F(Notification, AReleaseWithoutASignalShutsTheThreadDown) {
  Init(UnexpectedCall);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_TRUE(
      host.log.Contains("TRACE: Shutdown event in NotificationManager::WaitForNotification()\r\n"));
}

TEST_F(Notification, TheLastReleaseWaitsForARunningCallback) {
  static RecordedLog* log = nullptr;
  static bool hasReturned = false;
  log = &host.log;
  Init([](std::int32_t) {
    log->WaitFor("Entering NotificationManager::~NotificationManager()");
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    hasReturned = true;
  });
  Signal("upgrade");
  host.log.WaitFor("Calling callback with 0");
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_TRUE(hasReturned);
}

using NotificationDeathTest = Notification;

TEST_F(NotificationDeathTest, ACallbackThatThrowsOrMakesTheLastReleaseEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto signal = [this](LarderNotifyCallback callback) {
    Init(callback);
    Signal("upgrade");
    WaitForTheThreadsEnd();
  };
  EXPECT_DEATH(signal([](std::int32_t) { throw 1; }), "");
  EXPECT_DEATH(signal([](std::int32_t) { LarderRelease(); }), "");
}

}  // namespace
}  // namespace larder
