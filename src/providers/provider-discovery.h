// Which provider modules the registry names. Below LarderRegistryRoot (product/product.h), all of
// type REG_SZ:
//   "Install"              szLocation  directory of the modules, with a trailing backslash
//   "DataProviders\<any>"  szDLL       file name of one provider's module
// A subkey's name has at most 255 characters, a value at most 98.
#pragma once

#include <vector>

#include "platform/wide.h"

namespace larder {

// Paths of the modules, in the registry's order: szLocation followed by szDLL, unchanged. A subkey
// without a readable szDLL is skipped. Failures are logged as WARN lines, and the list is shorter
// or empty.
std::vector<WideString> GetDataProviderPaths();

}  // namespace larder
