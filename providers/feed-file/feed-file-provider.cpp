#include "feed-file/feed-file-provider.h"

#include <stdexcept>

#include "common/object-identity.h"
#include "feed-file/query-module-path.h"

namespace larder::feed {

FeedFileProvider::FeedFileProvider() : query(QueryModulePath()) {}

std::int32_t FeedFileProvider::GetType() { return kFileProviderType; }

void FeedFileProvider::GetKey(const void* objectDescriptor, std::uint64_t* key) {
  *key = KeyOf(ReadDescriptor(objectDescriptor));
}

void FeedFileProvider::Query(const void* objectDescriptor, std::uint32_t, std::uint64_t*,
                             DbBuffer* result) {
  platform::FileInfo seen;
  query->Query(ReadDescriptor(objectDescriptor), &seen, result);
}

void FeedFileProvider::FreeQuery(DbBuffer* data) { data->Reset(); }

void FeedFileProvider::Write(const void* objectDescriptor, std::uint64_t*, DbBuffer*) {
  throw std::runtime_error("Can't write " + Quoted(ReadDescriptor(objectDescriptor).path) +
                           ": the file provider stores nothing yet");
}

}  // namespace larder::feed
