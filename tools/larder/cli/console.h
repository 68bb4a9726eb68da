// What a command-line program needs from its system. Narrow text is UTF-8 on every system.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::tool {

// The program's arguments, its own name first. argc and argv: those of main.
[[nodiscard]] std::vector<std::string> ProgramArguments(int argc, char** argv);

// Lets standard output and standard error pass bytes unchanged, line ends included. Writing to a
// closed pipe fails from then on like any other write, and doesn't end the program.
void PrepareConsole() noexcept;

// Ends this process at once, whatever its threads do; destructors and other code of its modules
// don't run. What is buffered for standard output is lost.
[[noreturn]] void EndProcess(int status) noexcept;

enum class Stream { kOutput, kErrors };

// Writes UTF-8 through the stream's buffer. A Windows console gets UTF-16 at once instead, whatever
// its code page is. Returns 0 or an errno.
[[nodiscard]] int WriteText(Stream stream, std::string_view text) noexcept;

// Whether standard output is a terminal.
[[nodiscard]] bool IsOutputTerminal() noexcept;

// Whether standard error is a terminal. If so, columns is set to its width, or 0 if that is
// unknown.
[[nodiscard]] bool IsErrorTerminal(std::size_t& columns) noexcept;

// Makes a path absolute, relative to the current directory, with backslashes. The file needn't
// exist, and links aren't followed. kNoUnicodeTranslation if the path isn't UTF-8.
[[nodiscard]] platform::Code FullPath(const std::string& utf8Path, WideString& path);

// The path as this system writes it, with its own separators.
[[nodiscard]] std::string PathText(const WideString& path);

}  // namespace larder::tool
