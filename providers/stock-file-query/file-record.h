// The file provider's data block.
#pragma once

#include <larder/provider.h>

#include <cstdint>
#include <vector>

#include "stock-file-query/cms/signer-chains.h"
#include "stock-file-query/file-facts.h"

namespace larder::feed {

// A FileDataRecord with the digests, zeros for an image's where the file is none, and a chain for
// each signer, or else one that holds one empty certificate.
DbBuffer MakeFileRecord(const FileFacts& facts);

// Appends a CertChainRecord for each chain, with a CertDataRecord for each of its certificates;
// none of the chains may be empty, and they keep within the limits of ReadSignerChains. Without a
// chain it is one that holds one certificate of size 0. Each record begins at a multiple of 8 from
// the block's begin, with zero bytes before it where that takes any, so that aligned access reads
// all records of a block that is itself aligned. Behind the last certificate there are none.
void AppendChainRecords(const std::vector<CertChain>& chains, std::vector<std::uint8_t>& block);

}  // namespace larder::feed
