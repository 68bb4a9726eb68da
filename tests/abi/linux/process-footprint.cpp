#include "abi/process-footprint.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace larder {
namespace {

std::size_t EntriesIn(const char* folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder),
                                                std::filesystem::directory_iterator()));
}

}  // namespace

Footprint TakeFootprint() {
  return {.threads = EntriesIn("/proc/self/task"), .handles = EntriesIn("/proc/self/fd")};
}

bool IsMapped(const std::string& fileName) {
  std::ifstream maps("/proc/self/maps");
  const std::string ending = '/' + fileName;
  for (std::string line; std::getline(maps, line);) {
    if (line.size() >= ending.size() &&
        line.compare(line.size() - ending.size(), ending.size(), ending) == 0)
      return true;
  }
  return false;
}

}  // namespace larder
