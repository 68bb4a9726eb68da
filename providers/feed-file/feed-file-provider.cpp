#include "feed-file/feed-file-provider.h"

#include <larder/feed-file.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "common/errors.h"
#include "feed-file/shared-store.h"
#include "platform/cancellation.h"
#include "platform/file-time.h"
#include "platform/file.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/scoped-handle.h"
#include "records/record-cursor.h"

namespace larder::feed {
namespace {

[[noreturn]] void FailWrite(const ObjectIdentity& wanted, const std::string& reason) {
  throw std::runtime_error("Can't store facts about " + Quoted(wanted.path) + ": " + reason);
}

void CheckBlock(const ObjectIdentity& wanted, const DbBuffer& block) {
  const std::string fault = ValidateFileDataRecord(block.data, block.size);
  if (!fault.empty()) FailWrite(wanted, fault);
  DataBlockHeader header{};
  std::memcpy(&header, block.data, sizeof header);
  if (header.providerType == LARDER_FEED_FILE_TYPE) return;
  FailWrite(wanted, "its providerType is " + std::to_string(header.providerType) + ", not " +
                        std::to_string(LARDER_FEED_FILE_TYPE));
}

void OpenWrittenFile(const ObjectIdentity& wanted, platform::OwnedHandle& file) {
  platform::FileKind kind{};
  if (!Exists(wanted, platform::OpenFileToRead(wanted.path, file.Out(), kind))) {
    FailWrite(wanted, "there is no such file");
  }
  RequireRegular(wanted, kind);
}

void CheckNoWriter(const ObjectIdentity& wanted, platform::Handle file) {
  const platform::Code code = platform::ProveNoWriter(file);
  if (code == platform::kSuccess) return;
  if (code == platform::kSharingViolation) {
    FailWrite(wanted, "a program has the file open for writing, or mapped");
  }
  FailWrite(wanted, "the system doesn't say whether a program is writing to the file: " +
                        platform::SystemReason(code));
}

// The current state of the file that a written block is about.
platform::FileInfo QueryWrittenFile(const ObjectIdentity& wanted) {
  const std::uint64_t moment = platform::FileStampTime();
  platform::OwnedHandle file;
  OpenWrittenFile(wanted, file);
  platform::FileInfo info;
  if (const platform::Code code = platform::QueryFileInfo(file.Get(), info);
      code != platform::kSuccess) {
    FailRead(wanted, platform::SystemReason(code));
  }
  RequireLastModified(wanted, info);
  if (info.validity == platform::kNeverValid) {
    FailWrite(wanted, "its file system isn't known to record every change");
  }
  if (!IsSettled(info, moment)) FailWrite(wanted, "the file was changed only a moment ago");
  CheckNoWriter(wanted, file.Get());
  return info;
}

RecordView ViewOf(const DbBuffer& block) { return {block.data, block.size}; }

}  // namespace

FeedFileProvider::FeedFileProvider() : query(QueryModulePath()), store(SharedStore()) {}

std::int32_t FeedFileProvider::GetType() { return LARDER_FEED_FILE_TYPE; }

void FeedFileProvider::GetKey(const void* objectDescriptor, std::uint64_t* key) {
  const ObjectIdentity wanted = ReadDescriptor(objectDescriptor);
  WideString memory;
  *key = StoreKey(platform::FoldCase(wanted.path, memory));
}

void FeedFileProvider::Query(const void* objectDescriptor, std::uint32_t queryOption,
                             std::uint64_t*, DbBuffer* result) {
  const platform::CancellationBlock noCancellation;  // it would leave locks of the store held
  const ObjectIdentity wanted = ReadDescriptor(objectDescriptor);
  switch (queryOption) {
    case LARDER_FEED_FILE_NOW:
      if (!FindStored(wanted, result)) Compute(wanted, result);
      return;
    case LARDER_FEED_FILE_STORED:
      FindStored(wanted, result);
      return;
    case LARDER_FEED_FILE_AFRESH:
      Compute(wanted, result);
      return;
    default:
      throw std::invalid_argument("The file provider has no query option " +
                                  std::to_string(queryOption) + "; it must be 0, 1 or 2");
  }
}

bool FeedFileProvider::FindStored(const ObjectIdentity& wanted, DbBuffer* result) {
  platform::FileInfo info;
  platform::FileKind kind{};
  if (!Exists(wanted, platform::QueryPathInfo(wanted.path, info, kind))) return false;
  RequireRegular(wanted, kind);
  RequireLastModified(wanted, info);
  return store->Find({wanted.path, info}, result);
}

void FeedFileProvider::Compute(const ObjectIdentity& wanted, DbBuffer* result) {
  SeenFile seen;
  if (!query->Query(wanted, &seen, result)) return;
  store->CountComputed();
  if (seen.isStorable) {
    store->Keep({wanted.path, seen.info}, ViewOf(*result));
  } else {
    store->CountRefused();
  }
}

void FeedFileProvider::FreeQuery(DbBuffer* data) { data->Reset(); }

void FeedFileProvider::Write(const void* objectDescriptor, std::uint64_t*, DbBuffer* data) {
  const platform::CancellationBlock noCancellation;
  const ObjectIdentity wanted = ReadDescriptor(objectDescriptor);
  try {
    CheckBlock(wanted, *data);
    const platform::FileInfo info = QueryWrittenFile(wanted);
    const std::uint64_t fileId = FileIdOf(info);
    std::memcpy(data->data + offsetof(FileDataRecord, fileId), &fileId, sizeof fileId);
    try {
      store->KeepNow({wanted.path, info}, ViewOf(*data));
    } catch (const std::runtime_error& error) {
      FailWrite(wanted, error.what());
    }
  } catch (...) {
    store->CountRefused();
    throw;
  }
}

}  // namespace larder::feed

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) {
  *out = new larder::feed::FeedFileProvider;
}

LARDER_PROVIDER_EXPORT void GetFileFigures(larder::feed::FileFigures* out) {
  *out = larder::feed::SharedFigures();
}

LARDER_PROVIDER_EXPORT void VisitStoredRecords(const larder::StoredRecordVisitor& visit) {
  larder::feed::VisitShared(visit);
}
