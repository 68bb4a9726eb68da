#include "soak/host-log.h"

#include <charconv>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>

#include "soak/host-process.h"
#include "soak/run.h"

namespace larder::soak {
namespace {

constexpr std::string_view kBeforeNumber = " data for key ";

class LogCheck {
 public:
  LogCheck(const Life& checked, Expect expected, HostState& totals)
      : life(checked), expect(expected), state(totals) {}

  void Read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    hasOldest = hasOldest || path.extension() == ".5";
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find("\r\n", begin)) != std::string::npos;
         begin = end + 2) {
      ++state.lines;
      TakeLine(std::string_view(text).substr(begin, end - begin));
    }
    if (begin != text.size() && expect != Expect::kAnything && expect != Expect::kKilled)
      throw Fault(path.filename().string() + " ends in \"" + text.substr(begin) + '"');
  }

  void Judge() {
    for (int thread = 0; thread < kMaxThreads; ++thread) JudgeThread(thread);
  }

 private:
  void TakeLine(std::string_view line) {
    const std::size_t at = line.find(kBeforeNumber);
    if (at == std::string_view::npos) return;
    line.remove_prefix(at + kBeforeNumber.size());
    std::uint64_t key = 0;
    std::from_chars(line.data(), line.data() + line.size(), key);
    const CallNumber call(key);
    if (call.life != life.id || call.thread >= kMaxThreads) return;
    if (!found[call.thread].insert(call.number).second && expect != Expect::kAnything)
      throw Fault("line " + Name(call.thread, call.number) + " is in the log twice");
  }

  void JudgeThread(std::size_t thread) {
    const Sequence& sequence = life.threads[thread];
    const std::set<std::uint64_t>& numbers = found[thread];
    if (!numbers.empty() && *numbers.rbegin() > sequence.begun)
      throw Fault("line " + Name(thread, *numbers.rbegin()) + " was never begun");
    state.lost += sequence.begun - numbers.size();
    if (expect == Expect::kAnything) return;
    if (numbers.empty() && MayLackOldest()) return;
    std::uint64_t next = MayLackOldest() ? *numbers.begin() : 1;
    for (const std::uint64_t number : numbers) {
      if (number != next) break;  // a gap
      ++next;
    }
    const std::uint64_t last = numbers.empty() ? 0 : *numbers.rbegin();
    if (next <= std::max<std::uint64_t>(sequence.safe, last))
      throw Fault("line " + Name(thread, next) + " is lost; safe: " +
                  std::to_string(sequence.safe) + ", last in the log: " + std::to_string(last));
    state.found += numbers.size();
  }

  bool MayLackOldest() const {
    return expect == Expect::kNewest || (expect == Expect::kAllGenerations && hasOldest);
  }

  std::string Name(std::size_t thread, std::uint64_t number) const {
    return std::to_string(number) + " of thread " + std::to_string(thread) + " of life " +
           std::to_string(life.id);
  }

  const Life& life;
  const Expect expect;
  HostState& state;
  bool hasOldest = false;
  std::set<std::uint64_t> found[kMaxThreads];
};

}  // namespace

void CheckLog(const std::filesystem::path& logs, const Life& life, Expect expect,
              HostState& state) {
  LogCheck check(life, expect, state);
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(logs, none)) {
    if (entry.path().filename().string().starts_with("lr_")) check.Read(entry.path());
  }
  check.Judge();
}

}  // namespace larder::soak
