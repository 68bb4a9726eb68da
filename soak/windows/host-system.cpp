#include "soak/host-system.h"

#include <stdlib.h>
#include <windows.h>
// Need windows.h before them.
#include <psapi.h>
#include <tlhelp32.h>

#include <thread>
#include <vector>

namespace larder::soak {
namespace {

std::uint64_t CountThreads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry{};
  entry.dwSize = sizeof entry;
  std::uint64_t count = 0;
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
  }
  CloseHandle(snapshot);
  return count;
}

// Probes each possible handle value, since not every system implements GetProcessHandleCount.
std::uint64_t CountHandles() {
  constexpr ULONG_PTR kBeyondAnyHandle = 0x4000;
  std::uint64_t count = 0;
  for (ULONG_PTR value = 4; value < kBeyondAnyHandle; value += 4) {
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) ++count;
  }
  return count;
}

}  // namespace

Footprint TakeFootprint() {
  PROCESS_MEMORY_COUNTERS memory{};
  GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
  return {.memory = memory.WorkingSetSize,
          .heap = memory.PagefileUsage,
          .handles = CountHandles(),
          .threads = CountThreads()};
}

void SetVariable(const char* name, const char* text) { ::_putenv_s(name, text); }

void HoldLogs(const std::filesystem::path& logs, std::chrono::milliseconds time) {
  std::vector<HANDLE> handles;
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(logs, none))
    handles.push_back(CreateFileW(entry.path().c_str(), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                  nullptr));
  std::this_thread::sleep_for(time);
  for (const HANDLE handle : handles) {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  }
}

bool HoldingPreventsRenaming() { return true; }

}  // namespace larder::soak
