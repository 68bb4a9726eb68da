#include "tools/larder/scan/folder-cursor.h"

#include <gmock/gmock.h>

#include <map>

#include "platform/machine-fixture.h"
#include "tools/larder/cli/path.h"

namespace larder::tool {
namespace {

using platform::kSuccess;
using testing::Pair;
using testing::UnorderedElementsAre;

TEST(FolderCursorTest, FoldersAreListedWithKindsAndSizesOnTheWayDownAndUp) {
  const TestMachine machine;
  const std::string name = "gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80";
  std::filesystem::create_directories(machine.Folder() / "folder/inner/empty");
  platform::WriteFile(machine.Folder() / "folder/file", "content");
  platform::WriteFile(machine.Folder() / "folder" / std::filesystem::u8path(name), "");
  const std::string root = machine.Folder().string();
  WideString path;
  std::vector<FolderEntry> entries;
  ASSERT_EQ(FullPath(root, path), kSuccess);
  FolderCursor cursor;
  ASSERT_EQ(cursor.Open(root, path), kSuccess);
  ASSERT_EQ(cursor.Enter("folder"), kSuccess);
  ASSERT_EQ(cursor.List(entries), kSuccess);
  std::map<std::string, std::pair<EntryKind, std::uint64_t>> found;
  for (const FolderEntry& entry : entries) {
    found[entry.name] = {entry.kind, entry.kind == EntryKind::kFolder ? 0 : entry.size};
    EXPECT_EQ(entry.volume, cursor.Volume());
    EXPECT_FALSE(entry.isRemote || entry.code != kSuccess) << entry.name;
  }
  EXPECT_THAT(found, UnorderedElementsAre(Pair("file", Pair(EntryKind::kRegular, 7)),
                                          Pair(name, Pair(EntryKind::kRegular, 0)),
                                          Pair("inner", Pair(EntryKind::kFolder, 0))));
  for (const char* folder : {"inner", "empty"}) ASSERT_EQ(cursor.Enter(folder), kSuccess);
  EXPECT_EQ(cursor.List(entries), kSuccess);
  EXPECT_TRUE(entries.empty());
  cursor.Leave();
  cursor.Leave();
  EXPECT_EQ(cursor.PathOf(name, path), kSuccess);
  EXPECT_EQ(path, machine.WideFolder() + platform::Wide("folder\\" + name));
}

}  // namespace
}  // namespace larder::tool
