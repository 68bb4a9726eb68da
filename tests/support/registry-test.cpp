#include "support/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "log/log-pieces.h"
#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Registry : public testing::Test {
 protected:
  // Stores bytes as a value of the subkey Install, as another program may.
  static void Store(const WideString& name, std::uint32_t type, const void* data,
                    std::size_t size) {
    platform::OwnedRegistryKey key;
    ASSERT_EQ(platform::MakeRegistryKey(WideString(LarderRegistryRoot) + LARDER_WIDE("Install"),
                                        platform::kKeySetValue, key.Out()),
              platform::kSuccess);
    EXPECT_EQ(
        platform::SetRegistryValue(key.Get(), name, type, data, static_cast<std::uint32_t>(size)),
        platform::kSuccess);
  }

  static void StoreText(const WideString& name, std::uint32_t type, const WideString& text) {
    Store(name, type, text.c_str(), (text.size() + 1) * sizeof(LarderWideChar));
  }

  std::vector<std::string> Warnings() {
    std::vector<std::string> warnings;
    for (const std::string& line : log.Lines()) {
      if (line.starts_with(" WARN: ")) warnings.push_back(line);
    }
    log.Clear();
    return warnings;
  }

  static std::string Error(platform::Code code) { return WideToUtf8(FormatSystemError(code)); }

  TestMachine machine;
  RecordedLog log;
};

TEST_F(Registry, AStringOfAtMost98CharactersIsReadBack) {
  const WideString longest(98, LARDER_WIDE('x'));
  const auto readBack = [](const WideString& text) {
    SetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("szText"), text);
    return GetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("szText"));
  };
  EXPECT_EQ(readBack(longest), longest);
  EXPECT_EQ(readBack({}), WideString());
  EXPECT_THAT(Warnings(), IsEmpty());
  EXPECT_EQ(readBack(longest + LARDER_WIDE("x")), WideString());
  EXPECT_THAT(Warnings(),
              ElementsAre(" WARN: RegQueryValueExW failed for \"A\\B\\C\", szText: " + Error(0)));
}

TEST_F(Registry, AnythingElseThanAStringIsEmptyAfterAWarning) {
  const auto read = [](const WideString& name) {
    EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), name), WideString());
  };
  const std::uint32_t number = 7;
  read(LARDER_WIDE("none"));
  Store(LARDER_WIDE("dword"), platform::kRegDword, &number, sizeof number);
  StoreText(LARDER_WIDE("expand"), platform::kRegExpandSz, LARDER_WIDE("%PATH%"));
  read(LARDER_WIDE("none"));
  read(LARDER_WIDE("dword"));
  // A failure to read a string is reported with the text of code zero.
  EXPECT_THAT(Warnings(),
              ElementsAre(" WARN: RegOpenKeyExW failed for \"Install\": " + Error(0),
                          " WARN: RegQueryValueExW failed for \"Install\", none: " + Error(0),
                          " WARN: Unexpected type 4"));
  read(LARDER_WIDE("expand"));
  EXPECT_EQ(log.Text(),
            "TRACE: Entering GetRegistryString()\n"
            " WARN: Unexpected type 2\n"
            "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
            "TRACE: Leaving GetRegistryString()\n");
}

TEST_F(Registry, AStringStoredWithoutATerminatorEndsWithItsBytes) {
  const WideString full(98, LARDER_WIDE('y'));
  const auto read = [](std::size_t size, const void* data) {
    Store(LARDER_WIDE("text"), platform::kRegSz, data, size);
    return GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("text"));
  };
  EXPECT_EQ(read(196, full.data()), full);
  EXPECT_EQ(read(3, full.data()).substr(0, 1), LARDER_WIDE("y"));
  EXPECT_EQ(read(0, full.data()), WideString());
  EXPECT_EQ(read(12, LARDER_WIDE("ab\0cd")), LARDER_WIDE("ab"));
}

TEST_F(Registry, AnIntegerIsADword) {
  const std::string query = " WARN: RegQueryValueExW failed for \"Install\", n: ";
  std::int32_t value = 99;
  const auto isRead = [&] {
    return GetRegistryInt(LARDER_WIDE("Install"), LARDER_WIDE("n"), &value);
  };
  const std::int32_t stored = -123456;
  EXPECT_FALSE(isRead());
  StoreText(LARDER_WIDE("n"), platform::kRegSz, LARDER_WIDE("ABC"));
  EXPECT_FALSE(isRead());
  EXPECT_EQ(value, 99);
  StoreText(LARDER_WIDE("n"), platform::kRegSz, LARDER_WIDE("A"));  // changes the integer
  EXPECT_FALSE(isRead());
  Store(LARDER_WIDE("n"), platform::kRegDword, &stored, 2);
  EXPECT_FALSE(isRead());
  EXPECT_THAT(Warnings(), ElementsAre(" WARN: RegOpenKeyExW failed for \"Install\": " + Error(2),
                                      query + Error(234), " WARN: Unexpected type/size 1",
                                      " WARN: Unexpected type/size 4"));
  Store(LARDER_WIDE("n"), platform::kRegDword, &stored, 4);
  EXPECT_TRUE(isRead());
  EXPECT_EQ(value, stored);
  EXPECT_THAT(Warnings(), IsEmpty());
}

TEST_F(Registry, DeletingReportsTheFailedOpeningAndThenTheEmptyKey) {
  DeleteRegistryValue(LARDER_WIDE("Nowhere"), LARDER_WIDE("v"));
  SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("v"), LARDER_WIDE("x"));
  EXPECT_THAT(Warnings(),
              ElementsAre(" WARN: RegOpenKeyEx failed for \"Software\\Velmor\\Larder\\Nowhere\": " +
                              Error(2),
                          " WARN: RegDeleteValue failed for \"v\": " + Error(6)));
  DeleteRegistryValue(LARDER_WIDE("Install"), LARDER_WIDE("V"));
  EXPECT_EQ(log.Text(),
            "TRACE: Entering DeleteRegistryValue()\n"
            "TRACE: Entering OpenRegistrySubkey()\n"
            "TRACE: Leaving OpenRegistrySubkey()\n"
            "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
            "TRACE: Leaving DeleteRegistryValue()\n");
  DeleteRegistryValue(LARDER_WIDE("Install"), LARDER_WIDE("v"));
  EXPECT_THAT(Warnings(), ElementsAre(" WARN: RegDeleteValue failed for \"v\": " + Error(2)));
}

}  // namespace
}  // namespace larder
