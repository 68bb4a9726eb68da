// Setting up and taking away on a real registry and in real folders.
#include "support/installed-state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "diag/log-pieces.h"
#include "platform/registry.h"
#include "support/paths.h"
#include "support/registry.h"
#include "support/text.h"
#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

using testing::HasSubstr;
using testing::Not;

const WideString kMakerKey = LARDER_WIDE("Software\\Velmor");
const WideString kProductKey = LARDER_WIDE("Software\\Velmor\\Larder");

std::filesystem::path Native(WideString path) {
  std::replace(path.begin(), path.end(), LarderWideChar('\\'), LarderWideChar('/'));
  return {path};
}

bool Exists(const WideString& path) { return std::filesystem::exists(Native(path)); }

void MakeFile(const WideString& path) {
  std::filesystem::create_directories(Native(path).parent_path());
  std::ofstream(Native(path)) << "content";
}

bool KeyExists(const WideString& path) {
  platform::RegistryKey key = nullptr;
  const platform::Code code = platform::OpenRegistryKey(path, platform::kKeyRead, key);
  platform::CloseRegistryKey(key);
  return code == platform::kSuccess;
}

void MakeKey(const WideString& path) {
  platform::RegistryKey key = nullptr;
  ASSERT_EQ(platform::MakeRegistryKey(path, platform::kKeyRead, key), platform::kSuccess);
  platform::CloseRegistryKey(key);
}

// A text of any length, which GetRegistryString can't read.
WideString LongText(const WideString& subkey, const WideString& name) {
  platform::RegistryKey key = nullptr;
  EXPECT_EQ(
      platform::OpenRegistryKey(WideString(LarderRegistryRoot) + subkey, platform::kKeyRead, key),
      platform::kSuccess);
  LarderWideChar text[1024] = {};
  std::uint32_t type = 0;
  std::uint32_t size = sizeof text;
  EXPECT_EQ(platform::QueryRegistryValue(key, name, type, text, size), platform::kSuccess);
  EXPECT_EQ(type, platform::kRegSz);
  platform::CloseRegistryKey(key);
  return text;
}

void SetLocation(const WideString& location) {
  SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), location);
}

class InstalledState : public testing::Test {
 protected:
  InstalledState() { machine.UseOwnCommonFolders(); }

  std::string LogOf(void (*routine)()) {
    log.Clear();
    routine();
    return log.Text();
  }

  static std::string CodeText(platform::Code code) { return WideToUtf8(FormatSystemError(code)); }

  TestMachine machine;
  RecordedLog log;
};

TEST_F(InstalledState, ALeadingPartOfTheDefaultLocationCountsAsInstalled) {
  const struct {
    const LarderWideChar* location;
    bool installed;
  } cases[] = {
      {LARDER_WIDE("c:\\program files\\common files\\velmor\\baserack\\"), true},
      {LARDER_WIDE("C:\\Program Files\\Common Files\\Velmor\\Baserack\\"), true},
      {LARDER_WIDE("c:\\program files\\"), true},
      {LARDER_WIDE("C:\\Program Files\\Common Files\\Velmor\\Baserack\\Extra\\"), false},
      {LARDER_WIDE("D:\\Program Files\\"), false},
      {LARDER_WIDE(""), false},
  };
  for (const auto& c : cases) {
    SetLocation(c.location);
    EXPECT_EQ(IsInstalledInCommonFiles(), c.installed) << WideToUtf8(c.location);
  }
}

TEST_F(InstalledState, TheDataDirectoryGoesAndTheMakersWithItWhenThatIsEmpty) {
  MakeFile(GetLarderDataPath() + LARDER_WIDE("logs\\lr_1.log"));
  MakeFile(GetLarderDataPath() + LARDER_WIDE("db\\facts"));
  EXPECT_THAT(LogOf(DeleteLarderDataDir), Not(HasSubstr("WARN")));
  EXPECT_FALSE(Exists(GetVelmorDataPath()));
}

TEST_F(InstalledState, AMakersDirectoryWithASecondProductStays) {
  MakeFile(GetLarderDataPath() + LARDER_WIDE("logs\\lr_1.log"));
  MakeFile(GetVelmorDataPath() + LARDER_WIDE("Other\\file"));
  EXPECT_THAT(LogOf(DeleteLarderDataDir),
              HasSubstr("TRACE: Velmor directory is not empty.\n"
                        "TRACE: Leaving DeleteDirectoryAndParentIfEmpty()\n"
                        "TRACE: Leaving DeleteLarderDataDir()\n"));
  EXPECT_FALSE(Exists(GetLarderDataPath()));
  EXPECT_TRUE(Exists(GetVelmorDataPath() + LARDER_WIDE("Other\\file")));
}

TEST_F(InstalledState, ADataDirectoryThatIsMissingIsAFailureAndLeavesTheMakers) {
  std::filesystem::create_directories(Native(GetVelmorDataPath()));
  const std::string text = LogOf(DeleteLarderDataDir);
  EXPECT_THAT(text, HasSubstr(" WARN: SHFileOperation() failed: "));
  EXPECT_THAT(text, Not(HasSubstr("SHFileOperation() failed: 0")));
  EXPECT_THAT(text, Not(HasSubstr("Velmor directory")));
  EXPECT_TRUE(Exists(GetVelmorDataPath()));
}

TEST_F(InstalledState, TheProgramDirectoryIsTheOneThatTheRegistryNames) {
  const WideString location = machine.WideFolder() + LARDER_WIDE("elsewhere\\");
  MakeFile(location + LARDER_WIDE("module.dll"));
  MakeFile(machine.WideFolder() + LARDER_WIDE("beside"));
  std::filesystem::create_directories(Native(GetVelmorProgramPath()));
  SetLocation(location);
  EXPECT_THAT(LogOf(DeleteLarderProgramDir), Not(HasSubstr("WARN")));
  EXPECT_FALSE(Exists(location));
  EXPECT_TRUE(Exists(machine.WideFolder() + LARDER_WIDE("beside")));
  EXPECT_FALSE(Exists(GetVelmorProgramPath())) << "the default parent is the one that is looked at";
}

TEST_F(InstalledState, WithoutALocationTheProgramDirectoryIsTheDefaultOne) {
  MakeFile(GetVelmorProgramPath() + LARDER_WIDE("Larder\\module.dll"));
  DeleteLarderProgramDir();
  EXPECT_FALSE(Exists(GetVelmorProgramPath()));
}

TEST_F(InstalledState, TheDataTreeGoesWithoutAWordAndWithoutTheMakersDirectory) {
  MakeFile(GetLarderDataPath() + LARDER_WIDE("logs\\lr_1.log"));
  EXPECT_EQ(LogOf(DeleteLarderDataTree), "");
  EXPECT_FALSE(Exists(GetLarderDataPath()));
  EXPECT_TRUE(Exists(GetVelmorDataPath()));
  EXPECT_EQ(LogOf(DeleteLarderDataTree), "");
}

TEST_F(InstalledState, TheRegistrysTreeGoesAndTheMakersKeyWithItWhenThatIsEmpty) {
  for (const LarderWideChar* location : {LARDER_WIDE(""), LARDER_WIDE("D:\\elsewhere\\")}) {
    SetLocation(location);
    SetRegistryString(LARDER_WIDE("DataProviders\\A"), LARDER_WIDE("szDLL"), LARDER_WIDE("a.dll"));
    const std::string text = LogOf(DeleteLarderRegistryEntries);
    EXPECT_THAT(text, HasSubstr("TRACE: Velmor reg key is empty - deleting it.\n"
                                "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
                                "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
                                "TRACE: Leaving DeleteVelmorRegistryKeyIfEmpty()\n"
                                "TRACE: Leaving DeleteLarderRegistryEntries()\n"));
    EXPECT_THAT(text, Not(HasSubstr("failed for \"Software")));
    EXPECT_FALSE(KeyExists(kMakerKey));
    EXPECT_TRUE(KeyExists(LARDER_WIDE("Software")));
  }
}

TEST_F(InstalledState, AMakersKeyWithAnotherSubkeyOrAnyValueStays) {
  SetLocation(LARDER_WIDE("D:\\elsewhere\\"));
  MakeKey(LARDER_WIDE("Software\\Velmor\\Other"));
  EXPECT_THAT(LogOf(DeleteLarderRegistryEntries),
              HasSubstr("TRACE: Velmor reg key is not empty.\n"));
  EXPECT_FALSE(KeyExists(kProductKey));
  EXPECT_TRUE(KeyExists(LARDER_WIDE("Software\\Velmor\\Other")));

  ASSERT_EQ(platform::RemoveRegistryTree(LARDER_WIDE("Software\\Velmor\\Other")),
            platform::kSuccess);
  platform::RegistryKey key = nullptr;
  ASSERT_EQ(platform::MakeRegistryKey(kMakerKey, platform::kKeySetValue, key), platform::kSuccess);
  EXPECT_EQ(platform::SetRegistryValue(key, {}, platform::kRegBinary, "", 0), platform::kSuccess);
  platform::CloseRegistryKey(key);
  EXPECT_THAT(LogOf(DeleteVelmorRegistryKeyIfEmpty),
              HasSubstr("TRACE: Velmor reg key is not empty.\n"));
  EXPECT_TRUE(KeyExists(kMakerKey));
}

TEST_F(InstalledState, ARealInstallationKeepsItsRegistry) {
  SetLocation(LARDER_WIDE("c:\\program files\\common files\\velmor\\baserack\\"));
  for (const auto routine :
       {DeleteLarderRegistryEntries, RemoveRegistryIfNotInstalled, RegisterDefaultProviders}) {
    EXPECT_THAT(LogOf(routine), Not(HasSubstr("DeleteVelmorRegistryKeyIfEmpty")));
    EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation")),
              LARDER_WIDE("c:\\program files\\common files\\velmor\\baserack\\"));
    EXPECT_FALSE(KeyExists(kProductKey + LARDER_WIDE("\\DataProviders")));
  }
}

TEST_F(InstalledState, ARealInstallationsDirectoriesAreNotProtected) {
  SetLocation(LARDER_WIDE("c:\\program files\\common files\\velmor\\baserack\\"));
  MakeFile(GetLarderDataPath() + LARDER_WIDE("logs\\lr_1.log"));
  DeleteLarderDataDir();
  EXPECT_FALSE(Exists(GetLarderDataPath()));
}

TEST_F(InstalledState, ARegistryWithoutTheTreeIsTold) {
  MakeKey(LARDER_WIDE("Software"));
  EXPECT_EQ(LogOf(RemoveRegistryIfNotInstalled),
            "TRACE: Entering GetRegistryString()\n"
            " WARN: RegOpenKeyExW failed for \"Install\": " +
                CodeText(0) +
                "\n"
                "TRACE: Destroying AutoRegKeyHandle handle 0000000000000000\n"
                "TRACE: Leaving GetRegistryString()\n"
                "TRACE: Entering DeleteLarderRegistryEntries()\n"
                "TRACE: Entering GetRegistryString()\n"
                " WARN: RegOpenKeyExW failed for \"Install\": " +
                CodeText(0) +
                "\n"
                "TRACE: Destroying AutoRegKeyHandle handle 0000000000000000\n"
                "TRACE: Leaving GetRegistryString()\n"
                " WARN: RegDeleteTree failed for \"Software\\Velmor\\Larder\\\": " +
                CodeText(2) +
                "\n"
                "TRACE: Entering DeleteVelmorRegistryKeyIfEmpty()\n"
                " WARN: RegOpenKeyEx failed for \"Software\\Velmor\\\": " +
                CodeText(2) +
                "\n"
                "TRACE: Destroying AutoRegKeyHandle handle 0000000000000000\n"
                "TRACE: Leaving DeleteVelmorRegistryKeyIfEmpty()\n"
                "TRACE: Leaving DeleteLarderRegistryEntries()\n"
                "TRACE: Entering DeleteVelmorRegistryKeyIfEmpty()\n"
                " WARN: RegOpenKeyEx failed for \"Software\\Velmor\\\": " +
                CodeText(2) +
                "\n"
                "TRACE: Destroying AutoRegKeyHandle handle 0000000000000000\n"
                "TRACE: Leaving DeleteVelmorRegistryKeyIfEmpty()\n");
}

TEST_F(InstalledState, TheDefaultProvidersLieBesideTheProgram) {
  SetRegistryString(LARDER_WIDE("DataProviders\\Former"), LARDER_WIDE("szDLL"),
                    LARDER_WIDE("former.dll"));
  RegisterDefaultProviders();
  EXPECT_EQ(LongText(LARDER_WIDE("Install"), LARDER_WIDE("szLocation")), GetPath(GetModuleName()));
  const struct {
    const LarderWideChar* subkey;
    const LarderWideChar* name;
    const LarderWideChar* data;
  } rows[] = {
      {LARDER_WIDE("FeedTest"), LARDER_WIDE("szDLL"), LARDER_WIDE("feed-test.dll")},
      {LARDER_WIDE("FeedFile"), LARDER_WIDE("szDLL"), LARDER_WIDE("feed-file.dll")},
      {LARDER_WIDE("FeedFile"), LARDER_WIDE("szFileQuery"), LARDER_WIDE("stock-file-query.dll")},
      {LARDER_WIDE("FeedStats"), LARDER_WIDE("szDLL"), LARDER_WIDE("feed-stats.dll")},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(GetRegistryString(LARDER_WIDE("DataProviders\\") + WideString(row.subkey), row.name),
              row.data);
  }
  EXPECT_FALSE(KeyExists(kProductKey + LARDER_WIDE("\\DataProviders\\Former")));
}

}  // namespace
}  // namespace larder
