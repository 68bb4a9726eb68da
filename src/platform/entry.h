// The module's entry point. A module that is linked with it defines these two functions.
#pragma once

namespace larder::platform {

// Called when the system has loaded the module, before any export can be called. False refuses the
// load if the system allows that (Windows does, Linux doesn't).
[[nodiscard]] bool OnModuleAttach(void* moduleInstance) noexcept;
// Called when the system unloads the module or the process ends. The system ignores the result.
bool OnModuleDetach() noexcept;

}  // namespace larder::platform
