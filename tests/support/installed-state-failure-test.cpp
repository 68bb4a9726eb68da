// Setting up and taking away where the system refuses: the order of calls, and what is told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "diag/log-pieces.h"
#include "fakes/fake-folder.h"
#include "fakes/fake-registry.h"
#include "support/installed-state.h"
#include "support/text.h"
#include "testing/recorded-log.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RefusedRemoval : public testing::Test {
 protected:
  RefusedRemoval() {
    CurrentFolders = {};
    CurrentRegistry = {};
  }

  // What a failing system's part looks like at the end of a line.
  static std::string Code(platform::Code code) {
    return WideToUtf8(FormatSystemError(code)) + "\r\n";
  }

  RecordedLog log;
};

TEST_F(RefusedRemoval, AParentIsLookedAtAfterTheDirectoryHasGone) {
  DeleteDirectoryAndParentIfEmpty(LARDER_WIDE("D:\\a\\b"), LARDER_WIDE("D:\\a"));
  EXPECT_THAT(CurrentFolders.calls,
              ElementsAre("delete D:\\a\\b||", "is empty D:\\a", "remove D:\\a"));
  EXPECT_EQ(log.Text(),
            "TRACE: Entering DeleteDirectoryAndParentIfEmpty()\n"
            "TRACE: Leaving DeleteDirectoryAndParentIfEmpty()\n");
}

TEST_F(RefusedRemoval, AFailedDeletionLeavesTheParentAlone) {
  for (const int result : {124, 0x10000, -1}) {
    CurrentFolders = {};
    log.Clear();
    CurrentFolders.deleteResult = result;
    DeleteLarderDataDir();
    EXPECT_THAT(CurrentFolders.calls, ElementsAre("delete D:\\data\\Velmor\\Larder\\||"));
    EXPECT_THAT(log.Text(), HasSubstr(" WARN: SHFileOperation() failed: " + std::to_string(result) +
                                      "\nTRACE: Leaving DeleteDirectoryAndParentIfEmpty()\n"));
  }
}

TEST_F(RefusedRemoval, AParentThatHoldsMoreStays) {
  CurrentFolders.isEmpty = false;
  DeleteLarderProgramDir();
  EXPECT_THAT(CurrentFolders.calls, ElementsAre("delete D:\\programs\\Velmor\\Larder\\||",
                                                "is empty D:\\programs\\Velmor\\"));
  EXPECT_TRUE(log.Contains("TRACE: Velmor directory is not empty.\r\n"));
}

TEST_F(RefusedRemoval, AParentThatCannotGoIsTold) {
  CurrentFolders.removeCode = platform::kSharingViolation;
  DeleteLarderDataDir();
  EXPECT_TRUE(log.Contains(" WARN: RemoveDirectory() failed: " + Code(32)));
}

TEST_F(RefusedRemoval, TheDataTreeGoesWithoutAWord) {
  DeleteLarderDataTree();
  CurrentFolders.deleteResult = 5;
  DeleteLarderDataTree();
  EXPECT_THAT(CurrentFolders.calls, ElementsAre("delete D:\\data\\Velmor\\Larder\\||",
                                                "delete D:\\data\\Velmor\\Larder\\||"));
  CurrentFolders.calls.clear();
  CurrentFolders.commonFolderCode = platform::kAccessDenied;
  DeleteLarderDataTree();
  EXPECT_THAT(CurrentFolders.calls, IsEmpty());
  EXPECT_EQ(log.Text(), "");
}

TEST_F(RefusedRemoval, TheMakersKeyIsLookedAtAlsoWhenTheTreeCannotGo) {
  CurrentRegistry.codes["remove tree Software\\Velmor\\Larder\\"] = platform::kAccessDenied;
  DeleteLarderRegistryEntries();
  EXPECT_THAT(CurrentRegistry.calls,
              ElementsAre("open Software\\Velmor\\Larder\\Install", "query szLocation",
                          "remove tree Software\\Velmor\\Larder\\", "open Software\\Velmor\\",
                          "subkey", "value", "open Software\\", "remove key Velmor"));
  EXPECT_TRUE(
      log.Contains(" WARN: RegDeleteTree failed for \"Software\\Velmor\\Larder\\\": " + Code(5)));
  EXPECT_TRUE(log.Contains("TRACE: Velmor reg key is empty - deleting it.\r\n"));
}

struct Refusal {
  const char* call;
  platform::Code code;
  const char* line;  // up to the code
  std::size_t calls;
};

TEST_F(RefusedRemoval, EachStepAtTheMakersKeyTellsItsFailureAndIsTheLast) {
  const Refusal refusals[] = {
      {"open Software\\Velmor\\", 2, "RegOpenKeyEx failed for \"Software\\Velmor\\\": ", 1},
      {"subkey", platform::kMoreData, "RegEnumKeyEx failed for \"Software\\Velmor\\\": ", 2},
      {"value", platform::kMoreData, "RegEnumValue failed for \"Software\\Velmor\\\": ", 3},
      {"open Software\\", 5, "RegOpenKeyEx failed for \"Software\\\": ", 4},
      {"remove key Velmor", 5, "RegDeleteKeyEx failed for \"Software\\Velmor\\\": ", 5},
  };
  for (const Refusal& refusal : refusals) {
    CurrentRegistry = {};
    log.Clear();
    CurrentRegistry.codes[refusal.call] = refusal.code;
    DeleteVelmorRegistryKeyIfEmpty();
    EXPECT_EQ(CurrentRegistry.calls.size(), refusal.calls) << refusal.call;
    EXPECT_EQ(CurrentRegistry.calls.back(), refusal.call);
    EXPECT_TRUE(log.Contains(std::string(" WARN: ") + refusal.line + Code(refusal.code)))
        << log.Text();
  }
}

TEST_F(RefusedRemoval, ASubkeyOrAValueKeepsTheMakersKey) {
  for (const char* found : {"subkey", "value"}) {
    CurrentRegistry = {};
    log.Clear();
    CurrentRegistry.codes[found] = platform::kSuccess;
    DeleteVelmorRegistryKeyIfEmpty();
    EXPECT_EQ(CurrentRegistry.calls.back(), found);
    EXPECT_TRUE(log.Contains("TRACE: Velmor reg key is not empty.\r\n")) << found;
  }
}

TEST_F(RefusedRemoval, TheDefaultsAreWrittenRowByRowWhateverFails) {
  CurrentRegistry.codes["remove tree Software\\Velmor\\Larder\\"] = platform::kAccessDenied;
  CurrentRegistry.codes["open Software\\Velmor\\"] = platform::kAccessDenied;
  CurrentRegistry.codes["set szDLL"] = platform::kAccessDenied;
  RegisterDefaultProviders();
  const std::vector<std::string> calls = CurrentRegistry.calls;
  const auto first =
      std::find(calls.begin(), calls.end(), "make Software\\Velmor\\Larder\\Install");
  EXPECT_THAT(
      std::vector<std::string>(first, calls.end()),
      ElementsAre("make Software\\Velmor\\Larder\\Install", "set szLocation",
                  "make Software\\Velmor\\Larder\\DataProviders\\FeedTest", "set szDLL",
                  "make Software\\Velmor\\Larder\\DataProviders\\FeedFile", "set szDLL",
                  "make Software\\Velmor\\Larder\\DataProviders\\FeedFile", "set szFileQuery",
                  "make Software\\Velmor\\Larder\\DataProviders\\FeedStats", "set szDLL"));
}

}  // namespace
}  // namespace larder
