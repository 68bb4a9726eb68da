// Dynamic modules and the image of the host process.
#pragma once

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

struct Module;
using ModuleHandle = Module*;
using Symbol = void (*)();

// Loads the module at a path and runs its initialisation. A bare file name is looked for by the
// system's usual search. module is null on failure. Codes beyond those of files: kModuleNotFound
// (the file, or something that it depends on), kBadExeFormat, kProcedureNotFound.
[[nodiscard]] Code OpenModule(const WideString& path, ModuleHandle& module);

// The module at a path if the process has it loaded already, else null; it is held until
// CloseModule as one that was opened.
[[nodiscard]] ModuleHandle FindLoadedModule(const WideString& path);

// The address of an export, or null.
[[nodiscard]] Symbol FindSymbol(ModuleHandle module, const char* name) noexcept;

// Null is refused without any effect.
void CloseModule(ModuleHandle module) noexcept;

// Full path of the image that the host process runs.
[[nodiscard]] Code HostImagePath(WideString& path);

}  // namespace larder::platform
