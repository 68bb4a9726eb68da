#include "tools/run-program.h"

#include <windows.h>

#include <stdexcept>
#include <system_error>

#include "platform/utf.h"

namespace larder {
namespace {

void Require(bool succeeded, const std::string& what) {
  if (succeeded) return;
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

class Inherited {
 public:
  explicit Inherited(HANDLE owned) : handle(owned) {}
  ~Inherited() { CloseHandle(handle); }
  Inherited(const Inherited&) = delete;
  Inherited& operator=(const Inherited&) = delete;

  HANDLE handle;
};

SECURITY_ATTRIBUTES Inheritable() { return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE}; }

HANDLE Open(const std::filesystem::path& path, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES attributes = Inheritable();
  HANDLE handle = CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &attributes,
                              disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  Require(handle != INVALID_HANDLE_VALUE, "open " + path.string());
  return handle;
}

HANDLE OpenClosedPipe() {
  SECURITY_ATTRIBUTES attributes = Inheritable();
  HANDLE reading = nullptr;
  HANDLE writing = nullptr;
  Require(CreatePipe(&reading, &writing, &attributes, 0) != 0, "pipe");
  CloseHandle(reading);
  return writing;
}

// In quotation marks; backslashes count double where a quotation mark follows, and only there.
std::wstring Quoted(const std::wstring& argument) {
  std::wstring result = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t unit : argument) {
    if (unit == L'"') result.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    result += unit;
  }
  return result.append(backslashes, L'\\') + L'"';
}

std::wstring CommandLine(const std::filesystem::path& program,
                         const std::vector<std::string>& arguments) {
  std::wstring line = Quoted(program.wstring());
  for (const std::string& argument : arguments) {
    std::wstring wide;
    if (!platform::WideFromUtf8(argument, wide)) throw std::runtime_error("not UTF-8: " + argument);
    line += L' ' + Quoted(wide);
  }
  return line;
}

int StartAndWait(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                 HANDLE output, const std::filesystem::path& errors) {
  const Inherited in(Open(L"NUL", GENERIC_READ, OPEN_EXISTING));
  const Inherited error(Open(errors, GENERIC_WRITE, CREATE_ALWAYS));
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = in.handle;
  startup.hStdOutput = output;
  startup.hStdError = error.handle;
  PROCESS_INFORMATION child{};
  std::wstring line = CommandLine(program, arguments);
  Require(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                         &startup, &child) != 0,
          "start " + program.string());
  const Inherited process(child.hProcess);
  const Inherited thread(child.hThread);
  DWORD status = 0;
  Require(WaitForSingleObject(process.handle, INFINITE) == WAIT_OBJECT_0, "wait");
  Require(GetExitCodeProcess(process.handle, &status) != 0, "exit status");
  return static_cast<int>(status);
}

}  // namespace

int RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors) {
  const Inherited out(Open(output, GENERIC_WRITE, CREATE_ALWAYS));
  return StartAndWait(program, arguments, out.handle, errors);
}

int RunProgramIntoClosedPipe(const std::filesystem::path& program,
                             const std::vector<std::string>& arguments,
                             const std::filesystem::path& errors) {
  const Inherited out(OpenClosedPipe());
  return StartAndWait(program, arguments, out.handle, errors);
}

}  // namespace larder
