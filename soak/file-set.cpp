#include "soak/file-set.h"

#include <chrono>
#include <fstream>
#include <thread>

namespace larder::soak {
namespace {

constexpr std::size_t kSmallest = 10;
constexpr std::size_t kSizes = 3000;

// Longer than any file system of the runs needs.
constexpr auto kRest = std::chrono::milliseconds(100);

}  // namespace

FileSet::FileSet(const std::filesystem::path& in, int count) : folder(in) {
  std::filesystem::create_directories(folder);
  bool created = false;
  for (int number = 0; number < count; ++number) {
    const auto seed = static_cast<std::uint64_t>(number);
    const std::string content = MakeContent(seed, kSmallest + seed * 37 % kSizes);
    digests.push_back(DigestOf(content));
    if (std::filesystem::exists(Path(number))) continue;
    std::ofstream(Path(number), std::ios::binary) << content;
    created = true;
  }
  if (created) std::this_thread::sleep_for(kRest);
}

std::filesystem::path FileSet::Path(int number) const { return folder / std::to_string(number); }

Sha256 WrittenDigest(int number, std::uint64_t generation) {
  return DigestOf("written " + std::to_string(number) + ' ' + std::to_string(generation));
}

}  // namespace larder::soak
