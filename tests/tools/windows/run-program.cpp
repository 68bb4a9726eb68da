#include "tools/run-program.h"

#include <windows.h>

#include <stdexcept>
#include <system_error>

#include "tools/larder/windows/command-line.h"

namespace larder {
namespace {

void Require(bool succeeded, const std::string& what) {
  if (succeeded) return;
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

struct Closer {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Owned = std::unique_ptr<void, Closer>;

SECURITY_ATTRIBUTES Inheritable = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};

Owned Open(const std::filesystem::path& path, DWORD access, DWORD disposition) {
  HANDLE handle = CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              &Inheritable, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  Require(handle != INVALID_HANDLE_VALUE, "open " + path.string());
  return Owned(handle);
}

// Returns the end for the child.
Owned MakePipe(Owned& reading) {
  HANDLE ends[2] = {};
  Require(CreatePipe(&ends[0], &ends[1], &Inheritable, 0) != 0, "pipe");
  reading.reset(ends[0]);
  Require(SetHandleInformation(ends[0], HANDLE_FLAG_INHERIT, 0) != 0, "pipe");
  return Owned(ends[1]);
}

std::wstring CommandLine(const std::filesystem::path& program,
                         const std::vector<std::string>& arguments) {
  std::wstring line;
  if (tool::CommandLineOf(program.wstring(), arguments, line) != platform::kSuccess) {
    throw std::runtime_error("an argument isn't UTF-8");
  }
  return line;
}

}  // namespace

struct RunningProgram::Parts {
  Owned process;
  Owned reading;
};

RunningProgram::RunningProgram(const std::filesystem::path& program,
                               const std::vector<std::string>& arguments, const ProgramFiles& files)
    : parts(std::make_unique<Parts>()) {
  const Owned input = Open(files.input.empty() ? L"NUL" : files.input, GENERIC_READ, OPEN_EXISTING);
  const Owned errors = Open(files.errors, GENERIC_WRITE, CREATE_ALWAYS);
  const Owned output = files.output.empty() ? MakePipe(parts->reading)
                                            : Open(files.output, GENERIC_WRITE, CREATE_ALWAYS);
  if (!files.hasReader) parts->reading.reset();
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = input.get();
  startup.hStdOutput = output.get();
  startup.hStdError = errors.get();
  PROCESS_INFORMATION child{};
  std::wstring line = CommandLine(program, arguments);
  Require(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                         &startup, &child) != 0,
          "start " + program.string());
  CloseHandle(child.hThread);
  parts->process.reset(child.hProcess);
}

RunningProgram::~RunningProgram() {
  TerminateProcess(parts->process.get(), 1);
  WaitForSingleObject(parts->process.get(), INFINITE);
}

int RunningProgram::Wait() {
  DWORD status = 0;
  Require(WaitForSingleObject(parts->process.get(), INFINITE) == WAIT_OBJECT_0, "wait");
  Require(GetExitCodeProcess(parts->process.get(), &status) != 0, "exit status");
  return static_cast<int>(status);
}

long RunningProgram::ProcessId() const {
  return static_cast<long>(GetProcessId(parts->process.get()));
}

bool RunningProgram::ReadByte(char& byte) {
  DWORD got = 0;
  if (ReadFile(parts->reading.get(), &byte, 1, &got, nullptr) == FALSE) {
    Require(GetLastError() == ERROR_BROKEN_PIPE, "read");
  }
  return got != 0;
}

}  // namespace larder
