// The file provider's data block.
#pragma once

#include <larder/provider.h>

#include "stock-file-query/file-facts.h"

namespace larder::feed {

// A FileDataRecord with the digests, zeros for an image's where the file is none, and a chain for
// each signer, or else one that holds one empty certificate.
DbBuffer MakeFileRecord(const FileFacts& facts);

}  // namespace larder::feed
