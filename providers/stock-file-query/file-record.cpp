#include "stock-file-query/file-record.h"

#include <larder/feed-file.h>

#include <algorithm>
#include <cstring>

#include "common/file-id.h"
#include "common/file-query.h"
#include "stock-file-query/chain-records.h"
#include "stock-file-query/pe/certificate-table.h"

namespace larder::feed {
namespace {

template <typename Digest, std::size_t size>
void Set(std::uint8_t (&field)[size], const Digest& digest) {
  static_assert(sizeof(Digest) == size);
  std::copy(digest.begin(), digest.end(), field);
}

}  // namespace

DbBuffer MakeFileRecord(const FileFacts& facts) {
  FileDataRecord record{};
  record.providerType = LARDER_FEED_FILE_TYPE;
  record.fileId = FileIdOf(facts.info);
  Set(record.fileMD5, facts.digests.md5);
  Set(record.fileSHA1, facts.digests.sha1);
  Set(record.fileSHA256, facts.digests.sha256);
  Set(record.fileSHA384, facts.digests.sha384);
  Set(record.fileSHA512, facts.digests.sha512);
  const Digests image = facts.image.value_or(Digests());
  Set(record.peMD5, image.md5);
  Set(record.peSHA1, image.sha1);
  Set(record.peSHA256, image.sha256);
  Set(record.peSHA384, image.sha384);
  Set(record.peSHA512, image.sha512);
  std::vector<std::uint8_t> block(sizeof record);
  AppendChainRecords(ReadSignerChains(facts.signers), block);
  record.dataSize = static_cast<std::uint32_t>(block.size());
  std::memcpy(block.data(), &record, sizeof record);
  DbBuffer buffer;
  buffer.Copy(block.data(), block.size());
  return buffer;
}

}  // namespace larder::feed
