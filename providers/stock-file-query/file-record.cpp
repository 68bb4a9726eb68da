#include "stock-file-query/file-record.h"

#include <larder/feed-file.h>
#include <larder/records.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "common/file-query.h"

namespace larder::feed {
namespace {

template <typename Digest, std::size_t size>
void Set(std::uint8_t (&field)[size], const Digest& digest) {
  static_assert(sizeof(Digest) == size);
  std::copy(digest.begin(), digest.end(), field);
}

// Appends records of one kind and links each to the next.
template <typename Record>
class RecordList {
 public:
  RecordList(std::uint32_t Record::*nextLink, std::vector<std::uint8_t>& whole)
      : next(nextLink), block(whole) {}

  void Append(const Record& record) {
    block.resize((block.size() + 7) / 8 * 8);
    const std::size_t begin = block.size();
    block.resize(begin + sizeof record);
    std::memcpy(&block[begin], &record, sizeof record);
    if (last != kNone) Link(begin);
    last = begin;
  }

 private:
  void Link(std::size_t begin) {
    Record record;
    std::memcpy(&record, &block[last], sizeof record);
    record.*next = static_cast<std::uint32_t>(begin - last);
    std::memcpy(&block[last], &record, sizeof record);
  }

  static constexpr std::size_t kNone = ~std::size_t{0};
  std::uint32_t Record::*next;
  std::vector<std::uint8_t>& block;
  std::size_t last = kNone;  // where the last record begins
};

void AppendCertificates(const CertChain& chain, std::vector<std::uint8_t>& block) {
  RecordList<CertDataRecord> certificates(&CertDataRecord::nextCert, block);
  for (const Bytes bytes : chain) {
    certificates.Append({0, static_cast<std::uint32_t>(bytes.size())});
    block.insert(block.end(), bytes.begin(), bytes.end());
  }
}

}  // namespace

void AppendChainRecords(const std::vector<CertChain>& chains, std::vector<std::uint8_t>& block) {
  const std::vector<CertChain> none{CertChain(1)};
  RecordList<CertChainRecord> records(&CertChainRecord::nextChain, block);
  for (const CertChain& chain : chains.empty() ? none : chains) {
    records.Append({0, 0});
    AppendCertificates(chain, block);
  }
}

DbBuffer SerializeFileRecord(const FileFacts& facts, const std::vector<CertChain>& chains) {
  FileDataRecord record{};
  record.providerType = LARDER_FEED_FILE_TYPE;
  record.fileId = FileIdOf(facts.file.info);
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
  AppendChainRecords(chains, block);
  record.dataSize = static_cast<std::uint32_t>(block.size());
  std::memcpy(block.data(), &record, sizeof record);
  DbBuffer buffer;
  buffer.Copy(block.data(), block.size());
  return buffer;
}

}  // namespace larder::feed
