// The log on disk, from the switch in the registry to the files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "diag/log-files.h"
#include "host/file-descriptor.h"
#include "host/host-machine.h"
#include "platform/utf.h"
#include "support/paths.h"
#include "support/registry.h"

namespace larder {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::filesystem::path NativePath(const WideString& path) {
  std::u16string generic(path.begin(), path.end());
  std::replace(generic.begin(), generic.end(), u'\\', u'/');
  return generic;
}

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

// The lines of a log without their stamps; every one must have stamp, word and line end.
std::string WithoutStamps(const std::string& log) {
  static const std::regex form(
      "\\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d: ((TRACE|ERROR|.WARN): .*)\r");
  std::string text;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (std::regex_match(line, match, form)) {
      text += match.str(1) + "\n";
    } else {
      ADD_FAILURE() << "no line of a log: " << line;
    }
  }
  return text;
}

// Takes the lines out that the notification thread writes at moments of its own.
std::string WithoutNotificationThread(const std::string& text) {
  std::string rest;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("NotificationManager::WaitForNotification()") == std::string::npos) {
      rest += line + "\n";
    }
  }
  return rest;
}

class FileLog : public testing::Test {
 protected:
  FileLog() { host.AddProvider("A", "type-1.dll"); }

  void Session() {
    LarderHandle handle = nullptr;
    ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
    ASSERT_EQ(LarderRelease(), LARDER_OK);
  }
  static std::vector<WideString> Logs() { return GetLogFiles(LARDER_WIDE("lr_*.log*")); }
  std::string LogText(const WideString& path) const {
    return host.WithoutMachine(WithoutStamps(ReadAll(NativePath(path))));
  }

  HostMachine host;
};

TEST_F(FileLog, IsOnForExactlyOneSpelling) {
  for (const auto* const spelling : {LARDER_WIDE(""), LARDER_WIDE("True"), LARDER_WIDE("true "),
                                     LARDER_WIDE("TRUE"), LARDER_WIDE("1"), LARDER_WIDE("tru")}) {
    SetRegistryString(LARDER_WIDE("Logging"), LARDER_WIDE("szEnable"), spelling);
    EXPECT_FALSE(IsLoggingEnabled());
    Session();
  }
  EXPECT_FALSE(std::filesystem::exists(NativePath(GetLarderLogPath())));
  EnableLogging();
  EXPECT_TRUE(IsLoggingEnabled());
  Session();
  EXPECT_THAT(Logs(), SizeIs(1));
}

TEST_F(FileLog, AWholeSessionStandsInItLineByLine) {
  EnableLogging();
  const TestDescriptor descriptor(LARDER_WIDE("C:\\file"));
  LarderHandle handle = nullptr;
  DataBlockHeader* data = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  ASSERT_EQ(LarderQuery(handle, &descriptor, 1, 0, &data, LARDER_QUERY_VERSION), LARDER_OK);
  ASSERT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
  ASSERT_EQ(LarderQuery(handle, &descriptor, 3, 0, &data, LARDER_QUERY_VERSION), LARDER_E_GENERIC);
  ASSERT_EQ(LarderRelease(), LARDER_OK);
  ASSERT_THAT(Logs(), SizeIs(1));
  const std::string text = LogText(Logs().front());
  EXPECT_EQ(WithoutNotificationThread(text), ReadAll(LARDER_TEST_GOLDEN "/log-file.txt"));
  EXPECT_THAT(text, HasSubstr("TRACE: Entering NotificationManager::WaitForNotification()\n"));
  EXPECT_THAT(text,
              HasSubstr("TRACE: Shutdown event in NotificationManager::WaitForNotification()\n"
                        "TRACE: Leaving NotificationManager::WaitForNotification()\n"));
}

TEST_F(FileLog, EachHandleDrawsANameOfItsOwn) {
  EnableLogging();
  Session();
  Session();
  const auto logs = Logs();
  ASSERT_THAT(logs, SizeIs(2));
  for (const WideString& log : logs) {
    EXPECT_TRUE(
        std::regex_search(platform::Utf8FromWide(log), std::regex("\\\\lr_[0-9A-Fa-f]+\\.log$")));
    EXPECT_EQ(WithoutNotificationThread(LogText(log)),
              WithoutNotificationThread(LogText(logs.front())));
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
    const std::string text = LogText(log);
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
  std::ofstream(NativePath(maker) / "Larder") << "in the way";
  Session();
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(NativePath(maker), ignored)) {
    EXPECT_EQ(entry.path().extension(), entry.path().filename() == "Larder" ? "" : ".log");
  }
}

TEST_F(FileLog, FilesAreListedByNameAlone) {
  EXPECT_THAT(GetLogFiles(LARDER_WIDE("*.log")), IsEmpty());
  ASSERT_TRUE(CreateDirectoryTree(GetLarderLogPath()));
  host.log.Clear();
  EXPECT_THAT(GetFeedFileLogFiles(), IsEmpty());
  EXPECT_FALSE(host.log.Contains("feedf"));
  std::ofstream(NativePath(GetLarderLogPath()) / "feedfile_1.log") << "x";
  std::ofstream(NativePath(GetLarderLogPath()) / "feedfile_1.log.1") << "x";
  std::filesystem::create_directory(NativePath(GetLarderLogPath()) / "feedf.log");
  EXPECT_THAT(GetFeedFileLogFiles(),
              testing::UnorderedElementsAre(GetLarderLogPath() + LARDER_WIDE("feedfile_1.log"),
                                            GetLarderLogPath() + LARDER_WIDE("feedf.log")));
  EXPECT_TRUE(host.log.Contains("\\Larder\\logs\\feedfile_1.log\r\n"));
}

TEST_F(FileLog, SamplesLieBesideTheHost) {
  EXPECT_EQ(GetSamplesPath(), GetFileNameInModuleLocation(LARDER_WIDE("samples\\")));
}

}  // namespace
}  // namespace larder
