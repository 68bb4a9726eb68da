// The peer of the file provider: rhash, which computes the same five digests. And the ten digests
// of a signed image, which is made with programs that only Linux has.
#include <filesystem>

#include "digest-bench.h"
#include "program.h"
#include "scan-bench.h"

namespace larder {
namespace {

constexpr char kRhash[] = "/usr/bin/rhash";

double SecondsOfRhash(const Machine& machine, const std::vector<std::string>& files) {
  std::vector<std::string> arguments = {"--md5", "--sha1", "--sha256", "--sha384", "--sha512"};
  arguments.insert(arguments.end(), files.begin(), files.end());
  return SecondsOf(machine, kRhash, arguments);
}

void RhashDigests(benchmark::State& state) {
  const auto& machine = Shared<DigestMachine>();
  MeasureRuns(state, [&] { return SecondsOfRhash(machine, {machine.PathOf(kLargeFile)}); });
}
BENCHMARK(RhashDigests)->Iterations(1)->UseManualTime();

struct SignedImage {
  SignedImage() {
    const auto& machine = Shared<DigestMachine>();
    SecondsOf(machine, "/bin/bash",
              {LARDER_BENCH_SOURCE "/linux/make-image.sh", machine.PathOf(kSignedImage),
               std::to_string(kLargeSize)});
  }
};

void TenDigests(benchmark::State& state) {
  const auto& machine = Shared<DigestMachine>();
  Shared<SignedImage>();
  MeasureRuns(state, [&] {
    return SecondsOfTool(machine, {"query", "--option", "2", machine.PathOf(kSignedImage)});
  });
}
BENCHMARK(TenDigests)->Iterations(1)->UseManualTime();

// Names the files, because rhash -r follows links and so reads some files twice.
void RhashTree(benchmark::State& state) {
  const auto& machine = Shared<ScanMachine>();
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kTree)) {
    if (!entry.is_symlink() && entry.is_regular_file()) files.push_back(entry.path());
  }
  MeasureRuns(state, [&] { return SecondsOfRhash(machine, files); });
}
BENCHMARK(RhashTree)->Iterations(1)->UseManualTime();

}  // namespace
}  // namespace larder
