// Processes: the environment and the modules of this one, and the end of another.
#pragma once

#include <filesystem>
#include <string>

namespace larder {

// Changes the environment as getenv returns it in this program and in the modules that it loads.
// Must not be called while another thread uses the environment.
void SetEnvironmentText(const std::string& name, const std::string& value);

bool IsModuleLoaded(const std::filesystem::path& path);

// Whether a process has ended; waits up to a minute where a killed process may take a moment.
bool HasEnded(long process);

}  // namespace larder
