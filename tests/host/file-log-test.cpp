// The log on disk, from the switch in the registry to the files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>

#include "host/host-machine.h"
#include "log-file/log-files.h"
#include "platform/utf.h"
#include "support/paths.h"
#include "support/registry.h"
#include "testing/files.h"

namespace larder {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class FileLog : public testing::Test {
 protected:
  FileLog() { host.AddProvider("A", "type-1.dll"); }

  void Session() {
    LarderHandle handle = nullptr;
    ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
    ASSERT_EQ(LarderRelease(), LARDER_OK);
  }
  static std::vector<WideString> Logs() { return GetLogFiles(LARDER_WIDE("lr_*.log*")); }

  HostMachine host;
};

TEST_F(FileLog, IsOnForExactlyOneSpelling) {
  for (const auto* const spelling : {LARDER_WIDE(""), LARDER_WIDE("True"), LARDER_WIDE("true "),
                                     LARDER_WIDE("TRUE"), LARDER_WIDE("1"), LARDER_WIDE("tru")}) {
    SetRegistryString(LARDER_WIDE("Logging"), LARDER_WIDE("szEnable"), spelling);
    EXPECT_FALSE(IsLoggingEnabled());
    Session();
  }
  EXPECT_FALSE(std::filesystem::exists(PathOf(GetLarderLogPath())));
  EnableLogging();
  EXPECT_TRUE(IsLoggingEnabled());
  Session();
  EXPECT_THAT(Logs(), SizeIs(1));
}

TEST_F(FileLog, AWholeSessionStandsInItLineByLine) {
  EnableLogging();
  host.log.Clear();
  Session();
  std::vector<std::string> heard = host.log.WholeLines();
  EXPECT_THAT(heard.back(), HasSubstr("Leaving LarderRelease()"));
  heard.resize(heard.size() - 5);  // and the logger's own four handles: it has gone
  heard.erase(heard.begin(), std::find_if(heard.begin(), heard.end(), [](const std::string& line) {
                return line.find("DataProviderManager::Provider::Provider()") != std::string::npos;
              }));
  ASSERT_THAT(Logs(), SizeIs(1));
  std::istringstream file(ContentOf(PathOf(Logs().front())));
  std::vector<std::string> written;
  for (std::string line; std::getline(file, line);) written.push_back(line + '\n');
  // Two listeners may hear lines of two threads in different order.
  std::sort(heard.begin(), heard.end());
  std::sort(written.begin(), written.end());
  EXPECT_EQ(written, heard);
}

TEST_F(FileLog, EachHandleDrawsANameOfItsOwn) {
  EnableLogging();
  Session();
  Session();
  ASSERT_THAT(Logs(), SizeIs(2));
  for (const WideString& log : Logs()) {
    EXPECT_TRUE(
        std::regex_search(platform::Utf8FromWide(log), std::regex("\\\\lr_[0-9A-Fa-f]+\\.log$")));
  }
  // Nothing but the logs is left behind.
  EXPECT_THAT(GetLogFiles(LARDER_WIDE("*.tmp")), IsEmpty());
}

TEST_F(FileLog, FailedBuildsLeaveTheirLoggersBehindAndEachLineGoesToAll) {
  EnableLogging();
  host.RemoveProvider("A");
  LarderHandle handle = nullptr;
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_E_DB_OPEN_FAILED);
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_E_DB_OPEN_FAILED);
  host.AddProvider("A", "type-1.dll");
  Session();
  // The last logger is gone with the handle and its file complete; those of the failed builds write
  // on to the end of the process, each at its own pace.
  const auto logs = Logs();
  ASSERT_THAT(logs, SizeIs(3));
  const auto isComplete = [&](const WideString& log) {
    const std::string text = ContentOf(PathOf(log));
    return text.find("Fatal error in LarderInit") == std::string::npos &&
           text.find("Last ref released, handle destroyed") != std::string::npos;
  };
  EXPECT_EQ(std::count_if(logs.begin(), logs.end(), isComplete), 1);
  EXPECT_TRUE(host.log.Contains("Leaving LarderRelease()"));
}

TEST_F(FileLog, AProductFolderThatIsAFileMovesTheLogUpTheTree) {
  EnableLogging();
  const WideString maker = GetVelmorDataPath();
  ASSERT_TRUE(CreateDirectoryTree(maker));
  std::ofstream(PathOf(maker) / "Larder") << "in the way";
  Session();
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(PathOf(maker), ignored)) {
    EXPECT_EQ(entry.path().extension(), entry.path().filename() == "Larder" ? "" : ".log");
  }
}

TEST_F(FileLog, FilesAreListedByNameAlone) {
  EXPECT_THAT(GetLogFiles(LARDER_WIDE("*.log")), IsEmpty());
  ASSERT_TRUE(CreateDirectoryTree(GetLarderLogPath()));
  host.log.Clear();
  EXPECT_THAT(GetFeedFileLogFiles(), IsEmpty());
  EXPECT_FALSE(host.log.Contains("feedf"));
  std::ofstream(PathOf(GetLarderLogPath()) / "feedfile_1.log") << "x";
  std::ofstream(PathOf(GetLarderLogPath()) / "feedfile_1.log.1") << "x";
  std::filesystem::create_directory(PathOf(GetLarderLogPath()) / "feedf.log");
  EXPECT_THAT(GetFeedFileLogFiles(),
              testing::UnorderedElementsAre(GetLarderLogPath() + LARDER_WIDE("feedfile_1.log"),
                                            GetLarderLogPath() + LARDER_WIDE("feedf.log")));
  EXPECT_TRUE(host.log.Contains("\\Larder\\logs\\feedfile_1.log\r\n"));
}

}  // namespace
}  // namespace larder
