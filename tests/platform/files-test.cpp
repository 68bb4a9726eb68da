#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "platform/file-fixture.h"
#include "platform/file.h"

namespace larder::platform {
namespace {

using std::filesystem::create_directories;
using std::filesystem::last_write_time;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;

const std::string kName = "gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80";

TEST_F(FileTest, AFileIsReadToItsEndAndAtAnyOffsetAlsoAfterOthersRemovedIt) {
  std::string content;
  for (int i = 0; i < 10000; ++i) content += static_cast<char>(i * 7);
  Write(kName, content);
  ASSERT_EQ(Open(InFolder(kName)), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  std::filesystem::rename(Native(kName), Native("renamed"));
  EXPECT_TRUE(std::filesystem::remove(Native("renamed")));
  std::string read;
  std::string buffer(777, '\0');
  std::size_t got = 0;
  do {
    EXPECT_EQ(ReadNext(file.Get(), buffer.data(), buffer.size(), got), kSuccess);
    read.append(buffer, 0, got);
  } while (got > 0);
  EXPECT_EQ(read, content);
  for (const std::uint64_t offset : {6u, 0u, 9990u, 10000u, 10001u, 0xFFFFFFFFu}) {
    EXPECT_EQ(ReadAt(file.Get(), offset, buffer.data(), buffer.size(), got), kSuccess) << offset;
    EXPECT_EQ(buffer.substr(0, got), offset < 10000 ? content.substr(offset, 777) : "") << offset;
  }
}

TEST_F(FileTest, TheInformationHasSizeIdentityAndTimesOfTheSystemsClock) {
  const std::uint64_t before = CurrentFileTime();
  Write("file", "12345");
  Write("other", "12345");
  ASSERT_EQ(Open(InFolder("other")), kSuccess);
  const FileInfo other = Info();
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  const FileInfo info = Info();
  EXPECT_EQ(info.size, 5u);
  EXPECT_EQ(other.volume, info.volume);
  EXPECT_NE(other.index, info.index);
  FileInfo byPath;
  ASSERT_EQ(QueryPathInfo(InFolder("file"), byPath, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  EXPECT_EQ(byPath, info);
  const std::uint64_t granularity = FileTimeGranularity(InFolder("file"));
  EXPECT_GE(granularity, 100'000u);
  EXPECT_LE(granularity, 20'000'000u);
  EXPECT_LE(before, info.lastModified + granularity);
  EXPECT_LE(info.lastModified, CurrentFileTime());
  EXPECT_GT(before, 132'223'104'000'000'000u);  // the beginning of 2020
  EXPECT_LT(before, 189'026'784'000'000'000u);  // the beginning of 2200
}

TEST_F(FileTest, NoProgramSetsTheTimeOfTheLastChangeBack) {
  Write("file");
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  const auto time = last_write_time(Native("file"));
  last_write_time(Native("file"), time);  // as precisely as this call can
  const FileInfo late = Info();
  last_write_time(Native("file"), time - std::chrono::hours(1));
  const FileInfo early = Info();
  EXPECT_EQ(late.lastModified - early.lastModified, 36'000'000'000u);
  EXPECT_GE(late.changed + 10'000'000, late.lastModified);  // it may be rounded otherwise
  EXPECT_GE(early.changed, late.changed);
}

TEST_F(FileTest, FoldersMissingFilesAndImpossibleNamesAreNotOpened) {
  Write("file");
  FileInfo info;
  for (const WideString& path : {machine.WideFolder(), WidePathOf(machine.Folder())}) {
    ExpectNotOpened(path, FileKind::kDirectory);
    ASSERT_EQ(QueryPathInfo(path, info, kind), kSuccess);
    EXPECT_EQ(kind, FileKind::kDirectory);
    EXPECT_NE(OpenToWrite(path), kSuccess);
  }
  EXPECT_EQ(Open(InFolder("missing")), kFileNotFound);
  EXPECT_EQ(QueryPathInfo(InFolder("missing"), info, kind), kFileNotFound);
  EXPECT_EQ(info, FileInfo{});
  std::string deep = "file";
  for (int i = 0; i < 2500; ++i) deep = "d\\" + deep;
  for (const WideString& path : {InFolder("missing\\file"), InFolder(std::string(5000, 'x')),
                                 InFolder(deep), InFolder("file\\"), WideString()}) {
    EXPECT_NE(Open(path), kSuccess) << Utf8FromWide(path);
    EXPECT_NE(OpenToWrite(path), kSuccess) << Utf8FromWide(path);
    EXPECT_TRUE(file.IsEmpty());
  }
  EXPECT_NE(Open(InFolder("\xED\xA0\x80")), kSuccess);
}

TEST_F(FileTest, OneHandleHoldsALockUntilItIsReleasedOrClosed) {
  OwnedHandle one;
  OwnedHandle other;
  for (OwnedHandle* opened : {&one, &other})
    ASSERT_EQ(OpenLockFile(InFolder("lock"), opened->Out()), kSuccess);
  ASSERT_EQ(TryLockFile(one.Get()), kSuccess);
  EXPECT_EQ(TryLockFile(other.Get()), kSharingViolation);
  EXPECT_EQ(UnlockFile(one.Get()), kSuccess);
  ASSERT_EQ(TryLockFile(other.Get()), kSuccess);
  EXPECT_EQ(TryLockFile(one.Get()), kSharingViolation);
  other = {};
  EXPECT_EQ(TryLockFile(one.Get()), kSuccess);
  EXPECT_NE(OpenLockFile(InFolder("missing/lock"), other.Out()), kSuccess);
}

TEST_F(FileTest, ALogIsMadeAndGrowsAtItsEndInBothModesWhileOthersReadIt) {
  const auto append = [this](WriteMode mode, const std::string& text, std::uint64_t sizeBefore) {
    ASSERT_EQ(OpenToWrite(InFolder(kName), mode), kSuccess);
    std::uint64_t size = 99;
    EXPECT_EQ(SeekToEnd(file.Get(), size), kSuccess);
    EXPECT_EQ(size, sizeBefore);
    const auto length = static_cast<std::uint32_t>(text.size());
    EXPECT_EQ(WriteOnce(file.Get(), text.data(), length), kSuccess);
    EXPECT_TRUE(Content(kName).ends_with(text));
  };
  append(WriteMode::kReadWrite, "first\n", 0);
  append(WriteMode::kWrite, "second\n", 6);
  append(WriteMode::kReadWrite, std::string("th\0rd\n", 6), 13);
  EXPECT_EQ(Content(kName), std::string("first\nsecond\nth\0rd\n", 19));
}

TEST_F(FileTest, RenamingNeverReplacesAFileAndRemovingLeavesFolders) {
  Write("first", "first");
  Write("second", "second");
  EXPECT_EQ(RenameFile(InFolder("first"), InFolder("second")), kAlreadyExists);
  EXPECT_EQ(Content("second"), "second");
  EXPECT_EQ(RenameFile(InFolder("first"), InFolder("third")), kSuccess);
  EXPECT_EQ(Content("third"), "first");
  EXPECT_EQ(RenameFile(InFolder("first"), InFolder("fourth")), kFileNotFound);
  EXPECT_EQ(RemoveFile(InFolder("third")), kSuccess);
  EXPECT_EQ(RemoveFile(InFolder("third")), kFileNotFound);
  create_directories(Native("folder"));
  EXPECT_EQ(RemoveFile(InFolder("folder")), kAccessDenied);
  EXPECT_TRUE(Exists("folder"));
}

TEST_F(FileTest, ATemporaryFileIsEmptyAndNamedByPrefixAndNumber) {
  Write("file");
  WideString made;
  const WideString withoutBackslash = InFolder("").substr(0, InFolder("").size() - 1);
  for (const WideString& folder : {machine.WideFolder(), withoutBackslash}) {
    WideString previous = made;
    ASSERT_EQ(MakeTemporaryFile(folder, Wide("lr_prefix"), made), kSuccess);
    EXPECT_NE(made, previous);
    ASSERT_TRUE(made.starts_with(machine.WideFolder()));
    const std::string name = Utf8FromWide(made.substr(machine.WideFolder().size()));
    EXPECT_TRUE(std::regex_match(name, std::regex("lr_[0-9A-Fa-f]{1,4}\\.tmp"))) << name;
    EXPECT_EQ(std::filesystem::file_size(Native(name)), 0u);
  }
  for (const WideString& folder :
       {InFolder("missing"), InFolder("missing\\"), InFolder("file"), WideString()})
    EXPECT_EQ(MakeTemporaryFile(folder, Wide("lr_"), made), kInvalidDirectory);
}

class FolderTest : public FileTest {
 protected:
  static bool IsFolder(const WideString& path) {
    std::uint32_t attributes = 0;
    EXPECT_EQ(PathAttributes(path, attributes), kSuccess) << Utf8FromWide(path);
    return (attributes & kAttributeDirectory) != 0;
  }
  Code List(const std::string& name, std::vector<FolderEntry>& entries) const {
    const std::u8string path = Native(name).u8string();
    return ListFolder({path.begin(), path.end()}, entries);
  }
};

TEST_F(FolderTest, TheCommonFoldersExistAndDiffer) {
  WideString data;
  WideString programs;
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(CommonFolderPath(CommonFolder::kData, data), kSuccess);
    ASSERT_EQ(CommonFolderPath(CommonFolder::kProgramFiles, programs), kSuccess);
  }
  EXPECT_NE(data, programs);
  for (const WideString& path : {data, programs}) {
    EXPECT_NE(path.back(), LarderWideChar{'\\'});
    EXPECT_TRUE(IsFolder(path));
  }
}

TEST_F(FolderTest, OneLevelIsMadeAndItsAttributesDistinguishItFromAFile) {
  for (const std::string& name : {kName, kName + "\\trailing\\", kName + "\\trailing\\two\\\\"}) {
    EXPECT_EQ(MakeFolder(InFolder(name)), kSuccess) << name;
    EXPECT_TRUE(IsFolder(InFolder(name))) << name;
  }
  EXPECT_TRUE(IsFolder(InFolder(kName + "\\\\trailing")));
  Write("file", "content");
  EXPECT_FALSE(IsFolder(InFolder("file")));
  for (const char* name : {"", "file"}) EXPECT_EQ(MakeFolder(InFolder(name)), kAlreadyExists);
  std::uint32_t attributes = 7;
  for (const WideString& path : {InFolder("missing\\new"), InFolder("file\\new"), WideString()}) {
    EXPECT_EQ(MakeFolder(path), kPathNotFound) << Utf8FromWide(path);
    EXPECT_NE(PathAttributes(path, attributes), kSuccess) << Utf8FromWide(path);
  }
  EXPECT_EQ(PathAttributes(InFolder("missing"), attributes), kFileNotFound);
  EXPECT_EQ(attributes, 7u);
}

TEST_F(FolderTest, NamesAreFoundByPatternWithoutCase) {
  for (const char* name :
       {"feedf1.log", "FEEDF22.LOG", "feedf.txt", "feed.log", "feedf.log.1", "gr\xC3\x9Cn.log"})
    Write(name);
  std::filesystem::create_directory(Native("feedfold.log"));
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"feedf*.log", {"feedf1.log", "FEEDF22.LOG", "feedfold.log"}},
      {"feedf?.log", {"feedf1.log"}},
      {"FEEDF??.*", {"FEEDF22.LOG"}},
      {"Feed.Log", {"feed.log"}},
      {"*d*.l*g", {"feedf1.log", "FEEDF22.LOG", "feed.log", "feedfold.log"}},
      {"*.1", {"feedf.log.1"}},
      {"GR\xC3\xBCN.*", {"gr\xC3\x9Cn.log"}},
      {"gr?n.log", {"gr\xC3\x9Cn.log"}},
      {"???", {}},
      {"feed", {}},
      {"feed.log?x", {}},
      {"", {}}};
  for (const auto& [pattern, expected] : cases) {
    std::vector<WideString> found;
    const Code code = FindNames(InFolder(pattern), found);
    EXPECT_EQ(code, expected.empty() ? kFileNotFound : kSuccess) << pattern;
    std::vector<std::string> names;
    for (const WideString& name : found) names.push_back(Utf8FromWide(name));
    EXPECT_THAT(names, UnorderedElementsAreArray(expected)) << pattern;
  }
  std::vector<WideString> names;
  EXPECT_EQ(FindNames(InFolder("feedfold.log\\*"), names), kSuccess);
  EXPECT_THAT(names, UnorderedElementsAre(Wide("."), Wide("..")));
  EXPECT_EQ(FindNames(InFolder("missing\\*"), names), kPathNotFound);
  EXPECT_NE(FindNames(InFolder("feed.log\\*"), names), kSuccess);
  EXPECT_EQ(names.size(), 2u);
}

TEST_F(FolderTest, AFolderIsListedWithTheKindsAndSizesOfItsEntries) {
  Write("file", "content");
  Write(kName);
  create_directories(Native("folder/inner"));
  std::vector<FolderEntry> entries;
  for (const char* path : {"", "folder/.."}) {
    ASSERT_EQ(List(path, entries), kSuccess);
    std::map<std::string, std::pair<EntryKind, std::uint64_t>> found;
    for (const FolderEntry& entry : entries)
      found[entry.name] = {entry.kind, entry.kind == EntryKind::kFolder ? 0 : entry.size};
    EXPECT_THAT(found, UnorderedElementsAre(Pair("file", Pair(EntryKind::kRegular, 7)),
                                            Pair(kName, Pair(EntryKind::kRegular, 0)),
                                            Pair("folder", Pair(EntryKind::kFolder, 0))));
  }
  for (const char* name : {"missing", "file", "missing/inner"})
    EXPECT_NE(List(name, entries), kSuccess) << name;
  EXPECT_NE(ListFolder("", entries), kSuccess);
  EXPECT_EQ(entries.size(), 3u);
}

TEST_F(FolderTest, ATreeIsDeletedWithItsContents) {
  Write("tree-beside");
  for (const char* path : {"tree", "tree\\"}) {
    create_directories(Native("tree/inner") / Native(kName).filename());
    create_directories(Native("tree/empty"));
    Write("tree/inner/" + kName + "/file", "content");
    Write("tree/.hidden");
    EXPECT_EQ(Delete(path), kSuccess) << path;
    EXPECT_FALSE(Exists("tree")) << path;
  }
  EXPECT_TRUE(Exists("tree-beside"));
  EXPECT_EQ(Delete("tree-beside"), kSuccess);
  EXPECT_FALSE(Exists("tree-beside"));
  for (const char* missing : {"missing", "missing\\", "missing\\inner"})
    EXPECT_NE(Delete(missing), kSuccess) << missing;
}

TEST_F(FolderTest, OnlyAFolderWithoutEntriesIsEmptyAndRemoved) {
  create_directories(Native("parent/inner"));
  create_directories(Native("holder"));
  Write("holder/.hidden");
  Write("file");
  for (const char* empty : {"parent\\inner", "parent\\inner\\"})
    EXPECT_TRUE(IsFolderEmpty(InFolder(empty))) << empty;
  for (const char* other : {"parent", "parent\\", "holder", "file", "missing", "missing\\"})
    EXPECT_FALSE(IsFolderEmpty(InFolder(other))) << other;
  EXPECT_EQ(RemoveFolder(InFolder("parent")), kDirectoryNotEmpty);
  EXPECT_EQ(RemoveFolder(InFolder("parent\\inner")), kSuccess);
  EXPECT_EQ(RemoveFolder(InFolder("parent\\")), kSuccess);
  EXPECT_EQ(RemoveFolder(InFolder("parent")), kFileNotFound);
  EXPECT_NE(RemoveFolder(InFolder("file")), kSuccess);
  EXPECT_TRUE(Exists("file"));
}

}  // namespace
}  // namespace larder::platform
