#include "tools/larder/find/record-match.h"

#include <larder/records.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "records/record-cursor.h"
#include "records/record-dump.h"
#include "tools/larder/cli/command.h"

namespace larder::tool {
namespace {

using Bytes = std::span<const unsigned char>;

struct Algorithm {
  const char* name;
  std::size_t size;  // of the digest in bytes
  std::size_t fileOffset;
  std::size_t imageOffset;
};

constexpr std::array<Algorithm, 5> kAlgorithms{{
    {"md5", 16, offsetof(FileDataRecord, fileMD5), offsetof(FileDataRecord, peMD5)},
    {"sha1", 20, offsetof(FileDataRecord, fileSHA1), offsetof(FileDataRecord, peSHA1)},
    {"sha256", 32, offsetof(FileDataRecord, fileSHA256), offsetof(FileDataRecord, peSHA256)},
    {"sha384", 48, offsetof(FileDataRecord, fileSHA384), offsetof(FileDataRecord, peSHA384)},
    {"sha512", 64, offsetof(FileDataRecord, fileSHA512), offsetof(FileDataRecord, peSHA512)},
}};

constexpr std::string_view kDigits = "0123456789abcdef";

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string Lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), &Lower);
  return text;
}

// The bytes of lower-case digits, an even number.
std::vector<unsigned char> BytesOf(const std::string& digits) {
  std::vector<unsigned char> bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(
        static_cast<unsigned char>(kDigits.find(digits[i]) << 4 | kDigits.find(digits[i + 1])));
  }
  return bytes;
}

const Algorithm& CheckedAlgorithm(const std::string& hex) {
  const bool isHex = Lowered(hex).find_first_not_of(kDigits) == std::string::npos;
  for (const Algorithm& one : kAlgorithms) {
    if (isHex && hex.size() == one.size * 2) return one;
  }
  throw UsageError("DIGEST", "not 32, 40, 64, 96 or 128 hexadecimal digits: " + hex);
}

// Searches the subjects of certificates for a text. Parsing a certificate takes much longer than
// reading it, and most files are signed by the same few: remembers what it has found.
class SubjectSearch {
 public:
  explicit SubjectSearch(const std::string& text) : lowered(Lowered(text)) {}

  // cert: a CertDataRecord with its bytes.
  bool Matches(const void* cert) {
    const std::size_t size = ReadUnaligned<CertDataRecord>(cert).certSize;
    if (size > kMaxKnownSize) return HasText(cert);
    if (known.size() == kMaxKnown) known.clear();
    const char* bytes = static_cast<const char*>(cert) + sizeof(CertDataRecord);
    const auto [place, isNew] = known.try_emplace(std::string(bytes, size));
    if (isNew) place->second = HasText(cert);
    return place->second;
  }

 private:
  static constexpr std::size_t kMaxKnown = 4096;
  static constexpr std::size_t kMaxKnownSize = 4096;  // bytes

  bool HasText(const void* cert) const {
    return Lowered(GetWholeCertSubject(cert)).find(lowered) != std::string::npos;
  }

  const std::string lowered;
  std::unordered_map<std::string, bool> known;  // by the certificate's bytes
};

bool HasSigner(Bytes record, SubjectSearch& search) {
  for (RecordCursor cursor(record.data(), record.size()); cursor.NextChain();) {
    while (cursor.NextCertificate()) {
      if (search.Matches(cursor.Certificate())) return true;
    }
  }
  return false;
}

}  // namespace

RecordMatch DigestMatch(const std::string& hex) {
  const Algorithm& algorithm = CheckedAlgorithm(hex);
  const std::vector<unsigned char> digest = BytesOf(Lowered(hex));
  // An image's digests are zero for any other file.
  const bool isZero = hex.find_first_not_of('0') == std::string::npos;
  return [algorithm, digest, isZero](Bytes record) -> std::string {
    const auto has = [&](std::size_t offset) {
      return std::memcmp(record.data() + offset, digest.data(), digest.size()) == 0;
    };
    if (record.size() < sizeof(FileDataRecord) || isZero) return {};
    if (has(algorithm.fileOffset)) return algorithm.name;
    return has(algorithm.imageOffset) ? std::string("pe-") + algorithm.name : "";
  };
}

RecordMatch SignerMatch(const std::string& text) {
  if (text.empty()) throw UsageError("--signer", "an empty text is in every name");
  static_cast<void>(WideArgument("--signer", text));
  return [search = SubjectSearch(text)](Bytes record) mutable -> std::string {
    return HasSigner(record, search) ? "signer" : "";
  };
}

}  // namespace larder::tool
