#include "testing/system-text.h"

#include <windows.h>

#include <map>
#include <stdexcept>

#include "platform/wide.h"

namespace larder {

std::string SystemText(const std::string& utf8) {
  WideString wide;
  if (!platform::WideFromUtf8(utf8, wide)) throw std::invalid_argument(utf8);
  std::string narrow(2 * wide.size(), '\0');
  narrow.resize(static_cast<std::size_t>(
      WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), narrow.data(),
                          static_cast<int>(narrow.size()), nullptr, nullptr)));
  return narrow;
}

// As wine 8 writes them.
std::optional<std::string> DeviatingSubject(const std::string& certificate) {
  static const std::map<std::string, std::string> kDeviations = {
      {"unknown-key", "CN=x, 0.9.2342.19200300.100.1.1=y, 1.2.3.4=z"},  // no "OID."
      {"empty-value", "CN=, O=x"},                                      // no quotes
      {"blanks", "CN=a , CN=\"a  bc\""},
      {"too-long", ""},  // not truncated
      {"universal", ""},
      {"no-text", ""},
      {"teletex-utf8", SystemText("CN=\xC3\x83\xC2\xA4")},
  };
  const auto found = kDeviations.find(certificate);
  if (found == kDeviations.end()) return std::nullopt;
  return found->second;
}

}  // namespace larder
