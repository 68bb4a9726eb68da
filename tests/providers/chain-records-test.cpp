// Certificate chains in a file's record, read back along the links.
#include "stock-file-query/chain-records.h"

#include <gtest/gtest.h>
#include <larder/records.h>

#include <cstring>

#include "providers/made-image.h"

namespace larder::feed {
namespace {

using Block = std::vector<std::uint8_t>;

template <typename Record>
Record RecordAt(const Block& block, std::size_t offset) {
  EXPECT_EQ(offset % 8, 0u);
  Record record{};
  if (offset + sizeof record > block.size()) {
    ADD_FAILURE() << "a record leads out of the block";
  } else {
    std::memcpy(&record, &block[offset], sizeof record);
  }
  return record;
}

// end: where the last certificate ends.
std::vector<std::string> CertificatesAt(const Block& block, std::size_t offset, std::size_t& end) {
  std::vector<std::string> certificates;
  for (;;) {
    const auto record = RecordAt<CertDataRecord>(block, offset);
    end = offset + sizeof record + record.certSize;
    if (end > block.size()) return {"leads out of the block"};
    certificates.emplace_back(block.begin() + static_cast<std::ptrdiff_t>(offset + sizeof record),
                              block.begin() + static_cast<std::ptrdiff_t>(end));
    if (record.nextCert == 0) return certificates;
    offset += record.nextCert;
  }
}

// The chains from there on; checks that the block ends with the last certificate.
std::vector<std::vector<std::string>> ChainsAt(const Block& block, std::size_t offset) {
  std::vector<std::vector<std::string>> chains;
  std::size_t end = 0;
  for (;;) {
    const auto record = RecordAt<CertChainRecord>(block, offset);
    chains.push_back(CertificatesAt(block, offset + sizeof record, end));
    if (record.nextChain == 0) break;
    offset += record.nextChain;
  }
  EXPECT_EQ(end, block.size());
  return chains;
}

TEST(ChainRecordsTest, HoldTheCertificatesOfEachChain) {
  const std::vector<std::vector<std::string>> texts{
      {"1", "22", std::string(1000, 'x')}, {"eight by"}, {"1234567", "123456789"}};
  std::vector<CertChain> chains;
  for (const auto& chain : texts) {
    chains.emplace_back();
    for (const std::string& text : chain) chains.back().push_back(BytesOf(text));
  }
  Block block(384, 0xcc);
  AppendChainRecords(chains, block);
  EXPECT_EQ(ChainsAt(block, 384), texts);
  EXPECT_EQ(Block(block.begin(), block.begin() + 384), Block(384, 0xcc));
}

TEST(ChainRecordsTest, AreOneEmptyCertificateWithoutAChain) {
  Block block(384, 0xcc);
  AppendChainRecords({}, block);
  Block expected(384, 0xcc);
  expected.resize(400);
  EXPECT_EQ(block, expected);
}

}  // namespace
}  // namespace larder::feed
