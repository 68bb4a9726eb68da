#include <gmock/gmock.h>

#include <iterator>

#include "platform/event.h"
#include "platform/handle.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

class NotifyCommandTest : public ToolTest {
 protected:
  NotifyCommandTest() { platform::MakeNamedEvent(LARDER_WIDE("InstallerEvent"), event); }
  ~NotifyCommandTest() override {
    platform::LowerEvent(event);
    platform::CloseObject(event);
  }

  bool IsRaised() const {
    platform::Handle always = nullptr;
    EXPECT_EQ(platform::MakeEvent(always), platform::kSuccess);
    EXPECT_EQ(platform::RaiseEvent(always), platform::kSuccess);
    const platform::Handle events[] = {event, always};
    std::size_t index = 0;
    EXPECT_EQ(platform::WaitForAny(events, std::size(events), index), platform::kSuccess);
    platform::CloseObject(always);
    return index == 0;
  }

  // A client that waits.
  std::unique_ptr<RunningProgram> StartClient(Words arguments) {
    arguments.insert(arguments.begin(), {"notify", "--wait"});
    auto client = Start(arguments);
    EXPECT_EQ(client->ReadLine(), "waiting") << ErrorsOfStarted();
    return client;
  }

  // While it is held the event keeps its state, also on a system where it ends with its last
  // holder.
  platform::Handle event = nullptr;
};

TEST_F(NotifyCommandTest, AnyTextIsWrittenAndTheEventRaised) {
  for (const std::string text : {"upgrade", "", "two words", "--reset", "gr\xC3\xBC\xC3\x9F"}) {
    ASSERT_FALSE(IsRaised());
    EXPECT_EQ(MustRun({"notify", "--", text}), "");
    EXPECT_EQ(MustRun({"registry", "get", "Install", "szMessage"}), text + "\n");
    EXPECT_TRUE(IsRaised()) << text;
    EXPECT_EQ(MustRun({"notify", "--reset"}), "");
  }
  EXPECT_EQ(MustRun({"notify", "--reset"}), "");  // again
  EXPECT_FALSE(IsRaised());
}

// The message that the client would read too early is the one from the round before.
TEST_F(NotifyCommandTest, TheMessageIsThereWhenTheEventIsRaised) {
  RegisterModules({"feed-file.dll"});
  for (int round = 0; round < 3; ++round) {
    for (const char* message : {"upgrade", "uninstall"}) {
      const auto client = StartClient({"--once"});
      MustRun({"notify", message});
      EXPECT_EQ(client->ReadLine(), message);
      EXPECT_EQ(client->ReadLine(), std::nullopt);
      EXPECT_EQ(client->Wait(), 0);
      EXPECT_EQ(ErrorsOfStarted(), "");
      MustRun({"notify", "--reset"});
    }
  }
}

TEST_F(NotifyCommandTest, AClientIsToldOnceAndTheNextOneAnew) {
  RegisterModules({"feed-file.dll"});
  const auto first = StartClient({});
  MustRun({"notify", "upgrade"});
  EXPECT_EQ(first->ReadLine(), "upgrade");
  MustRun({"notify", "--reset"});
  const auto second = StartClient({"--once"});
  MustRun({"notify", "uninstall"});
  EXPECT_EQ(second->ReadLine(), "uninstall");
  EXPECT_EQ(second->Wait(), 0);
  EXPECT_EQ(first->Stop().value_or(0), 0);
  EXPECT_EQ(first->ReadLine(), std::nullopt);
}

TEST_F(NotifyCommandTest, AnEventThatIsRaisedAlreadyIsToldAtOnce) {
  RegisterModules({"feed-file.dll"});
  MustRun({"notify", "uninstall"});
  EXPECT_EQ(MustRun({"notify", "--wait", "--once"}), "waiting\nuninstall\n");
  EXPECT_TRUE(IsRaised());
}

TEST_F(NotifyCommandTest, AMessageThatCannotBeWrittenIsNotAnnounced) {
  machine.ForbidNewKeys();
  EXPECT_THAT(MustFail({"notify", "upgrade"}),
              AllOf(StartsWith("larder: cannot set value \"szMessage\" of key \"Install\": "),
                    EndsWith(")\n")));
  EXPECT_FALSE(IsRaised());
}

}  // namespace
}  // namespace larder
