#include "support/registry.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "log/log-pieces.h"
#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

constexpr LarderWideChar kKey[] = LARDER_WIDE("Install");

class Registry : public testing::Test {
 protected:
  // Stores bytes as the value "n", as another program may.
  static void Store(std::uint32_t type, const void* data, std::uint32_t size) {
    platform::OwnedRegistryKey key;
    ASSERT_EQ(platform::MakeRegistryKey(WideString(LarderRegistryRoot) + kKey,
                                        platform::kKeySetValue, key.Out()),
              platform::kSuccess);
    EXPECT_EQ(platform::SetRegistryValue(key.Get(), LARDER_WIDE("n"), type, data, size),
              platform::kSuccess);
  }
  static WideString Read() { return GetRegistryString(kKey, LARDER_WIDE("n")); }

  // The WARN lines since the last call, without that word.
  std::string Warnings() {
    const std::string text = std::regex_replace(log.Text(), std::regex("TRACE: .*\n| WARN: "), "");
    log.Clear();
    return text;
  }
  static std::string Error(platform::Code code) {
    return WideToUtf8(FormatSystemError(code)) + "\n";
  }

  TestMachine machine;
  RecordedLog log;
};

TEST_F(Registry, AStringOfAtMost98CharactersIsReadBack) {
  const WideString longest(98, LARDER_WIDE('x'));
  for (const WideString& text : {longest, WideString()}) {
    SetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("n"), text);
    EXPECT_EQ(GetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("n")), text);
  }
  EXPECT_EQ(Warnings(), "");
  SetRegistryString(kKey, LARDER_WIDE("n"), longest + LARDER_WIDE("x"));
  EXPECT_EQ(Read(), WideString());
  // A failure to read a string is reported with the text of code zero.
  EXPECT_EQ(Warnings(), "RegQueryValueExW failed for \"Install\", n: " + Error(0));
  Store(platform::kRegExpandSz, LARDER_WIDE("a"), 4);
  EXPECT_EQ(Read(), WideString());
  EXPECT_EQ(Warnings(), "Unexpected type 2\n");
}

TEST_F(Registry, AStringStoredWithoutATerminatorEndsWithItsBytes) {
  const WideString text(100, LARDER_WIDE('y'));
  Store(platform::kRegSz, text.data(), 196);
  EXPECT_EQ(Read(), text.substr(2));
  Store(platform::kRegSz, text.data(), 198);  // fills the buffer
  EXPECT_EQ(Read(), WideString());
  EXPECT_EQ(Warnings(), "RegQueryValueExW failed for \"Install\", n: " + Error(0));
  Store(platform::kRegSz, text.data(), 3);
  EXPECT_EQ(Read().substr(0, 1), LARDER_WIDE("y"));
  Store(platform::kRegSz, LARDER_WIDE("ab\0cd"), 12);
  EXPECT_EQ(Read(), LARDER_WIDE("ab"));
}

TEST_F(Registry, AnIntegerIsADword) {
  std::int32_t value = 99;
  const auto isRead = [&] { return GetRegistryInt(kKey, LARDER_WIDE("n"), &value); };
  const std::int32_t stored = -123456;
  EXPECT_FALSE(isRead());
  Store(platform::kRegSz, LARDER_WIDE("ABC"), 8);
  EXPECT_FALSE(isRead());
  EXPECT_EQ(value, 99);
  Store(platform::kRegSz, LARDER_WIDE("A"), 4);  // changes the integer
  EXPECT_FALSE(isRead());
  Store(platform::kRegDword, &stored, 2);
  EXPECT_FALSE(isRead());
  EXPECT_EQ(Warnings(), "RegOpenKeyExW failed for \"Install\": " + Error(2) +
                            "RegQueryValueExW failed for \"Install\", n: " + Error(234) +
                            "Unexpected type/size 1\nUnexpected type/size 4\n");
  Store(platform::kRegDword, &stored, 4);
  EXPECT_TRUE(isRead());
  EXPECT_EQ(value, stored);
}

TEST_F(Registry, DeletingReportsTheFailedOpeningAndThenTheEmptyKey) {
  DeleteRegistryValue(LARDER_WIDE("Nowhere"), LARDER_WIDE("v"));
  Store(platform::kRegDword, &log, 4);
  DeleteRegistryValue(kKey, LARDER_WIDE("N"));
  DeleteRegistryValue(kKey, LARDER_WIDE("n"));
  EXPECT_EQ(Warnings(), "RegOpenKeyEx failed for \"Software\\Velmor\\Larder\\Nowhere\": " +
                            Error(2) + "RegDeleteValue failed for \"v\": " + Error(6) +
                            "RegDeleteValue failed for \"n\": " + Error(2));
}

}  // namespace
}  // namespace larder
