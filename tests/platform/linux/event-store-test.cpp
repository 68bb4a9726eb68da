#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <random>
#include <set>
#include <thread>
#include <utility>

#include "platform/linux/child-process.h"
#include "platform/linux/open-descriptors.h"
#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

using std::filesystem::path;
using std::filesystem::perms;

// A thread that waits for events.
class SleepingThread {
 public:
  // Returns once the thread sleeps in its wait.
  explicit SleepingThread(const std::vector<Handle>& events)
      : thread([this, events] {
          number = gettid();
          code = WaitForAny(events.data(), events.size(), index);
        }) {
    AwaitSleep();
  }
  explicit SleepingThread(Handle event) : SleepingThread(std::vector<Handle>{event}) {}

  // Returns once it sleeps there still or again.
  void AwaitSleep() const {
    while (number == 0 || !IsInPoll()) std::this_thread::yield();
  }
  pthread_t Native() { return thread.native_handle(); }
  // Waits for its end and returns the result of its wait.
  Code Join() {
    thread.join();
    return code;
  }
  // Of the event that ended the wait; after Join.
  std::size_t Index() const { return index; }

 private:
  bool IsInPoll() const {
    std::ifstream file("/proc/self/task/" + std::to_string(number) + "/syscall");
    file.exceptions(std::ios::failbit);  // thrown now if the file couldn't be opened
    std::string call;                    // the system call that it sleeps in, or "running"
    file >> call;
#ifdef SYS_poll
    if (call == std::to_string(SYS_poll)) return true;
#endif
    return call == std::to_string(SYS_ppoll);
  }

  Code code = kSuccess;
  std::size_t index = 0;
  std::atomic<pid_t> number = 0;
  std::thread thread;
};

// With the directories that hold the event "Signal" while it is raised.
class EventStoreTest : public MachineTest {
 protected:
  const path root = getenv("LARDER_ROOT");
  const path levels[3] = {root / "run", root / "run/larder", root / "run/larder/events"};
  const path file = levels[2] / "Signal";
};

TEST_F(EventStoreTest, AnEventIsRaisedWhileThereIsAnythingOfItsNameWhichIsNotFollowed) {
  const OwnedEvent event(u"Signal");
  for (const bool isMoved : {false, true}) {
    SleepingThread waiter(event);
    Write("file");
    if (isMoved) std::filesystem::rename(Native("file"), file);
    if (!isMoved) WriteFile(file, "made by hand");
    EXPECT_EQ(waiter.Join(), kSuccess);
    std::filesystem::remove(file);
    EXPECT_FALSE(IsRaised(event));
  }
  std::filesystem::create_symlink(Native("target"), file);
  EXPECT_TRUE(IsRaised(event));
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_FALSE(Exists("target"));
  EXPECT_EQ(LowerEvent(event), kSuccess);
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
}

TEST_F(EventStoreTest, TheFilesNameIsTheEventsWithoutWhatWouldLeadElsewhere) {
  for (const auto& [name, fileName] : {std::pair(u"Signal", "Signal"),
                                       {u"../a/b", "%2E.%2Fa%2Fb"},
                                       {u"line\n\\", "line%0A\\"},
                                       {u"\xFC\xD800", "\xC3\xBC\xED\xA0\x80"}}) {
    const OwnedEvent event(name);
    EXPECT_EQ(RaiseEvent(event), kSuccess);
    EXPECT_TRUE(std::filesystem::is_regular_file(levels[2] / fileName)) << fileName;
    EXPECT_EQ(LowerEvent(event), kSuccess);
    EXPECT_TRUE(std::filesystem::is_empty(levels[2])) << fileName;
  }
}

TEST_F(EventStoreTest, ProcessesThatMakeTheDirectoriesAtOnceOpenThemToAllReadersWhateverTheMask) {
  const auto raise = [] {
    umask(077);
    const OwnedEvent event(u"Signal");
    return RaiseEvent(event) == kSuccess && IsRaised(event) ? 0 : 1;
  };
  EXPECT_EQ(RunInChildren(20, raise), 0);
  for (const path& level : levels)
    EXPECT_EQ(std::filesystem::status(level).permissions(), perms(0755));
}

TEST_F(EventStoreTest, AWaiterMayComeBeforeTheDirectoriesAndBeforeTheyAreOpenedToIt) {
  std::filesystem::permissions(machine.Folder(), perms(0777));
  const auto wait = [this] {
    prctl(PR_SET_DUMPABLE, 1);  // so that the process may inspect its own thread
    const path own = Native("root");
    setenv("LARDER_ROOT", own.c_str(), 1);
    mkdir(own.c_str(), 0555);
    const OwnedEvent event(u"Signal");
    if (std::filesystem::exists(own / "run")) return 1;
    SleepingThread waiter(event);
    chmod(own.c_str(), 0755);
    for (const char* level : {"run", "run/larder", "run/larder/events"}) {
      mkdir((own / level).c_str(), 0);
      waiter.AwaitSleep();
      chmod((own / level).c_str(), 0755);
      waiter.AwaitSleep();
    }
    return RaiseEvent(event) == kSuccess && waiter.Join() == kSuccess ? 0 : 2;
  };
  EXPECT_EQ(RunAsNobody(wait), 0);
}

// In every second round the directories may change before the waiter sleeps or while it wakes.
TEST_F(EventStoreTest, NoRaiseIsLostWhateverHappensToTheDirectoriesBefore) {
  for (unsigned round = 0; round < 100; ++round) {
    std::filesystem::remove_all(levels[0]);
    const OwnedEvent event(u"Signal");
    const OwnedEvent other(u"Signal");
    std::minstd_rand random(round);
    // A directory that somebody holds open reports its removal only after it is closed.
    const int held = open(levels[random() % 3].c_str(), O_PATH | O_CLOEXEC);
    SleepingThread waiter(event);
    for (unsigned step = random() % 8; step > 0; --step) {
      const path& level = levels[random() % 3];
      std::error_code ignored;
      const auto choice = random() % 3;
      if (choice == 0) std::filesystem::remove_all(level, ignored);
      if (choice == 1) std::filesystem::create_directories(level, ignored);
      if (choice == 2) std::filesystem::rename(level, Native(std::to_string(random())), ignored);
      if (round % 2 == 0) waiter.AwaitSleep();
    }
    EXPECT_EQ(RaiseEvent(other), kSuccess) << round;
    EXPECT_EQ(waiter.Join(), kSuccess) << round;
    close(held);
  }
}

TEST_F(EventStoreTest, AWaitFailsWithoutAMachineRootAndAFileInPlaceOfADirectoryOnlyFailsARaise) {
  const OwnedEvent event(u"Signal");
  {
    SleepingThread waiter(event);
    std::filesystem::remove_all(root);
    EXPECT_EQ(waiter.Join(), kFileNotFound);
  }
  EXPECT_EQ(TryToMakeEvent(u"Signal"), kFileNotFound);
  EXPECT_EQ(TryToMakeEvent(WideString(256, u'x')), kNameTooLong);
  std::filesystem::create_directory(root);
  WriteFile(levels[0], "");
  EXPECT_EQ(RaiseEvent(event), kPathNotFound);
  SleepingThread waiter(event);
  std::filesystem::remove(levels[0]);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_EQ(waiter.Join(), kSuccess);
}

std::atomic<int> signalsHandled = 0;
std::atomic<bool> isHeld = false;

// Keeps a thread in a signal handler while it exists.
class Hold {
 public:
  explicit Hold(pthread_t thread) {
    isHeld = true;
    pthread_kill(thread, SIGUSR1);
    while (signalsHandled == 0) std::this_thread::yield();
  }
  ~Hold() {
    signalsHandled = 0;
    isHeld = false;
    signal(SIGUSR1, before);
  }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  void (*const before)(int) = signal(SIGUSR1, [](int) {
    ++signalsHandled;
    while (isHeld) sched_yield();
  });
};

TEST_F(EventStoreTest, ARaiseThatIsUndoneBeforeTheWaiterRunsEndsItsWaitAndNoOther) {
  const OwnedEvent event(u"Signal");
  const OwnedEvent other;
  const auto makeAndRemove = [](const path& made) {
    WriteFile(made, "");
    std::filesystem::remove(made);
  };
  for (const path& made : {file, levels[1] / "Signal", levels[2] / "Signa"}) {
    makeAndRemove(file);
    EXPECT_FALSE(IsRaised(event));
    SleepingThread waiter({event, other});
    {
      const Hold hold(waiter.Native());
      makeAndRemove(made);
      std::filesystem::permissions(levels[2], perms(0711));  // the watch must be set up again
      RaiseEvent(other);
    }
    EXPECT_EQ(waiter.Join(), kSuccess);
    EXPECT_EQ(waiter.Index(), made == file ? 0u : 1u) << made;
    EXPECT_FALSE(IsRaised(event)) << made;
    LowerEvent(other);
  }
}

// The queue of an event is kept for the next one. A child has it too, but would take the changes
// from its parent.
TEST_F(EventStoreTest, AForkedChildOpensAQueueOfItsOwn) {
  OwnedEvent(u"Signal");
  const auto countOpened = [] {
    const std::set<int> before = OpenDescriptors();
    const OwnedEvent event(u"Signal");
    return static_cast<int>(OpenedSince(before).size());
  };
  EXPECT_EQ(RunInChild(countOpened), 1);
  EXPECT_EQ(countOpened(), 0);
}

TEST_F(EventStoreTest, ADescriptorThatReplacedAKeptOneIsNotUsed) {
  const std::set<int> before = OpenDescriptors();
  OwnedEvent(u"Signal");
  const std::set<int> kept = OpenedSince(before);
  ASSERT_EQ(kept.size(), 1u);
  const int number = *kept.begin();
  close(number);
  ASSERT_EQ(inotify_init1(IN_CLOEXEC | IN_NONBLOCK), number);
  const OwnedEvent event(u"Signal");
  EXPECT_EQ(inotify_rm_watch(number, 1), -1) << "it has a watch";
  EXPECT_FALSE(IsRaised(event));
  EXPECT_EQ(close(number), 0);
}

TEST_F(EventStoreTest, ADescriptorThatReplacedAKeptOneStaysOpenAtExit) {
  const std::string written = Native("written").string();
  const int result = RunInChild([&written] {
    const std::set<int> before = OpenDescriptors();
    OwnedEvent(u"Signal");
    for (const int number : OpenedSince(before)) close(number);
    FILE* const stream = fopen(written.c_str(), "we");
    if (stream == nullptr || fputs("kept", stream) < 0) return 1;
    exit(0);  // writes what the stream has buffered, after the destructors of static objects
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Content("written"), "kept");
}

TEST_F(EventStoreTest, ASignalDoesNotEndAWaitButAClosedDescriptorDoes) {
  const std::set<int> descriptors = OpenDescriptors();
  const OwnedEvent event;
  SleepingThread waiter(event);
  { const Hold hold(waiter.Native()); }
  waiter.AwaitSleep();
  RaiseEvent(event);
  EXPECT_EQ(waiter.Join(), kSuccess);
  LowerEvent(event);
  for (const int number : OpenedSince(descriptors)) close(number);
  const Handle handle = event;
  std::size_t index = 1;
  EXPECT_EQ(WaitForAny(&handle, 1, index), kInvalidHandle);
}

}  // namespace
}  // namespace larder::platform
