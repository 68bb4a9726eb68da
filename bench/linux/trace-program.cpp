// Measures what a line costs its caller while a session of LTTng's is on, and what the tracepoint
// alone costs with the same text. Prints both, in nanoseconds.
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include "log/linux/lttng-daemon.h"
#include "log/log-statement.h"
#include "log/trace-session.h"
#include "platform/linux/lttng-object.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

constexpr int kLines = 20'000;
constexpr std::size_t kRounds = 25;
using Rounds = std::array<double, kRounds>;

template <typename Line>
double NanosecondsOf(const Line& line) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kLines; ++i) line();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - begin;
  return taken.count() / kLines;
}

double MedianOf(Rounds rounds) {
  std::ranges::nth_element(rounds, rounds.begin() + kRounds / 2);
  return rounds[kRounds / 2];
}

// The object is loaded already.
const platform::LttngObject& Object() {
  void* const object = dlopen(LARDER_BENCH_LTTNG, RTLD_NOW | RTLD_NOLOAD);
  if (object == nullptr) throw std::runtime_error("the library didn't open its LTTng object");
  const auto get =
      reinterpret_cast<platform::GetLttngObject>(dlsym(object, platform::kGetLttngObject));
  return *get();
}

void Measure() {
  const OrdinaryUser user;
  const TestMachine machine;
  // Nothing reads a snapshot's buffers meanwhile, and no line is lost: the newest replace the
  // oldest.
  LttngDaemon daemon(machine.Folder(), "--snapshot");
  daemon.Start();
  AttachTrace();
  if (!IsTraceEnabled()) throw std::runtime_error("the session isn't on");
  const platform::LttngObject& object = Object();
  const std::uint64_t key = 1234567890;
  Rounds statements{};
  Rounds tracepoints{};
  for (std::size_t i = 0; i < kRounds; ++i) {
    statements[i] = NanosecondsOf([&] { LogTrace("Reading data for key ", key); });
    tracepoints[i] =
        NanosecondsOf([&] { object.recordLine("TRACE: Reading data for key 1234567890"); });
  }
  DetachTrace();
  std::printf("%f %f\n", MedianOf(statements), MedianOf(tracepoints));
}

}  // namespace
}  // namespace larder

int main() {
  try {
    larder::Measure();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "larder-trace-bench: %s\n", error.what());
    return 1;
  }
}
