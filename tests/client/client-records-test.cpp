// Records of the file provider as the client layer reads and makes them.
#include <gtest/gtest.h>
#include <larder/client.hpp>

#include <cstring>
#include <random>

#include "records/record-cursor.h"

namespace larder {
namespace {

constexpr std::uint8_t kCertificates[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13};

// Sizes that put what follows at odd offsets.
const std::vector<Chain> kChains = {
    {{kCertificates, 3}, {kCertificates + 3, 4}, {}}, {{kCertificates, 13}}, {{kCertificates, 1}}};

std::vector<std::vector<std::vector<std::uint8_t>>> CopyOf(const std::vector<Chain>& chains) {
  std::vector<std::vector<std::vector<std::uint8_t>>> copy;
  for (const Chain& chain : chains) {
    copy.emplace_back();
    for (const auto& cert : chain) copy.back().emplace_back(cert.begin(), cert.end());
  }
  return copy;
}

TEST(ClientRecords, AMadeRecordIsValidAndHasItsChains) {
  FileDataRecord facts{};
  facts.fileSHA256[31] = 0xAB;
  const auto record = MakeFileRecord(facts, kChains);
  EXPECT_EQ(ValidateFileDataRecord(record.data(), record.size()), "");
  EXPECT_EQ(UsedSize(record.data()), record.size());
  EXPECT_EQ(CopyOf(FileChains(record)), CopyOf(kChains));

  const auto unsignedRecord = MakeFileRecord(facts, {});
  EXPECT_EQ(unsignedRecord.size(), 400U);
  EXPECT_EQ(ValidateFileDataRecord(unsignedRecord.data(), 400), "");
  EXPECT_TRUE(FileChains(unsignedRecord).empty());
}

// Whether the client layer refuses a record. It gets a copy at an odd address that ends where its
// memory ends, so that a sanitizer reports reads past the end.
bool IsRefused(const std::vector<std::byte>& record) {
  std::vector<std::byte> copy(record.size() + 1);
  std::copy(record.begin(), record.end(), copy.begin() + 1);
  try {
    static_cast<void>(FileChains(std::span(copy).subspan(1)));
    return false;
  } catch (const RecordError&) {
    return true;
  }
}

void SetSize(std::vector<std::byte>& record, std::size_t size) {
  record.resize(size);
  const auto dataSize = static_cast<std::uint32_t>(size);
  if (size >= sizeof dataSize) std::memcpy(record.data(), &dataSize, sizeof dataSize);
}

TEST(ClientRecords, RefusesWhatTheLibrarysOwnValidationRefuses) {
  const auto good = MakeFileRecord({}, kChains);
  const auto compare = [](const std::vector<std::byte>& record) {
    const std::string fault = ValidateFileDataRecord(record.data(), record.size());
    EXPECT_EQ(IsRefused(record), !fault.empty()) << fault;
    return !fault.empty();
  };
  for (std::size_t size = 0; size <= good.size(); ++size) {
    auto record = good;
    SetSize(record, size);
    compare(record);
  }
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same records in each run
  const std::uint32_t values[] = {0, 1, 7, 8, 9, 16, 24, 0x7FFFFFFF, 0xFFFFFFF8, 0xFFFFFFFF};
  int refused = 0;
  constexpr int kRounds = 20000;
  for (int round = 0; round < kRounds; ++round) {
    auto record = good;
    for (auto changes = 1 + random() % 3; changes > 0; --changes) {
      const std::size_t offset =
          sizeof(FileDataRecord) + random() % (good.size() - sizeof(FileDataRecord) - 3);
      const std::uint32_t value = random() % 2 == 0 ? values[random() % std::size(values)]
                                                    : static_cast<std::uint32_t>(random() % 64);
      std::memcpy(record.data() + offset, &value, sizeof value);
    }
    refused += compare(record) ? 1 : 0;
  }
  EXPECT_GT(refused, kRounds / 10);
  EXPECT_LT(refused, kRounds);
}

}  // namespace
}  // namespace larder
