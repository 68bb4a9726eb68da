// Owners of system handles that write a TRACE line with the handle before they close it, also when
// they are empty.
#pragma once

#include "log/log-statement.h"
#include "platform/scoped-handle.h"

namespace larder {

struct KernelHandleTraits : platform::HandleTraits {
  static void Report(Raw raw) noexcept { LogTrace("Closing handle ", raw); }
};

struct ModuleHandleTraits : platform::ModuleHandleTraits {
  static void Report(Raw raw) noexcept { LogTrace("Unloading module handle ", raw); }
};

struct RegistryKeyTraits : platform::RegistryKeyTraits {
  static void Report(Raw raw) noexcept { LogTrace("Destroying AutoRegKeyHandle handle ", raw); }
};

using AutoHandle = platform::ScopedHandle<KernelHandleTraits>;
using AutoModuleHandle = platform::ScopedHandle<ModuleHandleTraits>;
using AutoRegKeyHandle = platform::ScopedHandle<RegistryKeyTraits>;

}  // namespace larder
