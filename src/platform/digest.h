// Digests, computed by the system's cryptographic library. The group has an archive of its own,
// larder_digest, so that only modules that use it depend on that library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace larder::platform {

enum class DigestKind { kMd5, kSha1, kSha256, kSha384, kSha512 };

// What digests are computed with; immutable and thread-safe. Must outlive its digests.
struct DigestLibrary;

struct DigestLibraryCloser {
  void operator()(DigestLibrary* library) const noexcept;
};
using AutoDigestLibrary = std::unique_ptr<DigestLibrary, DigestLibraryCloser>;

// Returns null if the system doesn't provide one of the kinds.
[[nodiscard]] AutoDigestLibrary OpenDigestLibrary() noexcept;

// A digest in computation; used by one thread at a time.
struct Digest;

struct DigestCloser {
  void operator()(Digest* digest) const noexcept;
};
using AutoDigest = std::unique_ptr<Digest, DigestCloser>;

// Returns null if the system is out of memory.
[[nodiscard]] AutoDigest StartDigest(const DigestLibrary& library, DigestKind kind) noexcept;

// Returns false if the system fails; the digest is lost then.
[[nodiscard]] bool AddToDigest(Digest& digest, const void* bytes, std::size_t size) noexcept;

// result must have the digest's size: 16, 20, 32, 48 or 64 bytes. Returns false if it has another
// one, or if the system fails. Nothing may be added afterwards.
[[nodiscard]] bool FinishDigest(Digest& digest, std::span<std::uint8_t> result) noexcept;

}  // namespace larder::platform
