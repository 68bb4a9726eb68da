// Digests of bytes, computed by the system's cryptographic library. The group lies in an archive of
// its own, larder_digest, so that only modules that use it need that library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace larder::platform {

enum class DigestKind { kMd5, kSha1, kSha256, kSha384, kSha512 };

// What digests are made with; immutable, any thread. Outlives its digests.
struct DigestLibrary;

struct DigestLibraryCloser {
  void operator()(DigestLibrary* library) const noexcept;
};
using AutoDigestLibrary = std::unique_ptr<DigestLibrary, DigestLibraryCloser>;

// Null when the system refuses one of the kinds.
[[nodiscard]] AutoDigestLibrary OpenDigestLibrary() noexcept;

// A digest that is being computed. One object on one thread at a time.
struct Digest;

struct DigestCloser {
  void operator()(Digest* digest) const noexcept;
};
using AutoDigest = std::unique_ptr<Digest, DigestCloser>;

// Null when the system has no memory for it.
[[nodiscard]] AutoDigest StartDigest(const DigestLibrary& library, DigestKind kind) noexcept;

// False when the system refuses; what was added before is lost then.
[[nodiscard]] bool AddToDigest(Digest& digest, const void* bytes, std::size_t size) noexcept;

// Fills result, which has the digest's size (16, 20, 32, 48 or 64 bytes). False when the system
// refuses, or that isn't its size. Nothing may be added afterwards.
[[nodiscard]] bool FinishDigest(Digest& digest, std::span<std::uint8_t> result) noexcept;

}  // namespace larder::platform
