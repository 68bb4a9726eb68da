#include "soak/host-run.h"

#include <cinttypes>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "soak/host-growth.h"
#include "soak/host-log.h"
#include "soak/host-machine.h"
#include "soak/host-rounds.h"
#include "soak/host-system.h"
#include "soak/process.h"
#include "soak/shared-memory.h"

namespace larder::soak {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr auto kHang = std::chrono::minutes(5);  // for one round; the machine may be busy
constexpr std::uint64_t kStop = ~std::uint64_t{0};
constexpr int kResidentSlot = kSlots - 1;
// A sanitizer keeps memory for each image that was ever loaded. It reports leaks when the process
// ends.
constexpr int kMaxResidentRounds = LARDER_SOAK_SANITIZED ? 150 : 1'000'000'000;

struct Kind {
  const char* name;
  void (*function)(HostProcess& host, Random& random);
  int weight;
};

constexpr Kind kResidentKinds[] = {{"cycles", Cycle, 8},
                                   {"loads", LoadAndUnload, 4},
                                   {"signals", MeetSignals, 3},
                                   {"failing modules", FailToLoad, 3},
                                   {"the product's providers", UseProduct, 1}};
constexpr Kind kOwnKinds[] = {{"much logged", WriteMuch, 4},
                              {"failed init with the log", FailWithLog, 4},
                              {"bad folder", LoseFolder, 3},
                              {"forks", Fork, 3}};

void Do(const Kind& kind, HostProcess& host, Random& random) try {
  kind.function(host, random);
} catch (const std::exception& error) {
  throw Fault(std::string(kind.name) + ": " + error.what());
}

template <typename Kinds>
void DoOneOf(const Kinds& kinds, HostProcess& host, Random& random) {
  int sum = 0;
  for (const Kind& kind : kinds) sum += kind.weight;
  auto die = static_cast<int>(random() % static_cast<std::uint64_t>(sum));
  for (const Kind& kind : kinds) {
    die -= kind.weight;
    if (die >= 0) continue;
    Do(kind, host, random);
    return;
  }
}

// Rounds don't depend on those before, so that one can be repeated.
Random RandomOf(std::uint64_t seed, std::uint64_t round) {
  std::seed_seq both{seed, round};
  return Random(both);
}

class HostRun {
 public:
  explicit HostRun(const HostOptions& run)
      : options(run), state(HostStateFile(run.folder)), round(run.firstRound - 1) {
    UseProviders(Providers::kSoak);
    resident = std::make_unique<Worker>(Start("resident", kResidentSlot));
  }

  void Run() try {
    const auto begin = Clock::now();
    const auto pause = std::max<Clock::duration>(options.time / 20, std::chrono::seconds(10));
    auto next = begin + pause;
    for (auto now = begin; now < begin + options.time; now = Clock::now()) {
      OneRound();
      if (now < next) continue;
      next = now + pause;
      PrintProgress(now - begin);
    }
    StopResident();
    PrintTotals();
  } catch (const std::exception& error) {
    throw Fault("seed " + std::to_string(options.seed) + ", round " + std::to_string(round) + ": " +
                error.what());
  }

 private:
  Worker Start(const char* work, int slot) {
    return Worker({work, options.folder.string(), std::to_string(options.seed),
                   std::to_string(slot), std::to_string(round)});
  }

  void OneRound() {
    Random random = RandomOf(options.seed, ++round);
    const auto die = random() % 10;
    if (die == 0)
      KillVictims(random);
    else if (die == 1)
      Start("once", kResidentSlot).MustSucceed(kHang);
    else
      ResidentRound();
    DeleteLogs(options.folder);
  }

  void StopResident() {
    state->command = kStop;
    resident->MustSucceed(kHang);
  }

  void ReplaceResident() {
    StopResident();
    state->command = state->done.load();
    resident = std::make_unique<Worker>(Start("resident", kResidentSlot));
    growth = {};
    residentRounds = 0;
  }

  void ResidentRound() {
    if (residentRounds++ == kMaxResidentRounds) ReplaceResident();
    state->command = round;
    const auto deadline = Clock::now() + kHang;
    while (state->done != round) {
      const Ending ending = resident->Wait(milliseconds(1));
      if (ending.kind != Ending::Kind::kStillRunning)
        throw Fault("the resident process ended: " + ending.Text());
      if (Clock::now() > deadline) throw Fault("the resident process hangs");
    }
    growth.Add(state->footprint);
  }

  void KillVictims(Random& random) {
    const bool isLogged = random() % 4 != 0;
    SwitchLog(isLogged);
    const int count = 1 + static_cast<int>(random() % kVictims);
    std::vector<Worker> victims;
    for (int slot = 0; slot < count; ++slot) {
      Life& life = state->slots[slot];
      life.id = 0;
      for (Sequence& thread : life.threads) thread.begun = thread.safe = 0;
      victims.push_back(Start("victim", slot));
    }
    for (int slot = 0; slot < count; ++slot)
      Kill(victims[static_cast<std::size_t>(slot)], state->slots[slot], random);
    InstallerSignal().Lower();
    if (!isLogged) return;
    for (int slot = 0; slot < count; ++slot)
      CheckLog(LogsFolder(options.folder), state->slots[slot], Expect::kKilled, *state);
  }

  // At a random time after its start, or soon after it has entered a random phase.
  void Kill(Worker& victim, const Life& life, Random& random) {
    const int wanted = static_cast<int>(random() % (2 * kPhaseCount));
    const auto delay = std::chrono::microseconds(random() % 2 * (random() % 500));
    const auto most = Clock::now() + milliseconds(random() % 300);
    const auto deadline = wanted < kPhaseCount ? Clock::now() + std::chrono::seconds(10) : most;
    while (Clock::now() < deadline && life.phase != wanted) std::this_thread::yield();
    if (delay.count() != 0) std::this_thread::sleep_for(delay);
    const Ending ending = victim.Wait(milliseconds(0));
    if (ending.kind != Ending::Kind::kStillRunning)
      throw Fault("a process that was to be killed ended: " + ending.Text());
    ++killed[life.phase];
    victim.Kill();
  }

  std::uint64_t Kills() const {
    std::uint64_t sum = 0;
    for (const std::uint64_t one : killed) sum += one;
    return sum;
  }

  void PrintProgress(Clock::duration time) const {
    std::printf(
        "%5lld s: round %" PRIu64 ", %" PRIu64 " cycles, %" PRIu64 " kills, %" PRIu64
        " lines; %s\n",
        static_cast<long long>(std::chrono::duration_cast<std::chrono::seconds>(time).count()),
        round, state->cycles.load(), Kills(), state->lines.load(), growth.Text().c_str());
    std::fflush(stdout);
  }

  void PrintTotals() const {
    std::printf("%" PRIu64 " rounds without a fault\n", round + 1 - options.firstRound);
    std::printf("%" PRIu64 " cycles of LarderInit and LarderRelease with %" PRIu64
                " handles; %" PRIu64 " inits failed as they had to; %" PRIu64 " loads\n",
                state->cycles.load(), state->handles.load(), state->failedInits.load(),
                state->loads.load());
    std::printf("%" PRIu64 " queries and writes, of which %" PRIu64
                " failed as they had to; %" PRIu64 " forks; %" PRIu64 " signals raised, %" PRIu64
                " callbacks\n",
                state->calls.load(), state->failedCalls.load(), state->forks.load(),
                state->raised.load(), state->heard.load());
    std::printf("%" PRIu64 " kills:", Kills());
    for (int phase = 0; phase < kPhaseCount; ++phase)
      std::printf("%s %s %" PRIu64, phase == 0 ? "" : ",", kPhaseNames[phase], killed[phase]);
    std::printf("\n%" PRIu64 " lines of logs; %" PRIu64 " of the calls' lines are there; %" PRIu64
                " were lost by kills, rotation and unusable folders, and no other\n",
                state->lines.load(), state->found.load(), state->lost.load());
    std::printf("%s\n", growth.Summary().c_str());
    std::fflush(stdout);
  }

  const HostOptions options;
  const SharedState<HostState> state;
  std::uint64_t round;
  std::unique_ptr<Worker> resident;
  int residentRounds = 0;
  Growth growth;
  std::uint64_t killed[kPhaseCount] = {};
};

// The rounds that the supervisor does itself take the die first.
Random RandomInWorker(std::uint64_t seed, std::uint64_t round) {
  Random random = RandomOf(seed, round);
  random();
  return random;
}

}  // namespace

void RunHost(const HostOptions& options) {
  PrepareHostMachine(options.folder);
  HostRun(options).Run();
}

void BeResident(const WorkerArguments& arguments) {
  const SharedState<HostState> state(HostStateFile(arguments.folder));
  HostProcess host(arguments.folder, arguments.number, *state);
  for (;;) {
    const std::uint64_t round = state->command;
    if (round == kStop) return;
    if (round == state->done) {
      std::this_thread::sleep_for(milliseconds(1));
      continue;
    }
    Random random = RandomInWorker(arguments.seed, round);
    DoOneOf(kResidentKinds, host, random);
    state->footprint = TakeFootprint();
    state->done = round;
  }
}

void DoOneRound(const WorkerArguments& arguments) {
  const SharedState<HostState> state(HostStateFile(arguments.folder));
  HostProcess host(arguments.folder, arguments.number, *state);
  Random random = RandomInWorker(arguments.seed, std::stoull(arguments.more.at(0)));
  DoOneOf(kOwnKinds, host, random);
}

void BeVictim(const WorkerArguments& arguments) {
  const SharedState<HostState> state(HostStateFile(arguments.folder));
  HostProcess host(arguments.folder, arguments.number, *state);
  Random random = RandomOf(arguments.seed + static_cast<std::uint64_t>(arguments.number),
                           std::stoull(arguments.more.at(0)));
  LiveUntilKilled(host, random);
}

}  // namespace larder::soak
