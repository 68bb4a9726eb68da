#include "platform/log-file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/file.h"
#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

class LogFileTest : public MachineTest {
 protected:
  ~LogFileTest() override { CloseObject(file); }

  bool Open(const std::string& name, WriteMode mode = WriteMode::kWrite) {
    CloseObject(file);
    const Code code = OpenFileToWrite(InFolder(name), mode, file);
    EXPECT_EQ(code == kSuccess, file != InvalidHandle());
    return code == kSuccess;
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

  const std::string cut = std::string("a\0b", 3);
  Handle file = InvalidHandle();
};

TEST_F(LogFileTest, AFileIsMadeAndGrowsAtItsEndInBothModesWhileOthersReadIt) {
  const std::string name = "gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80.log";
  ASSERT_TRUE(Open(name, WriteMode::kReadWrite));
  EXPECT_EQ(SizeAtEnd(), 0u);
  EXPECT_EQ(Append("first\n"), kSuccess);
  EXPECT_EQ(SizeAtEnd(), 6u);
  EXPECT_EQ(Content(name), "first\n");
  ASSERT_TRUE(Open(name, WriteMode::kWrite));
  EXPECT_EQ(SizeAtEnd(), 6u);
  EXPECT_EQ(Append("second\n"), kSuccess);
  ASSERT_TRUE(Open(name, WriteMode::kReadWrite));
  EXPECT_EQ(Append(std::string("th\0rd\n", 6)), kSuccess);
  EXPECT_EQ(SizeAtEnd(), 19u);
  EXPECT_EQ(Content(name), std::string("first\nsecond\nth\0rd\n", 19));
}

TEST_F(LogFileTest, WhatIsNoFileIsNotOpened) {
  std::filesystem::create_directory(Native("directory"));
  for (const WriteMode mode : {WriteMode::kWrite, WriteMode::kReadWrite}) {
    for (const char* name : {"directory", "missing\\file.log", ""})
      EXPECT_FALSE(Open(name, mode)) << name;
    EXPECT_FALSE(Open(cut, mode));
  }
  EXPECT_NE(OpenFileToWrite(WideString(), WriteMode::kWrite, file), kSuccess);
  EXPECT_FALSE(Exists("a"));
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
  Write("file.log", "content");
  EXPECT_EQ(RemoveFile(InFolder("file.log")), kSuccess);
  EXPECT_FALSE(Exists("file.log"));
  EXPECT_EQ(RemoveFile(InFolder("file.log")), kFileNotFound);
  std::filesystem::create_directory(Native("directory"));
  EXPECT_EQ(RemoveFile(InFolder("directory")), kAccessDenied);
  EXPECT_TRUE(Exists("directory"));
  EXPECT_EQ(RemoveFile(InFolder(cut)), kInvalidName);
}

TEST_F(LogFileTest, RenamingMovesAFileAndNeverReplacesOne) {
  Write("first", "first");
  Write("second", "second");
  EXPECT_EQ(RenameFile(InFolder("first"), InFolder("second")), kAlreadyExists);
  EXPECT_EQ(Content("first"), "first");
  EXPECT_EQ(Content("second"), "second");
  EXPECT_EQ(RenameFile(InFolder("first"), InFolder("third")), kSuccess);
  EXPECT_FALSE(Exists("first"));
  EXPECT_EQ(Content("third"), "first");
  EXPECT_EQ(RenameFile(InFolder("first"), InFolder("fourth")), kFileNotFound);
  EXPECT_EQ(RenameFile(InFolder(cut), InFolder("x")), kInvalidName);
  EXPECT_EQ(RenameFile(InFolder("third"), InFolder(cut)), kInvalidName);
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

TEST_F(LogFileTest, WithoutADirectoryThereIsNoTemporaryFile) {
  const WideString before = Wide("before");
  WideString made = before;
  Write("file");
  for (const WideString& folder :
       {InFolder("missing"), InFolder("missing\\"), InFolder("file"), WideString()})
    EXPECT_EQ(MakeTemporaryFile(folder, Wide("lr_"), made), kInvalidDirectory);
  EXPECT_EQ(MakeTemporaryFile(InFolder(cut), Wide("lr_"), made), kInvalidName);
  EXPECT_EQ(made, before);
}

}  // namespace
}  // namespace larder::platform
