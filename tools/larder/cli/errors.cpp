#include "tools/larder/cli/errors.h"

#include <larder/larder.h>

#include <cstdio>

#include "platform/message.h"
#include "platform/utf.h"
#include "tools/larder/cli/text.h"

namespace larder::tool {
namespace {

std::string Reason(std::string text, const std::string& number) {
  text.erase(text.find_last_not_of(" \r\n") + 1);
  return text.empty() ? "code " + number : text + " (" + number + ")";
}

}  // namespace

void PrintError(std::string_view text) {
  const std::string line = "larder: " + Printable(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string SystemReason(platform::Code code) {
  return Reason(platform::Utf8FromWide(platform::SystemMessage(code)), std::to_string(code));
}

std::string ResultReason(int result) {
  const std::uint32_t size = LarderErrorToString(result, 0, nullptr);
  WideString text(size, LARDER_WIDE('\0'));
  LarderErrorToString(result, size, text.data());
  text.pop_back();
  return Reason(platform::Utf8FromWide(text), std::to_string(result));
}

bool Succeeded(const std::string& what, platform::Code code) {
  if (code == platform::kSuccess) return true;
  PrintError("cannot " + what + ": " + SystemReason(code));
  return false;
}

}  // namespace larder::tool
