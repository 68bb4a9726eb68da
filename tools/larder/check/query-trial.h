// Tries the rules about queries and writes on a provider's object.
#pragma once

#include <larder/provider.h>

#include <cstdint>
#include <vector>

#include "tools/larder/check/check-report.h"

namespace larder::tool {

// A descriptor, with zeros behind it in case a provider expects a longer one.
using ObjectDescriptor = std::vector<unsigned char>;

// type: the provider's. objects: what it is asked about, at least one; of the first it should have
// data.
void TryQueries(IDataProvider& provider, std::int32_t type,
                const std::vector<ObjectDescriptor>& objects, CheckReport& report);

}  // namespace larder::tool
