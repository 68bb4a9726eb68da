// Works with a full disk and within limits of the process: nothing crashes, and an answer is right.
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <system_error>

#include "soak/client.h"
#include "soak/file-set.h"
#include "soak/machine.h"
#include "soak/process.h"
#include "soak/run.h"

namespace larder::soak {
namespace {

constexpr int kFiles = 1000;
constexpr int kLimitMiB = 64;
constexpr std::size_t kMostLines = 20;  // of one process in the provider's log

void SetLimit(__rlimit_resource which, rlim_t value) {
  rlimit limit{};
  ::getrlimit(which, &limit);
  limit.rlim_cur = std::min(value, limit.rlim_max);
  if (::setrlimit(which, &limit) != 0)
    throw std::system_error(errno, std::generic_category(), "setrlimit");
}

std::size_t LinesOfProviderLog(const std::filesystem::path& folder) {
  const std::filesystem::path logs = folder / "root/var/lib/Velmor/Larder/logs";
  std::size_t lines = 0;
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(logs, none)) {
    if (!entry.path().filename().string().starts_with("feedf")) continue;
    std::ifstream file(entry.path());
    lines += static_cast<std::size_t>(
        std::count(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>(), '\n'));
  }
  return lines;
}

// The calls of one worker.
class Calls {
 public:
  explicit Calls(const WorkerArguments& arguments)
      : files(arguments.folder / "files", kFiles), random(arguments.Random()) {}

  // Every query must be answered; a write may fail.
  void AnswerAll(Client& client, int count) {
    for (int i = 0; i < count; ++i) {
      if (!One(client)) throw Fault("a query failed");
    }
  }

  // A query may fail, too, but an answer must be right.
  void AnswerSome(Client& client, int count) {
    for (int i = 0; i < count; ++i) {
      try {
        One(client);
      } catch (const std::bad_alloc&) {  // this program's own
      }
    }
  }

  void MustBeStored(Client& client) {
    for (int number = 0; number < kFiles; ++number) {
      if (client.Query(files.Path(number), LARDER_FEED_FILE_STORED).Has()) return;
    }
    throw Fault("nothing was stored");
  }

 private:
  // Returns false if a query failed.
  bool One(Client& client) {
    const int number = Below(kFiles, random);
    if (random() % 8 == 0) client.Write(files.Path(number), files.Digest(number));
    const std::uint32_t option = random() % 4 == 0 ? LARDER_FEED_FILE_AFRESH : LARDER_FEED_FILE_NOW;
    const Answer answer = client.Query(files.Path(number), option);
    if (answer.Has() && answer.digest != files.Digest(number))
      throw Fault("file " + std::to_string(number) + ": " + Short(answer.digest));
    return answer.Has();
  }

  const FileSet files;
  std::mt19937_64 random;
};

// Gives this process a file system of 1 MiB for the store, which it fills. Needs root, or user
// namespaces.
std::filesystem::path EnterFullDisk(const std::filesystem::path& store) {
  if (::unshare(CLONE_NEWNS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
    throw std::system_error(errno, std::generic_category(), "unshare");
  std::filesystem::create_directories(store);
  ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
  if (::mount("none", store.c_str(), "tmpfs", 0, "size=1m") != 0)
    throw std::system_error(errno, std::generic_category(), "mount");
  std::filesystem::path filler = store / "filler";
  std::ofstream(filler) << std::string(2 << 20, 'x');
  return filler;
}

void WorkOnFullDisk(const WorkerArguments& arguments, Calls& calls) {
  const std::filesystem::path filler = EnterFullDisk(StoreParent(arguments.folder));
  {
    Client client;
    calls.AnswerAll(client, 3000);
  }
  std::filesystem::resize_file(filler, 600 << 10);  // room for a store that gets full
  {
    Client client;
    calls.AnswerAll(client, 3000);
  }
  std::filesystem::remove(filler);
  {
    Client client;
    calls.AnswerAll(client, 300);
  }
  Client client;
  calls.MustBeStored(client);
}

void WorkWithFileSize(rlim_t bytes, Calls& calls) {
  SetLimit(RLIMIT_FSIZE, bytes);
  Client client;
  calls.AnswerAll(client, 1000);
}

// LarderInit may fail.
void StartWithin(__rlimit_resource which, rlim_t value, Calls& calls) {
  SetLimit(which, value);
  try {
    Client client;
    calls.AnswerSome(client, 50);
  } catch (const Fault&) {
    throw;
  } catch (const std::exception&) {
  }
}

void GetWithin(__rlimit_resource which, rlim_t value, Calls& calls) {
  Client client;
  SetLimit(which, value);
  calls.AnswerSome(client, 50);
  SetLimit(which, RLIM_INFINITY);
  calls.AnswerAll(client, 50);
}

rlim_t AddressSpace() {
  std::uint64_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

class LimitsRun {
 public:
  explicit LimitsRun(const Options& run) : options(run) {
    PrepareMachine(options.folder, kLimitMiB);
    const FileSet files(options.folder / "files", kFiles);
  }

  void Run(const char* kind, std::uint64_t value) {
    const std::size_t before = LinesOfProviderLog(options.folder);
    Worker({"within", options.folder.string(), std::to_string(options.seed), std::to_string(runs++),
            kind, std::to_string(value)})
        .MustSucceed(std::chrono::minutes(2));
    const std::size_t lines = LinesOfProviderLog(options.folder) - before;
    if (lines > kMostLines)
      throw Fault(std::string(kind) + ' ' + std::to_string(value) + ": " + std::to_string(lines) +
                  " lines in the provider's log");
    mostLines = std::max(mostLines, lines);
  }

  // A few values are skipped at a small scale.
  void RunEach(const char* kind, std::uint64_t first, std::uint64_t last, std::uint64_t step) {
    const auto stride = static_cast<std::uint64_t>(1 / std::min(1.0, options.scale * 10));
    for (std::uint64_t value = first; value <= last; value += step * stride) Run(kind, value);
  }

  void Print() const {
    std::printf(
        "limits: full disk, file size, descriptors, memory: %d processes, 0 crashes, hangs or"
        " wrong answers; at most %zu lines in the provider's log by one process\n",
        runs, mostLines);
    std::fflush(stdout);
  }

 private:
  const Options options;
  int runs = 0;
  std::size_t mostLines = 0;
};

}  // namespace

void WorkWithin(const WorkerArguments& arguments) {
  Calls calls(arguments);
  const std::string& kind = arguments.more.at(0);
  const rlim_t value = std::stoull(arguments.more.at(1));
  if (kind == "full-disk") WorkOnFullDisk(arguments, calls);
  if (kind == "file-size") WorkWithFileSize(value, calls);
  if (kind == "descriptors-early") StartWithin(RLIMIT_NOFILE, value, calls);
  if (kind == "descriptors-late") GetWithin(RLIMIT_NOFILE, value, calls);
  if (kind == "memory-early") StartWithin(RLIMIT_AS, AddressSpace() + value, calls);
  if (kind == "memory-late") GetWithin(RLIMIT_AS, AddressSpace() + value, calls);
}

void RunLimits(const Options& options) {
  LimitsRun run(options);
  RunTool({"log", "on"});
  run.Run("full-disk", 0);
  for (const std::uint64_t bytes : {0, 4096, 100'000, 1'000'000}) run.Run("file-size", bytes);
  RunTool({"log", "off"});
  run.RunEach("descriptors-early", 3, 40, 1);
  run.RunEach("descriptors-late", 3, 40, 1);
  run.RunEach("memory-early", 0, 40 << 20, 512 << 10);
  run.RunEach("memory-late", 0, 20 << 20, 256 << 10);
  run.Print();
}

}  // namespace larder::soak
