#include "log/log-line.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>

#include "fakes/fake-message.h"
#include "log/log-pieces.h"

namespace larder {
namespace {

template <typename... Pieces>
std::string Body(const Pieces&... pieces) {
  LogLine line(pieces...);
  return line.ForTrace("       ") + kLogWordSize;
}

TEST(LogLine, InsertsNarrowPiecesAsAStreamOfTheClassicLocaleDoes) {
  struct Grouped : std::numpunct<char> {  // a German host, for example
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
    std::string do_truename() const override { return "ja"; }
  };
  enum Plain { kSeven = 7 };
  const char* const null = nullptr;
  char array[8] = "ab";
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouped));
  const auto check = [](const auto&... pieces) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    (stream << ... << pieces);
    EXPECT_EQ(Body(pieces...), stream.str());
  };
  check("text", std::string("a string"), array, std::string_view("view"));
  check(std::numeric_limits<std::int64_t>::min(), ' ', std::numeric_limits<std::uint64_t>::max());
  check(0, " ", -1, " ", 1234567U, " ", short{-3}, " ", static_cast<unsigned short>(65535));
  check(true, false, kSeven, 'c', static_cast<std::uint8_t>(2), static_cast<std::int8_t>(0x7A));
  check("before", null, "after");  // a null text ends the insertion into a stream
  std::locale::global(before);
}

TEST(LogLine, CutsWidePiecesAtTheirNulAndWritesPointersAsSixteenDigits) {
  const WideString cut(LARDER_WIDE("ab\0cd"), 5);
  EXPECT_EQ(Body(cut, "|", cut.c_str(), "|", WideView(cut)), "ab|ab|ab");
  const LarderWideChar* const null = nullptr;
  EXPECT_THROW(Body(std::string(1000, 'x'), null), std::logic_error);  // leaks nothing
  EXPECT_EQ(Body(reinterpret_cast<int*>(std::uintptr_t{0xABCDEF012})), "0000000ABCDEF012");
}

TEST(LogLine, HoldsLinesOfAnyLength) {
  for (std::size_t length = 200; length < 600; ++length) {
    const std::string text(length, 'x');
    ASSERT_EQ(LogLine(text).ForTrace("TRACE: "), "TRACE: " + text);
    LogLine line(text, 7, text);
    const std::string disk = line.ForDisk("24/03/05 17:02:09", " WARN: ");
    ASSERT_EQ(disk, "24/03/05 17:02:09:  WARN: " + text + "7" + text + "\r\n");
  }
}

TEST(WideToUtf8, EncodesEachUnitByItself) {
  EXPECT_EQ(
      WideToUtf8(WideString{'a', 0, 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0xD83D, 0xDE00}),
      std::string("a\0\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xED\xA0\xBD\xED\xB8\x80", 19));
}

TEST(FormatSystemError, CutsTheLastTwoCharactersOfALongerTextWhateverTheyAre) {
  const struct {
    WideView message;
    const char* text;
  } cases[] = {{LARDER_WIDE("Access is denied.\r\n"), "2147942405 \"Access is denied.\""},
               {LARDER_WIDE("abc"), "2147942405 \"a\""},
               {LARDER_WIDE("ab"), "2147942405 \"ab\""},
               {WideView(LARDER_WIDE("to the NUL\0not this"), 19), "2147942405 \"to the N\""}};
  for (const auto& c : cases) {
    FakeSystemMessage = c.message;
    EXPECT_EQ(WideToUtf8(FormatSystemError(0x80070005U)), c.text);
  }
}

TEST(GetTimeStamp, IsTheCurrentTimeInUtc) {
  std::string stamp;
  std::time_t second = 0;
  do {  // again when a second has just ended
    second = std::time(nullptr);
    stamp = GetTimeStamp();
  } while (std::time(nullptr) != second);
  char expected[100] = {};
  std::strftime(expected, sizeof expected, "%y/%m/%d %H:%M:%S", std::gmtime(&second));
  EXPECT_EQ(stamp, expected);
}

}  // namespace
}  // namespace larder
