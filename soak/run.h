// The runs, and the work of their worker processes. Each throws Fault, or another std::exception,
// at the first wrong answer, lost entry, crash or hang.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace larder::soak {

// The text says what happened, and when: it has what a repetition needs.
struct Fault : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// What the command line asks for.
struct Options {
  std::filesystem::path folder;  // for all that a run creates
  double scale = 1;
  std::uint64_t seed = 1;

  // A documented number at this scale; at least 1.
  std::uint64_t Scaled(std::uint64_t count) const {
    return std::max<std::uint64_t>(1,
                                   static_cast<std::uint64_t>(static_cast<double>(count) * scale));
  }
};

// What the run that starts a worker passes to it: FOLDER SEED NUMBER [MORE...].
struct WorkerArguments {
  std::filesystem::path folder;
  std::uint64_t seed = 0;
  int number = 0;
  std::vector<std::string> more;

  std::mt19937_64 Random() const {
    return std::mt19937_64(seed * 1000 + static_cast<std::uint64_t>(number));
  }
};

void RunStaleness(const Options& options);
void ChangeFiles(const WorkerArguments& arguments);
void AskForFiles(const WorkerArguments& arguments);

void RunKills(const Options& options);
void WriteRecords(const WorkerArguments& arguments);
void ComputeRecords(const WorkerArguments& arguments);

void RunDamage(const Options& options);
void RunDamageInUse(const Options& options);
void UseDamagedStore(const WorkerArguments& arguments);
void UseStoreUntilStopped(const WorkerArguments& arguments);

void RunCrowd(const Options& options);
void MixCalls(const WorkerArguments& arguments);

// Linux only; on Windows it prints that there is nothing to do.
void RunLimits(const Options& options);
void WorkWithin(const WorkerArguments& arguments);

}  // namespace larder::soak
