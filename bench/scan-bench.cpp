// The tool's scan of a tree, from its start to its end, with an empty store and with a full one.
#include "scan-bench.h"

#include "program.h"

namespace larder {
namespace {

void ScanWithEmptyStore(benchmark::State& state) {
  const auto& machine = Shared<ScanMachine>();
  MeasureRuns(state, [&] {
    machine.RemoveData();
    return SecondsOfTool(machine, {"scan", kTree});
  });
}
BENCHMARK(ScanWithEmptyStore)->Iterations(1)->UseManualTime();

void ScanWithFullStore(benchmark::State& state) {
  const auto& machine = Shared<ScanMachine>();
  MeasureRuns(state, [&] {
    SecondsOfTool(machine, {"scan", kTree});
    return SecondsOfTool(machine, {"scan", kTree});
  });
}
BENCHMARK(ScanWithFullStore)->Iterations(1)->UseManualTime();

}  // namespace
}  // namespace larder
