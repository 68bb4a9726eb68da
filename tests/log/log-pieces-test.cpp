#include "log/log-pieces.h"

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <regex>

#include "fakes/fake-message.h"
#include "log/log-pieces.h"
#include "platform/utf.h"

namespace larder {
namespace {

std::string ErrorWithText(const WideString& text, platform::Code code = 5) {
  FakeSystemMessage = text;
  return WideToUtf8(FormatSystemError(code));
}

TEST(WideToUtf8, EncodesEachUnitByItself) {
  const auto encoded = [](WideString units) { return WideToUtf8(units); };
  EXPECT_EQ(encoded({0x7F, 0x80, 0x7FF, 0x800, 0xFFFF}),
            "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
  EXPECT_EQ(encoded({0xD83D, 0xDE00}), "\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(encoded({'a', 0, 'b'}), std::string("a\0b", 3));
}

TEST(FormatSystemError, CutsTheLastTwoCharactersOfALongerTextWhateverTheyAre) {
  EXPECT_EQ(ErrorWithText(LARDER_WIDE("Access is denied.\r\n")), "5 \"Access is denied.\"");
  EXPECT_EQ(ErrorWithText(LARDER_WIDE("abc")), "5 \"a\"");
  EXPECT_EQ(ErrorWithText(LARDER_WIDE("ab")), "5 \"ab\"");
  EXPECT_EQ(ErrorWithText(LARDER_WIDE("\r\n")), "5 \"\r\n\"");
  EXPECT_EQ(ErrorWithText(LARDER_WIDE("")), "5 \"\"");
  EXPECT_EQ(ErrorWithText(LARDER_WIDE("dot. \r\n")), "5 \"dot. \"");
  EXPECT_EQ(ErrorWithText(WideString(LARDER_WIDE("to the NUL\0not this"), 19)), "5 \"to the N\"");
}

TEST(FormatSystemError, ShowsAStatusAsAnUnsignedNumber) {
  EXPECT_EQ(ErrorWithText({}, 0x80070005U), "2147942405 \"\"");
  EXPECT_EQ(ErrorWithText({}, 0), "0 \"\"");
}

TEST(GetTimeStamp, IsTheMomentInUtc) {
  const std::time_t before = std::time(nullptr);
  const std::string stamp = GetTimeStamp();
  const std::time_t after = std::time(nullptr);
  bool matches = false;
  for (std::time_t moment = before; moment <= after; ++moment) {
    char expected[100] = {};
    std::strftime(expected, sizeof expected, "%y/%m/%d %H:%M:%S", std::gmtime(&moment));
    matches = matches || stamp == expected;
  }
  EXPECT_TRUE(matches) << stamp;
}

TEST(GetModuleName, IsTheFullPathOfThisProgram) {
  const WideString name = GetModuleName();
  std::string utf8 = platform::Utf8FromWide(name);
  EXPECT_NE(utf8.find("\\log-pieces-test"), std::string::npos) << utf8;
  EXPECT_EQ(utf8.find('/'), std::string::npos) << utf8;
}

}  // namespace
}  // namespace larder
