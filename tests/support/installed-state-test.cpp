// What is deleted and written, in which order, and what is reported when the system refuses.
#include "support/installed-state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake-folder.h"
#include "fakes/fake-registry.h"
#include "log/log-pieces.h"
#include "testing/recorded-log.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr LarderWideChar kRealInstallation[] =
    LARDER_WIDE("c:\\program files\\common files\\velmor\\baserack\\");

class InstalledState : public testing::Test {
 protected:
  InstalledState() { Reset(); }

  void Reset() {
    CurrentFolders = {};
    CurrentRegistry = {};
    log.Clear();
  }

  static std::string Code(platform::Code code) {
    return WideToUtf8(FormatSystemError(code)) + "\n";
  }

  RecordedLog log;
};

TEST_F(InstalledState, ALeadingPartOfTheDefaultLocationMeansARealInstallation) {
  const struct {
    const LarderWideChar* location;
    bool isInstalled;
  } cases[] = {
      {kRealInstallation, true},
      {LARDER_WIDE("C:\\Program Files\\Common Files\\Velmor\\Baserack\\"), true},
      {LARDER_WIDE("c:\\program files\\"), true},
      {LARDER_WIDE("C:\\Program Files\\Common Files\\Velmor\\Baserack\\Extra\\"), false},
      {LARDER_WIDE("D:\\Program Files\\"), false},
      {LARDER_WIDE(""), false},
  };
  for (const auto& c : cases) {
    CurrentRegistry.location = c.location;
    EXPECT_EQ(IsInstalledInCommonFiles(), c.isInstalled) << WideToUtf8(c.location);
  }
}

TEST_F(InstalledState, ARealInstallationKeepsItsRegistry) {
  CurrentRegistry.location = kRealInstallation;
  DeleteLarderRegistryEntries();
  RemoveRegistryIfNotInstalled();
  RegisterDefaultProviders();
  for (const std::string& call : CurrentRegistry.calls) {
    EXPECT_THAT(call, testing::AnyOf(HasSubstr("\\Install"), HasSubstr("query")));
  }
}

TEST_F(InstalledState, TheDirectoriesAreDeletedWithTheMakersIfThatIsEmpty) {
  DeleteLarderDataDir();
  CurrentRegistry.location = LARDER_WIDE("E:\\elsewhere");
  CurrentFolders.isEmpty = false;
  DeleteLarderProgramDir();
  EXPECT_THAT(CurrentFolders.calls,
              ElementsAre("delete D:\\data\\Velmor\\Larder\\||", "is empty D:\\data\\Velmor\\",
                          "remove D:\\data\\Velmor\\", "delete E:\\elsewhere||",
                          "is empty D:\\programs\\Velmor\\"));
}

TEST_F(InstalledState, ARefusalEndsTheDeletionOfADirectoryAndItsParent) {
  const std::vector<std::string> all = {"delete D:\\a\\b||", "is empty D:\\a", "remove D:\\a"};
  const struct {
    int deleteResult;
    bool isEmpty;
    platform::Code removeCode;
    std::ptrdiff_t calls;
    std::string line;
  } rows[] = {
      {0, true, platform::kSuccess, 3, ""},
      {124, true, platform::kSuccess, 1, " WARN: SHFileOperation() failed: 124\n"},
      {-1, true, platform::kSuccess, 1, " WARN: SHFileOperation() failed: -1\n"},
      {0, false, platform::kSuccess, 2, "TRACE: Velmor directory is not empty.\n"},
      {0, true, platform::kSharingViolation, 3, " WARN: RemoveDirectory() failed: " + Code(32)},
  };
  for (const auto& row : rows) {
    Reset();
    CurrentFolders.deleteResult = row.deleteResult;
    CurrentFolders.isEmpty = row.isEmpty;
    CurrentFolders.removeCode = row.removeCode;
    DeleteDirectoryAndParentIfEmpty(LARDER_WIDE("D:\\a\\b"), LARDER_WIDE("D:\\a"));
    EXPECT_EQ(CurrentFolders.calls, std::vector(all.begin(), all.begin() + row.calls)) << row.line;
    EXPECT_EQ(log.Text(), "TRACE: Entering DeleteDirectoryAndParentIfEmpty()\n" + row.line +
                              "TRACE: Leaving DeleteDirectoryAndParentIfEmpty()\n");
  }
}

TEST_F(InstalledState, TheDataTreeIsDeletedSilently) {
  CurrentFolders.deleteResult = 5;
  DeleteLarderDataTree();
  CurrentFolders.commonFolderCode = platform::kAccessDenied;
  DeleteLarderDataTree();
  EXPECT_THAT(CurrentFolders.calls, ElementsAre("delete D:\\data\\Velmor\\Larder\\||"));
  EXPECT_EQ(log.Text(), "");
}

TEST_F(InstalledState, TheMakersKeyIsDeletedUnlessAStepFails) {
  const auto failed = [](const char* call, const char* key, platform::Code code) {
    return std::string(" WARN: ") + call + " failed for \"" + key + "\": " + Code(code);
  };
  const std::string notEmpty = "TRACE: Velmor reg key is not empty.\n";
  const std::vector<std::string> all = {"open Software\\Velmor\\", "subkey", "value",
                                        "open Software\\", "remove key Velmor"};
  const struct {
    std::ptrdiff_t calls;
    platform::Code code;  // of the last call
    std::string line;
  } rows[] = {
      {1, 2, failed("RegOpenKeyEx", "Software\\Velmor\\", 2)},
      {2, platform::kMoreData, failed("RegEnumKeyEx", "Software\\Velmor\\", 234)},
      {2, platform::kSuccess, notEmpty},
      {3, platform::kMoreData, failed("RegEnumValue", "Software\\Velmor\\", 234)},
      {3, platform::kSuccess, notEmpty},
      {4, 5, failed("RegOpenKeyEx", "Software\\", 5)},
      {5, 5, failed("RegDeleteKeyEx", "Software\\Velmor\\", 5)},
      {5, platform::kSuccess, "TRACE: Velmor reg key is empty - deleting it.\n"},
  };
  for (const auto& row : rows) {
    Reset();
    const std::vector calls(all.begin(), all.begin() + row.calls);
    CurrentRegistry.codes[calls.back()] = row.code;
    DeleteVelmorRegistryKeyIfEmpty();
    EXPECT_EQ(CurrentRegistry.calls, calls) << row.line;
    EXPECT_THAT(log.Text(), HasSubstr(row.line));
  }
}

TEST_F(InstalledState, TheDefaultsAreWrittenWhateverFails) {
  for (const char* const call :
       {"remove tree Software\\Velmor\\Larder\\", "open Software\\Velmor\\", "set szDLL"}) {
    CurrentRegistry.codes[call] = platform::kAccessDenied;
  }
  RegisterDefaultProviders();
  EXPECT_THAT(
      log.Text(),
      HasSubstr(" WARN: RegDeleteTree failed for \"Software\\Velmor\\Larder\\\": " + Code(5)));
  EXPECT_THAT(log.Text(),
              HasSubstr(" WARN: RegSetValueEx failed for \"DataProviders\\FeedTest\", \"szDLL\": " +
                        Code(5)));
  std::vector<std::string> calls = CurrentRegistry.calls;
  std::erase(calls, "query szLocation");
  const std::string install = "open Software\\Velmor\\Larder\\Install";
  const std::string maker = "open Software\\Velmor\\";
  const std::string providers = "make Software\\Velmor\\Larder\\DataProviders\\";
  EXPECT_THAT(
      calls,
      ElementsAre(install, install, install, "remove tree Software\\Velmor\\Larder\\", maker, maker,
                  "make Software\\Velmor\\Larder\\Install", "set szLocation",
                  providers + "FeedTest", "set szDLL", providers + "FeedFile", "set szDLL",
                  providers + "FeedFile", "set szFileQuery", providers + "FeedStats", "set szDLL"));
}

}  // namespace
}  // namespace larder
