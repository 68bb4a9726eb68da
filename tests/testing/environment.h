// The environment as getenv returns it in this program and in the modules that it loads.
#pragma once

#include <string>

namespace larder {

// Must not be called while another thread uses the environment.
void SetEnvironmentText(const std::string& name, const std::string& value);

}  // namespace larder
