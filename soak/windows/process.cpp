#include "soak/process.h"

#include <windows.h>

#include <stdexcept>
#include <system_error>

namespace larder::soak {
namespace {

constexpr DWORD kFirstException = 0xC0000000;

// Ends what is in it when this process ends.
HANDLE Job() {
  static const HANDLE job = [] {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    const HANDLE created = CreateJobObjectW(nullptr, nullptr);
    SetInformationJobObject(created, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    return created;
  }();
  return job;
}

// Each argument in quotation marks. None has such a mark; a backslash before one is doubled.
std::wstring CommandLine(const std::vector<std::string>& arguments) {
  std::wstring line;
  for (const std::string& argument : arguments) {
    line += line.empty() ? L"\"" : L" \"";
    line += std::filesystem::path(argument).wstring();
    line += argument.ends_with('\\') ? L"\\\"" : L"\"";
  }
  return line;
}

// A handle for output that nobody reads, which a child inherits.
struct AutoNull {
  AutoNull() {
    SECURITY_ATTRIBUTES inherited{};
    inherited.nLength = sizeof(inherited);
    inherited.bInheritHandle = TRUE;
    handle = CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                         OPEN_EXISTING, 0, nullptr);
  }
  ~AutoNull() { CloseHandle(handle); }
  AutoNull(const AutoNull&) = delete;
  AutoNull& operator=(const AutoNull&) = delete;

  HANDLE handle;
};

HANDLE Start(const std::vector<std::string>& command, bool isQuiet) {
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  const AutoNull null;
  if (isQuiet) {
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = null.handle;
  }
  std::wstring line = CommandLine(command);
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                      &process))
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "CreateProcess " + command.front());
  AssignProcessToJobObject(Job(), process.hProcess);
  CloseHandle(process.hThread);
  return process.hProcess;
}

std::filesystem::path ProgramFile() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
  return path;
}

// The system has no documented call for it.
void CallOnProcess(const char* function, HANDLE process) {
  using Function = LONG(NTAPI*)(HANDLE);
  const auto address = GetProcAddress(GetModuleHandleW(L"ntdll"), function);
  reinterpret_cast<Function>(reinterpret_cast<void*>(address))(process);
}

}  // namespace

struct Worker::Process {
  HANDLE handle = nullptr;
  ~Process() { CloseHandle(handle); }
};

std::string Ending::Text() const {
  switch (kind) {
    case Kind::kExited:
      return "exit status " + std::to_string(code);
    case Kind::kCrashed:
      return "exception " + std::to_string(static_cast<DWORD>(code));
    case Kind::kStillRunning:
      break;
  }
  return "still running when its time was over";
}

void Worker::Closer::operator()(Process* ended) const noexcept { delete ended; }

Worker::Worker(std::vector<std::string> texts) : arguments(std::move(texts)), process(new Process) {
  std::vector<std::string> command = {ProgramFile().string(), "worker"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  process->handle = Start(command, false);
}

Worker::~Worker() {
  if (process != nullptr) Kill();
}

void Worker::Kill() {
  TerminateProcess(process->handle, 1);
  WaitForSingleObject(process->handle, INFINITE);
}

void Worker::Pause() { CallOnProcess("NtSuspendProcess", process->handle); }

void Worker::Resume() { CallOnProcess("NtResumeProcess", process->handle); }

Ending Worker::Wait(std::chrono::milliseconds most) {
  if (WaitForSingleObject(process->handle, static_cast<DWORD>(most.count())) != WAIT_OBJECT_0)
    return {.kind = Ending::Kind::kStillRunning};
  DWORD code = 0;
  GetExitCodeProcess(process->handle, &code);
  return {.kind = code >= kFirstException ? Ending::Kind::kCrashed : Ending::Kind::kExited,
          .code = static_cast<int>(code)};
}

std::filesystem::path ProgramFolder() { return ProgramFile().parent_path(); }

bool RunProgram(const std::vector<std::string>& command) {
  const HANDLE process = Start(command, true);
  WaitForSingleObject(process, INFINITE);
  DWORD code = 1;
  GetExitCodeProcess(process, &code);
  CloseHandle(process);
  return code == 0;
}

}  // namespace larder::soak
