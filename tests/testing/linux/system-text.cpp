#include "testing/system-text.h"

namespace larder {

std::string SystemText(const std::string& utf8) { return utf8; }

// libcrypto rejects text that is invalid in its declared encoding, and integers that aren't DER.
std::optional<std::string> DeviatingSubject(const std::string& certificate) {
  if (certificate == "broken-utf8" || certificate == "padded-serial") return "unreadable";
  return std::nullopt;
}

}  // namespace larder
