// Names that only Windows has, and a console.
#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>

#include "platform/wide.h"
#include "tools/larder/windows/command-line.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::HasSubstr;

// A file that is deleted again, since std::filesystem can't.
class VerbatimFile {
 public:
  VerbatimFile(const std::filesystem::path& folder, const std::wstring& name)
      : path(L"\\\\?\\" + folder.wstring() + L"\\" + name) {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE) << GetLastError();
    CloseHandle(file);
  }
  VerbatimFile(const VerbatimFile&) = delete;
  VerbatimFile& operator=(const VerbatimFile&) = delete;
  ~VerbatimFile() { DeleteFileW(path.c_str()); }

 private:
  const std::wstring path;
};

void Require(bool succeeded, const char* what) {
  if (succeeded) return;
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

BOOL WINAPI Ignore(DWORD) { return TRUE; }

// A program on a console of its own, without a window. This process attaches to it.
class ConsoleProgram {
 public:
  ConsoleProgram(const std::filesystem::path& program, const Words& arguments) {
    FreeConsole();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    std::wstring line;
    EXPECT_EQ(tool::CommandLineOf(program.wstring(), arguments, line), platform::kSuccess);
    Require(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                           nullptr, nullptr, &startup, &child) != FALSE,
            "start");
    while (AttachConsole(child.dwProcessId) == FALSE) std::this_thread::yield();
    SetConsoleCtrlHandler(&Ignore, TRUE);
    output = Open(L"CONOUT$");
    input = Open(L"CONIN$");
  }
  ~ConsoleProgram() {
    TerminateProcess(child.hProcess, 1);
    for (const HANDLE handle : {child.hThread, child.hProcess, output, input}) CloseHandle(handle);
    SetConsoleCtrlHandler(&Ignore, FALSE);
    FreeConsole();
  }
  ConsoleProgram(const ConsoleProgram&) = delete;
  ConsoleProgram& operator=(const ConsoleProgram&) = delete;

  // The first lines on the console, without line ends.
  std::string Shown() const {
    std::wstring text(2000, L' ');
    DWORD got = 0;
    Require(ReadConsoleOutputCharacterW(output, text.data(), static_cast<DWORD>(text.size()), {},
                                        &got) != FALSE,
            "read the console");
    return platform::Utf8FromWide(text.substr(0, got));
  }

  void PressControlC() const {
    INPUT_RECORD key{};
    key.EventType = KEY_EVENT;
    key.Event.KeyEvent = {TRUE, 1, 'C', 0, {3}, LEFT_CTRL_PRESSED};
    DWORD written = 0;
    Require(WriteConsoleInputW(input, &key, 1, &written) != FALSE, "press a key");
  }

  DWORD Wait() const {
    DWORD status = 0;
    WaitForSingleObject(child.hProcess, INFINITE);
    GetExitCodeProcess(child.hProcess, &status);
    return status;
  }

 private:
  static HANDLE Open(const wchar_t* name) {
    const HANDLE handle =
        CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    Require(handle != INVALID_HANDLE_VALUE, "open the console");
    return handle;
  }

  PROCESS_INFORMATION child{};
  HANDLE output = nullptr;
  HANDLE input = nullptr;
};

using ToolWindowsTest = ToolTest;

TEST_F(ToolWindowsTest, AFileHasItsOwnDigestsEvenIfWindowsWouldReadItsNameAsAnotherOne) {
  InstallModules({"feed-file.dll"});
  for (const char* name : {"tree/evil.exe", "tree/plain"}) MakeFile(name, "abc");
  const std::filesystem::path tree = machine.Folder() / "tree";
  const VerbatimFile evil(tree, L"evil.exe ");
  const VerbatimFile device(tree, L"AUX.txt");
  const VerbatimFile console(tree, L"CON");
  const std::string prefix = R"(\\?\)" + tree.string() + "\\";
  const std::string empty = "e3b0c442  ";
  const std::string abc = "ba7816bf  ";
  std::istringstream output(MustRun({"scan", "tree"}));
  std::string lines;
  for (std::string line; std::getline(output, line);)
    lines += line.substr(0, 8) + line.substr(64) + "\n";
  EXPECT_EQ(lines, empty + prefix + "AUX.txt\n" + empty + prefix + "CON\n" + abc +
                       "tree\\evil.exe\n" + empty + prefix + "evil.exe \n" + abc + "tree\\plain\n");
  for (const char* name : {"tree/evil.exe ", "tree/sub/../AUX.txt"})
    EXPECT_THAT(MustRun({"query", "--json", name}), HasSubstr("\"sha256\":\"e3b0c442")) << name;
}

// The provider's query of "staying" never returns.
TEST_F(ToolWindowsTest, AConsoleShowsEveryNameAndKeepsItsCodePageWhenItIsInterrupted) {
  InstallModules({"record-feed.dll"});
  MakeFile("tree/b\xE2\x80\xAE\xC3\xA4\xE2\x82\xAC", "abc");
  MakeFile("tree/staying", "abc");
  const ConsoleProgram scan(tool, {"scan", "--threads", "1", "tree"});
  while (scan.Shown().find("tree\\b\\u202e\xC3\xA4\xE2\x82\xAC") == std::string::npos) {
  }
  scan.PressControlC();
  EXPECT_EQ(scan.Wait(), 1u);
  EXPECT_THAT(scan.Shown(), HasSubstr("larder: interrupted: 1 files, 3 bytes, 0 errors so far"));
  EXPECT_EQ(GetConsoleOutputCP(), GetOEMCP());
}

}  // namespace
}  // namespace larder
