#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/child-process.h"
#include "platform/linux/open-descriptors.h"
#include "platform/linux/sleeping-thread.h"
#include "platform/machine-fixture.h"
#include "platform/owned-event.h"

namespace larder::platform {
namespace {

using std::filesystem::path;
using std::filesystem::perms;

class EventStoreTest : public MachineTest {
 protected:
  ~EventStoreTest() override { chmod(Root().c_str(), 0755); }

  static path Root() { return getenv("LARDER_ROOT"); }
  static path RunFolder() { return Root() / "run"; }
  static path Larder() { return RunFolder() / "larder"; }
  static path Events() { return Larder() / "events"; }
  static path File() { return Events() / "Signal"; }
  static OwnedEvent Make() { return OwnedEvent(NewNamedEvent(u"Signal")); }
  static perms Mode(const path& place) { return std::filesystem::status(place).permissions(); }
};

TEST_F(EventStoreTest, NoDescriptorIsLeftAndNoneIsInherited) {
  const std::set<int> before = OpenDescriptors();
  {
    const OwnedEvent named = Make();
    const OwnedEvent unnamed(NewEvent());
    std::filesystem::remove_all(RunFolder());
    SleepingThread waiter(named);
    RaiseEvent(named);
    EXPECT_EQ(waiter.Join(), kSuccess);
    for (const int number : OpenedSince(before)) EXPECT_FALSE(IsInherited(number));
  }
  setenv("LARDER_ROOT", Native("missing").c_str(), 1);
  EXPECT_EQ(NewNamedEvent(u"Signal"), nullptr);
  EXPECT_EQ(NewNamedEvent(WideString(256, u'x')), nullptr);
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(EventStoreTest, TheStateIsWhetherThereIsAFile) {
  const OwnedEvent event = Make();
  EXPECT_FALSE(std::filesystem::exists(File()));
  RaiseEvent(event);
  EXPECT_TRUE(std::filesystem::is_regular_file(File()));
  LowerEvent(event);
  EXPECT_FALSE(std::filesystem::exists(File()));
  SleepingThread first(event);
  WriteFile(File(), "made by hand");
  EXPECT_EQ(first.Join(), kSuccess);
  std::filesystem::remove(File());
  EXPECT_FALSE(IsRaised(event));
  Write("file");
  SleepingThread second(event);
  std::filesystem::rename(Native("file"), File());
  EXPECT_EQ(second.Join(), kSuccess);
}

TEST_F(EventStoreTest, NothingIsFollowedOrTouchedAtTheName) {
  const OwnedEvent event = Make();
  std::filesystem::create_symlink(Native("target"), File());
  EXPECT_TRUE(IsRaised(event));
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_FALSE(std::filesystem::exists(Native("target")));
  EXPECT_EQ(LowerEvent(event), kSuccess);
  EXPECT_FALSE(std::filesystem::is_symlink(File()));
  ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_TRUE(IsRaised(event));
}

TEST_F(EventStoreTest, NoNameLeadsOutOfTheDirectory) {
  for (const char16_t* name : {u"..", u".", u"../up", u"/tmp", u"a/b", u"%", u"%2F", u".hidden",
                               u"..\\up", u"line\n", u"\xFC\xD800"}) {
    std::filesystem::remove_all(RunFolder());
    const OwnedEvent event(NewNamedEvent(name));
    EXPECT_FALSE(IsRaised(event));
    EXPECT_EQ(RaiseEvent(event), kSuccess);
    const std::filesystem::directory_iterator files(Events());
    const std::vector<path> found(begin(files), end(files));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(std::filesystem::is_regular_file(found.front()));
    EXPECT_NE(found.front().filename().string().front(), '.');
    EXPECT_EQ(LowerEvent(event), kSuccess);
    EXPECT_TRUE(std::filesystem::is_empty(Events()));
  }
}

TEST_F(EventStoreTest, TheDirectoriesAreOpenToReadersWhateverTheMask) {
  const auto make = [] {
    umask(077);
    return RaiseEvent(Make()) == kSuccess ? 0 : 1;
  };
  EXPECT_EQ(RunInChild(make), 0);
  for (const path& directory : {RunFolder(), Larder(), Events()})
    EXPECT_EQ(Mode(directory), perms(0755));
  EXPECT_EQ(RunAsNobody([] { return IsRaised(Make()) ? 0 : 1; }), 0);
}

TEST_F(EventStoreTest, TwentyProcessesMakeAndRaiseItAtOnce) {
  Gate gate;
  const auto race = [&gate] {
    gate.Pass();
    const OwnedEvent event = Make();
    if (RaiseEvent(event) != kSuccess) return 1;
    return IsRaised(event) ? 0 : 2;
  };
  std::vector<pid_t> children;
  for (int i = 0; i < 20; ++i) children.push_back(StartChild(race));
  gate.Open();
  for (const pid_t child : children) EXPECT_EQ(WaitForChild(child), 0);
  EXPECT_TRUE(IsRaised(Make()));
}

TEST_F(EventStoreTest, AReaderThatCameBeforeTheDirectoriesIsTold) {
  chmod(Root().c_str(), 0555);
  Gate armed;
  const auto wait = [&armed] {
    const OwnedEvent event = Make();
    if (event == nullptr) return 1;
    if (std::filesystem::exists(RunFolder())) return 2;
    if (RaiseEvent(event) != kAccessDenied) return 3;
    armed.Open();
    return Wait({event}) == 0 ? 0 : 4;
  };
  const pid_t child = StartAsNobody(wait);
  armed.Pass();
  chmod(Root().c_str(), 0755);
  EXPECT_EQ(RaiseEvent(Make()), kSuccess);
  EXPECT_EQ(WaitForChild(child), 0);
}

TEST_F(EventStoreTest, WhoMayNotChangeItGetsTheCode) {
  const OwnedEvent event = Make();
  chmod(Events().c_str(), 0555);
  EXPECT_EQ(RunAsNobody([] { return static_cast<int>(RaiseEvent(Make())); }),
            static_cast<int>(kAccessDenied));
  chmod(Events().c_str(), 0755);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  chmod(Events().c_str(), 0555);
  EXPECT_EQ(RunAsNobody([] { return static_cast<int>(LowerEvent(Make())); }),
            static_cast<int>(kAccessDenied));
  EXPECT_TRUE(IsRaised(event));
  chmod(Events().c_str(), 0755);
}

TEST_F(EventStoreTest, WhereNothingCanBeWatchedThereIsNoEvent) {
  const auto isNull = [] { return NewNamedEvent(u"Signal") == nullptr ? 0 : 1; };
  chmod(Root().c_str(), 0);
  EXPECT_EQ(RunAsNobody(isNull), 0);
  chmod(Root().c_str(), 0755);
  static_cast<void>(Make());
  for (const path& closed : {Events(), Larder()}) {
    chmod(closed.c_str(), 0);
    EXPECT_EQ(RunAsNobody(isNull), 0) << closed;
    chmod(closed.c_str(), 0755);
  }
  EXPECT_EQ(RunAsNobody(isNull), 1);
}

TEST_F(EventStoreTest, ADirectoryThatIsOpenedLaterIsEntered) {
  chmod(machine.Folder().c_str(), 0777);
  const path root = Native("root");
  const auto open = [&root] {
    prctl(PR_SET_DUMPABLE, 1);  // so that the process may look at its own thread
    setenv("LARDER_ROOT", root.c_str(), 1);
    std::filesystem::create_directory(root);
    const OwnedEvent event = Make();
    std::filesystem::remove_all(RunFolder());
    SleepingThread waiter(event);
    for (const path& level : {RunFolder(), Larder(), Events()}) {
      mkdir(level.c_str(), 0);
      waiter.AwaitSleep();
      chmod(level.c_str(), 0755);
      waiter.AwaitSleep();
    }
    if (RaiseEvent(event) != kSuccess) return 1;
    return waiter.Join() == kSuccess ? 0 : 2;
  };
  EXPECT_EQ(RunAsNobody(open), 0);
}

// A directory that somebody holds open doesn't tell of its removal before it is let go.
TEST_F(EventStoreTest, ASleeperOutlivesItsDirectoriesWhetherTheyAreMovedRemovedOrHeld) {
  enum class End { kMoved, kRemoved, kRemovedWhileHeld };
  const OwnedEvent event = Make();
  const OwnedEvent other = Make();
  for (const path& top : {Events(), Larder(), RunFolder()}) {
    for (const End end : {End::kMoved, End::kRemoved, End::kRemovedWhileHeld}) {
      std::vector<int> held;
      for (const path& level : {Events(), Larder(), RunFolder()})
        if (end == End::kRemovedWhileHeld) held.push_back(open(level.c_str(), O_PATH | O_CLOEXEC));
      SleepingThread waiter(event);
      if (end == End::kMoved) std::filesystem::rename(top, Root() / "moved");
      for (path level = Events(); end != End::kMoved && level != top.parent_path();
           level = level.parent_path()) {
        EXPECT_EQ(rmdir(level.c_str()), 0) << level;
        waiter.AwaitSleep();
      }
      EXPECT_EQ(RaiseEvent(other), kSuccess);
      EXPECT_EQ(waiter.Join(), kSuccess) << top << static_cast<int>(end);
      EXPECT_TRUE(std::filesystem::exists(File()));
      LowerEvent(event);
      std::filesystem::remove_all(Root() / "moved");
      for (const int descriptor : held) close(descriptor);
    }
  }
}

TEST_F(EventStoreTest, WhatHappensInTheSystemsOwnDirectoriesWakesNobody) {
  const OwnedEvent event = Make();
  SleepingThread waiter(event);
  const long before = waiter.Sleeps();
  for (const path& directory : {Root(), RunFolder()}) {
    WriteFile(directory / "file", "");
    std::filesystem::create_directory(directory / "folder");
    std::filesystem::remove(directory / "file");
  }
  waiter.AwaitSleep();
  EXPECT_EQ(waiter.Sleeps(), before);
  RaiseEvent(event);
  EXPECT_EQ(waiter.Join(), kSuccess);
}

TEST_F(EventStoreTest, ASleeperIsToldWhateverHappensToTheDirectoriesBefore) {
  for (unsigned round = 0; round < 100; ++round) {
    std::filesystem::remove_all(RunFolder());
    const OwnedEvent event = Make();
    const OwnedEvent other = Make();
    std::thread waiter([&event] { Wait({event}); });
    std::minstd_rand random(round);
    const std::vector<path> levels = {RunFolder(), Larder(), Events()};
    for (unsigned step = random() % 8; step > 0; --step) {
      const path& level = levels[random() % levels.size()];
      std::error_code ignored;
      const auto choice = random() % 3;
      if (choice == 0) std::filesystem::remove_all(level, ignored);
      if (choice == 1) std::filesystem::create_directories(level, ignored);
      if (choice == 2) std::filesystem::rename(level, Root() / std::to_string(step), ignored);
    }
    EXPECT_EQ(RaiseEvent(other), kSuccess) << round;
    waiter.join();
    for (int step = 0; step < 8; ++step) std::filesystem::remove_all(Root() / std::to_string(step));
  }
}

TEST_F(EventStoreTest, AWaitFailsOnceTheMachineRootIsGoneAndWorksWhenItIsBack) {
  const OwnedEvent event = Make();
  const path root = Root();
  SleepingThread waiter(event);
  std::filesystem::remove_all(root);
  EXPECT_EQ(waiter.Join(), kFileNotFound);
  std::filesystem::create_directory(root);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_TRUE(IsRaised(event));
}

TEST_F(EventStoreTest, AFileInADirectorysPlaceIsACodeAndTheWaitGoesOnWithoutIt) {
  WriteFile(RunFolder(), "");
  const OwnedEvent event = Make();
  EXPECT_EQ(RaiseEvent(event), kPathNotFound);
  EXPECT_FALSE(IsRaised(event));
  SleepingThread waiter(event);
  std::filesystem::remove(RunFolder());
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_EQ(waiter.Join(), kSuccess);
}

std::atomic<int> signalsHeard = 0;

TEST_F(EventStoreTest, ASignalDoesNotEndTheWait) {
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = [](int) { ++signalsHeard; };  // without SA_RESTART
  ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
  const OwnedEvent event(NewEvent());
  SleepingThread waiter(event);
  pthread_kill(waiter.Native(), SIGUSR1);
  while (signalsHeard == 0) std::this_thread::yield();
  waiter.AwaitSleep();
  RaiseEvent(event);
  EXPECT_EQ(waiter.Join(), kSuccess);
  sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(EventStoreTest, AnEventWhoseDescriptorIsGoneFailsTheWait) {
  const std::set<int> before = OpenDescriptors();
  const OwnedEvent event(NewEvent());
  for (const int number : OpenedSince(before)) close(number);
  const Handle handle = event;
  std::size_t index = 1;
  EXPECT_EQ(WaitForAny(&handle, 1, index), kInvalidHandle);
}

}  // namespace
}  // namespace larder::platform
