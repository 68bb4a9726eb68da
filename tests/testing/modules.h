// Which modules this process has loaded.
#pragma once

#include <filesystem>

namespace larder {

bool IsModuleLoaded(const std::filesystem::path& path);

}  // namespace larder
