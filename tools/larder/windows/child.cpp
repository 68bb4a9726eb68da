#include "tools/larder/status/child.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <memory>

#include "platform/windows/native.h"
#include "tools/larder/windows/command-line.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::kSuccess;

constexpr LONGLONG kMaxOutput = 0x10000;
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

Code OpenInheritable(const wchar_t* path, DWORD access, DWORD disposition, DWORD flags,
                     Owned& file) {
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  const HANDLE handle =
      CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  &inheritable, disposition, flags, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return platform::LastError();
  file.reset(handle);
  return kSuccess;
}

// Deleted when its last handle is closed.
Code MakeOutputFile(Owned& file) {
  std::array<wchar_t, MAX_PATH + 1> folder{};
  std::array<wchar_t, MAX_PATH> path{};
  if (GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()) == 0)
    return platform::LastError();
  if (GetTempFileNameW(folder.data(), L"lrd", 0, path.data()) == 0) return platform::LastError();
  return OpenInheritable(path.data(), GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, file);
}

Code Start(const WideString& program, WideString& line, HANDLE output, Owned& process) {
  Owned nowhere;
  if (const Code code =
          OpenInheritable(L"NUL", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING, 0, nowhere);
      code != kSuccess) {
    return code;
  }
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = nowhere.get();
  startup.hStdOutput = output;
  startup.hStdError = nowhere.get();
  PROCESS_INFORMATION child{};
  const QuietCrashes quiet;
  if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                     &startup, &child) == FALSE) {
    return platform::LastError();
  }
  CloseHandle(child.hThread);
  process.reset(child.hProcess);
  return kSuccess;
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

Code ReadTail(HANDLE file, std::string& text) {
  LARGE_INTEGER size{};
  if (GetFileSizeEx(file, &size) == FALSE) return platform::LastError();
  LARGE_INTEGER start{};
  start.QuadPart = std::max<LONGLONG>(size.QuadPart - kMaxOutput, 0);
  if (SetFilePointerEx(file, start, nullptr, FILE_BEGIN) == FALSE) return platform::LastError();
  text.resize(static_cast<std::size_t>(size.QuadPart - start.QuadPart));
  DWORD got = 0;
  if (ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &got, nullptr) == FALSE) {
    return platform::LastError();
  }
  text.resize(got);
  return kSuccess;
}

}  // namespace

Code RunChild(const WideString& program, const std::vector<std::string>& arguments,
              std::chrono::milliseconds limit, ChildResult& result) {
  WideString line;
  if (const Code code = CommandLineOf(program, arguments, line); code != kSuccess) return code;
  Owned output;
  if (const Code code = MakeOutputFile(output); code != kSuccess) return code;
  Owned process;
  if (const Code code = Start(program, line, output.get(), process); code != kSuccess) return code;
  if (const Code code = WaitForEnd(process.get(), limit, result); code != kSuccess) return code;
  return ReadTail(output.get(), result.output);
}

}  // namespace larder::tool
