#include "soak/content.h"

#include <cstdio>
#include <random>
#include <stdexcept>

#include "platform/digest.h"

namespace larder::soak {

std::string MakeContent(std::uint64_t seed, std::size_t size) {
  std::mt19937_64 random(seed);
  std::string content(size, '\0');
  for (char& byte : content) byte = static_cast<char>(random());
  return content;
}

Sha256 DigestOf(std::string_view bytes) {
  static const platform::AutoDigestLibrary library = platform::OpenDigestLibrary();
  Sha256 result{};
  if (library != nullptr) {
    const auto digest = platform::StartDigest(*library, platform::DigestKind::kSha256);
    if (digest != nullptr && platform::AddToDigest(*digest, bytes.data(), bytes.size()) &&
        platform::FinishDigest(*digest, result))
      return result;
  }
  throw std::runtime_error("the system can't compute a digest");
}

std::string Short(const Sha256& digest) {
  std::array<char, 17> text{};
  for (std::size_t i = 0; i < 8; ++i) std::snprintf(&text[i * 2], 3, "%02x", digest[i]);
  return text.data();
}

}  // namespace larder::soak
