// The process as a whole, in every group: forks, signals, inherited descriptors, permissions.
#include <signal.h>
#include <stdlib.h>

#include <set>

#include "platform/file.h"
#include "platform/linux/change-queue.h"
#include "platform/linux/child-process.h"
#include "platform/linux/open-descriptors.h"
#include "platform/machine-fixture.h"
#include "platform/thread.h"

namespace larder::platform {
namespace {

using std::filesystem::path;
using std::filesystem::permissions;
using std::filesystem::perms;

int calls = 0;

using ForkTest = ModuleTest;

TEST_F(ForkTest, AFunctionIsCalledOnceInEveryChildUntilItsModuleIsUnloaded) {
  const auto countCalls = [] { return calls; };
  ASSERT_EQ(Open(FixtureFolder() / "forking-module.dll"), kSuccess);
  const auto countInChildren =
      reinterpret_cast<void (*)(int*)>(FindSymbol(module.Get(), "LarderTestCountInChildren"));
  ASSERT_NE(countInChildren, nullptr);
  countInChildren(&calls);
  EXPECT_EQ(RunInChild([&] { return RunInChild(countCalls); }), 2);
  EXPECT_EQ(calls, 0);
  module = {};
  EXPECT_EQ(RunInChild(countCalls), 0);
}

TEST(ThreadSignalTest, AThreadBlocksAllSignalsButFaultsAndItsMakersMaskStays) {
  const auto storeMask = [](void* mask) {
    EXPECT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, static_cast<sigset_t*>(mask)), 0);
  };
  sigset_t before;
  sigset_t mask;
  sigset_t after;
  sigemptyset(&before);
  sigaddset(&before, SIGUSR2);
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &before, nullptr), 0);
  OwnedHandle thread;
  EXPECT_EQ(StartThread(storeMask, &mask, thread.Out()), kSuccess);
  storeMask(&after);
  pthread_sigmask(SIG_UNBLOCK, &before, nullptr);
  WaitForThread(thread.Get());
  const std::set<int> faults = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS};
  for (int number = 1; number <= SIGRTMAX; ++number) {
    EXPECT_EQ(sigismember(&after, number), sigismember(&before, number)) << number;
    const bool isReserved = number >= 32 && number < SIGRTMIN;
    if (isReserved || number == SIGKILL || number == SIGSTOP) continue;
    EXPECT_EQ(sigismember(&mask, number), faults.contains(number) ? 0 : 1) << number;
  }
}

using DescriptorTest = RegistryTest;

TEST_F(DescriptorTest, NoneIsInherited) {
  Write("file");
  const std::set<int> before = OpenDescriptors();
  OwnedHandle log;
  OwnedHandle lock;
  EXPECT_EQ(Open(InFolder("file")), kSuccess);
  EXPECT_EQ(OpenFileToWrite(InFolder("log"), WriteMode::kWrite, log.Out()), kSuccess);
  EXPECT_EQ(OpenLockFile(InFolder("lock"), lock.Out()), kSuccess);
  Key other;
  EXPECT_EQ(other.Open("Key"), kSuccess);
  const OwnedEvent unnamed;
  const OwnedEvent named(u"Signal");
  const std::set<int> opened = OpenedSince(before);
  EXPECT_EQ(opened.size(), 6u);
  for (const int number : opened) EXPECT_FALSE(IsInherited(number)) << number - *opened.begin();
}

// Makes every test of this program fail that leaves a descriptor open, other than the one that is
// kept for the next named event.
class LeakCheck : public ::testing::EmptyTestEventListener {
  void OnTestStart(const ::testing::TestInfo& /*test*/) override { before = OpenDescriptors(); }
  void OnTestEnd(const ::testing::TestInfo& /*test*/) override {
    TakeChangeQueue().reset();
    EXPECT_EQ(OpenDescriptors(), before);
  }

  std::set<int> before;
};

const bool isLeakCheckAdded = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
  return true;
}();

// The result of an operation of an ordinary user.
Code AsNobody(const std::function<Code()>& operation) {
  return static_cast<Code>(RunAsNobody([&] { return static_cast<int>(operation()); }));
}

class PermissionTest : public RegistryTest {
 protected:
  ~PermissionTest() override {  // so that an ordinary user too can remove everything
    std::error_code ignored;
    for (const path& directory : {root, hive, hive / "Key", Native("locked")})
      permissions(directory, perms(0755), ignored);
  }

  const path root = getenv("LARDER_ROOT");
  const path hive = root / "etc/larder/registry";
};

TEST_F(PermissionTest, WhatMayNotBeReadOrChangedIsDeniedButInformationOnAFileIsNot) {
  std::filesystem::create_directories(Native("locked/folder"));
  std::filesystem::create_directories(Native("closed"));
  for (const char* name : {"to-rename", "secret", "locked/file"}) Write(name);
  permissions(Native("locked/file"), perms(0444));
  permissions(Native("locked"), perms(0555));
  for (const char* name : {"secret", "closed"}) permissions(Native(name), perms::none);
  EXPECT_EQ(AsNobody([&] { return QueryPathInfo(InFolder("secret"), info, kind); }), kSuccess);
  for (const auto& denied : {std::pair("OpenFileToRead", "secret"),
                             {"OpenModule", "secret"},
                             {"FindNames", "closed\\*"},
                             {"OpenFileToWrite", "locked\\file"},
                             {"OpenFileToWrite", "locked\\absent"},
                             {"RemoveFile", "locked\\file"},
                             {"RenameFile", "locked\\file"},
                             {"MakeTemporaryFile", "locked"},
                             {"MakeFolder", "locked\\absent"},
                             {"RemoveFolder", "locked\\folder"}})
    EXPECT_EQ(AsNobody([&] { return operations.at(denied.first)(InFolder(denied.second)); }),
              kAccessDenied)
        << denied.first;
  EXPECT_EQ(AsNobody([&] { return Delete("locked"); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return Code{IsFolderEmpty(InFolder("closed"))}; }), 0u);
}

TEST_F(PermissionTest, CommonFoldersNeedAWritableMachineRootOnlyToBeMade) {
  const auto query = [&] { return CommonFolderPath(CommonFolder::kData, made); };
  permissions(root, perms(0555));
  EXPECT_EQ(AsNobody(query), kAccessDenied);
  std::filesystem::create_directories(root / "var/lib");
  EXPECT_EQ(AsNobody(query), kSuccess);
}

TEST_F(PermissionTest, AKeyThatMayOnlyBeReadIsOpenedForReadingAndKeepsItsValues) {
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(Key().Make("Key\\Sub"), kSuccess);
  for (const int mode : {0000, 0111, 0444, 0333}) {
    permissions(hive / "Key", perms(mode));
    EXPECT_EQ(AsNobody([&] { return Key().Open("Key"); }), kAccessDenied) << mode;
  }
  permissions(hive / "Key", perms(0555));
  EXPECT_EQ(AsNobody([&] { return key.Open("Key") + Code{key.Get("value") != "data"}; }), 0u);
  EXPECT_EQ(AsNobody([&] { return Key().Make("Key", kKeyRead); }), kSuccess);
  EXPECT_EQ(AsNobody([&] { return Key().Open("Key", kKeyAllAccess); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return Key().Make("Key", kKeySetValue); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return Key().Make("Key\\New", kKeyRead); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return key.RemoveKey("Sub"); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return RemoveTree("Key"); }), kAccessDenied);
  permissions(hive / "Key", perms(0777));
  permissions(hive, perms(0555));
  EXPECT_EQ(AsNobody([&] { return RemoveTree("Key"); }), kAccessDenied);
  EXPECT_EQ(key.Get("value"), "data");
  permissions(hive / "Key/value.value", perms::none);
  EXPECT_EQ(AsNobody([&] { return Code{key.Get("value") == "code 5"}; }), 1u);
}

TEST_F(PermissionTest, AnEventThatMayNotBeChangedCanBeWaitedForUnlessItsDirectoriesAreClosed) {
  const auto make = [] { return TryToMakeEvent(u"Signal"); };
  permissions(root, perms(0555));
  EXPECT_EQ(AsNobody([] { return RaiseEvent(OwnedEvent(u"Signal")); }), kAccessDenied);
  permissions(root, perms(0755));
  const OwnedEvent event(u"Signal");
  EXPECT_EQ(AsNobody([&] { return RaiseEvent(event); }), kAccessDenied);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_EQ(AsNobody([&] { return LowerEvent(event); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return Code{IsRaised(OwnedEvent(u"Signal"))}; }), 1u);
  for (const char* level : {"run/larder/events", "run/larder", ""}) {
    permissions(root / level, perms::none);
    EXPECT_EQ(AsNobody(make), kAccessDenied) << level;
    permissions(root / level, perms(0755));
  }
}

}  // namespace
}  // namespace larder::platform
