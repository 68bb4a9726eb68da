// Changes files in every way that leaves little trace, while they are asked about. An answer for a
// query during which the file didn't change must be the file's content.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
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

constexpr int kChangers = 4;
constexpr int kAskers = 2;
constexpr std::uint64_t kAsksARound = 2;
constexpr int kFilesEach = 128;  // of one changer
constexpr std::uint64_t kRounds = 1'000'000;
constexpr int kLimitMiB = 64;

enum Change { kRewrite, kPieces, kRename, kTruncate, kMapped, kMappedRead, kKeptMapping, kChanges };
constexpr const char* kNames[kChanges] = {"rewrite", "pieces",      "rename",      "truncate",
                                          "mapped",  "mapped-read", "kept-mapping"};

// A file as all processes see it. Odd while its owner changes it.
struct FileState {
  std::atomic<std::uint64_t> sequence;
  std::atomic<int> lastChange;
  std::array<std::atomic<std::uint8_t>, 32> digest;
};

struct Shared {
  std::atomic<bool> stop;
  std::atomic<std::uint64_t> changes[kChanges];
  std::atomic<std::uint64_t> rounds;
  std::atomic<std::uint64_t> asked;  // by those that only ask
  std::atomic<std::uint64_t> judged;
  std::atomic<std::uint64_t> overlapped;
  std::atomic<std::uint64_t> fromStore;
  std::atomic<int> current[kChangers];  // the file that each is at
  FileState files[kChangers * kFilesEach];
};

std::filesystem::path PathOf(const std::filesystem::path& folder, int number) {
  return folder / "files" / std::to_string(number);
}

std::size_t SizeOf(int number) {
  const auto n = static_cast<std::size_t>(number);
  return n % 32 == 0 ? 200'000 : 1 + n * 977 % 9000;
}

// Queries, and compares the answers with the files.
class Judge {
 public:
  Judge(const WorkerArguments& arguments, Shared& state)
      : folder(arguments.folder), shared(state), random(arguments.Random()) {}
  ~Judge() { shared.fromStore += client.Statistics().storeHits; }
  Judge(const Judge&) = delete;
  Judge& operator=(const Judge&) = delete;

  void Ask(int number) {
    const std::uint32_t option = OptionOf(random() % 10);
    FileState& file = shared.files[number];
    const std::uint64_t before = file.sequence;
    const Answer answer = client.Query(PathOf(folder, number), option);
    Sha256 truth{};
    for (std::size_t i = 0; i < truth.size(); ++i) truth[i] = file.digest[i];
    if (before % 2 != 0 || file.sequence != before) {
      ++shared.overlapped;
      return;
    }
    if (option == LARDER_FEED_FILE_STORED && answer.result == LARDER_E_NO_DATA) return;
    if (!answer.Has() || answer.digest != truth) Report(number, option, answer, truth);
    ++shared.judged;
  }

 private:
  static std::uint32_t OptionOf(std::uint64_t die) {
    return die == 0   ? LARDER_FEED_FILE_STORED
           : die == 1 ? LARDER_FEED_FILE_AFRESH
                      : LARDER_FEED_FILE_NOW;
  }

  [[noreturn]] void Report(int number, std::uint32_t option, const Answer& answer,
                           const Sha256& truth) const {
    const FileState& file = shared.files[number];
    shared.stop = true;
    throw Fault("file " + std::to_string(number) + ", option " + std::to_string(option) +
                ", after change " + std::to_string(file.sequence / 2) + " (" +
                kNames[file.lastChange] + "): result " + std::to_string(answer.result) + ", " +
                Short(answer.digest) + " in place of " + Short(truth));
  }

  Client client;
  const std::filesystem::path folder;
  Shared& shared;
  std::mt19937_64 random;
};

// Opening fails on Windows while the provider reads the file.
std::fstream OpenToWrite(const std::filesystem::path& path) {
  constexpr auto kMode = std::ios::binary | std::ios::in | std::ios::out;
  for (int attempt = 0; attempt < 10'000; ++attempt) {
    std::fstream file(path, kMode);
    if (file) return file;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  throw std::runtime_error("can't write to " + path.string());
}

template <typename Operation>
void Insist(Operation&& operation) {
  std::error_code code;
  for (int attempt = 0; attempt < 10'000; ++attempt) {
    operation(code);
    if (!code) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  throw std::system_error(code);
}

// A file that one process changes.
class ChangedFile {
 public:
  ChangedFile(std::filesystem::path file, std::size_t size, std::uint64_t seed)
      : path(std::move(file)), content(MakeContent(seed, size)) {
    std::ofstream(path, std::ios::binary) << content;
  }

  const std::string& Content() const { return content; }

  void Make(Change change, std::mt19937_64& random) {
    const auto time = std::filesystem::last_write_time(path);
    NewContent(change, random());
    switch (change) {
      case kRewrite:
        OpenToWrite(path) << content;
        break;
      case kPieces:
        WritePieces();
        break;
      case kRename:
        Replace(time);
        break;
      case kTruncate:
        TruncateAndRegrow();
        break;
      case kMapped:
        CopyTo(Mapping(path));
        break;
      case kMappedRead:
        ReadAndCopyTo(Mapping(path));
        break;
      case kKeptMapping:
        WriteKept();
        return;  // changing the time would show the change
      case kChanges:
        break;
    }
    if (random() % 4 != 0)
      Insist([&](std::error_code& code) { std::filesystem::last_write_time(path, time, code); });
  }

 private:
  // Mapped files change in one byte, others altogether.
  void NewContent(Change change, std::uint64_t seed) {
    if (change == kMapped || change == kMappedRead || change == kKeptMapping)
      ++content[seed % content.size()];
    else
      content = MakeContent(seed, content.size());
  }

  void WritePieces() {
    std::fstream file = OpenToWrite(path);
    const std::size_t piece = content.size() / 4 + 1;
    for (std::size_t at = 0; at < content.size(); at += piece) {
      file << content.substr(at, piece) << std::flush;
      std::this_thread::yield();
    }
  }

  void Replace(std::filesystem::file_time_type time) {
    kept.reset();
    const std::filesystem::path other = path.string() + ".new";
    std::ofstream(other, std::ios::binary) << content;
    std::filesystem::last_write_time(other, time);
    Insist([&](std::error_code& code) { std::filesystem::rename(other, path, code); });
  }

  void TruncateAndRegrow() {
    kept.reset();
    Insist([&](std::error_code& code) { std::filesystem::resize_file(path, 0, code); });
    std::this_thread::yield();
    OpenToWrite(path) << content;
  }

  void CopyTo(const Mapping& mapping) const {
    std::memcpy(mapping.Bytes().data(), content.data(), content.size());
  }

  // A page that was read first may be written without a fault.
  void ReadAndCopyTo(const Mapping& mapping) const {
    volatile char sum = 0;
    for (const char byte : mapping.Bytes()) sum = static_cast<char>(sum + byte);
    CopyTo(mapping);
  }

  void WriteKept() {
    if (kept == nullptr) kept = std::make_unique<Mapping>(path);
    CopyTo(*kept);
  }

  std::filesystem::path path;
  std::string content;
  std::unique_ptr<Mapping> kept;
};

void Publish(const ChangedFile& file, FileState& state) {
  const Sha256 digest = DigestOf(file.Content());
  for (std::size_t i = 0; i < digest.size(); ++i) state.digest[i] = digest[i];
}

void MakeChange(ChangedFile& file, int number, Shared& shared, std::mt19937_64& random) {
  const auto change = static_cast<Change>(random() % kChanges);
  FileState& state = shared.files[number];
  state.lastChange = change;
  ++state.sequence;
  file.Make(change, random);
  Publish(file, state);
  ++state.sequence;
  ++shared.changes[change];
}

std::filesystem::path StateFile(const std::filesystem::path& folder) { return folder / "state"; }

void PrintFigures(const Shared& shared, std::chrono::steady_clock::duration time) {
  std::string kinds;
  std::uint64_t changes = 0;
  for (int i = 0; i < kChanges; ++i) {
    kinds += std::string(i == 0 ? "" : ", ") + kNames[i] + ' ' + std::to_string(shared.changes[i]);
    changes += shared.changes[i];
  }
  std::printf(
      "staleness: %llu changes (%s), %llu answers judged, 0 wrong, %llu during a change,"
      " %llu from the store, %lld s\n",
      static_cast<unsigned long long>(changes), kinds.c_str(),
      static_cast<unsigned long long>(shared.judged),
      static_cast<unsigned long long>(shared.overlapped),
      static_cast<unsigned long long>(shared.fromStore),
      static_cast<long long>(std::chrono::duration_cast<std::chrono::seconds>(time).count()));
  std::fflush(stdout);
}

}  // namespace

void ChangeFiles(const WorkerArguments& arguments) {
  const SharedState<Shared> shared(StateFile(arguments.folder));
  const std::uint64_t rounds = std::stoull(arguments.more.at(0));
  const int first = arguments.number * kFilesEach;
  std::mt19937_64 random = arguments.Random();
  std::vector<ChangedFile> files;
  for (int i = 0; i < kFilesEach; ++i) {
    const int number = first + i;
    files.emplace_back(PathOf(arguments.folder, number), SizeOf(number), random());
    Publish(files.back(), shared->files[number]);
    shared->files[number].sequence = 2;
  }
  Judge judge(arguments, *shared);
  for (std::uint64_t round = 0; round < rounds && !shared->stop; ++round) {
    const int i = Below(kFilesEach, random);
    shared->current[arguments.number] = first + i;
    judge.Ask(first + i);
    MakeChange(files[static_cast<std::size_t>(i)], first + i, *shared, random);
    judge.Ask(first + i);
    judge.Ask(first +
              Below(kFilesEach, random));  // most likely one that was left alone for a while
  }
}

void AskForFiles(const WorkerArguments& arguments) {
  const SharedState<Shared> shared(StateFile(arguments.folder));
  std::mt19937_64 random = arguments.Random();
  Judge judge(arguments, *shared);
  while (!shared->stop) {
    const bool isAnywhere = random() % 2 == 0;
    const int number = isAnywhere ? Below(kChangers * kFilesEach, random)
                                  : shared->current[Below(kChangers, random)].load();
    if (shared->files[number].sequence != 0) judge.Ask(number);
    // Leaves the processors to those that change files.
    if (++shared->asked > kAsksARound * shared->rounds)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void RunStaleness(const Options& options) {
  PrepareMachine(options.folder, kLimitMiB);
  std::filesystem::create_directories(options.folder / "files");
  const SharedState<Shared> shared(StateFile(options.folder));
  const auto begin = std::chrono::steady_clock::now();
  const auto start = [&](const char* work, int number, std::uint64_t rounds) {
    return Worker({work, options.folder.string(), std::to_string(options.seed),
                   std::to_string(number), std::to_string(rounds)});
  };
  std::vector<Worker> changers;
  std::vector<Worker> askers;
  const std::uint64_t rounds = options.Scaled(kRounds) / kChangers + 1;
  for (int i = 0; i < kChangers; ++i) changers.push_back(start("change", i, rounds));
  for (int i = 0; i < kAskers; ++i) askers.push_back(start("ask", kChangers + i, 0));
  for (Worker& changer : changers) changer.MustSucceed(std::chrono::hours(24));
  shared->stop = true;
  for (Worker& asker : askers) asker.MustSucceed();
  PrintFigures(*shared, std::chrono::steady_clock::now() - begin);
}

}  // namespace larder::soak
