#include "log/log-pieces.h"

#include <gtest/gtest.h>

#include <ctime>

#include "fakes/fake-message.h"

namespace larder {
namespace {

TEST(WideToUtf8, EncodesEachUnitByItself) {
  const auto encoded = [](WideString units) { return WideToUtf8(units); };
  EXPECT_EQ(encoded({0x7F, 0x80, 0x7FF, 0x800, 0xFFFF}),
            "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
  EXPECT_EQ(encoded({0xD83D, 0xDE00}), "\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(encoded({'a', 0, 'b'}), std::string("a\0b", 3));
}

TEST(FormatSystemError, CutsTheLastTwoCharactersOfALongerTextWhateverTheyAre) {
  const struct {
    WideView message;
    const char* text;
    platform::Code code = 5;
  } cases[] = {{LARDER_WIDE("Access is denied.\r\n"), "5 \"Access is denied.\""},
               {LARDER_WIDE("abc"), "5 \"a\""},
               {LARDER_WIDE("ab"), "5 \"ab\""},
               {WideView(LARDER_WIDE("to the NUL\0not this"), 19), "5 \"to the N\""},
               {{}, "0 \"\"", 0},
               {{}, "2147942405 \"\"", 0x80070005U}};
  for (const auto& c : cases) {
    FakeSystemMessage = c.message;
    EXPECT_EQ(WideToUtf8(FormatSystemError(c.code)), c.text);
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
