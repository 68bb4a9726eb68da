// How a file's facts are read, by one thread or two, when the file stands still and when it
// doesn't.
#include "stock-file-query/file-facts.h"

#include <gtest/gtest.h>

#include "platform/message.h"
#include "platform/utf.h"
#include "providers/scripted-file.h"
#include "stock-file-query/hash/file-hasher.h"
#include "stock-file-query/hash/hash-work.h"

namespace larder::feed {
namespace {

constexpr platform::FileInfo kSteady{3, 1000, 1, 1};
constexpr platform::FileInfo kTouched{3, 1001, 1, 1};
constexpr platform::FileInfo kGrown{4, 1000, 1, 1};

class FileFactsTest : public testing::Test {
 protected:
  FileFactsTest() { CurrentFile = {.bytes = "abc", .infos = {kSteady}}; }

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

  const platform::AutoDigestLibrary library = platform::OpenDigestLibrary();
  ObjectIdentity wanted{0, LARDER_WIDE("C:\\file")};
};

TEST_F(FileFactsTest, ReadsAFileAgainOnlyIfItWasTouchedMeanwhile) {
  const std::optional<FileFacts> steady = ReadFileFacts(*library, wanted);
  ASSERT_TRUE(steady.has_value());
  EXPECT_EQ(steady->digests.md5[0], 0x90);
  EXPECT_EQ(steady->digests.sha512[63], 0x9f);
  EXPECT_EQ(CurrentFile.opened, 1);
  CurrentFile = {.bytes = "abc", .infos = {kSteady, kTouched, kTouched, kTouched}};
  const std::optional<FileFacts> facts = ReadFileFacts(*library, wanted);
  ASSERT_TRUE(facts.has_value());
  EXPECT_EQ(facts->info.lastModified, 1001u);
  EXPECT_EQ(CurrentFile.opened, 2);
}

TEST_F(FileFactsTest, GivesUpOnAFileThatDoesNotStandStill) {
  const std::string changed = "Can't read \"C:\\file\": it changed while it was read, twice: ";
  CurrentFile.infos = {kSteady, kTouched, kTouched, kSteady};
  EXPECT_EQ(Failure(), changed + "3 bytes before, 3 after, 3 read");
  EXPECT_EQ(CurrentFile.opened, 2);
  CurrentFile.infos = {kGrown};
  EXPECT_EQ(Failure(), changed + "4 bytes before, 4 after, 3 read") << "it holds less than it says";
  CurrentFile = {.isEndless = true, .bytes = "abc", .infos = {kSteady}};
  EXPECT_TRUE(Failure().starts_with(changed));
  EXPECT_LT(CurrentFile.bytesGiven, 1'000'000u);

  wanted.lastModified = 1000;
  CurrentFile.infos = {kSteady, kTouched};
  EXPECT_EQ(Failure(), "\"C:\\file\" was last modified at 1001, not at 1000: result -15");
}

TEST_F(FileFactsTest, TellsWhyAFileCannotBeReadUnlessItIsMissing) {
  const std::string cannot = "Can't read \"C:\\file\": ";
  CurrentFile.readCode = platform::kIoDevice;
  EXPECT_EQ(Failure(), cannot + Line(platform::kIoDevice) + " (code 1117)");
  CurrentFile.infoCode = platform::kInvalidHandle;
  EXPECT_EQ(Failure(), cannot + Line(platform::kInvalidHandle) + " (code 6)");
  CurrentFile.openCode = platform::kAccessDenied;
  EXPECT_EQ(Failure(), cannot + Line(platform::kAccessDenied) + " (code 5)");
  CurrentFile.openCode = 0xE0001234;
  EXPECT_EQ(Failure(), cannot + "unknown reason (code 3758101044)") << "it has no text";
  for (const platform::Code code : {platform::kFileNotFound, platform::kPathNotFound}) {
    CurrentFile.openCode = code;
    EXPECT_FALSE(ReadFileFacts(*library, wanted).has_value());
  }
}

TEST_F(FileFactsTest, AFailureInTheMidstOfALargeFileEndsBothThreads) {
  CurrentFile.bytes.assign(kSizeForTwoThreads + 3 * kBlockSize, 'x');
  CurrentFile.infos = {{CurrentFile.bytes.size() + 1, 1000, 1, 1}};
  CurrentFile.readCode = platform::kIoDevice;
  EXPECT_TRUE(Failure().ends_with(" (code 1117)"));
}

std::string TextOfSize(std::size_t size) {
  std::string text(size, '\0');
  std::uint32_t state = 1;
  for (char& c : text) c = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  return text;
}

// All five, one behind the other.
std::string Joined(Digests digests) {
  std::string all;
  for (const platform::DigestKind kind : kAllDigests) {
    for (const std::uint8_t byte : digests.Of(kind)) all += static_cast<char>(byte);
  }
  return all;
}

std::string DigestsOf(const platform::DigestLibrary& library, const std::string& bytes) {
  Digests digests;
  for (const platform::DigestKind kind : kAllDigests) {
    const platform::AutoDigest digest = platform::StartDigest(library, kind);
    EXPECT_TRUE(platform::AddToDigest(*digest, bytes.data(), bytes.size()));
    EXPECT_TRUE(platform::FinishDigest(*digest, digests.Of(kind)));
  }
  return Joined(digests);
}

TEST(FileHasher, GivesTheDigestsOfTheFileAndOfTheImageInItHoweverTheWorkIsShared) {
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
    EXPECT_EQ(Joined(plain.file), DigestsOf(*library, text));
    EXPECT_FALSE(plain.image.has_value());

    const std::size_t half = size / 2;
    if (half < 4) continue;
    const ImageLayout layout{{{{0, half / 2}, {half / 2 + 1, half}, {half + 3, size}}}, 5, {}};
    const HashedFile image = HashFile(*library, size, layout, read);
    EXPECT_EQ(Joined(image.file), Joined(plain.file));
    EXPECT_EQ(Joined(image.image.value()),
              DigestsOf(*library, text.substr(0, half / 2) +
                                      text.substr(half / 2 + 1, half - half / 2 - 1) +
                                      text.substr(half + 3) + std::string(5, '\0')));
  }
}

}  // namespace
}  // namespace larder::feed
