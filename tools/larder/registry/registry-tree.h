// The library's part of the registry as a whole. Subkeys are relative to the library's root.
#pragma once

#include <string>

#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "tools/larder/cli/output.h"

namespace larder::tool {

// The subkey's path below the machine hive, without a backslash at the end.
WideString PathOfSubkey(const WideString& subkey);

// For a message: the subkey in quotation marks, or the root's path.
std::string KeyLabel(const WideString& subkey);

// Prints every key and value below the root, one a line. Tabs separate the columns: subkey; name,
// type and data of a value. False when something couldn't be read; the reason has been told then,
// and everything else printed.
[[nodiscard]] bool PrintTree(Output& output);

}  // namespace larder::tool
