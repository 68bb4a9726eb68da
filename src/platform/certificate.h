// X.509 certificates in DER (RFC 5280). The group has an archive of its own, larder_certificate, so
// that only programs that use it depend on the system's cryptographic library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace larder::platform {

struct Certificate;  // the system's parsed form; immutable and thread-safe

struct CertificateCloser {
  void operator()(const Certificate* certificate) const noexcept;
};
using AutoCertificate = std::unique_ptr<const Certificate, CertificateCloser>;

// Returns null if the system can't parse the bytes. The result doesn't refer to them.
[[nodiscard]] AutoCertificate ParseCertificate(const void* bytes, std::uint32_t size) noexcept;

enum class CertificateName { kSubject, kIssuer };

// Writes the name, NUL-terminated, in the form of CERT_X500_NAME_STR and in the certificate's
// order: "C=US, O=Example, CN=A + OU=B". The text is UTF-8 on Linux and in the system's narrow code
// page on Windows. A name that doesn't fit is cut after its last whole character on Linux; on
// Windows the system decides. If the system fails, the buffer is untouched. size: of the buffer, at
// least 1.
void WriteCertificateName(const Certificate& certificate, CertificateName name, char* buffer,
                          std::uint32_t size);

// The same name, whole and in UTF-8 on every system, with the NULs that its values contain. Empty
// if the system fails.
[[nodiscard]] std::string CertificateNameText(const Certificate& certificate, CertificateName name);

// The bytes of the encoded serial number, least significant first. If the highest bit of a positive
// number is set, a zero byte follows.
[[nodiscard]] std::vector<unsigned char> CertificateSerial(const Certificate& certificate);

}  // namespace larder::platform
