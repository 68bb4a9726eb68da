// Builds the file provider's records for tests.
#pragma once

#include <larder/records.h>

#include <cstring>
#include <vector>

namespace larder {

using RecordBytes = std::vector<unsigned char>;

template <typename Record>
void AppendRecord(RecordBytes& bytes, const Record& record) {
  const auto* start = reinterpret_cast<const unsigned char*>(&record);
  bytes.insert(bytes.end(), start, start + sizeof record);
}

// facts followed by the chains, without gaps: a certificate of odd size puts what follows at an odd
// offset. Each chain has at least one certificate. Sets dataSize.
inline RecordBytes FileRecordBytes(FileDataRecord facts,
                                   const std::vector<std::vector<RecordBytes>>& chains) {
  RecordBytes bytes;
  AppendRecord(bytes, facts);
  for (std::size_t i = 0; i < chains.size(); ++i) {
    const std::size_t chainStart = bytes.size();
    AppendRecord(bytes, CertChainRecord{});
    for (std::size_t j = 0; j < chains[i].size(); ++j) {
      const auto size = static_cast<std::uint32_t>(chains[i][j].size());
      const auto length = static_cast<std::uint32_t>(sizeof(CertDataRecord) + size);
      AppendRecord(bytes, CertDataRecord{j + 1 < chains[i].size() ? length : 0, size});
      bytes.insert(bytes.end(), chains[i][j].begin(), chains[i][j].end());
    }
    const auto length = static_cast<std::uint32_t>(bytes.size() - chainStart);
    if (i + 1 < chains.size()) std::memcpy(bytes.data() + chainStart, &length, sizeof length);
  }
  facts.dataSize = static_cast<std::uint32_t>(bytes.size());
  std::memcpy(bytes.data(), &facts, sizeof facts);
  return bytes;
}

}  // namespace larder
