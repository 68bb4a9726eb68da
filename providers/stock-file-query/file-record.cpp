#include "stock-file-query/file-record.h"

#include <algorithm>
#include <cstring>

#include "common/file-query.h"

namespace larder::feed {
namespace {

struct WholeRecord {
  FileDataRecord file;
  CertChainRecord chain;
  CertDataRecord certificate;
};
static_assert(sizeof(WholeRecord) == 400);

// The volume is spread over all bits, so that files of two volumes with one number differ.
std::uint64_t FileId(const platform::FileInfo& info) {
  return info.index ^ (info.volume * 0x9E3779B97F4A7C15u);
}

template <typename Digest, std::size_t size>
void Set(std::uint8_t (&field)[size], const Digest& digest) {
  static_assert(sizeof(Digest) == size);
  std::copy(digest.begin(), digest.end(), field);
}

}  // namespace

DbBuffer MakeFileRecord(const FileFacts& facts) {
  WholeRecord record{};
  record.file.dataSize = sizeof record;
  record.file.providerType = kFileProviderType;
  record.file.fileId = FileId(facts.info);
  Set(record.file.fileMD5, facts.digests.md5);
  Set(record.file.fileSHA1, facts.digests.sha1);
  Set(record.file.fileSHA256, facts.digests.sha256);
  Set(record.file.fileSHA384, facts.digests.sha384);
  Set(record.file.fileSHA512, facts.digests.sha512);
  DbBuffer buffer(sizeof record);
  std::memcpy(buffer.data, &record, sizeof record);
  return buffer;
}

}  // namespace larder::feed
