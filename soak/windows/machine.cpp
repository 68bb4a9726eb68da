#include "soak/machine.h"

#include <cstdlib>

namespace larder::soak {

void UseMachine(const std::filesystem::path&) {}

std::filesystem::path StoreParent(const std::filesystem::path&) {
  const char* const data = std::getenv("ProgramData");
  return std::filesystem::path(data == nullptr ? "C:\\ProgramData" : data) /
         "Velmor\\Larder\\db\\feed-file";
}

}  // namespace larder::soak
