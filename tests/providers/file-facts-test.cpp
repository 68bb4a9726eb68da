// How a file's facts are read, by one thread or two, when the file stands still and when it
// doesn't.
#include "stock-file-query/file-facts.h"

#include <gtest/gtest.h>

#include "platform/message.h"
#include "platform/utf.h"
#include "providers/scripted-file.h"
#include "stock-file-query/file-hasher.h"
#include "stock-file-query/hash-work.h"

namespace larder::feed {
namespace {

class FileFactsTest : public testing::Test {
 protected:
  FileFactsTest() {
    CurrentFile = {};
    CurrentFile.bytes = "abc";
    CurrentFile.infos = {kSteady};
  }

  std::string Failure() const {
    try {
      ReadFileFacts(*library, wanted);
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
  const platform::AutoDigestLibrary library = platform::OpenDigestLibrary();
  ObjectIdentity wanted{0, LARDER_WIDE("C:\\file")};
};

TEST_F(FileFactsTest, ReadsASteadyFileOnce) {
  const std::optional<FileFacts> facts = ReadFileFacts(*library, wanted);
  ASSERT_TRUE(facts.has_value());
  EXPECT_EQ(facts->digests.md5[0], 0x90);
  EXPECT_EQ(facts->digests.sha512[63], 0x9f);
  EXPECT_EQ(CurrentFile.opened, 1);
}

TEST_F(FileFactsTest, ReadsAFileAgainThatWasTouchedMeanwhile) {
  CurrentFile.infos = {kSteady, kTouched, kTouched, kTouched};
  const std::optional<FileFacts> facts = ReadFileFacts(*library, wanted);
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
  EXPECT_FALSE(ReadFileFacts(*library, wanted).has_value());
  CurrentFile.openCode = platform::kPathNotFound;
  EXPECT_FALSE(ReadFileFacts(*library, wanted).has_value());
  CurrentFile.openCode = platform::kAccessDenied;
  EXPECT_EQ(Failure(), "Can't read \"C:\\file\": " + Line(platform::kAccessDenied) + " (code 5)");
}

TEST_F(FileFactsTest, AFailureInTheMidstOfALargeFileEndsBothThreads) {
  CurrentFile.bytes.assign(kSizeForTwoThreads + 3 * kBlockSize, 'x');
  CurrentFile.infos = {{CurrentFile.bytes.size() + 1, 1000, 1, 1}};
  CurrentFile.readCode = platform::kIoDevice;
  EXPECT_EQ(Failure(), "Can't read \"C:\\file\": " + Line(platform::kIoDevice) + " (code 1117)");
}

// --- The hashing alone
// ----------------------------------------------------------------------------

std::string TextOfSize(std::size_t size) {
  std::string text(size, '\0');
  std::uint32_t state = 1;
  for (char& c : text) c = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  return text;
}

Digests DigestsOf(const platform::DigestLibrary& library, const std::string& bytes) {
  Digests digests;
  for (const platform::DigestKind kind : kAllDigests) {
    const platform::AutoDigest digest = platform::StartDigest(library, kind);
    EXPECT_TRUE(platform::AddToDigest(*digest, bytes.data(), bytes.size()));
    EXPECT_TRUE(platform::FinishDigest(*digest, digests.Of(kind)));
  }
  return digests;
}

void ExpectEqual(const Digests& a, const Digests& b) {
  EXPECT_EQ(a.md5, b.md5);
  EXPECT_EQ(a.sha1, b.sha1);
  EXPECT_EQ(a.sha256, b.sha256);
  EXPECT_EQ(a.sha384, b.sha384);
  EXPECT_EQ(a.sha512, b.sha512);
}

TEST(FileHasher, SharedWorkGivesTheDigestsOfTheWholeFileAndOfTheImageInIt) {
  const platform::AutoDigestLibrary library = platform::OpenDigestLibrary();
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{100}, kBlockSize + 1, std::size_t{kSizeForTwoThreads - 1},
        std::size_t{kSizeForTwoThreads}, std::size_t{kSizeForTwoThreads + 9 * kBlockSize + 7}}) {
    const std::string text = TextOfSize(size);
    const ReadBlock read = [&](std::uint64_t offset, void* buffer, std::size_t room) {
      return text.copy(static_cast<char*>(buffer), room, offset);
    };
    const HashedFile plain = HashFile(*library, size, std::nullopt, read);
    EXPECT_EQ(plain.bytesRead, size);
    ExpectEqual(plain.file, DigestsOf(*library, text));
    EXPECT_FALSE(plain.image.has_value());

    const std::size_t half = size / 2;
    const ImageLayout layout{{{{0, half / 2}, {half / 2 + 1, half}, {half + 3, size}}}, 5, {}};
    if (half < 4) continue;
    const HashedFile image = HashFile(*library, size, layout, read);
    ExpectEqual(image.file, plain.file);
    ASSERT_TRUE(image.image.has_value());
    ExpectEqual(*image.image,
                DigestsOf(*library, text.substr(0, half / 2) +
                                        text.substr(half / 2 + 1, half - half / 2 - 1) +
                                        text.substr(half + 3) + std::string(5, '\0')));
  }
}

}  // namespace
}  // namespace larder::feed
