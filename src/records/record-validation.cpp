#include "records/record-validation.h"

#include <larder/records.h>

#include <cstdint>
#include <cstring>

namespace larder {
namespace {

// 64 bits wide, so that a sum of two 32-bit words of the record can't wrap.
using Offset = std::uint64_t;

struct Block {
  const unsigned char* start;
  Offset size;

  template <typename Record>
  bool Read(Offset offset, Record& record) const {
    if (offset > size || size - offset < sizeof record) return false;
    std::memcpy(&record, start + offset, sizeof record);
    return true;
  }
};

std::string Fault(const char* what, Offset offset, const char* fault) {
  return std::string(what) + " at offset " + std::to_string(offset) + " " + fault;
}

// offset: of the first certificate; moved to the end of the last one.
std::string FaultInCertificates(const Block& block, Offset& offset) {
  for (;;) {
    CertDataRecord cert{};
    if (!block.Read(offset, cert)) {
      return Fault("certificate", offset, "begins outside the record");
    }
    const Offset length = sizeof cert + Offset{cert.certSize};
    if (block.size - offset < length) {
      return Fault("certificate", offset, "reaches past the end of the record");
    }
    if (cert.nextCert == 0) {
      offset += length;
      return {};
    }
    if (cert.nextCert < length) return Fault("certificate", offset, "overlaps the next one");
    offset += cert.nextCert;
  }
}

std::string FaultInChains(const Block& block) {
  for (Offset offset = sizeof(FileDataRecord);;) {
    CertChainRecord chain{};
    if (!block.Read(offset, chain)) return Fault("chain", offset, "begins outside the record");
    Offset end = offset + sizeof chain;
    std::string fault = FaultInCertificates(block, end);
    if (!fault.empty()) return fault;
    if (chain.nextChain == 0) return {};
    offset += chain.nextChain;
    if (offset < end) return Fault("chain", offset - chain.nextChain, "overlaps the next one");
  }
}

}  // namespace

std::string ValidateFileDataRecord(const void* bytes, std::size_t size) {
  Block block{static_cast<const unsigned char*>(bytes), size};
  FileDataRecord record{};
  if (!block.Read(0, record)) {
    return std::to_string(size) + " bytes are too few for a file record";
  }
  if (record.dataSize > size) {
    return "dataSize is " + std::to_string(record.dataSize) + ", but there are only " +
           std::to_string(size) + " bytes";
  }
  block.size = record.dataSize;
  return FaultInChains(block);
}

}  // namespace larder
