// Runs a fuzzer without libFuzzer, on the files of a folder and on changed copies of them. Every
// run makes the same changes. usage: PROGRAM FOLDER CHANGES
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size);

namespace {

using Bytes = std::vector<unsigned char>;

std::vector<Bytes> ReadFolder(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  std::vector<Bytes> files;
  for (const auto& path : paths) {
    std::ifstream stream(path, std::ios::binary);
    files.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  }
  return files;
}

// Unlike std::uniform_int_distribution, the same in every standard library.
std::size_t Below(std::mt19937& random, std::size_t limit) { return random() % limit; }

// Changes a few bytes, half of them only slightly, since faults are in links and lengths. Sometimes
// truncates.
Bytes Changed(Bytes bytes, std::mt19937& random) {
  for (std::size_t count = 1 + Below(random, 4); count > 0; --count) {
    unsigned char& byte = bytes[Below(random, bytes.size())];
    byte =
        static_cast<unsigned char>(Below(random, 2) == 0 ? random() : byte + Below(random, 9) - 4);
  }
  if (Below(random, 8) == 0) bytes.resize(1 + Below(random, bytes.size()));
  return bytes;
}

void Run(const Bytes& bytes) {
  const Bytes exact(bytes);  // so that a read past the end is reported
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::vector<Bytes> files = ReadFolder(argv[1]);
  if (files.empty()) return 2;
  for (const Bytes& file : files) Run(file);
  std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same in every run
  const int changes = std::atoi(argv[2]);
  for (int i = 0; i < changes; ++i) Run(Changed(files[Below(random, files.size())], random));
  std::printf("%zu files and %d changed copies\n", files.size(), changes);
}
