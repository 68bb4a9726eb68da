#include "testing/modules.h"

#include <fstream>
#include <string>

namespace larder {

bool IsModuleLoaded(const std::filesystem::path& path) {
  std::ifstream maps("/proc/self/maps");
  const std::string name = std::filesystem::weakly_canonical(path).string();
  for (std::string line; std::getline(maps, line);) {
    if (line.find(name) != std::string::npos) return true;
  }
  return false;
}

}  // namespace larder
