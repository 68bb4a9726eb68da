#include "providers/foreign-signature.h"

#include <openssl/pkcs7.h>
#include <openssl/x509.h>

#include <memory>
#include <stdexcept>

namespace larder::feed {
namespace {

std::set<std::string> Encoded(const STACK_OF(X509) * certificates) {
  std::set<std::string> all;
  for (int i = 0; i < sk_X509_num(certificates); ++i) {
    unsigned char* bytes = nullptr;
    const int size = i2d_X509(sk_X509_value(certificates, i), &bytes);
    if (size <= 0) throw std::runtime_error("i2d_X509");
    all.emplace(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    OPENSSL_free(bytes);
  }
  return all;
}

}  // namespace

ForeignSignature ReadForeign(const std::string& signature) {
  const auto* at = reinterpret_cast<const unsigned char*>(signature.data());
  const std::unique_ptr<PKCS7, decltype(&PKCS7_free)> read(
      d2i_PKCS7(nullptr, &at, static_cast<long>(signature.size())), &PKCS7_free);
  if (read == nullptr || !PKCS7_type_is_signed(read.get())) throw std::runtime_error("d2i_PKCS7");
  STACK_OF(X509)* const signers = PKCS7_get0_signers(read.get(), nullptr, 0);
  if (signers == nullptr) throw std::runtime_error("PKCS7_get0_signers");
  const std::unique_ptr<STACK_OF(X509), void (*)(STACK_OF(X509)*)> owner(
      signers, [](STACK_OF(X509) * stack) { sk_X509_free(stack); });
  return {Encoded(read->d.sign->cert), Encoded(signers)};
}

}  // namespace larder::feed
