#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "platform/message.h"
#include "platform/wide.h"

namespace larder::platform {
namespace {

WideString Units(std::initializer_list<unsigned> units) { return {units.begin(), units.end()}; }

TEST(UtfTest, PairsAreJoinedAndLoneSurrogatesSurviveBothWays) {
  const std::pair<WideString, std::string> cases[] = {
      {Units({0x41, 0x7F, 0xE4}), "A\x7F\xC3\xA4"},
      {Units({0x80, 0x7FF, 0x800, 0xFFFF}), "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
      {Units({0xD7FF, 0xE000}), "\xED\x9F\xBF\xEE\x80\x80"},
      {Units({0xD800, 0xDC00, 0xDBFF, 0xDFFF}), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
      {Units({0xD800}), "\xED\xA0\x80"},
      {Units({0xDFFF, 0xDBFF}), "\xED\xBF\xBF\xED\xAF\xBF"},
      {Units({0xD800, 0xD83D, 0xDE00}), "\xED\xA0\x80\xF0\x9F\x98\x80"},
      {Units({0xD83D, 0xDE00, 0xDE00}), "\xF0\x9F\x98\x80\xED\xB8\x80"},
      {Units({0xD800, 0x2E}), "\xED\xA0\x80."},
      {Units({0x41, 0, 0x42}), std::string("A\0B", 3)}};
  for (const auto& [wide, utf8] : cases) {
    EXPECT_EQ(Utf8FromWide(wide), utf8);
    WideString converted = Units({0x58});
    EXPECT_TRUE(WideFromUtf8(utf8, converted)) << utf8;
    EXPECT_EQ(converted, wide) << utf8;
  }
}

// Runs of ASCII characters are converted eight at a time.
TEST(UtfTest, OneCharacterBeyondAsciiIsConvertedAtEachPlaceOfALongText) {
  for (std::size_t place = 0; place < 20; ++place) {
    WideString wide(20, 0x7F);
    wide[place] = 0xE4;
    std::string utf8(20, '\x7F');
    utf8.replace(place, 1, "\xC3\xA4");
    EXPECT_EQ(Utf8FromWide(wide), utf8) << place;
    WideString converted;
    EXPECT_TRUE(WideFromUtf8(utf8, converted) && converted == wide) << place;
  }
}

TEST(UtfTest, BytesThatAreNotUtf8AreRefusedAndLeaveTheResultUntouched) {
  const std::pair<const char*, std::vector<std::string>> bad[] = {
      {"continuation alone", {"\x80", "\xBF"}},
      {"overlong", {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF"}},
      {"above U+10FFFF", {"\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF7\xBF\xBF\xBF"}},
      {"no lead byte", {"\xF8\x88\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80", "\xFE", "\xFF"}},
      {"cut", {"\xC2", "\xE2\x82", "\xF0\x9F\x98"}},
      {"broken off", {"\xC2\x41", "\xE2\x82\x41", "\xF0\x9F\x41\x80", "\xE2\xC2\x80"}},
      {"a pair in two sequences", {"\xED\xA0\xBD\xED\xB8\x80"}}};
  for (const auto& [reason, sequences] : bad) {
    for (const std::string& bytes : sequences) {
      for (const std::string& text : {bytes, "before" + bytes, bytes + "after"}) {
        WideString wide = Units({0x58});
        EXPECT_FALSE(WideFromUtf8(text, wide)) << reason << ::testing::PrintToString(text);
        EXPECT_EQ(wide, Units({0x58}));
      }
    }
  }
  WideString wide;
  const std::vector<char> cut = {'\xC2'};  // with nothing after it, not even a terminator
  EXPECT_FALSE(WideFromUtf8({cut.data(), cut.size()}, wide));
}

TEST(MessageTest, EveryCodeHasATextOfItsOwnThatEndsInALineEnd) {
  constexpr std::size_t kNamedCodes = 29;  // in code.h
  std::set<WideString> texts;
  for (Code code = 0; code <= kCannotResolveName; ++code) {
    const WideString text = SystemMessage(code);
    if (text.empty()) continue;
    EXPECT_TRUE(text.size() > 2 && text.ends_with(LARDER_WIDE("\r\n"))) << code;
    texts.insert(text);
  }
  EXPECT_GE(texts.size(), kNamedCodes);
  EXPECT_NE(SystemMessage(kBadExeFormat).find(LARDER_WIDE("%1")), WideString::npos);
  EXPECT_EQ(SystemMessage(0x2FFFFFFF), WideString());
}

}  // namespace
}  // namespace larder::platform
