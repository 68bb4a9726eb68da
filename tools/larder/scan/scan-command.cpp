#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "tools/larder/cli/client.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/console.h"
#include "tools/larder/cli/interrupt.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/query/file-query.h"
#include "tools/larder/query/record-text.h"
#include "tools/larder/scan/ordered-work.h"
#include "tools/larder/scan/scan-arguments.h"
#include "tools/larder/scan/scan-report.h"
#include "tools/larder/scan/scan-view.h"
#include "tools/larder/scan/tree-walk.h"

namespace larder::tool {
namespace {

using Clock = OrderedWork::Clock;

constexpr std::size_t kWindow = 1024;  // results that may wait for the one before them
constexpr std::chrono::milliseconds kCheckPause(100);
constexpr std::chrono::milliseconds kPatience(500);  // with queries after a termination request

std::string DigestText(const FileAnswer& answer, const Scan& scan) {
  const std::string digest = Hex(answer.Record().fileSHA256);
  return scan.endsInNul ? digest + "  " + answer.path + "\n" : PathLine(digest, answer.path);
}

std::string TextOf(const FileAnswer& answer, const Scan& scan) {
  std::string text;
  if (scan.form == ScanForm::kJson) text = JsonLine(answer);
  if (scan.form == ScanForm::kDigests && !answer.block.empty()) text = DigestText(answer, scan);
  if (scan.endsInNul && !text.empty()) text.back() = '\0';
  return text;
}

void ProcessFile(LarderHandle handle, const Scan& scan, ScanResult& result) {
  FileAnswer answer = QueryPath(handle, scan.question, result.fullPath, result.path);
  result.hasFacts = !answer.block.empty();
  result.hasSigners = result.hasFacts && HasSigners(answer.Record());
  result.size = answer.size;
  result.text = TextOf(answer, scan);
  result.error = std::move(answer.error);
}

// With --json, an entry that can't be queried or read has its line like a file that can't.
bool FindNext(TreeWalk& walk, const Scan& scan, ScanResult& result) {
  FoundFile found;
  if (!walk.Next(found)) return false;
  result.path = std::move(found.path);
  result.fullPath = std::move(found.fullPath);
  result.error = std::move(found.error);
  result.isBadPath = found.isBadPath;
  if (result.error.empty()) return true;
  FileAnswer answer;
  answer.path = result.path;
  answer.error = result.error;
  result.text = TextOf(answer, scan);
  return true;
}

// When to check again whether a termination request has come, and to refresh the view.
Clock::time_point NextCheck(const ScanView& view) {
  const Clock::time_point check = Clock::now() + kCheckPause;
  return std::min(check, view.DueTime().value_or(check));
}

// Stops after a termination request, and when standard output can't be written. Returns false if
// files are still being read then: LarderQuery can't be cancelled.
bool ShowResults(OrderedWork& work, ScanView& view, ScanReport& report, const Output& output) {
  ScanResult result;
  const auto show = [&] {
    report.Add(result);
    view.Print(result.text);
  };
  auto taken = OrderedWork::Taken::kResult;
  while (taken != OrderedWork::Taken::kEnd && !output.Failed() && !Interrupt::HasCome()) {
    taken = work.Take(result, NextCheck(view));
    if (taken == OrderedWork::Taken::kResult) show();
    view.Refresh(report.Counts());
  }
  work.Stop();
  const Clock::time_point deadline = Clock::now() + kPatience;
  while ((taken = work.Take(result, deadline)) == OrderedWork::Taken::kResult) show();
  while (work.TakeStored(result)) show();
  view.Close();
  return taken == OrderedWork::Taken::kEnd;
}

std::string SecondsText(double seconds) {
  std::array<char, 40> text;
  const int length = std::snprintf(text.data(), text.size(), "%.2f", seconds);
  return {text.data(), static_cast<std::size_t>(length)};
}

std::string SummaryText(const ScanCounts& counts, const PassedOver& passed, double seconds) {
  return RecordLine("files", std::to_string(counts.files)) +
         RecordLine("bytes", std::to_string(counts.bytes)) +
         RecordLine("errors", std::to_string(counts.errors)) +
         RecordLine("bad-paths", std::to_string(counts.badPaths)) +
         RecordLine("signed", std::to_string(counts.images)) +
         RecordLine("links", std::to_string(passed.links)) +
         RecordLine("special", std::to_string(passed.specials)) +
         RecordLine("excluded", std::to_string(passed.excluded)) +
         RecordLine("larger", std::to_string(passed.larger)) +
         RecordLine("mounts", std::to_string(passed.mounts)) +
         RecordLine("remote", std::to_string(passed.remote)) +
         RecordLine("seconds", SecondsText(seconds)) +
         RecordLine("rate", RateText(counts, seconds));
}

void PrintInterruption(const ScanCounts& counts) {
  PrintError("interrupted: " + std::to_string(counts.files) + " files, " + SizeText(counts.bytes) +
             ", " + std::to_string(counts.errors) + " errors so far");
}

// Prints what comes after the results. Returns whether the scan succeeded.
bool PrintEnd(const ScanReport& report, const std::string& summary, Output& output) {
  output.Write(summary);
  output.Flush();
  report.PrintErrors();
  const bool isInterrupted = Interrupt::HasCome();
  if (isInterrupted) PrintInterruption(report.Counts());
  return !isInterrupted && report.Counts().errors == 0;
}

bool ScanTrees(LarderHandle handle, const Scan& scan, Output& output) {
  const Clock::time_point start = Clock::now();
  TreeWalk walk(scan.roots, scan.rules, &Interrupt::HasCome);
  ScanReport report;
  ScanView view(scan.roots, scan.rules, output);
  OrderedWork work(
      scan.threads, kWindow, [&](ScanResult& result) { return FindNext(walk, scan, result); },
      [&](ScanResult& result) { ProcessFile(handle, scan, result); });
  const bool isComplete = ShowResults(work, view, report, output);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  const std::string summary =
      scan.form == ScanForm::kSummary ? SummaryText(report.Counts(), walk.Passed(), seconds) : "";
  const bool succeeded = PrintEnd(report, summary, output);
  if (isComplete) return succeeded;
  (void)output.Finish();
  EndProcess(kExitFailed);
}

void IgnoreMessage(std::int32_t) {}

int RunScan(const Scan& scan, Output& output) {
  const Interrupt interrupt;
  LarderHandle handle = nullptr;
  if (!StartLibrary(&IgnoreMessage, handle)) return kExitFailed;
  const bool succeeded = ScanTrees(handle, scan, output);
  return EndLibrary() && succeeded ? kExitOk : kExitFailed;
}

}  // namespace

void AddScanCommand(const Command& top) {
  const auto arguments = std::make_shared<ScanArguments>();
  const Command scan = top.AddCommand("scan", "Print the digests of all files below folders");
  DeclareScan(scan, arguments);
  scan.OnChosen([arguments] {
    return [scan = CheckedScan(*arguments)](Output& output) { return RunScan(scan, output); };
  });
}

}  // namespace larder::tool
