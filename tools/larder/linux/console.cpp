#include "tools/larder/cli/console.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

#include "platform/linux/native.h"
#include "platform/wide.h"

namespace larder::tool {
namespace {

struct Free {
  void operator()(char* text) const noexcept { free(text); }
};

platform::Code CurrentDirectory(std::string& path) {
  const std::unique_ptr<char, Free> directory(getcwd(nullptr, 0));
  if (!directory) return platform::CodeFromErrno(errno);
  path = directory.get();
  // The kernel puts "(unreachable)" in front of a directory outside the process's root.
  return path.front() == '/' ? platform::kSuccess : platform::kPathNotFound;
}

std::string WithoutIdleParts(std::string_view path) {
  std::string result;
  while (!path.empty()) {
    const std::size_t end = path.find('/');
    const std::string_view part = path.substr(0, end);
    if (!part.empty() && part != ".") result.append("/").append(part);
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
  }
  return result.empty() ? "/" : result;
}

}  // namespace

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

platform::Code FullPath(const std::string& utf8Path, WideString& path) {
  if (utf8Path.empty() || utf8Path.find('\0') != std::string::npos) return platform::kInvalidName;
  std::string full;
  if (utf8Path.front() != '/') {
    if (const platform::Code code = CurrentDirectory(full); code != platform::kSuccess) return code;
    full += '/';
  }
  return platform::WidePath(WithoutIdleParts(full + utf8Path), path);
}

std::string PathText(const WideString& path) {
  std::string text = platform::Utf8FromWide(path);
  std::replace(text.begin(), text.end(), '\\', '/');
  return text;
}

}  // namespace larder::tool
