#include "platform/certificate.h"

#include <windows.h>

#include <wincrypt.h>

namespace larder::platform {
namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
static_assert(kEncoding == 0x10001);
static_assert(CERT_X500_NAME_STR == 3);

PCCERT_CONTEXT Context(const Certificate* certificate) noexcept {
  return reinterpret_cast<PCCERT_CONTEXT>(certificate);
}

}  // namespace

void CertificateCloser::operator()(const Certificate* certificate) const noexcept {
  CertFreeCertificateContext(Context(certificate));
}

AutoCertificate ParseCertificate(const void* bytes, std::uint32_t size) noexcept {
  return AutoCertificate(reinterpret_cast<const Certificate*>(
      CertCreateCertificateContext(kEncoding, static_cast<const BYTE*>(bytes), size)));
}

void WriteCertificateName(const Certificate& certificate, CertificateName name, char* buffer,
                          std::uint32_t size) {
  CERT_INFO& info = *Context(&certificate)->pCertInfo;
  CertNameToStrA(kEncoding, name == CertificateName::kSubject ? &info.Subject : &info.Issuer,
                 CERT_X500_NAME_STR, buffer, size);
}

std::vector<unsigned char> CertificateSerial(const Certificate& certificate) {
  const CRYPT_INTEGER_BLOB& serial = Context(&certificate)->pCertInfo->SerialNumber;
  return {serial.pbData, serial.pbData + serial.cbData};
}

}  // namespace larder::platform
