#include "tools/run-program.h"

#include <windows.h>

#include <stdexcept>
#include <system_error>

#include "platform/windows/command-line.h"

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

struct Pipe {
  HANDLE reading;  // for this process only
  HANDLE writing;
};

Pipe MakePipe() {
  SECURITY_ATTRIBUTES attributes = Inheritable();
  Pipe pipe{};
  Require(CreatePipe(&pipe.reading, &pipe.writing, &attributes, 0) != 0, "pipe");
  Require(SetHandleInformation(pipe.reading, HANDLE_FLAG_INHERIT, 0) != 0, "pipe");
  return pipe;
}

std::wstring CommandLine(const std::filesystem::path& program,
                         const std::vector<std::string>& arguments) {
  std::wstring line;
  if (platform::CommandLineOf(program.wstring(), arguments, line) != platform::kSuccess) {
    throw std::runtime_error("an argument isn't UTF-8");
  }
  return line;
}

// Gives the process, to be closed by the caller.
HANDLE Start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
             HANDLE output, const std::filesystem::path& errors,
             const std::filesystem::path& input = {}) {
  const Inherited in(Open(input.empty() ? L"NUL" : input, GENERIC_READ, OPEN_EXISTING));
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
  CloseHandle(child.hThread);
  return child.hProcess;
}

int WaitFor(HANDLE process) {
  DWORD status = 0;
  Require(WaitForSingleObject(process, INFINITE) == WAIT_OBJECT_0, "wait");
  Require(GetExitCodeProcess(process, &status) != 0, "exit status");
  return static_cast<int>(status);
}

}  // namespace

int RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors,
               const std::filesystem::path& input) {
  const Inherited out(Open(output, GENERIC_WRITE, CREATE_ALWAYS));
  const Inherited process(Start(program, arguments, out.handle, errors, input));
  return WaitFor(process.handle);
}

struct RunningProgram::Parts {
  HANDLE process = nullptr;
  HANDLE output = nullptr;
};

RunningProgram::RunningProgram(const std::filesystem::path& program,
                               const std::vector<std::string>& arguments,
                               const std::filesystem::path& errors, bool hasReader)
    : parts(std::make_unique<Parts>()) {
  const Pipe pipe = MakePipe();
  const Inherited out(pipe.writing);
  if (hasReader) {
    parts->output = pipe.reading;
  } else {
    CloseHandle(pipe.reading);
  }
  parts->process = Start(program, arguments, out.handle, errors);
}

RunningProgram::~RunningProgram() {
  Stop();
  CloseHandle(parts->process);
  CloseHandle(parts->output);
}

int RunningProgram::Wait() { return WaitFor(parts->process); }

std::optional<int> RunningProgram::Stop() {
  TerminateProcess(parts->process, 1);
  Wait();
  return std::nullopt;
}

long RunningProgram::ProcessId() const { return static_cast<long>(GetProcessId(parts->process)); }

std::size_t RunningProgram::ReadSome(char* bytes, std::size_t size) {
  DWORD got = 0;
  if (ReadFile(parts->output, bytes, static_cast<DWORD>(size), &got, nullptr) == FALSE) {
    Require(GetLastError() == ERROR_BROKEN_PIPE, "read");
  }
  return got;
}

}  // namespace larder
