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
#include <string>
#include <vector>

#include "platform/linux/child-process.h"
#include "platform/log-file.h"
#include "platform/module-files.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

using std::filesystem::path;

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

class LogFileStoreTest : public ::testing::Test {
 protected:
  WideString InFolder(const char16_t* name) const { return machine.WideFolder() + name; }
  path Native(const char* name) const { return machine.Folder() / name; }
  Handle Open(const char16_t* name, WriteMode mode) const {
    return OpenFileToWrite(InFolder(name), mode);
  }

  // What the two tries to rename "first", over "second" and to a free name, leave: 0 when it is as
  // it must be.
  int RenameTwice() const {
    if (RenameFile(InFolder(u"first"), InFolder(u"second")) != kAlreadyExists) return 1;
    if (RenameFile(InFolder(u"first"), InFolder(u"third")) != kSuccess) return 2;
    if (RenameFile(InFolder(u"first"), InFolder(u"fourth")) != kFileNotFound) return 3;
    return 0;
  }
  void ExpectRenamed() const {
    EXPECT_FALSE(std::filesystem::exists(Native("first")));
    EXPECT_EQ(FileContent(Native("second")), "second");
    EXPECT_EQ(FileContent(Native("third")), "first");
    EXPECT_EQ(std::filesystem::hard_link_count(Native("third")), 1u);
  }
  void WriteBoth() const {
    WriteFile(Native("first"), "first");
    WriteFile(Native("second"), "second");
  }

  TestMachine machine;
};

TEST_F(LogFileStoreTest, ASymbolicLinkAtTheNameIsNotFollowed) {
  WriteFile(Native("target"), "content");
  std::filesystem::create_symlink(Native("target"), Native("link"));
  std::filesystem::create_symlink(Native("nothing"), Native("dangling"));
  for (const WriteMode mode : kModes) {
    EXPECT_EQ(Open(u"link", mode), InvalidHandle());
    EXPECT_EQ(Open(u"dangling", mode), InvalidHandle());
  }
  EXPECT_EQ(FileContent(Native("target")), "content");
  EXPECT_FALSE(std::filesystem::exists(Native("nothing")));
}

TEST_F(LogFileStoreTest, AFifoIsRefusedWithoutBlocking) {
  ASSERT_EQ(mkfifo(Native("fifo").c_str(), 0600), 0);
  for (const WriteMode mode : kModes) EXPECT_EQ(Open(u"fifo", mode), InvalidHandle());
  const int reader = open(Native("fifo").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  for (const WriteMode mode : kModes) EXPECT_EQ(Open(u"fifo", mode), InvalidHandle());
  close(reader);
}

TEST_F(LogFileStoreTest, ADeviceIsRefused) {
  for (const WriteMode mode : kModes)
    EXPECT_EQ(OpenFileToWrite(u"\\dev\\null", mode), InvalidHandle());
}

TEST_F(LogFileStoreTest, TheModesAreTheSystemsAndTheFileIsNotInherited) {
  umask(022);
  for (const WriteMode mode : kModes) {
    const int next = dup(0);
    close(next);
    const Handle file = Open(u"file", mode);
    ASSERT_NE(file, InvalidHandle());
    const int access = mode == WriteMode::kWrite ? O_WRONLY : O_RDWR;
    EXPECT_EQ(fcntl(next, F_GETFL) & O_ACCMODE, access);
    EXPECT_NE(fcntl(next, F_GETFD) & FD_CLOEXEC, 0);
    CloseObject(file);
    EXPECT_EQ(fcntl(next, F_GETFD), -1);
  }
  EXPECT_EQ(std::filesystem::status(Native("file")).permissions(), std::filesystem::perms(0644));
}

TEST_F(LogFileStoreTest, WhatDoesNotFitOnTheDiskIsLostWithACode) {
  const auto fill = [this] {
    const rlimit limit = {150, 150};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0 || signal(SIGXFSZ, SIG_IGN) == SIG_ERR) return 1;
    const Handle file = Open(u"file", WriteMode::kWrite);
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
  WriteFile(Native("file"), "");
  std::filesystem::permissions(Native("file"), std::filesystem::perms(0444));
  std::filesystem::permissions(machine.Folder(), std::filesystem::perms(0555));
  const auto tryAll = [this] {
    if (Open(u"file", WriteMode::kWrite) != InvalidHandle()) return 1;
    if (Open(u"new", WriteMode::kWrite) != InvalidHandle()) return 2;
    if (RemoveFile(InFolder(u"file")) != kAccessDenied) return 3;
    if (RenameFile(InFolder(u"file"), InFolder(u"new")) != kAccessDenied) return 4;
    WideString made;
    return MakeTemporaryFile(machine.WideFolder(), u"lr_", made) == kAccessDenied ? 0 : 5;
  };
  EXPECT_EQ(RunAsNobody(tryAll), 0);
  std::filesystem::permissions(machine.Folder(), std::filesystem::perms(0755));
}

TEST_F(LogFileStoreTest, ARenameOfASymbolicLinkMovesTheLink) {
  WriteFile(Native("target"), "content");
  std::filesystem::create_symlink("target", Native("link"));
  std::filesystem::create_symlink("nothing", Native("dangling"));
  EXPECT_EQ(RenameFile(InFolder(u"link"), InFolder(u"dangling")), kAlreadyExists);
  EXPECT_EQ(RenameFile(InFolder(u"link"), InFolder(u"moved")), kSuccess);
  EXPECT_EQ(std::filesystem::read_symlink(Native("moved")), "target");
  EXPECT_EQ(FileContent(Native("target")), "content");
}

TEST_F(LogFileStoreTest, AFileSystemThatDoesNotKnowTheConditionReplacesNothingEither) {
  for (const int error : {EINVAL, ENOSYS}) {
    WriteBoth();
    EXPECT_EQ(
        RunInChild([this, error] { return LetFail(SYS_renameat2, error) ? RenameTwice() : 4; }), 0);
    ExpectRenamed();
    std::filesystem::remove(Native("third"));
  }
}

TEST_F(LogFileStoreTest, NeitherDoesOneWithoutHardLinks) {
  WriteBoth();
  const auto rename = [this] {
    if (!LetFail(SYS_renameat2, EINVAL) || !LetFail(SYS_linkat, EPERM)) return 4;
#ifdef SYS_link
    if (!LetFail(SYS_link, EPERM)) return 4;
#endif
    return RenameTwice();
  };
  EXPECT_EQ(RunInChild(rename), 0);
  ExpectRenamed();
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
    if (number == 0xA1C) continue;
    ASSERT_EQ(symlinkat("x", folder, name), 0);
  }
  close(folder);
  WideString made;
  EXPECT_EQ(MakeTemporaryFile(machine.WideFolder(), u"lr_", made), kSuccess);
  EXPECT_EQ(made, InFolder(u"lr_A1C.tmp"));
  EXPECT_EQ(MakeTemporaryFile(machine.WideFolder(), u"lr_", made), kAlreadyExists);
  EXPECT_EQ(made, InFolder(u"lr_A1C.tmp"));
}

}  // namespace
}  // namespace larder::platform
