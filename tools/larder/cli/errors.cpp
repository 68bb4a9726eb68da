#include "tools/larder/cli/errors.h"

#include <larder/larder.h>

#include <cstdio>

#include "platform/message.h"
#include "platform/utf.h"
#include "tools/larder/cli/text.h"

namespace larder::tool {
void PrintError(std::string_view text) {
  const std::string line = "larder: " + Printable(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string ResultReason(int result) {
  const std::uint32_t size = LarderErrorToString(result, 0, nullptr);
  WideString text(size, LARDER_WIDE('\0'));
  LarderErrorToString(result, size, text.data());
  text.pop_back();
  const std::string number = std::to_string(result);
  return text.empty() ? "code " + number : platform::Utf8FromWide(text) + " (" + number + ")";
}

bool Succeeded(const std::string& what, platform::Code code) {
  if (code == platform::kSuccess) return true;
  PrintError("cannot " + what + ": " + platform::SystemReason(code));
  return false;
}

}  // namespace larder::tool
