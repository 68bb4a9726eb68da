// The cost of log statements that nobody listens to. Needs a process that has never had a listener.
#include <cstddef>
#include <utility>

#include "log/log-statement.h"
#include "suite.h"

namespace larder {
namespace {

// The cost of one is less than that of the loop, so an iteration has many.
constexpr std::size_t kCopies = 16;

template <typename Body>
void Measure(benchmark::State& state, const Body& body) {
  for (auto _ : state) {
    [&]<std::size_t... Copy>(std::index_sequence<Copy...>) __attribute__((always_inline)) {
      ((static_cast<void>(Copy), body(), benchmark::ClobberMemory()), ...);
    }
    (std::make_index_sequence<kCopies>{});
  }
  state.counters[kEach] = kCopies;
}

void EmptyLoop(benchmark::State& state) { Measure(state, []() __attribute__((always_inline)){}); }
BENCHMARK(EmptyLoop);

void ClosedStatement(benchmark::State& state) {
  const std::uint64_t key = 1234567890;
  Measure(
      state, [&]() __attribute__((always_inline)) { LogTrace("Reading data for key ", key); });
}
BENCHMARK(ClosedStatement);

void ClosedScope(benchmark::State& state) {
  Measure(
      state, []() __attribute__((always_inline)) {
        const ScopeTrace scope("Entering DataProviderManager::GetDataProvider()",
                               "Leaving DataProviderManager::GetDataProvider()");
        benchmark::ClobberMemory();
      });
}
BENCHMARK(ClosedScope);

}  // namespace
}  // namespace larder
