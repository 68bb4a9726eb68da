#include "platform/utf.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace larder::platform {
namespace {

WideString Units(std::initializer_list<unsigned> units) {
  WideString text;
  for (const unsigned unit : units) text.push_back(static_cast<LarderWideChar>(unit));
  return text;
}

TEST(UtfTest, JoinsPairsAndCarriesLoneSurrogatesBothWays) {
  const struct {
    WideString wide;
    std::string utf8;
  } pairs[] = {
      {{}, ""},
      {Units({0x41, 0x7F, 0xE4}), "A\x7F\xC3\xA4"},
      {Units({0x80, 0x7FF}), "\xC2\x80\xDF\xBF"},
      {Units({0x800, 0xFFFF}), "\xE0\xA0\x80\xEF\xBF\xBF"},
      {Units({0xD7FF, 0xE000}), "\xED\x9F\xBF\xEE\x80\x80"},
      {Units({0xD83D, 0xDE00}), "\xF0\x9F\x98\x80"},
      {Units({0xD800, 0xDC00}), "\xF0\x90\x80\x80"},
      {Units({0xDBFF, 0xDFFF}), "\xF4\x8F\xBF\xBF"},
      {Units({0xD800}), "\xED\xA0\x80"},
      {Units({0xDFFF, 0xDBFF}), "\xED\xBF\xBF\xED\xAF\xBF"},
      {Units({0xDC00, 0xD800}), "\xED\xB0\x80\xED\xA0\x80"},
      {Units({0xD800, 0xD83D, 0xDE00}), "\xED\xA0\x80\xF0\x9F\x98\x80"},
      {Units({0xD83D, 0xDE00, 0xDE00}), "\xF0\x9F\x98\x80\xED\xB8\x80"},
      {Units({0xD800, 0x41}),
       "\xED\xA0\x80"
       "A"},
      {Units({0x41, 0, 0x42}), std::string("A\0B", 3)},
  };
  for (const auto& pair : pairs) {
    EXPECT_EQ(Utf8FromWide(pair.wide), pair.utf8);
    WideString wide = Units({0x58});
    EXPECT_TRUE(WideFromUtf8(pair.utf8, wide)) << pair.utf8;
    EXPECT_EQ(wide, pair.wide) << pair.utf8;
  }
}

TEST(UtfTest, RefusesWhatIsNoUtf8AndLeavesTheResultUntouched) {
  const std::vector<std::string> bad = {
      "\x80",                      // a byte that only continues
      "\xBF",                      //
      "\xC0\x80",                  // overlong forms
      "\xC1\xBF",                  //
      "\xE0\x80\x80",              //
      "\xE0\x9F\xBF",              //
      "\xF0\x80\x80\x80",          //
      "\xF0\x8F\xBF\xBF",          //
      "\xF4\x90\x80\x80",          // above U+10FFFF
      "\xF5\x80\x80\x80",          //
      "\xF7\xBF\xBF\xBF",          //
      "\xF8\x88\x80\x80\x80",      // five and six bytes
      "\xFC\x84\x80\x80\x80\x80",  //
      "\xFE",                      // bytes of no form
      "\xFF",                      //
      "\xC2",                      // cut sequences
      "\xE2\x82",                  //
      "\xF0\x9F\x98",              //
      "\xC2\x41",                  // sequences that another character breaks
      "\xE2\x82\x41",              //
      "\xF0\x9F\x41\x80",          //
      "\xE2\xC2\x80",              //
      "\xED\xA0\xBD\xED\xB8\x80",  // a pair as two sequences
  };
  for (const std::string& bytes : bad) {
    for (const std::string& text : {bytes, "before" + bytes, bytes + "after"}) {
      WideString wide = Units({0x58});
      EXPECT_FALSE(WideFromUtf8(text, wide)) << ::testing::PrintToString(text);
      EXPECT_EQ(wide, Units({0x58}));
    }
  }
  WideString wide;
  const std::vector<char> cut = {'\xC2'};  // with nothing behind it, not even a terminator
  EXPECT_FALSE(WideFromUtf8({cut.data(), cut.size()}, wide));
}

}  // namespace
}  // namespace larder::platform
