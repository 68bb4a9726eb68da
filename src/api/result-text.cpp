// The fixed texts of the result codes.
#include <larder/larder.h>

#include "platform/wide.h"

namespace larder {

namespace {

// From LARDER_E_FILE_ID_MISMATCH up to LARDER_OK.
constexpr WideView kTexts[] = {
    LARDER_WIDE("File ID mismatch"),
    LARDER_WIDE("Wrong version of Larder"),
    LARDER_WIDE("No data available"),
    LARDER_WIDE("An install of Larder is in progress"),
    LARDER_WIDE("Larder is already initialized"),
    LARDER_WIDE("Parameter 5 is invalid"),
    LARDER_WIDE("Parameter 4 is invalid"),
    LARDER_WIDE("Parameter 3 is invalid"),
    LARDER_WIDE("Parameter 2 is invalid"),
    LARDER_WIDE("Parameter 1 is invalid"),
    LARDER_WIDE("Invalid handle passed to Larder function"),
    LARDER_WIDE("Generic error"),
    LARDER_WIDE("Failed to open the Larder DB"),
    LARDER_WIDE("Larder registry key not found"),
    LARDER_WIDE("Larder DLL not found"),
    LARDER_WIDE("Success"),
};
constexpr std::uint32_t kTextCount = sizeof kTexts / sizeof kTexts[0];

// Empty for any other code.
WideView ResultText(std::int32_t code) noexcept {
  const std::uint32_t row = static_cast<std::uint32_t>(code) + (kTextCount - 1);
  return row < kTextCount ? kTexts[row] : WideView();
}

}  // namespace
}  // namespace larder

std::uint32_t LarderErrorToString(std::int32_t code, std::uint32_t bufferSize,
                                  LarderWideChar* buffer) {
  const larder::WideView text = larder::ResultText(code);
  const auto needed = static_cast<std::uint32_t>(text.size() + 1);
  if (buffer != nullptr && bufferSize >= needed) {
    text.copy(buffer, text.size());
    buffer[text.size()] = 0;
  }
  return needed;
}
