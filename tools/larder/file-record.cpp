#include "file-record.h"

#include <cstring>

namespace larder::tool {
namespace {

using Block = std::span<const unsigned char>;

// Offsets are 64 bits wide, so that a sum of two 32-bit words of the block can't wrap.
using Offset = std::uint64_t;

template <typename Record>
bool Take(Block block, Offset offset, Record& record) {
  if (offset > block.size() || block.size() - offset < sizeof record) return false;
  std::memcpy(&record, block.data() + offset, sizeof record);
  return true;
}

std::string Fault(const std::string& what, Offset offset, const std::string& fault) {
  return what + " at offset " + std::to_string(offset) + " " + fault;
}

// Reads the certificates from offset on, which is moved to the end of the last one.
std::string ReadChain(Block block, Offset& offset, std::vector<std::uint32_t>& sizes) {
  for (;;) {
    CertDataRecord cert{};
    if (!Take(block, offset, cert)) return Fault("certificate", offset, "begins outside the block");
    const Offset length = sizeof cert + Offset{cert.certSize};
    if (block.size() - offset < length) {
      return Fault("certificate", offset, "reaches past the end of the block");
    }
    sizes.push_back(cert.certSize);
    if (cert.nextCert == 0) {
      offset += length;
      return {};
    }
    if (cert.nextCert < length) return Fault("certificate", offset, "overlaps the next one");
    offset += cert.nextCert;
  }
}

}  // namespace

std::string ReadFileRecord(Block block, FileRecord& record) {
  record.chains.clear();
  if (!Take(block, 0, record.facts)) {
    return std::to_string(block.size()) + " bytes are too few for a file record";
  }
  for (Offset offset = sizeof record.facts;;) {
    CertChainRecord chain{};
    if (!Take(block, offset, chain)) return Fault("chain", offset, "begins outside the block");
    Offset end = offset + sizeof chain;
    std::string fault = ReadChain(block, end, record.chains.emplace_back());
    if (!fault.empty()) return fault;
    if (chain.nextChain == 0) return {};
    if (offset + chain.nextChain < end) return Fault("chain", offset, "overlaps the next one");
    offset += chain.nextChain;
  }
}

}  // namespace larder::tool
