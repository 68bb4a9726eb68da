// The log on disk: what a statement costs its caller, how fast lines reach the file, and how much
// memory a line takes that waits in the queue.
#include "logger-bench.h"

#include <atomic>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include "log-file/disk-logger.h"
#include "log/log-statement.h"
#include "tools/larder/check/process-resources.h"

namespace larder {
namespace {

class DiskLog {
 public:
  explicit DiskLog(const std::filesystem::path& file)
      : logger(Shared<Machine>().WidePath(file.filename().string()), kMaxLogSize,
               kMaxLogGenerations) {
    LRLogListenerList::Instance().AddListener(&logger);
  }
  ~DiskLog() { LRLogListenerList::Instance().RemoveListener(&logger); }
  DiskLog(const DiskLog&) = delete;
  DiskLog& operator=(const DiskLog&) = delete;

  static void Line() { LogTrace("Reading data for key ", kKey); }

 private:
  DiskLogger logger;
};

void Burst(benchmark::State& state) { BurstInto<DiskLog>(state, "lr_1.log"); }
BENCHMARK(Burst)->Iterations(kLines);
BENCHMARK(Burst)->Name("BurstBy2")->Iterations(kLines)->Threads(2);

void Drained(benchmark::State& state) { DrainedInto<DiskLog>(state, "lr_1.log"); }
BENCHMARK(Drained)->Iterations(1)->UseManualTime();

// Blocks the logger's thread at the first line that it logs itself, so that it writes none of the
// queued lines. Of the lines that this object's owner logs, keeps the size.
class Barrier final : public LRLogListener {
 public:
  Barrier() { LRLogListenerList::Instance().AddListener(this); }
  ~Barrier() { LRLogListenerList::Instance().RemoveListener(this); }
  Barrier(const Barrier&) = delete;
  Barrier& operator=(const Barrier&) = delete;

  void Log(const char* line) override {
    if (std::this_thread::get_id() == owner) {
      text = std::strlen(line);
      return;
    }
    isReached = true;
    isReached.notify_one();
    isOpen.wait(false);
  }
  void WaitUntilReached() const { isReached.wait(false); }
  void Open() {
    isOpen = true;
    isOpen.notify_all();
  }
  std::size_t TextSize() const { return text; }

 private:
  const std::thread::id owner = std::this_thread::get_id();
  std::size_t text = 0;
  std::atomic<bool> isReached = false;
  std::atomic<bool> isOpen = false;
};

constexpr int kQueued = 10'000;

void QueuedLine(benchmark::State& state) {
  for (auto _ : state) {
    const std::filesystem::path file = Shared<Machine>().Folder() / "lr_2.log";
    std::ofstream(file) << std::string(kMaxLogSize, 'x');
    Barrier barrier;
    const DiskLog log(file);
    DiskLog::Line();  // the thread finds the file full, opens a new one, and logs that
    barrier.WaitUntilReached();
    const std::size_t before = tool::CountHeapBytes();
    for (int i = 0; i < kQueued; ++i) DiskLog::Line();
    const double taken = static_cast<double>(tool::CountHeapBytes() - before) / kQueued;
    state.counters[kFigure] = taken - static_cast<double>(barrier.TextSize());
    barrier.Open();
  }
}
BENCHMARK(QueuedLine)->Iterations(1);

}  // namespace
}  // namespace larder
