// Records of numbered files that exist only in a store.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "feed-file/fact-store.h"

namespace larder::feed {

inline WideString StoredPath(int number) {
  const std::string digits = std::to_string(number);
  return LARDER_WIDE("C:\\FILE ") + WideString(digits.begin(), digits.end());
}

inline std::vector<unsigned char> RecordOf(int number, std::size_t size = 400) {
  std::vector<unsigned char> record(size);
  auto byte = static_cast<unsigned char>(number * 31);
  for (unsigned char& one : record) one = byte += 7;
  return record;
}

inline constexpr platform::FileInfo kInfo{
    .size = 10, .lastModified = 1000, .volume = 3, .index = 4, .changed = 1001};

inline void KeepNow(FactStore& store, int number, std::size_t size = 400) {
  const WideString path = StoredPath(number);
  store.KeepNow({path, kInfo}, RecordOf(number, size));
}

// Stored some time soon, but every 500th at once, so that never too much waits.
inline void Keep(FactStore& store, int number, std::size_t size = 400) {
  if (number % 500 == 499) return KeepNow(store, number, size);
  const WideString path = StoredPath(number);
  store.Keep({path, kInfo}, RecordOf(number, size));
}

// Whether the store has the number's record. Throws std::runtime_error if it has another one.
inline bool Has(FactStore& store, int number, std::size_t size = 400) {
  const WideString path = StoredPath(number);
  DbBuffer found;
  if (!store.Find({path, kInfo}, &found)) return false;
  if (std::ranges::equal(RecordView(found.data, found.size), RecordOf(number, size))) return true;
  throw std::runtime_error("another record than that of " + std::to_string(number));
}

}  // namespace larder::feed
