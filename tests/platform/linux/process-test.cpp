// The process as a whole, in every group: forks, signals, inherited descriptors, permissions.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "platform/file-fixture.h"
#include "platform/file.h"
#include "platform/linux/child-process.h"
#include "platform/linux/open-descriptors.h"
#include "platform/linux/sleeping-thread.h"
#include "platform/module-fixture.h"
#include "platform/owned-event.h"
#include "platform/registry-key.h"
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
  for (int child = 0; child < 2; ++child) EXPECT_EQ(RunInChild(countCalls), 1);
  EXPECT_EQ(RunInChild([&] { return RunInChild(countCalls); }), 2);
  EXPECT_EQ(calls, 0);
  module = {};
  EXPECT_EQ(RunInChild(countCalls), 0);
}

TEST(ThreadSignalTest, AThreadBlocksAllSignalsButFaultsAndItsMakersMaskStays) {
  const auto storeMask = [](void* mask) {
    EXPECT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, static_cast<sigset_t*>(mask)), 0);
  };
  sigset_t some;
  sigemptyset(&some);
  sigaddset(&some, SIGUSR2);
  sigset_t before;
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &some, &before), 0);
  sigset_t mask;
  OwnedHandle thread;
  EXPECT_EQ(StartThread(storeMask, &mask, thread.Out()), kSuccess);
  sigset_t after;
  storeMask(&after);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  WaitForThread(thread.Get());
  const std::set<int> faults = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS};
  for (const int number : {SIGHUP, SIGINT, SIGTERM, SIGQUIT, SIGUSR1, SIGALRM, SIGCHLD, SIGPIPE,
                           SIGPROF, SIGXFSZ, SIGSEGV, SIGRTMIN, SIGRTMAX, SIGBUS, SIGFPE, SIGILL})
    EXPECT_EQ(sigismember(&mask, number), faults.contains(number) ? 0 : 1) << number;
  for (int number = 1; number < SIGRTMAX; ++number)
    EXPECT_EQ(sigismember(&after, number), sigismember(&some, number)) << number;
}

using DescriptorTest = RegistryTest;

TEST_F(DescriptorTest, NoneIsInheritedAndNoneIsLeftOpen) {
  Write("file", "content");
  const std::set<int> before = OpenDescriptors();
  FileKind kind{};
  {
    OwnedHandle file;
    OwnedHandle log;
    OwnedHandle lock;
    Key other;
    EXPECT_EQ(OpenFileToRead(InFolder("file"), file.Out(), kind), kSuccess);
    EXPECT_EQ(OpenFileToWrite(InFolder("log"), WriteMode::kWrite, log.Out()), kSuccess);
    EXPECT_EQ(OpenLockFile(InFolder("lock"), lock.Out()), kSuccess);
    EXPECT_EQ(other.Open("Key"), kSuccess);
    const OwnedEvent unnamed;
    const OwnedEvent named(u"Signal");
    std::filesystem::remove_all(path(getenv("LARDER_ROOT")) / "run");
    SleepingThread waiter(named);  // opens its directories again, so on another descriptor
    RaiseEvent(named);
    EXPECT_EQ(waiter.Join(), kSuccess);
    const std::set<int> opened = OpenedSince(before);
    EXPECT_EQ(opened.size(), 6u);
    for (const int number : opened) EXPECT_FALSE(IsInherited(number)) << number - *opened.begin();
  }
  Handle refused = nullptr;
  ModuleHandle module = nullptr;
  WideString made;
  std::vector<WideString> names;
  std::vector<FolderEntry> entries;
  EXPECT_EQ(Key().Make("Key\\A\\B"), kSuccess);
  EXPECT_EQ(Key().Open("KEY\\a\\Missing"), kFileNotFound);
  EXPECT_EQ(key.Set("value", "data"), kSuccess);
  EXPECT_EQ(key.Get("VALUE"), "data");
  EXPECT_EQ(key.Get("missing"), "code 2");
  EXPECT_EQ(key.RemoveKey("A\\B"), kSuccess);
  EXPECT_EQ(RemoveTree("Key\\A"), kSuccess);
  EXPECT_NE(OpenFileToWrite(u"\\dev\\null", WriteMode::kWrite, refused), kSuccess);
  EXPECT_EQ(MakeTemporaryFile(machine.WideFolder(), u"lr_", made), kSuccess);
  EXPECT_EQ(FindNames(InFolder("*"), names), kSuccess);
  EXPECT_EQ(ListFolder(machine.Folder(), entries), kSuccess);
  EXPECT_FALSE(IsFolderEmpty(machine.WideFolder()));
  EXPECT_EQ(OpenModule(InFolder("file"), module), kBadExeFormat);
  EXPECT_EQ(TryToMakeEvent(WideString(256, u'x')), kNameTooLong);
  setenv("LARDER_ROOT", Native("missing").c_str(), 1);
  EXPECT_EQ(TryToMakeEvent(u"Signal"), kFileNotFound);
  EXPECT_EQ(OpenDescriptors(), before);
}

// The result of an operation of an ordinary user.
Code AsNobody(const std::function<Code()>& operation) {
  return static_cast<Code>(RunAsNobody([&] { return static_cast<int>(operation()); }));
}

class PermissionTest : public RegistryTest {
 protected:
  ~PermissionTest() override {  // so that an ordinary user too can remove everything
    std::error_code ignored;
    for (const path& directory : {root, hive, hive / "Key"})
      permissions(directory, perms(0755), ignored);
  }

  const path root = getenv("LARDER_ROOT");
  const path hive = root / "etc/larder/registry";
};

TEST_F(PermissionTest, WhatMayNotBeReadIsDeniedButInformationOnAFileIsNot) {
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  Write("secret", "content");
  std::filesystem::create_directory(Native("folder"));
  for (const path& secret : {Native("secret"), Native("folder"), hive / "Key/value.value"})
    permissions(secret, perms::none);
  Handle file = nullptr;
  FileKind kind{};
  FileInfo info;
  ModuleHandle module = nullptr;
  std::vector<WideString> names;
  std::vector<FolderEntry> entries;
  const WideString secret = InFolder("secret");
  EXPECT_EQ(AsNobody([&] { return QueryPathInfo(secret, info, kind); }), kSuccess);
  EXPECT_EQ(AsNobody([&] { return OpenFileToRead(secret, file, kind); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return OpenModule(secret, module); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return FindNames(InFolder("folder\\*"), names); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return ListFolder(Native("folder"), entries); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return Code{IsFolderEmpty(InFolder("folder"))}; }), 0u);
  EXPECT_EQ(AsNobody([&] { return Code{key.Get("value") == "code 5"}; }), 1u);
  for (const int mode : {0000, 0111, 0444, 0333}) {
    permissions(hive / "Key", perms(mode));
    EXPECT_EQ(AsNobody([&] { return Key().Open("Key"); }), kAccessDenied) << mode;
  }
}

TEST_F(PermissionTest, NothingChangesInAFolderThatMayOnlyBeRead) {
  std::filesystem::create_directories(Native("tree/locked/folder"));
  Write("tree/locked/file");
  permissions(Native("tree/locked/file"), perms(0444));
  permissions(Native("tree/locked"), perms(0555));
  const WideString folder = InFolder("tree\\locked\\");
  const WideString file = folder + u"file";
  const WideString absent = folder + u"absent";
  Handle log = nullptr;
  WideString made;
  for (const WideString& name : {file, absent})
    EXPECT_EQ(AsNobody([&] { return OpenFileToWrite(name, WriteMode::kWrite, log); }),
              kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return RemoveFile(file); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return RenameFile(file, absent); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return MakeTemporaryFile(folder, u"lr_", made); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return MakeFolder(absent); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return RemoveFolder(folder + u"folder"); }), kAccessDenied);
  EXPECT_EQ(AsNobody([&] { return DeleteTree(InFolder("tree").append(2, u'\0').data()); }),
            kAccessDenied);
  permissions(Native("tree/locked"), perms(0755));
  EXPECT_TRUE(Exists("tree/locked/file"));
}

TEST_F(PermissionTest, CommonFoldersNeedAWritableMachineRootOnlyToBeMade) {
  WideString data;
  const auto query = [&] { return CommonFolderPath(CommonFolder::kData, data); };
  permissions(root, perms(0555));
  EXPECT_EQ(AsNobody(query), kAccessDenied);
  std::filesystem::create_directories(root / "var/lib");
  EXPECT_EQ(AsNobody(query), kSuccess);
}

TEST_F(PermissionTest, AKeyThatMayOnlyBeReadIsOpenedForReadingAndKeepsItsValues) {
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(Key().Make("Key\\Sub"), kSuccess);
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
  EXPECT_EQ(key.Subkeys(), std::vector<std::string>{"Sub"});
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
  EXPECT_TRUE(IsRaised(event));
  for (const char* level : {"run/larder/events", "run/larder", ""}) {
    EXPECT_EQ(AsNobody(make), kSuccess) << level;
    permissions(root / level, perms::none);
    EXPECT_EQ(AsNobody(make), kAccessDenied) << level;
    permissions(root / level, perms(0755));
  }
}

}  // namespace
}  // namespace larder::platform
