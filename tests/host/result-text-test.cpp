#include <gtest/gtest.h>
#include <larder/larder.h>

#include <limits>
#include <vector>

#include "log/log-pieces.h"
#include "platform/wide.h"

namespace larder {
namespace {

std::string TextOf(std::int32_t code) {
  std::vector<LarderWideChar> buffer(LarderErrorToString(code, 0, nullptr));
  EXPECT_EQ(LarderErrorToString(code, static_cast<std::uint32_t>(buffer.size()), buffer.data()),
            buffer.size());
  EXPECT_EQ(buffer.back(), 0);
  return WideToUtf8(WideView(buffer.data(), buffer.size() - 1));
}

TEST(LarderErrorToString, GivesTheFixedTexts) {
  const char* const texts[] = {"Success",
                               "Larder DLL not found",
                               "Larder registry key not found",
                               "Failed to open the Larder DB",
                               "Generic error",
                               "Invalid handle passed to Larder function",
                               "Parameter 1 is invalid",
                               "Parameter 2 is invalid",
                               "Parameter 3 is invalid",
                               "Parameter 4 is invalid",
                               "Parameter 5 is invalid",
                               "Larder is already initialized",
                               "An install of Larder is in progress",
                               "No data available",
                               "Wrong version of Larder",
                               "File ID mismatch"};
  for (int i = 0; i < 16; ++i) EXPECT_EQ(TextOf(-i), texts[i]);
  static_assert(LARDER_E_FILE_ID_MISMATCH == -15 && LARDER_OK == 0);
  for (const std::int32_t unknown : {1, -16, std::numeric_limits<std::int32_t>::min(),
                                     std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(TextOf(unknown), "") << unknown;
  }
}

TEST(LarderErrorToString, WritesTheWholeTextOrNothing) {
  const auto written = [](std::int32_t code, std::uint32_t size) {
    WideString buffer(20, LARDER_WIDE('#'));
    LarderErrorToString(code, size, buffer.data());
    return buffer.substr(0, buffer.find_last_not_of(LARDER_WIDE('#')) + 1);
  };
  EXPECT_EQ(written(-4, 13), WideString());
  EXPECT_EQ(written(-4, 14), WideString(LARDER_WIDE("Generic error"), 14));
  EXPECT_EQ(written(7, 0), WideString());
  EXPECT_EQ(written(7, 1), WideString(1, 0));
  EXPECT_EQ(LarderErrorToString(-4, 14, nullptr), 14U);
}

}  // namespace
}  // namespace larder
