#include "platform/file.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <string>

#include "platform/file-fixture.h"
#include "platform/file-time.h"

namespace larder::platform {
namespace {

using std::filesystem::last_write_time;

TEST_F(FileTest, ARegularFileIsReadToItsEnd) {
  std::string content;
  for (int i = 0; i < 10000; ++i) content += static_cast<char>(i * 7);
  for (const std::string& whole : {content, std::string()}) {
    Write("gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80.bin", whole);
    ASSERT_EQ(Open(InFolder("gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80.bin")), kSuccess);
    EXPECT_EQ(kind, FileKind::kRegular);
    std::string read;
    std::string buffer(777, '\0');
    std::size_t got = 0;
    while (ReadNext(file, buffer.data(), buffer.size(), got) == kSuccess && got > 0)
      read.append(buffer, 0, got);
    EXPECT_EQ(ReadNext(file, buffer.data(), buffer.size(), got), kSuccess);
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(read, whole);
  }
}

TEST_F(FileTest, TheInformationTellsSizeAndIdentity) {
  Write("file", "12345");
  Write("other", "12345");
  ASSERT_EQ(Open(InFolder("other")), kSuccess);
  const FileInfo other = Info();
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  const FileInfo info = Info();
  EXPECT_EQ(info.size, 5u);
  EXPECT_EQ(other.volume, info.volume);
  EXPECT_NE(other.index, info.index);
  std::filesystem::rename(Native("file"), Native("renamed"));
  ASSERT_EQ(Open(InFolder("renamed")), kSuccess);
  EXPECT_EQ(Info().index, info.index);
  FileInfo seen;
  ASSERT_EQ(QueryPathInfo(InFolder("renamed"), seen, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  EXPECT_EQ(seen, Info());
}

TEST_F(FileTest, TimesAreCountedInHundredsOfNanosecondsAndAChangeIsToldThoughTheTimeIsSetBack) {
  Write("file");
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  const auto time = last_write_time(Native("file"));
  last_write_time(Native("file"), time);  // in the steps that this call can make
  const FileInfo late = Info();
  EXPECT_GE(late.changed + 10'000'000, late.lastModified);  // times have steps of their own
  last_write_time(Native("file"), time - std::chrono::hours(1));
  const FileInfo early = Info();
  EXPECT_EQ(late.lastModified - early.lastModified, 36'000'000'000u);
  EXPECT_GE(early.changed, late.changed);
  EXPECT_GT(early.changed, early.lastModified);
  // Between the beginnings of 2020 and of 2200.
  EXPECT_GT(late.lastModified, 132'223'104'000'000'000u);
  EXPECT_LT(late.lastModified, 189'026'784'000'000'000u);
}

TEST_F(FileTest, ADirectoryIsToldAsOneAndNotOpened) {
  FileInfo info;
  for (const WideString& path : {machine.WideFolder(), WidePathOf(machine.Folder())}) {
    ExpectNotOpened(path, FileKind::kDirectory);
    kind = FileKind::kRegular;
    ASSERT_EQ(QueryPathInfo(path, info, kind), kSuccess);
    EXPECT_EQ(kind, FileKind::kDirectory);
    EXPECT_EQ(info, FileInfo{});
  }
}

TEST_F(FileTest, WhatIsNotThereOrCantBeGivesACode) {
  Write("file");
  FileInfo info;
  EXPECT_EQ(Open(InFolder("missing")), kFileNotFound);
  EXPECT_EQ(QueryPathInfo(InFolder("missing"), info, kind), kFileNotFound);
  EXPECT_EQ(Open(InFolder(std::string("file\0s", 6))), kInvalidName);
  EXPECT_NE(Open(WideString()), kSuccess);
  std::string deep;
  for (int i = 0; i < 2500; ++i) deep += "d\\";
  for (const std::string& name :
       {std::string("missing\\file"), std::string(5000, 'x'), deep + "file",
        std::string("\xED\xA0\x80"), std::string("file\\")})
    EXPECT_NE(Open(InFolder(name)), kSuccess) << name;
  EXPECT_EQ(file, InvalidHandle());
}

TEST_F(FileTest, BytesAreReadAtAnyOffset) {
  Write("file", "0123456789");
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  const struct {
    std::uint64_t offset;
    const char* expected;
  } cases[] = {{6, "6789"}, {0, "0123"}, {8, "89"}, {10, ""}, {11, ""}, {1ull << 40, ""}};
  for (const auto& c : cases) {
    std::string buffer(4, '\0');
    std::size_t got = 99;
    EXPECT_EQ(ReadAt(file, c.offset, buffer.data(), buffer.size(), got), kSuccess) << c.offset;
    EXPECT_EQ(buffer.substr(0, got), c.expected) << c.offset;
  }
}

TEST_F(FileTest, ANoHandleIsRefused) {
  FileInfo info;
  std::array<char, 4> buffer;
  std::size_t got = 1;
  for (const Handle none : {InvalidHandle(), Handle{nullptr}}) {
    EXPECT_EQ(QueryFileInfo(none, info), kInvalidHandle);
    EXPECT_EQ(ReadNext(none, buffer.data(), buffer.size(), got), kInvalidHandle);
    EXPECT_EQ(got, 1u);
    EXPECT_EQ(ReadAt(none, 0, buffer.data(), buffer.size(), got), kInvalidHandle);
  }
}

TEST_F(FileTest, AnOpenFileCanBeRenamedAndRemovedByOthers) {
  Write("file", "content");
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  std::filesystem::rename(Native("file"), Native("renamed"));
  EXPECT_TRUE(std::filesystem::remove(Native("renamed")));
  std::array<char, 7> buffer;
  std::size_t got = 0;
  EXPECT_EQ(ReadAt(file, 0, buffer.data(), buffer.size(), got), kSuccess);
  EXPECT_EQ(got, buffer.size());
}

TEST_F(FileTest, TheClockIsThatOfTheFilesTimes) {
  FileInfo info;
  const std::uint64_t before = CurrentFileTime();
  Write("file", "12345");
  ASSERT_EQ(QueryPathInfo(InFolder("file"), info, kind), kSuccess);
  const std::uint64_t step = FileTimeGranularity(InFolder("file"));
  EXPECT_GE(step, 100'000u);
  EXPECT_LE(step, 20'000'000u);
  EXPECT_LE(before, info.lastModified + step);
  EXPECT_LE(info.lastModified, CurrentFileTime());
}

}  // namespace
}  // namespace larder::platform
