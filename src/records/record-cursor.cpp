#include "records/record-cursor.h"

#include <utility>

namespace larder {

bool RecordCursor::NextChain() {
  while (NextCertificate()) {  // an overlap shows only when the chain's end is known
  }
  if (!fault.empty()) return false;
  if (chainOffset == 0) {
    chainOffset = sizeof(FileDataRecord);
  } else {
    if (chain.nextChain == 0) return false;
    if (size != kUnchecked && chainOffset + chain.nextChain < end) {
      return Fail("chain", chainOffset, "overlaps the next one");
    }
    chainOffset += chain.nextChain;
  }
  if (!Read(chainOffset, chain)) return Fail("chain", chainOffset, "begins outside the record");
  nextCertificate = chainOffset + sizeof chain;
  return true;
}

bool RecordCursor::NextCertificate() {
  if (nextCertificate == 0) return false;
  certificateOffset = std::exchange(nextCertificate, 0);
  CertDataRecord certificate{};
  if (!Read(certificateOffset, certificate)) {
    return Fail("certificate", certificateOffset, "begins outside the record");
  }
  end = certificateOffset + sizeof certificate + certificate.certSize;
  if (end > size) {
    return Fail("certificate", certificateOffset, "reaches past the end of the record");
  }
  if (certificate.nextCert == 0) return true;
  nextCertificate = certificateOffset + certificate.nextCert;
  if (size != kUnchecked && nextCertificate < end) {
    return Fail("certificate", certificateOffset, "overlaps the next one");
  }
  return true;
}

template <typename Record>
bool RecordCursor::Read(Offset offset, Record& record) const noexcept {
  if (offset > size || size - offset < sizeof record) return false;
  record = ReadUnaligned<Record>(start + offset);
  return true;
}

bool RecordCursor::Fail(const char* what, Offset offset, const char* problem) {
  nextCertificate = 0;
  fault = std::string(what) + " at offset " + std::to_string(offset) + " " + problem;
  return false;
}

std::string ValidateFileDataRecord(const void* bytes, std::size_t size) {
  if (size < sizeof(FileDataRecord)) {
    return std::to_string(size) + " bytes are too few for a file record";
  }
  const auto dataSize = ReadUnaligned<FileDataRecord>(bytes).dataSize;
  if (dataSize > size) {
    return "dataSize is " + std::to_string(dataSize) + ", but there are only " +
           std::to_string(size) + " bytes";
  }
  RecordCursor cursor(bytes, dataSize);
  while (cursor.NextChain()) {
  }
  return cursor.Fault();
}

std::size_t UsedSize(const void* record) {
  RecordCursor cursor(record, ReadUnaligned<FileDataRecord>(record).dataSize);
  while (cursor.NextChain()) {
  }
  return cursor.End();
}

const void* NextRecord(const void* record) noexcept {
  const auto distance = ReadUnaligned<std::uint32_t>(record);
  return distance == 0 ? nullptr : static_cast<const unsigned char*>(record) + distance;
}

}  // namespace larder
