#include "platform/file.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/utf.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

class FileTest : public ::testing::Test {
 protected:
  ~FileTest() override { CloseObject(file); }

  Code Open(const WideString& path) {
    CloseObject(file);
    return OpenFileToRead(path, file, kind);
  }
  WideString InFolder(const std::string& name) const {
    WideString wide;
    EXPECT_TRUE(WideFromUtf8(name, wide));
    return machine.WideFolder() + wide;
  }
  void Write(const std::string& name, const std::string& content) const {
    std::ofstream(machine.Folder() / std::filesystem::u8path(name), std::ios::binary) << content;
  }
  std::string ReadAll(std::size_t step) const {
    std::string content;
    std::string buffer(step, '\0');
    std::size_t got = 0;
    while (ReadOn(file, buffer.data(), buffer.size(), got) == kSuccess && got > 0)
      content.append(buffer, 0, got);
    EXPECT_EQ(ReadOn(file, buffer.data(), buffer.size(), got), kSuccess);
    EXPECT_EQ(got, 0u);
    return content;
  }

  TestMachine machine;
  Handle file = InvalidHandle();
  FileKind kind = FileKind::kOther;
};

TEST_F(FileTest, ARegularFileIsReadToItsEnd) {
  std::string content;
  for (int i = 0; i < 10000; ++i) content += static_cast<char>(i * 7);
  Write("gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80.bin", content);
  ASSERT_EQ(Open(InFolder("gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80.bin")), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  EXPECT_EQ(ReadAll(777), content);
}

TEST_F(FileTest, AnEmptyFileIsAtItsEndAtOnce) {
  Write("empty", "");
  ASSERT_EQ(Open(InFolder("empty")), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  EXPECT_EQ(ReadAll(16), "");
}

TEST_F(FileTest, TheInformationTellsSizeTimeAndIdentity) {
  Write("file", "12345");
  Write("other", "12345");
  FileInfo info;
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  ASSERT_EQ(QueryFileInfo(file, info), kSuccess);
  EXPECT_EQ(info.size, 5u);
  FileInfo other;
  ASSERT_EQ(Open(InFolder("other")), kSuccess);
  ASSERT_EQ(QueryFileInfo(file, other), kSuccess);
  EXPECT_EQ(other.volume, info.volume);
  EXPECT_NE(other.index, info.index);
  std::filesystem::rename(machine.Folder() / "file", machine.Folder() / "renamed");
  FileInfo renamed;
  ASSERT_EQ(Open(InFolder("renamed")), kSuccess);
  ASSERT_EQ(QueryFileInfo(file, renamed), kSuccess);
  EXPECT_EQ(renamed.index, info.index);
  EXPECT_EQ(renamed.lastModified, info.lastModified);
}

TEST_F(FileTest, TheTimeOfTheLastChangeCountsFrom1601) {
  Write("file", "");
  const std::filesystem::path path = machine.Folder() / "file";
  FileInfo early;
  FileInfo late;
  const auto time = std::filesystem::last_write_time(path);
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  std::filesystem::last_write_time(path, time);  // in the steps that this call can make
  ASSERT_EQ(QueryFileInfo(file, late), kSuccess);
  std::filesystem::last_write_time(path, time - std::chrono::hours(1));
  ASSERT_EQ(QueryFileInfo(file, early), kSuccess);
  EXPECT_EQ(late.lastModified - early.lastModified, 36'000'000'000u);
  // Between the beginnings of 2020 and of 2200.
  EXPECT_GT(late.lastModified, 132'223'104'000'000'000u);
  EXPECT_LT(late.lastModified, 189'026'784'000'000'000u);
}

TEST_F(FileTest, SettingTheTimeBackIsAChangeToo) {
  Write("file", "");
  const std::filesystem::path path = machine.Folder() / "file";
  FileInfo before;
  FileInfo after;
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  ASSERT_EQ(QueryFileInfo(file, before), kSuccess);
  EXPECT_GE(before.changed + 10'000'000, before.lastModified);  // times have steps of their own
  const auto time = std::filesystem::last_write_time(path);
  std::filesystem::last_write_time(path, time - std::chrono::hours(1));
  ASSERT_EQ(QueryFileInfo(file, after), kSuccess);
  EXPECT_GE(after.changed, before.changed);
  EXPECT_GT(after.changed, after.lastModified);
}

TEST_F(FileTest, ADirectoryIsToldAsOneAndNotOpened) {
  std::filesystem::create_directory(machine.Folder() / "directory");
  EXPECT_EQ(Open(InFolder("directory")), kSuccess);
  EXPECT_EQ(kind, FileKind::kDirectory);
  EXPECT_EQ(file, InvalidHandle());
  EXPECT_EQ(Open(machine.WideFolder()), kSuccess);
  EXPECT_EQ(kind, FileKind::kDirectory);
  EXPECT_EQ(file, InvalidHandle());
}

TEST_F(FileTest, WhatIsNotThereGivesACode) {
  EXPECT_EQ(Open(InFolder("missing")), kFileNotFound);
  EXPECT_EQ(file, InvalidHandle());
  EXPECT_NE(Open(InFolder("missing\\file")), kSuccess);
  EXPECT_NE(Open(WideString()), kSuccess);
  EXPECT_EQ(file, InvalidHandle());
}

TEST_F(FileTest, PathsThatCanNameNothingGiveACode) {
  Write("file", "");
  EXPECT_EQ(Open(InFolder(std::string("file\0s", 6))), kInvalidName);
  EXPECT_NE(Open(InFolder(std::string(5000, 'x'))), kSuccess);
  std::string deep;
  for (int i = 0; i < 2500; ++i) deep += "d\\";
  EXPECT_NE(Open(InFolder(deep + "file")), kSuccess);
  EXPECT_NE(Open(InFolder("\xED\xA0\x80")), kSuccess);
  EXPECT_NE(Open(InFolder("file\\")), kSuccess);
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
    EXPECT_EQ(ReadOn(none, buffer.data(), buffer.size(), got), kInvalidHandle);
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(ReadAt(none, 0, buffer.data(), buffer.size(), got), kInvalidHandle);
    CloseObject(none);
  }
}

TEST_F(FileTest, AnOpenFileCanBeRenamedAndRemovedByOthers) {
  Write("file", "content");
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  std::filesystem::rename(machine.Folder() / "file", machine.Folder() / "renamed");
  EXPECT_TRUE(std::filesystem::remove(machine.Folder() / "renamed"));
  EXPECT_EQ(ReadAll(16), "content");
}

TEST_F(FileTest, ALookTellsWhatAnOpenFileDoes) {
  Write("file", "12345");
  FileInfo seen;
  FileInfo opened;
  ASSERT_EQ(LookAtFile(InFolder("file"), seen, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  ASSERT_EQ(QueryFileInfo(file, opened), kSuccess);
  EXPECT_EQ(seen, opened);
}

TEST_F(FileTest, ALookAtSomethingElseTellsItsKindOrWhyThereIsNone) {
  FileInfo info;
  ASSERT_EQ(LookAtFile(machine.WideFolder(), info, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kDirectory);
  EXPECT_EQ(info, FileInfo{});
  EXPECT_EQ(LookAtFile(InFolder("none"), info, kind), kFileNotFound);
}

TEST_F(FileTest, AChangeIsToldThoughTheTimeIsSetBack) {
  Write("file", "12345");
  FileInfo before;
  FileInfo after;
  const auto path = machine.Folder() / "file";
  // Whole seconds: the runtime may set no others.
  const auto time =
      std::chrono::floor<std::chrono::seconds>(std::filesystem::last_write_time(path));
  std::filesystem::last_write_time(path, time);
  ASSERT_EQ(LookAtFile(InFolder("file"), before, kind), kSuccess);
  // The file system's clock may stand still for some time.
  for (after = before; after.changed == before.changed;) {
    Write("file", "54321");
    std::filesystem::last_write_time(path, time);
    ASSERT_EQ(LookAtFile(InFolder("file"), after, kind), kSuccess);
  }
  EXPECT_EQ(after.lastModified, before.lastModified);
  EXPECT_GT(after.changed, before.changed);
}

TEST_F(FileTest, TheClockIsThatOfTheFilesTimes) {
  FileInfo info;
  const std::uint64_t before = CurrentFileTime();
  Write("file", "12345");
  ASSERT_EQ(LookAtFile(InFolder("file"), info, kind), kSuccess);
  const std::uint64_t step = FileTimeStep(InFolder("file"));
  EXPECT_GE(step, 100'000u);
  EXPECT_LE(step, 20'000'000u);
  EXPECT_LE(before, info.lastModified + step);
  EXPECT_LE(info.lastModified, CurrentFileTime());
}

}  // namespace
}  // namespace larder::platform
