#include "tools/larder/log/log-reader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/message.h"
#include "product/product.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/log/log-runs.h"

namespace larder::tool {
namespace {

bool IsSameFile(const platform::FileInfo& left, const platform::FileInfo& right) {
  return left.volume == right.volume && left.index == right.index;
}

}  // namespace

void LinePrinter::Add(std::string_view bytes) {
  pending += bytes;
  std::size_t start = 0;
  for (std::size_t end; (end = pending.find('\n', start)) != std::string::npos; start = end + 1) {
    const bool hasReturn = end > start && pending[end - 1] == '\r';
    output.Write(std::string_view(pending).substr(start, end - start - (hasReturn ? 1 : 0)));
    output.Write("\n");
  }
  pending.erase(0, start);
}

void LinePrinter::EndFile() {
  if (!pending.empty()) Add("\n");
}

void LogReader::Report(const std::string& fault) {
  if (faults.insert(fault).second) PrintError(fault);
}

// Returns false also for a generation that doesn't exist, which isn't a fault.
bool LogReader::Open(std::uint32_t number, Generation& generation) {
  const WideString name = GenerationPath(path, number);
  generation.number = number;
  platform::FileKind kind{};
  platform::Code code = platform::OpenFileToRead(name, generation.file.Out(), kind);
  if (code == platform::kFileNotFound || code == platform::kPathNotFound) return false;
  if (code == platform::kSuccess && generation.file.IsEmpty()) {
    Report("cannot read " + PathText(name) + ": it isn't a file");
    return false;
  }
  if (code == platform::kSuccess)
    code = platform::QueryFileInfo(generation.file.Get(), generation.info);
  if (code == platform::kSuccess) return true;
  Report("cannot read " + PathText(name) + ": " + platform::SystemReason(code));
  return false;
}

// The newest first. Rotation only moves files to older generations, so this order misses none.
LogReader::Generations LogReader::OpenEach() {
  Generations generations;
  for (std::uint32_t number = 0; number <= kMaxLogGenerations; ++number) {
    Generation generation;
    if (Open(number, generation)) generations.push_back(std::move(generation));
  }
  return generations;
}

// All generations at one moment, the newest first: repeated until two lists in a row are the same.
LogReader::Generations LogReader::OpenAll() {
  for (Generations before = OpenEach();;) {
    Generations after = OpenEach();
    const bool isSettled =
        std::equal(before.begin(), before.end(), after.begin(), after.end(),
                   [](const Generation& left, const Generation& right) {
                     return left.number == right.number && IsSameFile(left.info, right.info);
                   });
    if (isSettled) return after;
    before = std::move(after);
  }
}

bool LogReader::Print(Generation& generation) {
  const std::uint64_t start = generation.position;
  std::array<char, 1 << 16> bytes;
  while (!output.Failed()) {
    std::size_t got = 0;
    const platform::Code code =
        platform::ReadNext(generation.file.Get(), bytes.data(), bytes.size(), got);
    if (code != platform::kSuccess) {
      const WideString name = GenerationPath(path, generation.number);
      Report("cannot read " + PathText(name) + ": " + platform::SystemReason(code));
    }
    if (code != platform::kSuccess || got == 0) break;
    lines.Add({bytes.data(), got});
    generation.position += got;
  }
  return generation.position != start;
}

// Makes the newest generation the current one.
bool LogReader::PrintInOrder(Generations& newestFirst) {
  bool isAny = false;
  for (; !newestFirst.empty(); newestFirst.pop_back()) {
    lines.EndFile();
    current = std::move(newestFirst.back());
    if (Print(current)) isAny = true;
  }
  return isAny;
}

bool LogReader::PrintAll() {
  Generations generations = OpenAll();
  if (generations.empty()) {
    if (faults.empty()) Report("cannot read " + PathText(path) + ": there is no such log");
    return false;
  }
  PrintInOrder(generations);
  return true;
}

LogReader::Generations LogReader::TakeNewer(Generations generations) {
  const auto own = std::find_if(
      generations.begin(), generations.end(),
      [&](const Generation& generation) { return IsSameFile(generation.info, current.info); });
  const bool isFull = !generations.empty() && generations.back().number == kMaxLogGenerations;
  if (own == generations.end() && isFull) {
    Report(PathText(path) + " was rotated faster than it could be printed: lines are lost");
  }
  generations.erase(own, generations.end());
  return generations;
}

bool LogReader::PrintNewer() {
  Generations newer = TakeNewer(OpenAll());
  if (newer.empty()) return false;
  // The writer closed this file before it created the newer one, so it is complete now.
  const bool isAny = Print(current);
  return PrintInOrder(newer) || isAny;
}

bool LogReader::PrintNews() {
  bool isAny = Print(current);
  Generations now(1);
  const bool isSame = Open(0, now.front()) && IsSameFile(now.front().info, current.info);
  const bool isEmptied = isSame && now.front().info.size < current.position;
  if (isEmptied && PrintInOrder(now)) isAny = true;
  if (!isSame && PrintNewer()) isAny = true;
  if (isAny) output.Flush();
  return isAny;
}

bool LogReader::Finish() {
  lines.EndFile();
  return faults.empty();
}

}  // namespace larder::tool
