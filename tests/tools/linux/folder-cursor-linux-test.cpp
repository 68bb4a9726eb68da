#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "platform/linux/open-descriptors.h"
#include "platform/machine-fixture.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/scan/folder-cursor.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::kSuccess;
using std::filesystem::rename;
using testing::Pair;
using testing::UnorderedElementsAre;

class FolderCursorLinuxTest : public platform::MachineTest {
 protected:
  // Creates this many folders in each other, each with one called "side", and enters them.
  void Descend(int levels) {
    ASSERT_EQ(cursor.Open(root, machine.WideFolder()), kSuccess);
    std::filesystem::current_path(root);
    for (int level = 0; level < levels; ++level) {
      ASSERT_EQ(mkdir("side", 0700), 0);
      ASSERT_EQ(mkdir(down.c_str(), 0700), 0);
      ASSERT_EQ(chdir(down.c_str()), 0);
      ASSERT_EQ(cursor.Enter(down), kSuccess);
    }
    std::filesystem::current_path(former);
  }
  // Goes up by this many folders, and returns whether each could be entered again from above.
  Code Ascend(int levels) {
    Code code = kSuccess;
    for (int level = 0; level < levels; ++level) {
      cursor.Leave();
      if ((code = cursor.Enter("side")) == kSuccess) cursor.Leave();
    }
    return code;
  }
  // A folder on the way down.
  std::filesystem::path At(int level) const {
    std::filesystem::path path = root;
    while (level-- > 0) path /= down;
    return path;
  }

  const std::string down = std::string(40, 'd');
  const std::string root = machine.Folder().string();
  const std::filesystem::path former = std::filesystem::current_path();
  FolderCursor cursor;
  std::vector<FolderEntry> entries;
};

TEST_F(FolderCursorLinuxTest, LinksAndSpecialFilesAreListedAsWhatTheyAreWhateverTheirNames) {
  Write("bad\xFF\n\\");
  std::filesystem::create_directory(Native("folder"));
  for (const char* target : {"missing", "folder", "loop"})
    std::filesystem::create_symlink(target, Native(std::string("to-") + target));
  ASSERT_EQ(mkfifo(Native("fifo").c_str(), 0600), 0);
  ASSERT_EQ(cursor.Open(root, machine.WideFolder()), kSuccess);
  ASSERT_EQ(cursor.List(entries), kSuccess);
  std::map<std::string, EntryKind> kinds;
  for (const FolderEntry& entry : entries) kinds[entry.name] = entry.kind;
  EXPECT_THAT(kinds,
              UnorderedElementsAre(
                  Pair("folder", EntryKind::kFolder), Pair("to-folder", EntryKind::kLink),
                  Pair("to-missing", EntryKind::kLink), Pair("to-loop", EntryKind::kLink),
                  Pair("fifo", EntryKind::kOther), Pair("bad\xFF\n\\", EntryKind::kRegular)));
  for (const char* name : {"to-folder", "fifo"})
    EXPECT_EQ(cursor.Enter(name), platform::kPathNotFound) << name;
}

TEST_F(FolderCursorLinuxTest, NeitherDepthNorRenamedFoldersStopItAndFewDescriptorsAreOpen) {
  constexpr int kDepth = 120;  // with a path of 4,920 bytes
  const auto before = platform::OpenDescriptors();
  Descend(kDepth);
  EXPECT_LE(platform::OpenedSince(before).size(), 16u);
  WideString path;
  EXPECT_EQ(cursor.PathOf("file", path), platform::kNameTooLong);
  for (const int level : {60, 20, 3}) rename(At(level), At(level).replace_filename("renamed"));
  for (int level = 0; level < kDepth; ++level) ASSERT_EQ(Ascend(1), kSuccess) << level;
  EXPECT_EQ(cursor.PathOf("file", path), kSuccess);
  EXPECT_EQ(path, InFolder("file"));
}

TEST_F(FolderCursorLinuxTest, AFolderThatIsMovedAwayCutsOffNothingNearTheRoot) {
  Descend(40);
  rename(At(30), Native("elsewhere"));
  EXPECT_EQ(Ascend(10), kSuccess);
  EXPECT_EQ(Ascend(1), platform::kPathNotFound);
  EXPECT_EQ(Ascend(15), platform::kPathNotFound);
  for (int level = 0; level < 14; ++level) EXPECT_EQ(Ascend(1), kSuccess) << level;
}

}  // namespace
}  // namespace larder::tool
