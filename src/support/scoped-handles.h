// Owners of system handles that write a TRACE line with the handle before they close it, also when
// they are empty.
#pragma once

#include "platform/scoped-handle.h"

namespace larder {

struct KernelHandleTraits : platform::HandleTraits {
  static void Report(Raw raw) noexcept;
};

struct ModuleHandleTraits : platform::ModuleHandleTraits {
  static void Report(Raw raw) noexcept;
};

struct RegistryKeyTraits : platform::RegistryKeyTraits {
  static void Report(Raw raw) noexcept;
};

using AutoHandle = platform::ScopedHandle<KernelHandleTraits>;
using AutoModuleHandle = platform::ScopedHandle<ModuleHandleTraits>;
using AutoRegKeyHandle = platform::ScopedHandle<RegistryKeyTraits>;

}  // namespace larder
