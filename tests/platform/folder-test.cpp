#include "platform/folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

using std::filesystem::create_directories;
using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

class FolderTest : public MachineTest {
 protected:
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

  std::string Utf8Of(const std::string& name) const {
    const std::u8string path = Native(name).u8string();
    return {path.begin(), path.end()};
  }

  // As DeleteTree wants it, with two NULs behind it.
  Code Delete(const std::string& name) const {
    return DeleteTree(InFolder(name).append(2, LarderWideChar()).data());
  }

  const std::string cut = std::string("a\0b", 3);
};

TEST_F(FolderTest, TheCommonFoldersAreThere) {
  WideString data;
  WideString programs;
  WideString again;
  ASSERT_EQ(CommonFolderPath(CommonFolder::kData, data), kSuccess);
  ASSERT_EQ(CommonFolderPath(CommonFolder::kProgramFiles, programs), kSuccess);
  ASSERT_EQ(CommonFolderPath(CommonFolder::kData, again), kSuccess);
  EXPECT_EQ(data, again);
  EXPECT_NE(data, programs);
  for (const WideString& path : {data, programs}) {
    EXPECT_NE(path.back(), LarderWideChar{'\\'});
    EXPECT_TRUE(IsDirectory(path));
  }
}

TEST_F(FolderTest, AttributesTellDirectoriesFromFiles) {
  Write("file", "content");
  create_directories(Native("directory/inner"));
  EXPECT_FALSE(IsDirectory(InFolder("file")));
  for (const char* name :
       {"directory", "directory\\", "directory\\inner\\\\", "directory\\\\inner"})
    EXPECT_TRUE(IsDirectory(InFolder(name))) << name;
  std::uint32_t attributes = 7;
  EXPECT_EQ(PathAttributes(InFolder("missing"), attributes), kFileNotFound);
  EXPECT_NE(PathAttributes(InFolder("missing\\file"), attributes), kSuccess);
  EXPECT_NE(PathAttributes(InFolder("file\\inner"), attributes), kSuccess);
  EXPECT_NE(PathAttributes(WideString(), attributes), kSuccess);
  EXPECT_EQ(PathAttributes(InFolder(cut), attributes), kInvalidName);
  EXPECT_EQ(attributes, 7u);
}

TEST_F(FolderTest, OneLevelIsMade) {
  for (const char* name : {"gr\xC3\xBC\xC3\x9F", "gr\xC3\xBC\xC3\x9F\\trailing\\",
                           "gr\xC3\xBC\xC3\x9F\\trailing\\doubled\\\\"})
    EXPECT_EQ(MakeFolder(InFolder(name)), kSuccess) << name;
  EXPECT_TRUE(std::filesystem::is_directory(Native("gr\xC3\xBC\xC3\x9F/trailing/doubled")));
  Write("file", "content");
  EXPECT_EQ(MakeFolder(machine.WideFolder()), kAlreadyExists);
  EXPECT_EQ(MakeFolder(InFolder("file")), kAlreadyExists);
  EXPECT_EQ(MakeFolder(InFolder("missing\\folder")), kPathNotFound);
  EXPECT_EQ(MakeFolder(InFolder("file\\folder")), kPathNotFound);
  EXPECT_EQ(MakeFolder(WideString()), kPathNotFound);
  EXPECT_EQ(MakeFolder(InFolder(cut)), kInvalidName);
  EXPECT_FALSE(Exists("a"));
}

TEST_F(FolderTest, NamesAreFoundByPatternWithoutCase) {
  for (const char* name :
       {"feedf1.log", "FEEDF22.LOG", "feedf.txt", "feed.log", "feedf.log.1", "gr\xC3\x9Cn.log"})
    Write(name);
  std::filesystem::create_directory(Native("feedfold.log"));
  EXPECT_THAT(Find("feedf*.log"),
              UnorderedElementsAre("feedf1.log", "FEEDF22.LOG", "feedfold.log"));
  EXPECT_THAT(Find("feedf?.log"), ElementsAre("feedf1.log"));
  EXPECT_THAT(Find("FEEDF??.*"), ElementsAre("FEEDF22.LOG"));
  EXPECT_THAT(Find("Feed.Log"), ElementsAre("feed.log"));
  EXPECT_THAT(Find("*d*.l*g"),
              UnorderedElementsAre("feedf1.log", "FEEDF22.LOG", "feed.log", "feedfold.log"));
  EXPECT_THAT(Find("*.1"), ElementsAre("feedf.log.1"));
  EXPECT_THAT(Find("GR\xC3\xBCN.*"), ElementsAre("gr\xC3\x9Cn.log"));
  EXPECT_THAT(Find("gr?n.log"), ElementsAre("gr\xC3\x9Cn.log"));
}

TEST_F(FolderTest, TheSystemsOwnEntriesAreAmongTheNamesAndWhatIsNotFoundGivesACode) {
  Write("file");
  EXPECT_THAT(Find("*"), UnorderedElementsAre(".", "..", "file"));
  for (const char* pattern : {"missing*", "fil", "file?x", ""})
    EXPECT_EQ(CodeOfFind(pattern), kFileNotFound) << pattern;
  EXPECT_EQ(CodeOfFind("missing\\*"), kPathNotFound);
  EXPECT_NE(CodeOfFind("file\\*"), kSuccess);
  EXPECT_EQ(CodeOfFind(std::string("*\0", 2)), kInvalidName);
}

TEST_F(FolderTest, AFolderIsListedWithTheKindsAndSizesOfItsEntries) {
  Write("file", "content");
  Write("gr\xC3\xBC\xC3\x9F");
  create_directories(Native("directory/inner"));
  for (const std::string& path : {Utf8Of(""), Utf8Of("directory/..")}) {
    std::vector<FolderEntry> entries = {{"before", EntryKind::kOther, 1}};
    ASSERT_EQ(ListFolder(path, entries), kSuccess);
    std::map<std::string, EntryKind> kinds;
    for (const FolderEntry& entry : entries) {
      kinds[entry.name] = entry.kind;
      if (entry.kind == EntryKind::kFolder) continue;
      EXPECT_EQ(entry.size, entry.name == "file" ? 7u : 0u) << entry.name;
    }
    EXPECT_THAT(kinds, UnorderedElementsAre(Pair("file", EntryKind::kRegular),
                                            Pair("gr\xC3\xBC\xC3\x9F", EntryKind::kRegular),
                                            Pair("directory", EntryKind::kFolder)));
  }
}

TEST_F(FolderTest, WhatIsNoFolderIsNotListed) {
  Write("file");
  std::vector<FolderEntry> entries(1);
  for (const char* name : {"missing", "file", "missing/inner"})
    EXPECT_NE(ListFolder(Utf8Of(name), entries), kSuccess) << name;
  EXPECT_NE(ListFolder("", entries), kSuccess);
  EXPECT_EQ(ListFolder(cut, entries), kInvalidName);
  EXPECT_EQ(entries.size(), 1u);
}

TEST_F(FolderTest, ATreeIsDeletedWithAllThatIsInIt) {
  for (const char* given : {"tree", "tree\\"}) {
    create_directories(Native("tree/inner/gr\xC3\xBC\xC3\x9F"));
    create_directories(Native("tree/empty"));
    Write("tree/inner/gr\xC3\xBC\xC3\x9F/file", "content");
    Write("tree/.hidden");
    Write("tree-beside");
    EXPECT_EQ(Delete(given), kSuccess) << given;
    EXPECT_FALSE(Exists("tree")) << given;
    EXPECT_TRUE(Exists("tree-beside")) << given;
  }
  EXPECT_EQ(Delete("tree-beside"), kSuccess) << "a file";
  EXPECT_FALSE(Exists("tree-beside"));
  for (const char* missing : {"missing", "missing\\", "missing\\inner"})
    EXPECT_NE(Delete(missing), kSuccess) << missing;
}

TEST_F(FolderTest, OnlyAFolderWithoutEntriesIsEmptyAndRemoved) {
  create_directories(Native("parent/inner"));
  create_directories(Native("holder"));
  Write("holder/.hidden");
  Write("file");
  EXPECT_TRUE(IsFolderEmpty(InFolder("parent\\inner")));
  EXPECT_TRUE(IsFolderEmpty(InFolder("parent\\inner\\")));
  for (const char* other : {"parent", "parent\\", "holder", "file", "missing", "missing\\"})
    EXPECT_FALSE(IsFolderEmpty(InFolder(other))) << other;
  EXPECT_EQ(RemoveFolder(InFolder("parent")), kDirectoryNotEmpty);
  EXPECT_EQ(RemoveFolder(InFolder("parent\\inner")), kSuccess);
  EXPECT_EQ(RemoveFolder(InFolder("parent\\")), kSuccess);
  EXPECT_FALSE(Exists("parent"));
  EXPECT_EQ(RemoveFolder(InFolder("parent")), kFileNotFound);
  EXPECT_NE(RemoveFolder(InFolder("file")), kSuccess);
  EXPECT_EQ(RemoveFolder(InFolder(cut)), kInvalidName);
  EXPECT_TRUE(Exists("file"));
}

}  // namespace
}  // namespace larder::platform
