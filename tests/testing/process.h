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

// Whether a process has ended; waits up to a minute where a killed process may take a moment.
bool HasEnded(long process);

struct Footprint {
  std::size_t threads = 0;
  std::size_t handles = 0;  // open descriptors, handles of kernel objects
};

Footprint TakeFootprint();

}  // namespace larder
