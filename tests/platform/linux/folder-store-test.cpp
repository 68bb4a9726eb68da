#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "platform/folder.h"
#include "platform/linux/child-process.h"
#include "platform/module-files.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

using std::filesystem::path;
using ::testing::ElementsAre;

class FolderStoreTest : public ::testing::Test {
 protected:
  static path Root() { return getenv("LARDER_ROOT"); }
  path Native(const std::string& name) const { return machine.Folder() / name; }

  static Code DataPath() {
    WideString unused;
    return CommonFolderPath(CommonFolder::kData, unused);
  }

  TestMachine machine;
};

TEST_F(FolderStoreTest, TheCommonFoldersAreMadeBelowTheMachineRoot) {
  WideString folder;
  ASSERT_EQ(CommonFolderPath(CommonFolder::kData, folder), kSuccess);
  EXPECT_EQ(folder, WidePathOf(Root() / "var/lib"));
  ASSERT_EQ(CommonFolderPath(CommonFolder::kProgramFiles, folder), kSuccess);
  EXPECT_EQ(folder, WidePathOf(Root() / "usr/lib"));
  EXPECT_TRUE(std::filesystem::is_empty(Root() / "var/lib"));
  EXPECT_TRUE(std::filesystem::is_empty(Root() / "usr/lib"));
}

TEST_F(FolderStoreTest, WithoutAMachineRootTheyAreTheSystems) {
  const auto ask = [] {
    unsetenv("LARDER_ROOT");
    WideString data;
    WideString programs;
    if (CommonFolderPath(CommonFolder::kData, data) != kSuccess) return 1;
    if (CommonFolderPath(CommonFolder::kProgramFiles, programs) != kSuccess) return 2;
    return data == u"\\var\\lib" && programs == u"\\usr\\lib" ? 0 : 3;
  };
  EXPECT_EQ(RunInChild(ask), 0);
}

TEST_F(FolderStoreTest, AMachineRootThatIsMissingIsNotMade) {
  const path missing = Root() / "missing";
  const auto ask = [&missing] {
    setenv("LARDER_ROOT", missing.c_str(), 1);
    return static_cast<int>(DataPath());
  };
  EXPECT_EQ(RunInChild(ask), static_cast<int>(kPathNotFound));
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(FolderStoreTest, AFileInACommonFoldersPlaceIsACode) {
  std::filesystem::create_directory(Root() / "var");
  WriteFile(Root() / "var/lib", "");
  EXPECT_EQ(DataPath(), kPathNotFound);
  std::filesystem::remove_all(Root() / "var");
  WriteFile(Root() / "var", "");
  EXPECT_EQ(DataPath(), kPathNotFound);
}

TEST_F(FolderStoreTest, AMachineRootThatMayNotBeWrittenServesOnceTheFoldersAreThere) {
  std::filesystem::permissions(Root(), std::filesystem::perms(0555));
  const auto ask = [] { return static_cast<int>(DataPath()); };
  EXPECT_EQ(RunAsNobody(ask), static_cast<int>(kAccessDenied));
  std::filesystem::permissions(Root(), std::filesystem::perms(0755));
  EXPECT_EQ(DataPath(), kSuccess);
  std::filesystem::permissions(Root(), std::filesystem::perms(0555));
  EXPECT_EQ(RunAsNobody(ask), static_cast<int>(kSuccess));
  std::filesystem::permissions(Root(), std::filesystem::perms(0755));
}

TEST_F(FolderStoreTest, AttributesAreThoseOfWhatALinkLeadsTo) {
  std::filesystem::create_directory(Native("directory"));
  WriteFile(Native("file"), "");
  std::filesystem::create_symlink("directory", Native("to-directory"));
  std::filesystem::create_symlink("file", Native("to-file"));
  std::filesystem::create_symlink("nothing", Native("dangling"));
  std::uint32_t attributes = 0;
  EXPECT_EQ(PathAttributes(machine.WideFolder() + u"to-directory", attributes), kSuccess);
  EXPECT_EQ(attributes, kAttributeDirectory);
  EXPECT_EQ(PathAttributes(machine.WideFolder() + u"to-file", attributes), kSuccess);
  EXPECT_EQ(attributes, 0x80u);
  EXPECT_EQ(PathAttributes(machine.WideFolder() + u"dangling", attributes), kFileNotFound);
}

TEST_F(FolderStoreTest, NamesThatNoWidePathCouldGiveAreSkipped) {
  for (const char* name : {"good", "bad\xFF", "back\\slash", "\xED\xA0\x80"})
    WriteFile(Native(name), "");
  std::vector<WideString> names;
  ASSERT_EQ(FindNames(machine.WideFolder() + u"??*d", names), kSuccess);
  EXPECT_THAT(names, ElementsAre(u"good"));
  ASSERT_EQ(FindNames(machine.WideFolder() + u"?", names), kSuccess);
  EXPECT_THAT(names, ::testing::UnorderedElementsAre(u".", WideString(1, 0xD800)));
  EXPECT_EQ(FindNames(machine.WideFolder() + u"b*", names), kFileNotFound);
}

TEST_F(FolderStoreTest, AListHasLinksAndSpecialFilesAndNamesOfAllBytes) {
  std::filesystem::create_directory(Native("to"));
  std::filesystem::create_symlink("to", Native("a link"));
  std::filesystem::create_symlink("nothing", Native("dangling"));
  ASSERT_EQ(mkfifo(Native("fifo").c_str(), 0666), 0);
  WriteFile(Native("bad\xFF\n\\"), "");
  std::vector<FolderEntry> entries;
  ASSERT_EQ(ListFolder(machine.Folder(), entries), kSuccess);
  std::map<std::string, EntryKind> kinds;
  for (const FolderEntry& entry : entries) kinds[entry.name] = entry.kind;
  const std::map<std::string, EntryKind> wanted = {{"to", EntryKind::kFolder},
                                                   {"a link", EntryKind::kLink},
                                                   {"dangling", EntryKind::kLink},
                                                   {"fifo", EntryKind::kOther},
                                                   {"bad\xFF\n\\", EntryKind::kRegular}};
  EXPECT_EQ(kinds, wanted);
  ASSERT_EQ(ListFolder(Native("a link"), entries), kSuccess);
  EXPECT_TRUE(entries.empty());
}

TEST_F(FolderStoreTest, NamesComeInTheSystemsOrder) {
  for (int i = 0; i < 200; ++i) WriteFile(Native(std::to_string(i * 7919)), "");
  std::vector<WideString> names;
  ASSERT_EQ(FindNames(machine.WideFolder() + u"*9*", names), kSuccess);
  std::vector<WideString> wanted;
  for (const auto& entry : std::filesystem::directory_iterator(machine.Folder())) {
    const WideString name = WidePathOf(entry.path().filename());
    if (name.find(u'9') != WideString::npos) wanted.push_back(name);
  }
  EXPECT_EQ(names, wanted);
  EXPECT_GT(names.size(), 50u);
}

TEST_F(FolderStoreTest, APatternWithoutAFolderLooksInTheCurrentOne) {
  WriteFile(Native("file"), "");
  const auto find = [this] {
    std::filesystem::current_path(machine.Folder());
    std::vector<WideString> names;
    return FindNames(u"f*", names) == kSuccess && names.size() == 1 ? 0 : 1;
  };
  EXPECT_EQ(RunInChild(find), 0);
}

TEST_F(FolderStoreTest, AFolderThatMayNotBeReadIsDenied) {
  std::filesystem::create_directory(Native("secret"));
  std::filesystem::permissions(Native("secret"), std::filesystem::perms::none);
  const auto find = [this] {
    std::vector<WideString> names;
    return static_cast<int>(FindNames(machine.WideFolder() + u"secret\\*", names));
  };
  EXPECT_EQ(RunAsNobody(find), static_cast<int>(kAccessDenied));
  const auto list = [this] {
    std::vector<FolderEntry> entries;
    return static_cast<int>(ListFolder(Native("secret"), entries));
  };
  EXPECT_EQ(RunAsNobody(list), static_cast<int>(kAccessDenied));
}

TEST_F(FolderStoreTest, APatternOfManyStarsIsSoonDoneWith) {
  WriteFile(Native(std::string(250, 'a')), "");
  std::u16string pattern;
  for (int i = 0; i < 100; ++i) pattern += u"*a";
  std::vector<WideString> names;
  EXPECT_EQ(FindNames(machine.WideFolder() + pattern + u"*b", names), kFileNotFound);
  EXPECT_EQ(FindNames(machine.WideFolder() + pattern, names), kSuccess);
}

TEST_F(FolderStoreTest, ADeletionTakesLinksAndNeverWhatTheyLeadTo) {
  std::filesystem::create_directory(Native("kept"));
  WriteFile(Native("kept/file"), "content");
  std::filesystem::create_directory(Native("tree"));
  std::filesystem::create_directory_symlink("../kept", Native("tree/to-folder"));
  std::filesystem::create_symlink("../kept/file", Native("tree/to-file"));
  std::filesystem::create_symlink("nothing", Native("tree/dangling"));
  std::filesystem::create_directory_symlink("kept", Native("link"));
  EXPECT_EQ(DeleteTree((machine.WideFolder() + u"tree\\").append(2, u'\0').data()), 0);
  EXPECT_FALSE(std::filesystem::exists(Native("tree")));
  EXPECT_EQ(DeleteTree((machine.WideFolder() + u"link\\").append(2, u'\0').data()), 0);
  EXPECT_FALSE(std::filesystem::is_symlink(Native("link")));
  EXPECT_TRUE(std::filesystem::exists(Native("kept/file")));
}

TEST_F(FolderStoreTest, AFolderThatMayNotBeWrittenEndsADeletion) {
  std::filesystem::create_directories(Native("tree/locked"));
  WriteFile(Native("tree/locked/file"), "");
  std::filesystem::permissions(Native("tree/locked"), std::filesystem::perms(0555));
  const auto remove = [this] {
    return DeleteTree((machine.WideFolder() + u"tree").append(2, u'\0').data());
  };
  EXPECT_EQ(RunAsNobody(remove), static_cast<int>(kAccessDenied));
  EXPECT_TRUE(std::filesystem::exists(Native("tree/locked/file")));
  std::filesystem::permissions(Native("tree/locked"), std::filesystem::perms(0755));
}

TEST_F(FolderStoreTest, AFolderThatMayNotBeReadIsNotCalledEmpty) {
  std::filesystem::create_directory(Native("secret"));
  std::filesystem::permissions(Native("secret"), std::filesystem::perms::none);
  const auto ask = [this] { return IsFolderEmpty(machine.WideFolder() + u"secret") ? 1 : 0; };
  EXPECT_EQ(RunAsNobody(ask), 0);
}

}  // namespace
}  // namespace larder::platform
