// The cost of log statements behind a closed gate and an open one, and of writing them to disk.
#include <benchmark/benchmark.h>

#include <memory>
#include <mutex>

#include "log-file/disk-logger.h"
#include "log/log-statement.h"
#include "platform/event.h"
#include "platform/scoped-handle.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

constexpr std::uint64_t kKey = 1234567890;

class NullListener final : public LRLogListener {
  void Log(const char* line) override { benchmark::DoNotOptimize(line); }
};

void EmptyLoop(benchmark::State& state) {
  for (auto _ : state) benchmark::ClobberMemory();
}
BENCHMARK(EmptyLoop);

void ClosedStatement(benchmark::State& state) {
  DiskLogEnabled = false;
  for (auto _ : state) {
    LogTrace("Reading data for key ", kKey);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(ClosedStatement);

void ClosedScope(benchmark::State& state) {
  DiskLogEnabled = false;
  for (auto _ : state) {
    ScopeTrace scope("Entering DataProviderManager::GetDataProvider()",
                     "Leaving DataProviderManager::GetDataProvider()");
    benchmark::ClobberMemory();
  }
}
BENCHMARK(ClosedScope);

void OpenStatement(benchmark::State& state) {
  static NullListener listener;
  if (state.thread_index() == 0) LRLogListenerList::Instance().AddListener(&listener);
  for (auto _ : state) LogTrace("Reading data for key ", kKey);
  if (state.thread_index() == 0) LRLogListenerList::Instance().RemoveListener(&listener);
}
BENCHMARK(OpenStatement)->Threads(1)->Threads(2);

void RaiseARaisedEvent(benchmark::State& state) {
  platform::OwnedHandle event;
  platform::MakeEvent(event.Out());
  platform::RaiseEvent(event.Get());
  for (auto _ : state) platform::RaiseEvent(event.Get());
}
BENCHMARK(RaiseARaisedEvent);

// From the first of many lines until the last one is on disk.
void LinesToTheDisk(benchmark::State& state) {
  const TestMachine machine;
  constexpr int kLines = 20000;
  for (auto _ : state) {
    DiskLogger logger(machine.WideFolder() + LARDER_WIDE("lr_1.log"), 102400, 5);
    LRLogListenerList::Instance().AddListener(&logger);
    for (int i = 0; i < kLines; ++i) LogTrace("Reading data for key ", kKey);
    LRLogListenerList::Instance().RemoveListener(&logger);
  }
  state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(LinesToTheDisk)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace larder
