// A line in a session of LTTng's. Measured by a program of its own: the other rows are the
// library's without LTTng.
#include <cstdio>
#include <stdexcept>

#include "log/linux/lttng-daemon.h"
#include "suite.h"

namespace larder {
namespace {

// In nanoseconds.
struct TraceFigures {
  TraceFigures() {
    FILE* const output = popen(LARDER_BENCH_TRACE, "r");
    const bool isGood =
        output != nullptr && fscanf(output, "%lf %lf", &statement, &tracepoint) == 2;
    if (output == nullptr || pclose(output) != 0 || !isGood)
      throw std::runtime_error(LARDER_BENCH_TRACE " failed");
  }
  double statement = 0;
  double tracepoint = 0;
};

void TracedStatement(benchmark::State& state) {
  for (auto _ : state) state.counters[kFigure] = Shared<TraceFigures>().statement;
}

void Tracepoint(benchmark::State& state) {
  for (auto _ : state) state.counters[kFigure] = Shared<TraceFigures>().tracepoint;
}

// Without a daemon the row stays empty.
[[maybe_unused]] const bool kIsRegistered = [] {
  if (!LttngDaemon::IsInstalled()) return false;
  benchmark::RegisterBenchmark("TracedStatement", TracedStatement)->Iterations(1);
  benchmark::RegisterBenchmark("Tracepoint", Tracepoint)->Iterations(1);
  return true;
}();

}  // namespace
}  // namespace larder
