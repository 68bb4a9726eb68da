#include "platform/folder-access.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "platform/linux/child-process.h"
#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr uid_t kSomebody = 12345;

class FolderAccessTest : public FileTest {
 protected:
  FolderAccessTest() {
    for (const char* level : {"\\Velmor", "\\Larder", "\\logs"}) {
      EXPECT_EQ(MakeFolder(logs += Wide(level)), kSuccess);
    }
  }
  static WideString CommonData() {
    WideString path;
    EXPECT_EQ(CommonFolderPath(CommonFolder::kData, path), kSuccess);
    return path;
  }
  WideString Level(const char* path) const { return common + Wide(path); }
  Distrust Check() const { return DataFolderDistrust(logs + Wide("\\"), OtherUsers::kMayAdd); }

  const WideString common = CommonData();
  WideString logs = common;
};

TEST_F(FolderAccessTest, AnyLevelThatOthersMayChangeIsNamedWithTheReason) {
  EXPECT_THAT(Check().reason, IsEmpty());
  for (const char* level : {"\\Velmor", "\\Velmor\\Larder", "\\Velmor\\Larder\\logs"}) {
    const std::filesystem::path native = PathOf(Level(level));
    for (const auto& [mode, reason] : {std::pair(0775u, "by other users (mode 0775)"),
                                       std::pair(01777u, "by every user (mode 1777)")}) {
      chmod(native.c_str(), mode);
      EXPECT_THAT(Check().reason, HasSubstr(reason));
      EXPECT_EQ(Check().folder, Level(level));
    }
    chmod(native.c_str(), 0755);
    std::filesystem::rename(native, native.string() + "-moved");
    EXPECT_THAT(Check().reason, IsEmpty());  // nothing is there
    std::filesystem::create_symlink(native.string() + "-moved", native);
    EXPECT_EQ(Check().reason, "is a symbolic link");
    EXPECT_EQ(FolderDistrust(Level(level) + Wide("\\"), OtherUsers::kMayAdd), Check().reason);
    std::filesystem::remove(native);
    std::ofstream(native) << "a file";
    EXPECT_EQ(Check().reason, "isn't a folder");
    std::filesystem::remove(native);
    std::filesystem::rename(native.string() + "-moved", native);
  }
  EXPECT_THAT(Check().reason, IsEmpty());
}

TEST_F(FolderAccessTest, OnlyRootAndTheProcesssUserMayOwnAFolderOrFile) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder to another user";
  const WideString log = logs + Wide("\\lr_1.log");
  WriteFile(PathOf(log), "");
  const auto isTrusted = [this, &log] {
    return Check().reason.empty() && FileDistrust(log).empty();
  };
  EXPECT_TRUE(isTrusted());
  EXPECT_EQ(RunAsNobody([&] { return isTrusted() ? 0 : 1; }), 0);
  for (const WideString& path : {logs, log}) {
    ASSERT_EQ(lchown(PathOf(path).c_str(), kSomebody, kSomebody), 0);
    EXPECT_FALSE(isTrusted());
    EXPECT_EQ(RunInChild([&] { return setuid(kSomebody) == 0 && isTrusted() ? 0 : 1; }), 0);
    EXPECT_EQ(RunAsNobody([&] { return isTrusted() ? 1 : 0; }), 0);
    ASSERT_EQ(lchown(PathOf(path).c_str(), 0, 0), 0);
  }
}

TEST_F(FolderAccessTest, AnAccessListThatLetsAnotherUserWriteIsSeen) {
  // Version 2; owner rwx, user 12345 rwx, group r-x, mask rwx, others r-x (acl(5),
  // linux/posix_acl_xattr.h).
  const std::uint16_t entries[] = {2,      0,      1,    7, 0xFFFF, 0xFFFF, 2,    7,
                                   12345,  0,      4,    5, 0xFFFF, 0xFFFF, 0x10, 7,
                                   0xFFFF, 0xFFFF, 0x20, 5, 0xFFFF, 0xFFFF};
  if (setxattr(PathOf(logs).c_str(), "system.posix_acl_access", entries, sizeof entries, 0) != 0) {
    GTEST_SKIP() << "the file system has no access lists";
  }
  EXPECT_THAT(Check().reason, HasSubstr("by other users"));
}

TEST_F(FolderAccessTest, ASharedMachineRootMustNotLetOthersReplaceTheFolders) {
  const std::filesystem::path lib = PathOf(common);
  for (const std::filesystem::path& folder : {lib, lib.parent_path()}) {
    chmod(folder.c_str(), 0777);
    EXPECT_THAT(Check().reason, HasSubstr("may be written by every user"));
    chmod(folder.c_str(), 01777);
    EXPECT_THAT(Check().reason, IsEmpty());
    if (geteuid() == 0) {
      ASSERT_EQ(chown(folder.c_str(), kSomebody, 0), 0);
      EXPECT_THAT(Check().reason, HasSubstr("belongs to user 12345"));
      ASSERT_EQ(chown(folder.c_str(), 0, 0), 0);
    }
    chmod(folder.c_str(), 0755);
  }
  EXPECT_THAT(DataFolderDistrust(InFolder(""), OtherUsers::kMayAdd).reason,
              HasSubstr("isn't in the common data folder"));
}

TEST_F(FolderAccessTest, AProtectedFolderHasItsRightsWhateverTheUmask) {
  const auto modeOf = [](const std::filesystem::path& path) {
    struct stat status {};
    stat(path.c_str(), &status);
    return status.st_mode & 07777u;
  };
  const std::filesystem::path native = Native("protected");
  std::filesystem::remove_all(PathOf(common).parent_path());
  for (const mode_t mask : {077u, 0u}) {
    const mode_t former = umask(mask);
    EXPECT_EQ(modeOf(PathOf(CommonData())), 0755u);  // creates it
    EXPECT_EQ(MakeProtectedFolder(InFolder("protected"), Readers::kEverybody), kSuccess);
    umask(former);
    EXPECT_EQ(modeOf(native), 0755u);
    EXPECT_EQ(MakeProtectedFolder(InFolder("protected"), Readers::kEverybody), kAlreadyExists);
    std::filesystem::remove(native);
  }
  create_directory(Native("open"));
  create_directory_symlink(Native("open"), native);
  chmod(Native("open").c_str(), 0777);
  EXPECT_NE(ProtectFolder(InFolder("protected"), Readers::kEverybody), kSuccess);
  EXPECT_EQ(modeOf(Native("open")), 0777u);
  EXPECT_EQ(ProtectFolder(InFolder("open"), Readers::kEverybody), kSuccess);
  EXPECT_EQ(modeOf(Native("open")), 0755u);
}

TEST_F(FolderAccessTest, TheRightAndTheSpaceToCreateAFileAreQueriedWithoutCreatingOne) {
  std::uint64_t space = 0;
  EXPECT_EQ(QueryCreation(logs, space), kSuccess);
  EXPECT_GT(space, 0u);
  EXPECT_EQ(QueryCreation(InFolder("missing"), space), kFileNotFound);
  std::filesystem::permissions(PathOf(logs), std::filesystem::perms(0555));
  EXPECT_EQ(RunInChild([&] {
              // Only the effective user counts.
              if (geteuid() == 0 && seteuid(kSomebody) != 0) return 1;
              return QueryCreation(logs, space) == kAccessDenied ? 0 : 2;
            }),
            0);
  EXPECT_TRUE(std::filesystem::is_empty(PathOf(logs)));
}

}  // namespace
}  // namespace larder::platform
