// What is deleted and written, in which order, and what is reported when the system refuses.
#include "support/installed-state.h"

#include <gmock/gmock.h>

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
  const std::pair<WideString, bool> cases[] = {
      {kRealInstallation, true},
      {LARDER_WIDE("C:\\Program Files\\"), true},
      {LARDER_WIDE("C:\\Program Files\\Common Files\\Velmor\\Baserack\\Extra\\"), false},
      {LARDER_WIDE("D:\\Program Files\\"), false},
      {LARDER_WIDE(""), false}};
  for (const auto& [location, isInstalled] : cases) {
    CurrentRegistry.location = location;
    EXPECT_EQ(IsInstalledInCommonFiles(), isInstalled) << WideToUtf8(location);
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
  EXPECT_FALSE(log.Contains("RemoveDirectory() failed"));
  CurrentFolders.removeCode = platform::kSharingViolation;
  DeleteLarderDataDir();
  CurrentFolders.isEmpty = false;
  DeleteLarderProgramDir();
  CurrentRegistry.location = LARDER_WIDE("E:\\elsewhere");
  CurrentFolders.deleteResult = -1;
  DeleteLarderProgramDir();
  const std::string deleteData = "delete D:\\data\\Velmor\\Larder\\||";
  const std::string isEmpty = "is empty D:\\data\\Velmor\\";
  const std::string remove = "remove D:\\data\\Velmor\\";
  EXPECT_THAT(CurrentFolders.calls,
              ElementsAre(deleteData, isEmpty, remove, deleteData, isEmpty, remove,
                          "delete D:\\programs\\Velmor\\Larder\\||",
                          "is empty D:\\programs\\Velmor\\", "delete E:\\elsewhere||"));
  for (const std::string& line : {" WARN: RemoveDirectory() failed: " + Code(32),
                                  std::string("TRACE: Velmor directory is not empty.\n"),
                                  std::string(" WARN: SHFileOperation() failed: -1\n")}) {
    EXPECT_THAT(log.Text(), HasSubstr(line));
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
  const std::string key = " failed for \"Software\\Velmor\\\": ";
  const std::vector<std::string> all = {"open Software\\Velmor\\", "subkey", "value",
                                        "open Software\\", "remove key Velmor"};
  const struct {
    std::ptrdiff_t calls;
    platform::Code code;  // of the last call
    std::string line;
  } rows[] = {{1, 2, " WARN: RegOpenKeyEx" + key + Code(2)},
              {2, platform::kMoreData, " WARN: RegEnumKeyEx" + key + Code(234)},
              {2, platform::kSuccess, "TRACE: Velmor reg key is not empty.\n"},
              {3, platform::kMoreData, " WARN: RegEnumValue" + key + Code(234)},
              {3, platform::kSuccess, "TRACE: Velmor reg key is not empty.\n"},
              {4, 5, " WARN: RegOpenKeyEx failed for \"Software\\\": " + Code(5)},
              {5, 5, " WARN: RegDeleteKeyEx" + key + Code(5)},
              {5, platform::kSuccess, "TRACE: Velmor reg key is empty - deleting it.\n"}};
  for (const auto& [count, code, line] : rows) {
    Reset();
    const std::vector calls(all.begin(), all.begin() + count);
    CurrentRegistry.codes[calls.back()] = code;
    DeleteVelmorRegistryKeyIfEmpty();
    EXPECT_EQ(CurrentRegistry.calls, calls) << line;
    EXPECT_THAT(log.Text(), HasSubstr(line));
  }
}

TEST_F(InstalledState, TheDefaultsAreWrittenWhateverFails) {
  CurrentRegistry.codes = {{"remove tree Software\\Velmor\\Larder\\", platform::kAccessDenied},
                           {"open Software\\Velmor\\", platform::kAccessDenied},
                           {"set szDLL", platform::kAccessDenied}};
  RegisterDefaultProviders();
  for (const char* const failed :
       {"RegDeleteTree failed for \"Software\\Velmor\\Larder\\\": ",
        "RegSetValueEx failed for \"DataProviders\\FeedTest\", \"szDLL\": "}) {
    EXPECT_THAT(log.Text(), HasSubstr(std::string(" WARN: ") + failed + Code(5)));
  }
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
