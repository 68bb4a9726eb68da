// The installer's signal, from the event to the client's callback.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
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

class Installer {
 public:
  Installer() {
    platform::MakeNamedEvent(LARDER_WIDE("InstallerEvent"), event);
    Lower();
  }
  ~Installer() {
    Lower();
    platform::CloseObject(event);
  }

  // message: null to leave the value as it is.
  void Signal(const char* message) {
    if (message != nullptr)
      SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szMessage"), Wide(message));
    EXPECT_EQ(platform::RaiseEvent(event), platform::kSuccess);
  }
  void Lower() { EXPECT_EQ(platform::LowerEvent(event), platform::kSuccess); }

 private:
  platform::Handle event = nullptr;
};

class Notification : public testing::Test {
 protected:
  void SetUp() override {
    host.AddProvider("FeedTest", "feed-test.dll");
    Received.clear();
  }

  void Init(LarderNotifyCallback callback = Receive) {
    const std::int32_t result = LarderInit(callback, &handle);
    ASSERT_TRUE(result == LARDER_OK || result == LARDER_E_ALREADY_INITIALIZED);
  }
  void WaitForTheThreadsEnd() {
    host.log.WaitFor("Leaving NotificationManager::WaitForNotification()");
  }

  HostMachine host;
  Installer installer;
  LarderHandle handle = nullptr;
};

TEST_F(Notification, TheClientThatBuiltTheHandleIsCalledOnceForTwoMessages) {
  const struct {
    const char* message;
    std::vector<std::int32_t> received;
  } cases[] = {{nullptr, {}},   {"upgrade", {0}}, {"uninstall", {1}},
               {"Upgrade", {}}, {"upgrade ", {}}, {"", {}}};
  for (const auto& c : cases) {
    const std::string message = c.message == nullptr ? "" : c.message;
    SCOPED_TRACE(message);
    host.log.Clear();
    Received.clear();
    Init();
    Init(UnexpectedCall);
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    installer.Signal(c.message);
    WaitForTheThreadsEnd();
    installer.Lower();
    installer.Signal(nullptr);  // nobody waits for it
    const TestDescriptor descriptor(LARDER_WIDE("a"));
    DataBlockHeader* data = nullptr;
    EXPECT_EQ(LarderQuery(handle, &descriptor, 2, 0, &data, 1), LARDER_E_NO_DATA);
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    EXPECT_EQ(Received, c.received);
    EXPECT_TRUE(host.log.Contains("TRACE: Read \"" + message + "\" from registry.\r\n"));
    EXPECT_TRUE(host.log.Contains(c.received.empty()
                                      ? " WARN: Unknown installerMessage " + message + "\r\n"
                                      : "TRACE: Calling callback with " +
                                            std::to_string(c.received.front()) + "\r\n"));
    EXPECT_FALSE(host.log.Contains("Shutdown event"));
    installer.Lower();
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
  installer.Signal("upgrade");
  host.log.WaitFor("Calling callback with 0");
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_TRUE(hasReturned);
}

using NotificationDeathTest = Notification;

TEST_F(NotificationDeathTest, ACallbackThatThrowsOrMakesTheLastReleaseEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const LarderNotifyCallback callbacks[] = {[](std::int32_t) { throw 1; },
                                            [](std::int32_t) { LarderRelease(); }};
  for (const LarderNotifyCallback callback : callbacks) {
    EXPECT_DEATH(
        {
          Init(callback);
          installer.Signal("upgrade");
          WaitForTheThreadsEnd();
        },
        "");
  }
}

}  // namespace
}  // namespace larder
