// The certificate table of a PE image, which the PE format document calls the attribute certificate
// table: the signatures in it and their signers' certificates.
//
// The table is a sequence of entries (WIN_CERTIFICATE). An entry is a header of 8 bytes (the
// entry's size with this header, a revision, a type) and a certificate, here a CMS signature. The
// next entry begins at the next multiple of 8 bytes from the table's beginning.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "stock-file-query/bytes.h"
#include "stock-file-query/cms/signed-data.h"
#include "stock-file-query/cms/signer-chains.h"
#include "stock-file-query/pe/image-layout.h"

namespace larder::feed {

// Of a larger table, only the first bytes are read.
inline constexpr std::uint64_t kMaxTableBytes = 0x1000000;

// The table's bytes; empty if the image isn't signed or if readAt returns false.
std::vector<std::uint8_t> ReadCertificateTable(const ImageLayout& layout, const ReadAt& readAt);

// Per table; what exceeds a limit is ignored.
inline constexpr std::size_t kMaxEntries = 64;
inline constexpr std::size_t kMaxSignatures = 64;
// A signature of the table has depth 1, one nested in it has depth 2.
inline constexpr int kMaxNestingDepth = 4;

// Parses all signatures of the table, in the order of the entries. Each is followed by those nested
// in it, in the order in which it contains them. The result points into the table. Thread-safe.
//
// Entries of other types than 2 (PKCS SignedData) are skipped, and so are signatures that can't be
// parsed. An entry's size serves only to find the next entry: a size below 8 ends the table, and an
// entry that reaches beyond the table ends with it. The signature has a length of its own.
std::vector<SignedData> ReadSignatures(Bytes table);

// Per table; the first chain that exceeds a limit is left out, with all that follow.
inline constexpr std::size_t kMaxChains = 64;
inline constexpr std::size_t kMaxChainBytes = 0x1000000;  // certificates of all chains together

// The signers' chains of all signatures of the table, in the order of ReadSignatures. The result
// points into the table. Thread-safe.
std::vector<CertChain> ReadSignerChains(Bytes table);

}  // namespace larder::feed
