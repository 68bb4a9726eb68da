// Files and records that aren't anywhere but in a test of the store.
#pragma once

#include <string>
#include <vector>

#include "feed-file/fact-store.h"

namespace larder::feed {

// The path and the record of a number; the record has a size of its choice and bytes that its
// number decides.
inline WideString PathOf(int number) {
  const std::string digits = std::to_string(number);
  return LARDER_WIDE("C:\\FILE ") + WideString(digits.begin(), digits.end());
}

inline std::vector<unsigned char> RecordOf(int number, std::size_t size = 400) {
  std::vector<unsigned char> record(size);
  for (std::size_t i = 0; i < size; ++i) {
    record[i] = static_cast<unsigned char>(static_cast<std::size_t>(number) * 31 + i * 7);
  }
  return record;
}

inline constexpr platform::FileInfo kInfo{
    .size = 10, .lastModified = 1000, .volume = 3, .index = 4, .changed = 1001};

inline void KeepNow(FactStore& store, int number, std::size_t size = 400) {
  const WideString path = PathOf(number);
  store.KeepNow({path, kInfo}, RecordOf(number, size));
}

// As the provider keeps what it has computed, but for every 500th, so that never too much waits.
inline void Keep(FactStore& store, int number, std::size_t size = 400) {
  const WideString path = PathOf(number);
  number % 500 == 499 ? store.KeepNow({path, kInfo}, RecordOf(number, size))
                      : store.Keep({path, kInfo}, RecordOf(number, size));
}

// Whether the store has the number's record; throws if it gives another one.
inline bool Has(FactStore& store, int number, std::size_t size = 400) {
  const WideString path = PathOf(number);
  DbBuffer found;
  if (!store.Find({path, kInfo}, &found)) return false;
  const std::vector<unsigned char> expected = RecordOf(number, size);
  if (EntryView(found.data, found.size).size() != size ||
      !std::equal(expected.begin(), expected.end(), found.data)) {
    throw std::runtime_error("the record of " + std::to_string(number) + " is another");
  }
  return true;
}

}  // namespace larder::feed
