#include "testing/process.h"

#include <signal.h>
#include <stdlib.h>

#include <fstream>

namespace larder {

void SetEnvironmentText(const std::string& name, const std::string& value) {
  ::setenv(name.c_str(), value.c_str(), 1);
}

bool IsModuleLoaded(const std::filesystem::path& path) {
  std::ifstream maps("/proc/self/maps");
  const std::string name = std::filesystem::weakly_canonical(path).string();
  for (std::string line; std::getline(maps, line);) {
    if (line.find(name) != std::string::npos) return true;
  }
  return false;
}

bool HasEnded(long process) { return kill(static_cast<pid_t>(process), 0) != 0; }

}  // namespace larder
