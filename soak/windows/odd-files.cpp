#include <windows.h>

#include "soak/store-damage.h"

namespace larder::soak {

std::string ReplaceWithOddFile(const std::filesystem::path& file, std::uint64_t kind) {
  const bool isReadOnly = kind % 2 == 0;
  SetFileAttributesW(file.c_str(), isReadOnly ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_SYSTEM);
  return isReadOnly ? "read-only" : "a system file";
}

}  // namespace larder::soak
