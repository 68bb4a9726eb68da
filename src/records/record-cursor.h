// Walks over the chains and certificates of a file record (larder/records.h), and checks a record's
// structure. Needs the public headers alone.
#pragma once

#include <larder/records.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace larder {

// Visits each chain in order, and each certificate of the current chain:
//
//   for (RecordCursor cursor(bytes, size); cursor.NextChain();) {
//     while (cursor.NextCertificate()) Use(cursor.Certificate());
//   }
//
// The record may be at any address. The cursor points into it and owns no memory but the text of a
// fault. One thread at a time.
class RecordCursor {
 public:
  // record: one that ValidateFileDataRecord accepts. Its links are followed unchecked.
  explicit RecordCursor(const FileDataRecord& record) noexcept
      : start(reinterpret_cast<const unsigned char*>(&record)), size(kUnchecked) {}
  // Reads nothing beyond recordSize bytes, and stops at the first link that leads there or into the
  // record it comes from. Each certificate is visited once, so the walk always ends.
  RecordCursor(const void* record, std::size_t recordSize) noexcept
      : start(static_cast<const unsigned char*>(record)), size(recordSize) {}

  // False after the last one, and at a fault.
  bool NextChain();
  bool NextCertificate();

  // The current certificate: a CertDataRecord and, behind it, certSize bytes.
  [[nodiscard]] const void* Certificate() const noexcept { return start + certificateOffset; }

  // Where the last of the certificates visited so far ends, in bytes from the record's start.
  [[nodiscard]] std::uint64_t End() const noexcept { return end; }

  // Which link or size is wrong, and where; empty unless the walk stopped at a fault.
  [[nodiscard]] const std::string& Fault() const noexcept { return fault; }

 private:
  // 64 bits wide, so that a sum of 32-bit words of the record can't wrap.
  using Offset = std::uint64_t;
  static constexpr Offset kUnchecked = std::numeric_limits<Offset>::max();

  template <typename Record>
  bool Read(Offset offset, Record& record) const noexcept;
  bool Fail(const char* what, Offset offset, const char* problem);

  const unsigned char* start;
  Offset size;
  CertChainRecord chain{};
  Offset chainOffset = 0;  // 0 before the first chain
  Offset certificateOffset = 0;
  Offset nextCertificate = 0;  // 0 when the chain has no more
  Offset end = 0;              // of the certificates visited so far
  std::string fault;
};

// bytes: a FileDataRecord with its chains and certificates, at any address. size: the number of
// bytes that may be read. The record is its first dataSize bytes; what follows isn't read.
//
// Returns what is wrong and where, or empty text. A record is accepted if every chain and
// certificate begins after the end of the one before it and ends within dataSize. Unused bytes
// between and after them are allowed. providerType and the certificates' contents aren't checked.
// Linear time.
std::string ValidateFileDataRecord(const void* bytes, std::size_t size);

// The bytes of a record that its links lead to: up to the end of the last certificate, which may be
// before dataSize. record: one that ValidateFileDataRecord accepts.
std::size_t UsedSize(const void* record);

// Reads a value at any address, aligned or not.
template <typename Value>
Value ReadUnaligned(const void* source) noexcept {
  Value value;
  std::memcpy(&value, source, sizeof value);
  return value;
}

// Where the first word of a CertChainRecord or CertDataRecord leads: that many bytes further on, or
// null for 0. Nothing is checked.
const void* NextRecord(const void* record) noexcept;

}  // namespace larder
