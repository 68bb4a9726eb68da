#include "feed-test/feed-test-provider.h"

#include <cstring>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

namespace larder::feed {
namespace {

constexpr std::int32_t kType = 2;

void CheckBlock(const ObjectIdentity& identity, const DbBuffer& data) {
  const std::string start = "feed-test: can't write " + Quoted(identity.path) + ": a block of " +
                            std::to_string(data.size) + " bytes ";
  if (data.size < sizeof(DataBlockHeader)) {
    throw std::invalid_argument(start + "is shorter than its header of " +
                                std::to_string(sizeof(DataBlockHeader)));
  }
  DataBlockHeader header;
  std::memcpy(&header, data.data, sizeof header);
  if (header.dataSize != data.size) {
    throw std::invalid_argument(start + "has the dataSize " + std::to_string(header.dataSize));
  }
}

void Fill(DbBuffer& result, const unsigned char* bytes, std::size_t size) {
  result.Copy(bytes, size);
  std::memcpy(result.data + offsetof(DataBlockHeader, providerType), &kType, sizeof kType);
}

}  // namespace

std::int32_t FeedTestProvider::GetType() { return kType; }

void FeedTestProvider::GetKey(const void* objectDescriptor, std::uint64_t* key) {
  const ObjectIdentity identity = ReadDescriptor(objectDescriptor);
  FailureScript::OfPath(identity.path).For(Operation::kGetKey).Raise();
  *key = KeyOf(identity);
}

void FeedTestProvider::Query(const void* objectDescriptor, std::uint32_t, std::uint64_t*,
                             DbBuffer* result) {
  const ObjectIdentity identity = ReadDescriptor(objectDescriptor);
  const FailureScript script = FailureScript::OfPath(identity.path);
  const Outcome& outcome = script.For(Operation::kQuery);
  if (outcome.kind == Outcome::Kind::kEmpty) return;
  if (!outcome.filled) outcome.Raise();
  Block block = Find(identity);
  if (block.empty() && outcome.filled) {
    const DataBlockHeader bare{sizeof bare, kType};
    block.resize(sizeof bare);
    std::memcpy(block.data(), &bare, sizeof bare);
  }
  if (block.empty()) return;
  Fill(*result, block.data(), block.size());
  outcome.Raise();
  Remember(result->data, script.For(Operation::kFreeQuery));
}

void FeedTestProvider::FreeQuery(DbBuffer* data) {
  TakeFreeOutcome(data->data).Raise();
  data->Reset();
}

void FeedTestProvider::Write(const void* objectDescriptor, std::uint64_t*, DbBuffer* data) {
  ObjectIdentity identity = ReadDescriptor(objectDescriptor);
  FailureScript::OfPath(identity.path).For(Operation::kWrite).Raise();
  if (data->size == 0) {
    const std::lock_guard lock(mutex);
    objects.erase(identity);
    return;
  }
  CheckBlock(identity, *data);
  Block copy(data->data, data->data + data->size);
  const std::lock_guard lock(mutex);
  objects.insert_or_assign(std::move(identity), std::move(copy));
}

FeedTestProvider::Block FeedTestProvider::Find(const ObjectIdentity& identity) {
  const std::lock_guard lock(mutex);
  const auto found = objects.find(identity);
  return found == objects.end() ? Block() : found->second;
}

void FeedTestProvider::Remember(const unsigned char* block, const Outcome& freeOutcome) {
  const std::lock_guard lock(mutex);
  // A host frees a block whose type was changed without calling the provider, so there may be an
  // old entry for the address.
  freeOutcomes.erase(block);
  if (freeOutcome.kind != Outcome::Kind::kWork) freeOutcomes.emplace(block, freeOutcome);
}

Outcome FeedTestProvider::TakeFreeOutcome(const unsigned char* block) {
  const std::lock_guard lock(mutex);
  const auto node = freeOutcomes.extract(block);
  return node.empty() ? Outcome() : std::move(node.mapped());
}

}  // namespace larder::feed

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) {
  *out = new larder::feed::FeedTestProvider;
}
