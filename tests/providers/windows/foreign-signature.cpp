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

using Message = std::unique_ptr<void, decltype(&CryptMsgClose)>;
using Context = std::unique_ptr<const CERT_CONTEXT, decltype(&CertFreeCertificateContext)>;

class Store {
 public:
  explicit Store(HCERTSTORE opened) : handle(opened) {}
  ~Store() { CertCloseStore(handle, 0); }
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  HCERTSTORE handle;
};

const BYTE* BytesOf(const std::string& text) { return reinterpret_cast<const BYTE*>(text.data()); }

std::string Encoded(const CERT_CONTEXT& certificate) {
  return {reinterpret_cast<const char*>(certificate.pbCertEncoded), certificate.cbCertEncoded};
}

Message Opened(const std::string& signature) {
  Message message(CryptMsgOpenToDecode(kEncoding, 0, 0, 0, nullptr, nullptr), &CryptMsgClose);
  Check(message != nullptr, "CryptMsgOpenToDecode");
  Check(
      CryptMsgUpdate(message.get(), BytesOf(signature), static_cast<DWORD>(signature.size()), TRUE),
      "CryptMsgUpdate");
  return message;
}

std::string SignerAt(const Message& message, const Store& store, DWORD index) {
  std::array<CERT_INFO, 32> info{};  // one, and room for what it points to
  DWORD size = sizeof info;
  Check(CryptMsgGetParam(message.get(), CMSG_SIGNER_CERT_INFO_PARAM, index, info.data(), &size),
        "CMSG_SIGNER_CERT_INFO_PARAM");
  const Context signer(CertGetSubjectCertificateFromStore(store.handle, kEncoding, info.data()),
                       &CertFreeCertificateContext);
  Check(signer != nullptr, "CertGetSubjectCertificateFromStore");
  return Encoded(*signer);
}

}  // namespace

ForeignSignature ReadForeign(const std::string& signature) {
  const Message message = Opened(signature);
  const Store store(CertOpenStore(CERT_STORE_PROV_MSG, kEncoding, 0, 0, message.get()));
  Check(store.handle != nullptr, "CertOpenStore");
  ForeignSignature foreign;
  const CERT_CONTEXT* certificate = nullptr;
  while ((certificate = CertEnumCertificatesInStore(store.handle, certificate)) != nullptr) {
    foreign.certificates.insert(Encoded(*certificate));
  }
  DWORD count = 0;
  DWORD size = sizeof count;
  Check(CryptMsgGetParam(message.get(), CMSG_SIGNER_COUNT_PARAM, 0, &count, &size),
        "CMSG_SIGNER_COUNT_PARAM");
  for (DWORD i = 0; i < count; ++i) foreign.signers.insert(SignerAt(message, store, i));
  return foreign;
}

}  // namespace larder::feed
