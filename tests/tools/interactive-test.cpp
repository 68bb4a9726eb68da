// What a transcript can't show: the tool and another process at the same time, and a reader that
// closes its pipe.
#include <gmock/gmock.h>

#include "tools/tool-test.h"

namespace larder {
namespace {

class InteractiveTest : public ToolTest {
 protected:
  InteractiveTest() { InstallModules({"feed-file.dll"}); }

  // Returns once the client waits.
  std::unique_ptr<RunningProgram> StartClient(const Words& arguments) {
    auto client = Start(arguments);
    EXPECT_EQ(client->ReadLine(), "waiting") << ErrorsOfStarted();
    return client;
  }
};

// A client that read the message too early would see that of the round before.
TEST_F(InteractiveTest, AMessageIsWrittenBeforeTheEventIsRaisedAndTheEventStaysUntilItIsReset) {
  for (const char* message : {"upgrade", "uninstall", "upgrade", "uninstall"}) {
    const auto staying = StartClient({"notify", "--wait"});
    const auto client = StartClient({"notify", "--wait", "--once"});
    MustRun({"notify", message});
    EXPECT_EQ(client->ReadLine(), message);
    EXPECT_EQ(client->ReadLine(), std::nullopt);
    EXPECT_EQ(client->Wait(), 0);
    EXPECT_EQ(staying->ReadLine(), message);
    EXPECT_EQ(MustRun({"notify", "--wait", "--once"}), "waiting\n" + std::string(message) + "\n");
    MustRun({"notify", "--reset"});
  }
}

TEST_F(InteractiveTest, ALogIsFollowedWhileItsHostWritesIt) {
  MustRun({"log", "on"});
  const auto host = StartClient({"notify", "--wait", "--once"});
  while (MustRun({"log", "list"}).empty()) {
  }
  const auto follower = Start({"log", "show", "--follow"});
  const auto readUpTo = [&](const std::string& text) {
    while (follower->ReadLine().value().find(text) == std::string::npos) {
    }
  };
  readUpTo("Leaving LarderInit()");
  MustRun({"notify", "upgrade"});
  readUpTo("Calling callback with 0");
  readUpTo("Last ref released, handle destroyed");
  EXPECT_EQ(host->Wait(), 0);
  MustRun({"notify", "--reset"});
}

TEST_F(InteractiveTest, OutputIntoAClosedPipeEndsEachCommandAsAFailure) {
  MakeLog("lr_A.log", "line\r\n");
  for (int i = 0; i < 200; ++i) MakeFile("tree/" + std::to_string(i), "abc");
  for (const Words& arguments : std::vector<Words>{{"--help"},
                                                   {"registry", "list"},
                                                   {"query", "feed-file.dll"},
                                                   {"scan", "tree"},
                                                   {"notify", "--wait"},
                                                   {"log", "show", "lr_A.log", "--follow"}}) {
    EXPECT_EQ(Start(arguments, false)->Wait(), 1) << testing::PrintToString(arguments);
    EXPECT_THAT(ErrorsOfStarted(),
                testing::StartsWith("larder: cannot write to standard output: "));
  }
}

}  // namespace
}  // namespace larder
