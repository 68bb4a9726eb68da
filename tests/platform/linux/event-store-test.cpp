#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/event.h"
#include "platform/linux/child-process.h"
#include "platform/linux/sleeping-thread.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

using std::filesystem::path;
using std::filesystem::perms;

struct Close {
  void operator()(KernelObject* event) const { CloseObject(event); }
};
using OwnedEvent = std::unique_ptr<KernelObject, Close>;

std::set<int> OpenDescriptors() {
  std::set<int> open;
  for (int number = 0; number < 1024; ++number) {
    if (fcntl(number, F_GETFD) != -1) open.insert(number);
  }
  return open;
}

bool IsRaised(Handle event) {
  const OwnedEvent raised(MakeEvent());
  RaiseEvent(raised.get());
  const std::array<Handle, 2> events = {event, raised.get()};
  std::size_t index = 2;
  EXPECT_EQ(WaitForAny(events.data(), events.size(), index), kSuccess);
  return index == 0;
}

// A pipe by which one process lets others go on.
class Gate {
 public:
  Gate() { EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0); }
  ~Gate() {
    Open();
    close(ends[0]);
  }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  // Each process that has the gate opens its side of it; whoever passes waits for all the others.
  void Open() {
    if (ends[1] >= 0) close(ends[1]);
    ends[1] = -1;
  }
  void Pass() {
    Open();
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 0);
  }

 private:
  std::array<int, 2> ends{-1, -1};
};

class EventStoreTest : public ::testing::Test {
 protected:
  ~EventStoreTest() override { chmod(Root().c_str(), 0755); }

  static path Root() { return getenv("LARDER_ROOT"); }
  static path RunFolder() { return Root() / "run"; }
  static path Larder() { return RunFolder() / "larder"; }
  static path Events() { return Larder() / "events"; }
  static path File() { return Events() / "Signal"; }
  static OwnedEvent Make() { return OwnedEvent(MakeNamedEvent(u"Signal")); }
  static perms Mode(const path& place) { return std::filesystem::status(place).permissions(); }

  TestMachine machine;
};

TEST_F(EventStoreTest, RaisingARaisedEventWritesNothing) {
  const std::set<int> before = OpenDescriptors();
  const OwnedEvent event(MakeEvent());
  std::set<int> now = OpenDescriptors();
  for (const int number : before) now.erase(number);
  ASSERT_EQ(now.size(), 1u);
  const auto count = [&now] {
    std::ifstream file("/proc/self/fdinfo/" + std::to_string(*now.begin()));
    std::string word;
    while (file >> word && word != "eventfd-count:") {
    }
    file >> word;
    return word;  // in hexadecimal, the sum of what was written
  };
  EXPECT_EQ(count(), "0");
  for (int i = 0; i < 100; ++i) RaiseEvent(event.get());
  EXPECT_EQ(count(), "1");
  for (int i = 0; i < 100; ++i) LowerEvent(event.get());
  EXPECT_EQ(count(), "0");
  RaiseEvent(event.get());
  EXPECT_EQ(count(), "1");
}

TEST_F(EventStoreTest, NoDescriptorIsLeftAndNoneIsInherited) {
  const std::set<int> before = OpenDescriptors();
  {
    const OwnedEvent named = Make();
    const OwnedEvent unnamed(MakeEvent());
    std::filesystem::remove_all(RunFolder());
    SleepingThread waiter(named.get());
    RaiseEvent(named.get());
    EXPECT_EQ(waiter.Join(), kSuccess);
    for (const int number : OpenDescriptors()) {
      if (before.count(number) == 0) {
        EXPECT_NE(fcntl(number, F_GETFD) & FD_CLOEXEC, 0);
      }
    }
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(EventStoreTest, AFailedMakeLeavesNoDescriptor) {
  const std::set<int> before = OpenDescriptors();
  setenv("LARDER_ROOT", (machine.Folder() / "missing").c_str(), 1);
  EXPECT_EQ(MakeNamedEvent(u"Signal"), nullptr);
  EXPECT_EQ(MakeNamedEvent(WideString(256, u'x')), nullptr);
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(EventStoreTest, TheStateIsWhetherThereIsAFile) {
  const OwnedEvent event = Make();
  EXPECT_FALSE(std::filesystem::exists(File()));
  RaiseEvent(event.get());
  EXPECT_TRUE(std::filesystem::is_regular_file(File()));
  LowerEvent(event.get());
  EXPECT_FALSE(std::filesystem::exists(File()));
  std::ofstream(File()) << "made by hand";
  EXPECT_TRUE(IsRaised(event.get()));
  std::filesystem::remove(File());
  EXPECT_FALSE(IsRaised(event.get()));
}

TEST_F(EventStoreTest, ASleeperIsWokenByAFileThatIsMadeOrMovedThere) {
  const OwnedEvent event = Make();
  SleepingThread first(event.get());
  std::ofstream(File()) << "";
  EXPECT_EQ(first.Join(), kSuccess);
  LowerEvent(event.get());
  std::ofstream(machine.Folder() / "file") << "";
  SleepingThread second(event.get());
  std::filesystem::rename(machine.Folder() / "file", File());
  EXPECT_EQ(second.Join(), kSuccess);
}

TEST_F(EventStoreTest, NothingIsFollowedOrTouchedAtTheName) {
  const OwnedEvent event = Make();
  std::filesystem::create_symlink(machine.Folder() / "target", File());
  EXPECT_TRUE(IsRaised(event.get()));
  EXPECT_EQ(RaiseEvent(event.get()), kSuccess);
  EXPECT_FALSE(std::filesystem::exists(machine.Folder() / "target"));
  EXPECT_EQ(LowerEvent(event.get()), kSuccess);
  EXPECT_FALSE(std::filesystem::is_symlink(File()));
  ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
  EXPECT_EQ(RaiseEvent(event.get()), kSuccess);
  EXPECT_TRUE(IsRaised(event.get()));
}

TEST_F(EventStoreTest, NoNameLeadsOutOfTheDirectory) {
  for (const char16_t* name : {u"..", u".", u"../up", u"/tmp", u"a/b", u"%", u"%2F", u".hidden",
                               u"..\\up", u"line\n", u"\xFC\xD800"}) {
    std::filesystem::remove_all(RunFolder());
    const OwnedEvent event(MakeNamedEvent(name));
    EXPECT_FALSE(IsRaised(event.get()));
    EXPECT_EQ(RaiseEvent(event.get()), kSuccess);
    const std::filesystem::directory_iterator files(Events());
    const std::vector<path> found(begin(files), end(files));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(std::filesystem::is_regular_file(found.front()));
    EXPECT_NE(found.front().filename().string().front(), '.');
    EXPECT_EQ(LowerEvent(event.get()), kSuccess);
    EXPECT_TRUE(std::filesystem::is_empty(Events()));
  }
}

TEST_F(EventStoreTest, TheDirectoriesAreOpenToReadersWhateverTheMask) {
  const auto make = [] {
    umask(077);
    return RaiseEvent(Make().get()) == kSuccess ? 0 : 1;
  };
  EXPECT_EQ(RunInChild(make), 0);
  for (const path& directory : {RunFolder(), Larder(), Events()})
    EXPECT_EQ(Mode(directory), perms(0755));
  EXPECT_EQ(RunAsNobody([] { return IsRaised(Make().get()) ? 0 : 1; }), 0);
}

TEST_F(EventStoreTest, TwentyProcessesMakeAndRaiseItAtOnce) {
  Gate gate;
  const auto race = [&gate] {
    gate.Pass();
    const OwnedEvent event = Make();
    if (event == nullptr) return 1;
    if (RaiseEvent(event.get()) != kSuccess) return 2;
    return IsRaised(event.get()) ? 0 : 3;
  };
  std::vector<pid_t> children;
  for (int i = 0; i < 20; ++i) children.push_back(StartChild(race));
  gate.Open();
  for (const pid_t child : children) EXPECT_EQ(WaitForChild(child), 0);
  EXPECT_TRUE(IsRaised(Make().get()));
}

TEST_F(EventStoreTest, TwentyProcessesAreTold) {
  Gate armed;
  const auto wait = [&armed] {
    const OwnedEvent event = Make();
    const Handle handle = event.get();
    armed.Open();
    std::size_t index = 1;
    return WaitForAny(&handle, 1, index) == kSuccess && index == 0 ? 0 : 1;
  };
  std::vector<pid_t> children;
  for (int i = 0; i < 20; ++i) children.push_back(StartChild(wait));
  armed.Pass();
  EXPECT_EQ(RaiseEvent(Make().get()), kSuccess);
  for (const pid_t child : children) EXPECT_EQ(WaitForChild(child), 0);
}

TEST_F(EventStoreTest, AReaderThatCameBeforeTheDirectoriesIsTold) {
  chmod(Root().c_str(), 0555);
  Gate armed;
  const auto wait = [&armed] {
    const OwnedEvent event = Make();
    const Handle handle = event.get();
    if (handle == nullptr) return 1;
    if (std::filesystem::exists(RunFolder())) return 2;
    if (RaiseEvent(handle) != kAccessDenied) return 3;
    armed.Open();
    std::size_t index = 1;
    return WaitForAny(&handle, 1, index) == kSuccess && index == 0 ? 0 : 4;
  };
  const pid_t child = StartAsNobody(wait);
  armed.Pass();
  chmod(Root().c_str(), 0755);
  EXPECT_EQ(RaiseEvent(Make().get()), kSuccess);
  EXPECT_EQ(WaitForChild(child), 0);
}

TEST_F(EventStoreTest, WhoMayNotChangeItGetsTheCode) {
  const OwnedEvent event = Make();
  chmod(Events().c_str(), 0555);
  EXPECT_EQ(RunAsNobody([] { return static_cast<int>(RaiseEvent(Make().get())); }),
            static_cast<int>(kAccessDenied));
  chmod(Events().c_str(), 0755);
  EXPECT_EQ(RaiseEvent(event.get()), kSuccess);
  chmod(Events().c_str(), 0555);
  EXPECT_EQ(RunAsNobody([] { return static_cast<int>(LowerEvent(Make().get())); }),
            static_cast<int>(kAccessDenied));
  EXPECT_TRUE(IsRaised(event.get()));
  chmod(Events().c_str(), 0755);
}

TEST_F(EventStoreTest, WhereNothingCanBeWatchedThereIsNoEvent) {
  const auto isNull = [] { return Make() == nullptr ? 0 : 1; };
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
  const path root = machine.Folder() / "root";
  const auto open = [&root] {
    prctl(PR_SET_DUMPABLE, 1);  // so that the process may look at its own thread
    setenv("LARDER_ROOT", root.c_str(), 1);
    std::filesystem::create_directory(root);
    const OwnedEvent event = Make();
    std::filesystem::remove_all(RunFolder());
    SleepingThread waiter(event.get());
    for (const path& level : {RunFolder(), Larder(), Events()}) {
      mkdir(level.c_str(), 0);
      waiter.AwaitSleep();
      chmod(level.c_str(), 0755);
      waiter.AwaitSleep();
    }
    if (RaiseEvent(event.get()) != kSuccess) return 1;
    return waiter.Join() == kSuccess ? 0 : 2;
  };
  EXPECT_EQ(RunAsNobody(open), 0);
}

TEST_F(EventStoreTest, ASleeperOutlivesItsDirectories) {
  const std::vector<path> levels = {Events(), Larder(), RunFolder()};
  for (const path& level : levels) {
    for (const bool isMoved : {false, true}) {
      const OwnedEvent event = Make();
      const OwnedEvent other = Make();
      SleepingThread waiter(event.get());
      if (isMoved)
        std::filesystem::rename(level, Root() / "moved");
      else
        std::filesystem::remove_all(level);
      EXPECT_EQ(RaiseEvent(other.get()), kSuccess);
      EXPECT_EQ(waiter.Join(), kSuccess) << level << isMoved;
      EXPECT_TRUE(std::filesystem::exists(File()));
      std::filesystem::remove_all(Root() / "moved");
      LowerEvent(event.get());
    }
  }
}

// Such a directory doesn't tell of its removal before it is let go.
TEST_F(EventStoreTest, DirectoriesThatSomebodyHoldsOpenAreMissedWhenTheyAreRemoved) {
  const OwnedEvent event = Make();
  for (const path& top : {Events(), Larder(), RunFolder()}) {
    std::vector<int> held;
    for (const path& level : {Events(), Larder(), RunFolder()})
      held.push_back(open(level.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    SleepingThread waiter(event.get());
    for (path level = Events(); level != top.parent_path(); level = level.parent_path()) {
      EXPECT_EQ(rmdir(level.c_str()), 0) << level;
      waiter.AwaitSleep();
    }
    EXPECT_EQ(RaiseEvent(event.get()), kSuccess);
    EXPECT_EQ(waiter.Join(), kSuccess) << top;
    LowerEvent(event.get());
    for (const int descriptor : held) close(descriptor);
  }
}

TEST_F(EventStoreTest, WhatHappensInTheSystemsOwnDirectoriesWakesNobody) {
  const OwnedEvent event = Make();
  SleepingThread waiter(event.get());
  const long before = waiter.Sleeps();
  for (const path& directory : {Root(), RunFolder()}) {
    std::ofstream(directory / "file") << "";
    std::filesystem::create_directory(directory / "folder");
    std::filesystem::remove(directory / "file");
  }
  waiter.AwaitSleep();
  EXPECT_EQ(waiter.Sleeps(), before);
  RaiseEvent(event.get());
  EXPECT_EQ(waiter.Join(), kSuccess);
}

TEST_F(EventStoreTest, ASleeperIsToldWhateverHappensToTheDirectoriesBefore) {
  for (unsigned round = 0; round < 100; ++round) {
    std::filesystem::remove_all(RunFolder());
    const OwnedEvent event = Make();
    const OwnedEvent other = Make();
    std::thread waiter([&event] {
      const Handle handle = event.get();
      std::size_t index = 1;
      EXPECT_EQ(WaitForAny(&handle, 1, index), kSuccess);
    });
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
    EXPECT_EQ(RaiseEvent(other.get()), kSuccess) << round;
    waiter.join();
    for (int step = 0; step < 8; ++step) std::filesystem::remove_all(Root() / std::to_string(step));
  }
}

TEST_F(EventStoreTest, AWaitFailsOnceTheMachineRootIsGoneAndWorksWhenItIsBack) {
  const OwnedEvent event = Make();
  const path root = Root();
  SleepingThread waiter(event.get());
  std::filesystem::remove_all(root);
  EXPECT_EQ(waiter.Join(), kFileNotFound);
  const Handle handle = event.get();
  std::size_t index = 1;
  EXPECT_EQ(WaitForAny(&handle, 1, index), kFileNotFound);
  std::filesystem::create_directory(root);
  EXPECT_EQ(RaiseEvent(event.get()), kSuccess);
  EXPECT_EQ(WaitForAny(&handle, 1, index), kSuccess);
}

TEST_F(EventStoreTest, AFileInADirectorysPlaceIsACodeAndTheWaitGoesOnWithoutIt) {
  std::ofstream(RunFolder()) << "";
  const OwnedEvent event = Make();
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(RaiseEvent(event.get()), kPathNotFound);
  EXPECT_FALSE(IsRaised(event.get()));
  SleepingThread waiter(event.get());
  std::filesystem::remove(RunFolder());
  EXPECT_EQ(RaiseEvent(event.get()), kSuccess);
  EXPECT_EQ(waiter.Join(), kSuccess);
}

TEST_F(EventStoreTest, TheRootIsTheOneThatStoodWhenTheEventWasMade) {
  const OwnedEvent event = Make();
  const path first = Root();
  {
    const TestMachine second;
    EXPECT_EQ(RaiseEvent(event.get()), kSuccess);
    EXPECT_FALSE(std::filesystem::exists(RunFolder()));
    EXPECT_FALSE(IsRaised(Make().get()));
  }
  EXPECT_EQ(Root(), first);
  EXPECT_TRUE(std::filesystem::exists(File()));
}

std::atomic<int> signalsHeard = 0;

TEST_F(EventStoreTest, ASignalDoesNotEndTheWait) {
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = [](int) { ++signalsHeard; };  // without SA_RESTART
  ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
  const OwnedEvent event(MakeEvent());
  SleepingThread waiter(event.get());
  pthread_kill(waiter.Native(), SIGUSR1);
  while (signalsHeard == 0) std::this_thread::yield();
  waiter.AwaitSleep();
  RaiseEvent(event.get());
  EXPECT_EQ(waiter.Join(), kSuccess);
  sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(EventStoreTest, AnEventWhoseDescriptorIsGoneFailsTheWait) {
  const std::set<int> before = OpenDescriptors();
  const OwnedEvent event(MakeEvent());
  for (const int number : OpenDescriptors()) {
    if (before.count(number) == 0) close(number);
  }
  const Handle handle = event.get();
  std::size_t index = 1;
  EXPECT_EQ(WaitForAny(&handle, 1, index), kInvalidHandle);
}

}  // namespace
}  // namespace larder::platform
