#include "tools/larder/cli/console.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <stdio.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "platform/wide.h"

namespace larder::tool {
namespace {

struct FreeLocal {
  void operator()(wchar_t** list) const noexcept { LocalFree(list); }
};

bool IsConsole(HANDLE handle) noexcept {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) != FALSE;
}

// In pieces, because older systems limit a write to 64 KiB.
int WriteToConsole(HANDLE console, WideView text) noexcept {
  constexpr std::size_t kMaxPiece = 8192;
  while (!text.empty()) {
    WideView piece = text.substr(0, kMaxPiece);
    const bool isSplitPair = piece.size() < text.size() && (piece.back() & 0xFC00) == 0xD800;
    if (isSplitPair) piece.remove_suffix(1);
    DWORD written = 0;
    const auto size = static_cast<DWORD>(piece.size());
    if (WriteConsoleW(console, piece.data(), size, &written, nullptr) == FALSE || written == 0) {
      return EIO;
    }
    text.remove_prefix(written);
  }
  return 0;
}

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
  SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS);  // no dialog for a drive without media
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
}

void EndProcess(int status) noexcept {
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
  std::abort();  // not reached
}

int WriteText(Stream stream, std::string_view text) noexcept {
  const bool isOutput = stream == Stream::kOutput;
  const HANDLE console = GetStdHandle(isOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
  WideString wide;
  if (IsConsole(console) && platform::WideFromUtf8(text, wide))
    return WriteToConsole(console, wide);
  FILE* file = isOutput ? stdout : stderr;
  errno = 0;
  if (fwrite(text.data(), 1, text.size(), file) == text.size()) return 0;
  return errno != 0 ? errno : EIO;
}

bool IsOutputTerminal() noexcept { return IsConsole(GetStdHandle(STD_OUTPUT_HANDLE)); }

bool IsErrorTerminal(std::size_t& columns) noexcept {
  const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
  if (!IsConsole(error)) return false;
  CONSOLE_SCREEN_BUFFER_INFO screen{};
  columns = 0;
  if (GetConsoleScreenBufferInfo(error, &screen) != FALSE) {
    const int width = screen.srWindow.Right - screen.srWindow.Left + 1;
    columns = static_cast<std::size_t>(width);
  }
  return true;
}

}  // namespace larder::tool
