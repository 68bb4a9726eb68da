#include "platform/log-file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>

#include "platform/module-files.h"
#include "platform/utf.h"
#include "platform/wide-text.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

using std::filesystem::path;

class LogFileTest : public ::testing::Test {
 protected:
  ~LogFileTest() override { CloseObject(file); }

  WideString InFolder(const std::string& name) const { return machine.WideFolder() + Wide(name); }
  path Native(const std::string& name) const {
    return machine.Folder() / std::filesystem::u8path(name);
  }
  bool Open(const std::string& name, WriteMode mode = WriteMode::kWrite) {
    CloseObject(file);
    file = OpenFileToWrite(InFolder(name), mode);
    return file != InvalidHandle();
  }
  Code Append(const std::string& text) const {
    std::uint64_t size = 0;
    const Code code = SeekToEnd(file, size);
    if (code != kSuccess) return code;
    return WriteOnce(file, text.data(), static_cast<std::uint32_t>(text.size()));
  }
  std::uint64_t SizeAtEnd() const {
    std::uint64_t size = 99;
    EXPECT_EQ(SeekToEnd(file, size), kSuccess);
    return size;
  }

  TestMachine machine;
  Handle file = InvalidHandle();
};

TEST_F(LogFileTest, AFileIsMadeAndGrowsAtItsEndInBothModes) {
  const std::string name = "gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80.log";
  ASSERT_TRUE(Open(name, WriteMode::kReadWrite));
  EXPECT_EQ(SizeAtEnd(), 0u);
  EXPECT_EQ(Append("first\n"), kSuccess);
  EXPECT_EQ(SizeAtEnd(), 6u);
  ASSERT_TRUE(Open(name, WriteMode::kWrite));
  EXPECT_EQ(SizeAtEnd(), 6u);
  EXPECT_EQ(Append("second\n"), kSuccess);
  ASSERT_TRUE(Open(name, WriteMode::kReadWrite));
  EXPECT_EQ(Append(std::string("th\0rd\n", 6)), kSuccess);
  EXPECT_EQ(SizeAtEnd(), 19u);
  CloseObject(file);
  file = InvalidHandle();
  EXPECT_EQ(FileContent(Native(name)), std::string("first\nsecond\nth\0rd\n", 19));
}

TEST_F(LogFileTest, OthersReadItWhileItGrows) {
  ASSERT_TRUE(Open("file.log"));
  EXPECT_EQ(Append("first"), kSuccess);
  EXPECT_EQ(FileContent(Native("file.log")), "first");
  EXPECT_EQ(Append(" and second"), kSuccess);
  EXPECT_EQ(FileContent(Native("file.log")), "first and second");
}

TEST_F(LogFileTest, TheEndIsWhereItIsNow) {
  ASSERT_TRUE(Open("file.log"));
  EXPECT_EQ(Append(std::string(100, 'x')), kSuccess);
  const Handle first = std::exchange(file, InvalidHandle());
  CloseObject(first);
  WriteFile(Native("file.log"), "short");
  ASSERT_TRUE(Open("file.log"));
  EXPECT_EQ(SizeAtEnd(), 5u);
}

TEST_F(LogFileTest, WhatIsNoFileIsNotOpened) {
  std::filesystem::create_directory(Native("directory"));
  for (const WriteMode mode : {WriteMode::kWrite, WriteMode::kReadWrite}) {
    EXPECT_FALSE(Open("directory", mode));
    EXPECT_FALSE(Open("missing\\file.log", mode));
    EXPECT_FALSE(Open("", mode));
    EXPECT_FALSE(Open(std::string("a\0b", 3), mode));
  }
  EXPECT_EQ(OpenFileToWrite(WideString(), WriteMode::kWrite), InvalidHandle());
  EXPECT_FALSE(std::filesystem::exists(Native("a")));
}

TEST_F(LogFileTest, ANoHandleIsRefused) {
  std::uint64_t size = 7;
  for (const Handle none : {Handle{nullptr}, InvalidHandle()}) {
    EXPECT_EQ(SeekToEnd(none, size), kInvalidHandle);
    EXPECT_EQ(WriteOnce(none, "x", 1), kInvalidHandle);
  }
  EXPECT_EQ(size, 7u);
}

TEST_F(LogFileTest, AFileIsRemoved) {
  WriteFile(Native("file.log"), "content");
  EXPECT_EQ(RemoveFile(InFolder("file.log")), kSuccess);
  EXPECT_FALSE(std::filesystem::exists(Native("file.log")));
  EXPECT_EQ(RemoveFile(InFolder("file.log")), kFileNotFound);
  std::filesystem::create_directory(Native("directory"));
  EXPECT_EQ(RemoveFile(InFolder("directory")), kAccessDenied);
  EXPECT_TRUE(std::filesystem::exists(Native("directory")));
  EXPECT_EQ(RemoveFile(InFolder(std::string("a\0b", 3))), kInvalidName);
}

TEST_F(LogFileTest, RenamingMovesAFileAndNeverReplacesOne) {
  WriteFile(Native("first"), "first");
  WriteFile(Native("second"), "second");
  EXPECT_EQ(RenameFile(InFolder("first"), InFolder("second")), kAlreadyExists);
  EXPECT_EQ(FileContent(Native("first")), "first");
  EXPECT_EQ(FileContent(Native("second")), "second");
  EXPECT_EQ(RenameFile(InFolder("first"), InFolder("third")), kSuccess);
  EXPECT_FALSE(std::filesystem::exists(Native("first")));
  EXPECT_EQ(FileContent(Native("third")), "first");
  EXPECT_EQ(RenameFile(InFolder("first"), InFolder("fourth")), kFileNotFound);
  EXPECT_EQ(RenameFile(InFolder(std::string("a\0b", 3)), InFolder("x")), kInvalidName);
  EXPECT_EQ(RenameFile(InFolder("third"), InFolder(std::string("a\0b", 3))), kInvalidName);
}

TEST_F(LogFileTest, ATemporaryFileIsEmptyAndNamedByPrefixAndNumber) {
  WideString made;
  WideString folder = machine.WideFolder();
  ASSERT_EQ(MakeTemporaryFile(folder, Wide("lr_prefix"), made), kSuccess);
  folder.pop_back();
  WideString second;
  ASSERT_EQ(MakeTemporaryFile(folder, Wide("lr_"), second), kSuccess);
  EXPECT_NE(made, second);
  for (const WideString& whole : {made, second}) {
    ASSERT_EQ(WideView(whole).substr(0, folder.size() + 1), machine.WideFolder());
    const std::string name = Utf8FromWide(WideView(whole).substr(folder.size() + 1));
    EXPECT_TRUE(std::filesystem::is_regular_file(Native(name)));
    EXPECT_EQ(std::filesystem::file_size(Native(name)), 0u);
    EXPECT_THAT(name, ::testing::StartsWith("lr_"));
    EXPECT_THAT(name, ::testing::EndsWith(".tmp"));
    const std::string number = name.substr(3, name.size() - 7);
    EXPECT_GE(number.size(), 1u) << name;
    EXPECT_LE(number.size(), 4u) << name;
    EXPECT_EQ(number.find_first_not_of("0123456789ABCDEFabcdef"), std::string::npos) << name;
  }
}

TEST_F(LogFileTest, TemporaryFilesAreDistinct) {
  std::set<WideString> names;
  for (int i = 0; i < 100; ++i) {
    WideString made;
    ASSERT_EQ(MakeTemporaryFile(machine.WideFolder(), Wide("x"), made), kSuccess);
    EXPECT_TRUE(names.insert(made).second);
  }
}

TEST_F(LogFileTest, WithoutADirectoryThereIsNoTemporaryFile) {
  const WideString before = Wide("before");
  WideString made = before;
  EXPECT_EQ(MakeTemporaryFile(InFolder("missing"), Wide("lr_"), made), kInvalidDirectory);
  EXPECT_EQ(MakeTemporaryFile(InFolder("missing\\"), Wide("lr_"), made), kInvalidDirectory);
  EXPECT_EQ(MakeTemporaryFile(WideString(), Wide("lr_"), made), kInvalidDirectory);
  EXPECT_EQ(MakeTemporaryFile(InFolder(std::string("\0x", 2)), Wide("lr_"), made), kInvalidName);
  WriteFile(Native("file"), "");
  EXPECT_EQ(MakeTemporaryFile(InFolder("file"), Wide("lr_"), made), kInvalidDirectory);
  EXPECT_EQ(made, before);
}

}  // namespace
}  // namespace larder::platform
