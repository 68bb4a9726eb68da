// Damages stores, and lets processes use them: none may crash, hang or return a wrong answer.
#include <atomic>
#include <cstdio>
#include <thread>

#include "soak/client.h"
#include "soak/file-set.h"
#include "soak/machine.h"
#include "soak/process.h"
#include "soak/run.h"
#include "soak/shared-memory.h"
#include "soak/store-damage.h"

namespace larder::soak {
namespace {

using std::chrono::milliseconds;

constexpr int kFiles = 400;
constexpr int kWrittenFrom = 300;  // files from here on have written records
constexpr int kQueries = 40;       // of a process that gets a damaged store
constexpr std::uint64_t kStores = 1000;
constexpr std::uint64_t kDamagesInUse = 200;
constexpr int kUsers = 4;
constexpr int kLimitMiB = 16;
constexpr auto kPatience = std::chrono::minutes(1);

std::filesystem::path FilesFolder(const std::filesystem::path& folder) { return folder / "files"; }

std::filesystem::path StateFile(const std::filesystem::path& folder) { return folder / "state"; }

// A mix of all calls, each answer judged.
class StoreUser {
 public:
  explicit StoreUser(const WorkerArguments& arguments)
      : files(FilesFolder(arguments.folder), kFiles), random(arguments.Random()) {}

  void Fill() {
    Client client;
    for (int number = 0; number < kFiles; ++number) {
      if (number < kWrittenFrom)
        Compute(client, number, LARDER_FEED_FILE_NOW);
      else
        client.Write(files.Path(number), WrittenDigest(number, 0));
    }
  }

  void Use(Client& client) {
    const int number = Below(kFiles, random);
    const bool isWritten = number >= kWrittenFrom;
    const auto die = random() % 8;
    if (die == 0 && isWritten)
      client.Write(files.Path(number), WrittenDigest(number, 0));
    else if (die < 4)
      FindStored(client, number, isWritten);
    else
      Compute(client, number, die == 4 ? LARDER_FEED_FILE_AFRESH : LARDER_FEED_FILE_NOW);
  }

  std::uint64_t Found() const { return found; }

 private:
  bool IsRight(int number, const Sha256& digest) const {
    return digest == files.Digest(number) ||
           (number >= kWrittenFrom && digest == WrittenDigest(number, 0));
  }

  void Compute(Client& client, int number, std::uint32_t option) const {
    const Answer answer = client.Query(files.Path(number), option);
    if (!answer.Has() || !IsRight(number, answer.digest)) Report(number, option, answer);
  }

  void FindStored(Client& client, int number, bool) {
    const Answer answer = client.Query(files.Path(number), LARDER_FEED_FILE_STORED);
    if (answer.result == LARDER_E_NO_DATA) return;
    if (!answer.Has() || !IsRight(number, answer.digest))
      Report(number, LARDER_FEED_FILE_STORED, answer);
    ++found;
  }

  [[noreturn]] static void Report(int number, std::uint32_t option, const Answer& answer) {
    throw Fault("file " + std::to_string(number) + ", option " + std::to_string(option) +
                ": result " + std::to_string(answer.result) + ", digest " + Short(answer.digest));
  }

  const FileSet files;
  std::mt19937_64 random;
  std::uint64_t found = 0;
};

struct Shared {
  std::atomic<bool> stop;
  std::atomic<std::uint64_t> found;  // answers from the store
  std::atomic<std::uint64_t> calls[kUsers];
};

Worker Start(const Options& options, const char* work, std::uint64_t seed, int number) {
  return Worker({work, options.folder.string(), std::to_string(seed), std::to_string(number)});
}

void Restore(const std::filesystem::path& pristine, const std::filesystem::path& folder) {
  DeleteStore(folder);
  std::filesystem::copy(pristine, StoreParent(folder), std::filesystem::copy_options::recursive);
}

// Two processes at once get the damaged store, and then one more, which may find what they stored.
void UseStore(const Options& options, std::uint64_t seed) {
  Worker first = Start(options, "use-damaged", seed, 0);
  Worker second = Start(options, "use-damaged", seed, 1);
  first.MustSucceed(kPatience);
  second.MustSucceed(kPatience);
  Start(options, "use-damaged", seed, 2).MustSucceed(kPatience);
}

}  // namespace

void UseDamagedStore(const WorkerArguments& arguments) {
  const SharedState<Shared> shared(StateFile(arguments.folder));
  StoreUser user(arguments);
  if (!arguments.more.empty()) return user.Fill();
  {
    Client client;
    for (int i = 0; i < kQueries; ++i) user.Use(client);
  }
  if (arguments.number == 2) shared->found += user.Found() != 0;
}

void RunDamage(const Options& options) {
  PrepareMachine(options.folder, kLimitMiB);
  const SharedState<Shared> shared(StateFile(options.folder));
  const std::filesystem::path parent = StoreParent(options.folder);
  const std::filesystem::path pristine = options.folder / "pristine";
  const std::uint64_t stores = options.Scaled(kStores);
  Worker({"use-damaged", options.folder.string(), "0", "0", "fill"}).MustSucceed(kPatience);
  std::filesystem::copy(parent, pristine, std::filesystem::copy_options::recursive);
  for (std::uint64_t round = 0; round < stores; ++round) {
    Restore(pristine, options.folder);
    std::mt19937_64 random(options.seed * 100'000 + round);
    const std::string damage = DamageStore(parent / "store", random);
    try {
      UseStore(options, options.seed * 100'000 + round);
    } catch (const std::exception& error) {
      throw Fault("seed " + std::to_string(options.seed) + ", round " + std::to_string(round) +
                  ", " + damage + ": " + error.what());
    }
  }
  std::printf(
      "damage: %llu damaged stores, each used by 3 processes: 0 crashes, hangs or wrong"
      " answers; the third process found stored answers in %llu\n",
      static_cast<unsigned long long>(stores), static_cast<unsigned long long>(shared->found));
  std::fflush(stdout);
}

void UseStoreUntilStopped(const WorkerArguments& arguments) {
  const SharedState<Shared> shared(StateFile(arguments.folder));
  StoreUser user(arguments);
  while (!shared->stop) {
    Client client;
    for (int i = 0; i < 500 && !shared->stop; ++i) {
      user.Use(client);
      ++shared->calls[arguments.number];
    }
  }
  shared->found += user.Found();
}

namespace {

// Returns when every user has made some calls more.
void AwaitCalls(const Shared& shared, std::vector<Worker>& users, const std::string& after) {
  for (std::size_t i = 0; i < users.size(); ++i) {
    const std::uint64_t goal = shared.calls[i] + 20;
    for (int wait = 0; shared.calls[i] < goal; ++wait) {
      const Ending ending = users[i].Wait(milliseconds(2));
      if (ending.kind != Ending::Kind::kStillRunning)
        throw Fault("after \"" + after + "\" a process ended: " + ending.Text());
      if (wait == 30'000) throw Fault("after \"" + after + "\" a process hangs");
    }
  }
}

}  // namespace

void RunDamageInUse(const Options& options) {
  PrepareMachine(options.folder, kLimitMiB);
  const SharedState<Shared> shared(StateFile(options.folder));
  const FileSet files(FilesFolder(options.folder), kFiles);
  std::vector<Worker> users;
  for (int i = 0; i < kUsers; ++i) users.push_back(Start(options, "use", options.seed, i));
  std::mt19937_64 random(options.seed);
  const std::uint64_t damages = options.Scaled(kDamagesInUse);
  std::string damage = "start";
  for (std::uint64_t round = 0; round < damages; ++round) {
    for (int i = 0; i < 10; ++i) AwaitCalls(*shared, users, damage);
    damage = "seed " + std::to_string(options.seed) + ", damage " + std::to_string(round) + ": " +
             DamageStoreInUse(StoreParent(options.folder) / "store", random);
  }
  for (int i = 0; i < 10; ++i) AwaitCalls(*shared, users, damage);
  shared->stop = true;
  for (Worker& user : users) user.MustSucceed(kPatience);
  std::printf(
      "damage-in-use: %llu damages under %d processes: 0 crashes, hangs or wrong answers;"
      " %llu answers from the store\n",
      static_cast<unsigned long long>(damages), kUsers,
      static_cast<unsigned long long>(shared->found));
  std::fflush(stdout);
}

}  // namespace larder::soak
