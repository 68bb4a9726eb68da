// How a file that changes or fails is read. The platform's operations on open files are replaced:
// there is one file, which behaves as a test says.
#include "stock-file-query/file-facts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "platform/event.h"
#include "platform/file-time.h"
#include "stock-file-query/hash/file-hasher.h"
#include "stock-file-query/hash/hash-work.h"

namespace larder {
namespace {

struct ScriptedFile {
  std::string bytes = "abc";
  // The results of the first query, the second, ...; the last one is repeated.
  std::vector<platform::FileInfo> infos;
  bool isEndless = false;  // the bytes repeat without an end
  // Of the proof before the first read and that after the last query.
  std::array<platform::Code, 2> proofs{};
  platform::Code openCode = platform::kSuccess;
  platform::Code infoCode = platform::kSuccess;
  platform::Code readCode = platform::kSuccess;  // instead of the end

  int opened = 0;
  std::size_t bytesRead = 0;
  std::size_t queries = 0;
  std::string steps = {};  // q for a query, r for reads, p for a proof
};

ScriptedFile CurrentFile;

constexpr std::uint64_t kSecond = 10'000'000;
constexpr std::uint64_t kNow = 1000 * kSecond + 2;

}  // namespace

namespace platform {

Code OpenFileToRead(const WideString&, Handle& file, FileKind& kind) {
  file = InvalidHandle();
  if (CurrentFile.openCode != kSuccess) return CurrentFile.openCode;
  kind = FileKind::kRegular;
  ++CurrentFile.opened;
  return MakeEvent(file);  // closed like any other handle: a leak checker notices one that isn't
}

std::uint64_t FileStampTime() noexcept { return kNow; }

Code ProveNoWriter(Handle) noexcept {
  CurrentFile.steps += 'p';
  return CurrentFile.proofs[CurrentFile.queries == 0 ? 0 : 1];
}

Code QueryFileInfo(Handle, FileInfo& info) noexcept {
  CurrentFile.steps += 'q';
  info = CurrentFile.infos[std::min(CurrentFile.queries++, CurrentFile.infos.size() - 1)];
  return CurrentFile.infoCode;
}

Code ReadAt(Handle, std::uint64_t offset, void* buffer, std::size_t size,
            std::size_t& got) noexcept {
  const std::string& bytes = CurrentFile.bytes;
  if (!CurrentFile.steps.ends_with('r')) CurrentFile.steps += 'r';
  for (got = 0; got < size; ++got) {
    const std::uint64_t index = offset + got;
    if (!CurrentFile.isEndless && index >= bytes.size()) break;
    static_cast<char*>(buffer)[got] = bytes[index % bytes.size()];
  }
  CurrentFile.bytesRead += got;
  return got < size ? CurrentFile.readCode : kSuccess;
}

}  // namespace platform

namespace feed {
namespace {

constexpr platform::FileInfo kSteady{3, 1000, 1, 1};
constexpr platform::FileInfo kTouched{3, 1001, 1, 1};

class FileFactsTest : public testing::Test {
 protected:
  FileFactsTest() { CurrentFile = {.infos = {kSteady}}; }

  std::string Failure() const try {
    ReadFileFacts(*library, wanted);
    return "(nothing thrown)";
  } catch (const std::exception& error) {
    return error.what();
  }

  const platform::AutoDigestLibrary library = platform::OpenDigestLibrary();
  ObjectIdentity wanted{0, LARDER_WIDE("C:\\file")};
};

TEST_F(FileFactsTest, ReadsAFileAgainOnlyIfItWasTouchedMeanwhile) {
  EXPECT_EQ(ReadFileFacts(*library, wanted)->digests.md5[0], 0x90);
  EXPECT_EQ(CurrentFile.opened, 1);
  CurrentFile = {.infos = {kSteady, kTouched, kTouched, kTouched}};
  EXPECT_EQ(ReadFileFacts(*library, wanted)->file.info.lastModified, 1001u);
  EXPECT_EQ(CurrentFile.opened, 2);
}

TEST_F(FileFactsTest, MayOnlyBeStoredIfNoLaterChangeCanGoUnseen) {
  struct Case {
    bool isStorable;
    std::uint64_t changed = kNow - 1;
    std::uint64_t validity = platform::kAlwaysValid;
    std::array<platform::Code, 2> proofs{};
  };
  const Case cases[] = {{true},
                        {true, 999 * kSecond},
                        {false, 1000 * kSecond},
                        {false, kNow},
                        {true, kNow - 1, 12345},
                        {false, kNow - 1, platform::kNeverValid},
                        {false, kNow - 1, 1, {platform::kSharingViolation, platform::kSuccess}},
                        {false, kNow - 1, 1, {platform::kSuccess, platform::kSharingViolation}}};
  for (const Case& each : cases) {
    CurrentFile = {.infos = {{3, kNow + 1, 1, 1, each.changed, each.validity}},
                   .proofs = each.proofs};
    const SeenFile seen = ReadFileFacts(*library, wanted)->file;
    EXPECT_EQ(seen.isStorable, each.isStorable) << &each - cases;
    EXPECT_TRUE(!seen.isStorable || CurrentFile.steps == "pqrqp") << CurrentFile.steps;
  }
}

TEST_F(FileFactsTest, GivesUpOnAFileThatKeepsChanging) {
  const std::string changed = "Can't read \"C:\\file\": it changed while it was read, twice: ";
  CurrentFile.infos = {kSteady, kTouched, kTouched, kSteady};
  EXPECT_EQ(Failure(), changed + "3 bytes before, 3 after, 3 read");
  EXPECT_EQ(CurrentFile.opened, 2);
  CurrentFile.infos = {{4, 1000, 1, 1}};
  EXPECT_EQ(Failure(), changed + "4 bytes before, 4 after, 3 read");
  CurrentFile = {.infos = {kSteady}, .isEndless = true};
  EXPECT_TRUE(Failure().starts_with(changed));
  EXPECT_LT(CurrentFile.bytesRead, 1'000'000u);

  wanted.lastModified = 1000;
  CurrentFile.infos = {kSteady, kTouched};
  EXPECT_EQ(Failure(), "\"C:\\file\" was last modified at 1001, not at 1000: result -15");
}

TEST_F(FileFactsTest, ReportsWhyAFileCannotBeRead) {
  // Both threads end amid a large file.
  CurrentFile.bytes.assign(kSizeForTwoThreads + 0x60000, 'x');
  CurrentFile.infos = {{CurrentFile.bytes.size() + 1, 1000, 1, 1}};
  CurrentFile.readCode = platform::kIoDevice;
  EXPECT_TRUE(Failure().ends_with(" (1117)")) << Failure();
  CurrentFile.infoCode = platform::kInvalidHandle;
  EXPECT_TRUE(Failure().ends_with(" (6)")) << Failure();
  CurrentFile.openCode = 0xE0001234;
  // Nothing in a name can end the line in a log.
  wanted.path = LARDER_WIDE("C:\\\r\nERROR: \x7F\x85\u00E4\u202E");
  EXPECT_EQ(Failure(),
            "Can't read \"C:\\<U+000D><U+000A>ERROR: <U+007F><U+0085>\xC3\xA4<U+202E>\": "
            "code 3758101044");
}

TEST_F(FileFactsTest, ABlockOfADigestIsClaimedOnce) {
  DigestLane lane(*library, platform::DigestKind::kMd5, nullptr);
  EXPECT_TRUE(lane.Claim(0));
  EXPECT_FALSE(lane.Claim(0));
  lane.Add(FileBlock());
  EXPECT_FALSE(lane.Claim(0));
  EXPECT_TRUE(lane.Claim(1));
}

}  // namespace
}  // namespace feed
}  // namespace larder
