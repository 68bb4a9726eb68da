#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tools/larder/cli/client.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/console.h"
#include "tools/larder/cli/interrupt.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/query/file-query.h"
#include "tools/larder/query/record-text.h"
#include "tools/larder/scan/ordered-work.h"
#include "tools/larder/scan/scan-report.h"
#include "tools/larder/scan/scan-view.h"
#include "tools/larder/scan/tree-walk.h"

namespace larder::tool {
namespace {

using Clock = OrderedWork::Clock;

constexpr std::size_t kMaxThreads = 256;
constexpr std::size_t kWindow = 1024;  // results that may wait for the one before them
constexpr std::chrono::milliseconds kCheckPause(100);
constexpr std::chrono::milliseconds kPatience(500);  // with queries after a termination request

struct Arguments {
  std::vector<std::string> roots;
  std::string option = "0";
  std::string threads;
  bool json = false;
  bool summary = false;
};

enum class Form { kDigests, kJson, kSummary };

struct Scan {
  std::vector<std::string> roots;
  FileQuestion question;
  std::size_t threads;
  Form form;
};

// By default, the number of cores.
std::size_t CheckedThreads(const std::string& text) {
  if (text.empty())
    return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMaxThreads);
  const auto threads = ParseUnsigned(text, kMaxThreads);
  if (threads.value_or(0) == 0) {
    throw UsageError("--threads",
                     "not a number from 1 to " + std::to_string(kMaxThreads) + ": " + text);
  }
  return *threads;
}

Scan CheckedScan(const Arguments& arguments) {
  const auto option = ParseUnsigned(arguments.option, std::numeric_limits<std::uint32_t>::max());
  if (!option) {
    throw UsageError("--option", "not a number from 0 to 4294967295: " + arguments.option);
  }
  Scan scan{arguments.roots,
            {LARDER_FEED_FILE_TYPE, static_cast<std::uint32_t>(*option), true},
            CheckedThreads(arguments.threads),
            arguments.json ? Form::kJson : Form::kDigests};
  if (arguments.summary) scan.form = Form::kSummary;
  return scan;
}

// A character of a name, escaped as by sha256sum.
std::string Escaped(char c) {
  switch (c) {
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    default:
      return {c};
  }
}

// A line in the format of sha256sum, which begins with a backslash if the name has escapes.
std::string DigestLine(const FileAnswer& answer) {
  std::string name;
  for (const char c : answer.path) name += Escaped(c);
  const bool isEscaped = name.size() != answer.path.size();
  return (isEscaped ? "\\" : "") + Hex(answer.Record().fileSHA256) + "  " + name + "\n";
}

std::string TextOf(const FileAnswer& answer, Form form) {
  if (form == Form::kJson) return JsonLine(answer);
  return form == Form::kSummary || answer.block.empty() ? "" : DigestLine(answer);
}

void ProcessFile(LarderHandle handle, const Scan& scan, ScanResult& result) {
  FileAnswer answer = QueryFile(handle, scan.question, result.path);
  result.hasFacts = !answer.block.empty();
  result.hasSigners = result.hasFacts && HasSigners(answer.Record());
  result.size = answer.size;
  result.text = TextOf(answer, scan.form);
  result.error = std::move(answer.error);
}

// With --json, a folder that can't be read has its line like a file that can't.
bool FindNext(TreeWalk& walk, Form form, ScanResult& result) {
  FoundFile found;
  if (!walk.Next(found)) return false;
  result.path = std::move(found.path);
  result.error = std::move(found.error);
  if (result.error.empty() || form != Form::kJson) return true;
  FileAnswer answer;
  answer.path = result.path;
  answer.error = result.error;
  result.text = JsonLine(answer);
  return true;
}

// When to check again whether a termination request has come, and to refresh the view.
Clock::time_point NextCheck(const ScanView& view) {
  const Clock::time_point check = Clock::now() + kCheckPause;
  return std::min(check, view.DueTime().value_or(check));
}

// False if files are still being read after a termination request, or because nobody reads the
// output: LarderQuery can't be cancelled.
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

std::string SummaryText(const ScanCounts& counts, const TreeWalk& walk, double seconds) {
  return RecordLine("files", std::to_string(counts.files)) +
         RecordLine("bytes", std::to_string(counts.bytes)) +
         RecordLine("errors", std::to_string(counts.errors)) +
         RecordLine("signed", std::to_string(counts.images)) +
         RecordLine("links", std::to_string(walk.Links())) +
         RecordLine("special", std::to_string(walk.Specials())) +
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
  TreeWalk walk(scan.roots, &Interrupt::HasCome);
  ScanReport report;
  ScanView view(scan.roots, output);
  OrderedWork work(
      scan.threads, kWindow, [&](ScanResult& result) { return FindNext(walk, scan.form, result); },
      [&](ScanResult& result) { ProcessFile(handle, scan, result); });
  const bool isComplete = ShowResults(work, view, report, output);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  const std::string summary =
      scan.form == Form::kSummary ? SummaryText(report.Counts(), walk, seconds) : "";
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
  const auto arguments = std::make_shared<Arguments>();
  const Command scan = top.AddCommand("scan", "Print the digests of all files below folders");
  scan.AddRequired("DIR", arguments->roots, "Folders, or files, to begin with");
  scan.AddOption("--option", arguments->option, "Query option for the provider (default 0)");
  scan.AddOption("--threads", arguments->threads,
                 "Files asked about at the same time (default: the number of cores)");
  scan.AddFlag("--json", arguments->json, "Print a line of JSON for each file");
  scan.AddFlag("--summary", arguments->summary, "Print nothing but the counts at the end");
  scan.Exclude("--summary", "--json");
  scan.OnChosen([arguments] {
    return [scan = CheckedScan(*arguments)](Output& output) { return RunScan(scan, output); };
  });
}

}  // namespace larder::tool
