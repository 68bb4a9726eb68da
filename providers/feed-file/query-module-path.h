// Where the file provider's query module is.
#pragma once

#include "platform/wide.h"

namespace larder::feed {

// szLocation of the key Install and szFileQuery of the key DataProviders\FeedFile, joined as they
// stand; "stock-file-query.dll" where no szFileQuery is. Both keys lie below
// Software\Velmor\Larder\ in the machine's registry, and both values are of type REG_SZ with at
// most 98 characters: throws std::runtime_error, with the value's name and the reason, for one that
// is there and can't be used.
WideString QueryModulePath();

}  // namespace larder::feed
