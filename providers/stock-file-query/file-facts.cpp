#include "stock-file-query/file-facts.h"

#include <string>

#include "common/errors.h"
#include "platform/file-time.h"
#include "platform/message.h"
#include "platform/scoped-handle.h"
#include "stock-file-query/hash/file-hasher.h"
#include "stock-file-query/pe/certificate-table.h"
#include "stock-file-query/pe/image-layout.h"

namespace larder::feed {
namespace {

// The result of one pass; valid if the file hasn't changed meanwhile.
struct Reading {
  FileFacts facts;
  std::uint64_t bytesRead = 0;
  platform::FileInfo after;

  bool IsUnchanged() const { return bytesRead == facts.file.info.size && after == facts.file.info; }
};

void Check(const ObjectIdentity& wanted, platform::Code code) {
  if (code != platform::kSuccess) FailRead(wanted, platform::SystemReason(code));
}

// False if the file doesn't exist.
bool Open(const ObjectIdentity& wanted, platform::OwnedHandle& file) {
  platform::FileKind kind = platform::FileKind::kRegular;
  const platform::Code code = platform::OpenFileToRead(wanted.path, file.Out(), kind);
  if (!Exists(wanted, code)) return false;
  RequireRegular(wanted, kind);
  return true;
}

Reading ReadBytes(const platform::DigestLibrary& library, const ObjectIdentity& wanted,
                  platform::Handle file) {
  Reading reading;
  FileFacts& facts = reading.facts;
  const std::uint64_t& size = facts.file.info.size;
  Check(wanted, platform::QueryFileInfo(file, facts.file.info));
  RequireLastModified(wanted, facts.file.info);
  const auto readBlock = [&](std::uint64_t offset, void* buffer, std::size_t capacity) {
    std::size_t got = 0;
    Check(wanted, platform::ReadAt(file, offset, buffer, capacity, got));
    return got;
  };
  const auto readAt = [&](std::uint64_t offset, void* buffer, std::size_t capacity) {
    return readBlock(offset, buffer, capacity) == capacity;
  };
  const std::optional<ImageLayout> layout = ReadImageLayout(size, readAt);
  HashedFile hashed = HashFile(library, size, layout, readBlock);
  facts.digests = hashed.file;
  facts.image = hashed.image;
  reading.bytesRead = hashed.bytesRead;
  if (layout) facts.certificateTable = ReadCertificateTable(*layout, readAt);
  Check(wanted, platform::QueryFileInfo(file, reading.after));
  return reading;
}

// A program that writes during the pass either has the file open at one end of it, or has opened
// and closed it in between. In the second case the file has another change time afterwards.
Reading Read(const platform::DigestLibrary& library, const ObjectIdentity& wanted,
             platform::Handle file, std::uint64_t moment) {
  const bool isProven = platform::ProveNoWriter(file) == platform::kSuccess;
  Reading reading = ReadBytes(library, wanted, file);
  SeenFile& seen = reading.facts.file;
  seen.isStorable = isProven && seen.info.validity != platform::kNeverValid &&
                    IsSettled(seen.info, moment) &&
                    platform::ProveNoWriter(file) == platform::kSuccess;
  return reading;
}

[[noreturn]] void FailChangedDuringRead(const ObjectIdentity& wanted, const Reading& reading) {
  FailRead(wanted,
           "it changed while it was read, twice: " + std::to_string(reading.facts.file.info.size) +
               " bytes before, " + std::to_string(reading.after.size) + " after, " +
               std::to_string(reading.bytesRead) + " read");
}

}  // namespace

std::optional<FileFacts> ReadFileFacts(const platform::DigestLibrary& library,
                                       const ObjectIdentity& wanted) {
  for (bool again = false;; again = true) {
    const std::uint64_t moment = platform::FileStampTime();
    platform::OwnedHandle file;
    if (!Open(wanted, file)) return std::nullopt;
    const Reading reading = Read(library, wanted, file.Get(), moment);
    if (reading.IsUnchanged()) return reading.facts;
    if (again) FailChangedDuringRead(wanted, reading);
  }
}

}  // namespace larder::feed
