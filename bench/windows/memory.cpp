#include "memory.h"

#include <windows.h>

#include <psapi.h>

namespace larder {

std::size_t AllocatedBytes() {
  PROCESS_MEMORY_COUNTERS_EX counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                       sizeof counters);
  return counters.PrivateUsage;
}

}  // namespace larder
