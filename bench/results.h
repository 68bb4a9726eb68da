// Collects what the benchmarks measure, and compares it with the rows.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "rows.h"

namespace larder {

// Prints the median of each benchmark and keeps it. The key is the benchmark's name with its
// argument: "InitAndRelease/3".
class Medians final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override;

  // Nanoseconds or a benchmark's own figure.
  std::optional<double> Find(std::string_view benchmark) const;
  bool HasFailed() const { return failed; }

 private:
  void Add(const Run& run);

  std::map<std::string, double, std::less<>> values;
  bool failed = false;
};

// A row with its figures.
struct Result {
  const Row* row;
  std::optional<double> ours;
  std::optional<double> peer;
  std::optional<double> value;  // what must and aim are compared with, rounded as it is printed
};

Result ResultOf(const Row& row, const Medians& medians);

// "28.7 ns", "204 KB"
std::string FormatFigure(double figure, Unit unit);
// A result, a must or an aim of the row: "1.52 times", "12.0 ns more"
std::string FormatValue(const Row& row, double value);
// "aim", "must", "missed"; "–" without a result
std::string Verdict(const Result& result);
// The part of the must that is used up: 1 is the must, less is better.
double ShareOfMust(const Row& row, double value);

// In Markdown.
std::string MakeTable(const std::vector<Result>& results);

}  // namespace larder
