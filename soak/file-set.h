// Numbered files whose contents don't change.
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <vector>

#include "soak/content.h"

namespace larder::soak {

class FileSet {
 public:
  // Creates the files that the folder doesn't have, and waits until their facts may be stored.
  FileSet(const std::filesystem::path& folder, int count);

  int Count() const { return static_cast<int>(digests.size()); }
  std::filesystem::path Path(int number) const;
  const Sha256& Digest(int number) const { return digests[static_cast<std::size_t>(number)]; }

 private:
  std::filesystem::path folder;
  std::vector<Sha256> digests;
};

// The digest in a record that a run writes for a file, which no file has.
Sha256 WrittenDigest(int number, std::uint64_t generation);

template <typename Random>
int Below(int bound, Random& random) {
  return static_cast<int>(random() % static_cast<std::uint64_t>(bound));
}

}  // namespace larder::soak
