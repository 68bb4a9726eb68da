// Kills processes that write. What LarderWrite acknowledged must be in the store afterwards.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include "soak/client.h"
#include "soak/file-set.h"
#include "soak/machine.h"
#include "soak/process.h"
#include "soak/run.h"
#include "soak/shared-memory.h"

namespace larder::soak {
namespace {

using std::chrono::milliseconds;

constexpr int kWriters = 3;
constexpr int kFilesEach = 100;  // of one writer; the computing process has as many
constexpr int kWritten = kWriters * kFilesEach;
constexpr std::uint64_t kKills = 1000;
constexpr int kKillsPerStore = 50;
constexpr int kLimitMiB = 256;  // nothing is evicted

// Generations of one file's record. The store must have one from `acknowledged` to `begun`.
struct Entry {
  std::atomic<std::uint64_t> begun;
  std::atomic<std::uint64_t> acknowledged;
};

struct Shared {
  Entry entries[kWritten];
  std::atomic<std::uint64_t> writes;
  std::atomic<std::uint64_t> failures;
};

std::filesystem::path FilesFolder(const std::filesystem::path& folder) { return folder / "files"; }

std::filesystem::path StateFile(const std::filesystem::path& folder) { return folder / "state"; }

bool IsGenerationOf(int number, const Sha256& digest, std::uint64_t first, std::uint64_t last) {
  for (std::uint64_t generation = first; generation <= last; ++generation) {
    if (digest == WrittenDigest(number, generation)) return true;
  }
  return false;
}

class KillRun {
 public:
  explicit KillRun(const Options& run)
      : options(run),
        files(FilesFolder(run.folder), kWritten + kFilesEach),
        shared(StateFile(run.folder)),
        random(run.seed) {
    for (int i = 0; i <= kWriters; ++i) workers.push_back(Start(i));
  }

  void Round() {
    AwaitWrites(1 + random() % 20);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000));
    const bool withNewStore = kills / kKillsPerStore != (kills + 1) / kKillsPerStore;
    const std::vector<std::size_t> victims = withNewStore ? All() : Some();
    const std::size_t paused = random() % workers.size();
    if (random() % 4 == 0) workers[paused].Pause();
    for (const std::size_t victim : victims) workers[victim].Kill();
    kills += victims.size();
    Verify();
    workers[paused].Resume();
    if (withNewStore) StartOver();
    for (const std::size_t victim : victims) workers[victim] = Start(static_cast<int>(victim));
  }

  std::uint64_t Kills() const { return kills; }

  void Print() const {
    std::printf(
        "kills: %llu kills of writing processes, %llu records acknowledged, %llu writes"
        " refused, %llu records checked, 0 lost\n",
        static_cast<unsigned long long>(kills), static_cast<unsigned long long>(shared->writes),
        static_cast<unsigned long long>(shared->failures),
        static_cast<unsigned long long>(checked));
    std::fflush(stdout);
  }

 private:
  Worker Start(int number) {
    return Worker({number < kWriters ? "write" : "compute", options.folder.string(),
                   std::to_string(options.seed + ++started), std::to_string(number)});
  }

  void AwaitWrites(std::uint64_t count) const {
    const std::uint64_t before = shared->writes;
    for (int i = 0; shared->writes < before + count; ++i) {
      if (i == 60'000) throw Fault(At() + "no process has written for a minute");
      std::this_thread::sleep_for(milliseconds(1));
    }
  }

  std::vector<std::size_t> All() const {
    std::vector<std::size_t> all;
    for (std::size_t i = 0; i < workers.size(); ++i) all.push_back(i);
    return all;
  }

  std::vector<std::size_t> Some() {
    std::vector<std::size_t> some;
    for (std::size_t i = 0; i < workers.size(); ++i) {
      if (random() % 2 == 0) some.push_back(i);
    }
    return some.empty() ? All() : some;
  }

  // With a new handle: the provider keeps nothing of the last time.
  void Verify() {
    Client client;
    for (int number = 0; number < kWritten + kFilesEach; ++number) {
      if (number < kWritten)
        VerifyWritten(client, number);
      else
        VerifyComputed(client, number);
    }
  }

  void VerifyWritten(Client& client, int number) {
    Entry& entry = shared->entries[number];
    const std::uint64_t first = entry.acknowledged;
    const Answer answer = client.Query(files.Path(number), LARDER_FEED_FILE_STORED);
    if (first == 0 && answer.result == LARDER_E_NO_DATA) return;
    if (!answer.Has() || !IsGenerationOf(number, answer.digest, first, entry.begun))
      throw Fault(At() + "the record of file " + std::to_string(number) + " is " +
                  Short(answer.digest) + ", result " + std::to_string(answer.result) +
                  "; acknowledged: " + std::to_string(first) +
                  ", begun: " + std::to_string(entry.begun));
    ++checked;
  }

  void VerifyComputed(Client& client, int number) {
    const Answer answer = client.Query(files.Path(number), LARDER_FEED_FILE_STORED);
    if (answer.result == LARDER_E_NO_DATA) return;
    if (!answer.Has() || answer.digest != files.Digest(number))
      throw Fault(At() + "the computed record of file " + std::to_string(number) + " is " +
                  Short(answer.digest) + ", result " + std::to_string(answer.result));
    ++checked;
  }

  // So that processes are killed while they create a store, too.
  void StartOver() {
    DeleteStore(options.folder);
    for (Entry& entry : shared->entries) entry.acknowledged = 0;
  }

  std::string At() const {
    return "seed " + std::to_string(options.seed) + ", after " + std::to_string(kills) + " kills: ";
  }

  const Options options;
  const FileSet files;
  const SharedState<Shared> shared;
  std::mt19937_64 random;
  std::vector<Worker> workers;
  std::uint64_t started = 0;
  std::uint64_t kills = 0;
  std::uint64_t checked = 0;
};

}  // namespace

void WriteRecords(const WorkerArguments& arguments) {
  const FileSet files(FilesFolder(arguments.folder), kWritten + kFilesEach);
  const SharedState<Shared> shared(StateFile(arguments.folder));
  std::mt19937_64 random = arguments.Random();
  Client client;
  for (;;) {
    if (random() % 50 == 0) ReadStoreFiles(arguments.folder);  // mustn't release a lock
    const int number = arguments.number * kFilesEach + Below(kFilesEach, random);
    Entry& entry = shared->entries[number];
    const std::uint64_t generation = ++entry.begun;
    const std::size_t size = 400 + random() % 20 * random() % 400;
    const bool done =
        client.Write(files.Path(number), WrittenDigest(number, generation), size) == LARDER_OK;
    if (done) entry.acknowledged = generation;
    ++(done ? shared->writes : shared->failures);
  }
}

void ComputeRecords(const WorkerArguments& arguments) {
  const FileSet files(FilesFolder(arguments.folder), kWritten + kFilesEach);
  std::mt19937_64 random = arguments.Random();
  Client client;
  for (;;) {
    const int number = kWritten + Below(kFilesEach, random);
    const Answer answer = client.Query(files.Path(number), LARDER_FEED_FILE_AFRESH);
    if (!answer.Has() || answer.digest != files.Digest(number))
      throw Fault("file " + std::to_string(number) + ": result " + std::to_string(answer.result));
  }
}

void RunKills(const Options& options) {
  PrepareMachine(options.folder, kLimitMiB);
  const std::uint64_t kills = options.Scaled(kKills);
  KillRun run(options);
  while (run.Kills() < kills) run.Round();
  run.Print();
}

}  // namespace larder::soak
