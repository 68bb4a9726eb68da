// Setting up and taking away where the system refuses: the order of calls, and what is told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake-folder.h"
#include "fakes/fake-registry.h"
#include "log/log-pieces.h"
#include "support/installed-state.h"
#include "testing/recorded-log.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class RefusedRemoval : public testing::Test {
 protected:
  RefusedRemoval() {
    CurrentFolders = {};
    CurrentRegistry = {};
  }

  // What a failing system's part looks like at the end of a line.
  static std::string Code(platform::Code code) {
    return WideToUtf8(FormatSystemError(code)) + "\n";
  }

  RecordedLog log;
};

TEST_F(RefusedRemoval, AParentIsLookedAtAfterItsDirectoryHasGoneAndGoesWhenItIsEmpty) {
  const std::vector<std::string> all = {"delete D:\\a\\b||", "is empty D:\\a", "remove D:\\a"};
  const struct {
    int deleteResult;
    bool isEmpty;
    platform::Code removeCode;
    std::size_t calls;
    std::string line;
  } rows[] = {
      {0, true, platform::kSuccess, 3, ""},
      {124, true, platform::kSuccess, 1, " WARN: SHFileOperation() failed: 124\n"},
      {-1, true, platform::kSuccess, 1, " WARN: SHFileOperation() failed: -1\n"},
      {0, false, platform::kSuccess, 2, "TRACE: Velmor directory is not empty.\n"},
      {0, true, platform::kSharingViolation, 3, " WARN: RemoveDirectory() failed: " + Code(32)},
  };
  for (const auto& row : rows) {
    CurrentFolders = {.deleteResult = row.deleteResult,
                      .isEmpty = row.isEmpty,
                      .removeCode = row.removeCode,
                      .calls = {}};
    log.Clear();
    DeleteDirectoryAndParentIfEmpty(LARDER_WIDE("D:\\a\\b"), LARDER_WIDE("D:\\a"));
    EXPECT_EQ(CurrentFolders.calls,
              std::vector<std::string>(all.begin(), all.begin() + std::ptrdiff_t(row.calls)))
        << row.line;
    EXPECT_EQ(log.Text(), "TRACE: Entering DeleteDirectoryAndParentIfEmpty()\n" + row.line +
                              "TRACE: Leaving DeleteDirectoryAndParentIfEmpty()\n");
  }
}

TEST_F(RefusedRemoval, TheDataTreeGoesOrStaysWithoutAWord) {
  CurrentFolders.deleteResult = 5;
  DeleteLarderDataTree();
  CurrentFolders.commonFolderCode = platform::kAccessDenied;
  DeleteLarderDataTree();
  EXPECT_THAT(CurrentFolders.calls, ElementsAre("delete D:\\data\\Velmor\\Larder\\||"));
  EXPECT_EQ(log.Text(), "");
}

TEST_F(RefusedRemoval, TheMakersKeyIsLookedAtAlsoWhenTheTreeCannotGo) {
  CurrentRegistry.codes["remove tree Software\\Velmor\\Larder\\"] = platform::kAccessDenied;
  DeleteLarderRegistryEntries();
  EXPECT_THAT(CurrentRegistry.calls,
              ElementsAre("open Software\\Velmor\\Larder\\Install", "query szLocation",
                          "remove tree Software\\Velmor\\Larder\\", "open Software\\Velmor\\",
                          "subkey", "value", "open Software\\", "remove key Velmor"));
  EXPECT_THAT(
      log.Text(),
      HasSubstr(" WARN: RegDeleteTree failed for \"Software\\Velmor\\Larder\\\": " + Code(5)));
  EXPECT_THAT(log.Text(), HasSubstr("TRACE: Velmor reg key is empty - deleting it.\n"
                                    "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
                                    "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
                                    "TRACE: Leaving DeleteVelmorRegistryKeyIfEmpty()\n"
                                    "TRACE: Leaving DeleteLarderRegistryEntries()\n"));
}

TEST_F(RefusedRemoval, EachStepAtTheMakersKeyTellsWhyItIsTheLast) {
  const std::string notEmpty = "TRACE: Velmor reg key is not empty.\n";
  const auto failed = [](const char* call, const char* key, platform::Code code) {
    return std::string(" WARN: ") + call + " failed for \"" + key + "\": " + Code(code);
  };
  const struct {
    const char* call;
    platform::Code code;
    std::string line;
    std::size_t calls;
  } rows[] = {
      {"open Software\\Velmor\\", 2, failed("RegOpenKeyEx", "Software\\Velmor\\", 2), 1},
      {"subkey", platform::kMoreData, failed("RegEnumKeyEx", "Software\\Velmor\\", 234), 2},
      {"subkey", platform::kSuccess, notEmpty, 2},
      {"value", platform::kMoreData, failed("RegEnumValue", "Software\\Velmor\\", 234), 3},
      {"value", platform::kSuccess, notEmpty, 3},
      {"open Software\\", 5, failed("RegOpenKeyEx", "Software\\", 5), 4},
      {"remove key Velmor", 5, failed("RegDeleteKeyEx", "Software\\Velmor\\", 5), 5},
  };
  for (const auto& row : rows) {
    CurrentRegistry = {};
    log.Clear();
    CurrentRegistry.codes[row.call] = row.code;
    DeleteVelmorRegistryKeyIfEmpty();
    EXPECT_EQ(CurrentRegistry.calls.size(), row.calls) << row.line;
    EXPECT_EQ(CurrentRegistry.calls.back(), row.call);
    EXPECT_THAT(log.Text(), HasSubstr(row.line));
  }
}

TEST_F(RefusedRemoval, TheDefaultsAreWrittenRowByRowWhateverFails) {
  const std::string tree = "remove tree Software\\Velmor\\Larder\\";
  const std::string maker = "open Software\\Velmor\\";
  const std::string install = "open Software\\Velmor\\Larder\\Install";
  const std::string providers = "make Software\\Velmor\\Larder\\DataProviders\\";
  for (const std::string& call : {tree, maker, std::string("set szDLL")}) {
    CurrentRegistry.codes[call] = platform::kAccessDenied;
  }
  RegisterDefaultProviders();
  EXPECT_THAT(log.Text(),
              HasSubstr(" WARN: RegSetValueEx failed for \"DataProviders\\FeedTest\", \"szDLL\": " +
                        Code(5)));
  std::vector<std::string> calls = CurrentRegistry.calls;
  calls.erase(std::remove(calls.begin(), calls.end(), "query szLocation"), calls.end());
  EXPECT_THAT(calls, ElementsAre(install, install, install, tree, maker, maker,
                                 "make Software\\Velmor\\Larder\\Install", "set szLocation",
                                 providers + "FeedTest", "set szDLL", providers + "FeedFile",
                                 "set szDLL", providers + "FeedFile", "set szFileQuery",
                                 providers + "FeedStats", "set szDLL"));
}

}  // namespace
}  // namespace larder
