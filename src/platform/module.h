// Dynamic modules, and the executable of the process.
#pragma once

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

struct Module;
using ModuleHandle = Module*;
using Symbol = void (*)();

// Loads the module at a path and runs its initialisation. A bare file name is searched for as the
// system does. Fails with kModuleNotFound for the file or a dependency of it, kBadExeFormat,
// kProcedureNotFound or a code of files.
[[nodiscard]] Code OpenModule(const WideString& path, ModuleHandle& module);

// The module at a path if the process has loaded it, otherwise null. It stays loaded until it is
// closed like an opened one.
[[nodiscard]] ModuleHandle FindLoadedModule(const WideString& path);

// The address of an export of the module itself, or null.
[[nodiscard]] Symbol FindSymbol(ModuleHandle module, const char* name) noexcept;

// Does nothing for null.
void CloseModule(ModuleHandle module) noexcept;

// Full path of the executable that the process runs.
[[nodiscard]] Code HostImagePath(WideString& path);

}  // namespace larder::platform
