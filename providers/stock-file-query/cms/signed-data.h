// One signature: a ContentInfo that holds SignedData, of PKCS #7 and CMS (RFC 5652).
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "stock-file-query/bytes.h"
#include "stock-file-query/cms/certificate.h"

namespace larder::feed {

// Of one signature; what comes behind so many is left out.
inline constexpr std::size_t kMaxCertificates = 64;
inline constexpr std::size_t kMaxSigners = 64;
inline constexpr std::size_t kMaxNestedSignatures = 64;

// Who signed: names its certificate by issuer and serial number, or by the certificate's
// subjectKeyId.
struct SignerIdentifier {
  Bytes issuer;  // a whole element; empty if subjectKeyId is what names the certificate
  Bytes serial;
  Bytes subjectKeyId;
};

// Points into the bytes that it was read from. Nothing is verified.
struct SignedData {
  Bytes whole;
  Bytes encapContentInfo;                 // of encapContentInfo: type, and what was signed
  std::vector<Certificate> certificates;  // as they stand there, each once
  std::vector<SignerIdentifier> signers;  // as they stand there
  // The signatures inside this one: all values of the attributes 1.3.6.1.4.1.311.2.4.1 among the
  // unsigned ones of all signers. Unread.
  std::vector<Bytes> nestedSignatures;
};

// Bytes behind the signature are no fault. Reads as far as it can: a signature that is broken in
// the middle has what stands before that. A certificate or a signer that can't be read is left
// out, and so is a certificate in another form than X.509. Nothing if the bytes don't begin with a
// ContentInfo of SignedData that is there up to its end. Only DER is read: indefinite lengths,
// which BER would allow, are what can't be read.
std::optional<SignedData> ReadSignedData(Bytes bytes);

}  // namespace larder::feed
