// How a file's facts are read when the file doesn't stand still.
#include "stock-file-query/file-facts.h"

#include <gtest/gtest.h>

#include "platform/message.h"
#include "platform/utf.h"
#include "providers/scripted-file.h"

namespace larder::feed {
namespace {

class FileFactsTest : public testing::Test {
 protected:
  FileFactsTest() {
    PrepareDigests();
    CurrentFile = {};
    CurrentFile.bytes = "abc";
    CurrentFile.infos = {kSteady};
  }
  ~FileFactsTest() override { EXPECT_EQ(CurrentFile.closed, CurrentFile.opened); }

  std::string Failure() const {
    try {
      ReadFileFacts(wanted);
    } catch (const std::exception& error) {
      return error.what();
    }
    return "(nothing thrown)";
  }

  // The system's own text of a code, without its line end.
  static std::string Line(platform::Code code) {
    const std::string text = platform::Utf8FromWide(platform::SystemMessage(code));
    EXPECT_TRUE(text.size() > 2 && text.ends_with("\r\n")) << text;
    return text.substr(0, text.size() - 2);
  }

  static constexpr platform::FileInfo kSteady{3, 1000, 1, 1};
  static constexpr platform::FileInfo kTouched{3, 1001, 1, 1};
  static constexpr platform::FileInfo kGrown{4, 1000, 1, 1};
  ObjectIdentity wanted{0, LARDER_WIDE("C:\\file")};
};

TEST_F(FileFactsTest, ReadsASteadyFileOnce) {
  const std::optional<FileFacts> facts = ReadFileFacts(wanted);
  ASSERT_TRUE(facts.has_value());
  EXPECT_EQ(facts->digests.md5[0], 0x90);
  EXPECT_EQ(facts->digests.sha512[63], 0x9f);
  EXPECT_EQ(CurrentFile.opened, 1);
}

TEST_F(FileFactsTest, ReadsAFileAgainThatWasTouchedMeanwhile) {
  CurrentFile.infos = {kSteady, kTouched, kTouched, kTouched};
  const std::optional<FileFacts> facts = ReadFileFacts(wanted);
  ASSERT_TRUE(facts.has_value());
  EXPECT_EQ(facts->info.lastModified, 1001u);
  EXPECT_EQ(CurrentFile.opened, 2);
}

TEST_F(FileFactsTest, GivesUpOnAFileThatIsTouchedASecondTime) {
  CurrentFile.infos = {kSteady, kTouched, kTouched, kSteady};
  EXPECT_EQ(Failure(),
            "Can't read \"C:\\file\": it changed while it was read, twice: 3 bytes before, 3 "
            "after, 3 read");
  EXPECT_EQ(CurrentFile.opened, 2);
}

TEST_F(FileFactsTest, GivesUpOnAFileThatHoldsLessThanItSays) {
  CurrentFile.infos = {kGrown};
  EXPECT_EQ(Failure(),
            "Can't read \"C:\\file\": it changed while it was read, twice: 4 bytes before, 4 "
            "after, 3 read");
}

TEST_F(FileFactsTest, EndsOnAFileThatGrowsAsFastAsItIsRead) {
  CurrentFile.isEndless = true;
  EXPECT_TRUE(Failure().starts_with("Can't read \"C:\\file\": it changed while it was read"));
  EXPECT_LT(CurrentFile.bytesGiven, 1'000'000u);
}

TEST_F(FileFactsTest, TellsAMismatchWhenTheFileIsTouchedAwayFromTheTimeAskedFor) {
  wanted.lastModified = 1000;
  CurrentFile.infos = {kSteady, kTouched};
  EXPECT_EQ(Failure(), "\"C:\\file\" was last modified at 1001, not at 1000: result -15");
}

TEST_F(FileFactsTest, TellsWhyAReadFails) {
  CurrentFile.readCode = platform::kIoDevice;
  EXPECT_EQ(Failure(), "Can't read \"C:\\file\": " + Line(platform::kIoDevice) + " (code 1117)");
}

TEST_F(FileFactsTest, TellsWhyAFileCannotBeLookedAt) {
  CurrentFile.infoCode = platform::kInvalidHandle;
  EXPECT_EQ(Failure(), "Can't read \"C:\\file\": " + Line(platform::kInvalidHandle) + " (code 6)");
}

TEST_F(FileFactsTest, TellsACodeThatTheSystemHasNoTextFor) {
  CurrentFile.openCode = 0xE0001234;
  EXPECT_EQ(Failure(), "Can't read \"C:\\file\": unknown reason (code 3758101044)");
}

TEST_F(FileFactsTest, HasNothingToTellOnlyForAFileOrFolderThatIsMissing) {
  CurrentFile.openCode = platform::kFileNotFound;
  EXPECT_FALSE(ReadFileFacts(wanted).has_value());
  CurrentFile.openCode = platform::kPathNotFound;
  EXPECT_FALSE(ReadFileFacts(wanted).has_value());
  CurrentFile.openCode = platform::kAccessDenied;
  EXPECT_EQ(Failure(), "Can't read \"C:\\file\": " + Line(platform::kAccessDenied) + " (code 5)");
}

}  // namespace
}  // namespace larder::feed
