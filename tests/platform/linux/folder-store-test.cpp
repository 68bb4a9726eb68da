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
#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

using std::filesystem::create_directory;
using std::filesystem::create_symlink;
using std::filesystem::path;
using std::filesystem::permissions;
using std::filesystem::perms;
using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

class FolderStoreTest : public MachineTest {
 protected:
  static path Root() { return getenv("LARDER_ROOT"); }

  static Code DataPath() {
    WideString unused;
    return CommonFolderPath(CommonFolder::kData, unused);
  }
  static bool CommonFoldersAre(const WideString& wantedData, const WideString& wantedPrograms) {
    WideString data;
    WideString programs;
    return CommonFolderPath(CommonFolder::kData, data) == kSuccess && data == wantedData &&
           CommonFolderPath(CommonFolder::kProgramFiles, programs) == kSuccess &&
           programs == wantedPrograms;
  }
  Code Delete(const std::string& name) const {
    return DeleteTree(InFolder(name).append(2, u'\0').data());
  }
};

TEST_F(FolderStoreTest, TheCommonFoldersAreTheSystemsOrMadeBelowTheMachineRoot) {
  EXPECT_TRUE(CommonFoldersAre(WidePathOf(Root() / "var/lib"), WidePathOf(Root() / "usr/lib")));
  EXPECT_TRUE(std::filesystem::is_empty(Root() / "var/lib"));
  const auto askWithout = [] {
    unsetenv("LARDER_ROOT");
    return CommonFoldersAre(u"\\var\\lib", u"\\usr\\lib") ? 0 : 1;
  };
  EXPECT_EQ(RunInChild(askWithout), 0);
  const path missing = Root() / "missing";
  const auto askBelow = [&missing] {
    setenv("LARDER_ROOT", missing.c_str(), 1);
    return DataPath() == kPathNotFound ? 0 : 1;
  };
  EXPECT_EQ(RunInChild(askBelow), 0);
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(FolderStoreTest, AFileInACommonFoldersPlaceIsACode) {
  create_directory(Root() / "var");
  WriteFile(Root() / "var/lib", "");
  EXPECT_EQ(DataPath(), kPathNotFound);
  std::filesystem::remove_all(Root() / "var");
  WriteFile(Root() / "var", "");
  EXPECT_EQ(DataPath(), kPathNotFound);
}

TEST_F(FolderStoreTest, AMachineRootThatMayNotBeWrittenServesOnceTheFoldersAreThere) {
  permissions(Root(), perms(0555));
  const auto ask = [] { return static_cast<int>(DataPath()); };
  EXPECT_EQ(RunAsNobody(ask), static_cast<int>(kAccessDenied));
  permissions(Root(), perms(0755));
  EXPECT_EQ(DataPath(), kSuccess);
  permissions(Root(), perms(0555));
  EXPECT_EQ(RunAsNobody(ask), static_cast<int>(kSuccess));
  permissions(Root(), perms(0755));
}

TEST_F(FolderStoreTest, AttributesAreThoseOfWhatALinkLeadsTo) {
  create_directory(Native("directory"));
  Write("file");
  create_symlink("directory", Native("to-directory"));
  create_symlink("file", Native("to-file"));
  create_symlink("nothing", Native("dangling"));
  std::uint32_t attributes = 0;
  EXPECT_EQ(PathAttributes(InFolder("to-directory"), attributes), kSuccess);
  EXPECT_EQ(attributes, kAttributeDirectory);
  EXPECT_EQ(PathAttributes(InFolder("to-file"), attributes), kSuccess);
  EXPECT_EQ(attributes, 0x80u);
  EXPECT_EQ(PathAttributes(InFolder("dangling"), attributes), kFileNotFound);
}

TEST_F(FolderStoreTest, NamesThatNoWidePathCouldGiveAreSkipped) {
  for (const char* name : {"good", "bad\xFF", "back\\slash", "\xED\xA0\x80"}) Write(name);
  std::vector<WideString> names;
  ASSERT_EQ(FindNames(machine.WideFolder() + u"??*d", names), kSuccess);
  EXPECT_THAT(names, ElementsAre(u"good"));
  ASSERT_EQ(FindNames(machine.WideFolder() + u"?", names), kSuccess);
  EXPECT_THAT(names, UnorderedElementsAre(u".", WideString(1, 0xD800)));
  EXPECT_EQ(FindNames(machine.WideFolder() + u"b*", names), kFileNotFound);
}

TEST_F(FolderStoreTest, AListHasLinksAndSpecialFilesAndNamesOfAllBytes) {
  create_directory(Native("to"));
  create_symlink("to", Native("a link"));
  create_symlink("nothing", Native("dangling"));
  ASSERT_EQ(mkfifo(Native("fifo").c_str(), 0666), 0);
  Write("bad\xFF\n\\");
  std::vector<FolderEntry> entries;
  ASSERT_EQ(ListFolder(machine.Folder(), entries), kSuccess);
  std::map<std::string, EntryKind> kinds;
  for (const FolderEntry& entry : entries) kinds[entry.name] = entry.kind;
  EXPECT_THAT(kinds, UnorderedElementsAre(
                         Pair("to", EntryKind::kFolder), Pair("a link", EntryKind::kLink),
                         Pair("dangling", EntryKind::kLink), Pair("fifo", EntryKind::kOther),
                         Pair("bad\xFF\n\\", EntryKind::kRegular)));
  ASSERT_EQ(ListFolder(Native("a link"), entries), kSuccess);
  EXPECT_TRUE(entries.empty());
}

TEST_F(FolderStoreTest, AFolderThatMayNotBeReadIsDeniedAndNotCalledEmpty) {
  create_directory(Native("secret"));
  permissions(Native("secret"), perms::none);
  const auto ask = [this] {
    std::vector<WideString> names;
    std::vector<FolderEntry> entries;
    if (FindNames(InFolder("secret\\*"), names) != kAccessDenied) return 1;
    if (ListFolder(Native("secret"), entries) != kAccessDenied) return 2;
    return IsFolderEmpty(InFolder("secret")) ? 3 : 0;
  };
  EXPECT_EQ(RunAsNobody(ask), 0);
}

TEST_F(FolderStoreTest, APatternOfManyStarsIsSoonDoneWith) {
  Write(std::string(250, 'a'));
  std::u16string pattern;
  for (int i = 0; i < 100; ++i) pattern += u"*a";
  std::vector<WideString> names;
  EXPECT_EQ(FindNames(machine.WideFolder() + pattern + u"*b", names), kFileNotFound);
  EXPECT_EQ(FindNames(machine.WideFolder() + pattern, names), kSuccess);
}

TEST_F(FolderStoreTest, ADeletionTakesLinksAndNeverWhatTheyLeadTo) {
  create_directory(Native("kept"));
  Write("kept/file", "content");
  create_directory(Native("tree"));
  std::filesystem::create_directory_symlink("../kept", Native("tree/to-folder"));
  create_symlink("../kept/file", Native("tree/to-file"));
  create_symlink("nothing", Native("tree/dangling"));
  std::filesystem::create_directory_symlink("kept", Native("link"));
  EXPECT_EQ(Delete("tree\\"), kSuccess);
  EXPECT_FALSE(Exists("tree"));
  EXPECT_EQ(Delete("link\\"), kSuccess);
  EXPECT_FALSE(std::filesystem::is_symlink(Native("link")));
  EXPECT_TRUE(Exists("kept/file"));
}

TEST_F(FolderStoreTest, AFolderThatMayNotBeWrittenEndsADeletion) {
  std::filesystem::create_directories(Native("tree/locked"));
  Write("tree/locked/file");
  permissions(Native("tree/locked"), perms(0555));
  EXPECT_EQ(RunAsNobody([this] { return static_cast<int>(Delete("tree")); }),
            static_cast<int>(kAccessDenied));
  EXPECT_TRUE(Exists("tree/locked/file"));
  permissions(Native("tree/locked"), perms(0755));
}

}  // namespace
}  // namespace larder::platform
