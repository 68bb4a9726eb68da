// The size of the library as a package has it: without symbols and debug information.
#include <filesystem>

#include "suite.h"

namespace larder {
namespace {

void LibrarySize(benchmark::State& state) {
  for (auto _ : state) {
    state.counters[kFigure] =
        static_cast<double>(std::filesystem::file_size(LARDER_BENCH_STRIPPED));
  }
}
BENCHMARK(LibrarySize)->Iterations(1);

}  // namespace
}  // namespace larder
