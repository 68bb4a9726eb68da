// The certificate chains of those who signed an image.
//
// They are read out of the file, and that is all: no signature, no time and no name is checked, no
// certificate is fetched or looked up, and nobody's trust is asked for. Whoever writes a file can
// put any certificates in it.
#pragma once

#include <cstddef>
#include <vector>

#include "stock-file-query/bytes.h"
#include "stock-file-query/cms/signed-data.h"

namespace larder::feed {

// A signer's certificate first, then each one's issuer. Each is a whole certificate.
using CertChain = std::vector<Bytes>;

// For each signer, in the signature's order, the chain that its certificate begins. The issuer of a
// certificate is the one whose subject is the certificate's issuer, byte by byte, unless both say
// which key is meant and say different ones. Of several, it is the first in the signature that says
// the right key, or else the first that doesn't say any. The chain ends with a certificate that
// issued itself, at one whose issuer isn't in the signature (so often before the root), and before
// one that it has already. A signer whose certificate isn't in the signature has no chain.
// Certificates that no signer's chain needs, such as those of time stamps, aren't given.
std::vector<CertChain> ChainsOf(const SignedData& signature);

}  // namespace larder::feed
