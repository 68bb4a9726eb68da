#include "feed-file/feed-file-provider.h"

#include <optional>
#include <stdexcept>

#include "common/object-identity.h"
#include "feed-file/digest-set.h"
#include "feed-file/file-facts.h"
#include "feed-file/file-record.h"

namespace larder::feed {

FeedFileProvider::FeedFileProvider() { PrepareDigests(); }

std::int32_t FeedFileProvider::GetType() { return kFileProviderType; }

void FeedFileProvider::GetKey(const void* objectDescriptor, std::uint64_t* key) {
  *key = KeyOf(ReadDescriptor(objectDescriptor));
}

void FeedFileProvider::Query(const void* objectDescriptor, std::uint32_t, std::uint64_t*,
                             DbBuffer* result) {
  const std::optional<FileFacts> facts = ReadFileFacts(ReadDescriptor(objectDescriptor));
  if (facts) *result = MakeFileRecord(*facts);
}

void FeedFileProvider::FreeQuery(DbBuffer* data) { data->Reset(); }

void FeedFileProvider::Write(const void* objectDescriptor, std::uint64_t*, DbBuffer*) {
  throw std::runtime_error("Can't write " + Quoted(ReadDescriptor(objectDescriptor).path) +
                           ": the file provider stores nothing yet");
}

}  // namespace larder::feed
