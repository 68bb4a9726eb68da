#include "providers/foreign-signature.h"

#include <windows.h>

#include <wincrypt.h>

#include <memory>
#include <stdexcept>

namespace larder::feed {
namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

void Check(bool good, const char* what) {
  if (good) return;
  throw std::runtime_error(std::string(what) + ": error " + std::to_string(GetLastError()));
}

template <typename Handle>
using Owner = std::unique_ptr<std::remove_pointer_t<Handle>, void (*)(Handle)>;

std::string Encoded(const CERT_CONTEXT& certificate) {
  return {reinterpret_cast<const char*>(certificate.pbCertEncoded), certificate.cbCertEncoded};
}

}  // namespace

ForeignSignature ReadForeign(const std::string& signature) {
  const Owner<HCRYPTMSG> message(CryptMsgOpenToDecode(kEncoding, 0, 0, 0, nullptr, nullptr),
                                 [](HCRYPTMSG opened) { CryptMsgClose(opened); });
  Check(CryptMsgUpdate(message.get(), reinterpret_cast<const BYTE*>(signature.data()),
                       static_cast<DWORD>(signature.size()), TRUE),
        "CryptMsgUpdate");
  const Owner<HCERTSTORE> store(CertOpenStore(CERT_STORE_PROV_MSG, kEncoding, 0, 0, message.get()),
                                [](HCERTSTORE opened) { CertCloseStore(opened, 0); });
  Check(store != nullptr, "CertOpenStore");
  ForeignSignature foreign;
  const CERT_CONTEXT* certificate = nullptr;
  while ((certificate = CertEnumCertificatesInStore(store.get(), certificate)) != nullptr) {
    foreign.certificates.insert(Encoded(*certificate));
  }
  constexpr DWORD kFlags = CMSG_SIGNER_ONLY_FLAG | CMSG_USE_SIGNER_INDEX_FLAG;
  for (DWORD i = 0; CryptMsgGetAndVerifySigner(message.get(), 0, nullptr, kFlags, &certificate, &i);
       ++i) {
    foreign.signers.insert(Encoded(*certificate));
    CertFreeCertificateContext(certificate);
  }
  return foreign;
}

}  // namespace larder::feed
