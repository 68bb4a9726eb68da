#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "platform/file-fixture.h"
#include "platform/linux/child-process.h"
#include "platform/linux/native.h"

namespace larder::platform {
namespace {

using std::filesystem::create_directory;
using std::filesystem::create_symlink;
using std::filesystem::path;
using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

class FilesStoreTest : public FileTest {
 protected:
  // Links and special files of every kind: a file "file" and what may stand in its place.
  void MakeSpecialFiles() const {
    Write("file", "content");
    create_directory(Native("folder"));
    create_symlink("file", Native("link"));
    create_symlink("folder", Native("folder-link"));
    create_symlink("missing", Native("dangling"));
    create_symlink("loop", Native("loop"));
    ASSERT_EQ(mkfifo(Native("fifo").c_str(), 0600), 0);
  }
  static bool CommonFoldersAre(const WideString& expectedData, const WideString& expectedPrograms) {
    WideString data;
    WideString programs;
    return CommonFolderPath(CommonFolder::kData, data) == kSuccess && data == expectedData &&
           CommonFolderPath(CommonFolder::kProgramFiles, programs) == kSuccess &&
           programs == expectedPrograms;
  }

  const path root = getenv("LARDER_ROOT");
};

TEST_F(FilesStoreTest, ReadingFollowsLinksAndReportsSpecialFilesWithoutOpeningThem) {
  MakeSpecialFiles();
  const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_GE(inotify_add_watch(watch, Native("fifo").c_str(), IN_OPEN), 0);
  ExpectNotOpened(InFolder("fifo"), FileKind::kOther);
  FileInfo info;
  kind = FileKind::kRegular;
  EXPECT_EQ(QueryPathInfo(InFolder("fifo"), info, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kOther);
  inotify_event event;
  EXPECT_EQ(read(watch, &event, sizeof(event)), -1);
  EXPECT_EQ(errno, EAGAIN);
  close(watch);
  ExpectNotOpened(u"\\dev\\null", FileKind::kOther);
  EXPECT_EQ(Open(InFolder("link")), kSuccess);
  EXPECT_EQ(Info().size, 7u);
  EXPECT_EQ(Open(InFolder("dangling")), kFileNotFound);
  EXPECT_EQ(Open(InFolder("loop")), kCannotResolveName);
  EXPECT_EQ(Open(InFolder(std::string(256, 'x'))), kNameTooLong);
  EXPECT_EQ(FoldCase(u"\\A\\b\u00FC"), u"\\A\\b\u00FC");
}

TEST_F(FilesStoreTest, WritingNeitherFollowsALinkNorWaitsForASpecialFile) {
  MakeSpecialFiles();
  ASSERT_EQ(mkfifo(Native("read").c_str(), 0600), 0);
  const int reader = open(Native("read").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  for (const WriteMode mode : {WriteMode::kWrite, WriteMode::kReadWrite}) {
    for (const char* name : {"link", "dangling", "fifo", "read"})
      EXPECT_NE(OpenToWrite(InFolder(name), mode), kSuccess) << name;
    EXPECT_NE(OpenToWrite(u"\\dev\\null", mode), kSuccess);
  }
  close(reader);
  EXPECT_EQ(Content("file"), "content");
  EXPECT_FALSE(Exists("missing"));
}

TEST_F(FilesStoreTest, AttributesAreThoseOfALinksTargetButAListHasTheLinkItself) {
  MakeSpecialFiles();
  Write("bad\xFF\n\\");
  std::uint32_t attributes = 0;
  EXPECT_EQ(PathAttributes(InFolder("folder-link"), attributes), kSuccess);
  EXPECT_EQ(attributes, kAttributeDirectory);
  EXPECT_EQ(PathAttributes(InFolder("link"), attributes), kSuccess);
  EXPECT_EQ(attributes, 0x80u);
  EXPECT_EQ(PathAttributes(InFolder("dangling"), attributes), kFileNotFound);
  std::vector<FolderEntry> entries;
  ASSERT_EQ(ListFolder(machine.Folder(), entries), kSuccess);
  std::map<std::string, EntryKind> kinds;
  for (const FolderEntry& entry : entries) kinds[entry.name] = entry.kind;
  EXPECT_THAT(kinds,
              UnorderedElementsAre(
                  Pair("file", EntryKind::kRegular), Pair("folder", EntryKind::kFolder),
                  Pair("link", EntryKind::kLink), Pair("folder-link", EntryKind::kLink),
                  Pair("dangling", EntryKind::kLink), Pair("loop", EntryKind::kLink),
                  Pair("fifo", EntryKind::kOther), Pair("bad\xFF\n\\", EntryKind::kRegular)));
}

TEST_F(FilesStoreTest, RenamingAndDeletingTakeLinksAndNeverTheirTargets) {
  MakeSpecialFiles();
  EXPECT_EQ(RenameFile(InFolder("link"), InFolder("dangling")), kAlreadyExists);
  EXPECT_EQ(RenameFile(InFolder("link"), InFolder("moved")), kSuccess);
  EXPECT_EQ(std::filesystem::read_symlink(Native("moved")), "file");
  Write("folder/kept");
  create_directory(Native("tree"));
  create_symlink("../folder", Native("tree/to-folder"));
  create_symlink("../folder/kept", Native("tree/to-file"));
  EXPECT_EQ(Delete("tree\\"), kSuccess);
  EXPECT_FALSE(Exists("tree"));
  EXPECT_EQ(Delete("folder-link\\"), kSuccess);
  EXPECT_FALSE(std::filesystem::is_symlink(Native("folder-link")));
  EXPECT_TRUE(Exists("folder/kept"));
}

TEST_F(FilesStoreTest, TimesOfAllAgesAreCountedFrom1601) {
  Write("file", "content");
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  const auto timeOf = [this](std::int64_t seconds, std::int64_t microseconds) {
    const timeval times[2] = {{seconds, microseconds}, {seconds, microseconds}};
    EXPECT_EQ(utimes(Native("file").c_str(), times), 0);
    return Info().lastModified;
  };
  EXPECT_EQ(timeOf(0, 0), 116'444'736'000'000'000u);
  EXPECT_EQ(timeOf(-1, 999'999), 116'444'735'999'999'990u);
  EXPECT_EQ(timeOf(1'000'000'000, 123'456), 126'444'736'001'234'560u);
}

TEST_F(FilesStoreTest, WhatDoesNotFitOnTheDiskIsLostWithACode) {
  const auto fill = [this] {
    umask(022);
    const rlimit limit = {150, 150};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0 || signal(SIGXFSZ, SIG_IGN) == SIG_ERR) return 1;
    const std::string text(100, 'x');
    if (OpenToWrite(InFolder("file")) != kSuccess) return 2;
    if (WriteOnce(file.Get(), text.data(), 100) != kSuccess) return 3;
    if (WriteOnce(file.Get(), text.data(), 100) != kDiskFull) return 4;
    return WriteOnce(file.Get(), text.data(), 100) == kDiskFull ? 0 : 5;
  };
  EXPECT_EQ(RunInChild(fill), 0);
  EXPECT_EQ(std::filesystem::file_size(Native("file")), 150u);
  EXPECT_EQ(std::filesystem::status(Native("file")).permissions(), std::filesystem::perms(0644));
}

// Makes a system call fail in this process from now on.
bool LetFail(long call, int error) {
  const auto number = static_cast<std::uint32_t>(call);
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  const sock_fprog filter = {4, program};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// Some file systems don't support a conditional rename, and some of these no hard links either.
TEST_F(FilesStoreTest, ARenameReplacesNothingOnFileSystemsWithoutAConditionalRename) {
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
    EXPECT_EQ(Content("second"), "second");
    EXPECT_EQ(Content("third"), "first");
    EXPECT_EQ(std::filesystem::hard_link_count(Native("third")), 1u);
    std::filesystem::remove(Native("third"));
  }
}

TEST_F(FilesStoreTest, ProcessesThatRunAtOnceGetDistinctTemporaryFiles) {
  const auto make = [this] {
    WideString made;
    for (int i = 0; i < 50; ++i)
      if (MakeTemporaryFile(machine.WideFolder(), u"lr_", made) != kSuccess) return 1;
    return 0;
  };
  EXPECT_EQ(RunInChildren(20, make), 0);
  const std::filesystem::directory_iterator files(machine.Folder());
  EXPECT_EQ(std::distance(begin(files), end(files)), 20 * 50);
}

TEST_F(FilesStoreTest, TheLastFreeNumberIsFoundAndThenThereIsNone) {
  for (int number = 1; number <= 0xFFFF; ++number) {
    char name[16];
    snprintf(name, sizeof(name), "lr_%X.tmp", number);
    if (number == 0xFA1C) continue;
    ASSERT_EQ(symlink("x", (machine.Folder() / name).c_str()), 0);
  }
  WideString made;
  EXPECT_EQ(MakeTemporaryFile(machine.WideFolder(), u"lr_", made), kSuccess);
  EXPECT_EQ(made, InFolder("lr_FA1C.tmp"));
  EXPECT_EQ(MakeTemporaryFile(machine.WideFolder(), u"lr_", made), kAlreadyExists);
  EXPECT_EQ(made, InFolder("lr_FA1C.tmp"));
}

TEST_F(FilesStoreTest, TheCommonFoldersAreTheSystemsOrMadeBelowTheMachineRoot) {
  EXPECT_TRUE(CommonFoldersAre(WidePathOf(root / "var/lib"), WidePathOf(root / "usr/lib")));
  EXPECT_TRUE(std::filesystem::is_empty(root / "var/lib"));
  const auto queryWithout = [] {
    unsetenv("LARDER_ROOT");
    return CommonFoldersAre(u"\\var\\lib", u"\\usr\\lib") ? 0 : 1;
  };
  EXPECT_EQ(RunInChild(queryWithout), 0);
  WideString data;
  for (const char* name : {"var/lib", "var", ""}) {
    std::filesystem::remove_all(root / name);
    if (*name != '\0') WriteFile(root / name, "");
    EXPECT_EQ(CommonFolderPath(CommonFolder::kData, data), kPathNotFound) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(root));
}

TEST_F(FilesStoreTest, APatternFindsOnlyNamesThatAreWidePathsAndIsMatchedQuickly) {
  for (const char* name : {"good", "bad\xFF", "back\\slash", "\xED\xA0\x80"}) Write(name);
  std::vector<WideString> names;
  ASSERT_EQ(FindNames(InFolder("??*d"), names), kSuccess);
  EXPECT_THAT(names, ElementsAre(u"good"));
  ASSERT_EQ(FindNames(InFolder("?"), names), kSuccess);
  EXPECT_THAT(names, UnorderedElementsAre(u".", WideString(1, 0xD800)));
  EXPECT_EQ(FindNames(InFolder("b*"), names), kFileNotFound);
  Write(std::string(250, 'a'));
  WideString pattern = machine.WideFolder();
  for (int i = 0; i < 100; ++i) pattern += u"*a";
  EXPECT_EQ(FindNames(pattern + u"*b", names), kFileNotFound);
  EXPECT_EQ(FindNames(pattern, names), kSuccess);
}

TEST_F(FilesStoreTest, BackslashesBecomeSlashesAndBack) {
  std::string native;
  WideString wide;
  EXPECT_EQ(NativePath(u"\\usr\\gr\u00FC\u00DF\U0001F600.dll", native), kSuccess);
  EXPECT_EQ(native, "/usr/gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80.dll");
  EXPECT_EQ(WidePath(native, wide), kSuccess);
  EXPECT_EQ(wide, u"\\usr\\gr\u00FC\u00DF\U0001F600.dll");
  EXPECT_EQ(WidePath("/a/b\\c", wide), kInvalidName);
  EXPECT_EQ(WidePath("/a/\xFF", wide), kNoUnicodeTranslation);
}

TEST_F(FilesStoreTest, TheMachineRootHasNoSlashAtItsEnd) {
  for (const auto& [value, expected] : {std::pair<std::string, std::string>(root, root),
                                        {root.string() + "//", root},
                                        {"//", ""},
                                        {"", ""}}) {
    setenv("LARDER_ROOT", value.c_str(), 1);
    EXPECT_EQ(MachineRoot(), expected);
  }
}

// Those that no other test brings about.
TEST(ErrnoCodeTest, ErrorsHaveTheirCodesAndNoneIsASuccess) {
  for (const auto& [error, code] : {std::pair(EMFILE, kTooManyOpenFiles),
                                    {EROFS, kAccessDenied},
                                    {EBADF, kInvalidHandle},
                                    {ENOSPC, kDiskFull},
                                    {EPIPE, kGeneralFailure}})
    EXPECT_EQ(CodeFromErrno(error), code) << error;
  for (int error = -1; error < 200; ++error) EXPECT_NE(CodeFromErrno(error), kSuccess) << error;
}

}  // namespace
}  // namespace larder::platform
