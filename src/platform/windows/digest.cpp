#include "platform/digest.h"

#include <windows.h>

#include <bcrypt.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace larder::platform {
namespace {

constexpr std::array kNames = {BCRYPT_MD5_ALGORITHM, BCRYPT_SHA1_ALGORITHM, BCRYPT_SHA256_ALGORITHM,
                               BCRYPT_SHA384_ALGORITHM, BCRYPT_SHA512_ALGORITHM};

// Null on failure.
BCRYPT_ALG_HANDLE OpenAlgorithm(const wchar_t* name) noexcept {
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  return BCryptOpenAlgorithmProvider(&algorithm, name, nullptr, 0) == 0 ? algorithm : nullptr;
}

// Bytes in one call; the system counts them in 32 bits.
constexpr std::size_t kMaxHashBlock = 0x40000000;

}  // namespace

struct DigestLibrary {
  DigestLibrary() noexcept {
    std::transform(kNames.begin(), kNames.end(), algorithms.begin(), &OpenAlgorithm);
  }
  ~DigestLibrary() {
    for (BCRYPT_ALG_HANDLE algorithm : algorithms)
      if (algorithm != nullptr) BCryptCloseAlgorithmProvider(algorithm, 0);
  }
  DigestLibrary(const DigestLibrary&) = delete;
  DigestLibrary& operator=(const DigestLibrary&) = delete;

  std::array<BCRYPT_ALG_HANDLE, kNames.size()> algorithms{};
};

void DigestLibraryCloser::operator()(DigestLibrary* library) const noexcept { delete library; }

AutoDigestLibrary OpenDigestLibrary() noexcept {
  AutoDigestLibrary library(new (std::nothrow) DigestLibrary);
  if (library == nullptr) return nullptr;
  const auto& algorithms = library->algorithms;
  const bool isComplete =
      std::find(algorithms.begin(), algorithms.end(), nullptr) == algorithms.end();
  return isComplete ? std::move(library) : nullptr;
}

void DigestCloser::operator()(Digest* digest) const noexcept { BCryptDestroyHash(digest); }

AutoDigest StartDigest(const DigestLibrary& library, DigestKind kind) noexcept {
  BCRYPT_HASH_HANDLE hash = nullptr;
  BCRYPT_ALG_HANDLE const algorithm = library.algorithms[static_cast<std::size_t>(kind)];
  if (BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0) != 0) return nullptr;
  return AutoDigest(static_cast<Digest*>(hash));
}

bool AddToDigest(Digest& digest, const void* bytes, std::size_t size) noexcept {
  // The system only reads the bytes, although its parameter isn't const.
  auto* next = static_cast<UCHAR*>(const_cast<void*>(bytes));
  while (size > 0) {
    const std::size_t count = std::min(size, kMaxHashBlock);
    if (BCryptHashData(&digest, next, static_cast<ULONG>(count), 0) != 0) return false;
    next += count;
    size -= count;
  }
  return true;
}

bool FinishDigest(Digest& digest, std::span<std::uint8_t> result) noexcept {
  return BCryptFinishHash(&digest, result.data(), static_cast<ULONG>(result.size()), 0) == 0;
}

}  // namespace larder::platform
