// Parts that a run of the tool doesn't show: a scan's order of answers, bar and limits, and
// registry data that the tool can't write.
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <future>
#include <stdexcept>
#include <thread>

#include "testing/certificate-file.h"
#include "testing/file-record-bytes.h"
#include "tools/larder/check/rules.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/find/record-match.h"
#include "tools/larder/registry/registry-value.h"
#include "tools/larder/scan/ordered-work.h"
#include "tools/larder/scan/path-pattern.h"
#include "tools/larder/scan/progress-bar.h"
#include "tools/larder/scan/scan-report.h"

namespace larder::tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

// The paths are the numbers below count.
OrderedWork::Next Numbers(int count) {
  return [count, number = 0](ScanResult& result) mutable {
    if (number == count) return false;
    result.path = std::to_string(number++);
    return true;
  };
}

std::vector<std::string> TakeAll(OrderedWork& work) {
  std::vector<std::string> taken;
  ScanResult result;
  while (work.Take(result, std::nullopt) == OrderedWork::Taken::kResult) {
    taken.push_back(result.path + result.text + result.error);
  }
  return taken;
}

TEST(OrderedWorkTest, AnswersComeInOrderAndNoMoreThanTheWindowIsBegunBeforeTheyAreTaken) {
  std::atomic<int> asked = 0;
  std::promise<void> firstMayEnd;
  std::promise<void> windowIsFull;
  OrderedWork work(8, 4, Numbers(2000), [&](ScanResult& result) {
    if (++asked == 4) windowIsFull.set_value();
    if (result.path == "0") firstMayEnd.get_future().wait();
  });
  windowIsFull.get_future().wait();
  ScanResult result;
  EXPECT_EQ(work.Take(result, OrderedWork::Clock::now()), OrderedWork::Taken::kTimedOut);
  EXPECT_EQ(asked, 4);
  firstMayEnd.set_value();
  const std::vector<std::string> taken = TakeAll(work);
  ASSERT_EQ(taken.size(), 2000u);
  for (std::size_t i = 0; i < taken.size(); ++i) EXPECT_EQ(taken[i], std::to_string(i));
}

TEST(OrderedWorkTest, ErrorsOfTheWalkAreAnswersAndSoAreExceptions) {
  int given = 0;
  OrderedWork work(
      1, 4,
      [&](ScanResult& result) {
        if (given == 3) throw std::runtime_error("the walk failed");
        if (given == 2) result.error = " unreadable";
        result.path = std::to_string(given++);
        return true;
      },
      [](ScanResult& result) {
        result.text = " asked";
        if (result.path == "0") throw std::runtime_error(" failed");
      });
  EXPECT_THAT(TakeAll(work),
              testing::ElementsAre("0 asked failed", "1 asked", "2 unreadable", "the walk failed"));
}

TEST(OrderedWorkTest, WhatIsUnderWayIsWaitedForAndNothingElseBegunOnceItIsStopped) {
  std::atomic<int> asked = 0;
  std::atomic<int> completed = 0;
  {
    OrderedWork work(3, 5, Numbers(1000), [&](ScanResult&) {
      ++asked;
      std::this_thread::yield();
      ++completed;
    });
    ScanResult result;
    EXPECT_EQ(work.Take(result, std::nullopt), OrderedWork::Taken::kResult);
  }
  EXPECT_EQ(asked, completed);
  EXPECT_LE(asked, 6);
}

TEST(ProgressLineTest, ATotalGivesABarAndTheTimeLeftAndNoneJustCounts) {
  EXPECT_EQ(ProgressLine({3, 4'000'000, 0, 1}, std::nullopt, 2, 79),
            "4 files  4.0 MB  1 files/s, 2.0 MB/s");
  const ScanCounts half{50, 500'000, 0, 0};
  EXPECT_EQ(ProgressLine(half, Amount{100, 1'000'000}, 90, 79),
            "[#####-----] 50%  1:30 left  50/100 files  500.0 kB  0 files/s, 5.6 kB/s");
  EXPECT_EQ(ProgressLine(half, Amount{100, 1'000'000}, 90, 16), "[#####-----] 50%");
  EXPECT_THAT(ProgressLine({1, 0, 0, 0}, Amount{100, 0}, 360, 79), HasSubstr(" 9.9 h left "));
  // A tree that grew, and empty ones.
  EXPECT_THAT(ProgressLine({200, 0, 0, 0}, Amount{100, 0}, 1, 79),
              StartsWith("[##########] 100%  0:00 left  200/100 files"));
  EXPECT_THAT(ProgressLine({}, Amount{}, 0, 79), StartsWith("[##########] 100%"));
  EXPECT_THAT(ProgressLine({}, Amount{9, 9}, 1, 79), StartsWith("[----------] 0%  0/9 files"));
}

TEST(ScanReportTest, PathsAndReasonsAreListedUpToALimitAndCountedBeyond) {
  ScanReport report;
  for (int i = 0; i < 25; ++i) report.Add({"path" + std::to_string(i), "often", "", 0});
  for (int i = 0; i < 120; ++i) report.Add({"other", "reason " + std::to_string(i), "", 0});
  EXPECT_EQ(report.Counts().errors, 145u);
  testing::internal::CaptureStderr();
  report.PrintErrors();
  const std::string errors = testing::internal::GetCapturedStderr();
  EXPECT_THAT(errors, HasSubstr(": path19: often\nlarder: 25 errors, 20 of them listed: often\n"
                                "larder: other: reason 0\nlarder: 1 error: reason 0\n"));
  EXPECT_THAT(errors, HasSubstr("larder: 1 error: reason 98\nlarder: other: other reasons\n"));
  EXPECT_THAT(errors, testing::EndsWith("larder: 21 errors, 20 of them listed: other reasons\n"));
}

TEST(PathPatternTest, WildcardsMatchWithinANameAndAPatternWithASeparatorMatchesWholePaths) {
  struct Case {
    const char* pattern;
    std::vector<std::string> matching;
    std::vector<std::string> others;
  };
  const Case cases[] = {
      {"b*", {"b", "bc", "a/bc"}, {"ab", "b/c", ""}},
      {"a/b*", {"a/b", "a/bc"}, {"a", "b", "x/a/b", "a/b/c", "a/x/b"}},
      {"./a", {"a"}, {"x/a"}},
      {"/a*b*c/", {"abc", "axbxbc", "abcc"}, {"ab", "abcd", "a/b/c", "x/abc"}},
      {"**", {"a", "a/b", "\xFF"}, {}},
      {"?\xC3\xA4?", {"a\xC3\xA4z", "\xE9\x8D\xB5\xC3\xA4z"}, {"\xC3\xA4", "aa\xC3\xA4z"}},
      {"??", {"\xFF\xC3"}, {"\xC3\xA4"}},
      {"*??", {"ab", "\xE9\x8D\xB5z"}, {"a", "\xE9\x8D\xB5"}},
      {"*??yz", {"a\xE9\x8D\xB5yz"}, {"\xE9\x8D\xB5yz"}},
      {"[]a-c\xC3\xA0-\xC3\xA5-]", {"]", "b", "\xC3\xA4", "-"}, {"d", "\xC3\xA6", "ab", "^"}},
      {"[!a-c]x", {"dx", "\xE9\x8D\xB5x"}, {"ax", "x", "!"}},
      {"[^]]", {"a"}, {"]", "^a"}}};
  for (const auto& [pattern, matching, others] : cases) {
    const auto matches = [tested = PathPattern(pattern)](std::string path) {
      std::ranges::replace(path, '/', Separator());
      return tested.Matches(path);
    };
    for (const std::string& path : matching) EXPECT_TRUE(matches(path)) << pattern << " " << path;
    for (const std::string& path : others) EXPECT_FALSE(matches(path)) << pattern << " " << path;
  }
  EXPECT_EQ(PathPattern("FILE").Matches("file"), Separator() == '\\');
}

TEST(RegistryValueTest, DataOfAnotherFormThanItsTypesIsHexadecimal) {
  const auto text = [](std::uint32_t type, const std::string& bytes) {
    return DataText({type, {bytes.begin(), bytes.end()}});
  };
  EXPECT_EQ(text(platform::kRegBinary, std::string("\x00\x7F\xAB", 3)), "007fab");
  EXPECT_EQ(text(platform::kRegDword, "\x01\x02"), "0102");
  EXPECT_EQ(text(platform::kRegSz, std::string("a\0b", 3)), "610062");  // half a unit at the end
  EXPECT_EQ(text(platform::kRegSz, std::string("a\0b\0", 4)), "ab");    // no zero at the end
  EXPECT_EQ(text(platform::kRegSz, ""), "");
}

TEST(SizeTextTest, SizesHaveOneDigitBehindThePointAndThreeInFrontAtMost) {
  const std::vector<std::pair<std::uint64_t, std::string>> sizes = {
      {0, "0 bytes"},        {1, "1 byte"},       {999, "999 bytes"},     {1000, "1.0 kB"},
      {999'949, "999.9 kB"}, {999'950, "1.0 MB"}, {UINT64_MAX, "18.4 EB"}};
  for (const auto& [size, text] : sizes) EXPECT_EQ(SizeText(size), text);
}

TEST(RecordMatchTest, EachDigestIsFoundByItsWholeValueAndNotTheZerosOfAnImage) {
  FileDataRecord facts{};
  auto* const digests = facts.fileMD5;  // the ten are side by side
  for (std::size_t i = 0; i < 360; ++i) digests[i] = static_cast<std::uint8_t>(i % 251 + 1);
  const RecordBytes record = FileRecordBytes(facts, {{{}}});
  std::size_t start = offsetof(FileDataRecord, fileMD5);
  for (const std::string front : {"", "pe-"}) {
    for (const auto& [name, size] : {std::pair<const char*, std::size_t>{"md5", 16},
                                     {"sha1", 20},
                                     {"sha256", 32},
                                     {"sha384", 48},
                                     {"sha512", 64}}) {
      std::string hex = Hex(std::span(record).subspan(start, size));
      EXPECT_EQ(DigestMatch(hex)(record), front + name);
      EXPECT_EQ(DigestMatch(hex)(std::span(record).first(sizeof facts - 1)), "");
      hex.back() = hex.back() == '0' ? '1' : '0';
      EXPECT_EQ(DigestMatch(hex)(record), "") << front << name;
      start += size;
    }
  }
  EXPECT_EQ(DigestMatch(std::string(32, '0'))(FileRecordBytes({}, {{{}}})), "");
}

TEST(RecordMatchTest, ASubjectIsFoundInAnyChainWhateverTheCaseOfItsLetters) {
  RecordBytes renamed = CertificateFile("signer");
  const std::string_view name = "Example Signer";
  *std::search(renamed.begin(), renamed.end(), name.begin(), name.end()) = 'X';
  const RecordBytes record =
      FileRecordBytes({}, {{CertificateFile("text"), renamed, CertificateFile("signer")},
                           {CertificateFile("utf8"), CertificateFile("ca")}});
  for (const char* text : {"CN=Example Signer", "o=eXAMPLE", "cn=xxample", "Žluť", "example ca"}) {
    EXPECT_EQ(SignerMatch(text)(record), "signer") << text;
    EXPECT_EQ(SignerMatch(text)(std::span(record).first(sizeof(FileDataRecord) + 9)), "") << text;
  }
  EXPECT_EQ(SignerMatch("Example Root")(record), "");
}

TEST(RulesTest, TheGuideHasTheSameOnesInTheSameOrder) {
  std::ifstream guide(LARDER_PROVIDER_GUIDE);
  std::vector<std::string> rows;
  for (std::string line; std::getline(guide, line);) {
    if (line.starts_with("| ") && std::isdigit(static_cast<unsigned char>(line[2])) != 0)
      rows.push_back(line);
  }
  std::vector<testing::Matcher<std::string>> rules;
  for (const RuleEntry& rule : AllRules()) {
    rules.emplace_back(testing::StartsWith("| " + std::to_string(static_cast<int>(rule.rule)) +
                                           " | " + rule.text + " | "));
  }
  EXPECT_THAT(rows, testing::ElementsAreArray(rules));
}

}  // namespace
}  // namespace larder::tool
