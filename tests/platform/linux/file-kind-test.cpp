#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>

#include "platform/file-fixture.h"
#include "platform/linux/child-process.h"
#include "platform/linux/open-descriptors.h"
#include "platform/path.h"

namespace larder::platform {
namespace {

using FileKindTest = FileTest;

TEST_F(FileKindTest, SpecialFilesAreToldAndNotOpened) {
  ASSERT_EQ(mkfifo(Native("fifo").c_str(), 0600), 0);
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
}

TEST_F(FileKindTest, NamesLeadToFilesAsTheSystemHasThem) {
  Write("file", "content");
  Write("\xED\xA0\x80", "content");
  std::filesystem::create_symlink("file", Native("link"));
  std::filesystem::create_symlink("missing", Native("dead"));
  std::filesystem::create_symlink("round", Native("round"));
  for (const char* name : {"link", "\xED\xA0\x80"}) {
    EXPECT_EQ(Open(InFolder(name)), kSuccess);
    EXPECT_EQ(kind, FileKind::kRegular);
    EXPECT_NE(file, InvalidHandle());
  }
  EXPECT_EQ(Open(InFolder("dead")), kFileNotFound);
  EXPECT_EQ(Open(InFolder("round")), kCannotResolveName);
  EXPECT_EQ(Open(InFolder(std::string(256, 'x'))), kNameTooLong);
  EXPECT_EQ(FoldCase(u"\\A\\b\u00FC"), u"\\A\\b\u00FC");
}

TEST_F(FileKindTest, AnOpenFileIsNotInheritedAndClosingItGivesItsDescriptorBack) {
  const std::set<int> before = OpenDescriptors();
  Write("file", "content");
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  const std::set<int> opened = OpenedSince(before);
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_FALSE(IsInherited(*opened.begin()));
  CloseObject(file);
  file = InvalidHandle();
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(FileKindTest, AFileThatMayNotBeReadIsDeniedButTold) {
  Write("secret", "content");
  std::filesystem::permissions(Native("secret"), std::filesystem::perms::none);
  const auto open = [this] {
    FileInfo info;
    if (QueryPathInfo(InFolder("secret"), info, kind) != kSuccess || info.size != 7) return 1;
    return Open(InFolder("secret")) == kAccessDenied && file == InvalidHandle() ? 0 : 2;
  };
  EXPECT_EQ(RunAsNobody(open), 0);
}

TEST_F(FileKindTest, TimesOfAllAgesAreCountedFrom1601) {
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

}  // namespace
}  // namespace larder::platform
