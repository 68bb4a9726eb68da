// The digests of one run of bytes, computed side by side.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

struct gcry_md_handle;

namespace larder::feed {

struct Digests {
  std::array<std::uint8_t, 16> md5{};
  std::array<std::uint8_t, 20> sha1{};
  std::array<std::uint8_t, 32> sha256{};
  std::array<std::uint8_t, 48> sha384{};
  std::array<std::uint8_t, 64> sha512{};
};

enum class DigestKind { kMd5, kSha1, kSha256, kSha384, kSha512 };

inline constexpr std::array<DigestKind, 5> kAllDigests = {DigestKind::kMd5, DigestKind::kSha1,
                                                          DigestKind::kSha256, DigestKind::kSha384,
                                                          DigestKind::kSha512};

// Readies libgcrypt, unless the process has done so already; libgcrypt then stays loaded as long as
// the process runs. Comes before the first DigestSet and not at the same time as any other start of
// libgcrypt. Throws std::runtime_error if the library is too old or can't start.
void PrepareDigests();

// One object on one thread at a time; any number of objects side by side.
class DigestSet {
 public:
  // Throws std::runtime_error, with the library's reason, if it refuses a digest.
  // wanted: outlives the object.
  explicit DigestSet(std::span<const DigestKind> wanted = kAllDigests);
  ~DigestSet();
  DigestSet(const DigestSet&) = delete;
  DigestSet& operator=(const DigestSet&) = delete;

  void Add(const void* bytes, std::size_t size) noexcept;
  // The digests of everything added; those that weren't wanted stay as they are in digests. Nothing
  // may be added afterwards.
  void Finish(Digests& digests);

 private:
  std::span<const DigestKind> kinds;
  gcry_md_handle* handle = nullptr;
};

}  // namespace larder::feed
