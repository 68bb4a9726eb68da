// How this system's certificate group writes names. One source for each system.
#pragma once

#include <optional>
#include <string>

namespace larder {

// UTF-8 as narrow text of the system: in its code page on Windows, as it stands on Linux.
std::string SystemText(const std::string& utf8);

// What this system gives as the subject of one of tests/certificates where that isn't the
// documented form; "unreadable" for a certificate that it doesn't parse.
std::optional<std::string> DeviatingSubject(const std::string& certificate);

}  // namespace larder
