// The peer of the library's logger: spdlog's asynchronous logger, which blocks when its queue is
// full, with the same text, the same line ends and the same limits.
#include <spdlog/async_logger.h>
#include <spdlog/details/thread_pool.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <utility>

#include "logger-bench.h"
#include "product/product.h"

namespace larder {
namespace {

constexpr std::size_t kQueue = std::size_t{256} << 10;
constexpr char kText[] = "Reading data for key {}";

class Spdlog {
 public:
  explicit Spdlog(const std::filesystem::path& file) : pool(std::make_shared<Pool>(kQueue, 1)) {
    auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(file.string(), kMaxLogSize,
                                                                       kMaxLogGenerations);
    logger = std::make_shared<spdlog::async_logger>("bench", std::move(sink), pool,
                                                    spdlog::async_overflow_policy::block);
    logger->set_formatter(std::make_unique<spdlog::pattern_formatter>(
        "%y/%m/%d %H:%M:%S: TRACE: %v", spdlog::pattern_time_type::local, "\r\n"));
  }

  void Line() { logger->info(kText, kKey); }

 protected:
  using Pool = spdlog::details::thread_pool;

  std::shared_ptr<Pool> pool;  // its destructor waits for the queue
  std::shared_ptr<spdlog::async_logger> logger;
};

struct FlushingSpdlog : Spdlog {
  explicit FlushingSpdlog(const std::filesystem::path& file) : Spdlog(file) {
    logger->flush_on(spdlog::level::trace);
  }
};

void SpdlogBurst(benchmark::State& state) { BurstInto<Spdlog>(state, "spd.log"); }
BENCHMARK(SpdlogBurst)->Iterations(kLines);
BENCHMARK(SpdlogBurst)->Name("SpdlogBurstBy2")->Iterations(kLines)->Threads(2);

void SpdlogDrained(benchmark::State& state) { DrainedInto<FlushingSpdlog>(state, "spd.log"); }
BENCHMARK(SpdlogDrained)->Iterations(1)->UseManualTime();

void SpdlogSlot(benchmark::State& state) {
  for (auto _ : state) {
    const std::size_t text = fmt::formatted_size(kText, kKey);
    state.counters[kFigure] = static_cast<double>(sizeof(spdlog::details::async_msg) - text);
  }
}
BENCHMARK(SpdlogSlot)->Iterations(1);

}  // namespace
}  // namespace larder
