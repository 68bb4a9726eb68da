// What the system knows of a module that this process has loaded. The sources are in linux/ and
// windows/.
#pragma once

#include <string>
#include <vector>

#include "platform/module.h"
#include "platform/wide.h"

namespace larder::tool {

// A symbol that the module needs and that nothing in this process defines; empty if there is none.
// On Windows it has its library's name in front. path: of a module that OpenModule has loaded, or
// for which it has returned kProcedureNotFound.
[[nodiscard]] std::string FindUndefinedSymbol(const WideString& path);

// The names of all exports of the module itself. A Windows export without a name is "#<ordinal>".
[[nodiscard]] std::vector<std::string> ExportsOf(platform::ModuleHandle module);

// Whether the module needs the C++ runtime library that the tool uses too. If not, it contains a
// runtime of its own or needs another one.
[[nodiscard]] bool UsesSharedRuntime(platform::ModuleHandle module);

// The file name of that library.
extern const char* const kSharedRuntime;

}  // namespace larder::tool
