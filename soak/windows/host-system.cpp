#include "soak/host-system.h"

#include <stdlib.h>
#include <windows.h>
// Needs windows.h before it.
#include <psapi.h>

#include <thread>
#include <vector>

#include "tools/larder/check/process-resources.h"

namespace larder::soak {

Footprint TakeFootprint() {
  PROCESS_MEMORY_COUNTERS memory{};
  GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
  return {.memory = memory.WorkingSetSize,
          .heap = memory.PagefileUsage,
          .handles = tool::CountHandles(),
          .threads = tool::CountThreads()};
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
