// The file provider's data block.
#pragma once

#include <larder/provider.h>

#include <cstdint>
#include <vector>

#include "stock-file-query/cms/signer-chains.h"
#include "stock-file-query/file-facts.h"

namespace larder::feed {

// A FileDataRecord with the digests and the chains of facts.certificateTable, which are appended as
// AppendChainRecords does. The digests of an image are zeros if the file isn't one.
DbBuffer SerializeFileRecord(const FileFacts& facts, const std::vector<CertChain>& chains);

// Appends a CertChainRecord for each chain, with a CertDataRecord for each of its certificates;
// none of the chains may be empty, and they keep within the limits of ReadSignerChains. Without a
// chain it is one that holds one certificate of size 0. Each record begins at a multiple of 8 from
// the block's begin, with zero bytes before it where that takes any, so that aligned access reads
// all records of a block that is itself aligned. Behind the last certificate there are none.
void AppendChainRecords(const std::vector<CertChain>& chains, std::vector<std::uint8_t>& block);

}  // namespace larder::feed
