#include "stock-file-query/digest-set.h"

#include <gcrypt.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/module.h"

namespace larder::feed {
namespace {

constexpr const char* kOldestLibrary = "1.10.0";

void Check(gcry_error_t error, const std::string& what) {
  if (error == 0) return;
  throw std::runtime_error("libgcrypt: " + what + ": " + gcry_strerror(error));
}

// Takes a reference on libgcrypt that nobody gives back: it has no way to free what its start
// allocates, so each start after an unload would lose some memory.
void KeepLoaded() {
  constexpr std::string_view kFile = LARDER_GCRYPT_FILE;
  platform::ModuleHandle library = nullptr;
  const platform::Code code = platform::OpenModule(WideString(kFile.begin(), kFile.end()), library);
  if (code == platform::kSuccess) return;
  throw std::runtime_error("libgcrypt: can't open " + std::string(kFile) + ": code " +
                           std::to_string(code));
}

int AlgorithmOf(DigestKind kind) noexcept {
  switch (kind) {
    case DigestKind::kMd5:
      return GCRY_MD_MD5;
    case DigestKind::kSha1:
      return GCRY_MD_SHA1;
    case DigestKind::kSha256:
      return GCRY_MD_SHA256;
    case DigestKind::kSha384:
      return GCRY_MD_SHA384;
    case DigestKind::kSha512:
      break;
  }
  return GCRY_MD_SHA512;
}

std::span<std::uint8_t> FieldOf(DigestKind kind, Digests& digests) noexcept {
  switch (kind) {
    case DigestKind::kMd5:
      return digests.md5;
    case DigestKind::kSha1:
      return digests.sha1;
    case DigestKind::kSha256:
      return digests.sha256;
    case DigestKind::kSha384:
      return digests.sha384;
    case DigestKind::kSha512:
      break;
  }
  return digests.sha512;
}

void Read(gcry_md_hd_t handle, DigestKind kind, Digests& digests) {
  const int algorithm = AlgorithmOf(kind);
  const std::span<std::uint8_t> field = FieldOf(kind, digests);
  const unsigned char* const bytes = gcry_md_read(handle, algorithm);
  if (bytes == nullptr || gcry_md_get_algo_dlen(algorithm) != field.size()) {
    throw std::runtime_error(std::string("libgcrypt: no digest of ") +
                             gcry_md_algo_name(algorithm));
  }
  std::copy_n(bytes, field.size(), field.begin());
}

}  // namespace

void PrepareDigests() {
  if (gcry_check_version(kOldestLibrary) == nullptr) {
    throw std::runtime_error(std::string("libgcrypt is ") + gcry_check_version(nullptr) +
                             ", older than " + kOldestLibrary);
  }
  if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) return;
  KeepLoaded();
  Check(gcry_control(GCRYCTL_DISABLE_SECMEM, 0), "can't do without secure memory");
  Check(gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0), "can't start");
}

DigestSet::DigestSet(std::span<const DigestKind> wanted) : kinds(wanted) {
  Check(gcry_md_open(&handle, 0, 0), "can't make a digest");
  try {
    for (const DigestKind kind : kinds) {
      const int algorithm = AlgorithmOf(kind);
      Check(gcry_md_enable(handle, algorithm), gcry_md_algo_name(algorithm));
    }
  } catch (...) {
    gcry_md_close(handle);
    throw;
  }
}

DigestSet::~DigestSet() { gcry_md_close(handle); }

void DigestSet::Add(const void* bytes, std::size_t size) noexcept {
  gcry_md_write(handle, bytes, size);
}

void DigestSet::Finish(Digests& digests) {
  Check(gcry_md_final(handle), "can't end a digest");
  for (const DigestKind kind : kinds) Read(handle, kind, digests);
}

}  // namespace larder::feed
