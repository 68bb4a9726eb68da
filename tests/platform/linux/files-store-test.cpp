#include <elf.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <link.h>
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
#include <cstring>

#include "platform/linux/child-process.h"
#include "platform/linux/native.h"
#include "platform/machine-fixture.h"
#include "platform/path.h"

namespace larder::platform {
namespace {

using std::filesystem::create_directory;
using std::filesystem::create_symlink;
using std::filesystem::path;
using std::filesystem::perms;
using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

class FilesStoreTest : public FileTest {
 protected:
  const path root = getenv("LARDER_ROOT");
};

// With links and special files of every kind: a file "file" and what may be in its place.
class SpecialFilesTest : public FileTest {
 protected:
  SpecialFilesTest() {
    Write("file", "content");
    create_directory(Native("folder"));
    create_symlink("file", Native("link"));
    create_symlink("folder", Native("folder-link"));
    create_symlink("missing", Native("dangling"));
    create_symlink("loop", Native("loop"));
    EXPECT_EQ(mkfifo(Native("fifo").c_str(), 0600), 0);
    for (const char* name : {"twin", "foreign"}) Write(name);
    create_hard_link(Native("twin"), Native("hard-link"));
    // Another user's file, or, if this user can't give files away, one that can't be written.
    if (chown(Native("foreign").c_str(), 65534, 65534) != 0)
      permissions(Native("foreign"), perms(0444));
  }
};

TEST_F(SpecialFilesTest, ReadingFollowsLinksAndReportsSpecialFilesWithoutOpeningThem) {
  const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_GE(inotify_add_watch(watch, Native("fifo").c_str(), IN_OPEN), 0);
  ExpectNotOpened(InFolder("fifo"), FileKind::kOther);
  inotify_event event;
  EXPECT_EQ(read(watch, &event, sizeof(event)), -1);
  EXPECT_EQ(errno, EAGAIN);
  close(watch);
  ExpectNotOpened(u"\\dev\\null", FileKind::kOther);
  EXPECT_EQ(Open(InFolder("link")), kSuccess);
  EXPECT_EQ(Info().size, 7u);
  EXPECT_EQ(Open(InFolder("dangling")), kFileNotFound);
  EXPECT_EQ(Open(InFolder("loop")), kCannotResolveName);
  WideString memory;
  EXPECT_EQ(FoldCase(u"\\A\\b\u00FC", memory), u"\\A\\b\u00FC");
}

TEST_F(SpecialFilesTest, WritingNeitherFollowsALinkNorWaitsForASpecialFile) {
  ASSERT_EQ(mkfifo(Native("read").c_str(), 0600), 0);
  const int reader = open(Native("read").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  for (const char* name : {"link", "dangling", "fifo", "read", "foreign", "hard-link"}) {
    EXPECT_NE(OpenToWrite(InFolder(name), WriteMode::kWrite), kSuccess) << name;
    EXPECT_NE(OpenToWrite(InFolder(name), WriteMode::kReadWrite), kSuccess) << name;
    EXPECT_NE(OpenFileToAppend(InFolder(name), file.Out()), kSuccess) << name;
  }
  close(reader);
  EXPECT_FALSE(Exists("missing"));
}

TEST_F(SpecialFilesTest, ANumberIsDrawnUnlessItIsInUseOrItsLogCannotBeWritten) {
  int number = 1;
  for (const char* name : {"folder", "link", "dangling", "fifo", "foreign", "hard-link", "loop"})
    rename(Native(name), Native("lr_" + std::to_string(number++) + ".log"));
  Write("lr_8.log", "of an earlier run");
  ASSERT_EQ(OpenToWrite(InFolder("lr_9.log")), kSuccess);
  for (number = 10; number <= 0xFFFF; ++number) {
    char name[16];
    snprintf(name, sizeof(name), "lr_%X.tmp", number);
    // Links are made quickly, but some file systems allow less than 65535 of one file.
    create_hard_link(Native(number % 2 == 0 ? "file" : "twin"), Native(name));
  }
  EXPECT_EQ(Draw(machine.WideFolder()), kSuccess);
  EXPECT_EQ(made, InFolder("lr_8.tmp"));
  EXPECT_EQ(Draw(machine.WideFolder()), kAlreadyExists);
  file = {};
  EXPECT_EQ(Draw(machine.WideFolder()), kSuccess);
  EXPECT_EQ(made, InFolder("lr_9.tmp"));
}

TEST_F(SpecialFilesTest, AttributesAreThoseOfALinksTarget) {
  const auto attributesOf = [this](const char* name) {
    return PathAttributes(InFolder(name), attributes) == kSuccess ? attributes : 0;
  };
  EXPECT_EQ(attributesOf("folder-link"), kAttributeDirectory);
  EXPECT_EQ(attributesOf("link"), 0x80u);
  EXPECT_EQ(attributesOf("dangling"), 0u);
}

TEST_F(SpecialFilesTest, RenamingAndDeletingTakeLinksAndNeverTheirTargets) {
  EXPECT_EQ(RenameFile(InFolder("link"), InFolder("dangling")), kAlreadyExists);
  EXPECT_EQ(RenameFile(InFolder("link"), InFolder("moved")), kSuccess);
  EXPECT_EQ(std::filesystem::read_symlink(Native("moved")), "file");
  Write("folder/kept");
  create_directory(Native("tree"));
  create_symlink("../folder", Native("tree/to-folder"));
  for (const char* name : {"tree", "folder-link"}) {
    EXPECT_EQ(Delete(std::string(name) + "\\"), kSuccess);
    EXPECT_FALSE(std::filesystem::exists(symlink_status(Native(name)))) << name;
  }
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
  EXPECT_EQ(timeOf(-1, 999'999), 116'444'735'999'999'990u);
  EXPECT_EQ(timeOf(1'000'000'000, 123'456), 126'444'736'001'234'560u);
}

TEST_F(FilesStoreTest, WhatDoesNotFitOnTheDiskIsLostWithACode) {
  const auto fill = [this] {
    const rlimit limit = {150, 150};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0 || signal(SIGXFSZ, SIG_IGN) == SIG_ERR) return 1;
    if (OpenToWrite(InFolder("file")) != kSuccess) return 2;
    for (const Code code : {kSuccess, kDiskFull, kDiskFull}) {
      if (WriteOnce(file.Get(), std::string(100, 'x').data(), 100) != code) return 3;
    }
    return 0;
  };
  EXPECT_EQ(RunInChild(fill), 0);
  EXPECT_EQ(std::filesystem::file_size(Native("file")), 150u);
}

TEST_F(FilesStoreTest, NewLogsAreOpenToTheirUserOnlyWhateverTheMask) {
  for (const mode_t mask : {0u, 0777u}) {
    const mode_t before = umask(mask);
    EXPECT_EQ(OpenToWrite(InFolder("write")), kSuccess);
    EXPECT_EQ(OpenFileToAppend(InFolder("append"), (file = {}).Out()), kSuccess);
    umask(before);
    for (const char* name : {"write", "append"}) {
      EXPECT_EQ(std::filesystem::status(Native(name)).permissions(), perms(0600)) << name;
      EXPECT_EQ(RemoveFile(InFolder(name)), kSuccess);
    }
  }
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
    std::filesystem::remove(Native("third"));
  }
}

TEST_F(FilesStoreTest, WritersWhoseFileSystemHasNoLocksStillAppend) {
  const auto write = [this] {
    OwnedHandle other;
    if (!LetFail(SYS_fcntl, ENOLCK) || OpenToWrite(InFolder("log")) != kSuccess) return 1;
    if (OpenFileToWrite(InFolder("log"), WriteMode::kWrite, other.Out()) != kSuccess) return 2;
    for (const OwnedHandle* writer : {&file, &other, &file}) WriteOnce(writer->Get(), "line\n", 5);
    return 0;
  };
  EXPECT_EQ(RunInChild(write), 0);
  EXPECT_EQ(Content("log"), "line\nline\nline\n");
}

TEST_F(FilesStoreTest, ProcessesThatRunAtOnceGetDistinctTemporaryFiles) {
  const auto make = [this] {
    for (int i = 0; i < 50; ++i)
      if (Draw(machine.WideFolder()) != kSuccess) return 1;
    return 0;
  };
  EXPECT_EQ(RunInChildren(20, make), 0);
  EXPECT_EQ(FindNames(InFolder("lr_*.tmp"), names), kSuccess);
  EXPECT_EQ(names.size(), 20u * 50u);
}

TEST_F(FilesStoreTest, TheCommonFoldersAreTheSystemsOrMadeBelowTheMachineRoot) {
  WideString data;
  WideString programs;
  const auto areBelow = [&](const path& parent) {
    return CommonFolderPath(CommonFolder::kData, data) == kSuccess &&
           CommonFolderPath(CommonFolder::kProgramFiles, programs) == kSuccess &&
           data == WidePathOf(parent / "var/lib") && programs == WidePathOf(parent / "usr/lib");
  };
  for (int round = 0; round < 2; ++round) EXPECT_TRUE(areBelow(root));
  EXPECT_TRUE(std::filesystem::is_empty(root / "var/lib"));
  const auto queryWithout = [&] { return unsetenv("LARDER_ROOT") == 0 && areBelow("/") ? 0 : 1; };
  EXPECT_EQ(RunInChild(queryWithout), 0);
  for (const char* name : {"var/lib", "var", ""}) {
    std::filesystem::remove_all(root / name);
    if (*name != '\0') WriteFile(root / name, "");
    EXPECT_EQ(CommonFolderPath(CommonFolder::kData, data), kPathNotFound) << name;
  }
}

TEST_F(FilesStoreTest, APatternFindsOnlyNamesThatAreWidePathsAndIsMatchedQuickly) {
  for (const char* name : {"good", "bad\xFF", "back\\slash", "\xED\xA0\x80"}) Write(name);
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

TEST_F(FilesStoreTest, AMachineRootHasNoSlashAtItsEndAndAWidePathNoNameThatIsntWide) {
  for (const auto& [value, expected] :
       {std::pair(root.string() + "//", root.string()), {"//", ""}, {"", ""}}) {
    setenv("LARDER_ROOT", value.c_str(), 1);
    EXPECT_EQ(MachineRoot(), expected);
  }
  EXPECT_EQ(WidePath("/a/b\\c", made), kInvalidName);
  EXPECT_EQ(WidePath("/a/\xFF", made), kNoUnicodeTranslation);
}

using ModuleStoreTest = ModuleTest;

TEST_F(ModuleStoreTest, AnImageForAnotherMachineOrWithSegmentsOutsideOfTheFileIsBad) {
  ElfW(Ehdr) good;
  std::memcpy(&good, image.data(), sizeof(good));
  const auto openWith = [&](auto change) {
    auto header = good;
    change(header);
    std::string changed = image;
    std::memcpy(changed.data(), &header, sizeof(header));
    module = {};  // a change of its file would show in it
    Write("module.dll", changed);
    return Open(Native("module.dll"));
  };
  EXPECT_EQ(openWith([](auto&) {}), kSuccess);
  EXPECT_EQ(openWith([](auto& header) { header.e_ident[EI_CLASS] = ELFCLASS32; }), kBadExeFormat);
  EXPECT_EQ(openWith([](auto& header) { header.e_machine = EM_S390; }), kBadExeFormat);
  EXPECT_EQ(openWith([](auto& header) { header.e_type = ET_EXEC; }), kBadExeFormat);
  EXPECT_EQ(openWith([](auto& header) { header.e_phnum = 0; }), kBadExeFormat);
  for (const std::uint64_t offset : {~std::uint64_t{0} - 8, image.size() - sizeof(ElfW(Phdr)) + 1})
    EXPECT_EQ(openWith([&](auto& header) { header.e_phoff = offset; }), kBadExeFormat) << offset;
}

TEST_F(ModuleStoreTest, EveryCutOfTheFileIsACode) {
  bool wasRefused = true;
  for (std::size_t size = 0; size < image.size(); size += 509) {
    // Never a file that is loaded already: the loader maps it, and a change would show.
    const std::string cut = std::to_string(size) + ".dll";
    Write(cut, image.substr(0, size));
    const Code code = Open(Native(cut));
    EXPECT_TRUE(code == kBadExeFormat || code == kSuccess) << size << ": " << code;
    // The loader needs only the front of the file, so once a cut is accepted, all longer ones are.
    EXPECT_TRUE(wasRefused || code == kSuccess) << size;
    wasRefused = code != kSuccess;
  }
}

TEST_F(ModuleStoreTest, TheExportsOfADependencyAreNotTheModules) {
  const std::string dependency = "libplatform-dependency.so";
  std::filesystem::copy_file(FixtureFolder() / "dependent-module.dll", Native("module.dll"));
  std::filesystem::copy_file(FixtureFolder() / "absent" / dependency, Native(dependency));
  ASSERT_EQ(Open(Native("module.dll")), kSuccess);
  EXPECT_EQ(Answer(), 42);
  EXPECT_EQ(FindSymbol(module.Get(), "LarderTestQuestion"), nullptr);
}

TEST_F(ModuleStoreTest, ABareNameIsSearchedByTheSystemAndHasTheSameCodesAsAPath) {
  ASSERT_EQ(mkfifo(Native("fifo.dll").c_str(), 0600), 0);
  const std::pair<std::filesystem::path, Code> cases[] = {
      {machine.Folder(), kAccessDenied},
      {Native("fifo.dll"), kBadExeFormat},
      {FixtureFolder() / "wanting-module.dll", kProcedureNotFound},
      {"wanting-module.dll", kProcedureNotFound},
      {"plain-module.dll", kSuccess},
      {"text-module.dll", kBadExeFormat},
      {"dependent-module.dll", kModuleNotFound}};
  for (const auto& [path, code] : cases) EXPECT_EQ(Open(path), code) << path;
}

TEST(ErrnoCodeTest, NoErrorIsASuccess) {
  for (int error = -1; error < 200; ++error) EXPECT_NE(CodeFromErrno(error), kSuccess) << error;
}

}  // namespace
}  // namespace larder::platform
