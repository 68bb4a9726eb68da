// The parts of an X.509 certificate (RFC 5280) that link it to other certificates.
#pragma once

#include <optional>

#include "stock-file-query/bytes.h"

namespace larder::feed {

// Points into the bytes that it was parsed from. Names are whole elements, the other fields are the
// elements' contents. Nothing is verified.
struct Certificate {
  Bytes whole;
  Bytes serial;
  Bytes issuer;
  Bytes subject;
  Bytes subjectKeyId;    // of the extension subjectKeyIdentifier; empty without it
  Bytes authorityKeyId;  // the keyIdentifier of authorityKeyIdentifier; empty without it
};

// bytes: one element with its tag and length. Nothing if the serial number or a name can't be
// parsed. An extension that can't be parsed is ignored. Takes linear time.
std::optional<Certificate> ReadCertificate(Bytes bytes);

}  // namespace larder::feed
