// Reading any file's image layout and signer chains neither crashes nor hangs, and the results are
// inside the file.
#include <cstdlib>
#include <cstring>

#include "stock-file-query/file-record.h"
#include "stock-file-query/pe/certificate-table.h"
#include "stock-file-query/pe/image-layout.h"

namespace {

using larder::feed::Bytes;

void Require(bool good) {
  if (!good) std::abort();
}

void TryTable(Bytes table) {
  const auto chains = larder::feed::ReadSignerChains(table);
  std::size_t held = 0;
  for (const auto& chain : chains) {
    Require(!chain.empty());
    for (const Bytes certificate : chain) {
      Require(certificate.data() >= table.data());
      Require(certificate.data() + certificate.size() <= table.data() + table.size());
      held += certificate.size();
    }
  }
  Require(held <= larder::feed::kMaxChainBytes);
  std::vector<std::uint8_t> block(384);
  larder::feed::AppendChainRecords(chains, block);
  Require(block.size() >= 400 + held);
}

void TryImage(Bytes file) {
  const auto readAt = [&](std::uint64_t offset, void* buffer, std::size_t size) {
    Require(offset <= file.size() && size <= file.size() - offset);
    std::memcpy(buffer, file.data() + offset, size);
    return true;
  };
  const auto layout = larder::feed::ReadImageLayout(file.size(), readAt);
  if (!layout) return;
  std::size_t covered = 0;
  larder::feed::FeedCovered(*layout, 0, file, [&](Bytes part) { covered += part.size(); });
  const std::uint64_t table = layout->table.Size();
  Require(covered + table + 4 == file.size() || covered + table + 12 == file.size());
  Require(table > 0 ? layout->padding == 0 : (file.size() + layout->padding) % 8 == 0);
  TryTable(larder::feed::ReadCertificateTable(*layout, readAt));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
  TryImage({bytes, size});
  TryTable({bytes, size});
  return 0;
}
