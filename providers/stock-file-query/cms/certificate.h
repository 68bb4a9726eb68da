// What links certificates to each other.
#pragma once

#include <optional>

#include "stock-file-query/bytes.h"

namespace larder::feed {

// Parts of an X.509 certificate (RFC 5280), in the bytes that it was read from. Names are whole
// elements, the rest is contents. Nothing is verified.
struct Certificate {
  Bytes whole;
  Bytes serial;
  Bytes issuer;
  Bytes subject;
  Bytes subjectKeyId;    // the extension subjectKeyIdentifier; empty without it
  Bytes authorityKeyId;  // the keyIdentifier of authorityKeyIdentifier; empty without it
};

// bytes: one element, with tag and length. Nothing if serial number or names can't be read from it.
// Extensions that can't be read count as not there. An upper bound of time: the bytes' number.
std::optional<Certificate> ReadCertificate(Bytes bytes);

}  // namespace larder::feed
