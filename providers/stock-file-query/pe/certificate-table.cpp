#include "stock-file-query/pe/certificate-table.h"

#include <algorithm>
#include <utility>

namespace larder::feed {
namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTypeOffset = 6;
constexpr std::uint32_t kPkcsSignedData = 2;

// Adds the signature and those nested in it.
void AddSignature(Bytes bytes, int depth, std::vector<SignedData>& signatures) {
  if (signatures.size() == kMaxSignatures) return;
  std::optional<SignedData> signature = ReadSignedData(bytes);
  if (!signature) return;
  const std::vector<Bytes> nested = signature->nestedSignatures;
  signatures.push_back(std::move(*signature));
  if (depth == kMaxNestingDepth) return;
  for (const Bytes inner : nested) AddSignature(inner, depth + 1, signatures);
}

std::size_t SizeOf(const CertChain& chain) {
  std::size_t size = 0;
  for (const Bytes certificate : chain) size += certificate.size();
  return size;
}

}  // namespace

std::vector<std::uint8_t> ReadCertificateTable(const ImageLayout& layout, const ReadAt& readAt) {
  std::vector<std::uint8_t> table(std::min(layout.table.Size(), kMaxTableBytes));
  if (!table.empty() && !readAt(layout.table.begin, table.data(), table.size())) table.clear();
  return table;
}

std::vector<SignedData> ReadSignatures(Bytes table) {
  std::vector<SignedData> signatures;
  for (std::size_t entries = 0; entries < kMaxEntries && table.size() >= kHeaderSize; ++entries) {
    const std::uint64_t size = ReadLittleEndian(table, 0, 4);
    if (size < kHeaderSize) break;
    const Bytes entry = table.first(std::min<std::uint64_t>(size, table.size()));
    if (ReadLittleEndian(entry, kTypeOffset, 2) == kPkcsSignedData) {
      AddSignature(entry.subspan(kHeaderSize), 1, signatures);
    }
    const std::uint64_t step = (size + 7) / 8 * 8;
    table = table.subspan(std::min<std::uint64_t>(step, table.size()));
  }
  return signatures;
}

std::vector<CertChain> ReadSignerChains(Bytes table) {
  std::vector<CertChain> all;
  std::size_t bytes = 0;
  for (const SignedData& signature : ReadSignatures(table)) {
    for (CertChain& chain : ChainsOf(signature)) {
      bytes += SizeOf(chain);
      if (all.size() == kMaxChains || bytes > kMaxChainBytes) return all;
      all.push_back(std::move(chain));
    }
  }
  return all;
}

}  // namespace larder::feed
