// Many processes on one store with a small limit, one of which is stopped at times.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>

#include "soak/client.h"
#include "soak/file-set.h"
#include "soak/machine.h"
#include "soak/process.h"
#include "soak/run.h"
#include "soak/shared-memory.h"

namespace larder::soak {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kProcesses = 8;
constexpr int kFiles = 6000;
constexpr int kHot = 200;
constexpr int kWrittenFrom = 5500;  // files from here on have written records, some large
constexpr std::uint64_t kSeconds = 600;
constexpr int kLimitMiB = 8;
constexpr std::uintmax_t kMostBytes = 24u << 20;  // the limit and a log of changes

struct ProcessState {
  std::atomic<std::uint64_t> stops;  // odd while the process is stopped
  std::atomic<std::uint64_t> queries;
  std::atomic<std::uint64_t> hits;
  std::atomic<std::uint64_t> writes;
  std::atomic<std::uint64_t> refused;
  std::atomic<std::uint64_t> handles;
  std::atomic<std::int64_t> longestQuery;  // microseconds
  std::atomic<std::int64_t> longestWrite;
};

struct Shared {
  std::atomic<bool> stop;
  ProcessState processes[kProcesses];
};

std::filesystem::path FilesFolder(const std::filesystem::path& folder) { return folder / "files"; }

std::filesystem::path StateFile(const std::filesystem::path& folder) { return folder / "state"; }

// One process of the crowd.
class Member {
 public:
  Member(const WorkerArguments& arguments, Shared& state)
      : folder(arguments.folder),
        files(FilesFolder(folder), kFiles),
        random(arguments.Random()),
        shared(state),
        own(state.processes[arguments.number]),
        client(std::make_unique<Client>()) {}

  ~Member() { own.hits += client->Statistics().storeHits; }
  Member(const Member&) = delete;
  Member& operator=(const Member&) = delete;

  void Call() {
    const auto die = random() % 1000;
    if (die == 0)
      Reopen();
    else if (die == 1)
      ReadStoreFiles(folder);
    else if (die < 40)
      Write(kWrittenFrom + Below(kFiles - kWrittenFrom, random));
    else if (die < 700)
      Query(Below(kHot, random), LARDER_FEED_FILE_NOW);
    else if (die < 720)
      Query(Below(kWrittenFrom, random), LARDER_FEED_FILE_AFRESH);
    else if (die < 800)
      Query(Below(kFiles, random), LARDER_FEED_FILE_STORED);
    else
      Query(Below(kFiles, random), LARDER_FEED_FILE_NOW);
  }

 private:
  // A time during which this process was stopped doesn't count.
  template <typename Function>
  auto Timed(std::atomic<std::int64_t>& longest, Function&& function) {
    const std::uint64_t stops = own.stops;
    const auto begin = Clock::now();
    auto result = function();
    const auto time =
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin).count();
    if (stops % 2 == 0 && own.stops == stops && time > longest) longest = time;
    return result;
  }

  void Reopen() {
    own.hits += client->Statistics().storeHits;
    client.reset();
    client = std::make_unique<Client>();
    ++own.handles;
  }

  void Write(int number) {
    const std::size_t size = random() % 10 == 0 ? 100'000 : 500;
    const bool done = Timed(own.longestWrite, [&] {
      return client->Write(files.Path(number), WrittenDigest(number, 0), size) == LARDER_OK;
    });
    ++(done ? own.writes : own.refused);
  }

  void Query(int number, std::uint32_t option) {
    const Answer answer =
        Timed(own.longestQuery, [&] { return client->Query(files.Path(number), option); });
    ++own.queries;
    if (option == LARDER_FEED_FILE_STORED && answer.result == LARDER_E_NO_DATA) return;
    if (answer.Has() && IsRight(number, answer.digest)) return;
    shared.stop = true;
    throw Fault("file " + std::to_string(number) + ", option " + std::to_string(option) +
                ": result " + std::to_string(answer.result) + ", digest " + Short(answer.digest));
  }

  bool IsRight(int number, const Sha256& digest) const {
    return digest == files.Digest(number) ||
           (number >= kWrittenFrom && digest == WrittenDigest(number, 0));
  }

  const std::filesystem::path folder;
  const FileSet files;
  std::mt19937_64 random;
  Shared& shared;
  ProcessState& own;
  std::unique_ptr<Client> client;
};

void StopForAWhile(Worker& worker, ProcessState& state, std::mt19937_64& random) {
  ++state.stops;
  worker.Pause();
  std::this_thread::sleep_for(milliseconds(200 + random() % 1500));
  worker.Resume();
  ++state.stops;
}

// Returns the most bytes that the store's files had.
std::uintmax_t Watch(const Options& options, Shared& shared, std::vector<Worker>& workers) {
  std::mt19937_64 random(options.seed);
  const auto end = Clock::now() + std::chrono::seconds(options.Scaled(kSeconds));
  std::uintmax_t most = 0;
  for (int i = 1; Clock::now() < end && !shared.stop; ++i) {
    std::this_thread::sleep_for(milliseconds(100));
    most = std::max(most, StoreSize(options.folder));
    if (i % 20 != 0) continue;
    const auto victim = static_cast<std::size_t>(Below(kProcesses, random));
    StopForAWhile(workers[victim], shared.processes[victim], random);
  }
  return most;
}

template <typename Number>
Number Sum(const Shared& shared, std::atomic<Number> ProcessState::*field) {
  Number sum = 0;
  for (const ProcessState& process : shared.processes) sum += process.*field;
  return sum;
}

double LongestMs(const Shared& shared, std::atomic<std::int64_t> ProcessState::*field) {
  std::int64_t longest = 0;
  for (const ProcessState& process : shared.processes)
    longest = std::max<std::int64_t>(longest, process.*field);
  return static_cast<double>(longest) / 1000;
}

}  // namespace

void MixCalls(const WorkerArguments& arguments) {
  const SharedState<Shared> shared(StateFile(arguments.folder));
  Member member(arguments, *shared);
  while (!shared->stop) member.Call();
}

void RunCrowd(const Options& options) {
  PrepareMachine(options.folder, kLimitMiB);
  const FileSet files(FilesFolder(options.folder), kFiles);
  const SharedState<Shared> shared(StateFile(options.folder));
  std::vector<Worker> workers;
  for (int i = 0; i < kProcesses; ++i)
    workers.push_back(
        Worker({"mix", options.folder.string(), std::to_string(options.seed), std::to_string(i)}));
  const std::uintmax_t most = Watch(options, *shared, workers);
  shared->stop = true;
  for (Worker& worker : workers) worker.MustSucceed(std::chrono::minutes(1));
  std::printf(
      "crowd: %d processes for %llu s, %llu queries, %llu from the store, 0 wrong, longest"
      " %.0f ms; %llu writes, %llu refused, longest %.0f ms; %llu handles; the store's files"
      " had at most %.1f MiB, limit %d\n",
      kProcesses, static_cast<unsigned long long>(options.Scaled(kSeconds)),
      static_cast<unsigned long long>(Sum(*shared, &ProcessState::queries)),
      static_cast<unsigned long long>(Sum(*shared, &ProcessState::hits)),
      LongestMs(*shared, &ProcessState::longestQuery),
      static_cast<unsigned long long>(Sum(*shared, &ProcessState::writes)),
      static_cast<unsigned long long>(Sum(*shared, &ProcessState::refused)),
      LongestMs(*shared, &ProcessState::longestWrite),
      static_cast<unsigned long long>(Sum(*shared, &ProcessState::handles) + kProcesses),
      static_cast<double>(most) / (1 << 20), kLimitMiB);
  std::fflush(stdout);
  if (most > kMostBytes) throw Fault("the store's files had " + std::to_string(most) + " bytes");
}

}  // namespace larder::soak
