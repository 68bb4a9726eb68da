#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/child-process.h"
#include "platform/linux/open-descriptors.h"
#include "platform/registry-key.h"

namespace larder::platform {
namespace {

using std::filesystem::path;
using std::filesystem::perms;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr char kCorrupt[] = "code 1015";

// With ways to look at the key "Key" from behind.
class RegistryStoreTest : public RegistryTest {
 protected:
  ~RegistryStoreTest() override {
    std::error_code gone;
    std::filesystem::permissions(KeyFolder(), perms(0755), gone);  // so that it can be removed
  }

  static path Hive() { return path(getenv("LARDER_ROOT")) / "etc/larder/registry"; }
  static path KeyFolder() { return Hive() / "Key"; }
  static path ValueFile() { return KeyFolder() / "value.value"; }

  static std::set<std::string> Files() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(KeyFolder()))
      names.insert(entry.path().filename());
    return names;
  }
  // What an ordinary user gets with the key's directory in this mode.
  static Code OpenAsNobody(int mode, std::uint32_t access) {
    std::filesystem::permissions(KeyFolder(), perms(mode));
    return static_cast<Code>(
        RunAsNobody([access] { return static_cast<int>(Key().Open("Key", access)); }));
  }
};

TEST_F(RegistryStoreTest, AKeyIsADirectoryAndAValueIsAFile) {
  ASSERT_EQ(Key().Make("Software\\a.b\\c"), kSuccess);
  EXPECT_TRUE(std::filesystem::is_directory(Hive() / "Software/a%2Eb/c"));
  ASSERT_EQ(key.Set("value", "\x01\x02\x03\x04", kRegDword), kSuccess);
  ASSERT_EQ(key.Set(".dots.and/more%", ""), kSuccess);
  EXPECT_THAT(Files(), UnorderedElementsAre("value.value", "%2Edots.and%2Fmore%25.value"));
  EXPECT_EQ(FileContent(ValueFile()), std::string("LRV1\4\0\0\0\4\0\0\0\1\2\3\4", 16));
}

TEST_F(RegistryStoreTest, FilesAndDirectoriesAreForAllToReadAsFarAsTheMaskLets) {
  const auto modes = [this](mode_t mask) {
    const mode_t former = umask(mask);
    EXPECT_EQ(key.Set("value", "data"), kSuccess);
    EXPECT_EQ(Key().Make("Key\\Sub"), kSuccess);
    umask(former);
    const std::array<perms, 2> found = {std::filesystem::status(KeyFolder() / "Sub").permissions(),
                                        std::filesystem::status(ValueFile()).permissions()};
    EXPECT_EQ(key.RemoveKey("Sub"), kSuccess);
    return found;
  };
  EXPECT_THAT(modes(0), ElementsAre(perms(0755), perms(0644)));
  EXPECT_THAT(modes(077), ElementsAre(perms(0700), perms(0600)));
}

TEST_F(RegistryStoreTest, AFileThatIsNoWholeValueIsCorruptUntilItIsSetAnew) {
  const std::string good("LRV1\3\0\0\0\4\0\0\0data", 16);
  std::vector<std::string> bad = {good + "x", "LRV2" + good.substr(4), "lrv1" + good.substr(4),
                                  std::string(100, '\0'),
                                  std::string("LRV1\3\0\0\0\xFF\xFF\xFF\xFF", 12) + "data"};
  for (std::size_t size = 0; size < good.size(); ++size) bad.push_back(good.substr(0, size));
  for (const std::string& content : bad) {
    WriteFile(ValueFile(), content);
    std::uint32_t type = 77;
    std::uint32_t size = 4;
    std::array<char, 5> data{"abcd"};
    EXPECT_EQ(QueryRegistryValue(key.Raw(), u"value", type, data.data(), size), kRegistryCorrupt)
        << ::testing::PrintToString(content);
    EXPECT_STREQ(data.data(), "abcd");
    EXPECT_EQ(type, 77u);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(key.Get("VALUE"), kCorrupt);
    EXPECT_THAT(key.Values(), ElementsAre("value"));
    EXPECT_EQ(key.Set("Value", "data"), kSuccess);
    EXPECT_EQ(FileContent(ValueFile()), good);
  }
}

TEST_F(RegistryStoreTest, ThingsInAValuesPlaceAreNoValuesAndAreReplaced) {
  std::filesystem::create_directory(KeyFolder() / "directory.value");
  ASSERT_EQ(mkfifo((KeyFolder() / "fifo.value").c_str(), 0600), 0);
  const std::string good("LRV1\3\0\0\0\4\0\0\0data", 16);
  Write("outside", good);
  std::filesystem::create_symlink(Native("outside"), KeyFolder() / "link.value");
  for (const char* name : {"directory", "fifo", "link"}) EXPECT_EQ(key.Get(name), kCorrupt);
  EXPECT_THAT(key.Values(), IsEmpty());
  EXPECT_EQ(key.Set("link", "new"), kSuccess);
  EXPECT_EQ(Content("outside"), good);
  EXPECT_FALSE(std::filesystem::is_symlink(KeyFolder() / "link.value"));
}

TEST_F(RegistryStoreTest, FilesOfOtherNamesAreNeitherKeysNorValuesAndGoWithATree) {
  Write("mine", "text");
  for (const char* name : {".tmp-1-1", "README", "bad%zz.value", "lower%2f.value", "\xFF.value"})
    WriteFile(KeyFolder() / name, "text");
  for (const char* name : {"with.dot", ".tmp-2"})
    std::filesystem::create_directory(KeyFolder() / name);
  std::filesystem::create_directory_symlink(machine.Folder(), KeyFolder() / "link");
  std::filesystem::create_symlink(Native("mine"), KeyFolder() / "file.value");
  EXPECT_THAT(key.Values(), IsEmpty());
  EXPECT_THAT(key.Subkeys(), IsEmpty());
  EXPECT_EQ(key.Get("README"), "code 2");
  EXPECT_EQ(RemoveTree("Key"), kSuccess);
  EXPECT_FALSE(std::filesystem::exists(KeyFolder()));
  EXPECT_EQ(Content("mine"), "text");
}

TEST_F(RegistryStoreTest, AThingInAKeysPlaceIsNoKey) {
  WriteFile(Hive() / "File", "text");
  std::filesystem::create_directory_symlink(machine.Folder(), Hive() / "Link");
  for (const char* name : {"File", "Link"}) {
    EXPECT_EQ(Key().Open(name), kRegistryCorrupt);
    EXPECT_EQ(Key().Make(name), kRegistryCorrupt);
    EXPECT_EQ(RemoveTree(name), kRegistryCorrupt);
  }
}

TEST_F(RegistryStoreTest, TheHiveItselfMayLieBehindALink) {
  std::filesystem::rename(Hive(), Native("moved"));
  std::filesystem::create_directory_symlink(Native("moved"), Hive());
  EXPECT_EQ(Key().Make("Key\\Sub"), kSuccess);
  EXPECT_TRUE(Exists("moved/Key/Sub"));
}

TEST_F(RegistryStoreTest, AValueThatCantBeWrittenLeavesTheOldOneAndNothingElse) {
  ASSERT_EQ(key.Set("value", "old"), kSuccess);
  const int result = RunInChild([this] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {100, 100};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    if (key.Set("value", std::string(1000, 'n')) != kDiskFull) return 2;
    return key.Set("other", std::string(1000, 'n')) == kDiskFull ? 0 : 3;
  });
  EXPECT_EQ(result, 0);
  EXPECT_THAT(Files(), UnorderedElementsAre("value.value"));
  EXPECT_EQ(key.Get("value"), "old");
}

TEST_F(RegistryStoreTest, NoDescriptorStaysOpenAndNoneIsInherited) {
  const std::set<int> before = OpenDescriptors();
  ASSERT_EQ(Key().Make("Key\\A\\B", kKeyAllAccess), kSuccess);
  ASSERT_EQ(Key().Open("KEY\\a\\Missing", kKeyAllAccess), kFileNotFound);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(key.Get("VALUE"), "data");
  ASSERT_EQ(key.Get("missing"), "code 2");
  ASSERT_EQ(key.RemoveKey("A\\B"), kSuccess);
  ASSERT_EQ(RemoveTree("Key\\A"), kSuccess);
  EXPECT_EQ(OpenDescriptors(), before);
  Key other;
  ASSERT_EQ(other.Open("Key"), kSuccess);
  const std::set<int> opened = OpenedSince(before);
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_FALSE(IsInherited(*opened.begin()));
}

TEST_F(RegistryStoreTest, AKeyThatMayOnlyBeReadIsOpenedForReadingAlone) {
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(Key().Make("Key\\Sub"), kSuccess);
  std::filesystem::permissions(KeyFolder(), perms(0555));
  const int result = RunAsNobody([] {
    Key own;
    if (own.Open("Key") != kSuccess) return 1;
    if (own.Get("value") != "data") return 2;
    if (Key().Open("Key", kKeyAllAccess) != kAccessDenied) return 3;
    if (Key().Open("Key", kKeySetValue) != kAccessDenied) return 4;
    if (Key().Make("Key", kKeySetValue) != kAccessDenied) return 5;
    if (Key().Make("Key", kKeyRead) != kSuccess) return 6;
    if (Key().Make("Key\\New", kKeyRead) != kAccessDenied) return 7;
    if (own.RemoveKey("Sub") != kAccessDenied) return 8;
    return RemoveTree("Key") == kAccessDenied ? 0 : 9;
  });
  EXPECT_EQ(result, 0);
  EXPECT_THAT(Files(), UnorderedElementsAre("Sub", "value.value"));
}

TEST_F(RegistryStoreTest, AKeyThatCantBeRemovedKeepsItsValues) {
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  std::filesystem::permissions(KeyFolder(), perms(0777));
  std::filesystem::permissions(Hive(), perms(0555));
  const int result = RunAsNobody([] { return static_cast<int>(RemoveTree("Key")); });
  std::filesystem::permissions(Hive(), perms(0755));
  EXPECT_EQ(result, static_cast<int>(kAccessDenied));
  EXPECT_THAT(Files(), UnorderedElementsAre("value.value"));
}

TEST_F(RegistryStoreTest, WhatMayNotBeReadIsDenied) {
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  for (const int mode : {0000, 0111, 0444, 0333})
    EXPECT_EQ(OpenAsNobody(mode, kKeyRead), kAccessDenied) << mode;
  EXPECT_EQ(OpenAsNobody(0755, kKeyRead), kSuccess);
  std::filesystem::permissions(ValueFile(), perms(0000));
  const int result = RunAsNobody([] {
    Key own;
    return own.Open("Key") == kSuccess && own.Get("value") == "code 5" ? 0 : 1;
  });
  EXPECT_EQ(result, 0);
}

TEST_F(RegistryStoreTest, ANameThatNoFileCanHaveIsTooLong) {
  const std::string name(256, 'n');
  EXPECT_EQ(Key().Make("Key\\" + name), kNameTooLong);
  EXPECT_EQ(Key().Open("Key\\" + name), kNameTooLong);
  EXPECT_EQ(key.Set(name.substr(0, 249), "data"), kSuccess);
  EXPECT_EQ(key.Set(name.substr(0, 250), "data"), kNameTooLong);
  EXPECT_EQ(key.Get(name.substr(0, 250)), "code 206");
}

TEST_F(RegistryStoreTest, AMachineWithoutARootHasNoRegistryAndGetsNone) {
  const std::string root = getenv("LARDER_ROOT");
  setenv("LARDER_ROOT", Native("missing").c_str(), 1);
  EXPECT_EQ(Key().Open("Key"), kFileNotFound);
  EXPECT_EQ(Key().Make("Key"), kFileNotFound);
  EXPECT_FALSE(Exists("missing"));
  setenv("LARDER_ROOT", root.c_str(), 1);
}

}  // namespace
}  // namespace larder::platform
