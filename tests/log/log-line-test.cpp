#include "log/log-line.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>

namespace larder {
namespace {

template <typename... Pieces>
std::string Body(const Pieces&... pieces) {
  LogLine line(pieces...);
  return line.ForTrace("       ") + kLogWordSize;
}

template <typename... Pieces>
std::string StreamBody(const Pieces&... pieces) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  (stream << ... << pieces);
  return stream.str();
}

TEST(LogLine, InsertsNarrowPiecesAsAStreamDoes) {
  enum Plain { kSeven = 7 };
  const char* const null = nullptr;
  char array[8] = "ab";
  const auto check = [](const auto&... pieces) {
    EXPECT_EQ(Body(pieces...), StreamBody(pieces...));
  };
  check("text", std::string("a string"), array, std::string_view("view"));
  check(std::numeric_limits<std::int64_t>::min(), ' ', std::numeric_limits<std::uint64_t>::max());
  check(0, " ", -1, " ", 1234567U, " ", short{-3}, " ", static_cast<unsigned short>(65535));
  check(true, false, kSeven);
  check('c', static_cast<std::uint8_t>(2), static_cast<std::int8_t>(0x7A));
  check("before", null, "after");  // a null text ends the insertion into a stream
}

TEST(LogLine, CutsWidePiecesAtTheirNulAndEncodesThemUnitByUnit) {
  const WideString cut(LARDER_WIDE("ab\0cd"), 5);
  EXPECT_EQ(Body(cut, "|", cut.c_str(), "|", WideView(cut)), "ab|ab|ab");
  EXPECT_EQ(Body(LARDER_WIDE("\U0001F600")), "\xED\xA0\xBD\xED\xB8\x80");
  const LarderWideChar* const null = nullptr;
  EXPECT_THROW(Body("x", null), std::logic_error);
}

TEST(LogLine, WritesPointersAsSixteenUpperCaseDigits) {
  EXPECT_EQ(Body(reinterpret_cast<const void*>(std::uintptr_t{0xABCDEF012})), "0000000ABCDEF012");
  EXPECT_EQ(Body(reinterpret_cast<int*>(~std::uintptr_t{0})), "FFFFFFFFFFFFFFFF");
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

TEST(LogLine, IgnoresTheHostsLocale) {
  struct Grouped : std::numpunct<char> {  // a German host, for example
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
    std::string do_truename() const override { return "ja"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouped));
  const std::string body = Body(1234567, " ", -7654321, " ", true);
  std::locale::global(before);
  EXPECT_EQ(body, "1234567 -7654321 1");
}

}  // namespace
}  // namespace larder
