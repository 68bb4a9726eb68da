// Which provider modules the machine has.
//
// Beneath the library's registry root (support/registry.h), all of type REG_SZ:
//   "Install"              szLocation  directory of the modules, with its trailing backslash
//   "DataProviders\<any>"  szDLL       file name of one provider's module
// A subkey's name has at most 255 characters; the values have at most 98.
#pragma once

#include <vector>

#include "platform/wide.h"

namespace larder {

// The paths of the modules in the registry's order: szLocation and szDLL joined as they stand. A
// subkey without a readable szDLL is skipped. Failures are told by WARN lines; the list is then
// short or empty.
std::vector<WideString> GetDataProviderPaths();

}  // namespace larder
