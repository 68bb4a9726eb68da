#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/linux/child-process.h"
#include "platform/linux/open-descriptors.h"
#include "platform/log-file.h"
#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

constexpr WriteMode kModes[] = {WriteMode::kWrite, WriteMode::kReadWrite};

// Has a system call fail in this process from now on.
bool LetFail(long call, int error) {
  const auto number = static_cast<std::uint32_t>(call);
  const auto result = SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error);
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, result),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter = {4, program};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

class LogFileStoreTest : public MachineTest {
 protected:
  Handle Open(const char* name, WriteMode mode = WriteMode::kWrite) const {
    Handle file = nullptr;
    OpenFileToWrite(InFolder(name), mode, file);
    return file;
  }
};

TEST_F(LogFileStoreTest, WhatIsPlantedAtTheNameIsNeitherFollowedNorWaitedFor) {
  Write("target", "content");
  std::filesystem::create_symlink(Native("target"), Native("link"));
  std::filesystem::create_symlink(Native("nothing"), Native("dangling"));
  ASSERT_EQ(mkfifo(Native("fifo").c_str(), 0600), 0);
  ASSERT_EQ(mkfifo(Native("read").c_str(), 0600), 0);
  const int reader = open(Native("read").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  for (const WriteMode mode : kModes) {
    for (const char* name : {"link", "dangling", "fifo", "read"})
      EXPECT_EQ(Open(name, mode), InvalidHandle()) << name;
    Handle file = nullptr;
    EXPECT_EQ(OpenFileToWrite(u"\\dev\\null", mode, file), kAccessDenied);
    EXPECT_EQ(file, InvalidHandle());
  }
  close(reader);
  EXPECT_EQ(Content("target"), "content");
  EXPECT_FALSE(Exists("nothing"));
}

TEST_F(LogFileStoreTest, TheModesAreTheSystemsAndTheFileIsNotInherited) {
  umask(022);
  const std::set<int> before = OpenDescriptors();
  for (const WriteMode mode : kModes) {
    const Handle file = Open("file", mode);
    const std::set<int> opened = OpenedSince(before);
    ASSERT_EQ(opened.size(), 1u);
    const int access = mode == WriteMode::kWrite ? O_WRONLY : O_RDWR;
    EXPECT_EQ(fcntl(*opened.begin(), F_GETFL) & O_ACCMODE, access);
    EXPECT_FALSE(IsInherited(*opened.begin()));
    CloseObject(file);
    EXPECT_EQ(OpenDescriptors(), before);
  }
  EXPECT_EQ(std::filesystem::status(Native("file")).permissions(), std::filesystem::perms(0644));
}

TEST_F(LogFileStoreTest, WhatDoesNotFitOnTheDiskIsLostWithACode) {
  const auto fill = [this] {
    const rlimit limit = {150, 150};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0 || signal(SIGXFSZ, SIG_IGN) == SIG_ERR) return 1;
    const Handle file = Open("file");
    const std::string text(100, 'x');
    if (WriteOnce(file, text.data(), 100) != kSuccess) return 2;
    if (WriteOnce(file, text.data(), 100) != kDiskFull) return 3;
    std::uint64_t size = 0;
    if (SeekToEnd(file, size) != kSuccess || size != 150) return 4;
    return WriteOnce(file, text.data(), 100) == kDiskFull ? 0 : 5;
  };
  EXPECT_EQ(RunInChild(fill), 0);
  EXPECT_EQ(std::filesystem::file_size(Native("file")), 150u);
}

TEST_F(LogFileStoreTest, WhoMayNotWriteGetsNoFileAndACode) {
  Write("file");
  std::filesystem::permissions(Native("file"), std::filesystem::perms(0444));
  std::filesystem::permissions(machine.Folder(), std::filesystem::perms(0555));
  const auto tryAll = [this] {
    if (Open("file") != InvalidHandle() || Open("new") != InvalidHandle()) return 1;
    if (RemoveFile(InFolder("file")) != kAccessDenied) return 2;
    if (RenameFile(InFolder("file"), InFolder("new")) != kAccessDenied) return 3;
    WideString made;
    return MakeTemporaryFile(machine.WideFolder(), u"lr_", made) == kAccessDenied ? 0 : 4;
  };
  EXPECT_EQ(RunAsNobody(tryAll), 0);
  std::filesystem::permissions(machine.Folder(), std::filesystem::perms(0755));
}

TEST_F(LogFileStoreTest, ARenameOfASymbolicLinkMovesTheLink) {
  std::filesystem::create_symlink("target", Native("link"));
  std::filesystem::create_symlink("nothing", Native("dangling"));
  EXPECT_EQ(RenameFile(InFolder("link"), InFolder("dangling")), kAlreadyExists);
  EXPECT_EQ(RenameFile(InFolder("link"), InFolder("moved")), kSuccess);
  EXPECT_EQ(std::filesystem::read_symlink(Native("moved")), "target");
}

// Some don't know the condition of a rename, and of these some have no hard links either.
TEST_F(LogFileStoreTest, AFileSystemThatKnowsLessReplacesNothingEither) {
  for (const bool hasLinks : {true, false}) {
    Write("first", "first");
    Write("second", "second");
    const auto rename = [this, hasLinks] {
      if (!LetFail(SYS_renameat2, EINVAL)) return 1;
      if (!hasLinks && !LetFail(SYS_linkat, EPERM)) return 1;
#ifdef SYS_link
      if (!hasLinks && !LetFail(SYS_link, EPERM)) return 1;
#endif
      if (RenameFile(InFolder("first"), InFolder("second")) != kAlreadyExists) return 2;
      if (RenameFile(InFolder("first"), InFolder("third")) != kSuccess) return 3;
      return RenameFile(InFolder("first"), InFolder("fourth")) == kFileNotFound ? 0 : 4;
    };
    EXPECT_EQ(RunInChild(rename), 0);
    EXPECT_FALSE(Exists("first"));
    EXPECT_EQ(Content("second"), "second");
    EXPECT_EQ(Content("third"), "first");
    EXPECT_EQ(std::filesystem::hard_link_count(Native("third")), 1u);
    std::filesystem::remove(Native("third"));
  }
}

TEST_F(LogFileStoreTest, ManyProcessesAtOnceGetDistinctTemporaryFiles) {
  constexpr int kProcesses = 20;
  constexpr int kFiles = 50;
  const auto make = [this] {
    WideString made;
    for (int i = 0; i < kFiles; ++i) {
      if (MakeTemporaryFile(machine.WideFolder(), u"lr_", made) != kSuccess) return 1;
    }
    return 0;
  };
  std::vector<pid_t> children;
  for (int i = 0; i < kProcesses; ++i) children.push_back(StartChild(make));
  for (const pid_t child : children) EXPECT_EQ(WaitForChild(child), 0);
  const std::filesystem::directory_iterator files(machine.Folder());
  EXPECT_EQ(std::distance(begin(files), end(files)), kProcesses * kFiles);
}

TEST_F(LogFileStoreTest, TheLastFreeNumberIsFoundAndThenThereIsNone) {
  const int folder = open(machine.Folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (int number = 1; number <= 0xFFFF; ++number) {
    char name[16];
    snprintf(name, sizeof(name), "lr_%X.tmp", number);
    if (number == 0xFA1C) continue;
    ASSERT_EQ(symlinkat("x", folder, name), 0);
  }
  close(folder);
  WideString made;
  EXPECT_EQ(MakeTemporaryFile(machine.WideFolder(), u"lr_", made), kSuccess);
  EXPECT_EQ(made, InFolder("lr_FA1C.tmp"));
  EXPECT_EQ(MakeTemporaryFile(machine.WideFolder(), u"lr_", made), kAlreadyExists);
  EXPECT_EQ(made, InFolder("lr_FA1C.tmp"));
}

}  // namespace
}  // namespace larder::platform
