// The module's entry point. The platform owns the entry point itself; what happens there is decided
// by whoever defines these two, once in each module that is linked with the entry member.
#pragma once

namespace larder::platform {

// Called when the system has loaded the module, before any export can be called; false refuses the
// load where the system lets a module do that.
[[nodiscard]] bool OnModuleAttach(void* moduleInstance) noexcept;
// Called when the system unloads the module or the process ends. The result is only reported.
bool OnModuleDetach() noexcept;

}  // namespace larder::platform
