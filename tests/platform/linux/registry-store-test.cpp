#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/child-process.h"
#include "platform/module-files.h"
#include "platform/registry.h"
#include "platform/utf.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

using std::filesystem::path;
using std::filesystem::perms;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

Code OpenAndClose(const WideString& keyPath, std::uint32_t access) {
  RegistryKey key = nullptr;
  const Code code = OpenRegistryKey(keyPath, access, key);
  CloseRegistryKey(key);
  return code;
}

Code MakeAndClose(const WideString& keyPath, std::uint32_t access) {
  RegistryKey key = nullptr;
  const Code code = MakeRegistryKey(keyPath, access, key);
  CloseRegistryKey(key);
  return code;
}

std::vector<std::string> ListNames(RegistryKey key, decltype(RegistrySubkeyName) list) {
  std::vector<std::string> names;
  std::array<char16_t, 300> name;
  std::uint32_t length = name.size();
  for (std::uint32_t index = 0; list(key, index, name.data(), length) == kSuccess; ++index) {
    names.push_back(Utf8FromWide({name.data(), length}));
    length = name.size();
  }
  return names;
}

// A machine with the key "Key", open, and ways to look at it from behind.
class RegistryStoreTest : public ::testing::Test {
 protected:
  RegistryStoreTest() { EXPECT_EQ(MakeRegistryKey(u"Key", kKeyAllAccess, key), kSuccess); }
  ~RegistryStoreTest() override {
    CloseRegistryKey(key);
    std::error_code gone;
    std::filesystem::permissions(KeyFolder(), perms(0755), gone);  // so that it can be removed
  }

  path Hive() const { return path(getenv("LARDER_ROOT")) / "etc/larder/registry"; }
  path KeyFolder() const { return Hive() / "Key"; }
  path ValueFile() const { return KeyFolder() / "value.value"; }

  Code Set(const WideString& name, std::string_view data) const {
    return SetRegistryValue(key, name, kRegBinary, data.data(),
                            static_cast<std::uint32_t>(data.size()));
  }
  Code Query(const WideString& name) const {
    std::array<char, 64> data;
    std::uint32_t type = 0;
    std::uint32_t size = data.size();
    return QueryRegistryValue(key, name, type, data.data(), size);
  }
  static std::set<std::string> Files(const path& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
      names.insert(entry.path().filename());
    return names;
  }

  TestMachine machine;
  RegistryKey key = nullptr;
};

TEST_F(RegistryStoreTest, AKeyIsADirectoryAndAValueIsAFile) {
  ASSERT_EQ(MakeAndClose(u"Software\\a.b\\c", kKeySetValue), kSuccess);
  EXPECT_TRUE(std::filesystem::is_directory(Hive() / "Software/a%2Eb/c"));
  ASSERT_EQ(SetRegistryValue(key, u"value", kRegDword, "\x01\x02\x03\x04", 4), kSuccess);
  ASSERT_EQ(Set(u".dots.and/more%", ""), kSuccess);
  EXPECT_THAT(Files(KeyFolder()),
              UnorderedElementsAre("value.value", "%2Edots.and%2Fmore%25.value"));
  EXPECT_EQ(FileContent(ValueFile()), std::string("LRV1\4\0\0\0\4\0\0\0\1\2\3\4", 16));
}

TEST_F(RegistryStoreTest, FilesAndDirectoriesAreForAllToReadAsFarAsTheMaskLets) {
  const auto modes = [this](const char* name) {
    struct stat folder {};
    struct stat file {};
    EXPECT_EQ(Set(u"value", "data"), kSuccess);
    EXPECT_EQ(MakeAndClose(name[0] == 'a' ? u"Key\\a" : u"Key\\b", kKeyRead), kSuccess);
    EXPECT_EQ(stat((KeyFolder() / name).c_str(), &folder), 0);
    EXPECT_EQ(stat(ValueFile().c_str(), &file), 0);
    return std::make_pair(folder.st_mode & 07777, file.st_mode & 07777);
  };
  const mode_t former = umask(0);
  EXPECT_EQ(modes("a"), std::make_pair(0755u, 0644u));
  umask(077);
  EXPECT_EQ(modes("b"), std::make_pair(0700u, 0600u));
  umask(former);
}

TEST_F(RegistryStoreTest, AFileThatIsNoWholeValueIsCorruptUntilItIsSetAnew) {
  const std::string good("LRV1\3\0\0\0\4\0\0\0data", 16);
  std::vector<std::string> bad = {good + "x", "LRV2" + good.substr(4), "lrv1" + good.substr(4),
                                  std::string(100, '\0'),
                                  std::string("LRV1\3\0\0\0\xFF\xFF\xFF\xFF", 12) + "data"};
  for (std::size_t size = 0; size < good.size(); ++size) bad.push_back(good.substr(0, size));
  for (const std::string& content : bad) {
    WriteFile(ValueFile(), content);
    EXPECT_EQ(Query(u"value"), kRegistryCorrupt) << ::testing::PrintToString(content);
    EXPECT_EQ(Query(u"VALUE"), kRegistryCorrupt);
    EXPECT_THAT(ListNames(key, RegistryValueName), ElementsAre("value"));
    EXPECT_EQ(Set(u"Value", "data"), kSuccess);
    EXPECT_EQ(FileContent(ValueFile()), good);
  }
}

TEST_F(RegistryStoreTest, ACorruptFileLeavesTheCallersVariablesAlone) {
  WriteFile(ValueFile(), std::string("LRV1\3\0\0\0\4\0\0\0dat", 15));
  std::array<char, 4> data = {'a', 'b', 'c', 'd'};
  std::uint32_t type = 77;
  std::uint32_t size = data.size();
  EXPECT_EQ(QueryRegistryValue(key, u"value", type, data.data(), size), kRegistryCorrupt);
  EXPECT_EQ(std::string(data.data(), data.size()), "abcd");
  EXPECT_EQ(type, 77u);
  EXPECT_EQ(size, 4u);
}

TEST_F(RegistryStoreTest, ThingsInAValuesPlaceAreNoValues) {
  std::filesystem::create_directory(KeyFolder() / "directory.value");
  ASSERT_EQ(mkfifo((KeyFolder() / "fifo.value").c_str(), 0600), 0);
  WriteFile(machine.Folder() / "outside", std::string("LRV1\3\0\0\0\4\0\0\0data", 16));
  std::filesystem::create_symlink(machine.Folder() / "outside", KeyFolder() / "link.value");
  for (const char16_t* name : {u"directory", u"fifo", u"link"})
    EXPECT_EQ(Query(name), kRegistryCorrupt);
  EXPECT_THAT(ListNames(key, RegistryValueName), IsEmpty());
}

TEST_F(RegistryStoreTest, SettingAValueReplacesALinkAndNotWhatItLeadsTo) {
  WriteFile(machine.Folder() / "outside", "mine");
  std::filesystem::create_symlink(machine.Folder() / "outside", ValueFile());
  EXPECT_EQ(Set(u"value", "data"), kSuccess);
  EXPECT_EQ(FileContent(machine.Folder() / "outside"), "mine");
  EXPECT_FALSE(std::filesystem::is_symlink(ValueFile()));
}

TEST_F(RegistryStoreTest, FilesOfOtherNamesAreNeitherKeysNorValues) {
  WriteFile(KeyFolder() / ".tmp-1-1", "left over");
  WriteFile(KeyFolder() / "README", "text");
  WriteFile(KeyFolder() / "bad%zz.value", "text");
  WriteFile(KeyFolder() / "lower%2f.value", "text");
  WriteFile(KeyFolder() / "\xFF.value", "text");
  std::filesystem::create_directory(KeyFolder() / "with.dot");
  std::filesystem::create_directory(KeyFolder() / ".tmp-2");
  std::filesystem::create_directory_symlink(machine.Folder(), KeyFolder() / "link");
  EXPECT_THAT(ListNames(key, RegistryValueName), IsEmpty());
  EXPECT_THAT(ListNames(key, RegistrySubkeyName), IsEmpty());
  EXPECT_EQ(Query(u"README"), kFileNotFound);
  EXPECT_EQ(RemoveRegistryTree(u"Key"), kSuccess);
  EXPECT_FALSE(std::filesystem::exists(KeyFolder()));
}

TEST_F(RegistryStoreTest, AThingInAKeysPlaceIsNoKey) {
  WriteFile(Hive() / "File", "text");
  std::filesystem::create_directory_symlink(machine.Folder(), Hive() / "Link");
  for (const char16_t* name : {u"File", u"Link"}) {
    EXPECT_EQ(OpenAndClose(name, kKeyRead), kRegistryCorrupt);
    EXPECT_EQ(MakeAndClose(name, kKeySetValue), kRegistryCorrupt);
    EXPECT_EQ(RemoveRegistryTree(name), kRegistryCorrupt);
  }
}

TEST_F(RegistryStoreTest, RemovingATreeLeavesWhatItsLinksLeadTo) {
  WriteFile(machine.Folder() / "mine", "text");
  std::filesystem::create_directory_symlink(machine.Folder(), KeyFolder() / "folder");
  std::filesystem::create_symlink(machine.Folder() / "mine", KeyFolder() / "file.value");
  EXPECT_EQ(RemoveRegistryTree(u"Key"), kSuccess);
  EXPECT_EQ(FileContent(machine.Folder() / "mine"), "text");
}

TEST_F(RegistryStoreTest, TheHiveItselfMayLieBehindALink) {
  std::filesystem::rename(Hive(), machine.Folder() / "moved");
  std::filesystem::create_directory_symlink(machine.Folder() / "moved", Hive());
  EXPECT_EQ(MakeAndClose(u"Key\\Sub", kKeySetValue), kSuccess);
  EXPECT_TRUE(std::filesystem::exists(machine.Folder() / "moved/Key/Sub"));
}

TEST_F(RegistryStoreTest, AValueThatCantBeWrittenLeavesTheOldOneAndNothingElse) {
  ASSERT_EQ(Set(u"value", "old"), kSuccess);
  const int result = RunInChild([this] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {100, 100};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    if (Set(u"value", std::string(1000, 'n')) != kDiskFull) return 2;
    return Set(u"other", std::string(1000, 'n')) == kDiskFull ? 0 : 3;
  });
  EXPECT_EQ(result, 0);
  EXPECT_THAT(Files(KeyFolder()), UnorderedElementsAre("value.value"));
  EXPECT_EQ(FileContent(ValueFile()).substr(12), "old");
}

TEST_F(RegistryStoreTest, NoDescriptorStaysOpenAndNoneIsInherited) {
  const auto descriptors = [] {
    std::vector<std::string> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
      open.push_back(entry.path().filename());
    return open.size();
  };
  const std::size_t before = descriptors();
  ASSERT_EQ(MakeAndClose(u"Key\\A\\B", kKeyAllAccess), kSuccess);
  ASSERT_EQ(OpenAndClose(u"KEY\\a\\Missing", kKeyAllAccess), kFileNotFound);
  ASSERT_EQ(Set(u"value", "data"), kSuccess);
  ASSERT_EQ(Query(u"VALUE"), kSuccess);
  ASSERT_EQ(Query(u"missing"), kFileNotFound);
  ASSERT_EQ(RemoveRegistryKey(key, u"A\\B"), kSuccess);
  ASSERT_EQ(RemoveRegistryTree(u"Key\\A"), kSuccess);
  EXPECT_EQ(descriptors(), before);
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    const path target = std::filesystem::read_symlink(entry.path(), gone);
    if (gone || target != KeyFolder()) continue;
    const int flags = fcntl(std::stoi(entry.path().filename()), F_GETFD);
    EXPECT_NE(flags & FD_CLOEXEC, 0);
  }
}

TEST_F(RegistryStoreTest, AKeyThatMayOnlyBeReadIsOpenedForReadingAlone) {
  ASSERT_EQ(Set(u"value", "data"), kSuccess);
  ASSERT_EQ(MakeAndClose(u"Key\\Sub", kKeyRead), kSuccess);
  std::filesystem::permissions(KeyFolder(), perms(0555));
  const int result = RunAsNobody([] {
    RegistryKey own = nullptr;
    if (OpenRegistryKey(u"Key", kKeyRead, own) != kSuccess) return 1;
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    if (QueryRegistryValue(own, u"value", type, nullptr, size) != kSuccess || size != 4) return 2;
    if (OpenAndClose(u"Key", kKeyAllAccess) != kAccessDenied) return 3;
    if (OpenAndClose(u"Key", kKeySetValue) != kAccessDenied) return 4;
    if (MakeAndClose(u"Key", kKeySetValue) != kAccessDenied) return 5;
    if (MakeAndClose(u"Key", kKeyRead) != kSuccess) return 6;
    if (MakeAndClose(u"Key\\New", kKeyRead) != kAccessDenied) return 7;
    if (RemoveRegistryKey(own, u"Sub") != kAccessDenied) return 8;
    if (RemoveRegistryTree(u"Key") != kAccessDenied) return 9;
    CloseRegistryKey(own);
    return 0;
  });
  EXPECT_EQ(result, 0);
  EXPECT_THAT(Files(KeyFolder()), UnorderedElementsAre("Sub", "value.value"));
}

TEST_F(RegistryStoreTest, AKeyThatCantBeRemovedKeepsItsValues) {
  ASSERT_EQ(Set(u"value", "data"), kSuccess);
  std::filesystem::permissions(KeyFolder(), perms(0777));
  std::filesystem::permissions(Hive(), perms(0555));
  const int result = RunAsNobody([] { return static_cast<int>(RemoveRegistryTree(u"Key")); });
  std::filesystem::permissions(Hive(), perms(0755));
  EXPECT_EQ(result, static_cast<int>(kAccessDenied));
  EXPECT_THAT(Files(KeyFolder()), UnorderedElementsAre("value.value"));
}

TEST_F(RegistryStoreTest, AKeyThatMayNotBeReadIsDenied) {
  for (const int mode : {0000, 0111, 0444, 0333}) {
    std::filesystem::permissions(KeyFolder(), perms(mode));
    const int result = RunAsNobody([] { return static_cast<int>(OpenAndClose(u"Key", kKeyRead)); });
    EXPECT_EQ(result, static_cast<int>(kAccessDenied)) << mode;
  }
}

TEST_F(RegistryStoreTest, AKeyThatMayOnlyBeWrittenTakesValuesThatAreThere) {
  ASSERT_EQ(Set(u"value", "old"), kSuccess);
  std::filesystem::permissions(KeyFolder(), perms(0333));
  const int result = RunAsNobody([] {
    RegistryKey own = nullptr;
    if (OpenRegistryKey(u"Key", kKeySetValue, own) != kSuccess) return 1;
    if (SetRegistryValue(own, u"value", kRegBinary, "new", 3) != kSuccess) return 2;
    CloseRegistryKey(own);
    return 0;
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(FileContent(ValueFile()).substr(12), "new");
}

TEST_F(RegistryStoreTest, AValueThatMayNotBeReadIsDenied) {
  ASSERT_EQ(Set(u"value", "data"), kSuccess);
  std::filesystem::permissions(ValueFile(), perms(0000));
  const int result = RunAsNobody([] {
    RegistryKey own = nullptr;
    if (OpenRegistryKey(u"Key", kKeyRead, own) != kSuccess) return 1;
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    return static_cast<int>(QueryRegistryValue(own, u"value", type, nullptr, size));
  });
  EXPECT_EQ(result, static_cast<int>(kAccessDenied));
}

TEST_F(RegistryStoreTest, ProcessesThatMakeOneTreeAtOnceAllSucceed) {
  int gate[2];
  ASSERT_EQ(pipe2(gate, O_CLOEXEC), 0);
  std::vector<pid_t> children;
  for (int i = 0; i < 4; ++i) {
    children.push_back(StartChild([&gate] {
      char byte = 0;
      close(gate[1]);
      if (read(gate[0], &byte, 1) != 0) return 1;  // until the gate is closed for all
      for (char16_t round = u'a'; round <= u'z'; ++round) {
        const WideString tree = WideString(u"Key\\") + round + u"\\By\\All";
        if (MakeAndClose(tree, kKeySetValue) != kSuccess) return 2;
      }
      return 0;
    }));
  }
  close(gate[0]);
  close(gate[1]);
  for (const pid_t child : children) EXPECT_EQ(WaitForChild(child), 0);
  EXPECT_EQ(ListNames(key, RegistrySubkeyName).size(), 26u);
}

TEST_F(RegistryStoreTest, ANameThatNoFileCanHaveIsTooLong) {
  EXPECT_EQ(MakeAndClose(u"Key\\" + WideString(256, u'n'), kKeySetValue), kNameTooLong);
  EXPECT_EQ(OpenAndClose(u"Key\\" + WideString(256, u'n'), kKeyRead), kNameTooLong);
  EXPECT_EQ(Set(WideString(249, u'n'), "data"), kSuccess);
  EXPECT_EQ(Set(WideString(250, u'n'), "data"), kNameTooLong);
  EXPECT_EQ(Query(WideString(250, u'n')), kNameTooLong);
}

TEST_F(RegistryStoreTest, AMachineWithoutARootHasNoRegistryAndGetsNone) {
  const std::string root = getenv("LARDER_ROOT");
  setenv("LARDER_ROOT", (machine.Folder() / "missing").c_str(), 1);
  EXPECT_EQ(OpenAndClose(u"Key", kKeyRead), kFileNotFound);
  EXPECT_EQ(MakeAndClose(u"Key", kKeySetValue), kFileNotFound);
  EXPECT_FALSE(std::filesystem::exists(machine.Folder() / "missing"));
  setenv("LARDER_ROOT", root.c_str(), 1);
}

}  // namespace
}  // namespace larder::platform
