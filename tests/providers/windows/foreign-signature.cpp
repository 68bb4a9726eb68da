#include "providers/foreign-signature.h"

#include <windows.h>

#include <wincrypt.h>

#include <array>
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

template <typename Value>
void Get(HCRYPTMSG message, DWORD parameter, DWORD index, Value& value) {
  DWORD size = sizeof value;
  Check(CryptMsgGetParam(message, parameter, index, &value, &size), "CryptMsgGetParam");
}

std::string SignerAt(HCRYPTMSG message, HCERTSTORE store, DWORD index) {
  std::array<CERT_INFO, 32> info{};  // one, and memory for what it points to
  Get(message, CMSG_SIGNER_CERT_INFO_PARAM, index, info);
  const CERT_CONTEXT* const signer =
      CertGetSubjectCertificateFromStore(store, kEncoding, info.data());
  Check(signer != nullptr, "CertGetSubjectCertificateFromStore");
  std::string encoded = Encoded(*signer);
  CertFreeCertificateContext(signer);
  return encoded;
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
  DWORD count = 0;
  Get(message.get(), CMSG_SIGNER_COUNT_PARAM, 0, count);
  for (DWORD i = 0; i < count; ++i) {
    foreign.signers.insert(SignerAt(message.get(), store.get(), i));
  }
  return foreign;
}

}  // namespace larder::feed
