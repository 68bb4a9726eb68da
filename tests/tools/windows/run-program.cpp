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

SECURITY_ATTRIBUTES Inheritable() { return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE}; }

Owned Open(const std::filesystem::path& path, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES attributes = Inheritable();
  HANDLE handle = CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &attributes,
                              disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  Require(handle != INVALID_HANDLE_VALUE, "open " + path.string());
  return Owned(handle);
}

struct Pipe {
  Owned reading;  // for this process only
  Owned writing;
};

Pipe MakePipe() {
  SECURITY_ATTRIBUTES attributes = Inheritable();
  HANDLE reading = nullptr;
  HANDLE writing = nullptr;
  Require(CreatePipe(&reading, &writing, &attributes, 0) != 0, "pipe");
  Require(SetHandleInformation(reading, HANDLE_FLAG_INHERIT, 0) != 0, "pipe");
  return {Owned(reading), Owned(writing)};
}

std::wstring CommandLine(const std::filesystem::path& program,
                         const std::vector<std::string>& arguments) {
  std::wstring line;
  if (tool::CommandLineOf(program.wstring(), arguments, line) != platform::kSuccess) {
    throw std::runtime_error("an argument isn't UTF-8");
  }
  return line;
}

// Gives the process.
Owned Start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
            const Owned& output, const std::filesystem::path& errors,
            const std::filesystem::path& input = {}) {
  const Owned in = Open(input.empty() ? L"NUL" : input, GENERIC_READ, OPEN_EXISTING);
  const Owned error = Open(errors, GENERIC_WRITE, CREATE_ALWAYS);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = in.get();
  startup.hStdOutput = output.get();
  startup.hStdError = error.get();
  PROCESS_INFORMATION child{};
  std::wstring line = CommandLine(program, arguments);
  Require(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                         &startup, &child) != 0,
          "start " + program.string());
  CloseHandle(child.hThread);
  return Owned(child.hProcess);
}

int WaitFor(const Owned& process) {
  DWORD status = 0;
  Require(WaitForSingleObject(process.get(), INFINITE) == WAIT_OBJECT_0, "wait");
  Require(GetExitCodeProcess(process.get(), &status) != 0, "exit status");
  return static_cast<int>(status);
}

}  // namespace

int RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors,
               const std::filesystem::path& input) {
  return WaitFor(
      Start(program, arguments, Open(output, GENERIC_WRITE, CREATE_ALWAYS), errors, input));
}

struct RunningProgram::Parts {
  Owned process;
  Owned output;
};

RunningProgram::RunningProgram(const std::filesystem::path& program,
                               const std::vector<std::string>& arguments,
                               const std::filesystem::path& errors, bool hasReader)
    : parts(std::make_unique<Parts>()) {
  Pipe pipe = MakePipe();
  if (!hasReader) pipe.reading.reset();
  parts->output = std::move(pipe.reading);
  parts->process = Start(program, arguments, pipe.writing, errors);
}

RunningProgram::~RunningProgram() { Stop(); }

int RunningProgram::Wait() { return WaitFor(parts->process); }

std::optional<int> RunningProgram::Stop() {
  TerminateProcess(parts->process.get(), 1);
  Wait();
  return std::nullopt;
}

long RunningProgram::ProcessId() const {
  return static_cast<long>(GetProcessId(parts->process.get()));
}

std::size_t RunningProgram::ReadSome(char* bytes, std::size_t size) {
  DWORD got = 0;
  if (ReadFile(parts->output.get(), bytes, static_cast<DWORD>(size), &got, nullptr) == FALSE) {
    Require(GetLastError() == ERROR_BROKEN_PIPE, "read");
  }
  return got;
}

}  // namespace larder
