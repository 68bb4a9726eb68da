// Certificates: X.509 in DER (RFC 5280), and what a reader wants to see of one. The group lies in
// an archive of its own, larder_certificate, so that only programs that use it need the system's
// library behind it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace larder::platform {

struct Certificate;  // the system's parsed form; immutable, any thread

struct CertificateCloser {
  void operator()(const Certificate* certificate) const noexcept;
};
using AutoCertificate = std::unique_ptr<const Certificate, CertificateCloser>;

// Null when the system can't parse the bytes. It keeps a copy of what it needs of them.
[[nodiscard]] AutoCertificate ParseCertificate(const void* bytes, std::uint32_t size) noexcept;

enum class CertificateName { kSubject, kIssuer };

// Writes the name in the form of CERT_X500_NAME_STR, NUL-terminated: "C=US, O=Example, CN=A +
// OU=B", in the order of the certificate. The text is in the system's narrow code page on Windows,
// in UTF-8 on Linux. What a name that doesn't fit becomes is the system's business: on Linux it is
// cut behind its last whole character. When the system fails, buffer stays as it is. size: of the
// buffer, at least 1.
void WriteCertificateName(const Certificate& certificate, CertificateName name, char* buffer,
                          std::uint32_t size);

// The bytes of the serial number's encoding, the least significant one first. A positive number
// whose highest bit is set has a zero byte at the end.
[[nodiscard]] std::vector<unsigned char> CertificateSerial(const Certificate& certificate);

}  // namespace larder::platform
