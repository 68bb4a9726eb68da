#include "platform/digest.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace larder::platform {
namespace {

constexpr std::array kNames = {"MD5", "SHA1", "SHA256", "SHA384", "SHA512"};

EVP_MD_CTX* Context(Digest& digest) noexcept { return reinterpret_cast<EVP_MD_CTX*>(&digest); }

}  // namespace

// Has a libcrypto context of its own: settings of the program or the machine can forbid a digest,
// but they apply to the default context only.
struct DigestLibrary {
  DigestLibrary() noexcept {
    std::transform(kNames.begin(), kNames.end(), algorithms.begin(),
                   [this](const char* name) { return EVP_MD_fetch(context, name, nullptr); });
  }
  ~DigestLibrary() {
    for (EVP_MD* algorithm : algorithms) EVP_MD_free(algorithm);
    OSSL_LIB_CTX_free(context);
  }
  DigestLibrary(const DigestLibrary&) = delete;
  DigestLibrary& operator=(const DigestLibrary&) = delete;

  OSSL_LIB_CTX* context = OSSL_LIB_CTX_new();
  std::array<EVP_MD*, kNames.size()> algorithms{};
};

void DigestLibraryCloser::operator()(DigestLibrary* library) const noexcept { delete library; }

AutoDigestLibrary OpenDigestLibrary() noexcept {
  // Otherwise libcrypto frees its state at exit, while other threads may still be using it.
  OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
  AutoDigestLibrary library(new (std::nothrow) DigestLibrary);
  if (library == nullptr || library->context == nullptr) return nullptr;
  const auto& algorithms = library->algorithms;
  const bool isComplete =
      std::find(algorithms.begin(), algorithms.end(), nullptr) == algorithms.end();
  return isComplete ? std::move(library) : nullptr;
}

void DigestCloser::operator()(Digest* digest) const noexcept {
  EVP_MD_CTX_free(reinterpret_cast<EVP_MD_CTX*>(digest));
}

AutoDigest StartDigest(const DigestLibrary& library, DigestKind kind) noexcept {
  AutoDigest digest(reinterpret_cast<Digest*>(EVP_MD_CTX_new()));
  if (digest == nullptr) return nullptr;
  const EVP_MD* const algorithm = library.algorithms[static_cast<std::size_t>(kind)];
  return EVP_DigestInit_ex2(Context(*digest), algorithm, nullptr) == 1 ? std::move(digest)
                                                                       : nullptr;
}

bool AddToDigest(Digest& digest, const void* bytes, std::size_t size) noexcept {
  return EVP_DigestUpdate(Context(digest), bytes, size) == 1;
}

bool FinishDigest(Digest& digest, std::span<std::uint8_t> result) noexcept {
  const int size = EVP_MD_CTX_get_size(Context(digest));
  return size >= 0 && static_cast<std::size_t>(size) == result.size() &&
         EVP_DigestFinal_ex(Context(digest), result.data(), nullptr) == 1;
}

}  // namespace larder::platform
