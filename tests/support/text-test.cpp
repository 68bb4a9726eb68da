#include "support/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace larder {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

WideString Units(std::initializer_list<unsigned> units) {
  WideString text;
  for (const unsigned unit : units) text += static_cast<LarderWideChar>(unit);
  return text;
}

TEST(Utf8ToWide, MakesOneUnitOfEachSequence) {
  EXPECT_EQ(Utf8ToWide("a\xC3\xA4\xE2\x82\xAC"), Units({'a', 0xE4, 0x20AC}));
  EXPECT_EQ(Utf8ToWide("\xF0\x9F\x98\x80"), Units({0xF600}));
  EXPECT_EQ(Utf8ToWide("\xF4\x8F\xBF\xBF"), Units({0xFFFF}));
  EXPECT_EQ(Utf8ToWide("\xED\xA0\xBD"), Units({0xD83D}));
  EXPECT_EQ(Utf8ToWide(std::string("\0", 1)), Units({0}));
  // Overlong forms, of every length.
  EXPECT_EQ(Utf8ToWide("\xC1\x81\xE0\x81\x81\xF0\x80\x81\x81"), Units({'A', 'A', 'A'}));
  EXPECT_EQ(Utf8ToWide("\xF8\x80\x80\x81\x81\xFC\x80\x80\x80\x81\x81"), Units({'A', 'A'}));
}

TEST(Utf8ToWide, ThrowsBadConversionForAnythingElse) {
  for (const char* const text : {"\x80", "\xBF", "abc\xE2", "\xE2\x82", "\xE2\x28\xA1", "\xC3\xC3",
                                 "\xF4\x90\x80\x80", "\xF7\xBF\xBF\xBF", "\xFB\xBF\xBF\xBF\xBF",
                                 "\xFD\xBF\xBF\xBF\xBF\xBF", "\xFF\x80\x80\x80\x81\x81"}) {
    try {
      Utf8ToWide(text);
      ADD_FAILURE() << text;
    } catch (const std::range_error& error) {
      EXPECT_STREQ(error.what(), "bad conversion");
    }
  }
}

TEST(HexToBytes, ReadsPairsAsStoulDoes) {
  EXPECT_THAT(HexToBytes(""), IsEmpty());
  EXPECT_THAT(HexToBytes("00ffA9"), ElementsAre(0, 0xFF, 0xA9));
  EXPECT_THAT(HexToBytes("0fe"), ElementsAre(0x0F, 0x0E));
  EXPECT_THAT(HexToBytes(" f-1+21z"), ElementsAre(0x0F, 0xFF, 2, 1));
  EXPECT_THROW(HexToBytes("00zz"), std::invalid_argument);
  EXPECT_THROW(HexToBytes("00 "), std::invalid_argument);
}

TEST(Trim, RemovesWhiteSpaceInPlace) {
  std::string text = " \t\r\n\v\fa b\f\v ";
  std::string left = text;
  std::string right = text;
  EXPECT_EQ(TrimLeft(left), "a b\f\v ");
  EXPECT_EQ(TrimRight(right), " \t\r\n\v\fa b");
  EXPECT_EQ(&Trim(text), &text);
  EXPECT_EQ(text, "a b");
  std::string blank = " \n ";
  EXPECT_EQ(Trim(blank), "");
  std::string bytes = "\xC3\xA4\xA0";  // no byte above 0x7F is white space
  EXPECT_EQ(Trim(bytes), "\xC3\xA4\xA0");
}

TEST(SplitString, KeepsEmptyFields) {
  EXPECT_THAT(SplitString(std::string("a,b,,c,"), ','), ElementsAre("a", "b", "", "c", ""));
  EXPECT_THAT(SplitString(std::string(), ','), ElementsAre(""));
  EXPECT_THAT(SplitString(WideString(LARDER_WIDE("a\\")), '\\'),
              ElementsAre(LARDER_WIDE("a"), LARDER_WIDE("")));
}

}  // namespace
}  // namespace larder
