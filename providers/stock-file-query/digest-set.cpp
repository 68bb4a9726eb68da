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

template <std::size_t size>
void Read(gcry_md_hd_t handle, int algorithm, std::array<std::uint8_t, size>& digest) {
  const unsigned char* const bytes = gcry_md_read(handle, algorithm);
  if (bytes == nullptr || gcry_md_get_algo_dlen(algorithm) != size) {
    throw std::runtime_error(std::string("libgcrypt: no digest of ") +
                             gcry_md_algo_name(algorithm));
  }
  std::copy_n(bytes, size, digest.begin());
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

DigestSet::DigestSet() {
  Check(gcry_md_open(&handle, 0, 0), "can't make a digest");
  try {
    for (const int algorithm :
         {GCRY_MD_MD5, GCRY_MD_SHA1, GCRY_MD_SHA256, GCRY_MD_SHA384, GCRY_MD_SHA512}) {
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

Digests DigestSet::Finish() {
  Check(gcry_md_final(handle), "can't end a digest");
  Digests digests;
  Read(handle, GCRY_MD_MD5, digests.md5);
  Read(handle, GCRY_MD_SHA1, digests.sha1);
  Read(handle, GCRY_MD_SHA256, digests.sha256);
  Read(handle, GCRY_MD_SHA384, digests.sha384);
  Read(handle, GCRY_MD_SHA512, digests.sha512);
  return digests;
}

}  // namespace larder::feed
