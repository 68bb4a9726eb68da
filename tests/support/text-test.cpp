#include "support/text.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace larder {
namespace {

using testing::ElementsAre;

TEST(Utf8ToWide, MakesOneUnitOfEachSequence) {
  EXPECT_EQ(Utf8ToWide("a\xC3\xA4\xE2\x82\xAC"), (WideString{'a', 0xE4, 0x20AC}));
  EXPECT_EQ(Utf8ToWide("\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"), (WideString{0xF600, 0xFFFF}));
  EXPECT_EQ(Utf8ToWide(std::string("\xED\xA0\xBD\0", 4)), (WideString{0xD83D, 0}));
  // Overlong forms, of every length.
  EXPECT_EQ(Utf8ToWide("\xC1\x81\xE0\x81\x81\xF0\x80\x81\x81"), LARDER_WIDE("AAA"));
  EXPECT_EQ(Utf8ToWide("\xF8\x80\x80\x81\x81\xFC\x80\x80\x80\x81\x81"), LARDER_WIDE("AA"));
}

TEST(Utf8ToWide, ThrowsBadConversionForAnythingElse) {
  for (const char* const text :
       {"\x80", "\xBF", "abc\xE2", "\xE2\x28\xA1", "\xC3\xC3", "\xF4\x90\x80\x80",
        "\xFB\xBF\xBF\xBF\xBF", "\xFD\xBF\xBF\xBF\xBF\xBF"}) {
    EXPECT_THAT([&] { Utf8ToWide(text); },
                testing::ThrowsMessage<std::range_error>("bad conversion"));
  }
}

TEST(HexToBytes, ReadsPairsAsStoulDoes) {
  EXPECT_THAT(HexToBytes("00ffA9f"), ElementsAre(0, 0xFF, 0xA9, 0x0F));
  EXPECT_THAT(HexToBytes(" f-1+21z0x"), ElementsAre(0x0F, 0xFF, 2, 1, 0));
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
  EXPECT_THAT(SplitString(WideString(), '\\'), ElementsAre(LARDER_WIDE("")));
}

}  // namespace
}  // namespace larder
