#include "testing/modules.h"

#include <windows.h>

namespace larder {

bool IsModuleLoaded(const std::filesystem::path& path) {
  return GetModuleHandleW(path.c_str()) != nullptr;
}

}  // namespace larder
