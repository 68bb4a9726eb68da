// The log on disk, from the switch in the registry to the files.
#include <gmock/gmock.h>
#include <larder/larder.h>

#include <algorithm>
#include <fstream>
#include <regex>

#include "host/host-machine.h"
#include "log-file/log-files.h"
#include "log/log-pieces.h"
#include "platform/folder-access.h"
#include "platform/wide.h"
#include "support/paths.h"
#include "support/registry.h"
#include "testing/files.h"

namespace larder {
namespace {

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
  for (const char* const spelling : {"", "TRUE", "true ", "tru"}) {
    SetRegistryString(LARDER_WIDE("Logging"), LARDER_WIDE("szEnable"), Wide(spelling));
    EXPECT_FALSE(IsLoggingEnabled());
    Session();
  }
  EXPECT_FALSE(std::filesystem::exists(PathOf(GetLarderLogPath())));
  EnableLogging();
  EXPECT_TRUE(IsLoggingEnabled());
}

TEST_F(FileLog, HasEveryLineOfASessionFromTheLoadingOnInAFileForEachHandle) {
  EnableLogging();
  host.log.Clear();
  Session();
  std::vector<std::string> heard = host.log.WholeLines();
  heard.resize(heard.size() - 5);  // the logger's four handles and the end of the release
  heard.erase(heard.begin(), std::find_if(heard.begin(), heard.end(), [](const std::string& line) {
                return line.find("DataProviderManager::Provider::Provider()") != std::string::npos;
              }));
  ASSERT_THAT(Logs(), SizeIs(1));
  std::ifstream file(PathOf(Logs().front()), std::ios::binary);
  std::vector<std::string> written;
  for (std::string line; std::getline(file, line);) written.push_back(line + '\n');
  // Listeners may receive the lines of two threads in different orders.
  EXPECT_THAT(written, testing::UnorderedElementsAreArray(heard));

  Session();
  ASSERT_THAT(Logs(), SizeIs(2));
  for (const WideString& log : Logs()) {
    EXPECT_TRUE(std::regex_search(WideToUtf8(log), std::regex("\\\\lr_[0-9A-Fa-f]+\\.log$")));
  }
  EXPECT_THAT(GetLogFiles(LARDER_WIDE("*.tmp")), IsEmpty());
}

TEST_F(FileLog, TheLoggerOfAFailedLoadWritesOnBesideTheHandlesOwn) {
  EnableLogging();
  host.RemoveProvider("A");
  LarderHandle handle = nullptr;
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_E_DB_OPEN_FAILED);
  host.AddProvider("A", "type-1.dll");
  Session();
  ASSERT_THAT(Logs(), SizeIs(2));
  const auto hasBoth = [](const WideString& log) {
    std::string text;
    do text = ContentOf(PathOf(log));  // its thread writes until the process ends
    while (text.find("Last ref released, handle destroyed") == std::string::npos);
    return text.find("Fatal error in LarderInit") != std::string::npos;
  };
  EXPECT_NE(hasBoth(Logs()[0]), hasBoth(Logs()[1]));
}

TEST_F(FileLog, AFileInTheProductFoldersPlaceMeansNoLog) {
  EnableLogging();
  const std::filesystem::path maker = PathOf(GetVelmorDataPath());
  std::filesystem::create_directories(maker);
  std::ofstream(maker / "Larder") << "in the way";
  Session();
  const std::filesystem::directory_iterator entries(maker);
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(FileLog, AFolderThatOthersMayChangeMeansNoLog) {
  EnableLogging();
  WideString folder = GetLogDirectory({});
  for (std::size_t count = 1; count <= 3; ++count) {
    folder.erase(folder.find_last_of('\\'));
    Session();
    EXPECT_THAT(Logs(), SizeIs(count));
    OpenToEverybody(PathOf(folder));
    Session();
    EXPECT_THAT(Logs(), SizeIs(count));
    ASSERT_EQ(platform::ProtectFolder(folder, platform::Readers::kEverybody), platform::kSuccess);
  }
}

TEST_F(FileLog, TheFeedLogsAreListedByName) {
  EXPECT_THAT(GetFeedFileLogFiles(), IsEmpty());
  const WideString folder = GetLarderLogPath();
  std::filesystem::create_directories(PathOf(folder));
  for (const char* const name : {"feedfile_1.log", "feedfile_1.log.1", "lr_1.log"}) {
    std::ofstream(PathOf(folder) / name) << "x";
  }
  EXPECT_THAT(GetFeedFileLogFiles(), testing::ElementsAre(folder + LARDER_WIDE("feedfile_1.log")));
  EXPECT_TRUE(host.log.Contains("TRACE: " + WideToUtf8(folder) + "feedfile_1.log\r\n"));
}

}  // namespace
}  // namespace larder
