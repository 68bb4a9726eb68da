// The signatures in an image's certificate table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "stock-file-query/bytes.h"
#include "stock-file-query/cms/signed-data.h"
#include "stock-file-query/cms/signer-chains.h"
#include "stock-file-query/pe/image-layout.h"

namespace larder::feed {

// A table that is larger is read up to here.
inline constexpr std::uint64_t kMaxTableBytes = 0x1000000;

// The certificate table's bytes; none if the image isn't signed or readAt can't give them.
std::vector<std::uint8_t> ReadCertificateTable(const ImageLayout& layout, const ReadAt& readAt);

// Of one table; what comes behind so many is left out.
inline constexpr std::size_t kMaxEntries = 64;
inline constexpr std::size_t kMaxSignatures = 64;
// A signature in the table is at depth 1, one inside that at depth 2, and none deeper than that is
// looked for.
inline constexpr int kMaxNestingDepth = 4;

// All signatures, the first entry's first; each is followed by those inside it. What is given
// points into the table. The signatures inside a signature have no order of their own: they come as
// they stand.
//
// The table is a run of entries (WIN_CERTIFICATE): the entry's size with this head of 8 bytes, a
// revision, a type, and from there the certificate. The next entry begins at the next multiple of 8
// from the table's begin. Type 2 is a signature as SignedData has it; entries of other types are
// passed over, and so are signatures that can't be read. The size is believed only to find the next
// entry: if it is less than 8 the table ends there, if it leads out of the table the entry ends
// with the table. Where a signature ends in its entry, it tells itself.
std::vector<SignedData> ReadSignatures(Bytes table);

// Of one table; the chains from the first on that goes beyond are left out.
inline constexpr std::size_t kMaxChains = 64;
inline constexpr std::size_t kMaxChainBytes = 0x1000000;  // certificates of all chains together

// The chains of all signatures in the certificate table, in the order of ReadSignatures: that of
// the image's first signature is the first. What is given points into the table. On any thread.
std::vector<CertChain> ReadSignerChains(Bytes table);

}  // namespace larder::feed
