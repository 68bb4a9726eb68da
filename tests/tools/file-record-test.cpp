#include "file-record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace larder::tool {
namespace {

constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kFirstChain = 384;
constexpr std::size_t kFirstCert = 392;

using Bytes = std::vector<unsigned char>;

// A block of the size given, zero but for the words that are put into it.
class Block {
 public:
  explicit Block(std::size_t size) : bytes(size) {}

  Block& Put(std::size_t offset, std::uint32_t first, std::uint32_t second) {
    std::memcpy(bytes.data() + offset, &first, sizeof first);
    std::memcpy(bytes.data() + offset + sizeof first, &second, sizeof second);
    return *this;
  }

  // What is wrong with it. A copy of exactly its size, so that the address sanitizer sees a read
  // behind it.
  std::string Fault() {
    const Bytes copy(bytes);
    return ReadFileRecord(copy, record);
  }

  FileRecord record;

 private:
  Bytes bytes;
};

TEST(FileRecordTest, TheSmallestRecordHasOneChainWithOneEmptyCertificate) {
  Block block(400);
  EXPECT_EQ(block.Fault(), "");
  EXPECT_EQ(block.record.chains, (std::vector<std::vector<std::uint32_t>>{{0}}));
}

TEST(FileRecordTest, EveryShorterBlockIsRefused) {
  for (std::size_t size = 0; size < 400; ++size) EXPECT_NE(Block(size).Fault(), "") << size;
}

TEST(FileRecordTest, LinksAreFollowedToTheLastByte) {
  Block block(384 + 8 + 16 + 11 + 8 + 9);
  block.Put(kFirstChain, 8 + 16 + 11, 0).Put(kFirstCert, 16, 8).Put(kFirstCert + 16, 0, 3);
  block.Put(kFirstChain + 35 + 8, 0, 1);
  EXPECT_EQ(block.Fault(), "");
  EXPECT_EQ(block.record.chains, (std::vector<std::vector<std::uint32_t>>{{8, 3}, {1}}));
}

TEST(FileRecordTest, ACertificateEndsInsideTheBlock) {
  EXPECT_EQ(Block(405).Put(kFirstCert, 0, 5).Fault(), "");
  EXPECT_EQ(Block(404).Put(kFirstCert, 0, 5).Fault(),
            "certificate at offset 392 reaches past the end of the block");
  EXPECT_NE(Block(400).Put(kFirstCert, 0, kMax).Fault(), "");
  EXPECT_NE(Block(400).Put(kFirstCert, 0, kMax - 7).Fault(), "");
}

TEST(FileRecordTest, ALinkOutOfTheBlockIsRefused) {
  for (const std::uint32_t link : {9U, 16U, 1000U, kMax - 391, kMax}) {
    EXPECT_NE(Block(408).Put(kFirstCert, link, 0).Fault(), "") << link;
    EXPECT_NE(Block(408).Put(kFirstChain, link + 8 < link ? link : link + 8, 0).Fault(), "")
        << link;
  }
}

TEST(FileRecordTest, ALinkIntoItsOwnRecordIsRefused) {
  EXPECT_EQ(Block(500).Put(kFirstCert, 8, 1).Fault(),
            "certificate at offset 392 overlaps the next one");
  for (std::uint32_t link = 1; link < 8; ++link) {
    EXPECT_NE(Block(500).Put(kFirstCert, link, 0).Fault(), "") << link;
  }
  for (std::uint32_t link = 1; link < 16; ++link) {
    EXPECT_EQ(Block(500).Put(kFirstChain, link, 0).Fault(),
              "chain at offset 384 overlaps the next one")
        << link;
  }
}

TEST(FileRecordTest, AChainThatSharesTheNextOnesCertificatesIsRefused) {
  Block block(600);
  block.Put(kFirstCert, 100, 0).Put(kFirstChain, 50, 0);
  EXPECT_EQ(block.Fault(), "chain at offset 384 overlaps the next one");
}

TEST(FileRecordTest, AHugeBlockOfTheSmallestRecordsIsReadInOnePass) {
  constexpr std::size_t kChains = 200000;
  Block block(384 + 16 * kChains);
  for (std::size_t i = 0; i + 1 < kChains; ++i) block.Put(kFirstChain + 16 * i, 16, 0);
  EXPECT_EQ(block.Fault(), "");
  EXPECT_EQ(block.record.chains.size(), kChains);
}

}  // namespace
}  // namespace larder::tool
