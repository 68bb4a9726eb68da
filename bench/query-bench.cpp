// The library's share of a query: a query through the exports and the test provider.
#include <benchmark/benchmark.h>
#include <larder/larder.h>

#include <filesystem>
#include <stdexcept>

#include "log/log-listener-list.h"
#include "support/registry.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

void NoCall(std::int32_t) {}

struct Descriptor {
  std::uint32_t lastModified[2] = {0, 0};
  LarderWideChar filePath[2] = {'a', 0};
};

// A host with the test provider, which holds one block.
class Host {
 public:
  Host() {
    std::filesystem::copy_file(std::filesystem::path(LARDER_BENCH_MODULES) / "feed-test.dll",
                               machine.Folder() / "feed-test.dll");
    SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), machine.WideFolder());
    SetRegistryString(LARDER_WIDE("DataProviders\\T"), LARDER_WIDE("szDLL"),
                      LARDER_WIDE("feed-test.dll"));
    const DataBlockHeader block{sizeof block, 2};
    if (LarderInit(NoCall, &handle) != LARDER_OK ||
        LarderWrite(handle, &descriptor, 2, &block) != LARDER_OK) {
      throw std::runtime_error("the host can't be set up");
    }
    DiskLogEnabled = false;
  }
  ~Host() { LarderRelease(); }

  TestMachine machine;
  Descriptor descriptor;
  LarderHandle handle = nullptr;
};

void QueryAndFree(benchmark::State& state) {
  Host host;
  for (auto _ : state) {
    DataBlockHeader* data = nullptr;
    LarderQuery(host.handle, &host.descriptor, 2, 0, &data, LARDER_QUERY_VERSION);
    LarderFreeQuery(host.handle, data);
  }
}
BENCHMARK(QueryAndFree);

void InvalidHandle(benchmark::State& state) {
  const Host host;
  for (auto _ : state) {
    DataBlockHeader* data = nullptr;
    benchmark::DoNotOptimize(LarderFreeQuery(nullptr, data));
  }
}
BENCHMARK(InvalidHandle);

}  // namespace
}  // namespace larder
