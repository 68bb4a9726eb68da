// The certificate chains of a signature's signers.
//
// They are what the file contains, and nothing is verified: no signature, validity period, name or
// trust is checked, and no certificate is looked up elsewhere. Anybody who writes a file can put
// any certificates in it.
#pragma once

#include <cstddef>
#include <vector>

#include "stock-file-query/bytes.h"
#include "stock-file-query/cms/signed-data.h"

namespace larder::feed {

// The signer's certificate, then its issuer's, and so on. Each is a whole certificate.
using CertChain = std::vector<Bytes>;

// The chain of each signer, in the signature's order. Signers whose certificate isn't in the
// signature are skipped. Certificates in no signer's chain, such as those of time stamps, don't
// appear.
//
// A certificate's issuer is the certificate whose subject equals the issuer name byte by byte,
// except one whose subject key identifier differs from the authority key identifier. Of several, it
// is the first whose key identifier matches, else the first for which one of the two identifiers is
// missing. The chain ends after a certificate that issued itself or whose issuer isn't in the
// signature (which often lacks the root), and before a certificate that it already contains.
std::vector<CertChain> ChainsOf(const SignedData& signature);

}  // namespace larder::feed
