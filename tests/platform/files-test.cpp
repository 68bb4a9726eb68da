#include <gmock/gmock.h>

#include <chrono>
#include <regex>

#include "platform/file-time.h"
#include "platform/file.h"
#include "platform/machine-fixture.h"
#include "platform/path.h"

namespace larder::platform {
namespace {

using std::filesystem::create_directories;
using std::filesystem::last_write_time;
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
  std::size_t got = 1;
  while (got > 0) {
    ASSERT_EQ(ReadNext(file.Get(), buffer.data(), buffer.size(), got), kSuccess);
    read.append(buffer, 0, got);
  }
  EXPECT_EQ(read, content);
  for (const std::uint64_t offset : {6u, 0u, 9990u, 10000u, 10001u, 0xFFFFFFFFu}) {
    EXPECT_EQ(ReadAt(file.Get(), offset, buffer.data(), buffer.size(), got), kSuccess) << offset;
    EXPECT_EQ(buffer.substr(0, got), offset < 10000 ? content.substr(offset, 777) : "") << offset;
  }
}

TEST_F(FileTest, TheInformationHasSizeIdentityAndTimesOfTheSystemsClock) {
  const std::uint64_t before = FileStampTime();
  Write("file", "12345");
  Write("other", "12345");
  ASSERT_EQ(Open(InFolder("other")), kSuccess);
  const FileInfo other = Info();
  ASSERT_EQ(Open(InFolder("file")), kSuccess);
  ASSERT_EQ(QueryPathInfo(InFolder("file"), info, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  EXPECT_EQ(info, Info());
  EXPECT_EQ(info.size, 5u);
  EXPECT_EQ(other.volume, info.volume);
  EXPECT_NE(other.index, info.index);
  EXPECT_LE(before, info.changed);
  EXPECT_LE(info.lastModified, CurrentFileTime());
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

TEST_F(FileTest, FoldersAndMissingFilesAreNotOpened) {
  Write("file");
  for (const WideString& path : {machine.WideFolder(), WidePathOf(machine.Folder())}) {
    ExpectNotOpened(path, FileKind::kDirectory);
    EXPECT_NE(OpenToWrite(path), kSuccess);
  }
  for (const char* operation : {"OpenFileToRead", "QueryPathInfo", "PathAttributes", "RemoveFile"})
    EXPECT_EQ(operations.at(operation)(InFolder("missing")), kFileNotFound) << operation;
  EXPECT_EQ(info, FileInfo{});
  EXPECT_NE(Open(InFolder("file\\")), kSuccess);
  EXPECT_NE(OpenToWrite(InFolder("file\\")), kSuccess);
  EXPECT_TRUE(file.IsEmpty());
  EXPECT_NE(Open(InFolder("\xED\xA0\x80")), kSuccess);
}

TEST_F(FileTest, OneHandleHoldsALockUntilItIsReleasedOrClosed) {
  OwnedHandle other;
  for (OwnedHandle* opened : {&file, &other})
    ASSERT_EQ(OpenLockFile(InFolder("lock"), opened->Out()), kSuccess);
  ASSERT_EQ(TryLockFile(file.Get()), kSuccess);
  EXPECT_EQ(TryLockFile(other.Get()), kSharingViolation);
  EXPECT_EQ(UnlockFile(file.Get()), kSuccess);
  ASSERT_EQ(TryLockFile(other.Get()), kSuccess);
  other = {};
  EXPECT_EQ(TryLockFile(file.Get()), kSuccess);
}

TEST_F(FileTest, ALogLetsReadersInButNoOtherWriterUntilItIsClosed) {
  Write("log", "earlier ");
  for (const WriteMode mode : {WriteMode::kWrite, WriteMode::kReadWrite}) {
    OwnedHandle log;
    ASSERT_EQ(OpenFileToWrite(InFolder("log"), mode, log.Out()), kSuccess);
    for (const WriteMode other : {WriteMode::kWrite, WriteMode::kReadWrite})
      EXPECT_EQ(OpenToWrite(InFolder("log"), other), kSharingViolation);
    EXPECT_EQ(Open(InFolder("log")), kSuccess);
  }
  EXPECT_EQ(Content("log"), "earlier ");
}

TEST_F(FileTest, SeveralAppendersLoseNothingEvenIfTheFileIsRenamed) {
  Write("log", "0");
  OwnedHandle other;
  for (OwnedHandle* opened : {&file, &other})
    ASSERT_EQ(OpenFileToAppend(InFolder("log"), opened->Out()), kSuccess);
  EXPECT_EQ(WriteOnce(file.Get(), "1", 1), kSuccess);
  EXPECT_EQ(WriteOnce(other.Get(), "2", 1), kSuccess);
  EXPECT_EQ(RenameFile(InFolder("log"), InFolder("renamed")), kSuccess);
  EXPECT_EQ(WriteOnce(file.Get(), "3", 1), kSuccess);
  std::uint64_t size = 0;
  EXPECT_EQ(SeekToEnd(other.Get(), size), kSuccess);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(Content("renamed"), "0123");
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
  EXPECT_FALSE(Exists("third"));
  create_directories(Native("folder"));
  EXPECT_EQ(RemoveFile(InFolder("folder")), kAccessDenied);
}

TEST_F(FileTest, ATemporaryFileIsEmptyAndNamedByPrefixAndNumber) {
  Write("file");
  const std::string folder = machine.Folder().filename().string();
  for (const WideString& path : {machine.WideFolder(), WidePathOf(machine.Folder())}) {
    const WideString previous = made;
    ASSERT_EQ(MakeTemporaryFile(path, Wide("lr_prefix"), {}, made), kSuccess);
    EXPECT_NE(made, previous);
    const std::regex pattern(".*\\\\" + folder + "\\\\lr_[0-9A-Fa-f]{1,4}\\.tmp");
    EXPECT_TRUE(std::regex_match(Utf8FromWide(made), pattern)) << Utf8FromWide(made);
    EXPECT_EQ(std::filesystem::file_size(PathOf(made)), 0u);
  }
  for (const WideString& path :
       {InFolder("missing"), InFolder("missing\\"), InFolder("file"), WideString()})
    EXPECT_EQ(Draw(path), kInvalidDirectory);
}

class FolderTest : public FileTest {
 protected:
  bool IsFolder(const std::string& name) {
    EXPECT_EQ(PathAttributes(InFolder(name), attributes), kSuccess) << name;
    return (attributes & kAttributeDirectory) != 0;
  }
};

TEST_F(FolderTest, OneLevelIsMadeAndItsAttributesDistinguishItFromAFile) {
  for (const std::string& name : {kName, kName + "\\trailing\\", kName + "\\trailing\\two\\\\"}) {
    EXPECT_EQ(MakeFolder(InFolder(name)), kSuccess) << name;
    EXPECT_TRUE(IsFolder(name));
  }
  EXPECT_TRUE(IsFolder(kName + "\\\\trailing"));
  Write("file", "content");
  EXPECT_FALSE(IsFolder("file"));
  for (const char* name : {"", "file"}) EXPECT_EQ(MakeFolder(InFolder(name)), kAlreadyExists);
  for (const WideString& path : {InFolder("missing\\new"), InFolder("file\\new"), WideString()})
    EXPECT_EQ(MakeFolder(path), kPathNotFound) << Utf8FromWide(path);
}

TEST_F(FolderTest, NamesAreFoundByPatternWithoutCase) {
  for (const char* name :
       {"feedf1.log", "FEEDF22.LOG", "feedf.txt", "feed.log", "feedf.log.1", "gr\xC3\x9Cn.log"})
    Write(name);
  create_directories(Native("feedfold.log"));
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"feedf*.log", {"feedf1.log", "FEEDF22.LOG", "feedfold.log"}},
      {"feedf?.log", {"feedf1.log"}},
      {"FEEDF??.*", {"FEEDF22.LOG"}},
      {"Feed.Log", {"feed.log"}},
      {"*d*.l*g", {"feedf1.log", "FEEDF22.LOG", "feed.log", "feedfold.log"}},
      {"GR\xC3\xBCN.*", {"gr\xC3\x9Cn.log"}},
      {"gr?n.log", {"gr\xC3\x9Cn.log"}},
      {"feed", {}},
      {"feed.log?x", {}},
      {"", {}},
      {"feedfold.log\\*", {".", ".."}}};
  for (const auto& [pattern, expected] : cases) {
    names.clear();
    const Code code = FindNames(InFolder(pattern), names);
    EXPECT_EQ(code, expected.empty() ? kFileNotFound : kSuccess) << pattern;
    std::vector<std::string> found;
    for (const WideString& name : names) found.push_back(Utf8FromWide(name));
    EXPECT_THAT(found, UnorderedElementsAreArray(expected)) << pattern;
  }
  EXPECT_EQ(FindNames(InFolder("missing\\*"), names), kPathNotFound);
  EXPECT_EQ(names.size(), 2u);
}

TEST_F(FolderTest, ATreeIsDeletedWithItsContents) {
  Write("tree-beside");
  for (const char* path : {"tree", "tree\\"}) {
    create_directories(Native("tree/inner/" + kName));
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
  EXPECT_TRUE(IsFolderEmpty(InFolder("parent\\inner\\")));
  for (const char* other : {"parent", "holder", "file", "missing"})
    EXPECT_FALSE(IsFolderEmpty(InFolder(other))) << other;
  EXPECT_EQ(RemoveFolder(InFolder("parent")), kDirectoryNotEmpty);
  EXPECT_EQ(RemoveFolder(InFolder("parent\\inner")), kSuccess);
  EXPECT_EQ(RemoveFolder(InFolder("parent\\")), kSuccess);
  EXPECT_EQ(RemoveFolder(InFolder("parent")), kFileNotFound);
  EXPECT_NE(RemoveFolder(InFolder("file")), kSuccess);
}

TEST_F(ModuleTest, AModuleIsFoundAsLongAsItIsLoaded) {
  const std::string name = "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80.dll";
  Write(name, image);
  EXPECT_EQ(FindLoadedModule(InFolder(name)), nullptr);
  EXPECT_EQ(FindLoadedModule({}), nullptr);
  ASSERT_EQ(Open(Native(name)), kSuccess);
  EXPECT_EQ(FindSymbol(module.Get(), "LarderTestQuestion"), nullptr);
  EXPECT_EQ(FindSymbol(module.Get(), nullptr), nullptr);
  module = OwnedModule(FindLoadedModule(InFolder(name)));
  EXPECT_EQ(Answer(), 42);
  module = {};
  EXPECT_EQ(FindLoadedModule(InFolder(name)), nullptr);
}

TEST_F(ModuleTest, WhatIsNotAModuleOrMissesItsDependencyIsNotOpened) {
  Write("text.dll", "This is not a module, whatever its name says.\n");
  Write("empty.dll");
  Write("cut.dll", image.substr(0, image.size() / 2));
  const std::pair<WideString, Code> cases[] = {
      {InFolder("missing.dll"), kModuleNotFound},
      {InFolder("missing\\missing.dll"), kModuleNotFound},
      {WideString(), kModuleNotFound},
      {Wide("larder-missing-module.dll"), kModuleNotFound},
      {WidePathOf(FixtureFolder() / "dependent-module.dll"), kModuleNotFound},
      {InFolder("text.dll"), kBadExeFormat},
      {InFolder("empty.dll"), kBadExeFormat},
      {InFolder("cut.dll"), kBadExeFormat}};
  ModuleHandle none = nullptr;
  for (const auto& [path, code] : cases) {
    EXPECT_EQ(OpenModule(path, none), code) << Utf8FromWide(path);
    EXPECT_EQ(none, nullptr);
  }
}

}  // namespace
}  // namespace larder::platform
