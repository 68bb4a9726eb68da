// The first LarderInit of a process and its last LarderRelease, with modules and with registry keys
// that name none.
#include "init-bench.h"

namespace larder {
namespace {

void InitAndRelease(benchmark::State& state) {
  Shared<Machine>().Register(ModulesOf(state));
  for (auto _ : state) const Host host;
}
BENCHMARK(InitAndRelease)->Arg(1)->Arg(3);

void InitWithSubkeys(benchmark::State& state) {
  Shared<Machine>().Register({"feed-ready.dll"});
  Shared<Machine>().AddEmptyKeys(state.range(0));
  for (auto _ : state) const Host host;
  state.counters[kEach] = static_cast<double>(state.range(0));
}
BENCHMARK(InitWithSubkeys)->Arg(1000)->Arg(10000)->Iterations(1);

}  // namespace
}  // namespace larder
