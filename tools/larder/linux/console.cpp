#include "tools/larder/cli/console.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace larder::tool {

std::vector<std::string> ProgramArguments(int argc, char** argv) { return {argv, argv + argc}; }

void PrepareConsole() noexcept { signal(SIGPIPE, SIG_IGN); }

void EndProcess(int status) noexcept { _exit(status); }

int WriteText(Stream stream, std::string_view text) noexcept {
  errno = 0;
  FILE* file = stream == Stream::kOutput ? stdout : stderr;
  if (fwrite(text.data(), 1, text.size(), file) == text.size()) return 0;
  return errno != 0 ? errno : EIO;
}

bool IsOutputTerminal() noexcept { return isatty(STDOUT_FILENO) != 0; }

bool IsErrorTerminal(std::size_t& columns) noexcept {
  if (isatty(STDERR_FILENO) == 0) return false;
  winsize size{};
  columns = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
  return true;
}

}  // namespace larder::tool
