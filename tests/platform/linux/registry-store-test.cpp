#include <gmock/gmock.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <set>

#include "platform/linux/child-process.h"
#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

using std::filesystem::path;
using std::filesystem::perms;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr char kCorrupt[] = "code 1015";
const std::string kGood("LRV1\3\0\0\0\4\0\0\0data", 16);

// With the directory and the files that store the key "Key".
class RegistryStoreTest : public RegistryTest {
 protected:
  std::set<std::string> Files() const {
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(keyFolder))
      found.insert(entry.path().filename());
    return found;
  }

  const path hive = path(getenv("LARDER_ROOT")) / "etc/larder/registry";
  const path keyFolder = hive / "Key";
  const path valueFile = keyFolder / "value.value";
};

TEST_F(RegistryStoreTest, KeysAreDirectoriesAndValuesFilesReadableByAllWhateverTheMask) {
  for (const mode_t mask : {mode_t{0}, mode_t{077}}) {
    std::filesystem::remove_all(hive.parent_path());
    const mode_t former = umask(mask);
    EXPECT_EQ(key.Make("Key\\a.b"), kSuccess);
    EXPECT_EQ(key.Make("Key"), kSuccess);
    EXPECT_EQ(key.Set("value", "\x01\x02\x03\x04", kRegDword), kSuccess);
    umask(former);
    for (const path& each : {hive.parent_path(), hive, keyFolder, keyFolder / "a%2Eb"})
      EXPECT_EQ(std::filesystem::status(each).permissions(), perms(0755)) << each;
    EXPECT_EQ(std::filesystem::status(valueFile).permissions(), perms(0644));
    EXPECT_EQ(key.RemoveKey("a.b"), kSuccess);
  }
  EXPECT_EQ(ContentOf(valueFile), std::string("LRV1\4\0\0\0\4\0\0\0\1\2\3\4", 16));
  ASSERT_EQ(key.Set(".dots.and/more%", ""), kSuccess);
  EXPECT_THAT(Files(), UnorderedElementsAre("value.value", "%2Edots.and%2Fmore%25.value"));
}

TEST_F(RegistryStoreTest, AKeyThatIsOpenToAllIsOpenedByEveryUserAndChangedByNone) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  ASSERT_EQ(key.Make("Key\\Sub", kKeyAllAccess), kSuccess);
  ASSERT_EQ(key.Open("Key", kKeyAllAccess), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  const auto open = [] { return static_cast<int>(Key().Open("Key", kKeyAllAccess)); };
  EXPECT_EQ(RunAsNobody(open), kAccessDenied);
  EXPECT_FALSE(IsOpenToAll(key.Raw()));
  ASSERT_EQ(SetOpenToAll(key.Raw(), true), kSuccess);
  EXPECT_TRUE(IsOpenToAll(key.Raw()));
  EXPECT_EQ(std::filesystem::status(keyFolder).permissions(), perms(01755));
  const auto tryAll = [] {
    Key opened;
    if (opened.Open("Key", kKeyAllAccess) != kSuccess || opened.Get("value") != "data") return 100;
    const Code codes[] = {opened.Set("value", "x"),
                          opened.Set("new", "x"),
                          opened.Remove("value"),
                          opened.RemoveKey("Sub"),
                          Key().Make("Key\\New"),
                          RemoveTree("Key\\Sub"),
                          RemoveTree("Key"),
                          SetOpenToAll(opened.Raw(), false),
                          Key().Open("Key\\Sub", kKeyAllAccess)};
    const auto* other =
        std::ranges::find_if(codes, [](Code code) { return code != kAccessDenied; });
    return static_cast<int>(other - codes);
  };
  EXPECT_EQ(RunAsNobody(tryAll), 9);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Sub"));
  EXPECT_EQ(key.Get("value"), "data");
  ASSERT_EQ(SetOpenToAll(key.Raw(), false), kSuccess);
  EXPECT_EQ(RunAsNobody(open), kAccessDenied);
  // Only root and the owner of the hive can mark a key.
  ASSERT_EQ(chown(keyFolder.c_str(), 12345, 12345), 0);
  EXPECT_EQ(SetOpenToAll(key.Raw(), true), kAccessDenied);
  ASSERT_EQ(chmod(keyFolder.c_str(), 01755), 0);
  EXPECT_EQ(RunAsNobody(open), kAccessDenied);
  ASSERT_EQ(chown(hive.c_str(), 12345, 12345), 0);
  EXPECT_EQ(RunAsNobody(open), kSuccess);
}

TEST_F(RegistryStoreTest, AFileThatIsNotAWholeValueIsCorruptUntilItIsSetAgain) {
  std::vector<std::string> bad = {kGood + "x", "LRV2" + kGood.substr(4), std::string(100, '\0'),
                                  std::string("LRV1\3\0\0\0\xFF\xFF\xFF\xFF", 12) + "data"};
  for (std::size_t size = 0; size < kGood.size(); ++size) bad.push_back(kGood.substr(0, size));
  for (const std::string& content : bad) {
    SCOPED_TRACE(::testing::PrintToString(content));
    WriteFile(valueFile, content);
    std::uint32_t type = 77;
    std::uint32_t size = 4;
    std::array<char, 5> data{"abcd"};
    EXPECT_EQ(QueryRegistryValue(key.Raw(), u"VALUE", type, data.data(), size), kRegistryCorrupt);
    EXPECT_STREQ(data.data(), "abcd");
    EXPECT_EQ(type, 77u);
    EXPECT_EQ(size, 4u);
    EXPECT_THAT(key.Values(), ElementsAre("value"));
    EXPECT_EQ(key.Set("Value", "data"), kSuccess);
    EXPECT_EQ(ContentOf(valueFile), kGood);
  }
}

TEST_F(RegistryStoreTest, OtherFilesAreIgnoredAndReplacedByValuesAndRemovedWithTheTree) {
  Write("outside", kGood);
  for (const char* name : {".tmp-1-1", "README", "bad%zz.value", "lower%2f.value", "\xFF.value"})
    WriteFile(keyFolder / name, kGood);
  for (const char* name : {"directory.value", "with.dot", ".tmp-2"})
    std::filesystem::create_directory(keyFolder / name);
  ASSERT_EQ(mkfifo((keyFolder / "fifo.value").c_str(), 0600), 0);
  std::filesystem::create_directory_symlink(machine.Folder(), keyFolder / "folder");
  for (const char* name : {"link.value", "other.value"})
    std::filesystem::create_symlink(Native("outside"), keyFolder / name);
  for (const char* name : {"directory", "fifo", "link"}) EXPECT_EQ(key.Get(name), kCorrupt);
  EXPECT_THAT(key.Values(), IsEmpty());
  EXPECT_THAT(key.Subkeys(), IsEmpty());
  EXPECT_EQ(key.Set("link", "new"), kSuccess);
  EXPECT_EQ(key.Get("link"), "new");
  EXPECT_EQ(RemoveTree("Key"), kSuccess);
  EXPECT_FALSE(std::filesystem::exists(keyFolder));
  EXPECT_EQ(Content("outside"), kGood);
}

TEST_F(RegistryStoreTest, AFileOrALinkIsNotAKeyButTheHiveItselfMayBeALink) {
  WriteFile(hive / "File", "text");
  std::filesystem::create_directory_symlink(machine.Folder(), hive / "Link");
  for (const char* name : {"File", "Link"}) {
    EXPECT_EQ(Key().Open(name), kRegistryCorrupt);
    EXPECT_EQ(Key().Make(name), kRegistryCorrupt);
    EXPECT_EQ(RemoveTree(name), kRegistryCorrupt);
  }
  std::filesystem::rename(hive, Native("moved"));
  std::filesystem::create_directory_symlink(Native("moved"), hive);
  EXPECT_EQ(Key().Make("Key\\Sub"), kSuccess);
}

TEST_F(RegistryStoreTest, AValueThatCannotBeWrittenLeavesTheOldOneAndNothingElse) {
  ASSERT_EQ(key.Set("value", "old"), kSuccess);
  const auto setBoth = [this] {
    const rlimit limit = {100, 100};
    if (signal(SIGXFSZ, SIG_IGN) == SIG_ERR || setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    for (const char* name : {"value", "other"})
      if (key.Set(name, std::string(1000, 'n')) != kDiskFull) return 2;
    return 0;
  };
  EXPECT_EQ(RunInChild(setBoth), 0);
  EXPECT_THAT(Files(), UnorderedElementsAre("value.value"));
  EXPECT_EQ(key.Get("value"), "old");
}

TEST_F(RegistryStoreTest, ANameThatNoFileCanHaveIsTooLongAndWithoutAMachineRootNothingIsMade) {
  const std::string name(256, 'n');
  EXPECT_EQ(Key().Make("Key\\" + name), kNameTooLong);
  EXPECT_EQ(Key().Open("Key\\" + name), kNameTooLong);
  EXPECT_EQ(key.Set(name.substr(0, 249), "data"), kSuccess);
  EXPECT_EQ(key.Set(name.substr(0, 250), "data"), kNameTooLong);
  EXPECT_EQ(key.Get(name.substr(0, 250)), "code 206");
  setenv("LARDER_ROOT", Native("missing").c_str(), 1);
  EXPECT_EQ(Key().Open("Key"), kFileNotFound);
  EXPECT_EQ(Key().Make("Key"), kFileNotFound);
}

}  // namespace
}  // namespace larder::platform
