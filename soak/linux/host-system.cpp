#include "soak/host-system.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tools/larder/check/process-resources.h"

namespace larder::soak {
namespace {

std::uint64_t ResidentBytes() {
  std::ifstream file("/proc/self/statm");
  std::uint64_t all = 0;
  std::uint64_t resident = 0;
  file >> all >> resident;
  return resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

}  // namespace

Footprint TakeFootprint() {
  return {.memory = ResidentBytes(),
          .heap = tool::CountHeapBytes(),
          .handles = tool::CountHandles(),
          .threads = tool::CountThreads()};
}

void SetVariable(const char* name, const char* text) {
  if (*text == '\0')
    ::unsetenv(name);
  else
    ::setenv(name, text, 1);
}

void HoldLogs(const std::filesystem::path& logs, std::chrono::milliseconds time) {
  std::vector<std::ifstream> files;
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(logs, none)) {
    files.emplace_back(entry.path());
    files.back().get();
  }
  std::this_thread::sleep_for(time);
}

bool HoldingPreventsRenaming() { return false; }

}  // namespace larder::soak
