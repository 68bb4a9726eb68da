#include "tools/larder/status/child.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <array>
#include <memory>

#include "platform/scoped-handle.h"
#include "platform/thread.h"
#include "platform/windows/native.h"
#include "tools/larder/windows/command-line.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::kSuccess;

constexpr std::size_t kMaxOutput = 0x10000;
constexpr DWORD kFirstExceptionCode = 0xC0000000;  // of severity "error"

struct CloseOwned {
  void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using Owned = std::unique_ptr<void, CloseOwned>;

// A child inherits the error mode of the thread that starts it.
class QuietCrashes {
 public:
  QuietCrashes()
      : before(SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX |
                            SEM_NOOPENFILEERRORBOX)) {}
  ~QuietCrashes() { SetErrorMode(before); }
  QuietCrashes(const QuietCrashes&) = delete;
  QuietCrashes& operator=(const QuietCrashes&) = delete;

 private:
  UINT before;
};

// Ends its processes when it is closed.
Code MakeJob(Owned& job) {
  job.reset(CreateJobObjectW(nullptr, nullptr));
  if (!job) return platform::LastError();
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  return SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                 sizeof limits) != FALSE
             ? kSuccess
             : platform::LastError();
}

// The writing end is inheritable.
Code MakePipe(Owned& reading, Owned& writing) {
  HANDLE ends[2] = {};
  if (CreatePipe(&ends[0], &ends[1], nullptr, 0) == FALSE) return platform::LastError();
  reading.reset(ends[0]);
  writing.reset(ends[1]);
  const BOOL isSet = SetHandleInformation(ends[1], HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  return isSet != FALSE ? kSuccess : platform::LastError();
}

Code OpenNowhere(Owned& file) {
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  const HANDLE handle =
      CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  &inheritable, OPEN_EXISTING, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return platform::LastError();
  file.reset(handle);
  return kSuccess;
}

// Of CreateProcessW: the child inherits these handles and no others.
class HandleList {
 public:
  explicit HandleList(std::array<HANDLE, 2> newHandles) : handles(newHandles) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    memory.resize(size);
    list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory.data());
    isValid = InitializeProcThreadAttributeList(list, 1, 0, &size) != FALSE;
    isSet = isValid &&
            UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(),
                                      sizeof handles, nullptr, nullptr) != FALSE;
  }
  ~HandleList() {
    if (isValid) DeleteProcThreadAttributeList(list);
  }
  HandleList(const HandleList&) = delete;
  HandleList& operator=(const HandleList&) = delete;

  // Null if the system couldn't create it.
  [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST Get() const { return isSet ? list : nullptr; }

 private:
  std::array<HANDLE, 2> handles;
  std::vector<unsigned char> memory;
  LPPROC_THREAD_ATTRIBUTE_LIST list = nullptr;
  bool isValid = false;
  bool isSet = false;
};

// The child is in the job before its first instruction.
Code Resume(HANDLE job, HANDLE process, HANDLE thread) {
  if (AssignProcessToJobObject(job, process) != FALSE &&
      ResumeThread(thread) != static_cast<DWORD>(-1)) {
    return kSuccess;
  }
  const Code code = platform::LastError();
  TerminateProcess(process, 1);
  return code;
}

Code Start(const WideString& program, WideString& line, HANDLE output, HANDLE job, Owned& process) {
  Owned nowhere;
  if (const Code code = OpenNowhere(nowhere); code != kSuccess) return code;
  const HandleList inherited({output, nowhere.get()});
  if (inherited.Get() == nullptr) return platform::LastError();
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof startup;
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = nowhere.get();
  startup.StartupInfo.hStdOutput = output;
  startup.StartupInfo.hStdError = nowhere.get();
  startup.lpAttributeList = inherited.Get();
  PROCESS_INFORMATION child{};
  const QuietCrashes quiet;
  if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                     CREATE_SUSPENDED | EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr,
                     &startup.StartupInfo, &child) == FALSE) {
    return platform::LastError();
  }
  const Owned thread(child.hThread);
  process.reset(child.hProcess);
  return Resume(job, child.hProcess, child.hThread);
}

Code WaitForEnd(HANDLE process, std::chrono::milliseconds limit, ChildResult& result) {
  const DWORD waited = WaitForSingleObject(process, static_cast<DWORD>(limit.count()));
  if (waited != WAIT_OBJECT_0) {
    const Code code = waited == WAIT_TIMEOUT ? kSuccess : platform::LastError();
    TerminateProcess(process, 1);
    WaitForSingleObject(process, INFINITE);
    result.kind = ChildResult::Kind::kTimedOut;
    return code;
  }
  DWORD status = 0;
  if (GetExitCodeProcess(process, &status) == FALSE) return platform::LastError();
  result.kind =
      status >= kFirstExceptionCode ? ChildResult::Kind::kCrashed : ChildResult::Kind::kExited;
  result.status = status;
  return kSuccess;
}

struct Reading {
  HANDLE pipe;
  std::string& output;
};

// The body of a thread: reads up to the end, and keeps what fits into the limit.
void ReadOutput(void* argument) noexcept {
  const Reading& reading = *static_cast<const Reading*>(argument);
  std::array<char, 4096> bytes;
  DWORD got = 0;
  while (ReadFile(reading.pipe, bytes.data(), bytes.size(), &got, nullptr) != FALSE) {
    reading.output.append(bytes.data(),
                          std::min<std::size_t>(got, kMaxOutput - reading.output.size()));
  }
}

}  // namespace

Code RunChild(const WideString& program, const std::vector<std::string>& arguments,
              std::chrono::milliseconds limit, ChildResult& result) {
  WideString line;
  if (const Code code = CommandLineOf(program, arguments, line); code != kSuccess) return code;
  Owned job;
  if (const Code code = MakeJob(job); code != kSuccess) return code;
  Owned pipe;
  Owned output;
  if (const Code code = MakePipe(pipe, output); code != kSuccess) return code;
  Owned process;
  Code code = Start(program, line, output.get(), job.get(), process);
  output.reset();  // the reader waits until all copies are closed
  if (code != kSuccess) return code;
  Reading reading{pipe.get(), result.output};
  platform::OwnedHandle reader;
  code = platform::StartThread(&ReadOutput, &reading, reader.Out());
  if (code == kSuccess) code = WaitForEnd(process.get(), limit, result);
  TerminateJobObject(job.get(), 1);
  platform::WaitForThread(reader.Get());
  return code;
}

void EndWithStarter() noexcept {}  // the job does it

void EndIfCopied() noexcept {}  // no process can be copied

std::FILE* TakeStandardOutput() noexcept {
  HANDLE copy = nullptr;
  const HANDLE self = GetCurrentProcess();
  if (DuplicateHandle(self, GetStdHandle(STD_OUTPUT_HANDLE), self, &copy, 0, FALSE,
                      DUPLICATE_SAME_ACCESS) == FALSE) {
    return nullptr;
  }
  const int output =
      _open_osfhandle(reinterpret_cast<std::intptr_t>(copy), _O_BINARY | _O_NOINHERIT);
  const int nowhere = _open("NUL", _O_WRONLY | _O_BINARY);
  if (output < 0 || nowhere < 0 || _dup2(nowhere, _fileno(stdout)) != 0) return nullptr;
  _close(nowhere);
  const std::intptr_t handle = _get_osfhandle(_fileno(stdout));
  SetStdHandle(STD_OUTPUT_HANDLE,
               reinterpret_cast<HANDLE>(handle));  // NOLINT(performance-no-int-to-ptr)
  return _fdopen(output, "wb");
}

}  // namespace larder::tool
