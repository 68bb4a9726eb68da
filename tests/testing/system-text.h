// How this system writes the names in certificates.
#pragma once

#include <optional>
#include <string>

namespace larder {

// Converts UTF-8 to the system's narrow text: unchanged on Linux, the code page on Windows.
std::string SystemText(const std::string& utf8);

// The subject of one of tests/certificates as this system writes it, if that isn't the documented
// form; "unreadable" for a certificate that it doesn't parse.
std::optional<std::string> DeviatingSubject(const std::string& certificate);

}  // namespace larder
