// The file provider's record of a file.
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

// Appends a CertChainRecord for each chain and a CertDataRecord for each of its certificates;
// without a chain, one chain with one certificate of size 0. No chain may be empty, and all must be
// within the limits of ReadSignerChains. Zero bytes are inserted so that each record begins at a
// multiple of 8 from the block's beginning: all records of an aligned block are aligned. None
// follow the last certificate.
void AppendChainRecords(const std::vector<CertChain>& chains, std::vector<std::uint8_t>& block);

}  // namespace larder::feed
