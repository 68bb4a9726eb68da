// Certificate chains in a file's record, byte for byte.
#include "stock-file-query/file-record.h"

#include <gtest/gtest.h>

#include <cstring>

#include "providers/made-image.h"

namespace larder::feed {
namespace {

// The two numbers of a chain's or a certificate's record.
std::string Head(std::uint32_t first, std::uint32_t second) {
  const std::uint32_t numbers[] = {first, second};
  return {reinterpret_cast<const char*>(numbers), sizeof numbers};
}

std::string Records(const std::vector<CertChain>& chains) {
  std::vector<std::uint8_t> block(384, 0xcc);
  AppendChainRecords(chains, block);
  const std::string text = TextOf(block);
  EXPECT_EQ(text.substr(0, 384), std::string(384, '\xcc'));
  return text.substr(384);
}

TEST(ChainRecordsTest, AreLinkedAndBeginAtMultiplesOfEight) {
  const std::string one = "1";
  const std::string eight = "eight by";
  const std::string nine = "nine byte";
  EXPECT_EQ(Records({{BytesOf(one), BytesOf(eight)}, {BytesOf(nine)}, {BytesOf(one)}}),
            Head(40, 0) + Head(16, 1) + one + std::string(7, '\0') + Head(0, 8) + eight +
                Head(32, 0) + Head(0, 9) + nine + std::string(7, '\0') + Head(0, 0) + Head(0, 1) +
                one);
  EXPECT_EQ(Records({}), Head(0, 0) + Head(0, 0)) << "one empty certificate without a chain";
}

}  // namespace
}  // namespace larder::feed
