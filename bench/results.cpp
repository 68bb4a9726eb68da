#include "results.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <utility>

#include "suite.h"

namespace larder {
namespace {

std::string KeyOf(const benchmark::BenchmarkName& name) {
  return name.args.empty() ? name.function_name : name.function_name + '/' + name.args;
}

double ValueOf(const benchmark::BenchmarkReporter::Run& run) {
  const auto figure = run.counters.find(kFigure);
  if (figure != run.counters.end()) return figure->second;
  const auto each = run.counters.find(kEach);
  const double time =
      run.GetAdjustedRealTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
  return each == run.counters.end() ? time : time / each->second;
}

// With three digits that count.
std::string Digits(double number) {
  const double size = std::abs(number);
  const int decimals = size >= 99.95 ? 0 : size >= 9.995 ? 1 : 2;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
  return text.data();
}

double Rounded(double number) { return std::stod(Digits(number)); }

// The unit in which a figure is printed, and its size.
std::pair<const char*, double> ScaleOf(double figure, Unit unit) {
  const double size = std::abs(figure);
  if (unit == Unit::kBytes) {
    return size < 10'000 ? std::pair("bytes", 1.0) : std::pair("KB", 1000.0);
  }
  if (size < 1e3) return {"ns", 1.0};
  if (size < 1e6) return {"µs", 1e3};
  return size < 1e9 ? std::pair("ms", 1e6) : std::pair("s", 1e9);
}

bool IsRatio(Kind kind) { return kind == Kind::kTimes || kind == Kind::kSpeed; }

std::optional<double> Compare(const Row& row, double ours, std::optional<double> peer) {
  if (row.kind == Kind::kFigure) return ours;
  if (!peer) return {};
  if (row.kind == Kind::kMore) return ours - *peer;
  return row.kind == Kind::kTimes ? ours / *peer : *peer / ours;
}

double AsPrinted(const Row& row, double value) {
  const double scale = IsRatio(row.kind) ? 1 : ScaleOf(value, row.unit).second;
  return Rounded(value / scale) * scale;
}

std::string Cell(const std::optional<double>& figure, Unit unit) {
  return figure ? FormatFigure(*figure, unit) : "–";
}

std::string PeerCell(const Result& result) {
  const Row& row = *result.row;
  if (row.peer.empty()) return "–";
  return Cell(result.peer, row.unit) + " (" + std::string(row.peerText) + ')';
}

std::string TableLine(const Result& result) {
  const Row& row = *result.row;
  return "| " + std::string(row.measure) + " | " + Cell(result.ours, row.unit) + " | " +
         PeerCell(result) + " | " + (result.value ? FormatValue(row, *result.value) : "–") + " | " +
         FormatValue(row, row.must) + " | " + FormatValue(row, row.aim) + " | " + Verdict(result) +
         " |\n";
}

}  // namespace

void Medians::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.error_occurred) {
      failed = true;
      std::cerr << run.benchmark_name() << ": " << run.error_message << '\n';
    } else if (run.run_type == Run::RT_Aggregate ? run.aggregate_name == "median"
                                                 : run.repetitions <= 1) {
      Add(run);
    }
  }
}

void Medians::Add(const Run& run) {
  const std::string key = KeyOf(run.run_name);
  values[key] = ValueOf(run);
  std::printf("%-26s %.6g\n", key.c_str(), values[key]);
  std::fflush(stdout);
}

std::optional<double> Medians::Find(std::string_view benchmark) const {
  const auto found = values.find(benchmark);
  return found == values.end() ? std::nullopt : std::optional(found->second);
}

Result ResultOf(const Row& row, const Medians& medians) {
  Result result{&row, medians.Find(row.ours), medians.Find(row.peer), {}};
  if (result.ours) result.value = Compare(row, *result.ours, result.peer);
  if (result.value) result.value = AsPrinted(row, *result.value);
  return result;
}

std::string FormatFigure(double figure, Unit unit) {
  const auto [name, size] = ScaleOf(figure, unit);
  return Digits(figure / size) + ' ' + name;
}

std::string FormatValue(const Row& row, double value) {
  if (IsRatio(row.kind)) return Digits(value) + " times";
  return FormatFigure(value, row.unit) + (row.kind == Kind::kMore ? " more" : "");
}

double ShareOfMust(const Row& row, double value) {
  return row.kind == Kind::kSpeed ? row.must / value : value / row.must;
}

std::string Verdict(const Result& result) {
  if (!result.value) return "–";
  const double share = ShareOfMust(*result.row, *result.value);
  if (share <= ShareOfMust(*result.row, result.row->aim)) return "aim";
  return share <= 1 ? "must" : "missed";
}

std::string MakeTable(const std::vector<Result>& results) {
  std::string text =
      "| measure | Larder | peer | result | must | aim | met |\n|---|---|---|---|---|---|---|\n";
  for (const Result& result : results) text += TableLine(result);
  return text;
}

}  // namespace larder
