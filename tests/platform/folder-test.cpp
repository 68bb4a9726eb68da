#include "platform/folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/console.h"
#include "platform/module-files.h"
#include "platform/utf.h"
#include "platform/wide-text.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

using ::testing::Contains;
using ::testing::UnorderedElementsAre;

class FolderTest : public ::testing::Test {
 protected:
  WideString InFolder(const std::string& name) const { return machine.WideFolder() + Wide(name); }
  std::filesystem::path Native(const std::string& name) const {
    return machine.Folder() / std::filesystem::u8path(name);
  }
  std::vector<std::string> Find(const std::string& pattern) const {
    std::vector<WideString> wide;
    EXPECT_EQ(FindNames(InFolder(pattern), wide), kSuccess) << pattern;
    std::vector<std::string> names;
    for (const WideString& name : wide) names.push_back(Utf8FromWide(name));
    return names;
  }
  Code CodeOfFind(const std::string& pattern) const {
    std::vector<WideString> names = {Wide("before")};
    const Code code = FindNames(InFolder(pattern), names);
    EXPECT_EQ(names, std::vector<WideString>{Wide("before")});
    return code;
  }
  bool IsDirectory(const WideString& path) const {
    std::uint32_t attributes = 0;
    EXPECT_EQ(PathAttributes(path, attributes), kSuccess);
    return (attributes & kAttributeDirectory) != 0;
  }

  // As DeleteTree wants it, with two NULs behind it.
  int Delete(const std::string& name) const {
    return DeleteTree(InFolder(name).append(2, LarderWideChar()).data());
  }

  TestMachine machine;
};

TEST_F(FolderTest, TheCommonFoldersAreThere) {
  WideString data;
  WideString programs;
  ASSERT_EQ(CommonFolderPath(CommonFolder::kData, data), kSuccess);
  ASSERT_EQ(CommonFolderPath(CommonFolder::kProgramFiles, programs), kSuccess);
  EXPECT_NE(data, programs);
  for (const WideString& path : {data, programs}) {
    EXPECT_NE(path.back(), LarderWideChar{'\\'});
    EXPECT_TRUE(IsDirectory(path));
    WideString again;
    EXPECT_EQ(
        CommonFolderPath(path == data ? CommonFolder::kData : CommonFolder::kProgramFiles, again),
        kSuccess);
    EXPECT_EQ(again, path);
  }
}

TEST_F(FolderTest, AttributesTellDirectoriesFromFiles) {
  WriteFile(Native("file"), "content");
  std::filesystem::create_directories(Native("directory/inner"));
  EXPECT_FALSE(IsDirectory(InFolder("file")));
  EXPECT_TRUE(IsDirectory(InFolder("directory")));
  EXPECT_TRUE(IsDirectory(InFolder("directory\\")));
  EXPECT_TRUE(IsDirectory(InFolder("directory\\inner\\\\")));
  EXPECT_TRUE(IsDirectory(InFolder("directory\\\\inner")));
  std::uint32_t attributes = 7;
  EXPECT_EQ(PathAttributes(InFolder("missing"), attributes), kFileNotFound);
  EXPECT_NE(PathAttributes(InFolder("missing\\file"), attributes), kSuccess);
  EXPECT_NE(PathAttributes(InFolder("file\\inner"), attributes), kSuccess);
  EXPECT_NE(PathAttributes(WideString(), attributes), kSuccess);
  EXPECT_EQ(PathAttributes(InFolder(std::string("file\0s", 6)), attributes), kInvalidName);
  EXPECT_EQ(attributes, 7u);
}

TEST_F(FolderTest, OneLevelIsMade) {
  EXPECT_EQ(MakeFolder(InFolder("gr\xC3\xBC\xC3\x9F")), kSuccess);
  EXPECT_TRUE(std::filesystem::is_directory(Native("gr\xC3\xBC\xC3\x9F")));
  EXPECT_EQ(MakeFolder(InFolder("gr\xC3\xBC\xC3\x9F\\trailing\\")), kSuccess);
  EXPECT_EQ(MakeFolder(InFolder("gr\xC3\xBC\xC3\x9F\\trailing\\doubled\\\\")), kSuccess);
  EXPECT_TRUE(std::filesystem::is_directory(Native("gr\xC3\xBC\xC3\x9F/trailing/doubled")));
}

TEST_F(FolderTest, AFolderIsRemovedOnceItIsEmpty) {
  const WideString path = machine.WideFolder() + LARDER_WIDE("new");
  ASSERT_EQ(MakeFolder(path), kSuccess);
  ASSERT_EQ(MakeFolder(path + LARDER_WIDE("\\inner")), kSuccess);
  EXPECT_EQ(RemoveFolder(path), kDirectoryNotEmpty);
  EXPECT_EQ(RemoveFolder(path + LARDER_WIDE("\\inner")), kSuccess);
  EXPECT_EQ(RemoveFolder(path), kSuccess);
  EXPECT_EQ(RemoveFolder(path), kFileNotFound);
}

TEST_F(FolderTest, AFolderThatCannotBeMadeGivesACode) {
  WriteFile(Native("file"), "content");
  EXPECT_EQ(MakeFolder(machine.WideFolder()), kAlreadyExists);
  EXPECT_EQ(MakeFolder(InFolder("file")), kAlreadyExists);
  EXPECT_EQ(MakeFolder(InFolder("missing\\folder")), kPathNotFound);
  EXPECT_EQ(MakeFolder(InFolder("file\\folder")), kPathNotFound);
  EXPECT_EQ(MakeFolder(WideString()), kPathNotFound);
  EXPECT_EQ(MakeFolder(InFolder(std::string("a\0b", 3))), kInvalidName);
  EXPECT_FALSE(std::filesystem::exists(Native("a")));
}

TEST_F(FolderTest, NamesAreFoundByPattern) {
  for (const char* name : {"feedf1.log", "FEEDF22.LOG", "feedf.txt", "feed.log", "feedf.log.1"})
    WriteFile(Native(name), "");
  std::filesystem::create_directory(Native("feedfold.log"));
  EXPECT_THAT(Find("feedf*.log"),
              UnorderedElementsAre("feedf1.log", "FEEDF22.LOG", "feedfold.log"));
  EXPECT_THAT(Find("feedf?.log"), UnorderedElementsAre("feedf1.log"));
  EXPECT_THAT(Find("FEEDF??.*"), UnorderedElementsAre("FEEDF22.LOG"));
  EXPECT_THAT(Find("feed.log"), UnorderedElementsAre("feed.log"));
  EXPECT_THAT(Find("Feed.Log"), UnorderedElementsAre("feed.log"));
  EXPECT_THAT(Find("*d*.l*g"),
              UnorderedElementsAre("feedf1.log", "FEEDF22.LOG", "feed.log", "feedfold.log"));
  EXPECT_THAT(Find("*.1"), UnorderedElementsAre("feedf.log.1"));
}

TEST_F(FolderTest, LettersBeyondAsciiHaveNoCaseEither) {
  WriteFile(Native("gr\xC3\x9Cn.log"), "");
  EXPECT_THAT(Find("GR\xC3\xBCN.*"), UnorderedElementsAre("gr\xC3\x9Cn.log"));
  EXPECT_THAT(Find("gr?n.log"), UnorderedElementsAre("gr\xC3\x9Cn.log"));
}

TEST_F(FolderTest, TheSystemsOwnEntriesAreAmongTheNames) {
  WriteFile(Native("file"), "");
  EXPECT_THAT(Find("*"), UnorderedElementsAre(".", "..", "file"));
}

TEST_F(FolderTest, WhatIsNotFoundGivesACode) {
  WriteFile(Native("file"), "");
  EXPECT_EQ(CodeOfFind("missing*"), kFileNotFound);
  EXPECT_EQ(CodeOfFind("fil"), kFileNotFound);
  EXPECT_EQ(CodeOfFind("file?x"), kFileNotFound);
  EXPECT_EQ(CodeOfFind(""), kFileNotFound);
  EXPECT_EQ(CodeOfFind("missing\\*"), kPathNotFound);
  EXPECT_NE(CodeOfFind("file\\*"), kSuccess);
  EXPECT_EQ(CodeOfFind(std::string("*\0", 2)), kInvalidName);
}

TEST_F(FolderTest, AFolderIsListedWithTheKindsAndSizesOfItsEntries) {
  WriteFile(Native("file"), "content");
  WriteFile(Native("gr\xC3\xBC\xC3\x9F"), "");
  std::filesystem::create_directories(Native("directory/inner"));
  for (const std::string& path :
       {PathText(machine.WideFolder()), PathText(InFolder("directory/.."))}) {
    std::vector<FolderEntry> entries = {{"before", EntryKind::kOther, 1}};
    ASSERT_EQ(ListFolder(path, entries), kSuccess);
    std::vector<std::string> texts;
    for (const FolderEntry& entry : entries) {
      texts.push_back(entry.name + (entry.kind == EntryKind::kFolder    ? " folder"
                                    : entry.kind == EntryKind::kRegular ? " file "
                                                                        : " ?"));
      if (entry.kind == EntryKind::kRegular) texts.back() += std::to_string(entry.size);
    }
    EXPECT_THAT(texts, UnorderedElementsAre("file file 7", "gr\xC3\xBC\xC3\x9F file 0",
                                            "directory folder"));
  }
}

TEST_F(FolderTest, WhatIsNoFolderIsNotListed) {
  WriteFile(Native("file"), "");
  for (const char* name : {"missing", "file", "missing/inner"}) {
    std::vector<FolderEntry> entries(1);
    EXPECT_NE(ListFolder(PathText(InFolder(name)), entries), kSuccess) << name;
    EXPECT_EQ(entries.size(), 1u) << name;
  }
  std::vector<FolderEntry> entries;
  EXPECT_NE(ListFolder("", entries), kSuccess);
  EXPECT_EQ(ListFolder(std::string("a\0b", 3), entries), kInvalidName);
}

TEST_F(FolderTest, ATreeIsDeletedWithAllThatIsInIt) {
  for (const char* given : {"tree", "tree\\"}) {
    std::filesystem::create_directories(Native("tree/inner/gr\xC3\xBC\xC3\x9F"));
    std::filesystem::create_directories(Native("tree/empty"));
    WriteFile(Native("tree/inner/gr\xC3\xBC\xC3\x9F/file"), "content");
    WriteFile(Native("tree/.hidden"), "");
    WriteFile(Native("tree-beside"), "");
    EXPECT_EQ(Delete(given), 0) << given;
    EXPECT_FALSE(std::filesystem::exists(Native("tree"))) << given;
    EXPECT_TRUE(std::filesystem::exists(Native("tree-beside"))) << given;
  }
  EXPECT_EQ(Delete("tree-beside"), 0) << "a file";
  EXPECT_FALSE(std::filesystem::exists(Native("tree-beside")));
}

TEST_F(FolderTest, DeletingWhatIsNotThereFails) {
  WriteFile(Native("file"), "");
  EXPECT_NE(Delete("missing"), 0);
  EXPECT_NE(Delete("missing\\"), 0);
  EXPECT_NE(Delete("missing\\inner"), 0);
  EXPECT_TRUE(std::filesystem::exists(Native("file")));
}

TEST_F(FolderTest, OnlyAFolderWithoutEntriesIsEmpty) {
  std::filesystem::create_directories(Native("empty"));
  std::filesystem::create_directories(Native("parent/inner"));
  WriteFile(Native("file"), "");
  std::filesystem::create_directories(Native("holder"));
  WriteFile(Native("holder/.hidden"), "");
  EXPECT_TRUE(IsFolderEmpty(InFolder("empty")));
  EXPECT_TRUE(IsFolderEmpty(InFolder("empty\\")));
  for (const char* other : {"parent", "parent\\", "holder", "file", "missing", "missing\\"})
    EXPECT_FALSE(IsFolderEmpty(InFolder(other))) << other;
}

TEST_F(FolderTest, OnlyAnEmptyFolderIsRemoved) {
  std::filesystem::create_directories(Native("parent/inner"));
  WriteFile(Native("file"), "");
  EXPECT_EQ(RemoveFolder(InFolder("parent")), kDirectoryNotEmpty);
  EXPECT_EQ(RemoveFolder(InFolder("parent\\inner")), kSuccess);
  EXPECT_EQ(RemoveFolder(InFolder("parent\\")), kSuccess);
  EXPECT_FALSE(std::filesystem::exists(Native("parent")));
  EXPECT_EQ(RemoveFolder(InFolder("parent")), kFileNotFound);
  EXPECT_NE(RemoveFolder(InFolder("file")), kSuccess);
  EXPECT_EQ(RemoveFolder(InFolder(std::string("a\0b", 3))), kInvalidName);
  EXPECT_TRUE(std::filesystem::exists(Native("file")));
}

}  // namespace
}  // namespace larder::platform
