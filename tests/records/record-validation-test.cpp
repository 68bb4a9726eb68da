#include "records/record-cursor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

namespace larder {
namespace {

constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kFirstChain = 384;
constexpr std::size_t kFirstCert = 392;
constexpr char kCertificatePastEnd[] =
    "certificate at offset 392 reaches past the end of the record";
constexpr char kCertificateOverlaps[] = "certificate at offset 392 overlaps the next one";
constexpr char kChainOverlaps[] = "chain at offset 384 overlaps the next one";

// A record of the given size: zeros, its size in the header, and the words that Put writes.
class Record {
 public:
  explicit Record(std::size_t size) : bytes(size) {
    if (size >= 8) Put(0, static_cast<std::uint32_t>(size), 1);
  }

  Record& Put(std::size_t offset, std::uint32_t first, std::uint32_t second) {
    std::memcpy(bytes.data() + offset, &first, sizeof first);
    std::memcpy(bytes.data() + offset + sizeof first, &second, sizeof second);
    return *this;
  }

  // What the validation returns. It gets a copy that ends where its memory ends, at an odd address,
  // so that the sanitizers report reads past the end and unaligned ones.
  [[nodiscard]] std::string Fault() const {
    std::vector<unsigned char> copy(1 + bytes.size());
    std::copy(bytes.begin(), bytes.end(), copy.begin() + 1);
    return ValidateFileDataRecord(copy.data() + 1, bytes.size());
  }

 private:
  std::vector<unsigned char> bytes;
};

TEST(RecordValidationTest, TheSmallestRecordHasOneChainWithOneEmptyCertificate) {
  EXPECT_EQ(Record(400).Fault(), "");
  for (std::size_t size = 0; size < 400; ++size) EXPECT_NE(Record(size).Fault(), "") << size;
}

TEST(RecordValidationTest, TheRecordEndsWhereItsSizeSays) {
  EXPECT_EQ(Record(400).Put(0, 401, 1).Fault(), "dataSize is 401, but there are only 400 bytes");
  EXPECT_EQ(Record(500).Put(0, 400, 1).Fault(), "");
  EXPECT_EQ(Record(500).Put(0, 400, 1).Put(kFirstCert, 0, 1).Fault(), kCertificatePastEnd);
  EXPECT_EQ(Record(500).Put(0, 384, 1).Fault(), "chain at offset 384 begins outside the record");
}

TEST(RecordValidationTest, LinksAndCertificatesMayReachTheLastByteAndNotFurther) {
  Record record(384 + 8 + 16 + 11 + 8 + 9);
  record.Put(kFirstChain, 8 + 16 + 11, 0).Put(kFirstCert, 16, 8).Put(kFirstCert + 16, 0, 3);
  record.Put(kFirstChain + 35 + 8, 0, 1);
  EXPECT_EQ(record.Fault(), "");
  EXPECT_EQ(Record(record).Put(kFirstCert + 16, 0, 4).Fault(), kChainOverlaps);
  EXPECT_EQ(Record(record).Put(kFirstChain + 35 + 8, 0, 2).Fault(),
            "certificate at offset 427 reaches past the end of the record");
  for (const std::uint32_t size : {kMax, kMax - 7}) {
    EXPECT_EQ(Record(408).Put(kFirstCert, 0, size).Fault(), kCertificatePastEnd) << size;
  }
}

TEST(RecordValidationTest, ALinkOutOfTheRecordOrIntoItsOwnRecordIsRefused) {
  for (const std::uint32_t link : {9U, kMax - 391, kMax}) {
    EXPECT_NE(Record(408).Put(kFirstCert, link, 0).Fault(), "") << link;
    EXPECT_NE(Record(408).Put(kFirstChain, link == 9 ? 17 : link, 0).Fault(), "") << link;
  }
  for (std::uint32_t link = 1; link < 16; ++link) {
    EXPECT_EQ(Record(500).Put(kFirstCert, link, 8).Fault(), kCertificateOverlaps) << link;
    EXPECT_EQ(Record(500).Put(kFirstChain, link, 0).Fault(), kChainOverlaps) << link;
  }
  // A chain that shares the next one's certificates.
  EXPECT_EQ(Record(600).Put(kFirstCert, 100, 0).Put(kFirstChain, 50, 0).Fault(), kChainOverlaps);
}

TEST(RecordValidationTest, AHugeRecordOfTheSmallestChainsIsReadInOnePass) {
  constexpr std::size_t kChains = 200000;
  Record record(384 + 16 * kChains);
  for (std::size_t i = 0; i + 1 < kChains; ++i) record.Put(kFirstChain + 16 * i, 16, 0);
  EXPECT_EQ(record.Fault(), "");
}

}  // namespace
}  // namespace larder
