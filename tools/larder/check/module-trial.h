// Tries the rules of the provider contract on a module, in this process: a module that breaks a
// rule may crash it or hold it forever.
#pragma once

#include <vector>

#include "platform/wide.h"
#include "tools/larder/check/check-report.h"
#include "tools/larder/check/query-trial.h"

namespace larder::tool {

// path: of the module. objects: as for TryQueries.
void TryModule(const WideString& path, const std::vector<ObjectDescriptor>& objects,
               CheckReport& report);

}  // namespace larder::tool
