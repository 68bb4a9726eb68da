// Setting up and taking away on a real registry and in real folders.
#include "support/installed-state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "log/log-pieces.h"
#include "support/paths.h"
#include "support/registry.h"
#include "testing/files.h"
#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

using testing::HasSubstr;
using testing::Not;

bool Exists(const WideString& path) { return std::filesystem::exists(PathOf(path)); }

void MakeFile(const WideString& path) {
  std::filesystem::create_directories(PathOf(path).parent_path());
  std::ofstream(PathOf(path)) << "content";
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
  MakeFile(GetVelmorDataPath() + LARDER_WIDE("Other\\file"));
  EXPECT_THAT(LogOf(DeleteLarderDataDir),
              HasSubstr("TRACE: Velmor directory is not empty.\n"
                        "TRACE: Leaving DeleteDirectoryAndParentIfEmpty()\n"
                        "TRACE: Leaving DeleteLarderDataDir()\n"));
  EXPECT_FALSE(Exists(GetLarderDataPath()));
  EXPECT_TRUE(Exists(GetVelmorDataPath() + LARDER_WIDE("Other\\file")));

  std::filesystem::remove_all(PathOf(GetVelmorDataPath()));
  MakeFile(GetLarderDataPath() + LARDER_WIDE("db\\facts"));
  EXPECT_THAT(LogOf(DeleteLarderDataDir), Not(HasSubstr("WARN")));
  EXPECT_FALSE(Exists(GetVelmorDataPath()));
}

TEST_F(InstalledState, TheProgramDirectoryIsTheOneThatTheRegistryNamesOrElseTheDefaultOne) {
  MakeFile(GetVelmorProgramPath() + LARDER_WIDE("Larder\\module.dll"));
  DeleteLarderProgramDir();
  EXPECT_FALSE(Exists(GetVelmorProgramPath()));

  const WideString location = machine.WideFolder() + LARDER_WIDE("elsewhere\\");
  MakeFile(location + LARDER_WIDE("module.dll"));
  MakeFile(machine.WideFolder() + LARDER_WIDE("beside"));
  std::filesystem::create_directories(PathOf(GetVelmorProgramPath()));
  SetLocation(location);
  EXPECT_THAT(LogOf(DeleteLarderProgramDir), Not(HasSubstr("WARN")));
  EXPECT_FALSE(Exists(location));
  EXPECT_TRUE(Exists(machine.WideFolder() + LARDER_WIDE("beside")));
  EXPECT_FALSE(Exists(GetVelmorProgramPath())) << "the default parent is the one that is looked at";
}

TEST_F(InstalledState, TheDataTreeGoesWithoutTheMakersDirectory) {
  MakeFile(GetLarderDataPath() + LARDER_WIDE("logs\\lr_1.log"));
  EXPECT_EQ(LogOf(DeleteLarderDataTree), "");
  EXPECT_FALSE(Exists(GetLarderDataPath()));
  EXPECT_TRUE(Exists(GetVelmorDataPath()));
}

TEST_F(InstalledState, ARealInstallationKeepsItsRegistryButNotItsData) {
  SetLocation(LARDER_WIDE("c:\\program files\\common files\\velmor\\baserack\\"));
  for (const auto routine :
       {DeleteLarderRegistryEntries, RemoveRegistryIfNotInstalled, RegisterDefaultProviders}) {
    EXPECT_THAT(LogOf(routine), Not(HasSubstr("DeleteVelmorRegistryKeyIfEmpty")));
    EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation")),
              LARDER_WIDE("c:\\program files\\common files\\velmor\\baserack\\"));
    EXPECT_EQ(GetRegistryString(LARDER_WIDE("DataProviders\\FeedTest"), LARDER_WIDE("szDLL")),
              WideString());
  }
  MakeFile(GetLarderDataPath() + LARDER_WIDE("logs\\lr_1.log"));
  DeleteLarderDataDir();
  EXPECT_FALSE(Exists(GetLarderDataPath()));
}

}  // namespace
}  // namespace larder
