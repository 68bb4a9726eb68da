#include "testing/system-text.h"

namespace larder {

std::string SystemText(const std::string& utf8) { return utf8; }

// libcrypto takes neither text that isn't what it says nor integers that aren't DER.
std::optional<std::string> DeviatingSubject(const std::string& certificate) {
  if (certificate == "broken-utf8" || certificate == "padded-serial") return "unreadable";
  return std::nullopt;
}

}  // namespace larder
