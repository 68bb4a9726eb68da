#include "testing/process.h"

#include <stdlib.h>
#include <windows.h>
// Needs windows.h before it.
#include <tlhelp32.h>

namespace larder {
namespace {

std::size_t CountThreads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  std::size_t count = 0;
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
  }
  CloseHandle(snapshot);
  return count;
}

// Probes each possible handle value, since not every system implements GetProcessHandleCount.
std::size_t CountHandles() {
  constexpr ULONG_PTR kBeyondAnyHandle = 0x4000;
  std::size_t count = 0;
  for (ULONG_PTR value = 4; value < kBeyondAnyHandle; value += 4) {
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) ++count;
  }
  return count;
}

}  // namespace

void SetEnvironmentText(const std::string& name, const std::string& value) {
  ::_putenv_s(name.c_str(), value.c_str());
}

bool IsModuleLoaded(const std::filesystem::path& path) {
  return GetModuleHandleW(path.c_str()) != nullptr;
}

bool HasEnded(long process) {
  const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(process));
  if (handle == nullptr) return true;
  const bool hasEnded = WaitForSingleObject(handle, 60'000) == WAIT_OBJECT_0;
  CloseHandle(handle);
  return hasEnded;
}

Footprint TakeFootprint() { return {.threads = CountThreads(), .handles = CountHandles()}; }

}  // namespace larder
