// Certificate chains as they stand in a file's record.
#pragma once

#include <cstdint>
#include <vector>

#include "stock-file-query/cms/signer-chains.h"

namespace larder::feed {

// Appends a CertChainRecord for each chain, with a CertDataRecord for each of its certificates;
// none of the chains may be empty, and they keep within the limits of ReadSignerChains. Without a
// chain it is one that holds one certificate of size 0. Each record begins at a multiple of 8 from
// the block's begin, with zero bytes before it where that takes any, so that aligned access reads
// all records of a block that is itself aligned. Behind the last certificate there are none.
void AppendChainRecords(const std::vector<CertChain>& chains, std::vector<std::uint8_t>& block);

}  // namespace larder::feed
