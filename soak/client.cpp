#include "soak/client.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace larder::soak {
namespace {

// A FileObjectDescriptor with the whole path.
std::vector<unsigned char> DescriptorOf(const std::filesystem::path& file) {
  auto text = file.generic_string<LarderWideChar>();
  std::ranges::replace(text, '/', '\\');
  const std::size_t bytes = (text.size() + 1) * sizeof(LarderWideChar);
  std::vector<unsigned char> descriptor(offsetof(FileObjectDescriptor, filePath) + bytes);
  std::memcpy(&descriptor[offsetof(FileObjectDescriptor, filePath)], text.c_str(), bytes);
  return descriptor;
}

std::vector<unsigned char> RecordWith(const Sha256& digest, std::size_t size) {
  constexpr std::size_t kBefore = sizeof(FileDataRecord) + sizeof(CertChainRecord);
  FileDataRecord fields{};
  fields.dataSize = static_cast<std::uint32_t>(size);
  fields.providerType = LARDER_FEED_FILE_TYPE;
  std::ranges::copy(digest, fields.fileSHA256);
  const CertDataRecord certificate{
      .nextCert = 0,
      .certSize = static_cast<std::uint32_t>(size - kBefore - sizeof(CertDataRecord))};
  std::vector<unsigned char> record(size);
  std::memcpy(record.data(), &fields, sizeof(fields));
  std::memcpy(&record[kBefore], &certificate, sizeof(certificate));
  return record;
}

}  // namespace

Client::Client() {
  const std::int32_t result = LarderInit([](std::int32_t) {}, &handle);
  if (result != LARDER_OK && result != LARDER_E_ALREADY_INITIALIZED)
    throw std::runtime_error("LarderInit returned " + std::to_string(result));
}

Client::~Client() { LarderRelease(); }

Answer Client::Query(const std::filesystem::path& file, std::uint32_t option) {
  const auto descriptor = DescriptorOf(file);
  DataBlockHeader* data = nullptr;
  Answer answer;
  answer.result = LarderQuery(handle, descriptor.data(), LARDER_FEED_FILE_TYPE, option, &data,
                              LARDER_QUERY_VERSION);
  if (!answer.Has()) return answer;
  const auto* record = reinterpret_cast<const FileDataRecord*>(data);
  std::ranges::copy(record->fileSHA256, answer.digest.begin());
  LarderFreeQuery(handle, data);
  return answer;
}

std::int32_t Client::Write(const std::filesystem::path& file, const Sha256& digest,
                           std::size_t size) {
  const auto descriptor = DescriptorOf(file);
  const auto record = RecordWith(digest, size);
  return LarderWrite(handle, descriptor.data(), LARDER_FEED_FILE_TYPE,
                     reinterpret_cast<const DataBlockHeader*>(record.data()));
}

FeedStatsRecord Client::Statistics() {
  const auto descriptor = DescriptorOf("/");
  DataBlockHeader* data = nullptr;
  FeedStatsRecord statistics{};
  if (LarderQuery(handle, descriptor.data(), LARDER_FEED_STATS_TYPE, 0, &data,
                  LARDER_QUERY_VERSION) != LARDER_OK)
    return statistics;
  std::memcpy(&statistics, data, std::min<std::size_t>(data->dataSize, sizeof(statistics)));
  LarderFreeQuery(handle, data);
  return statistics;
}

}  // namespace larder::soak
