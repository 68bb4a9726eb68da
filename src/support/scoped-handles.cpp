#include "support/scoped-handles.h"

#include "log/log-statement.h"

namespace larder {

void KernelHandleTraits::Report(Raw raw) noexcept { LogTrace("Closing handle ", raw); }

void ModuleHandleTraits::Report(Raw raw) noexcept { LogTrace("Unloading module handle ", raw); }

void RegistryKeyTraits::Report(Raw raw) noexcept {
  LogTrace("Destroying AutoRegKeyHandle handle ", raw);
}

}  // namespace larder
