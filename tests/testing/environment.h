// The environment that the C runtime's getenv sees, in this program and in the modules that it
// loads.
#pragma once

#include <string>

namespace larder {

// While no other thread uses the environment.
void SetEnvironmentText(const std::string& name, const std::string& value);

}  // namespace larder
