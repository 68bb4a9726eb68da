#include "support/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "diag/log-pieces.h"
#include "support/text.h"
#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Registry : public testing::Test {
 protected:
  // Stores raw bytes as a value, as somebody else would.
  static void Store(const WideString& subkey, const WideString& name, std::uint32_t type,
                    const void* data, std::size_t size) {
    platform::RegistryKey key = nullptr;
    ASSERT_EQ(platform::MakeRegistryKey(WideString(LarderRegistryRoot) + subkey,
                                        platform::kKeySetValue, key),
              platform::kSuccess);
    EXPECT_EQ(platform::SetRegistryValue(key, name, type, data, static_cast<std::uint32_t>(size)),
              platform::kSuccess);
    platform::CloseRegistryKey(key);
  }

  static void StoreText(const WideString& name, std::uint32_t type, const WideString& text) {
    Store(LARDER_WIDE("Install"), name, type, text.c_str(),
          (text.size() + 1) * sizeof(LarderWideChar));
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

TEST_F(Registry, AStringComesBackWholeUpToTheLongestOne) {
  const WideString longest(98, LARDER_WIDE('x'));
  SetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("szLongest"), longest);
  SetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("szTooLong"), longest + LARDER_WIDE("x"));
  SetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("szEmpty"), {});
  EXPECT_THAT(Warnings(), IsEmpty());
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("szLongest")), longest);
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("szEmpty")), WideString());
  EXPECT_THAT(Warnings(), IsEmpty());
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("A\\B\\C"), LARDER_WIDE("szTooLong")), WideString());
  EXPECT_THAT(
      Warnings(),
      ElementsAre(" WARN: RegQueryValueExW failed for \"A\\B\\C\", szTooLong: " + Error(0)));
}

TEST_F(Registry, AFailedReadOfAStringShowsTheTextOfCodeZero) {
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation")), WideString());
  EXPECT_THAT(Warnings(), ElementsAre(" WARN: RegOpenKeyExW failed for \"Install\": " + Error(0)));
  StoreText(LARDER_WIDE("szOther"), platform::kRegSz, LARDER_WIDE("x"));
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation")), WideString());
  EXPECT_THAT(
      Warnings(),
      ElementsAre(" WARN: RegQueryValueExW failed for \"Install\", szLocation: " + Error(0)));
}

TEST_F(Registry, OnlyAPlainStringIsAString) {
  const std::uint32_t number = 7;
  StoreText(LARDER_WIDE("expand"), platform::kRegExpandSz, LARDER_WIDE("%PATH%"));
  Store(LARDER_WIDE("Install"), LARDER_WIDE("dword"), platform::kRegDword, &number, sizeof number);
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("expand")), WideString());
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("dword")), WideString());
  EXPECT_THAT(Warnings(), ElementsAre(" WARN: Unexpected type 2", " WARN: Unexpected type 4"));
}

TEST_F(Registry, AStringStoredWithoutATerminatorEndsWhereItsBytesEnd) {
  const WideString full(98, LARDER_WIDE('y'));
  Store(LARDER_WIDE("Install"), LARDER_WIDE("full"), platform::kRegSz, full.data(), 196);
  Store(LARDER_WIDE("Install"), LARDER_WIDE("odd"), platform::kRegSz, full.data(), 3);
  Store(LARDER_WIDE("Install"), LARDER_WIDE("none"), platform::kRegSz, full.data(), 0);
  Store(LARDER_WIDE("Install"), LARDER_WIDE("nul"), platform::kRegSz, LARDER_WIDE("ab\0cd"), 12);
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("full")), full);
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("odd")).substr(0, 1),
            LARDER_WIDE("y"));
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("none")), WideString());
  EXPECT_EQ(GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("nul")), LARDER_WIDE("ab"));
}

TEST_F(Registry, AnIntegerIsADwordAndFailuresTellTheirReason) {
  std::int32_t value = -1;
  EXPECT_FALSE(GetRegistryInt(LARDER_WIDE("Install"), LARDER_WIDE("n"), &value));
  EXPECT_THAT(Warnings(), ElementsAre(" WARN: RegOpenKeyExW failed for \"Install\": " + Error(2)));

  const std::int32_t stored = -123456;
  Store(LARDER_WIDE("Install"), LARDER_WIDE("n"), platform::kRegDword, &stored, 4);
  EXPECT_TRUE(GetRegistryInt(LARDER_WIDE("Install"), LARDER_WIDE("n"), &value));
  EXPECT_EQ(value, stored);
  EXPECT_THAT(Warnings(), IsEmpty());

  // A value of 4 bytes changes the integer whatever its type; a longer one doesn't.
  StoreText(LARDER_WIDE("one"), platform::kRegSz, LARDER_WIDE("A"));
  StoreText(LARDER_WIDE("three"), platform::kRegSz, LARDER_WIDE("ABC"));
  value = 99;
  EXPECT_FALSE(GetRegistryInt(LARDER_WIDE("Install"), LARDER_WIDE("three"), &value));
  EXPECT_EQ(value, 99);
  EXPECT_FALSE(GetRegistryInt(LARDER_WIDE("Install"), LARDER_WIDE("one"), &value));
  EXPECT_EQ(value, 'A');
  Store(LARDER_WIDE("Install"), LARDER_WIDE("short"), platform::kRegDword, &stored, 2);
  EXPECT_FALSE(GetRegistryInt(LARDER_WIDE("Install"), LARDER_WIDE("short"), &value));
  EXPECT_THAT(Warnings(),
              ElementsAre(" WARN: RegQueryValueExW failed for \"Install\", three: " + Error(234),
                          " WARN: Unexpected type/size 1", " WARN: Unexpected type/size 4"));
}

TEST_F(Registry, DeletingReportsTheOpenAndThenTheEmptyKey) {
  DeleteRegistryValue(LARDER_WIDE("Nowhere"), LARDER_WIDE("v"));
  EXPECT_THAT(Warnings(),
              ElementsAre(" WARN: RegOpenKeyEx failed for \"Software\\Velmor\\Larder\\Nowhere\": " +
                              Error(2),
                          " WARN: RegDeleteValue failed for \"v\": " + Error(6)));
  StoreText(LARDER_WIDE("v"), platform::kRegSz, LARDER_WIDE("x"));
  DeleteRegistryValue(LARDER_WIDE("Install"), LARDER_WIDE("V"));
  EXPECT_THAT(Warnings(), IsEmpty());
  DeleteRegistryValue(LARDER_WIDE("Install"), LARDER_WIDE("v"));
  EXPECT_THAT(Warnings(), ElementsAre(" WARN: RegDeleteValue failed for \"v\": " + Error(2)));
}

TEST_F(Registry, EachRoutineClosesItsKeyAtItsEnd) {
  StoreText(LARDER_WIDE("v"), platform::kRegExpandSz, LARDER_WIDE("x"));
  GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("v"));
  EXPECT_EQ(log.Text(),
            "TRACE: Entering GetRegistryString()\n"
            " WARN: Unexpected type 2\n"
            "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
            "TRACE: Leaving GetRegistryString()\n");
  log.Clear();
  DeleteRegistryValue(LARDER_WIDE("Install"), LARDER_WIDE("v"));
  EXPECT_EQ(log.Text(),
            "TRACE: Entering DeleteRegistryValue()\n"
            "TRACE: Entering OpenRegistrySubkey()\n"
            "TRACE: Leaving OpenRegistrySubkey()\n"
            "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
            "TRACE: Leaving DeleteRegistryValue()\n");
  log.Clear();
  SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("v"), LARDER_WIDE("x"));
  EXPECT_EQ(log.Text(),
            "TRACE: Entering SetRegistryString()\n"
            "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
            "TRACE: Leaving SetRegistryString()\n");
}

}  // namespace
}  // namespace larder
