// This process: its environment, its modules, and the resources that a library may leak.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace larder {

// Changes the environment as getenv returns it in this program and in the modules that it loads.
// Must not be called while another thread uses the environment.
void SetEnvironmentText(const std::string& name, const std::string& value);

bool IsModuleLoaded(const std::filesystem::path& path);

struct Footprint {
  std::size_t threads = 0;
  std::size_t handles = 0;  // open descriptors, handles of kernel objects
};

Footprint TakeFootprint();

}  // namespace larder
