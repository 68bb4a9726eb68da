// What a command-line program needs of its surroundings. All narrow text is UTF-8 on every system.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// The program's arguments, the program's own name first. argc and argv are what main was given.
[[nodiscard]] std::vector<std::string> ProgramArguments(int argc, char** argv);

// Makes standard output and error take UTF-8 bytes as they stand, line ends included.
void PrepareConsole() noexcept;

// Whether standard error is a terminal; if so, columns is its width, 0 when it doesn't tell.
[[nodiscard]] bool IsErrorTerminal(std::size_t& columns) noexcept;

// The path as a full one (relative to the current directory otherwise), with backslashes. The file
// needn't exist, and links aren't followed. kNoUnicodeTranslation for bytes that are no UTF-8.
[[nodiscard]] Code FullPath(const std::string& utf8Path, WideString& path);

// The path as it is written on this system: with its own separators, in UTF-8.
[[nodiscard]] std::string PathText(const WideString& path);

}  // namespace larder::platform
