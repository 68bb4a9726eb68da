// What a command-line program needs from its system. Narrow text is UTF-8 on every system.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace larder::tool {

// The program's arguments, its own name first. argc and argv: those of main.
[[nodiscard]] std::vector<std::string> ProgramArguments(int argc, char** argv);

// Lets standard output and standard error pass bytes unchanged, line ends included. Writing to a
// closed pipe fails from then on like any other write, and doesn't end the program. On Windows a
// drive without media is an error from then on and opens no dialog, in child processes too.
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

}  // namespace larder::tool
