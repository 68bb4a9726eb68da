// The library as a run uses it: through the public functions only.
#pragma once

#include <larder/feed-file.h>
#include <larder/feed-stats.h>
#include <larder/larder.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "soak/content.h"

namespace larder::soak {

struct Answer {
  std::int32_t result = LARDER_E_GENERIC;
  Sha256 digest{};  // if result is LARDER_OK

  bool Has() const { return result == LARDER_OK; }
};

// A reference to this process's handle.
class Client {
 public:
  Client();  // throws std::runtime_error if LarderInit fails
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  Answer Query(const std::filesystem::path& file, std::uint32_t option = LARDER_FEED_FILE_NOW);
  // Stores a record with this digest. size: of the record, at least 400 bytes.
  std::int32_t Write(const std::filesystem::path& file, const Sha256& digest,
                     std::size_t size = 400);
  // All zero if the call fails.
  FeedStatsRecord Statistics();

 private:
  LarderHandle handle = nullptr;
};

}  // namespace larder::soak
