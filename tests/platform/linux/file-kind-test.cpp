#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/file.h"
#include "platform/linux/child-process.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

class FileKindTest : public ::testing::Test {
 protected:
  ~FileKindTest() override { CloseObject(file); }

  Code Open(const WideString& path) {
    CloseObject(file);
    return OpenFileToRead(path, file, kind);
  }

  TestMachine machine;
  Handle file = InvalidHandle();
  FileKind kind = FileKind::kRegular;
};

TEST_F(FileKindTest, AFifoWithoutAWriterIsToldAtOnceAndNotOpened) {
  const std::filesystem::path fifo = machine.Folder() / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_GE(inotify_add_watch(watch, fifo.c_str(), IN_OPEN), 0);
  EXPECT_EQ(Open(machine.WideFolder() + u"fifo"), kSuccess);
  EXPECT_EQ(kind, FileKind::kOther);
  EXPECT_EQ(file, InvalidHandle());
  inotify_event event;
  EXPECT_EQ(read(watch, &event, sizeof(event)), -1);
  EXPECT_EQ(errno, EAGAIN);
  close(watch);
}

TEST_F(FileKindTest, ADeviceIsToldAndNotOpened) {
  for (const char16_t* path : {u"\\dev\\zero", u"\\dev\\null"}) {
    kind = FileKind::kRegular;
    EXPECT_EQ(Open(path), kSuccess);
    EXPECT_EQ(kind, FileKind::kOther);
    EXPECT_EQ(file, InvalidHandle());
  }
}

TEST_F(FileKindTest, ASymbolicLinkStandsForWhatItLeadsTo) {
  std::ofstream(machine.Folder() / "file") << "content";
  std::filesystem::create_symlink("file", machine.Folder() / "link");
  std::filesystem::create_symlink("missing", machine.Folder() / "dead");
  std::filesystem::create_symlink("round", machine.Folder() / "round");
  EXPECT_EQ(Open(machine.WideFolder() + u"link"), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  EXPECT_NE(file, InvalidHandle());
  EXPECT_EQ(Open(machine.WideFolder() + u"dead"), kFileNotFound);
  EXPECT_EQ(Open(machine.WideFolder() + u"round"), kCannotResolveName);
}

TEST_F(FileKindTest, AnOpenFileIsNotInheritedAndClosingItGivesItsDescriptorBack) {
  const int next = dup(0);
  close(next);
  std::ofstream(machine.Folder() / "file") << "content";
  ASSERT_EQ(Open(machine.WideFolder() + u"file"), kSuccess);
  EXPECT_NE(fcntl(next, F_GETFD) & FD_CLOEXEC, 0);
  CloseObject(file);
  file = InvalidHandle();
  EXPECT_EQ(fcntl(next, F_GETFD), -1);
}

TEST_F(FileKindTest, PathsThatAreTooLongSayIt) {
  EXPECT_EQ(Open(machine.WideFolder() + WideString(256, u'x')), kNameTooLong);
  EXPECT_EQ(Open(u"\\" + WideString(5000, u'x')), kNameTooLong);
  EXPECT_EQ(Open(machine.WideFolder() + WideString(200, u'x')), kFileNotFound);
}

TEST_F(FileKindTest, AFileCanBeNamedByALoneSurrogate) {
  std::ofstream(machine.Folder() / "\xED\xA0\x80") << "content";
  EXPECT_EQ(Open(machine.WideFolder() + WideString(1, 0xD800)), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
}

TEST_F(FileKindTest, AFileThatMayNotBeReadIsDenied) {
  std::ofstream(machine.Folder() / "secret") << "content";
  std::filesystem::permissions(machine.Folder() / "secret", std::filesystem::perms::none);
  const auto open = [this] {
    return static_cast<int>(Open(machine.WideFolder() + u"secret")) + (file != InvalidHandle());
  };
  EXPECT_EQ(RunAsNobody(open), static_cast<int>(kAccessDenied));
}

TEST_F(FileKindTest, TimesOfAllAgesAreCountedFrom1601) {
  const std::filesystem::path path = machine.Folder() / "file";
  std::ofstream(path) << "content";
  ASSERT_EQ(Open(machine.WideFolder() + u"file"), kSuccess);
  const auto timeOf = [&](std::int64_t seconds, std::int64_t microseconds) {
    const timeval times[2] = {{seconds, microseconds}, {seconds, microseconds}};
    EXPECT_EQ(utimes(path.c_str(), times), 0);
    FileInfo info;
    EXPECT_EQ(QueryFileInfo(file, info), kSuccess);
    return info.lastModified;
  };
  EXPECT_EQ(timeOf(0, 0), 116'444'736'000'000'000u);
  EXPECT_EQ(timeOf(-1, 999'999), 116'444'735'999'999'990u);
  EXPECT_EQ(timeOf(1'000'000'000, 123'456), 126'444'736'001'234'560u);
}

TEST_F(FileKindTest, CaseTellsFilesApart) { EXPECT_EQ(FoldCase(u"\\A\\b\u00FC"), u"\\A\\b\u00FC"); }

TEST_F(FileKindTest, ALookNeitherOpensAFifoNorNeedsTheRightToRead) {
  FileInfo info;
  ASSERT_EQ(mkfifo((machine.Folder() / "fifo").c_str(), 0), 0);
  EXPECT_EQ(LookAtFile(machine.WideFolder() + u"fifo", info, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kOther);
}

}  // namespace
}  // namespace larder::platform
