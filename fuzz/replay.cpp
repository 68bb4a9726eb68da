// Runs a fuzzer without libFuzzer, on the files of a folder and on changed copies of them. Every
// run makes the same changes. usage: PROGRAM FOLDER CHANGES
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size);

namespace {

using Bytes = std::vector<unsigned char>;

Bytes ReadFile(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// Changes a few bytes, half of them only slightly, since faults are in links and lengths. Sometimes
// truncates. Unlike std::uniform_int_distribution, % is the same in every standard library.
Bytes Changed(Bytes bytes, std::mt19937& random) {
  for (std::size_t count = 1 + random() % 4; count > 0; --count) {
    unsigned char& byte = bytes[random() % bytes.size()];
    byte = static_cast<unsigned char>(random() % 2 == 0 ? random() : byte + random() % 9 - 4);
  }
  if (random() % 8 == 0) bytes.resize(1 + random() % bytes.size());
  return bytes;
}

void Run(const Bytes& bytes) {
  const Bytes exact(bytes);  // so that a read past the end is reported
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::vector<Bytes> files;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    files.push_back(ReadFile(entry.path()));
  }
  if (files.empty()) return 2;
  std::ranges::sort(files);
  for (const Bytes& file : files) Run(file);
  std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same in every run
  for (int i = 0; i < std::atoi(argv[2]); ++i) {
    Run(Changed(files[random() % files.size()], random));
  }
}
