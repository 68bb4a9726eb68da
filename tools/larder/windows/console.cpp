#include "tools/larder/cli/console.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <stdio.h>

#include <memory>

#include "platform/wide.h"
#include "platform/windows/native.h"

namespace larder::tool {
namespace {

struct FreeLocal {
  void operator()(wchar_t** list) const noexcept { LocalFree(list); }
};

}  // namespace

// The arguments of main have been converted to the code page; the command line is UTF-16.
std::vector<std::string> ProgramArguments(int, char**) {
  int count = 0;
  const std::unique_ptr<wchar_t*, FreeLocal> list(CommandLineToArgvW(GetCommandLineW(), &count));
  std::vector<std::string> arguments;
  for (int i = 0; list && i < count; ++i)
    arguments.push_back(platform::Utf8FromWide(list.get()[i]));
  return arguments;
}

void PrepareConsole() noexcept {
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);
}

bool IsErrorTerminal(std::size_t& columns) noexcept {
  const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
  DWORD mode = 0;
  if (GetConsoleMode(error, &mode) == FALSE) return false;
  CONSOLE_SCREEN_BUFFER_INFO screen{};
  columns = 0;
  if (GetConsoleScreenBufferInfo(error, &screen) != FALSE) {
    const int width = screen.srWindow.Right - screen.srWindow.Left + 1;
    columns = static_cast<std::size_t>(width);
  }
  return true;
}

platform::Code FullPath(const std::string& utf8Path, WideString& path) {
  WideString wide;
  if (!platform::WideFromUtf8(utf8Path, wide)) return platform::kNoUnicodeTranslation;
  return platform::FullNativePath(wide, path);
}

std::string PathText(const WideString& path) { return platform::Utf8FromWide(path); }

}  // namespace larder::tool
