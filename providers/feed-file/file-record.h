// The file provider's data block.
#pragma once

#include <larder/provider.h>

#include "feed-file/file-facts.h"

namespace larder::feed {

inline constexpr std::int32_t kFileProviderType = 1;

// A FileDataRecord with the digests, zeros for the image's digests, and one chain that holds one
// empty certificate.
DbBuffer MakeFileRecord(const FileFacts& facts);

}  // namespace larder::feed
