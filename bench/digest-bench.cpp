// The digests of a large file: the tool, from its start to its end.
#include "digest-bench.h"

#include <fstream>
#include <random>

#include "program.h"

namespace larder {

DigestMachine::DigestMachine() {
  Register({"feed-file.dll"});
  std::mt19937_64 random;
  std::vector<std::uint64_t> words(kLargeSize / sizeof(std::uint64_t));
  for (std::uint64_t& word : words) word = random();
  std::ofstream(Folder() / kLargeFile, std::ios::binary)
      .write(reinterpret_cast<const char*>(words.data()), kLargeSize);
}

namespace {

void FiveDigests(benchmark::State& state) {
  const auto& machine = Shared<DigestMachine>();
  MeasureRuns(state, [&] {
    return SecondsOfTool(machine, {"query", "--option", "2", machine.PathOf(kLargeFile)});
  });
}
BENCHMARK(FiveDigests)->Iterations(1)->UseManualTime();

}  // namespace
}  // namespace larder
