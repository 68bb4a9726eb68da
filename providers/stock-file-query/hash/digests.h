// The digests of a sequence of bytes.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "platform/digest.h"

namespace larder::feed {

struct Digests {
  std::array<std::uint8_t, 16> md5{};
  std::array<std::uint8_t, 20> sha1{};
  std::array<std::uint8_t, 32> sha256{};
  std::array<std::uint8_t, 48> sha384{};
  std::array<std::uint8_t, 64> sha512{};

  // The field of this kind.
  std::span<std::uint8_t> Of(platform::DigestKind kind) noexcept {
    switch (kind) {
      case platform::DigestKind::kMd5:
        return md5;
      case platform::DigestKind::kSha1:
        return sha1;
      case platform::DigestKind::kSha256:
        return sha256;
      case platform::DigestKind::kSha384:
        return sha384;
      case platform::DigestKind::kSha512:
        break;
    }
    return sha512;
  }
};

inline constexpr std::array kAllDigests = {
    platform::DigestKind::kMd5, platform::DigestKind::kSha1, platform::DigestKind::kSha256,
    platform::DigestKind::kSha384, platform::DigestKind::kSha512};

}  // namespace larder::feed
