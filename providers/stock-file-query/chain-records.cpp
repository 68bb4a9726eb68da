#include "stock-file-query/chain-records.h"

#include <larder/records.h>

#include <cstddef>
#include <cstring>

namespace larder::feed {
namespace {

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

}  // namespace larder::feed
