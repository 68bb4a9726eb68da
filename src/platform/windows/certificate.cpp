#include "platform/certificate.h"

#include <windows.h>

#include <wincrypt.h>

#include "platform/wide.h"

namespace larder::platform {
namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
static_assert(kEncoding == 0x10001);
static_assert(CERT_X500_NAME_STR == 3);

PCCERT_CONTEXT Context(const Certificate* certificate) noexcept {
  return reinterpret_cast<PCCERT_CONTEXT>(certificate);
}

CERT_NAME_BLOB& Blob(const Certificate& certificate, CertificateName name) noexcept {
  CERT_INFO& info = *Context(&certificate)->pCertInfo;
  return name == CertificateName::kSubject ? info.Subject : info.Issuer;
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
  CertNameToStrA(kEncoding, &Blob(certificate, name), CERT_X500_NAME_STR, buffer, size);
}

// The results count the terminating zero.
std::string CertificateNameText(const Certificate& certificate, CertificateName name) {
  CERT_NAME_BLOB& blob = Blob(certificate, name);
  WideString text(CertNameToStrW(kEncoding, &blob, CERT_X500_NAME_STR, nullptr, 0), 0);
  const DWORD size = CertNameToStrW(kEncoding, &blob, CERT_X500_NAME_STR, text.data(),
                                    static_cast<DWORD>(text.size()));
  text.resize(size == 0 ? 0 : size - 1);
  return Utf8FromWide(text);
}

std::vector<unsigned char> CertificateSerial(const Certificate& certificate) {
  const CRYPT_INTEGER_BLOB& serial = Context(&certificate)->pCertInfo->SerialNumber;
  return {serial.pbData, serial.pbData + serial.cbData};
}

}  // namespace larder::platform
