// One signature: a ContentInfo with SignedData, of PKCS #7 or CMS (RFC 5652).
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "stock-file-query/bytes.h"
#include "stock-file-query/cms/certificate.h"

namespace larder::feed {

// Per signature; what exceeds a limit is ignored.
inline constexpr std::size_t kMaxCertificates = 64;
inline constexpr std::size_t kMaxSigners = 64;
inline constexpr std::size_t kMaxNestedSignatures = 64;

// Names the signer's certificate, either by issuer and serial number or by its key identifier.
struct SignerIdentifier {
  Bytes issuer;  // a whole element; empty if subjectKeyId names the certificate
  Bytes serial;
  Bytes subjectKeyId;
};

// Points into the bytes that it was parsed from. Nothing is verified.
struct SignedData {
  Bytes whole;
  Bytes encapContentInfo;                 // its contents: the content type and the signed content
  std::vector<Certificate> certificates;  // in their order, without duplicates
  std::vector<SignerIdentifier> signers;  // in their order
  // The nested signatures, unparsed: all values of the unsigned attributes 1.3.6.1.4.1.311.2.4.1 of
  // all signers.
  std::vector<Bytes> nestedSignatures;
};

// bytes: begin with the signature; what follows it is ignored. Nothing unless there is a
// ContentInfo of type SignedData that is within the bytes. A SignedData that is malformed somewhere
// has the fields before that place. Certificates and signers that can't be parsed are skipped, and
// so are certificates of other formats than X.509. Indefinite lengths, which BER allows and DER
// doesn't, can't be parsed.
std::optional<SignedData> ReadSignedData(Bytes bytes);

}  // namespace larder::feed
